// The audio firmware's commands, as the exports call them.
#pragma once

#include "bootloader/boot_loader_state.h"
#include "frame/text.h"

#include <cstdint>

namespace xdsp::audio {

// The value commands return the firmware's 16-bit answer, or noResult when
// the reply does not carry the magic.
int32_t mute(bootloader::BootLoaderState &state, bool on);
int32_t loadFilter(bootloader::BootLoaderState &state, uint32_t filter);
int32_t loadAlgorithm(bootloader::BootLoaderState &state, int32_t algorithm);
int32_t lineOut(bootloader::BootLoaderState &state, bool on);
int32_t selectSource(bootloader::BootLoaderState &state, int32_t source);
// Sent without waiting for an answer; the firmware gives none.
void reset(bootloader::BootLoaderState &state);

// The bytes (at most 400, whole words only) must come back unchanged; where
// they do not, both sides are dumped from the first difference.
bool echo(bootloader::BootLoaderState &state, const uint8_t *data, uint32_t length);

// One of the firmware's files' name and dates; every output that is there is
// cleared first, and left so when the reply does not fit.
void loadFileName(bootloader::BootLoaderState &state, int32_t fileNumber, Char16 *name,
                  uint32_t nameCapacity, double *creationDate, double *modificationDate);

} // namespace xdsp::audio
