#include "bootloader/boot_loader_state.h"

namespace xdsp::bootloader {

// Made on first use, so that no other object's initialisation can reach it
// before it is made.
BootLoaderState &processBootLoader() {
    static BootLoaderState state{link::processLink()};
    return state;
}

} // namespace xdsp::bootloader
