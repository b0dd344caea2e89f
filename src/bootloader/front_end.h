// The boot loader's front end: what the board said at initialisation, and the
// file table as callers read it.
#pragma once

#include "bootloader/boot_loader_state.h"
#include "frame/text.h"

#include <cstdint>

namespace xdsp::bootloader {

// Sets select and busy mask, then asks for the memory size, the three texts
// and the file table, in that order; false where one of them fails.
bool initialize(BootLoaderState &state, uint16_t select, uint16_t mask);
uint32_t maxFiles();
// False for an index out of the table, and with last-error 87 for a missing output.
bool fileDescription(const BootLoaderState &state, int32_t fileIndex, uint16_t *type,
                     uint32_t *startAddress, uint32_t *endAddress, uint32_t *faiBytes, Char16 *name,
                     uint32_t nameCapacity, double *creationDate, double *modificationDate);
// "" for a type without a name.
const Char16 *typeName(int16_t type);
bool boot(BootLoaderState &state);

// As initialize stored them.
const Char16 *versionAtInit(const BootLoaderState &state);
const Char16 *productAtInit(const BootLoaderState &state);
const Char16 *dspAtInit(const BootLoaderState &state);
uint32_t memoryAtInit(const BootLoaderState &state);

} // namespace xdsp::bootloader
