// UTF-8 at the board API's boundary, UTF-16 inside.
#pragma once

#include "frame/text.h"

#include <cstddef>

namespace xdsp {

// Converts zero-terminated UTF-8 into capacity code units, terminated;
// malformed bytes become U+FFFD. False, with out empty, when it does not fit.
bool utf8ToText(const char *utf8, Char16 *out, size_t capacity);

// Converts length code units into UTF-8, cut at a character's edge to
// capacity - 1 bytes and terminated; a lone surrogate becomes U+FFFD. Returns
// the bytes written. Nothing is written when capacity is 0.
size_t textToUtf8(const Char16 *text, size_t length, char *out, size_t capacity);

} // namespace xdsp
