// SPI commands. Both carry the transfer mode word at 13, setting A at 15,
// setting B at 17, the select at 19, the busy mask at 21 and the number of
// bytes to read at 23, all handed to the peer as they came.
//
// 0xF030, one transfer: write length at 25, the bytes to write from 27.
// 0xF031, a batch: the list from 25, ended by 0xFF before offset 125; each
// list byte is one transfer that clocks out that many bytes of the data block
// (offset 125 to the end of the report), taken in turn, and clocks in as many.
//
// A transfer that reads is answered with its own code: the delivered count at
// input offset 24 and the bytes from 28, as many as were asked for, clocked in
// and fit the input report (485 at most). A board that answers write-only
// transfers too sends them a count of 0, one report later than a read's.
#include "spi_master.h"

#include "firmware.h"
#include "report_fields.h"

#include <algorithm>

namespace xdsp::emu {

namespace {
constexpr size_t modeField = 13;
constexpr size_t settingAField = 15;
constexpr size_t settingBField = 17;
constexpr size_t selectField = 19;
constexpr size_t busyMaskField = 21;
constexpr size_t readLengthField = 23;
constexpr size_t writeLengthField = 25;
constexpr size_t writeData = 27;
constexpr size_t batchList = 25;
constexpr size_t batchData = 125;
constexpr uint8_t batchListEnd = 0xFF;
constexpr size_t answerCount = 24;
constexpr size_t answerData = 28;
constexpr uint16_t largestAnswer = 485;

SpiSettings settingsOf(const Command &command) {
    using report::readWord;
    return {readWord(command.report, command.length, modeField),
            readWord(command.report, command.length, settingAField),
            readWord(command.report, command.length, settingBField),
            readWord(command.report, command.length, selectField),
            readWord(command.report, command.length, busyMaskField)};
}

// Bytes of the output report from offset on, at most count of them.
std::vector<uint8_t> reportBytes(const Command &command, size_t offset, size_t count) {
    size_t present = command.length > offset ? command.length - offset : 0;
    const uint8_t *start = command.report + std::min(offset, command.length);
    return {start, start + std::min(count, present)};
}
} // namespace

void LoopbackPeer::transfer(const SpiSettings &, const uint8_t *written, size_t writeLength,
                            uint8_t *read, size_t readLength, Clock::time_point) {
    if (writeLength != 0)
        echo_.assign(written, written + writeLength);
    for (size_t i = 0; i < readLength; ++i)
        read[i] = i < echo_.size() ? echo_[i] : 0;
}

void Firmware::clockTransfer(const SpiSettings &settings, std::vector<uint8_t> written,
                             uint8_t *read, size_t readLength, Clock::time_point now) {
    // Peers get real pointers even for empty phases, so that they may hand
    // them to memcpy and the like.
    uint8_t none = 0;
    peer_->transfer(settings, written.empty() ? &none : written.data(), written.size(),
                    read != nullptr ? read : &none, readLength, now);
    lastTransfer_ = {settings, std::move(written), readLength};
}

bool Firmware::heldByPeer(const Command &command) const {
    uint16_t mask = report::readWord(command.report, command.length, busyMaskField);
    return (mask & peer_->busyLines(command.now)) != 0;
}

// The master clocks a held transfer as soon as the peer lowers the lines in its
// mask; until then the firmware reports itself busy.
void Firmware::releaseHeldTransfer(Clock::time_point now) {
    if (heldTransfer_.empty())
        return;
    Command held{
        report::readWord(heldTransfer_.data(), heldTransfer_.size(), report::out::code),
        report::readWord(heldTransfer_.data(), heldTransfer_.size(), report::out::gpioOutputs),
        heldTransfer_.data(), heldTransfer_.size(), now};
    if (heldByPeer(held))
        return;
    std::vector<uint8_t> report = std::move(heldTransfer_);
    heldTransfer_.clear();
    held.report = report.data();
    if (held.code == report::command::spiBatch)
        spiBatch(held);
    else
        spiTransfer(held);
}

void Firmware::spiTransfer(const Command &command) {
    if (heldByPeer(command)) {
        heldTransfer_.assign(command.report, command.report + command.length);
        return;
    }
    uint16_t readLength = report::readWord(command.report, command.length, readLengthField);
    uint16_t writeLength = report::readWord(command.report, command.length, writeLengthField);
    std::vector<uint8_t> read(readLength);
    clockTransfer(settingsOf(command), reportBytes(command, writeData, writeLength), read.data(),
                  read.size(), command.now);
    if (readLength != 0 || answersWriteOnly_)
        respondCounted(report::command::spiTransfer, answerCount, answerData, read.data(),
                       read.size(), largestAnswer);
    if (readLength == 0 && answersWriteOnly_)
        ++pendingDelay_;
}

void Firmware::spiBatch(const Command &command) {
    if (heldByPeer(command)) {
        heldTransfer_.assign(command.report, command.report + command.length);
        return;
    }
    SpiSettings settings = settingsOf(command);
    uint16_t readLength = report::readWord(command.report, command.length, readLengthField);
    std::vector<uint8_t> block = reportBytes(command, batchData, command.length);
    std::vector<uint8_t> clockedIn;
    size_t taken = 0;
    for (size_t entry = batchList; entry < batchData; ++entry) {
        uint8_t count = report::readByte(command.report, command.length, entry);
        if (count == batchListEnd || entry >= command.length)
            break;
        size_t chunk = std::min<size_t>(count, block.size() - taken);
        std::vector<uint8_t> written(block.begin() + taken, block.begin() + taken + chunk);
        taken += chunk;
        size_t readSoFar = clockedIn.size();
        clockedIn.resize(readSoFar + chunk);
        clockTransfer(settings, std::move(written), clockedIn.data() + readSoFar, chunk,
                      command.now);
    }
    if (readLength != 0 || answersWriteOnly_)
        respondCounted(report::command::spiBatch, answerCount, answerData, clockedIn.data(),
                       std::min<size_t>(readLength, clockedIn.size()), largestAnswer);
    if (readLength == 0 && answersWriteOnly_)
        ++pendingDelay_;
}

} // namespace xdsp::emu
