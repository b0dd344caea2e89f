// The fault soak: many uploads through the public API against an emulated
// board that fails at random, seeded and reproducible (--seed N). Each cycle
// draws one fault, arms it at a random point of an upload, then checks that the
// upload's result and last-error show what happened, and that a clean upload
// right after it succeeds and leaves exactly its data on the board. A watchdog
// names any call that overruns its bound; resident memory, descriptors and
// threads must stay flat over the run and return to the start after the close.
//
// The emulator runs on threads of this process, started before the first
// count, so that every change in the counts is the library's.
#include "emulator/bootloader/boot_loader.h"
#include "soak_faults.h"
#include "soak_report.h"
#include "soak_resources.h"
#include "soak_watchdog.h"
#include "xdsp/xdsp.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {
using namespace std::chrono_literals;

// The library's own waits for one transfer: a fresh report, the busy bits, the
// next report and the response.
constexpr uint32_t transferTimeoutMs = 1000 + 1000 + 1000 + 10000;
constexpr uint32_t marginMs = 1000;
constexpr uint32_t openBoundMs = 1000 + marginMs;
constexpr uint32_t closeBoundMs = 1000 + marginMs; // the wait for the poll thread
constexpr uint32_t bootLoaderBusyWaitMs = 3000;
constexpr uint32_t initBoundMs = 60000;
// Two exchanges (the second ask for a 0), each two transfers around a busy wait.
constexpr uint32_t checksumBoundMs = 4 * transferTimeoutMs + 2 * bootLoaderBusyWaitMs + marginMs;
// An upload's own sleeps (flushes, the close, the settle and a failed close's
// pause) and its transfers at full speed, with room to spare.
constexpr uint32_t uploadBaseMs = 15000;
constexpr uint32_t packetMs = 20; // the pause after a packet and its two transfers
constexpr uint32_t reportPeriodMicros = 1000;
// Resident memory may move by allocator bookkeeping; a leak of a few hundred
// bytes an upload passes this within a thousand uploads.
constexpr long residentSlackKiB = 256;
constexpr size_t failureLimit = 5;
constexpr size_t slots = 4;
constexpr uint32_t sectorBytes = 4096;
constexpr uint32_t largestFile = 4096;

struct Options {
    uint64_t seed = 0;
    unsigned cycles = 500;
    unsigned reportEvery = 0; // 0: a tenth of the cycles
};

struct Slot {
    int32_t index;
    int16_t type = XDSP_FILE_TYPE_DATA;
    uint32_t sectors = 2;
    uint32_t start() const { return (16 + 16 * static_cast<uint32_t>(index)) * sectorBytes; }
    uint32_t end() const { return start() + sectors * sectorBytes; }
};

struct UploadResult {
    xdsp_bool result = 0;
    uint32_t lastError = 0;
    uint32_t ms = 0;
};

struct Soak;
Soak *running = nullptr; // for the library's callbacks, which carry no pointer of ours
// Ctrl-C or a kill ends the run after the cycle in progress, with its table.
std::atomic<bool> stopRequested{false};

void requestStop(int) {
    stopRequested = true;
}

struct Soak {
    Options options;
    std::mt19937_64 random;
    xdsp::emu::Board board;
    xdsp::emu::VirtualDeviceServer server;
    std::string path;
    FaultInjector injector;
    FaultDeck deck;
    SoakReport report;
    Watchdog watchdog;
    std::optional<FaultPlan> pending; // armed at the upload's first progress report past its point
    std::array<Slot, slots> slotTable{};

    explicit Soak(const Options &chosen);
    ~Soak();
    bool open();
    void runCycle(unsigned cycle);
    UploadResult upload(const Slot &slot, const std::vector<uint8_t> &data, uint32_t boundMs,
                        const std::string &context);
    bool boardHolds(const Slot &slot, const std::vector<uint8_t> &data);
    std::vector<uint8_t> fileData();
    void sample(const std::string &when);
    void fail(const std::string &why);
    void close();
};

xdsp::emu::BoardOptions boardOptions() {
    xdsp::emu::BoardOptions options;
    options.reportPeriodMicros = reportPeriodMicros;
    options.bootLoader = xdsp::emu::BootLoaderOptions{};
    return options;
}

bool startsWith(const xdsp_char16 *text, const char *prefix) {
    for (size_t i = 0; prefix[i] != 0; ++i)
        if (text[i] != static_cast<unsigned char>(prefix[i]))
            return false;
    return true;
}

