#include "frame/utf8.h"

#include <cstdint>

namespace xdsp {

namespace {
constexpr char32_t replacement = 0xFFFD;

// Decodes one character at *at and moves past it; malformed input gives
// U+FFFD and moves one byte.
char32_t decodeOne(const unsigned char *&at) {
    unsigned char lead = *at++;
    if (lead < 0x80)
        return lead;
    int extra = lead >= 0xF0 && lead <= 0xF4 ? 3 : lead >= 0xE0 ? 2 : lead >= 0xC2 ? 1 : -1;
    if (extra < 0 || lead > 0xF4)
        return replacement;
    char32_t value = lead & (0x3F >> extra);
    const unsigned char *next = at;
    for (int i = 0; i < extra; ++i, ++next) {
        if ((*next & 0xC0) != 0x80)
            return replacement;
        value = value << 6 | (*next & 0x3F);
    }
    bool overlong = (extra == 2 && value < 0x800) || (extra == 3 && value < 0x10000);
    if (overlong || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF))
        return replacement;
    at = next;
    return value;
}

size_t encodedLength(char32_t value) {
    return value < 0x80 ? 1 : value < 0x800 ? 2 : value < 0x10000 ? 3 : 4;
}
} // namespace

bool utf8ToText(const char *utf8, Char16 *out, size_t capacity) {
    if (capacity == 0)
        return false;
    size_t length = 0;
    for (auto *at = reinterpret_cast<const unsigned char *>(utf8); *at != 0;) {
        char32_t value = decodeOne(at);
        size_t units = value >= 0x10000 ? 2 : 1;
        if (length + units >= capacity) {
            out[0] = 0;
            return false;
        }
        if (units == 2) {
            value -= 0x10000;
            out[length++] = static_cast<Char16>(0xD800 + (value >> 10));
            out[length++] = static_cast<Char16>(0xDC00 + (value & 0x3FF));
        } else {
            out[length++] = static_cast<Char16>(value);
        }
    }
    out[length] = 0;
    return true;
}

size_t textToUtf8(const Char16 *text, size_t length, char *out, size_t capacity) {
    if (capacity == 0)
        return 0;
    size_t written = 0;
    for (size_t i = 0; i < length; ++i) {
        char32_t value = static_cast<char16_t>(text[i]);
        if (value >= 0xD800 && value <= 0xDBFF && i + 1 < length &&
            static_cast<char16_t>(text[i + 1]) >= 0xDC00 &&
            static_cast<char16_t>(text[i + 1]) <= 0xDFFF) {
            value =
                0x10000 + ((value - 0xD800) << 10) + (static_cast<char16_t>(text[i + 1]) - 0xDC00);
            ++i;
        } else if (value >= 0xD800 && value <= 0xDFFF) {
            value = replacement;
        }
        size_t bytes = encodedLength(value);
        if (written + bytes >= capacity)
            break;
        if (bytes == 1) {
            out[written++] = static_cast<char>(value);
            continue;
        }
        static constexpr unsigned char leads[5] = {0, 0, 0xC0, 0xE0, 0xF0};
        for (size_t k = bytes; k-- > 1;)
            out[written + k] = static_cast<char>(0x80 | ((value >> (6 * (bytes - 1 - k))) & 0x3F));
        out[written] = static_cast<char>(leads[bytes] | (value >> (6 * (bytes - 1))));
        written += bytes;
    }
    out[written] = 0;
    return written;
}

} // namespace xdsp
