#include "bootloader/boot_loader_state.h"

namespace xdsp::bootloader {

namespace {
BootLoaderState processState{link::processLink()};
} // namespace

BootLoaderState &processBootLoader() {
    return processState;
}

} // namespace xdsp::bootloader
