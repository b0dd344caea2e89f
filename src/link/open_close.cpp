// Opening and closing a link.
#include "link/open_close.h"
#include "discovery/open_device.h"
#include "frame/bounded_string.h"
#include "frame/debug.h"
#include "link/poll_run.h"

#include <new>

namespace xdsp::link {

namespace {
constexpr uint32_t threadExitWaitMs = 1000;
// After a forced stop's wake-up the thread leaves within microseconds unless it
// sits in an application's handler; this long it may take before it is given up.
constexpr uint32_t cancelledExitWaitMs = 200;

bool createEvents(PollRun *run) {
    run->stopEvent = os::eventCreate();
    run->threadExitEvent = os::eventCreate();
    run->responseEvent = os::eventCreate();
    run->reportEvent = os::eventCreate();
    run->commandEvent = os::eventCreate();
    run->lock = os::lockCreate();
    return run->stopEvent != nullptr && run->threadExitEvent != nullptr &&
           run->responseEvent != nullptr && run->reportEvent != nullptr &&
           run->commandEvent != nullptr && run->lock != nullptr;
}

// The thread did not leave: wake its blocked I/O, and if that is not enough,
// end it. It must never again touch the staging report that callers see.
void stopForcibly(PollRun *run) {
    // compat: misspelt as it has always been; logs are matched on it.
    debugWrite(WIDE("Forcably terminating HID thread.\n"));
    {
        os::LockHold hold(run->lock);
        run->abandoned.store(true);
        uint8_t *expected = run->stagingReport;
        run->link->publishedStaging.compare_exchange_strong(expected, nullptr);
    }
    os::deviceCancel(run->device.load(), run->thread);
    bool gone = os::threadJoin(run->thread, cancelledExitWaitMs);
    if (!gone && os::threadTerminate(run->thread) && run->threadHoldsReference.exchange(false))
        releaseRun(run); // the terminated thread never released its share
    if (!gone)
        return;
    os::deviceClose(run->device.exchange(nullptr));
}
} // namespace

bool closeLink(Link &link) {
    PollRun *run = link.currentRun.load();
    if (run == nullptr)
        return false;
    debugWrite(WIDE("Closing HID.\n"));
    if (run->stopEvent != nullptr)
        os::eventSet(run->stopEvent);
    if (run->thread != nullptr) {
        if (os::eventWait(run->threadExitEvent, threadExitWaitMs) &&
            os::threadJoin(run->thread, threadExitWaitMs))
            os::deviceClose(run->device.exchange(nullptr));
        else
            stopForcibly(run);
        os::threadRelease(run->thread);
    } else {
        os::deviceClose(run->device.exchange(nullptr));
    }
    link.currentRun.store(nullptr);
    releaseRun(run);
    return true;
}

bool openLink(Link &link, const Char16 *devicePath) {
    if (link.currentRun.load() != nullptr)
        closeLink(link);
    debugWrite(WIDE("Opening HID.\n"));
    os::Device *device = discovery::openDevicePath(devicePath);
    if (device == nullptr)
        return false;
    auto *run = new (std::nothrow) PollRun;
    if (run == nullptr) {
        os::deviceClose(device);
        os::setLastError(os::error::notEnoughMemory);
        return false;
    }
    run->link = &link;
    link.liveRuns.fetch_add(1);
    run->device.store(device);
    // The path is copied here so that the caller's buffer need not outlive the call.
    boundedCopy(run->path, XDSP_DEVICE_PATH_CHARS, devicePath);
    link.currentRun.store(run);
    if (!createEvents(run)) {
        debugErrorLine(WIDE("CreateThread Error: "), os::error::notEnoughMemory);
        os::setLastError(os::error::notEnoughMemory);
        return false;
    }
    run->references.store(2);
    run->threadHoldsReference.store(true);
    uint32_t error = 0;
    run->thread = os::threadStart(pollThreadMain, run, &error);
    if (run->thread == nullptr) {
        run->threadHoldsReference.store(false);
        run->references.store(1);
        debugErrorLine(WIDE("CreateThread Error: "), error);
        os::setLastError(error);
        return false;
    }
    os::setLastError(os::error::success);
    return true;
}

bool linkOnline(const Link &link) {
    PollRun *run = link.currentRun.load();
    if (run == nullptr)
        return false;
    os::Device *device = run->device.load();
    return device != nullptr && device != reinterpret_cast<os::Device *>(~uintptr_t{0});
}

} // namespace xdsp::link
