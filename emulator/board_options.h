// What a board looks like from the host: its report lengths, its timing and the
// values on its pins when it powers up.
#pragma once

#include "audio/audio_firmware_options.h"
#include "bootloader/boot_loader_options.h"

#include <cstdint>
#include <optional>
#include <string>

namespace xdsp::emu {

// Longest report the server will serve; keeps one message well inside a socket's buffer.
inline constexpr uint32_t maxReportLength = 65536;

struct BoardOptions {
    uint32_t inputReportLength = 512;   // counting the report-ID byte; 0: no input report
    uint32_t outputReportLength = 512;  // 0: no output report
    uint32_t reportPeriodMicros = 1000; // input report this long after each output report
    uint32_t commandBusyMillis = 0;     // busy bits stay set this long after a new command
    // Every SPI transfer is answered, one without a read phase with a count of
    // 0 and one report later than a read, as some boards' firmware does.
    bool answersWriteOnly = false;
    // Fault from the start: every answer goes out this many reports late.
    uint32_t lateAnswerReports = 0;
    std::string productName = "XDSP Virtual Board";
    uint16_t gpioInputs = 0;
    uint16_t adcReadings[4] = {0x0100, 0x0200, 0x0300, 0x0400}; // 14-bit values
    // The DSP waits in its resident boot loader, the SPI bus's peer; none: the bus loops back.
    std::optional<BootLoaderOptions> bootLoader;
    // The DSP was started into the audio firmware, which is then the bus's peer
    // in the boot loader's place.
    std::optional<AudioFirmwareOptions> audioFirmware;
};

} // namespace xdsp::emu
