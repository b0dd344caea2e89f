#include "link/transaction.h"
#include "link/poll_run.h"

namespace xdsp::link {

namespace {
template <typename Action> bool withRun(Action action) {
    PollRun *run = currentRun.load();
    return run != nullptr && run->responseEvent != nullptr && action(run);
}
} // namespace

StagingLock stagingLock;

// The bridge between the running link's own lock and the one the analysis
// follows.
StagingAccess::StagingAccess() XDSP_NO_THREAD_SAFETY_ANALYSIS {
    PollRun *run = currentRun.load();
    if (run == nullptr || run->lock == nullptr)
        return;
    os::lockEnter(run->lock);
    uint8_t *staging = publishedStaging.load();
    if (staging == nullptr) {
        os::lockLeave(run->lock);
        return;
    }
    bytes_ = staging;
    length_ = run->lengths.output;
    lock_ = run->lock;
}

StagingAccess::~StagingAccess() XDSP_NO_THREAD_SAFETY_ANALYSIS {
    if (lock_ != nullptr)
        os::lockLeave(lock_);
}

void sendCommand(uint16_t commandCode) {
    uint8_t *staging = publishedStaging.load();
    PollRun *run = currentRun.load();
    if (staging == nullptr || run == nullptr)
        return;
    sendCommandOn(run, staging, commandCode);
}

bool linkRunning() {
    return publishedStaging.load() != nullptr;
}

bool waitForReport(uint32_t timeoutMs) {
    return withRun([&](PollRun *run) { return os::eventWait(run->reportEvent, timeoutMs); });
}

bool waitForResponse(uint32_t timeoutMs) {
    return withRun([&](PollRun *run) { return os::eventWait(run->responseEvent, timeoutMs); });
}

void resetReportEvent() {
    withRun([](PollRun *run) {
        os::eventReset(run->reportEvent);
        return true;
    });
}

void resetResponseEvent() {
    withRun([](PollRun *run) {
        os::eventReset(run->responseEvent);
        return true;
    });
}

} // namespace xdsp::link
