// The audio firmware's commands, as the exports call them.
#pragma once

#include "frame/text.h"

#include <cstdint>

namespace xdsp::audio {

// The value commands return the firmware's 16-bit answer, or noResult when
// the reply does not carry the magic.
int32_t mute(bool on);
int32_t loadFilter(uint32_t filter);
int32_t loadAlgorithm(int32_t algorithm);
int32_t lineOut(bool on);
int32_t selectSource(int32_t source);
// Sent without waiting for an answer; the firmware gives none.
void reset();

// The bytes (at most 400, whole words only) must come back unchanged; where
// they do not, both sides are dumped from the first difference.
bool echo(const uint8_t *data, uint32_t length);

// One of the firmware's files' name and dates; every output that is there is
// cleared first, and left so when the reply does not fit.
void loadFileName(int32_t fileNumber, Char16 *name, uint32_t nameCapacity, double *creationDate,
                  double *modificationDate);

} // namespace xdsp::audio
