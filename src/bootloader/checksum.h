#pragma once

#include "bootloader/boot_loader_state.h"

#include <cstddef>
#include <cstdint>

namespace xdsp::bootloader {

// The byte sum modulo 65536 that the boot loader keeps for each file.
uint16_t byteSum(const uint8_t *data, size_t length);
// The same for a caller's buffer; 0 when there is none.
uint16_t dataChecksum(const uint8_t *data, uint32_t length);
// The board's checksum of a file in the table, 0xFFFF past it.
uint16_t fileChecksum(BootLoaderState &state, int32_t fileIndex);

} // namespace xdsp::bootloader
