// `xdsp emu`: an emulated board served where `list` finds it, and the
// built-in emulator's kept flash; `xdsp udev-rule`.
#pragma once

#include "serve_options.h"

struct EmulatorRequest {
    xdsp::emu::commandLine::ServeSettings serve;
    bool resetFlash = false;
};

void addEmulatorOptions(CLI::App &emu, EmulatorRequest &request);
int runEmulator(const EmulatorRequest &request);
int printUdevRule();
