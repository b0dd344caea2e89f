#include "os/os.h"

namespace xdsp::os {

void widenNarrow(const char *text, Char16 *out, size_t capacity) {
    size_t length = 0;
    while (text[length] != 0 && length + 1 < capacity) {
        out[length] = static_cast<unsigned char>(text[length]);
        ++length;
    }
    out[length] = 0;
}

} // namespace xdsp::os
