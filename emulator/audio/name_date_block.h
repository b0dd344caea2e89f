// The 128-byte name-and-date block as the DSP sends it: 8-bit name at 0, the
// modification date text at 64, the creation date text at 84; '*' for every
// zero, 0xCC or 0xFF byte, and the two bytes of every pair exchanged.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace xdsp::emu {

inline constexpr size_t travelledBlockLength = 128;

// The name is cut at 63 bytes and each date text at 19; an empty field starts
// with an erased byte (0xFF), which reads as no name or no date.
std::array<uint8_t, travelledBlockLength> travelledNameDateBlock(const std::string &name,
                                                                 const std::string &modified,
                                                                 const std::string &created);

} // namespace xdsp::emu