void noteDebugLine(const xdsp_char16 *text, void *) {
    Soak *soak = running;
    if (soak == nullptr)
        return;
    LibrarySignals &signals = soak->report.signals;
    if (startsWith(text, "Writing to SPI..."))
        soak->watchdog.transferStarted();
    else if (startsWith(text, "SPI Complete."))
        soak->watchdog.transferEnded();
    else if (startsWith(text, "HID::Reopening HID"))
        ++signals.reopens;
    else if (startsWith(text, "HID::HID Read Error"))
        ++signals.readErrors;
    else if (startsWith(text, "Invalid SPI Response."))
        ++signals.invalidResponses;
    else if (startsWith(text, "HID: Corrupted Data Length"))
        ++signals.corruptedLengths;
    else if (startsWith(text, "Done.  (timeout)"))
        ++signals.busyTimeouts;
    else if (startsWith(text, "Command: 0x"))
        ++signals.replyDumps;
    else if (startsWith(text, "Checksums do not match!"))
        ++signals.checksumLines;
}

int noteMessageBox(const xdsp_char16 *, const xdsp_char16 *, uint32_t, void *) {
    if (running != nullptr)
        ++running->report.signals.messageBoxes;
    return 1;
}

int32_t XDSP_API armAtProgress(int32_t percent, uint32_t) {
    Soak *soak = running;
    if (soak != nullptr && soak->pending && percent >= soak->pending->armAtPercent) {
        soak->injector.arm(*soak->pending);
        soak->pending.reset();
    }
    return 0;
}

Soak::Soak(const Options &chosen)
    : options(chosen), random(chosen.seed), board(boardOptions()), server(board),
      path("/tmp/xdsp-soak-" + std::to_string(getpid()) + ".sock"), injector(board, server),
      watchdog(transferTimeoutMs + marginMs, [this] {
          report.failures.push_back("hang: see the HANG line above");
          printReport(report);
      }) {
    report.seed = options.seed;
    report.cyclesPlanned = options.cycles;
    for (size_t i = 0; i < slots; ++i)
        slotTable[i].index = static_cast<int32_t>(i);
    running = this;
}

Soak::~Soak() {
    running = nullptr;
}

void Soak::fail(const std::string &why) {
    std::printf("soak: FAILURE: %s\n", why.c_str());
    std::fflush(stdout);
    report.failures.push_back(why);
}

void Soak::sample(const std::string &when) {
    report.resources.push_back({when, countResources()});
}

std::vector<uint8_t> Soak::fileData() {
    // Even lengths: an odd last byte never travels, which is the upload's rule, not a fault.
    uint32_t length = 2 * std::uniform_int_distribution<uint32_t>(1, largestFile / 2)(random);
    std::vector<uint8_t> data(length);
    for (uint8_t &byte : data)
        byte = static_cast<uint8_t>(random());
    return data;
}

bool Soak::open() {
    if (!server.start(path)) {
        std::fprintf(stderr, "soak: cannot serve the emulator: %s\n", server.error().c_str());
        return false;
    }
    xdsp_set_debug_handler(noteDebugLine, nullptr);
    xdsp_set_message_handler(noteMessageBox, nullptr);
    sample("before the open");
    std::u16string widePath(path.begin(), path.end());
    if (!watched(watchdog, "InitializeHIDUSBPacketPath", openBoundMs, "open",
                 [&] { return InitializeHIDUSBPacketPath(widePath.c_str()); })) {
        std::fprintf(stderr, "soak: InitializeHIDUSBPacketPath failed, last-error %u\n",
                     xdsp_last_error());
        return false;
    }
    // The poll thread needs its first reports before a command can go out.
    std::this_thread::sleep_for(100ms);
    if (!watched(watchdog, "BootLoader_Init", initBoundMs, "open",
                 [] { return BootLoader_Init(2, 2); })) {
        std::fprintf(stderr, "soak: BootLoader_Init failed, last-error %u\n", xdsp_last_error());
        return false;
    }
    return true;
}

UploadResult Soak::upload(const Slot &slot, const std::vector<uint8_t> &data, uint32_t boundMs,
                          const std::string &context) {
    static const xdsp_char16 name[] = u"soak.bin";
    UploadResult outcome;
    outcome.result = watched(
        watchdog, "BootLoader_Send", boundMs, context,
        [&] {
            xdsp_bool result =
                BootLoader_Send(slot.index, slot.type, slot.start(), slot.end(), name, data.data(),
                                static_cast<uint32_t>(data.size()), 0, armAtProgress, 0);
            outcome.lastError = xdsp_last_error();
            return result;
        },
        &outcome.ms);
    ++report.uploads;
    report.longestUploadMs = std::max(report.longestUploadMs, outcome.ms);
    return outcome;
}

