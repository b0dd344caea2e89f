#include "firmware.h"

#include "report_fields.h"

#include <algorithm>
#include <utility>

namespace xdsp::emu {

namespace {
constexpr uint16_t corruptedMagic = 0x5244; // the magic with its bytes swapped
constexpr uint16_t adcReadingMask = 0x3FFF;
constexpr unsigned adcChannelShift = 14;
constexpr unsigned adcChannels = 4;
} // namespace

std::array<uint8_t, layoutRecordLength> layoutRecord() {
    std::array<uint8_t, layoutRecordLength> record{};
    for (size_t i = 0; i < record.size(); ++i)
        record[i] = static_cast<uint8_t>(i + 1);
    return record;
}

// The commands this firmware carries out; codes not listed are accepted and
// answer nothing. Each handler lives with the part of the board it drives.
const Firmware::CommandEntry Firmware::commandTable[] = {
    {report::command::init, &Firmware::sendProductName},
    {report::command::requestLayout, &Firmware::sendLayout},
    {report::command::setGpioOutputs, &Firmware::applyGpioOutputs},
    {report::command::adcOn, &Firmware::startAdc},
    {report::command::adcOff, &Firmware::stopAdc},
    {report::command::boot, &Firmware::boot},
    {report::command::bootSecondForm, &Firmware::boot},
    {report::command::suspend, &Firmware::suspend},
    {report::command::spiTransfer, &Firmware::spiTransfer},           // spi_master.cpp
    {report::command::spiBatch, &Firmware::spiBatch},                 // spi_master.cpp
    {report::command::writeFlash, &Firmware::writeFlash},             // flash_memory.cpp
    {report::command::readFlash, &Firmware::readFlash},               // flash_memory.cpp
    {report::command::setPins, &Firmware::setPins},                   // board_memories.cpp
    {report::command::getPins, &Firmware::sendPins},                  // board_memories.cpp
    {report::command::writeCalibration, &Firmware::writeCalibration}, // board_memories.cpp
    {report::command::readCalibration, &Firmware::sendCalibration},   // board_memories.cpp
    {report::command::writePellix, &Firmware::writePellix},           // board_memories.cpp
    {report::command::tedsTransfer, &Firmware::tedsTransfer},         // board_memories.cpp
};

Firmware::Firmware(const BoardOptions &options)
    : productName_(options.productName), commandBusy_(options.commandBusyMillis),
      inputLength_(options.inputReportLength), answersWriteOnly_(options.answersWriteOnly),
      gpioInputs_(options.gpioInputs) {
    std::copy(std::begin(options.adcReadings), std::end(options.adcReadings), adcReadings_);
    faults_.lateAnswerReports = options.lateAnswerReports;
}

void Firmware::hostAttached() {
    awaitingFirstCommand_ = true;
}

void Firmware::setAdcReading(unsigned channel, uint16_t value) {
    if (channel < adcChannels)
        adcReadings_[channel] = value;
}

void Firmware::injectResponse(uint16_t code, std::vector<uint8_t> payload, bool payloadBit) {
    injected_ = Response{code, std::move(payload), payloadBit};
}

void Firmware::receive(const uint8_t *outputReport, size_t length, Clock::time_point now) {
    using namespace report;
    if (length < out::headerLength || readWord(outputReport, length, out::magic) != magic)
        return;
    Command command{readWord(outputReport, length, out::code),
                    readWord(outputReport, length, out::gpioOutputs), outputReport, length, now};
    uint16_t reserved = readWord(outputReport, length, out::reserved);
    if (readWord(outputReport, length, out::checksum) !=
        checksum(magic, reserved, command.gpioOutputWord, command.code))
        return;
    // The host repeats its last report until it stages another; only a new
    // sequence byte makes a new command.
    uint8_t sequence = outputReport[out::sequence];
    if (!awaitingFirstCommand_ && sequence == lastCommandSequence_)
        return;
    awaitingFirstCommand_ = false;
    lastCommandSequence_ = sequence;
    start(command);
}

void Firmware::start(const Command &command) {
    // One command at a time: a new one replaces an answer not yet delivered,
    // and the error bit tells about this command alone.
    pending_.reset();
    heldTransfer_.clear();
    commandFailed_ = false;
    busyUntil_ = command.now + commandBusy_;
    for (const CommandEntry &entry : commandTable) {
        if (entry.code == command.code) {
            (this->*entry.handler)(command);
            return;
        }
    }
}

void Firmware::respond(uint16_t code, const uint8_t *payload, size_t size) {
    pending_ = Response{code, std::vector<uint8_t>(payload, payload + size), true};
    pendingDelay_ = faults_.lateAnswerReports;
}

void Firmware::respondCounted(uint16_t code, size_t countOffset, size_t dataOffset,
                              const uint8_t *data, size_t count, uint16_t limit) {
    size_t room = inputLength_ > dataOffset ? inputLength_ - dataOffset : 0;
    size_t delivered = std::min({count, room, size_t{limit}});
    uint16_t countField = static_cast<uint16_t>(delivered);
    if (faults_.corruptLengthResponses > 0) {
        --faults_.corruptLengthResponses;
        countField = static_cast<uint16_t>(limit + 1);
    }
    size_t payloadStart = report::in::payload;
    std::vector<uint8_t> payload(std::max(dataOffset + delivered, countOffset + 2) - payloadStart);
    report::writeWord(payload.data(), payload.size(), countOffset - payloadStart, countField);
    report::writeBytes(payload.data(), payload.size(), dataOffset - payloadStart, data, delivered);
    pending_ = Response{code, std::move(payload), true};
    pendingDelay_ = faults_.lateAnswerReports;
}

void Firmware::sendProductName(const Command &) {
    uint8_t record[productNameRecordLength] = {};
    record[0] = 1;                                                 // a filled record
    size_t room = productNameRecordLength - productNameOffset - 1; // keep the terminator
    size_t count = std::min(productName_.size(), room);
    for (size_t i = 0; i < count; ++i) {
        auto c = static_cast<unsigned char>(productName_[i]);
        record[productNameOffset + i] = c < 0x80 ? c : '?';
    }
    respond(report::command::init, record, sizeof record);
}

void Firmware::sendLayout(const Command &) {
    auto record = layoutRecord();
    respond(report::command::requestLayout, record.data(), record.size());
}

void Firmware::applyGpioOutputs(const Command &command) {
    gpioOutputs_ = command.gpioOutputWord;
}

void Firmware::startAdc(const Command &) {
    adcSampling_ = true;
}

// Sampling stops: every report repeats the last sample taken.
void Firmware::stopAdc(const Command &) {
    adcSampling_ = false;
}

void Firmware::boot(const Command &) {
    power_ = PowerState::booted;
}

void Firmware::suspend(const Command &) {
    power_ = PowerState::suspended;
}

uint8_t Firmware::nextResponseSequence(bool mayRepeat) {
    if (mayRepeat && faults_.repeatSequenceResponses > 0) {
        --faults_.repeatSequenceResponses;
        return lastSequence_;
    }
    lastSequence_ = responseCounter_++;
    return lastSequence_;
}

uint16_t Firmware::nextAdcSample() {
    if (!adcSampling_)
        return lastAdcSample_;
    unsigned channel = adcChannel_;
    adcChannel_ = (adcChannel_ + 1) % adcChannels;
    lastAdcSample_ = static_cast<uint16_t>(channel << adcChannelShift |
                                           (adcReadings_[channel] & adcReadingMask));
    return lastAdcSample_;
}

uint16_t Firmware::gpioWord(Clock::time_point now) const {
    uint16_t word = gpioInputs_ | peer_->busyLines(now);
    if (power_ == PowerState::booted)
        word |= initializedLine;
    return word;
}

void Firmware::composeInputReport(uint8_t *inputReport, size_t length, Clock::time_point now) {
    using namespace report;
    std::fill_n(inputReport, length, uint8_t{0});
    releaseHeldTransfer(now);
    bool busy = faults_.busyStuck || now < busyUntil_ || !heldTransfer_.empty();

    std::optional<Response> response;
    bool injected = injected_.has_value();
    if (injected)
        response.swap(injected_);
    else if (pending_ && !busy && pendingDelay_ > 0)
        --pendingDelay_;
    else if (pending_ && !busy)
        response.swap(pending_);

    uint8_t statusByte = 0;
    if (busy)
        statusByte |= status::busy;
    if (faults_.errorBit || commandFailed_)
        statusByte |= status::error;
    uint16_t code = 0;
    uint8_t sequence = lastSequence_;
    if (response) {
        sequence = nextResponseSequence(!injected);
        code = response->code;
        if (response->payloadBit)
            statusByte |= status::payload;
        writeBytes(inputReport, length, in::payload, response->payload.data(),
                   response->payload.size());
    }

    uint16_t sample = nextAdcSample();
    uint16_t gpio = gpioWord(now);
    uint16_t sum = checksum(magic, sample, gpio, code);
    uint16_t magicField = magic;
    if (faults_.corruptMagicReports > 0) {
        --faults_.corruptMagicReports;
        magicField = corruptedMagic;
    }
    if (faults_.corruptChecksumReports > 0) {
        --faults_.corruptChecksumReports;
        sum = static_cast<uint16_t>(~sum);
    }

    writeWord(inputReport, length, in::magic, magicField);
    writeByte(inputReport, length, in::sequence, sequence);
    writeByte(inputReport, length, in::status, statusByte);
    writeWord(inputReport, length, in::adcSample, sample);
    writeWord(inputReport, length, in::gpioInputs, gpio);
    writeWord(inputReport, length, in::code, code);
    writeWord(inputReport, length, in::checksum, sum);
}

} // namespace xdsp::emu
