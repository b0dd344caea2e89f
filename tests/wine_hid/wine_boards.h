// The two boards that the Wine rig serves on mocked hidraw nodes, known to
// both sides: the native bridge that serves them and the Windows suite that
// checks the lengths Wine's HID class reads from their descriptors.
#pragma once

#include "board_options.h"

namespace xdsp::test {

// hidraw0: a board waiting in its boot loader, for uploads and the tool.
inline emu::BoardOptions wineFirstBoard() {
    emu::BoardOptions options;
    options.productName = "XDSP Board under Wine";
    options.bootLoader = emu::BootLoaderOptions{};
    return options;
}

// hidraw3: short output reports, its SPI bus looped back.
inline emu::BoardOptions wineSecondBoard() {
    emu::BoardOptions options;
    options.productName = "XDSP Second Board under Wine";
    options.outputReportLength = 64;
    return options;
}

} // namespace xdsp::test
