// What a soak run counted, and the table it prints at the end of every run
// (and when the watchdog stops it).
#pragma once

#include "soak_faults.h"
#include "soak_resources.h"

#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

// How a faulted upload ended.
enum class Outcome : unsigned {
    stopped,   // result 0: the upload stopped early and said so
    mismatch,  // result 1 with the checksum mismatch code
    otherCode, // result 1 with another last-error code
    absorbed,  // result 1, last-error 0, and the board holds exactly the data
    silent,    // result 1, last-error 0, and the board does not hold the data
    count
};
inline constexpr size_t outcomes = static_cast<size_t>(Outcome::count);

struct FaultTally {
    unsigned injected = 0;
    unsigned struck = 0; // counted faults that spoiled something; timed ones always
    std::array<unsigned, outcomes> outcome{};
    unsigned nextVerified = 0; // the clean upload after it succeeded and checked out
};

// Lines the library wrote or boxes it opened that show a fault to a person.
struct LibrarySignals {
    unsigned reopens = 0;
    unsigned readErrors = 0;
    unsigned invalidResponses = 0;
    unsigned corruptedLengths = 0;
    unsigned busyTimeouts = 0;
    unsigned replyDumps = 0;
    unsigned checksumLines = 0;
    unsigned messageBoxes = 0;
};

struct ResourceSample {
    std::string when;
    ResourceCounts counts;
};

struct SoakReport {
    uint64_t seed = 0;
    unsigned cyclesPlanned = 0;
    unsigned cyclesRun = 0;
    unsigned uploads = 0;
    unsigned uploadsVerified = 0;
    std::array<FaultTally, faultKinds> faults{};
    std::map<uint32_t, unsigned> faultedLastErrors; // last-error after a faulted upload
    LibrarySignals signals;
    std::vector<ResourceSample> resources;
    uint32_t longestTransferMs = 0;
    uint32_t longestUploadMs = 0;
    double seconds = 0;
    std::vector<std::string> failures;
};

void printReport(const SoakReport &report);
