// The DSP's status record as it comes back from the boot loader.
#pragma once

#include "bootloader/boot_loader_state.h"

#include <cstddef>
#include <cstdint>

namespace xdsp::bootloader {

// The record is read into a zeroed buffer this long.
inline constexpr size_t statWorkBytes = 148;

// Drops the filler pairs of a record read with the read prefix (prefixed),
// checks "STAT" at bytes 2-5 and takes the 16 big-endian words into status (if
// not null). Changes work.
bool decodeStatRecord(uint8_t *work, bool prefixed, uint32_t *status);

// Asks for the record: the DSP's 16 status words; false when the record did
// not come or came late.
bool dspStatus(BootLoaderState &state, uint32_t *status);

} // namespace xdsp::bootloader
