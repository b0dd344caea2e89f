// Test data whose bytes differ from their neighbours, so that a copy shifted,
// cut or read from the wrong place shows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

namespace xdsp::test {

inline std::vector<uint8_t> sampleBytes(size_t length, uint8_t seed) {
    std::vector<uint8_t> data(length);
    for (size_t i = 0; i < length; ++i)
        data[i] = static_cast<uint8_t>(i * 31 + seed);
    return data;
}

// Bytes that count up from first, wrapping at 256.
inline std::vector<uint8_t> countingBytes(size_t count, uint8_t first) {
    std::vector<uint8_t> bytes(count);
    std::iota(bytes.begin(), bytes.end(), first);
    return bytes;
}

} // namespace xdsp::test
