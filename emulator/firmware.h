// The board's USB microcontroller firmware: it checks each output report,
// carries out new commands and composes the input report that answers it.
// Not thread-safe; the Board serialises every call.
#pragma once

#include "board_options.h"
#include "flash_memory.h"
#include "spi_master.h"

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace xdsp::emu {

inline constexpr size_t productNameRecordLength = 188;
inline constexpr size_t productNameOffset = 16; // within the record
inline constexpr size_t layoutRecordLength = 212;
inline constexpr size_t calibrationBlockLength = 40;
inline constexpr size_t pellixRecordLength = 8;
inline constexpr size_t tedsMemoryLength = 512;
// GPIO input bit 10 reads 1 while the board is booted.
inline constexpr uint16_t initializedLine = 0x0400;

// The layout record this board reports: bytes counting 1, 2, ... 212, so that a
// host that moves or cuts it shows at once.
std::array<uint8_t, layoutRecordLength> layoutRecord();

enum class PowerState { awaitingBoot, booted, suspended };

// Faults a test switches on. Counters run down by one per report or response
// they spoil.
struct FirmwareFaults {
    bool errorBit = false;                // every report carries the error bit
    bool busyStuck = false;               // busy bits held set; responses wait
    bool stallReports = false;            // no input reports at all
    uint32_t corruptMagicReports = 0;     // reports sent with a wrong magic
    uint32_t corruptChecksumReports = 0;  // reports sent with a wrong checksum
    uint32_t repeatSequenceResponses = 0; // responses that reuse the last sequence byte
    uint32_t corruptLengthResponses = 0;  // counted answers whose count is one past its limit
    // Each answer goes out this many reports after it could have; a new
    // command still replaces one not yet delivered.
    uint32_t lateAnswerReports = 0;
};

// A new command as the firmware's handlers see it.
struct Command {
    uint16_t code;
    uint16_t gpioOutputWord;
    const uint8_t *report; // the whole output report, for payload fields
    size_t length;
    std::chrono::steady_clock::time_point now;
};

class Firmware {
  public:
    using Clock = std::chrono::steady_clock;

    explicit Firmware(const BoardOptions &options);
    Firmware(const Firmware &) = delete;
    Firmware &operator=(const Firmware &) = delete;

    // A host connected: its first good report is a new command whatever its sequence byte.
    void hostAttached();
    // One output report as it arrived; a bad one is ignored.
    void receive(const uint8_t *outputReport, size_t length, Clock::time_point now);
    // Fills length bytes of the next input report.
    void composeInputReport(uint8_t *inputReport, size_t length, Clock::time_point now);

    FirmwareFaults &faults() { return faults_; }
    const FirmwareFaults &faults() const { return faults_; }
    void setGpioInputs(uint16_t value) { gpioInputs_ = value; }
    void answerWriteOnly(bool on) { answersWriteOnly_ = on; }
    void setAdcReading(unsigned channel, uint16_t value);
    // The next report carries this response, ahead of any the firmware has pending.
    void injectResponse(uint16_t code, std::vector<uint8_t> payload, bool payloadBit);
    // The device on the SPI bus; null attaches the built-in loopback again.
    void attachSpiPeer(SpiPeer *peer) { peer_ = peer != nullptr ? peer : &loopback_; }

    uint16_t gpioOutputs() const { return gpioOutputs_; }
    const SpiTransferRecord &lastSpiTransfer() const { return lastTransfer_; }
    const FlashMemory &flash() const { return flash_; }
    uint16_t pins() const { return pins_; }
    const std::array<uint8_t, tedsMemoryLength> &teds() const { return teds_; }
    const std::array<uint8_t, calibrationBlockLength> &calibration() const { return calibration_; }
    bool adcSampling() const { return adcSampling_; }
    PowerState powerState() const { return power_; }

  private:
    struct Response {
        uint16_t code;
        std::vector<uint8_t> payload; // from input offset 14
        bool payloadBit;
    };
    using Handler = void (Firmware::*)(const Command &);
    struct CommandEntry {
        uint16_t code;
        Handler handler;
    };
    static const CommandEntry commandTable[];

    void start(const Command &command);
    void fail() { commandFailed_ = true; }
    void respond(uint16_t code, const uint8_t *payload, size_t size);
    // An answer whose data at dataOffset are counted by a 16-bit field at
    // countOffset (input report offsets): as many of count bytes as fit the
    // input report and the limit.
    void respondCounted(uint16_t code, size_t countOffset, size_t dataOffset, const uint8_t *data,
                        size_t count, uint16_t limit);
    void clockTransfer(const SpiSettings &settings, std::vector<uint8_t> written, uint8_t *read,
                       size_t readLength, Clock::time_point now);
    // A transfer is held while a peer line in its busy mask is high.
    bool heldByPeer(const Command &command) const;
    void releaseHeldTransfer(Clock::time_point now);
    uint8_t nextResponseSequence(bool mayRepeat);
    uint16_t nextAdcSample();
    uint16_t gpioWord(Clock::time_point now) const;

    // Command handlers, one per command this firmware answers.
    void sendProductName(const Command &command);
    void sendLayout(const Command &command);
    void applyGpioOutputs(const Command &command);
    void startAdc(const Command &command);
    void stopAdc(const Command &command);
    void boot(const Command &command);
    void suspend(const Command &command);
    void spiTransfer(const Command &command);
    void spiBatch(const Command &command);
    void writeFlash(const Command &command);
    void readFlash(const Command &command);
    void setPins(const Command &command);
    void sendPins(const Command &command);
    void writeCalibration(const Command &command);
    void sendCalibration(const Command &command);
    void writePellix(const Command &command);
    void tedsTransfer(const Command &command);

    std::string productName_;
    std::chrono::milliseconds commandBusy_;
    size_t inputLength_;
    bool answersWriteOnly_;
    uint16_t gpioInputs_;
    uint16_t adcReadings_[4];
    uint16_t gpioOutputs_ = 0;
    unsigned adcChannel_ = 0;
    bool adcSampling_ = true;
    uint16_t lastAdcSample_ = 0;
    PowerState power_ = PowerState::awaitingBoot;

    LoopbackPeer loopback_;
    SpiPeer *peer_ = &loopback_;
    SpiTransferRecord lastTransfer_;
    FlashMemory flash_;
    uint16_t pins_ = 0;
    std::array<uint8_t, tedsMemoryLength> teds_{};
    std::array<uint8_t, calibrationBlockLength> calibration_{};
    std::array<uint8_t, pellixRecordLength> pellix_{};

    bool awaitingFirstCommand_ = true;
    uint8_t lastCommandSequence_ = 0;
    bool commandFailed_ = false; // the last command failed: reports carry the error bit
    Clock::time_point busyUntil_{};
    std::optional<Response> pending_;
    uint32_t pendingDelay_ = 0; // reports the pending answer still waits
    std::optional<Response> injected_;
    std::vector<uint8_t> heldTransfer_; // the output report of a held SPI transfer, if any

    // The response counter outlives connections, as the board stays powered.
    uint8_t responseCounter_ = 0;
    uint8_t lastSequence_ = 0xFF; // what idle reports repeat; no response has gone out yet

    FirmwareFaults faults_;
};

} // namespace xdsp::emu
