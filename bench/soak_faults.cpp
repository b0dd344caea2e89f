#include "soak_faults.h"

#include "emulator/bootloader/boot_loader.h"

#include <algorithm>
#include <cstdio>

namespace {
using xdsp::emu::BootLoader;

constexpr std::array<const char *, faultKinds> names = {
    "cable pulled",         "reports stalled", "length corrupted", "busy bits stuck",
    "boot busy line stuck", "replies garbled", "command unacked",  "reports corrupted",
    "sequence repeated",    "answers late",
};

// Where in an upload a fault may strike: before it, then the progress reports
// after the allocation, the table, the format, the packets, the close and the name.
constexpr std::array<int, 10> armPoints = {0, 10, 15, 20, 25, 50, 80, 85, 90, 95};
// The boot-loader commands of an upload; 0 strikes whichever comes next.
constexpr std::array<uint8_t, 11> uploadCodes = {0,    0x30, 0x31, 0x32, 0x2C, 0x33,
                                                 0x29, 0x2B, 0x2F, 0x2A, 0x2D};
constexpr uint32_t shortestFaultMs = 200;
constexpr uint32_t longestFaultMs = 2500;
constexpr uint32_t mostSpoiled = 3;

template <typename T, size_t N> T pick(std::mt19937_64 &random, const std::array<T, N> &from) {
    return from[std::uniform_int_distribution<size_t>(0, N - 1)(random)];
}
} // namespace

const char *faultName(FaultKind kind) {
    return names[static_cast<size_t>(kind)];
}

bool FaultPlan::timed() const {
    switch (kind) {
    case FaultKind::cablePulled:
    case FaultKind::reportsStalled:
    case FaultKind::busyBitsStuck:
    case FaultKind::bootLoaderBusyStuck:
    case FaultKind::answersLate:
        return true;
    default:
        return false;
    }
}

uint32_t FaultPlan::transfersSpoiled() const {
    // A timed fault ends inside the time-out of the transfer it caught, so the
    // next one finds the board back; the one after the cable may be caught too.
    return timed() ? 2 : count;
}

std::string FaultPlan::describe() const {
    char text[160];
    const char *where = armAtPercent == 0 ? "before the upload" : "at progress";
    if (kind == FaultKind::answersLate)
        std::snprintf(text, sizeof text, "%s (%u reports) for %u ms, %s %d", faultName(kind), count,
                      durationMs, where, armAtPercent);
    else if (timed())
        std::snprintf(text, sizeof text, "%s for %u ms, %s %d", faultName(kind), durationMs, where,
                      armAtPercent);
    else if (kind == FaultKind::reportsCorrupted)
        std::snprintf(text, sizeof text, "%s (%s) x%u, %s %d", faultName(kind),
                      code == 0 ? "magic" : "checksum", count, where, armAtPercent);
    else if (kind == FaultKind::repliesGarbled || kind == FaultKind::commandUnacknowledged)
        std::snprintf(text, sizeof text, "%s (code 0x%02X) x%u, %s %d", faultName(kind), code,
                      count, where, armAtPercent);
    else
        std::snprintf(text, sizeof text, "%s x%u, %s %d", faultName(kind), count, where,
                      armAtPercent);
    return text;
}

FaultPlan FaultDeck::draw(std::mt19937_64 &random) {
    if (next_ == faultKinds) {
        for (size_t i = 0; i < faultKinds; ++i)
            order_[i] = static_cast<FaultKind>(i);
        std::shuffle(order_.begin(), order_.end(), random);
        next_ = 0;
    }
    FaultPlan plan;
    plan.kind = order_[next_++];
    plan.armAtPercent = pick(random, armPoints);
    if (plan.timed())
        plan.durationMs =
            std::uniform_int_distribution<uint32_t>(shortestFaultMs, longestFaultMs)(random);
    if (!plan.timed() || plan.kind == FaultKind::answersLate)
        plan.count = std::uniform_int_distribution<uint32_t>(1, mostSpoiled)(random);
    if (plan.kind == FaultKind::reportsCorrupted)
        plan.code = static_cast<uint8_t>(std::uniform_int_distribution<unsigned>(0, 1)(random));
    else if (plan.kind == FaultKind::repliesGarbled ||
             plan.kind == FaultKind::commandUnacknowledged)
        plan.code = pick(random, uploadCodes);
    return plan;
}

