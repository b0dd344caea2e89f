#include "frame/debug.h"
#include "frame/bounded_string.h"
#include "frame/error_text.h"
#include "frame/reporter.h"
#include "os/os.h"

#include <cstdarg>

namespace xdsp {

void debugWrite(const Char16 *text) {
    if (ReportingScope *scope = ReportingScope::current())
        scope->addPiece(text);
    else
        os::debugWrite(text);
}

void debugWriteNarrow(const char *text) {
    ReportingScope *scope = ReportingScope::current();
    if (scope == nullptr) {
        os::debugWriteNarrow(text);
        return;
    }
    Char16 wide[512];
    os::widenNarrow(text, wide, sizeof wide / sizeof wide[0]);
    scope->addPiece(wide);
}

void debugFormat(const Char16 *format, ...) {
    Char16 line[256];
    va_list arguments;
    va_start(arguments, format);
    boundedFormatV(line, 256, format, arguments);
    va_end(arguments);
    debugWrite(line);
}

void debugErrorLine(const Char16 *prefix, uint32_t code) {
    // A buffer of the line's own: boards on other threads write theirs too.
    Char16 text[errorTextChars];
    errorTextInto(code, text);
    debugWrite(prefix);
    debugWrite(text);
    debugWrite(WIDE("\n"));
}

int showMessage(const Char16 *text, const Char16 *caption, uint32_t style) {
    if (ReportingScope *scope = ReportingScope::current())
        return scope->reporter().message(text, caption, style);
    return os::messageBox(text, caption, style);
}

} // namespace xdsp
