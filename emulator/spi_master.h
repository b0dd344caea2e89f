// The microcontroller as SPI master of the DSP: single transfers (0xF030) and
// batches (0xF031) go to the attached peer, a loopback unless another is attached.
#pragma once

#include "spi_peer.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace xdsp::emu {

// The peer a board has when nothing else is attached: it answers every read
// with the bytes of the most recent write phase, zeros past their end.
class LoopbackPeer : public SpiPeer {
  public:
    void transfer(const SpiSettings &settings, const uint8_t *written, size_t writeLength,
                  uint8_t *read, size_t readLength, Clock::time_point now) override;
    uint16_t busyLines(Clock::time_point) const override { return 0; }

  private:
    std::vector<uint8_t> echo_;
};

// What the master last handed to its peer, for tests.
struct SpiTransferRecord {
    SpiSettings settings{};
    std::vector<uint8_t> written;
    size_t readLength = 0;
};

} // namespace xdsp::emu
