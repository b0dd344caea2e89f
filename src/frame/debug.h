// Debug output: every line of the library goes through here to the OS sink.
#pragma once

#include "frame/text.h"

#include <cstdint>

namespace xdsp {

void debugWrite(const Char16 *text);
void debugWriteNarrow(const char *text);
// Formats into a 256-character buffer and writes it as one piece.
void debugFormat(const Char16 *format, ...);
// prefix, the error text of code, "\n": three pieces.
void debugErrorLine(const Char16 *prefix, uint32_t code);

} // namespace xdsp