// The emulator's own account, not the library's: the file is closed and holds
// exactly these bytes.
bool Soak::boardHolds(const Slot &slot, const std::vector<uint8_t> &data) {
    bool holds = false;
    board.inspectBootLoader([&](xdsp::emu::BootLoader &loader) {
        const xdsp::emu::FileEntry &entry =
            loader.fileSystem().entry(static_cast<unsigned>(slot.index));
        const std::vector<uint8_t> &flash = loader.fileSystem().flash();
        size_t start = size_t{entry.startSector} * sectorBytes;
        holds = entry.closed && entry.length == data.size() &&
                entry.checksum == BootLoader_ComputeFileChecksum(
                                      data.data(), static_cast<uint32_t>(data.size())) &&
                start + data.size() <= flash.size() &&
                std::equal(data.begin(), data.end(), flash.begin() + static_cast<ptrdiff_t>(start));
    });
    return holds;
}

uint32_t uploadBoundMs(size_t length, uint32_t spoiled, uint32_t faultMs) {
    auto packets = static_cast<uint32_t>(length / 256 + 1);
    return uploadBaseMs + packetMs * packets + spoiled * (transferTimeoutMs + marginMs) +
           3 * bootLoaderBusyWaitMs + faultMs;
}

void Soak::runCycle(unsigned cycle) {
    FaultPlan plan = deck.draw(random);
    Slot &slot = slotTable[std::uniform_int_distribution<size_t>(0, slots - 1)(random)];
    // Now and then the file moves or changes its type, so that erase, allocate,
    // set-type, commit and the table re-read are in the line of fire too.
    if (std::uniform_int_distribution<int>(0, 3)(random) == 0)
        slot.sectors = slot.sectors == 2 ? 1 : 2;
    if (std::uniform_int_distribution<int>(0, 7)(random) == 0)
        slot.type = slot.type == XDSP_FILE_TYPE_DATA ? XDSP_FILE_TYPE_LINK : XDSP_FILE_TYPE_DATA;
    std::vector<uint8_t> data = fileData();
    FaultTally &tally = report.faults[static_cast<size_t>(plan.kind)];
    ++tally.injected;
    std::string context = "cycle " + std::to_string(cycle) + ", file " +
                          std::to_string(slot.index) + ", " + std::to_string(data.size()) +
                          " bytes, fault " + plan.describe() + ", seed " +
                          std::to_string(options.seed);

    pending = plan;
    if (plan.armAtPercent == 0)
        armAtProgress(0, 0);
    UploadResult faulted =
        upload(slot, data, uploadBoundMs(data.size(), plan.transfersSpoiled() + 1, plan.durationMs),
               "faulted upload, " + context);
    pending.reset();
    if (injector.disarm())
        ++tally.struck;

    Outcome outcome;
    if (faulted.result == 0)
        outcome = Outcome::stopped;
    else if (faulted.lastError == XDSP_ERROR_CHECKSUM_MISMATCH)
        outcome = Outcome::mismatch;
    else if (faulted.lastError != XDSP_ERROR_SUCCESS)
        outcome = Outcome::otherCode;
    else
        outcome = boardHolds(slot, data) ? Outcome::absorbed : Outcome::silent;
    ++tally.outcome[static_cast<size_t>(outcome)];
    if (outcome != Outcome::absorbed)
        ++report.faultedLastErrors[faulted.lastError];
    if (outcome == Outcome::absorbed)
        ++report.uploadsVerified;
    if (outcome == Outcome::silent)
        fail("BootLoader_Send reported success (1, last-error 0) but the board does not hold "
             "the data: " +
             context);

    std::vector<uint8_t> clean = fileData();
    UploadResult next = upload(slot, clean, uploadBoundMs(clean.size(), 2, 0),
                               "clean upload after the fault, " + context);
    uint16_t computed =
        BootLoader_ComputeFileChecksum(clean.data(), static_cast<uint32_t>(clean.size()));
    uint16_t onBoard = watched(watchdog, "BootLoader_GetFileChecksum", checksumBoundMs, context,
                               [&] { return BootLoader_GetFileChecksum(slot.index); });
    bool holds = boardHolds(slot, clean);
    if (next.result == 1 && next.lastError == XDSP_ERROR_SUCCESS && onBoard == computed && holds) {
        ++tally.nextVerified;
        ++report.uploadsVerified;
    } else {
        char detail[160];
        std::snprintf(detail, sizeof detail,
                      "the clean upload after the fault: result %d, last-error 0x%X, board "
                      "checksum %04X, data %04X, board holds the data: %s; faulted upload: "
                      "result %d, last-error 0x%X",
                      next.result, next.lastError, onBoard, computed, holds ? "yes" : "no",
                      faulted.result, faulted.lastError);
        fail(std::string(detail) + "; " + context);
    }
}

