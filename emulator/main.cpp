// xdsp-emu: serves an emulated board as a virtual device until interrupted.
#include "foreground_server.h"
#include "serve_options.h"

#include <CLI/CLI.hpp>

int main(int argc, char **argv) {
    xdsp::emu::commandLine::ServeSettings settings;
    CLI::App app{"Emulated XDSP board, served as a virtual HID device", "xdsp-emu"};
    xdsp::emu::commandLine::addServeOptions(app, settings);
    CLI11_PARSE(app, argc, argv);
    auto options = xdsp::emu::commandLine::boardOptions(settings, "xdsp-emu");
    if (!options)
        return 2;
    return xdsp::emu::serveUntilInterrupted(*options, settings.devicePath, "xdsp-emu");
}
