#include "board.h"

#include "audio/audio_firmware.h"
#include "bootloader/boot_loader.h"
#include "os/os.h"
#include "report_descriptor_builder.h"

#include <algorithm>
#include <new>
#include <utility>

namespace xdsp::emu {

namespace {
class Locked {
  public:
    explicit Locked(os::Lock *lock) : lock_(lock) { os::lockEnter(lock_); }
    ~Locked() { os::lockLeave(lock_); }
    Locked(const Locked &) = delete;
    Locked &operator=(const Locked &) = delete;

  private:
    os::Lock *lock_;
};

os::Lock *createLock() {
    os::Lock *lock = os::lockCreate();
    if (lock == nullptr)
        throw std::bad_alloc();
    return lock;
}

std::unique_ptr<BootLoader> makeBootLoader(const BoardOptions &options) {
    if (!options.bootLoader)
        return nullptr;
    return std::make_unique<BootLoader>(*options.bootLoader);
}

std::unique_ptr<AudioFirmware> makeAudioFirmware(const BoardOptions &options) {
    if (!options.audioFirmware)
        return nullptr;
    return std::make_unique<AudioFirmware>(*options.audioFirmware);
}
} // namespace

Board::Board(BoardOptions options)
    : options_(std::move(options)), bootLoader_(makeBootLoader(options_)),
      audioFirmware_(makeAudioFirmware(options_)), lock_(createLock()), firmware_(options_) {
    if (audioFirmware_)
        firmware_.attachSpiPeer(audioFirmware_.get());
    else if (bootLoader_)
        firmware_.attachSpiPeer(bootLoader_.get());
}

Board::~Board() {
    os::lockDelete(lock_);
}

std::vector<uint8_t> Board::reportDescriptor() const {
    return buildReportDescriptor(options_.inputReportLength, options_.outputReportLength);
}

void Board::hostAttached() {
    Locked locked(lock_);
    firmware_.hostAttached();
    previousReportKnown_ = false;
}

bool Board::answer(const uint8_t *outputReport, size_t length, uint8_t *inputReport,
                   size_t inputLength) {
    if (outputReport == nullptr)
        length = 0;
    if (inputReport == nullptr)
        inputLength = 0;
    Locked locked(lock_);
    if (firmware_.faults().stallReports)
        return false;
    ++outputReportCount_;
    recordReport(outputReport, length);
    auto now = Firmware::Clock::now();
    firmware_.receive(outputReport, length, now);
    firmware_.composeInputReport(inputReport, inputLength, now);
    return true;
}

void Board::recordReport(const uint8_t *outputReport, size_t length) {
    if (previousReportKnown_ && std::equal(outputReport, outputReport + length,
                                           previousReport_.begin(), previousReport_.end()))
        return;
    previousReport_.assign(outputReport, outputReport + length);
    previousReportKnown_ = true;
    if (receivedCommands_.size() == receivedCommandLimit)
        receivedCommands_.pop_front();
    receivedCommands_.push_back(previousReport_);
}

void Board::setGpioInputs(uint16_t value) {
    Locked locked(lock_);
    firmware_.setGpioInputs(value);
}

void Board::setAdcReading(unsigned channel, uint16_t value) {
    Locked locked(lock_);
    firmware_.setAdcReading(channel, value);
}

void Board::setErrorBit(bool on) {
    Locked locked(lock_);
    firmware_.faults().errorBit = on;
}

void Board::setBusyStuck(bool on) {
    Locked locked(lock_);
    firmware_.faults().busyStuck = on;
}

void Board::corruptMagic(uint32_t reports) {
    Locked locked(lock_);
    firmware_.faults().corruptMagicReports = reports;
}

void Board::corruptChecksum(uint32_t reports) {
    Locked locked(lock_);
    firmware_.faults().corruptChecksumReports = reports;
}

void Board::repeatSequence(uint32_t responses) {
    Locked locked(lock_);
    firmware_.faults().repeatSequenceResponses = responses;
}

void Board::delayAnswers(uint32_t reports) {
    Locked locked(lock_);
    firmware_.faults().lateAnswerReports = reports;
}

void Board::answerWriteOnly(bool on) {
    Locked locked(lock_);
    firmware_.answerWriteOnly(on);
}

void Board::injectResponse(uint16_t code, std::vector<uint8_t> payload, bool payloadBit) {
    Locked locked(lock_);
    firmware_.injectResponse(code, std::move(payload), payloadBit);
}

void Board::stallReports(bool on) {
    Locked locked(lock_);
    firmware_.faults().stallReports = on;
}

void Board::corruptLength(uint32_t responses) {
    Locked locked(lock_);
    firmware_.faults().corruptLengthResponses = responses;
}

FirmwareFaults Board::faults() const {
    Locked locked(lock_);
    return firmware_.faults();
}

void Board::attachSpiPeer(SpiPeer *peer) {
    Locked locked(lock_);
    firmware_.attachSpiPeer(peer);
}

bool Board::inspectBootLoader(const std::function<void(BootLoader &)> &visit) {
    Locked locked(lock_);
    if (!bootLoader_)
        return false;
    visit(*bootLoader_);
    return true;
}

std::vector<std::vector<uint8_t>> Board::receivedCommands() const {
    Locked locked(lock_);
    return {receivedCommands_.begin(), receivedCommands_.end()};
}

void Board::forgetHistory() {
    Locked locked(lock_);
    receivedCommands_.clear();
    if (bootLoader_)
        bootLoader_->clearTransfers();
}

uint32_t Board::outputReportCount() const {
    Locked locked(lock_);
    return outputReportCount_;
}

uint16_t Board::gpioOutputs() const {
    Locked locked(lock_);
    return firmware_.gpioOutputs();
}

SpiTransferRecord Board::lastSpiTransfer() const {
    Locked locked(lock_);
    return firmware_.lastSpiTransfer();
}

std::vector<uint8_t> Board::flashContents(uint32_t address, size_t count) const {
    Locked locked(lock_);
    std::vector<uint8_t> bytes(count);
    if (!firmware_.flash().read(address, bytes.data(), count))
        bytes.clear();
    return bytes;
}

uint16_t Board::pins() const {
    Locked locked(lock_);
    return firmware_.pins();
}

std::array<uint8_t, tedsMemoryLength> Board::tedsMemory() const {
    Locked locked(lock_);
    return firmware_.teds();
}

std::array<uint8_t, calibrationBlockLength> Board::calibrationBlock() const {
    Locked locked(lock_);
    return firmware_.calibration();
}

bool Board::adcSampling() const {
    Locked locked(lock_);
    return firmware_.adcSampling();
}

PowerState Board::powerState() const {
    Locked locked(lock_);
    return firmware_.powerState();
}

} // namespace xdsp::emu
