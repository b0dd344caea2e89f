// The open link's state. Values the poll thread shares with callers are atomics
// or response stores that callers read only after the response event.
#pragma once

#include "frame/text.h"
#include "os/os.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace xdsp::link {

// Process-wide values: zero at load, kept across closing and reopening.
struct SharedState {
    std::atomic<uint16_t> sequenceCounter{0};
    std::atomic<uint16_t> gpioOutputWord{0};
    std::atomic<uint8_t> statusWord{0};
    std::atomic<uint16_t> gpioWord{0};
    std::atomic<uint16_t> adcValues[4]{};
    uint8_t productNameRecord[188]{};
    uint8_t layoutRecord[212]{};
    alignas(4) uint8_t pellixRecord[8]{}; // two 32-bit words in report order
    uint8_t pinRecord[500]{};
    uint8_t calibrationRecord[40]{};
    uint8_t tedsBuffer[1024]{};
    uint8_t responseBuffer[1024]{};
};
extern SharedState shared;

// One open link with its poll thread's run. Owned jointly by the link and the
// thread, so that a thread that had to be abandoned frees only its own run.
struct PollRun {
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

// The link that callers see; null when closed.
extern std::atomic<PollRun *> currentRun;
// The running poll thread's staging report; null while none is running.
extern std::atomic<uint8_t *> publishedStaging;

void releaseRun(PollRun *run);

// Response stores are written by the poll thread while a caller may be copying
// an earlier answer out; byte-wise relaxed atomics keep that well defined.
void storeBytes(uint8_t *store, const uint8_t *source, size_t count);
void loadBytes(uint8_t *destination, const uint8_t *store, size_t count);

// Stages the header of a command on this run's staging report.
void sendCommandOn(PollRun *run, uint8_t *staging, uint16_t commandCode);

// Closes the current link as DestroyHIDUSBPacket does; false when none is open.
bool closeLink();

uint32_t pollThreadMain(void *argument);

} // namespace xdsp::link
