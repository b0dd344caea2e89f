// A batch of SPI transfers described by a list and one data block (command 0xF031).
#include "commands/command_sequence.h"
#include "commands/spi_transfer.h"
#include "frame/debug.h"
#include "link/link_state.h"
#include "link/report_format.h"

#include <cstring>

namespace {
constexpr size_t listOffset = 25;
constexpr size_t dataOffset = 125;
constexpr uint8_t listTerminator = 0xFF;
// The list and its terminator end before the data block.
constexpr size_t longestList = dataOffset - listOffset - 1;
} // namespace

extern "C" {

XDSP_EXPORT xdsp_bool XDSP_API BatchSPI(uint16_t spiSelect, uint16_t busyMask, int32_t modeFlag,
                                        uint16_t spiSettingA, uint16_t spiSettingB,
                                        const uint8_t *batchList, uint32_t batchListLength,
                                        const uint8_t *batchData, uint32_t batchDataLength,
                                        uint8_t *readData, uint32_t readLength) {
    using namespace xdsp;
    using namespace xdsp::commands;
    const Char16 *name = WIDE("BatchSPI");
    size_t outputLength = requireLink();
    if (outputLength == 0)
        return 0;
    // A list that would run into the data block, a block past the report or a
    // read past the response buffer is refused before anything is staged.
    size_t listEnd = listOffset + batchListLength + 1;
    if (!argumentFits(name, WIDE("batchListLength"), batchListLength, longestList) ||
        !reportHolds(name, outputLength, listEnd) ||
        !argumentFits(name, WIDE("batchDataLength"), batchDataLength,
                      roomFrom(outputLength, dataOffset)) ||
        !argumentFits(name, WIDE("readLength"), readLength, responseBufferSize) ||
        !bufferGiven(name, WIDE("batchList"), batchList, batchListLength) ||
        !bufferGiven(name, WIDE("batchData"), batchData, batchDataLength) ||
        !bufferGiven(name, WIDE("readData"), readData, readLength))
        return 0;

    debugWrite(WIDE("Writing to Batch SPI...\n"));
    awaitFreshReport();
    // Bounded as the single transfer's wait is; the batch then goes out anyway.
    waitWhileBusy(defaultBusyBoundMs);
    link::resetResponseEvent();
    SpiSettings settings{spiSelect, busyMask, modeFlag, spiSettingA, spiSettingB};
    size_t end = batchDataLength != 0 ? dataOffset + batchDataLength : listEnd;
    bool staged = stage(end, [&](uint8_t *staging) {
        stageSpiSettings(staging, settings);
        if (batchListLength != 0)
            std::memcpy(staging + listOffset, batchList, batchListLength);
        staging[listOffset + batchListLength] = listTerminator;
        link::writeWord(staging, spi::readLength, static_cast<uint16_t>(readLength));
        if (batchDataLength != 0)
            std::memcpy(staging + dataOffset, batchData, batchDataLength);
    });
    if (!staged) {
        linkLost();
        return 0;
    }
    clearResponseBuffer();
    SendCommand(link::command::spiBatch);
    awaitNextReport();
    if (readLength != 0)
        debugWrite(WIDE("Command Sent.  Waiting for SPI Response...\n"));
    return finishSpiTransfer(readData, readLength);
}
}
