// What command operations use of the open link: its presence, its events and
// its staging report.
#pragma once

#include "os/os.h"

#include <cstddef>
#include <cstdint>

namespace xdsp::link {

inline constexpr uint32_t reportTimeoutMs = 1000;
inline constexpr uint32_t responseTimeoutMs = 10000;

struct StagingReport {
    uint8_t *bytes; // null when no poll thread runs (the lock is then not held)
    size_t length;  // the output report length, report-ID byte included
    os::Lock *lock; // the lock entered, left again by leaveStaging
};
// Enters the link lock and hands out the staging report for payload writes;
// leaveStaging() must follow whenever bytes is not null.
StagingReport enterStaging();
void leaveStaging(const StagingReport &staging);

// Completes the staged report's header with this command code and hands it to
// the poll thread; does nothing when no poll thread runs.
void sendCommand(uint16_t commandCode);

// True while a poll thread runs (its staging report is present).
bool linkRunning();
// Each returns true when the event came within the time-out; false also when
// no link is open.
bool waitForReport(uint32_t timeoutMs);
bool waitForResponse(uint32_t timeoutMs);
void resetReportEvent();
void resetResponseEvent();

} // namespace xdsp::link
