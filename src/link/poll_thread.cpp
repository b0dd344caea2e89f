// The poll thread: writes the current output report and reads the next input
// report, over and over, and reopens the device when it goes away.
#include "discovery/open_device.h"
#include "frame/debug.h"
#include "frame/reporter.h"
#include "link/input_dispatch.h"
#include "link/poll_run.h"
#include "link/report_format.h"
#include "link/shared_state.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace xdsp::link {

namespace {
// compat: about one reopen a second.
constexpr uint32_t reopenPauseMs = 1000;
constexpr uint32_t reopenAttemptsBeforeBox = 31;
// A write that fails for another reason than a lost device is retried after
// this pause rather than at once, so that a failing device does not eat a core.
constexpr uint32_t failedWritePauseMs = 1;

os::Device *const invalidDevice = reinterpret_cast<os::Device *>(~uintptr_t{0});

uint32_t leaveThread(PollRun *run, uint32_t exitCode) {
    if (run->threadHoldsReference.exchange(false))
        releaseRun(run);
    return exitCode;
}

void unpublishStaging(PollRun *run) {
    os::LockHold hold(run->lock);
    uint8_t *expected = run->stagingReport;
    run->link->publishedStaging.compare_exchange_strong(expected, nullptr);
}

void freeBuffers(PollRun *run) {
    delete[] run->inputBuffer;
    run->inputBuffer = nullptr;
    delete[] run->stagingReport;
    run->stagingReport = nullptr;
    delete[] run->writeBuffer;
    run->writeBuffer = nullptr;
}

bool allocateBuffers(PollRun *run) {
    size_t inputSize = std::max<size_t>(run->lengths.input + 2, input::minimumBuffer);
    // The header reaches offset 12 whatever the device's length, so a short
    // output report still gets a buffer that holds it.
    size_t outputSize = std::max<size_t>(run->lengths.output + 2, output::payload + 2);
    run->inputBuffer = new (std::nothrow) uint8_t[inputSize]();
    run->stagingReport = new (std::nothrow) uint8_t[outputSize]();
    run->writeBuffer = new (std::nothrow) uint8_t[outputSize]();
    return run->inputBuffer != nullptr && run->stagingReport != nullptr &&
           run->writeBuffer != nullptr;
}

void reopen(PollRun *run) {
    // compat: the mixed "HID::" and "HID: " prefixes are kept word for word.
    debugWrite(WIDE("HID::Reopening HID\n"));
    os::Device *device = discovery::openDevicePath(run->path);
    run->device.store(device);
    if (++run->reopenCount >= reopenAttemptsBeforeBox) {
        // compat: this box after 31 attempts in a row, as users know it.
        showMessage(WIDE("Error on HID"), WIDE("XMOS"), os::messageStyle::exclamation);
        run->reopenCount = 0;
    }
}

// Reads one whole input report; false after a failed read.
bool readWholeReport(PollRun *run, os::Device *device) {
    size_t wanted = run->lengths.input;
    size_t received = 0;
    while (received < wanted) {
        size_t count = 0;
        uint32_t error = 0;
        if (!os::deviceRead(device, run->inputBuffer + received, wanted - received, &count, &error))
            return false;
        received += count;
    }
    return true;
}

void runCycles(PollRun *run) {
    const size_t outputLength = run->lengths.output;
    for (;;) {
        if (os::eventIsSet(run->stopEvent) || run->abandoned.load())
            return;
        if (os::eventIsSet(run->commandEvent)) {
            os::LockHold hold(run->lock);
            std::memcpy(run->writeBuffer, run->stagingReport, outputLength);
            os::eventReset(run->commandEvent);
        }
        os::Device *device = run->device.load();
        if (device == nullptr || device == invalidDevice) {
            // Waiting on the stop event lets a close end the pause at once.
            os::eventWait(run->stopEvent, reopenPauseMs);
            if (os::eventIsSet(run->stopEvent))
                return;
            reopen(run);
            continue;
        }
        run->inputBuffer[0] = 0;
        uint32_t error = 0;
        if (!os::deviceWrite(device, run->writeBuffer, outputLength, &error)) {
            if (run->abandoned.load())
                return;
            if (error == os::error::invalidHandle) {
                os::deviceClose(run->device.exchange(nullptr));
                reopen(run);
            } else {
                os::eventWait(run->stopEvent, failedWritePauseMs);
            }
            continue;
        }
        if (!readWholeReport(run, device)) {
            if (run->abandoned.load())
                return;
            debugWrite(WIDE("HID::HID Read Error\n"));
            std::memset(run->inputBuffer, 0, 4);
            continue;
        }
        run->link->shared.statusWord.store(run->inputBuffer[input::status]);
        os::eventSet(run->reportEvent);
        run->reopenCount = 0;
        // compat: a second INIT after the first report of every start, not after a reopen.
        if (run->firstReport) {
            run->firstReport = false;
            debugWrite(WIDE("HID: Sending INIT Command.\n"));
            sendCommandOn(run, run->stagingReport, command::init);
        }
        acceptInputReport(run, run->inputBuffer);
    }
}

// The thread's work up to its exit code; the run is released after it.
uint32_t runThread(PollRun *run) {
    uint32_t inputLength = 0;
    uint32_t outputLength = 0;
    discovery::reportSizes(run->device.load(), &inputLength, &outputLength, nullptr);
    if (inputLength == 0 || outputLength == 0) {
        // compat: "HID::" with a blank, as logs have always shown it.
        debugWrite(WIDE("HID:: HID Init Error: Cancelling Thread.\n"));
        os::eventSet(run->threadExitEvent);
        return 1;
    }
    run->lengths.input = inputLength;
    run->lengths.output = outputLength;
    if (!allocateBuffers(run)) {
        freeBuffers(run);
        debugWrite(WIDE("HID:: HID Init Error: Cancelling Thread.\n"));
        os::eventSet(run->threadExitEvent);
        return 1;
    }
    {
        os::LockHold hold(run->lock);
        if (!run->abandoned.load())
            run->link->publishedStaging.store(run->stagingReport);
    }

    run->lastSequence = 0xFF;
    sendCommandOn(run, run->stagingReport, command::init);
    run->firstReport = true;
    run->reopenCount = 0;
    debugWrite(WIDE("HID: Starting Poll Loop.\n"));

    runCycles(run);

    if (run->abandoned.load()) {
        unpublishStaging(run);
        return 1;
    }
    debugWrite(WIDE("HID: Cleaning up Poll Thread.\n"));
    unpublishStaging(run);
    freeBuffers(run);
    debugWrite(WIDE("HID: Exiting HID Poll Thread.\n"));
    os::eventSet(run->threadExitEvent);
    return 0;
}
} // namespace

uint32_t pollThreadMain(void *argument) {
    auto *run = static_cast<PollRun *>(argument);
    uint32_t exitCode;
    {
        // Ends before the run is released: a board may go once its runs are gone.
        ReportingScope reporting(run->link->reporter);
        exitCode = runThread(run);
    }
    return leaveThread(run, exitCode);
}

} // namespace xdsp::link
