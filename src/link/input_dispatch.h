// Acceptance and dispatch of one whole input report.
#pragma once

#include <cstdint>

namespace xdsp::link {

struct PollRun;

// Checks magic, checksum and sequence byte, stores what the report carries and
// clears its payload area. The buffer holds at least input::minimumBuffer bytes.
void acceptInputReport(PollRun *run, uint8_t *report);

} // namespace xdsp::link