FaultInjector::FaultInjector(xdsp::emu::Board &board, xdsp::emu::VirtualDeviceServer &server)
    : board_(board), server_(server), releaser_([this] { releaseWhenDue(); }) {}

FaultInjector::~FaultInjector() {
    {
        std::lock_guard<std::mutex> locked(mutex_);
        stopping_ = true;
    }
    wake_.notify_one();
    releaser_.join();
}

void FaultInjector::arm(const FaultPlan &plan) {
    {
        std::lock_guard<std::mutex> locked(mutex_);
        armed_ = plan;
        apply(plan, true);
        timedOn_ = plan.timed();
        releaseAt_ = std::chrono::steady_clock::now() + std::chrono::milliseconds(plan.durationMs);
    }
    wake_.notify_one();
}

bool FaultInjector::disarm() {
    std::lock_guard<std::mutex> locked(mutex_);
    if (!armed_)
        return false;
    FaultPlan plan = *armed_;
    armed_.reset();
    bool struck = plan.timed() || countLeft(plan) < plan.count;
    if (timedOn_ || !plan.timed())
        apply(plan, false);
    timedOn_ = false;
    return struck;
}

void FaultInjector::releaseWhenDue() {
    std::unique_lock<std::mutex> locked(mutex_);
    while (!stopping_) {
        if (!timedOn_) {
            wake_.wait(locked);
            continue;
        }
        if (wake_.wait_until(locked, releaseAt_) == std::cv_status::timeout && timedOn_ &&
            std::chrono::steady_clock::now() >= releaseAt_) {
            apply(*armed_, false);
            timedOn_ = false;
        }
    }
}

void FaultInjector::apply(const FaultPlan &plan, bool on) {
    uint32_t count = on ? plan.count : 0;
    switch (plan.kind) {
    case FaultKind::cablePulled:
        if (on)
            server_.unplug();
        else
            server_.replug();
        break;
    case FaultKind::reportsStalled:
        board_.stallReports(on);
        break;
    case FaultKind::lengthCorrupted:
        board_.corruptLength(count);
        break;
    case FaultKind::busyBitsStuck:
        board_.setBusyStuck(on);
        break;
    case FaultKind::bootLoaderBusyStuck:
        board_.inspectBootLoader([&](BootLoader &loader) { loader.faults().busyStuck = on; });
        break;
    case FaultKind::repliesGarbled:
        board_.inspectBootLoader([&](BootLoader &loader) {
            loader.faults().garbledCode = plan.code;
            loader.faults().garbledReplies = count;
        });
        break;
    case FaultKind::commandUnacknowledged:
        board_.inspectBootLoader([&](BootLoader &loader) {
            loader.faults().unacknowledgedCode = plan.code;
            loader.faults().unacknowledgedReplies = count;
        });
        break;
    case FaultKind::reportsCorrupted:
        if (plan.code == 0)
            board_.corruptMagic(count);
        else
            board_.corruptChecksum(count);
        break;
    case FaultKind::sequenceRepeated:
        board_.repeatSequence(count);
        break;
    case FaultKind::answersLate:
        board_.answerWriteOnly(on);
        board_.delayAnswers(count);
        break;
    case FaultKind::count:
        break;
    }
}

uint32_t FaultInjector::countLeft(const FaultPlan &plan) {
    xdsp::emu::FirmwareFaults firmware = board_.faults();
    uint32_t left = 0;
    switch (plan.kind) {
    case FaultKind::lengthCorrupted:
        return firmware.corruptLengthResponses;
    case FaultKind::reportsCorrupted:
        return plan.code == 0 ? firmware.corruptMagicReports : firmware.corruptChecksumReports;
    case FaultKind::sequenceRepeated:
        return firmware.repeatSequenceResponses;
    case FaultKind::repliesGarbled:
        board_.inspectBootLoader(
            [&](BootLoader &loader) { left = loader.faults().garbledReplies; });
        return left;
    case FaultKind::commandUnacknowledged:
        board_.inspectBootLoader(
            [&](BootLoader &loader) { left = loader.faults().unacknowledgedReplies; });
        return left;
    default:
        return 0;
    }
}
