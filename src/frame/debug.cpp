#include "frame/debug.h"
#include "frame/bounded_string.h"
#include "frame/error_text.h"
#include "os/os.h"

#include <cstdarg>

namespace xdsp {

void debugWrite(const Char16 *text) {
    os::debugWrite(text);
}

void debugWriteNarrow(const char *text) {
    os::debugWriteNarrow(text);
}

void debugFormat(const Char16 *format, ...) {
    Char16 line[256];
    va_list arguments;
    va_start(arguments, format);
    boundedFormatV(line, 256, format, arguments);
    va_end(arguments);
    os::debugWrite(line);
}

void debugErrorLine(const Char16 *prefix, uint32_t code) {
    os::debugWrite(prefix);
    os::debugWrite(errorText(code));
    os::debugWrite(WIDE("\n"));
}

} // namespace xdsp
