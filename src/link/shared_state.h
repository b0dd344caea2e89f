// What the open link shares with the commands: board values and response
// stores. Values the poll thread writes are atomics, or response stores that
// callers read only after the response event.
#pragma once

#include "xdsp/xdsp.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace xdsp::link {

// Zero at load, kept across closing and reopening of the link.
struct SharedState {
    std::atomic<uint16_t> sequenceCounter{0};
    std::atomic<uint16_t> gpioOutputWord{0};
    std::atomic<uint8_t> statusWord{0};
    std::atomic<uint16_t> gpioWord{0};
    std::atomic<uint16_t> adcValues[4]{};
    uint8_t productNameRecord[XDSP_PRODUCT_NAME_RECORD_SIZE]{};
    uint8_t layoutRecord[XDSP_LAYOUT_RECORD_SIZE]{};
    alignas(4) uint8_t pellixRecord[XDSP_PELLIX_RECORD_SIZE]{}; // two 32-bit words in report order
    uint8_t pinRecord[500]{};
    uint8_t calibrationRecord[XDSP_CALIBRATION_BLOCK_SIZE]{};
    uint8_t tedsBuffer[1024]{};
    uint8_t responseBuffer[1024]{};
};

// Response stores are written by the poll thread while a caller may be copying
// an earlier answer out; byte-wise relaxed atomics keep that well defined.
void storeBytes(uint8_t *store, const uint8_t *source, size_t count);
void loadBytes(uint8_t *destination, const uint8_t *store, size_t count);

// A response store that a command clears before it goes out; none by default.
struct StoreToClear {
    uint8_t *bytes = nullptr;
    size_t count = 0;
};
void clearBytes(StoreToClear store);

} // namespace xdsp::link
