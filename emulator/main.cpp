// xdsp-emu: serves an emulated board as a virtual device until interrupted.
#include "audio/command_line.h"
#include "board.h"
#include "bootloader/command_line.h"
#include "os/os.h"
#include "virtual_device_server.h"

#include <CLI/CLI.hpp>

#include <cctype>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <stdexcept>
#include <string>

namespace {
volatile std::sig_atomic_t interrupted = 0;

void onSignal(int) {
    interrupted = 1;
}

// "0x0400" or "400"; false unless the whole text is a hex word.
bool parseHexWord(const std::string &text, uint16_t *value) {
    // strtoul alone would also take blanks and signs in front.
    if (text.empty() || std::isxdigit(static_cast<unsigned char>(text[0])) == 0)
        return false;
    char *end = nullptr;
    unsigned long parsed = std::strtoul(text.c_str(), &end, 16);
    if (*end != 0 || parsed > 0xFFFF)
        return false;
    *value = static_cast<uint16_t>(parsed);
    return true;
}
} // namespace

int main(int argc, char **argv) {
    xdsp::emu::BoardOptions options;
    xdsp::emu::BootLoaderOptions bootLoader;
    xdsp::emu::AudioFirmwareOptions audioFirmware;
    bool loopback = false;
    bool audio = false;
    std::string devicePath;
    std::string gpioText;

    CLI::App app{"Emulated XDSP board, served as a virtual HID device", "xdsp-emu"};
    app.add_option("DEVICE_PATH", devicePath,
                   "Where to serve the device: a socket path, or \\\\.\\pipe\\NAME on Windows")
        ->required();
    auto lengthRange = CLI::Range(uint32_t{0}, xdsp::emu::maxReportLength);
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
    app.add_option("--product", options.productName, "Product name the board reports")
        ->capture_default_str();
    app.add_option("--gpio", gpioText, "GPIO input word, in hex");
    xdsp::emu::commandLine::addOptions(app, bootLoader, &loopback);
    xdsp::emu::commandLine::addAudioOptions(app, audioFirmware, &audio);
    CLI11_PARSE(app, argc, argv);

    if (!gpioText.empty() && !parseHexWord(gpioText, &options.gpioInputs)) {
        std::fprintf(stderr, "xdsp-emu: --gpio wants a hex word (0 to FFFF), not \"%s\"\n",
                     gpioText.c_str());
        return 2;
    }

    if (audio)
        options.audioFirmware = audioFirmware;
    else if (!loopback)
        options.bootLoader = bootLoader;
    std::unique_ptr<xdsp::emu::Board> board;
    try {
        board = std::make_unique<xdsp::emu::Board>(options);
    } catch (const std::runtime_error &error) {
        std::fprintf(stderr, "xdsp-emu: %s\n", error.what());
        return 1;
    }
    xdsp::emu::VirtualDeviceServer server(*board);
    if (!server.start(devicePath)) {
        std::fprintf(stderr, "xdsp-emu: %s\n", server.error().c_str());
        return 1;
    }
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);
    std::printf("xdsp-emu: serving \"%s\" on %s (input %u, output %u bytes, report every %u us)\n",
                options.productName.c_str(), devicePath.c_str(),
                static_cast<unsigned>(options.inputReportLength),
                static_cast<unsigned>(options.outputReportLength),
                static_cast<unsigned>(options.reportPeriodMicros));
    std::fflush(stdout);
    while (interrupted == 0)
        xdsp::os::sleepMs(50);
    server.stop();
    return 0;
}
