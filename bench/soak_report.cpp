#include "soak_report.h"

#include <cstdio>

namespace {
constexpr size_t failuresShown = 20;

void printFaults(const SoakReport &report) {
    std::printf("| fault | injected | struck | stopped (result 0) | checksum mismatch | other "
                "code | absorbed (board holds the data) | silent | next upload verified |\n");
    std::printf("|---|---|---|---|---|---|---|---|---|\n");
    FaultTally total;
    for (size_t kind = 0; kind < faultKinds; ++kind) {
        const FaultTally &tally = report.faults[kind];
        std::printf("| %s | %u | %u | %u | %u | %u | %u | %u | %u |\n",
                    faultName(static_cast<FaultKind>(kind)), tally.injected, tally.struck,
                    tally.outcome[0], tally.outcome[1], tally.outcome[2], tally.outcome[3],
                    tally.outcome[4], tally.nextVerified);
        total.injected += tally.injected;
        total.struck += tally.struck;
        for (size_t i = 0; i < outcomes; ++i)
            total.outcome[i] += tally.outcome[i];
        total.nextVerified += tally.nextVerified;
    }
    std::printf("| all | %u | %u | %u | %u | %u | %u | %u | %u |\n", total.injected, total.struck,
                total.outcome[0], total.outcome[1], total.outcome[2], total.outcome[3],
                total.outcome[4], total.nextVerified);
}

void printFailuresReported(const SoakReport &report) {
    std::printf("\n| failures reported | count |\n|---|---|\n");
    for (const auto &[code, count] : report.faultedLastErrors)
        std::printf("| last-error 0x%X (%u) after a faulted upload | %u |\n", code, code, count);
    const LibrarySignals &signals = report.signals;
    std::printf("| \"HID::Reopening HID\" | %u |\n", signals.reopens);
    std::printf("| \"HID::HID Read Error\" | %u |\n", signals.readErrors);
    std::printf("| \"Invalid SPI Response.\" | %u |\n", signals.invalidResponses);
    std::printf("| \"HID: Corrupted Data Length\" | %u |\n", signals.corruptedLengths);
    std::printf("| busy wait timed out | %u |\n", signals.busyTimeouts);
    std::printf("| unacknowledged boot-loader reply dumped | %u |\n", signals.replyDumps);
    std::printf("| \"Checksums do not match!\" | %u |\n", signals.checksumLines);
    std::printf("| message boxes | %u |\n", signals.messageBoxes);
}

void printResources(const SoakReport &report) {
    std::printf("\n| when | resident KiB | heap in use KiB | descriptors | threads "
                "|\n|---|---|---|---|---|\n");
    for (const ResourceSample &sample : report.resources)
        std::printf("| %s | %ld | %ld | %d | %d |\n", sample.when.c_str(),
                    sample.counts.residentKiB, sample.counts.heapInUseKiB,
                    sample.counts.descriptors, sample.counts.threads);
}
} // namespace

void printReport(const SoakReport &report) {
    std::printf("\nsoak: seed %llu, %u of %u cycles, %u uploads, %u verified, %.0f s (%.1f s a "
                "cycle); longest upload %.1f s, longest transfer %.1f s\n\n",
                static_cast<unsigned long long>(report.seed), report.cyclesRun,
                report.cyclesPlanned, report.uploads, report.uploadsVerified, report.seconds,
                report.cyclesRun == 0 ? 0.0 : report.seconds / report.cyclesRun,
                report.longestUploadMs / 1000.0, report.longestTransferMs / 1000.0);
    printFaults(report);
    printFailuresReported(report);
    printResources(report);
    if (report.failures.empty()) {
        std::printf("\nsoak: PASS\n");
    } else {
        std::printf("\nsoak: FAIL, %zu failure(s):\n", report.failures.size());
        for (size_t i = 0; i < report.failures.size() && i < failuresShown; ++i)
            std::printf("  %s\n", report.failures[i].c_str());
    }
    std::printf("soak: rerun with --seed %llu\n", static_cast<unsigned long long>(report.seed));
    std::fflush(stdout);
}
