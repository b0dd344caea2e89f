// Formatting and copying into fixed buffers: the result is cut to capacity - 1
// characters and always terminated.
#pragma once

#include "frame/text.h"

#include <cstdarg>
#include <cstddef>

namespace xdsp {

// printf-style: %d %i %u %x %X (flags '0' and '-', width, 'l' and 'll'), %c, %%,
// %s and %ls for wide text, %hs and %S for narrow text. Returns the length written.
size_t boundedFormat(Char16 *buffer, size_t capacity, const Char16 *format, ...);
size_t boundedFormatV(Char16 *buffer, size_t capacity, const Char16 *format, va_list arguments);

// Returns the length copied.
size_t boundedCopy(Char16 *destination, size_t capacity, const Char16 *source);

size_t textLength(const Char16 *text);

} // namespace xdsp
