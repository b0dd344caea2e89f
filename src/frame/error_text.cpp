#include "frame/error_text.h"
#include "frame/bounded_string.h"
#include "os/os.h"

namespace xdsp {

namespace {
Char16 errorTextBuffer[256];
}

const Char16 *errorText(uint32_t code) {
    if (!os::systemErrorText(code, errorTextBuffer, 256))
        // compat: a signed decimal, so codes above 0x7FFFFFFF print negative.
        boundedFormat(errorTextBuffer, 256, WIDE("Unknown Error: %d"), static_cast<int>(code));
    return errorTextBuffer;
}

} // namespace xdsp
