// An upload's progress as the output mode wants it: a bar redrawn in place on
// a terminal, one line per step elsewhere, JSON events, or nothing.
#pragma once

#include "xdsp/xdsp.h"

#include <chrono>
#include <cstdint>
#include <string>

class ProgressMeter {
  public:
    explicit ProgressMeter(uint64_t totalBytes);
    ~ProgressMeter();
    ProgressMeter(const ProgressMeter &) = delete;
    ProgressMeter &operator=(const ProgressMeter &) = delete;

    // The library's progress callback; it reports to the meter that lives now
    // (one upload at a time per process).
    static int32_t XDSP_API callback(int32_t percent, uint32_t context);
    void update(int32_t percent);
    // Ends a bar that stopped short of 100 %, so the next line starts clean.
    void close();

  private:
    using Clock = std::chrono::steady_clock;
    // Bytes sent at this percent: the data goes out between 25 and 80.
    uint64_t bytesAt(int32_t percent) const;

    uint64_t total_;
    Clock::time_point started_ = Clock::now();
    Clock::time_point dataStarted_{};
    bool dataStartedKnown_ = false;
    int32_t lastPercent_ = -1;
    double rate_ = 0;        // bytes per second
    bool rateKnown_ = false; // "--" until then
    std::string lastDrawn_;
    bool barOpen_ = false;
};
