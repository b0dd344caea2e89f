// xdsp: the command line for the jobs done by hand at a bench.
#include "audio_commands.h"
#include "board_session.h"
#include "boot_loader_commands.h"
#include "device_commands.h"
#include "foreground_server.h"
#include "serve_options.h"
#include "text_output.h"

#include <CLI/CLI.hpp>
#include <cstdio>
#include <optional>

namespace {
int showInfo(const std::string &devicePath) {
    BoardSession session(devicePath);
    if (!session.open())
        return 1;
    std::optional<std::string> product = session.productName();
    if (!product)
        return 1;
    std::printf("Device:  %s\n", session.path().c_str());
    std::printf("Product: %s\n", product->c_str());
    return 0;
}

int listBoards() {
    xdsp_device_record records[64];
    uint32_t count = EnumUSBHIDDevices(0x20B1, 0xFFFF, records, 64);
    for (uint32_t i = 0; i < count && i < 64; ++i)
        std::printf("%u  hid %u  %s\n", records[i].matchNumber, records[i].hidIndex,
                    toUtf8(records[i].devicePath).c_str());
    if (count == 0)
        std::printf("No board attached.\n");
    return 0;
}

// A hex word or address, "0x" allowed in front; none after a message.
std::optional<uint32_t> hexArgument(const char *name, const std::string &text, uint32_t maxValue) {
    auto value = xdsp::emu::commandLine::hexValue(text, maxValue);
    if (!value)
        std::fprintf(stderr, "xdsp: %s wants hex digits up to %X, not \"%s\"\n", name, maxValue,
                     text.c_str());
    return value;
}

// Adds an audio action that takes on or off.
CLI::App *addSwitch(CLI::App &audio, const char *name, const char *help, AudioRequest &request) {
    auto *action = audio.add_subcommand(name, help);
    action
        ->add_option_function<std::string>(
            "STATE", [&request](const std::string &state) { request.on = state == "on"; },
            "on or off")
        ->required()
        ->check(CLI::IsMember({"on", "off"}));
    return action;
}

// Adds an audio action that takes a number from 0 to maxValue.
CLI::App *addNumbered(CLI::App &audio, const char *name, const char *help, AudioRequest &request,
                      int32_t maxValue) {
    auto *action = audio.add_subcommand(name, help);
    action->add_option("N", request.number)->required()->check(CLI::Range(0, maxValue));
    return action;
}
} // namespace

