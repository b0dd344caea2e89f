// The boot loader's byte order: every multi-byte value high byte first.
#pragma once

#include <cstdint>

namespace xdsp::emu::bigEndian {

inline uint16_t word(const uint8_t *bytes) {
    return static_cast<uint16_t>(bytes[0] << 8 | bytes[1]);
}

inline uint32_t longWord(const uint8_t *bytes) {
    return static_cast<uint32_t>(word(bytes)) << 16 | word(bytes + 2);
}

inline void putWord(uint8_t *bytes, uint16_t value) {
    bytes[0] = static_cast<uint8_t>(value >> 8);
    bytes[1] = static_cast<uint8_t>(value);
}

inline void putLongWord(uint8_t *bytes, uint32_t value) {
    putWord(bytes, static_cast<uint16_t>(value >> 16));
    putWord(bytes + 2, static_cast<uint16_t>(value));
}

} // namespace xdsp::emu::bigEndian
