// One file onto the board with all the bookkeeping its file system needs.
#pragma once

#include "bootloader/boot_loader_state.h"
#include "frame/text.h"

#include <cstdint>

namespace xdsp::bootloader {

// fileIndex 0-14, or 31415 for the boot image. False with last-error 87 for
// an argument that does not fit (nothing sent), or when the table could not
// be read again or the format or the transfer failed; a failed close, name or
// checksum compare sets its last-error and still returns true.
bool uploadFile(BootLoaderState &state, int32_t fileIndex, int16_t type, uint32_t startAddress,
                uint32_t endAddress, const Char16 *name, const uint8_t *data, uint32_t length,
                bool showErrors, xdsp_progress_callback callback, uint32_t context);

} // namespace xdsp::bootloader