void Soak::close() {
    watched(watchdog, "DestroyHIDUSBPacket", closeBoundMs, "close",
            [] { return DestroyHIDUSBPacket(); });
    // The emulator lets go of its end of the connection when it sees the hang-up.
    ResourceCounts baseline = report.resources.front().counts;
    for (int i = 0; i < 100 && countResources().descriptors != baseline.descriptors; ++i)
        std::this_thread::sleep_for(20ms);
    sample("after the close");
}

bool parse(int argc, char **argv, Options &options) {
    options.seed = std::random_device{}();
    for (int i = 1; i < argc; ++i) {
        std::string option = argv[i];
        if (i + 1 < argc && option == "--seed")
            options.seed = std::strtoull(argv[++i], nullptr, 10);
        else if (i + 1 < argc && option == "--cycles")
            options.cycles = static_cast<unsigned>(std::strtoul(argv[++i], nullptr, 10));
        else if (i + 1 < argc && option == "--report-every")
            options.reportEvery = static_cast<unsigned>(std::strtoul(argv[++i], nullptr, 10));
        else
            return false;
    }
    if (options.reportEvery == 0)
        options.reportEvery = std::max(1u, options.cycles / 10);
    return options.cycles > 0;
}

// Flat while open: the counts of every later sample equal the first one's;
// after the close, back to those before the open.
void checkResources(Soak &soak) {
    std::vector<ResourceSample> &samples = soak.report.resources;
    const ResourceCounts &before = samples.front().counts;
    const ResourceCounts &start = samples[1].counts;
    for (size_t i = 2; i + 1 < samples.size(); ++i) {
        const ResourceCounts &now = samples[i].counts;
        if (now.descriptors != start.descriptors || now.threads != start.threads)
            soak.fail("descriptors or threads moved while open: " + samples[i].when);
        if (now.residentKiB > start.residentKiB + residentSlackKiB)
            soak.fail("resident memory grew by more than " + std::to_string(residentSlackKiB) +
                      " KiB: " + samples[i].when);
    }
    const ResourceCounts &after = samples.back().counts;
    if (after.descriptors != before.descriptors || after.threads != before.threads)
        soak.fail("descriptors or threads not back to their count before the open");
}
} // namespace

int main(int argc, char **argv) {
    Options options;
    if (!parse(argc, argv, options)) {
        std::fprintf(stderr, "usage: %s [--seed N] [--cycles N] [--report-every N]\n", argv[0]);
        return 2;
    }
    std::printf("soak: seed %llu, %u cycles (a faulted and a clean upload each), report period "
                "%u us\n",
                static_cast<unsigned long long>(options.seed), options.cycles, reportPeriodMicros);
    std::fflush(stdout);
    std::signal(SIGINT, requestStop);
    std::signal(SIGTERM, requestStop);
    Soak soak(options);
    if (!soak.open())
        return 2;
    auto started = std::chrono::steady_clock::now();
    auto secondsSoFar = [&] {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    };
    for (unsigned cycle = 1; cycle <= options.cycles; ++cycle) {
        soak.runCycle(cycle);
        soak.board.forgetHistory();
        soak.report.cyclesRun = cycle;
        bool last =
            cycle == options.cycles || stopRequested || soak.report.failures.size() >= failureLimit;
        if (cycle == 1)
            soak.sample("start (after cycle 1)");
        else if (last)
            soak.sample("end (after cycle " + std::to_string(cycle) + ")");
        else if (cycle == (options.cycles + 1) / 2)
            soak.sample("middle (after cycle " + std::to_string(cycle) + ")");
        else if (cycle % options.reportEvery == 0)
            soak.sample("after cycle " + std::to_string(cycle));
        if (cycle % options.reportEvery == 0 || last) {
            const ResourceCounts &now = soak.report.resources.back().counts;
            std::printf("soak: cycle %u/%u, %.0f s, %u uploads, %u verified, RSS %ld KiB, heap "
                        "%ld KiB, %d descriptors, %d threads\n",
                        cycle, options.cycles, secondsSoFar(), soak.report.uploads,
                        soak.report.uploadsVerified, now.residentKiB, now.heapInUseKiB,
                        now.descriptors, now.threads);
            std::fflush(stdout);
        }
        if (last)
            break;
    }
    soak.close();
    soak.report.seconds = secondsSoFar();
    soak.report.longestTransferMs = soak.watchdog.longestTransferMs();
    checkResources(soak);
    printReport(soak.report);
    return soak.report.failures.empty() ? 0 : 1;
}
