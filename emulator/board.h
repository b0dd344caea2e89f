// The emulated DSP board as a virtual device serves it: the USB
// microcontroller's firmware behind a lock, with the knobs tests turn.
#pragma once

#include "board_options.h"
#include "firmware.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <vector>

namespace xdsp::os {
struct Lock;
}

namespace xdsp::emu {

class AudioFirmware;
class BootLoader;

// How many changed output reports receivedCommands() keeps.
inline constexpr size_t receivedCommandLimit = 4096;

class Board {
  public:
    explicit Board(BoardOptions options = {});
    ~Board();
    Board(const Board &) = delete;
    Board &operator=(const Board &) = delete;

    const BoardOptions &options() const { return options_; }
    // HID report descriptor for the option's report lengths.
    std::vector<uint8_t> reportDescriptor() const;

    // Server side. A host connected: its first output report is a new command.
    void hostAttached();
    // Takes one output report (bytes past length count as absent) and fills
    // inputLength bytes of the input report that answers it. While reports are
    // stalled it takes nothing and returns false; offer the report again later.
    bool answer(const uint8_t *outputReport, size_t length, uint8_t *inputReport,
                size_t inputLength);

    // Test knobs, all thread-safe.
    void setGpioInputs(uint16_t value);
    void setAdcReading(unsigned channel, uint16_t value); // channels 0 to 3; others ignored
    void setErrorBit(bool on);
    void setBusyStuck(bool on);             // busy bits held set; responses wait
    void corruptMagic(uint32_t reports);    // the next N input reports carry a wrong magic
    void corruptChecksum(uint32_t reports); // the next N carry a wrong checksum
    void
    repeatSequence(uint32_t responses); // the next N responses reuse the previous sequence byte
    // The next report carries this response code with the payload from input
    // offset 14 (cut to the report) and a fresh sequence byte.
    void injectResponse(uint16_t code, std::vector<uint8_t> payload, bool payloadBit = true);
    void stallReports(bool on); // no input reports at all while on
    // The next N counted answers (flash, SPI, TEDS) carry a count one past its limit.
    void corruptLength(uint32_t responses);
    // Every answer from now on goes out this many reports late; 0: on time.
    void delayAnswers(uint32_t reports);
    // SPI transfers without a read phase are answered too (the board option's knob).
    void answerWriteOnly(bool on);
    // The firmware's faults as they stand: counters show what is left to spoil.
    FirmwareFaults faults() const;
    // The device on the SPI bus, owned by the caller; null: the built-in loopback.
    void attachSpiPeer(SpiPeer *peer);
    // Runs visit on the boot loader with the board's lock held, for tests to read
    // its state and switch its faults; false when the board has none.
    bool inspectBootLoader(const std::function<void(BootLoader &)> &visit);

    // Each output report that differed from the one before it (the first of
    // each connection included), oldest first, the last receivedCommandLimit.
    std::vector<std::vector<uint8_t>> receivedCommands() const;
    // Drops receivedCommands() and the boot loader's transfer log, so that a
    // long run's memory stays flat.
    void forgetHistory();
    uint32_t outputReportCount() const;
    uint16_t gpioOutputs() const; // last word applied by command 0xFFFF
    SpiTransferRecord lastSpiTransfer() const;
    std::vector<uint8_t> flashContents(uint32_t address, size_t count) const; // empty: out of range
    uint16_t pins() const;
    std::array<uint8_t, tedsMemoryLength> tedsMemory() const;
    std::array<uint8_t, calibrationBlockLength> calibrationBlock() const;
    bool adcSampling() const;
    PowerState powerState() const;

  private:
    void recordReport(const uint8_t *outputReport, size_t length);

    const BoardOptions options_;
    // Both outlive the firmware that points to them.
    std::unique_ptr<BootLoader> bootLoader_;
    std::unique_ptr<AudioFirmware> audioFirmware_;
    os::Lock *lock_;
    Firmware firmware_;
    std::deque<std::vector<uint8_t>> receivedCommands_;
    std::vector<uint8_t> previousReport_;
    bool previousReportKnown_ = false;
    uint32_t outputReportCount_ = 0;
};

} // namespace xdsp::emu
