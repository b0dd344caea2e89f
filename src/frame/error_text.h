// Text for a system error code, for debug lines.
#pragma once

#include "frame/text.h"

#include <cstdint>

namespace xdsp {

inline constexpr size_t errorTextChars = 256;

// The system's text, or "Unknown Error: %d", into a buffer of errorTextChars.
void errorTextInto(uint32_t code, Char16 *text);

} // namespace xdsp
