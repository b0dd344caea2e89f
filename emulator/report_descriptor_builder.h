// The HID report descriptor the board hands out when a host connects.
#pragma once

#include <cstdint>
#include <vector>

namespace xdsp::emu {

// One vendor-defined application collection without report IDs, holding one
// input and one output report of 8-bit fields. Lengths count the report-ID
// byte, as a host counts them; a length of 0 leaves that report out.
std::vector<uint8_t> buildReportDescriptor(uint32_t inputReportLength, uint32_t outputReportLength);

} // namespace xdsp::emu
