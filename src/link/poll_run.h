// Private to the link: one open link with its poll thread's run, its thread,
// events and buffers. Commands see only shared_state.h and transaction.h.
#pragma once

#include "frame/text.h"
#include "link/link.h"
#include "os/os.h"

#include <atomic>
#include <cstdint>

namespace xdsp::link {

// Owned jointly by the link and the thread, so that a thread that had to be
// abandoned frees only its own run.
struct PollRun {
    Link *link = nullptr; // the link it runs for, which outlives it
    std::atomic<int> references{1};
    std::atomic<bool> threadHoldsReference{false};
    std::atomic<bool> abandoned{false};
    os::Event *stopEvent = nullptr;
    os::Event *threadExitEvent = nullptr;
    os::Event *responseEvent = nullptr;
    os::Event *reportEvent = nullptr;
    os::Event *commandEvent = nullptr;
    os::Lock *lock = nullptr;
    os::Thread *thread = nullptr;
    std::atomic<os::Device *> device{nullptr};
    Char16 path[XDSP_DEVICE_PATH_CHARS]{};

    // The poll thread's own from here on.
    os::ReportLengths lengths;
    uint8_t *inputBuffer = nullptr;
    uint8_t *stagingReport XDSP_PT_GUARDED_BY(lock) = nullptr;
    uint8_t *writeBuffer = nullptr;
    uint8_t lastSequence = 0xFF;
    bool firstReport = true;
    uint32_t reopenCount = 0;
};

void releaseRun(PollRun *run);

// Stages the header of a command on this run's staging report. A store given
// is cleared in the same hold of the link lock, so that no answer to an earlier
// command can land in it between the clearing and the staging.
void sendCommandOn(PollRun *run, uint8_t *staging, uint16_t commandCode,
                   StoreToClear clearFirst = {});

// True when an answer read after the write of the command with this sequence
// byte is that command's: no newer command has been staged since.
bool answersStagedCommand(const PollRun *run, uint8_t wireSequence) XDSP_REQUIRES(run->lock);

// Closes the current link as DestroyHIDUSBPacket does; false when none is open.
bool closeLink(Link &link);

uint32_t pollThreadMain(void *argument);

} // namespace xdsp::link
