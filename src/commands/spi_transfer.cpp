#include "commands/spi_transfer.h"
#include "commands/argument_checks.h"
#include "commands/command_runner.h"
#include "commands/command_table.h"
#include "frame/debug.h"
#include "link/report_format.h"
#include "link/shared_state.h"

#include <algorithm>
#include <cstring>

namespace xdsp::commands {

namespace {
namespace field {
constexpr size_t mode = 13;
constexpr size_t settingA = 15;
constexpr size_t settingB = 17;
constexpr size_t select = 19;
constexpr size_t busyMask = 21;
constexpr size_t readLength = 23;
constexpr size_t writeLength = 25;
constexpr size_t writeData = 27;
constexpr size_t batchList = 25;
constexpr size_t batchData = 125;
} // namespace field

constexpr uint16_t modeWordOn = 0x0303;
constexpr uint16_t modeWordOff = 0x0101;
constexpr uint32_t largestFieldValue = 0xFFFF;
constexpr uint8_t listTerminator = 0xFF;
// The list and its terminator end before the data block.
constexpr size_t longestList = field::batchData - field::batchList - 1;

void stageSettings(uint8_t *staging, const SpiSettings &settings) {
    link::writeWord(staging, field::mode, settings.modeFlag != 0 ? modeWordOn : modeWordOff);
    link::writeWord(staging, field::settingA, settings.spiSettingA);
    link::writeWord(staging, field::settingB, settings.spiSettingB);
    link::writeWord(staging, field::select, settings.spiSelect);
    link::writeWord(staging, field::busyMask, settings.busyMask);
}

// The read phase that ends both kinds of transfer.
bool finishTransfer(link::Link &link, uint8_t *readData, uint32_t readLength) {
    if (readLength != 0) {
        link::waitForResponse(link, link::responseTimeoutMs);
        // Copied whether or not the answer came: the buffer was cleared, so a
        // missing or short answer reads as zeros.
        link::loadBytes(readData, link.shared.responseBuffer, readLength);
        if (!link::waitForResponse(link, 0)) {
            debugWrite(WIDE("Invalid SPI Response.\n"));
            debugWrite(WIDE("SPI Complete.\n"));
            os::setLastError(os::error::internalError);
            return false;
        }
        debugWrite(WIDE("Valid SPI Response.\n"));
    }
    debugWrite(WIDE("SPI Complete.\n"));
    os::setLastError(os::error::success);
    return true;
}
} // namespace

bool spiTransfer(link::Link &link, const SpiSettings &settings, const uint8_t *writeData,
                 uint32_t writeLength, uint8_t *readData, uint32_t readLength) {
    const Char16 *name = WIDE("WriteSPIEx");
    size_t outputLength = requireLink(link);
    if (outputLength == 0)
        return false;
    if (!reportHolds(name, outputLength, field::writeData) ||
        !argumentFits(name, WIDE("writeLength"), writeLength,
                      std::min<size_t>(largestFieldValue, outputLength - field::writeData)) ||
        !argumentFits(name, WIDE("readLength"), readLength, responseBufferSize) ||
        !bufferGiven(name, WIDE("writeData"), writeData, writeLength) ||
        !bufferGiven(name, WIDE("readData"), readData, readLength))
        return false;

    CommandOutcome outcome = runCommand(
        link, spiTransferCommand, 0, field::writeData + writeLength, [&](uint8_t *staging) {
            link::writeWord(staging, field::readLength, static_cast<uint16_t>(readLength));
            stageSettings(staging, settings);
            link::writeWord(staging, field::writeLength, static_cast<uint16_t>(writeLength));
            if (writeLength != 0)
                std::memcpy(staging + field::writeData, writeData, writeLength);
        });
    return outcome.sent && finishTransfer(link, readData, readLength);
}

bool spiBatch(link::Link &link, const SpiSettings &settings, const uint8_t *batchList,
              uint32_t batchListLength, const uint8_t *batchData, uint32_t batchDataLength,
              uint8_t *readData, uint32_t readLength) {
    const Char16 *name = WIDE("BatchSPI");
    size_t outputLength = requireLink(link);
    if (outputLength == 0)
        return false;
    size_t listEnd = field::batchList + batchListLength + 1;
    if (!argumentFits(name, WIDE("batchListLength"), batchListLength, longestList) ||
        !reportHolds(name, outputLength, listEnd) ||
        !argumentFits(name, WIDE("batchDataLength"), batchDataLength,
                      roomFrom(outputLength, field::batchData)) ||
        !argumentFits(name, WIDE("readLength"), readLength, responseBufferSize) ||
        !bufferGiven(name, WIDE("batchList"), batchList, batchListLength) ||
        !bufferGiven(name, WIDE("batchData"), batchData, batchDataLength) ||
        !bufferGiven(name, WIDE("readData"), readData, readLength))
        return false;

    size_t payloadEnd = batchDataLength != 0 ? field::batchData + batchDataLength : listEnd;
    CommandOutcome outcome =
        runCommand(link, spiBatchCommand, 0, payloadEnd, [&](uint8_t *staging) {
            stageSettings(staging, settings);
            if (batchListLength != 0)
                std::memcpy(staging + field::batchList, batchList, batchListLength);
            staging[field::batchList + batchListLength] = listTerminator;
            link::writeWord(staging, field::readLength, static_cast<uint16_t>(readLength));
            if (batchDataLength != 0)
                std::memcpy(staging + field::batchData, batchData, batchDataLength);
        });
    if (!outcome.sent)
        return false;
    if (readLength != 0)
        debugWrite(WIDE("Command Sent.  Waiting for SPI Response...\n"));
    return finishTransfer(link, readData, readLength);
}

} // namespace xdsp::commands
