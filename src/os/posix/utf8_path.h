// Device paths cross the API as UTF-16; the POSIX calls take UTF-8.
#pragma once

#include "os/os.h"

namespace xdsp::os {

// False when the path does not fit the buffer or is not valid UTF-16.
bool pathToUtf8(const Char16 *path, char *out, size_t capacity);
// Bounded, always terminated; characters are ASCII in every path we produce.
void asciiToPath(const char *text, Char16 *out, size_t capacity);
// Text that sysfs gives in UTF-8 (a product name), bounded and always
// terminated; a malformed sequence becomes U+FFFD.
void utf8ToText(const char *text, Char16 *out, size_t capacity);

} // namespace xdsp::os
