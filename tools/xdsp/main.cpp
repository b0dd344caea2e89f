// xdsp: the command line for the jobs done by hand at a bench, in CI and on a
// production line.
#include "audio_commands.h"
#include "board_list.h"
#include "board_session.h"
#include "boot_loader_commands.h"
#include "device_commands.h"
#include "emulator_commands.h"
#include "gang.h"
#include "output.h"
#include "platform.h"
#include "text.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <optional>

namespace {
// A hex word or address, "0x" allowed in front; none after a message.
std::optional<uint32_t> hexArgument(Output &output, const char *name, const std::string &text,
                                    uint32_t maxValue) {
    auto value = xdsp::emu::commandLine::hexValue(text, maxValue);
    if (!value)
        output.fail({exitUsage,
                     std::string(name) + " wants hex digits up to " + formatted("%X", maxValue) +
                         ", not \"" + text + "\"",
                     {},
                     {}});
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

OutputMode outputMode(bool json, bool quiet) {
    if (json)
        return OutputMode::json;
    if (quiet)
        return OutputMode::quiet;
    return stdoutIsTerminal() ? OutputMode::terminal : OutputMode::plain;
}

// A command of the tool: whether it works on a board (and so takes the board
// options), whether --all may run it on every board, and what it does.
struct Command {
    CLI::App *app;
    bool needsBoard;
    bool allowedWithAll;
    BoardCommand run;
};

// "info, ls, upload and boot": the commands that --all runs.
std::string allowedWithAll(const std::vector<Command> &commands) {
    std::vector<std::string> names;
    for (const Command &command : commands)
        if (command.allowedWithAll)
            names.push_back(command.app->get_name());
    std::string text;
    for (size_t i = 0; i < names.size(); ++i)
        text += (i == 0 ? "" : i + 1 == names.size() ? " and " : ", ") + names[i];
    return text;
}

// Runs the chosen command, once its board options were checked against it.
int runCommand(const std::vector<Command> &commands, CLI::App *chosen, const BoardChoice &choice,
               bool verbose) {
    Output &output = Output::get();
    auto command = std::find_if(commands.begin(), commands.end(),
                                [chosen](const Command &entry) { return entry.app == chosen; });
    if (command == commands.end())
        return output.fail({exitSoftware, "no command " + chosen->get_name(), {}, {}});
    bool boardChosen = !choice.device.empty() || choice.index || choice.builtInEmulator;
    if (choice.all && !command->allowedWithAll)
        return output.fail({exitUsage, "--all works with " + allowedWithAll(commands), {}, {}});
    if (boardChosen && !command->needsBoard)
        return output.fail({exitUsage,
                            chosen->get_name() +
                                " works on no board: --device, --index and --emulator are for "
                                "the board commands",
                            {},
                            {}});
    if (choice.all)
        return runOnAllBoards(command->run, verbose);
    BoardSession session(choice, output, verbose);
    return command->run(session);
}
} // namespace

int main(int argc, char **argv) {
    CLI::App app{"xdsp: find, identify and drive DSP boards (or the built-in emulator)"};
    app.require_subcommand(1);
    app.footer(exitCodeHelp());
    bool verbose = false, json = false, quiet = false;
    BoardChoice choice;
    app.add_flag("-v,--verbose", verbose, "Print the board's debug output on stderr");
    app.add_flag("--json", json, "One JSON object per line on stdout (see docs/tool.md)");
    app.add_flag("-q,--quiet", quiet, "Results and errors only");
    auto *device =
        app.add_option("-d,--device", choice.device, "Device path (default: the first board)");
    auto *index = app.add_option("--index", choice.index, "The Nth board that `xdsp list` shows");
    auto *emulator = app.add_flag("--emulator", choice.builtInEmulator,
                                  "The built-in emulator, with its flash kept between commands");
    auto *all = app.add_flag("--all", choice.all);
    device->excludes(index)->excludes(emulator);
    index->excludes(emulator);
    all->excludes(device)->excludes(index)->excludes(emulator);

    auto *info = app.add_subcommand("info", "Open a board and print what it reports");
    auto *list = app.add_subcommand("list", "List the attached boards and running emulators");
    auto *ls = app.add_subcommand("ls", "Identify the DSP's boot loader and list its files");

    UploadRequest upload;
    auto *uploadCommand = app.add_subcommand(
        "upload", "Upload a file into the board's flash, with its checksum checked");
    uploadCommand->add_option("FILE", upload.file, "The file to upload")->required();
    uploadCommand->add_option("-f,--file-index", upload.index, "File index 0 to 14, or \"boot\"")
        ->required();
    uploadCommand->add_option("-t,--type", upload.type,
                              "Data, Boot, FPGA or Link (or 0 to 3); default: the file's type");
    uploadCommand->add_option("-n,--name", upload.name, "Name on the board (default: FILE's)");
    uploadCommand->add_option("--start", upload.start,
                              "First byte address (default: the file's sectors if it fits, "
                              "else the first free ones)");
    uploadCommand->add_option("--end", upload.end, "Byte address where the allocation ends");
    uploadCommand->add_flag("--if-changed", upload.ifChanged,
                            "Send nothing when the board holds a file of the same length and "
                            "checksum at that index");

    auto *boot = app.add_subcommand("boot", "Start the DSP program from flash");

    std::optional<std::string> gpioOutput;
    auto *gpio = app.add_subcommand("gpio", "Print the GPIO input word");
    gpio->add_option("--set", gpioOutput, "Apply this GPIO output word (hex) first");

    auto *adc = app.add_subcommand("adc", "Sample the four ADC channels once and print them");
    auto *stat = app.add_subcommand("stat", "Print the status record of the DSP's boot loader");

    std::string flashAddress;
    uint32_t flashCount = 0;
    auto *flash = app.add_subcommand("flash", "The board's flash memory");
    flash->require_subcommand(1);
    auto *flashRead = flash->add_subcommand("read", "Hex dump of bytes from the flash");
    flashRead->add_option("ADDRESS", flashAddress, "First byte address, in hex")->required();
    flashRead
        ->add_option("COUNT", flashCount, "Number of bytes, 1 to " + std::to_string(flashReadLimit))
        ->required();

    AudioRequest audioRequest;
    auto *audio = app.add_subcommand(
        "audio", "Drive the DSP's audio firmware (the built-in emulator then runs it)");
    audio->require_subcommand(1);
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

    EmulatorRequest served;
    auto *emu = app.add_subcommand("emu", "Serve an emulated board until interrupted, at PATH or "
                                          "in the per-user runtime folder where `list` finds it");
    addEmulatorOptions(*emu, served);

    auto *udevRule =
        app.add_subcommand("udev-rule", "Print a udev rule that lets users open the boards");

    // Options of the whole tool may also follow the command, and each
    // subcommand's words may be followed by them.
    for (CLI::App *command : app.get_subcommands({}))
        command->fallthrough();
    for (CLI::App *command : {flashRead})
        command->fallthrough();
    for (CLI::App *command : audio->get_subcommands({}))
        command->fallthrough();

    const std::vector<Command> commands = {
        {list, false, false, [](BoardSession &) { return listBoards(); }},
        {info, true, true, [](BoardSession &session) { return showInfo(session); }},
        {ls, true, true, [](BoardSession &session) { return listFiles(session); }},
        {uploadCommand, true, true,
         [&upload](BoardSession &session) { return uploadFile(session, upload); }},
        {boot, true, true, [](BoardSession &session) { return bootProgram(session); }},
        {gpio, true, false,
         [&gpioOutput](BoardSession &session) -> int {
             std::optional<uint32_t> word;
             if (gpioOutput &&
                 !(word = hexArgument(session.output(), "--set", *gpioOutput, 0xFFFF)))
                 return exitUsage;
             return showGpio(session, word ? std::optional<uint16_t>(static_cast<uint16_t>(*word))
                                           : std::nullopt);
         }},
        {adc, true, false, [](BoardSession &session) { return showAdc(session); }},
        {stat, true, false, [](BoardSession &session) { return showStatus(session); }},
        {flash, true, false,
         [&](BoardSession &session) {
             std::optional<uint32_t> address =
                 hexArgument(session.output(), "ADDRESS", flashAddress, 0xFFFFFFFF);
             return address ? dumpFlash(session, *address, flashCount) : exitUsage;
         }},
        {audio, true, false,
         [&](BoardSession &session) {
             audioRequest.action = audio->get_subcommands().front()->get_name();
             return runAudio(session, audioRequest);
         }},
        {emu, false, false, [&served](BoardSession &) { return runEmulator(served); }},
        {udevRule, false, false, [](BoardSession &) { return printUdevRule(); }},
    };
    all->description("Every listed board at once (" + allowedWithAll(commands) + ")");

    std::vector<std::string> arguments = utf8Arguments(argc, argv);

    try {
        std::vector<char *> words{argv[0]};
        for (std::string &argument : arguments)
            words.push_back(argument.data());
        app.parse(static_cast<int>(words.size()), words.data());
    } catch (const CLI::ParseError &error) {
        int code = app.exit(error);
        return code == 0 ? exitSuccess : exitUsage;
    }
    Output &output = Output::get();
    CLI::App *chosen = app.get_subcommands().front();
    output.configure(outputMode(json, quiet), chosen->get_name());

    return output.finish(runCommand(commands, chosen, choice, verbose));
}
