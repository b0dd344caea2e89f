// The flash file system's commands, one boot-loader command each; true when
// the boot loader echoes the command's code. Files are counted from index 0;
// the boot file is named by index 300 where close and checksum take it.
#pragma once

#include "bootloader/boot_loader_state.h"
#include "frame/text.h"

#include <cstdint>

namespace xdsp::bootloader {

bool eraseFile(BootLoaderState &state, uint32_t fileIndex);
bool allocateFile(BootLoaderState &state, uint32_t fileIndex, uint32_t startAddress,
                  uint32_t endAddress);
// Refused without sending for an index past 254 or a negative type.
bool setFileType(BootLoaderState &state, uint32_t fileIndex, int16_t type);
bool commit(BootLoaderState &state);
// Starts the booted program; there is no answer, so always true.
bool run(BootLoaderState &state);
bool formatBootFile(BootLoaderState &state, int32_t value);
// Waits on the busy line once a second, at most 60 seconds.
bool formatFile(BootLoaderState &state, uint32_t fileIndex);
bool closeFile(BootLoaderState &state, uint32_t fileIndex);
// The board's checksum of a file; 0 when the request went unanswered.
uint16_t checksumOf(BootLoaderState &state, uint32_t fileIndex);

// Stores the name (when there is one) and the date in the table, then sends
// the file's name-and-date block, a second time when the first is not echoed.
// Refused without sending for an index outside the table.
bool setFileNameDate(BootLoaderState &state, uint32_t fileIndex, const Char16 *name, double date);

} // namespace xdsp::bootloader
