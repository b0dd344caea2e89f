// What command operations use of the open link: its presence, its events and
// its staging report.
#pragma once

#include "link/link.h"
#include "os/os.h"

#include <cstddef>
#include <cstdint>

namespace xdsp::link {

inline constexpr uint32_t reportTimeoutMs = 1000;
inline constexpr uint32_t responseTimeoutMs = 10000;

// The link lock as the analysis sees it, whichever link runs: the staging
// report is written only while it is held.
struct XDSP_CAPABILITY("link lock") StagingLock {};
extern StagingLock stagingLock;

// Enters the link's lock and hands out its staging report for payload writes
// until it goes out of scope; bytes() is null, and nothing is held, when no
// poll thread runs.
class XDSP_SCOPED_CAPABILITY StagingAccess {
  public:
    explicit StagingAccess(Link &link) XDSP_ACQUIRE(stagingLock);
    ~StagingAccess() XDSP_RELEASE();
    StagingAccess(const StagingAccess &) = delete;
    StagingAccess &operator=(const StagingAccess &) = delete;

    uint8_t *bytes() const XDSP_REQUIRES(stagingLock) { return bytes_; }
    // The output report length, report-ID byte included; 0 without a link.
    size_t length() const { return length_; }

  private:
    uint8_t *bytes_ = nullptr;
    size_t length_ = 0;
    os::Lock *lock_ = nullptr;
};

// Completes the staged report's header with this command code and hands it to
// the poll thread; does nothing when no poll thread runs. A store given is
// cleared first, under the same hold of the link lock.
void sendCommand(Link &link, uint16_t commandCode, StoreToClear clearFirst = {});

// True while a poll thread runs (its staging report is present).
bool linkRunning(const Link &link);
// Each returns true when the event came within the time-out; false also when
// no link is open.
bool waitForReport(Link &link, uint32_t timeoutMs);
bool waitForResponse(Link &link, uint32_t timeoutMs);
void resetReportEvent(Link &link);
void resetResponseEvent(Link &link);

} // namespace xdsp::link
