#pragma once

#include <cstddef>
#include <cstdint>

namespace xdsp::bootloader {

// The byte sum modulo 65536 that the boot loader keeps for each file.
uint16_t byteSum(const uint8_t *data, size_t length);

} // namespace xdsp::bootloader
