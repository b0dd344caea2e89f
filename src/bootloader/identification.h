// What the boot loader says about itself, the board, its DSP and its flash.
// The texts point into buffers of their own, valid until the next call.
#pragma once

#include "bootloader/boot_loader_state.h"
#include "frame/text.h"

#include <cstdint>

namespace xdsp::bootloader {

const Char16 *versionText(BootLoaderState &state);
const Char16 *productText(BootLoaderState &state);
const Char16 *dspText(BootLoaderState &state);
const Char16 *memoryText(BootLoaderState &state);
// The flash size in bytes; 0 for no chip or an unknown one.
uint32_t memorySize(BootLoaderState &state);

} // namespace xdsp::bootloader
