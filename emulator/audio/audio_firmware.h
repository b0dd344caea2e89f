// The DSP running the audio firmware: the SPI peer of a board whose DSP has
// been started into its audio program. It keeps the switches the host sets and
// a few files it can name.
//
// On the wire, as the boot loader's (boot_loader.h):
// - A transfer that writes "USER", a code, a word count and the words (high
//   byte first) is a command. A read in the same transfer clocks the reply in
//   from its first byte; otherwise it waits for a later read: a transfer that
//   writes "RD", nothing, or only zeros. Past the reply's end the port clocks
//   in zeros, and a read that finds nothing left raises the busy line for
//   idleReadBusyMicros, so that a host's flush ends after one transfer.
// - Value commands (0x3A source, 0x3B line out, 0x3C mute, 0x3D filter, 0x3E
//   algorithm) answer with the value now set at bytes 8-9; a value out of range
//   or a missing word is refused: the code with bit 7 set and 0xFFFF.
// - 0x39 answers with the file's number and its name-and-date block (138
//   bytes, length byte 0x41); an unknown file is refused.
// - 0x38 sends back the words that came with it; 0x3F resets the switches and
//   answers nothing.
// - Any other transfer goes to a loopback, as on a board without a DSP peer.
#pragma once

#include "audio/audio_firmware_options.h"
#include "bootloader/reply_port.h"
#include "spi_master.h"
#include "spi_peer.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace xdsp::emu {

// The switches as the host last set them; all 0 at power-up and after a reset.
struct AudioState {
    uint16_t source = 0;
    uint16_t lineOut = 0;
    uint16_t mute = 0;
    uint16_t filter = 0;
    uint16_t algorithm = 0;
};

class AudioFirmware : public SpiPeer {
  public:
    explicit AudioFirmware(AudioFirmwareOptions options);

    void transfer(const SpiSettings &settings, const uint8_t *written, size_t writeLength,
                  uint8_t *read, size_t readLength, Clock::time_point now) override;
    uint16_t busyLines(Clock::time_point now) const override;

  private:
    std::vector<uint8_t> answer(uint8_t code, uint8_t count, const uint8_t *arguments,
                                size_t length);
    std::vector<uint8_t> setValue(uint8_t code, uint16_t *value, uint16_t limit,
                                  const uint8_t *arguments, size_t length);
    std::vector<uint8_t> sendFileName(const uint8_t *arguments, size_t length);
    std::vector<uint8_t> echo(uint8_t count, const uint8_t *arguments, size_t length);

    const AudioFirmwareOptions options_;
    AudioFaults faults_;
    AudioState state_;
    LoopbackPeer loopback_;
    ReplyPort port_;
    Clock::time_point busyUntil_{};
};

} // namespace xdsp::emu
