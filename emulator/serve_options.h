// The options of a served emulator, shared by xdsp-emu and `xdsp emu`. Only
// executables include this: the emulator library does not depend on CLI11.
#pragma once

#include "audio/command_line.h"
#include "board_options.h"
#include "bootloader/command_line.h"

#include <CLI/CLI.hpp>

#include <cstdio>
#include <optional>
#include <string>

namespace xdsp::emu::commandLine {

struct ServeSettings {
    std::string devicePath;
    BoardOptions board;
    BootLoaderOptions bootLoader;
    AudioFirmwareOptions audioFirmware;
    bool loopback = false;
    bool audio = false;
    std::string gpioText;
};

inline void addServeOptions(CLI::App &app, ServeSettings &settings) {
    app.add_option("DEVICE_PATH", settings.devicePath,
                   "Where to serve the device: a socket path, or \\\\.\\pipe\\NAME on Windows")
        ->required();
    BoardOptions &options = settings.board;
    auto lengthRange = CLI::Range(uint32_t{0}, maxReportLength);
    app.add_option("--input-length", options.inputReportLength,
                   "Input report length in bytes, report-ID byte counted (0: none)")
        ->check(lengthRange)
        ->capture_default_str();
    app.add_option("--output-length", options.outputReportLength,
                   "Output report length in bytes, report-ID byte counted (0: none)")
        ->check(lengthRange)
        ->capture_default_str();
    app.add_option("--report-period-us", options.reportPeriodMicros,
                   "Delay from each output report to its input report")
        ->capture_default_str();
    app.add_option("--busy-ms", options.commandBusyMillis,
                   "How long the busy bits stay set after each new command")
        ->capture_default_str();
    app.add_flag("--answer-write-only", options.answersWriteOnly,
                 "Answer SPI transfers without a read phase too, with a count of 0, as some "
                 "boards do");
    app.add_option("--late-answers", options.lateAnswerReports,
                   "Fault: every answer goes out this many reports late")
        ->capture_default_str();
    app.add_option("--product", options.productName, "Product name the board reports")
        ->capture_default_str();
    app.add_option("--gpio", settings.gpioText, "GPIO input word, in hex");
    addOptions(app, settings.bootLoader, &settings.loopback);
    addAudioOptions(app, settings.audioFirmware, &settings.audio);
}

// The board the parsed settings describe; none after a message on stderr.
inline std::optional<BoardOptions> boardOptions(const ServeSettings &settings,
                                                const char *program) {
    BoardOptions options = settings.board;
    if (!settings.gpioText.empty()) {
        auto gpio = hexValue(settings.gpioText, 0xFFFF);
        if (!gpio) {
            std::fprintf(stderr, "%s: --gpio wants a hex word (0 to FFFF), not \"%s\"\n", program,
                         settings.gpioText.c_str());
            return std::nullopt;
        }
        options.gpioInputs = static_cast<uint16_t>(*gpio);
    }
    if (settings.audio)
        options.audioFirmware = settings.audioFirmware;
    else if (!settings.loopback)
        options.bootLoader = settings.bootLoader;
    return options;
}

} // namespace xdsp::emu::commandLine
