#include "discovery/parse_device_name.h"

namespace xdsp::discovery {

namespace {
const Char16 *find(const Char16 *text, const char *marker) {
    for (const Char16 *start = text; *start != 0; ++start) {
        size_t i = 0;
        while (marker[i] != 0 && start[i] == static_cast<unsigned char>(marker[i]))
            ++i;
        if (marker[i] == 0)
            return start;
    }
    return nullptr;
}

int hexDigit(Char16 c) {
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

uint16_t parseHex(const Char16 *text) {
    uint32_t value = 0;
    for (int digit = hexDigit(*text); digit >= 0; digit = hexDigit(*++text))
        value = (value << 4) | static_cast<uint32_t>(digit);
    return static_cast<uint16_t>(value);
}

const Char16 *afterHash(const Char16 *text) {
    for (; *text != 0; ++text)
        if (*text == '#')
            return text + 1;
    return nullptr;
}
} // namespace

const Char16 *parseDeviceName(const Char16 *path, uint16_t *vendorId, uint16_t *productId,
                              uint16_t *interfaceNumber) {
    *vendorId = 0;
    *productId = 0;
    *interfaceNumber = 0;
    // compat: the markers are found case-sensitively, and a path with "vid_" alone
    // gives no instance part, as callers of the parser have always seen.
    const Char16 *vendorField = find(path, "vid_");
    const Char16 *productField = find(path, "pid_");
    const Char16 *interfaceField = find(path, "mi_");
    if (vendorField != nullptr)
        *vendorId = parseHex(vendorField + 4);
    if (productField != nullptr)
        *productId = parseHex(productField + 4);
    if (interfaceField != nullptr) {
        *interfaceNumber = parseHex(interfaceField + 3);
        return afterHash(interfaceField + 1);
    }
    if (productField != nullptr)
        return afterHash(productField + 1);
    return nullptr;
}

} // namespace xdsp::discovery
