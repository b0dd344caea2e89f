// SPI transfers through the board's microcontroller: one transfer (command
// 0xF030) and a batch described by a list and one data block (0xF031). The
// boot loader's and the audio firmware's framing run on spiTransfer.
#pragma once

#include "link/link.h"

#include <cstddef>
#include <cstdint>

namespace xdsp::commands {

struct SpiSettings {
    uint16_t spiSelect;
    uint16_t busyMask;
    int32_t modeFlag;
    uint16_t spiSettingA;
    uint16_t spiSettingB;
};

// True with last-error 0 on success; false with 6 (no link), 87 (an argument
// that does not fit: nothing staged or sent) or 1359 (a read whose answer did
// not come: readData then holds zeros).
bool spiTransfer(link::Link &link, const SpiSettings &settings, const uint8_t *writeData,
                 uint32_t writeLength, uint8_t *readData, uint32_t readLength);
bool spiBatch(link::Link &link, const SpiSettings &settings, const uint8_t *batchList,
              uint32_t batchListLength, const uint8_t *batchData, uint32_t batchDataLength,
              uint8_t *readData, uint32_t readLength);

} // namespace xdsp::commands