int main(int argc, char **argv) {
    CLI::App app{"xdsp: find, identify and drive DSP boards (or the built-in emulator)"};
    app.require_subcommand(1);
    bool verbose = false;
    app.add_flag("-v,--verbose", verbose, "Print the library's debug output on stderr");

    std::string devicePath;
    auto *info = app.add_subcommand("info", "Open a board and print what it reports");
    info->add_option("-d,--device", devicePath,
                     "Device path (default: the first board, else the built-in emulator)");
    app.add_subcommand("list", "List the attached boards");

    const std::string deviceHelp = "Device path (default: the first board, else the built-in "
                                   "emulator, whose flash lasts only for this command)";
    auto *ls = app.add_subcommand("ls", "Identify the DSP's boot loader and list its files");
    ls->add_option("-d,--device", devicePath, deviceHelp);

    UploadRequest upload;
    auto *uploadCommand = app.add_subcommand(
        "upload", "Upload a file into the board's flash, with its checksum checked");
    uploadCommand->add_option("FILE", upload.file, "The file to upload")->required();
    uploadCommand->add_option("-i,--index", upload.index, "File index 0 to 14, or \"boot\"")
        ->required();
    uploadCommand->add_option("-t,--type", upload.type,
                              "Data, Boot, FPGA or Link (or 0 to 3); default: the file's type");
    uploadCommand->add_option("-n,--name", upload.name, "Name on the board (default: FILE's)");
    uploadCommand->add_option("--start", upload.start,
                              "First byte address (default: the file's sectors if it fits, "
                              "else the first free ones)");
    uploadCommand->add_option("--end", upload.end, "Byte address where the allocation ends");
    uploadCommand->add_option("-d,--device", devicePath, deviceHelp);

    auto *boot = app.add_subcommand("boot", "Start the DSP program from flash");
    boot->add_option("-d,--device", devicePath, deviceHelp);

    std::optional<std::string> gpioOutput;
    auto *gpio = app.add_subcommand("gpio", "Print the GPIO input word");
    gpio->add_option("--set", gpioOutput, "Apply this GPIO output word (hex) first");
    gpio->add_option("-d,--device", devicePath, deviceHelp);

    auto *adc = app.add_subcommand("adc", "Sample the four ADC channels once and print them");
    adc->add_option("-d,--device", devicePath, deviceHelp);

    auto *stat = app.add_subcommand("stat", "Print the status record of the DSP's boot loader");
    stat->add_option("-d,--device", devicePath, deviceHelp);

    std::string flashAddress;
    uint32_t flashCount = 0;
    auto *flash = app.add_subcommand("flash", "The board's flash memory");
    flash->require_subcommand(1);
    auto *flashRead = flash->add_subcommand("read", "Hex dump of bytes from the flash");
    flashRead->add_option("ADDRESS", flashAddress, "First byte address, in hex")->required();
    flashRead
        ->add_option("COUNT", flashCount, "Number of bytes, 1 to " + std::to_string(flashReadLimit))
        ->required();
    flashRead->add_option("-d,--device", devicePath, deviceHelp);

    AudioRequest audioRequest;
    auto *audio = app.add_subcommand(
        "audio", "Drive the DSP's audio firmware (the built-in emulator then runs it)");
    audio->require_subcommand(1);
    audio->fallthrough();
    audio->add_option("-d,--device", devicePath, deviceHelp);
    addSwitch(*audio, "mute", "Mute on or off", audioRequest);
    addSwitch(*audio, "lineout", "Line output on or off", audioRequest);
    addNumbered(*audio, "source", "Select source N", audioRequest, INT32_MAX);
    addNumbered(*audio, "filter", "Load filter N", audioRequest, INT32_MAX);
    addNumbered(*audio, "algorithm", "Load algorithm N (0 to 255)", audioRequest, 255);
    audio->add_subcommand("reset", "Reset the audio firmware");
    addNumbered(*audio, "file", "Print the name and dates of file N (0 to 255)", audioRequest, 255);
    audioRequest.number = 64;
    audio->add_subcommand("echo", "Send a test pattern and check that the firmware echoes it")
        ->add_option("BYTES", audioRequest.number,
                     "Even length, 2 to " + std::to_string(echoLimit) + " (default 64)");

    xdsp::emu::commandLine::ServeSettings emulator;
    auto *emu = app.add_subcommand(
        "emu", "Serve an emulated board at PATH until interrupted, as xdsp-emu does");
    xdsp::emu::commandLine::addServeOptions(*emu, emulator);

    CLI11_PARSE(app, argc, argv);
    if (verbose)
        routeDebugToStderr();
    if (info->parsed())
        return showInfo(devicePath);
    if (ls->parsed())
        return listFiles(devicePath);
    if (uploadCommand->parsed())
        return uploadFile(devicePath, upload);
    if (boot->parsed())
        return bootProgram(devicePath);
    if (gpio->parsed()) {
        std::optional<uint32_t> word;
        if (gpioOutput && !(word = hexArgument("--set", *gpioOutput, 0xFFFF)))
            return 2;
        return showGpio(devicePath, word ? std::optional<uint16_t>(static_cast<uint16_t>(*word))
                                         : std::nullopt);
    }
    if (adc->parsed())
        return showAdc(devicePath);
    if (stat->parsed())
        return showStatus(devicePath);
    if (flash->parsed()) {
        std::optional<uint32_t> address = hexArgument("ADDRESS", flashAddress, 0xFFFFFFFF);
        return address ? dumpFlash(devicePath, *address, flashCount) : 2;
    }
    if (audio->parsed()) {
        audioRequest.action = audio->get_subcommands().front()->get_name();
        return runAudio(devicePath, audioRequest);
    }
    if (emu->parsed()) {
        auto options = xdsp::emu::commandLine::boardOptions(emulator, "xdsp");
        return options ? xdsp::emu::serveUntilInterrupted(*options, emulator.devicePath, "xdsp")
                       : 2;
    }
    return listBoards();
}
