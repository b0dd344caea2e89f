// The board's small memories, each written and read by its own commands.
//
// Pins: 0xF200 sets the 16-bit pins value from offset 15; 0xF201 answers with
// a 500-byte PIN record that holds the value at record byte 2.
// Calibration: 0xF224 stores the 40 bytes from offset 13; 0xF225 answers
// with them.
// Pellix record: 0xF101 stores the 8 bytes from offset 13 and answers 0xF100
// with them.
// TEDS memory (512 bytes): 0xF330 carries a control word at 13, which this
// board takes as the memory address to start at, the number of bytes to read
// at 15 and to write at 17, and the bytes to write from 19. It writes first
// and then reads from the same address; bytes past the memory's end are
// dropped on writing and not delivered on reading. A read is answered by
// 0xF330 with the delivered count at input offset 16 and the bytes from 20.
#include "firmware.h"
#include "report_fields.h"

#include <algorithm>

namespace xdsp::emu {

namespace {
constexpr size_t pinsField = 15;
constexpr size_t pinRecordLength = 500;
constexpr size_t pinsInRecord = 2;
constexpr size_t calibrationField = 13;
constexpr size_t pellixField = 13;
constexpr size_t tedsControlField = 13;
constexpr size_t tedsReadCountField = 15;
constexpr size_t tedsWriteCountField = 17;
constexpr size_t tedsWriteData = 19;
constexpr size_t tedsAnswerCount = 16;
constexpr size_t tedsAnswerData = 20;
constexpr uint16_t largestTedsAnswer = 485;

template <size_t N>
void copyFromReport(const Command &command, size_t offset, std::array<uint8_t, N> &store) {
    for (size_t i = 0; i < N; ++i)
        store[i] = report::readByte(command.report, command.length, offset + i);
}
} // namespace

void Firmware::setPins(const Command &command) {
    pins_ = report::readWord(command.report, command.length, pinsField);
}

void Firmware::sendPins(const Command &) {
    uint8_t record[pinRecordLength] = {};
    report::writeWord(record, sizeof record, pinsInRecord, pins_);
    respond(report::command::getPins, record, sizeof record);
}

void Firmware::writeCalibration(const Command &command) {
    copyFromReport(command, calibrationField, calibration_);
}

void Firmware::sendCalibration(const Command &) {
    respond(report::command::readCalibration, calibration_.data(), calibration_.size());
}

void Firmware::writePellix(const Command &command) {
    copyFromReport(command, pellixField, pellix_);
    respond(report::response::pellix, pellix_.data(), pellix_.size());
}

void Firmware::tedsTransfer(const Command &command) {
    using namespace report;
    uint16_t address = readWord(command.report, command.length, tedsControlField);
    uint16_t readCount = readWord(command.report, command.length, tedsReadCountField);
    uint16_t writeCount = readWord(command.report, command.length, tedsWriteCountField);
    size_t room = address < teds_.size() ? teds_.size() - address : 0;
    size_t carried = command.length > tedsWriteData ? command.length - tedsWriteData : 0;
    for (size_t i = 0; i < std::min({size_t{writeCount}, room, carried}); ++i)
        teds_[address + i] = readByte(command.report, command.length, tedsWriteData + i);
    if (readCount != 0)
        respondCounted(command::tedsTransfer, tedsAnswerCount, tedsAnswerData,
                       teds_.data() + std::min<size_t>(address, teds_.size()),
                       std::min<size_t>(readCount, room), largestTedsAnswer);
}

} // namespace xdsp::emu
