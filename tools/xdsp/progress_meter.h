// An upload's progress as the output mode wants it: a bar redrawn in place on
// a terminal, one line per step elsewhere, JSON events, or nothing.
#pragma once

#include "output.h"

#include <chrono>
#include <cstddef>
#include <cstdint>

class ProgressMeter {
  public:
    explicit ProgressMeter(Output &output) : output_(output) {}
    ~ProgressMeter();
    ProgressMeter(const ProgressMeter &) = delete;
    ProgressMeter &operator=(const ProgressMeter &) = delete;

    // The board's upload progress callback; user is the meter.
    static int callback(size_t sent, size_t total, void *user);
    void update(uint64_t sent, uint64_t total);
    // Ends a bar that stopped short of 100 %, so the next line starts clean.
    void close();

  private:
    using Clock = std::chrono::steady_clock;

    Output &output_;
    Clock::time_point dataStarted_{}; // the first packet's arrival
    uint64_t dataStartBytes_ = 0;     // bytes on the board then
    bool dataStartedKnown_ = false;
    int lastPercent_ = -1;
    double rate_ = 0;        // bytes per second
    bool rateKnown_ = false; // "--" until then
    bool barOpen_ = false;
};
