// What the boot loader says about itself, the board, its DSP and its flash.
// The texts point into buffers of their own, valid until the next call.
#pragma once

#include "frame/text.h"

#include <cstdint>

namespace xdsp::bootloader {

const Char16 *versionText();
const Char16 *productText();
const Char16 *dspText();
const Char16 *memoryText();
// The flash size in bytes; 0 for no chip or an unknown one.
uint32_t memorySize();

} // namespace xdsp::bootloader
