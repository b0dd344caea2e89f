#include "emulator_commands.h"

#include "foreground_server.h"
#include "output.h"
#include "platform.h"

#include <cstdio>

namespace {
constexpr unsigned endpointLimit = 99;
} // namespace

void addEmulatorOptions(CLI::App &emu, EmulatorRequest &request) {
    xdsp::emu::commandLine::addServeOptions(emu, request.serve);
    // Without a path the emulator goes where `xdsp list` looks.
    emu.get_option("DEVICE_PATH")->required(false);
    emu.add_flag("--reset-flash", request.resetFlash,
                 "Clear the flash that the built-in emulator keeps between commands");
}

int runEmulator(const EmulatorRequest &request) {
    Output &output = Output::get();
    if (request.resetFlash) {
        std::string image = builtInFlashImage();
        if (std::remove(image.c_str()) == 0)
            output.result("Cleared the built-in emulator's flash (" + image + ")");
        else
            output.result("The built-in emulator's flash is already clear");
        if (request.serve.devicePath.empty())
            return exitSuccess;
    }
    auto options = xdsp::emu::commandLine::boardOptions(request.serve, "xdsp");
    if (!options)
        return exitUsage;
    std::vector<std::string> candidates{request.serve.devicePath};
    if (request.serve.devicePath.empty()) {
        if (runtimeFolder().empty())
            return output.fail(
                {exitSoftware, "the per-user runtime folder cannot be made", {}, {}});
        // Running emulators keep their endpoints; the first one free is ours.
        candidates.clear();
        for (unsigned number = 1; number <= endpointLimit; ++number)
            candidates.push_back(emulatorEndpoint(number));
    }
    int served = xdsp::emu::serveUntilInterrupted(*options, candidates, "xdsp");
    return served == 0 ? exitSuccess
                       : output.fail({exitSoftware, "cannot serve an emulated board", {}, {}});
}

int printUdevRule() {
    Output &output = Output::get();
    const char *rule = "SUBSYSTEM==\"hidraw\", ATTRS{idVendor}==\"20b1\", MODE=\"0660\", "
                       "GROUP=\"plugdev\", TAG+=\"uaccess\"";
    output.result("# Lets users in the plugdev group and the logged-in user open the boards.");
    output.result("# Save as /etc/udev/rules.d/69-xdsp.rules, then run");
    output.result("# sudo udevadm control --reload && sudo udevadm trigger (or replug the board).");
    output.result(rule);
    output.field("rule", rule);
    return exitSuccess;
}
