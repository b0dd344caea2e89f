// Drains reply bytes the boot loader may still hold from an earlier command.
#include "bootloader/framing.h"
#include "commands/spi_transfer.h"
#include "os/os.h"

#include <cstring>

namespace {
constexpr uint32_t settlePauseMs = 100;
constexpr uint32_t patternLength = 16;
constexpr uint32_t shortLength = 2;
constexpr int shortTransfers = 60;
constexpr uint16_t spiSettingA = 3;
constexpr int32_t flushMode = 1; // the only boot-loader transfers in mode 0x0303
} // namespace

namespace xdsp::bootloader {

void flush(BootLoaderState &state) {
    // compat: a fixed 100 ms before every flush, the settling time the boot loader has
    // always been given.
    os::sleepMs(settlePauseMs);
    uint8_t pattern[patternLength] = {};
    if (readPrefixOn(state))
        std::memcpy(pattern, readPrefixBytes, sizeof readPrefixBytes);
    uint8_t dropped[patternLength];
    commands::SpiSettings settings{spiSelect(state), 0, flushMode, spiSettingA, settingFast};
    commands::spiTransfer(state.link, settings, pattern, patternLength, dropped, patternLength);
    // Stops as soon as the boot loader raises its busy line: it has something
    // of its own to say again.
    for (int i = 0; i < shortTransfers && !bootLoaderBusy(state); ++i)
        commands::spiTransfer(state.link, settings, pattern, shortLength, dropped, shortLength);
}

} // namespace xdsp::bootloader
