// The DSP's SPI port as a reply goes out through it, shared by the boot loader
// and the audio firmware: the reply is clocked out across as many reads as the
// host makes, with zeros past its end.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace xdsp::emu {

class ReplyPort {
  public:
    using Clock = std::chrono::steady_clock;

    explicit ReplyPort(uint32_t idleReadBusyMicros) : idleReadBusy_(idleReadBusyMicros) {}

    // Replaces whatever was left to read.
    void load(std::vector<uint8_t> reply) {
        bytes_ = std::move(reply);
        position_ = 0;
    }
    // Reads in the transfer that carried the command: straight from the reply.
    void shiftOut(uint8_t *read, size_t length);
    // A later read. While the DSP works it clocks in the not-ready filler; one
    // that finds the reply drained raises the busy line for a moment, so that a
    // host's flush ends after one transfer.
    void readLater(uint8_t *read, size_t length, bool working, Clock::time_point now);
    bool drainedPulse(Clock::time_point now) const { return now < idleBusyUntil_; }

  private:
    const std::chrono::microseconds idleReadBusy_;
    std::vector<uint8_t> bytes_;
    size_t position_ = 0;
    Clock::time_point idleBusyUntil_{};
};

} // namespace xdsp::emu
