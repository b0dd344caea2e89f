// What single and batch SPI transfers share: the settings fields at the front
// of their payload and the read phase that ends both.
#pragma once

#include "frame/text.h"

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

namespace spi {
inline constexpr size_t mode = 13;
inline constexpr size_t settingA = 15;
inline constexpr size_t settingB = 17;
inline constexpr size_t select = 19;
inline constexpr size_t busyMask = 21;
inline constexpr size_t readLength = 23;
} // namespace spi

// The mode word and the four settings at offsets 13 to 22.
void stageSpiSettings(uint8_t *staging, const SpiSettings &settings);
// Steps 10 and 11 of a transfer: with a read, waits for the response and
// copies readLength bytes of the response buffer out.
int32_t finishSpiTransfer(uint8_t *readData, uint32_t readLength);

} // namespace xdsp::commands
