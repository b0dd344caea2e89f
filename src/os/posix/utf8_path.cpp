#include "os/posix/utf8_path.h"

namespace xdsp::os {

bool pathToUtf8(const Char16 *path, char *out, size_t capacity) {
    size_t used = 0;
    auto put = [&](uint32_t byte) {
        if (used + 1 >= capacity)
            return false;
        out[used++] = static_cast<char>(byte);
        return true;
    };
    for (size_t i = 0; path[i] != 0; ++i) {
        uint32_t unit = path[i];
        uint32_t codePoint = unit;
        if (unit >= 0xD800 && unit <= 0xDBFF) {
            uint32_t low = path[i + 1];
            if (low < 0xDC00 || low > 0xDFFF)
                return false;
            codePoint = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
            ++i;
        } else if (unit >= 0xDC00 && unit <= 0xDFFF) {
            return false;
        }
        bool fits = true;
        if (codePoint < 0x80) {
            fits = put(codePoint);
        } else if (codePoint < 0x800) {
            fits = put(0xC0 | (codePoint >> 6)) && put(0x80 | (codePoint & 0x3F));
        } else if (codePoint < 0x10000) {
            fits = put(0xE0 | (codePoint >> 12)) && put(0x80 | ((codePoint >> 6) & 0x3F)) &&
                   put(0x80 | (codePoint & 0x3F));
        } else {
            fits = put(0xF0 | (codePoint >> 18)) && put(0x80 | ((codePoint >> 12) & 0x3F)) &&
                   put(0x80 | ((codePoint >> 6) & 0x3F)) && put(0x80 | (codePoint & 0x3F));
        }
        if (!fits)
            return false;
    }
    out[used] = 0;
    return true;
}

void asciiToPath(const char *text, Char16 *out, size_t capacity) {
    if (capacity == 0)
        return;
    size_t length = 0;
    while (text[length] != 0 && length + 1 < capacity) {
        out[length] = static_cast<unsigned char>(text[length]);
        ++length;
    }
    out[length] = 0;
}

void utf8ToText(const char *text, Char16 *out, size_t capacity) {
    if (capacity == 0)
        return;
    const auto *byte = reinterpret_cast<const unsigned char *>(text);
    size_t length = 0;
    while (*byte != 0) {
        uint32_t codePoint = *byte++;
        int following = 0;
        if (codePoint >= 0xC2 && codePoint < 0xE0) {
            following = 1;
            codePoint &= 0x1F;
        } else if (codePoint >= 0xE0 && codePoint < 0xF0) {
            following = 2;
            codePoint &= 0x0F;
        } else if (codePoint >= 0xF0 && codePoint < 0xF5) {
            following = 3;
            codePoint &= 0x07;
        } else if (codePoint >= 0x80) {
            codePoint = 0xFFFD;
        }
        for (; following > 0; --following) {
            if ((*byte & 0xC0) != 0x80) {
                codePoint = 0xFFFD;
                break;
            }
            codePoint = (codePoint << 6) | (*byte++ & 0x3F);
        }
        size_t units = codePoint >= 0x10000 ? 2 : 1;
        if (length + units >= capacity)
            break;
        if (units == 2) {
            out[length++] = static_cast<Char16>(0xD800 + ((codePoint - 0x10000) >> 10));
            out[length++] = static_cast<Char16>(0xDC00 + ((codePoint - 0x10000) & 0x3FF));
        } else {
            out[length++] = static_cast<Char16>(codePoint);
        }
    }
    out[length] = 0;
}

} // namespace xdsp::os
