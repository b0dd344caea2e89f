// The device on the far side of the microcontroller's SPI master: on a real
// board the DSP. The firmware hands every SPI transfer to its peer; the board's
// default peer echoes, the boot-loader emulator is another.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>

namespace xdsp::emu {

// The transfer's settings as the host staged them, passed through unchanged.
struct SpiSettings {
    uint16_t modeWord; // 0x0303 or 0x0101
    uint16_t settingA;
    uint16_t settingB;
    uint16_t select;
    uint16_t busyMask;
};

class SpiPeer {
  public:
    using Clock = std::chrono::steady_clock;
    virtual ~SpiPeer() = default;
    // One transfer: the master clocks out writeLength bytes and, in the same
    // transfer, clocks in readLength bytes. Called with the board's lock held.
    virtual void transfer(const SpiSettings &settings, const uint8_t *written, size_t writeLength,
                          uint8_t *read, size_t readLength, Clock::time_point now) = 0;
    // The peer's busy lines as GPIO-word bits, ORed into the board's GPIO inputs.
    virtual uint16_t busyLines(Clock::time_point now) const = 0;
};

} // namespace xdsp::emu
