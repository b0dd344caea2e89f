#include "frame/error_text.h"
#include "frame/bounded_string.h"
#include "os/os.h"

namespace xdsp {

void errorTextInto(uint32_t code, Char16 *text) {
    if (!os::systemErrorText(code, text, errorTextChars))
        // compat: a signed decimal, so codes above 0x7FFFFFFF print negative.
        boundedFormat(text, errorTextChars, WIDE("Unknown Error: %d"), static_cast<int>(code));
}

} // namespace xdsp
