// Emulated boards' options that many suites start from.
#pragma once

#include "board.h"

#include <string>
#include <utility>

namespace xdsp::test {

// Options for a board with a boot loader behind its SPI bus.
inline emu::BoardOptions boardWithBootLoader(emu::BootLoaderOptions bootLoader = {},
                                             std::string productName = "XDSP Virtual Board") {
    emu::BoardOptions options;
    options.bootLoader = std::move(bootLoader);
    options.productName = std::move(productName);
    return options;
}

} // namespace xdsp::test
