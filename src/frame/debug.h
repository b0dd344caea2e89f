// Debug output and message boxes: every line and box of the library goes
// through here, to the calling thread's reporter or to the OS sinks.
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

// Modal, no owner; returns the button pressed (1 is OK). A null caption is the
// system's default one.
int showMessage(const Char16 *text, const Char16 *caption, uint32_t style);

} // namespace xdsp
