#include "link/transaction.h"
#include "link/poll_run.h"

namespace xdsp::link {

namespace {
template <typename Action> bool withRun(Link &link, Action action) {
    PollRun *run = link.currentRun.load();
    return run != nullptr && run->responseEvent != nullptr && action(run);
}
} // namespace

StagingLock stagingLock;

// The bridge between the running link's own lock and the one the analysis
// follows.
StagingAccess::StagingAccess(Link &link) XDSP_NO_THREAD_SAFETY_ANALYSIS {
    PollRun *run = link.currentRun.load();
    if (run == nullptr || run->lock == nullptr)
        return;
    os::lockEnter(run->lock);
    uint8_t *staging = link.publishedStaging.load();
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

void sendCommand(Link &link, uint16_t commandCode, StoreToClear clearFirst) {
    uint8_t *staging = link.publishedStaging.load();
    PollRun *run = link.currentRun.load();
    if (staging == nullptr || run == nullptr) {
        clearBytes(clearFirst);
        return;
    }
    sendCommandOn(run, staging, commandCode, clearFirst);
}

bool linkRunning(const Link &link) {
    return link.publishedStaging.load() != nullptr;
}

bool waitForReport(Link &link, uint32_t timeoutMs) {
    return withRun(link, [&](PollRun *run) { return os::eventWait(run->reportEvent, timeoutMs); });
}

bool waitForResponse(Link &link, uint32_t timeoutMs) {
    return withRun(link,
                   [&](PollRun *run) { return os::eventWait(run->responseEvent, timeoutMs); });
}

void resetReportEvent(Link &link) {
    withRun(link, [](PollRun *run) {
        os::eventReset(run->reportEvent);
        return true;
    });
}

void resetResponseEvent(Link &link) {
    withRun(link, [](PollRun *run) {
        os::eventReset(run->responseEvent);
        return true;
    });
}

} // namespace xdsp::link
