// A stand-in for the DSP's boot loader whose answers a test scripts: it keeps
// every transfer, answers reads through the test's responder, and raises its
// busy line as told.
#pragma once

#include "spi_peer.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <vector>

namespace xdsp::test {

using Bytes = std::vector<uint8_t>;

struct SpiTransfer {
    emu::SpiSettings settings;
    Bytes written;
    size_t readLength;
};

class ScriptedPeer : public emu::SpiPeer {
  public:
    // Given the last command (the last write that was neither the read prefix,
    // nor empty, nor a flush pattern) and the transfer itself; returns the bytes
    // to clock in (cut or padded with zeros to the read length).
    using Responder = std::function<Bytes(const Bytes &command, const SpiTransfer &transfer)>;

    void respond(Responder responder);
    // After each flush transfer (mode 0x0303) the busy line stays up this long,
    // so that a flush ends after its first transfer; 0 leaves it low.
    void setDrainBusyMicros(uint32_t micros) { drainBusyMicros_ = micros; }
    void setBusyStuck(bool on) { busyStuck_ = on; }

    void transfer(const emu::SpiSettings &settings, const uint8_t *written, size_t writeLength,
                  uint8_t *read, size_t readLength, Clock::time_point now) override;
    uint16_t busyLines(Clock::time_point now) const override;

    std::vector<SpiTransfer> transfers() const;
    // Transfers other than the flush's (mode 0x0101).
    std::vector<SpiTransfer> commandTransfers() const;
    void clear();

  private:
    mutable std::mutex mutex_;
    Responder responder_;
    Bytes lastCommand_;
    std::vector<SpiTransfer> transfers_;
    std::atomic<uint32_t> drainBusyMicros_{0};
    std::atomic<bool> busyStuck_{false};
    std::atomic<int64_t> busyUntil_{0}; // steady-clock ticks
};

inline constexpr uint16_t busyLine = 0x0002;

// A boot-loader reply: two idle bytes, "BOOT", the echo, the word count, data.
Bytes bootReply(uint8_t echo, const Bytes &data = {});
Bytes bytesOf(const char *text);
Bytes concat(const Bytes &first, const Bytes &second);

} // namespace xdsp::test
