// The board's flash memory by address: WriteFLASH (0xF010) and ReadFLASH (0xF020).
// Both carry at most 256 bytes; larger counts are cut to that, not refused.
#include "commands/command_sequence.h"
#include "frame/debug.h"
#include "link/link_state.h"
#include "link/report_format.h"

#include <algorithm>
#include <cstring>

namespace {
constexpr size_t addressField = 13;
constexpr size_t flashWordField = 17;
constexpr size_t dataOffset = 19;
constexpr size_t countField = 275;
constexpr size_t payloadEnd = 277;
constexpr uint32_t largestTransfer = 256;
constexpr uint32_t readBusyBoundMs = 500;
constexpr uint32_t readSettleMs = 100;
const xdsp::Char16 *const flashErrorText = WIDE("Error in WriteFLASH\n");

void stageAddress(uint8_t *staging, uint32_t address, uint16_t flashWord, uint32_t count) {
    using xdsp::link::writeWord;
    writeWord(staging, addressField, static_cast<uint16_t>(address));
    writeWord(staging, addressField + 2, static_cast<uint16_t>(address >> 16));
    writeWord(staging, flashWordField, flashWord);
    writeWord(staging, countField, static_cast<uint16_t>(count));
}
} // namespace

extern "C" {

XDSP_EXPORT xdsp_bool XDSP_API WriteFLASH(uint32_t address, uint16_t flashWord, const uint8_t *data,
                                          uint32_t count) {
    using namespace xdsp;
    using namespace xdsp::commands;
    size_t outputLength = requireLink();
    if (outputLength == 0)
        return 0;
    uint32_t sent = std::min(count, largestTransfer);
    if (!reportHolds(WIDE("WriteFLASH"), outputLength, payloadEnd) ||
        !bufferGiven(WIDE("WriteFLASH"), WIDE("data"), data, sent))
        return 0;

    debugFormat(WIDE("Writing to FLASH at %08X...\n"), address);
    awaitFreshReport();
    waitWhileBusy(defaultBusyBoundMs);
    link::resetResponseEvent();
    bool staged = stage(payloadEnd, [&](uint8_t *staging) {
        stageAddress(staging, address, flashWord, sent);
        if (sent != 0)
            std::memcpy(staging + dataOffset, data, sent);
    });
    if (!staged) {
        linkLost();
        return 0;
    }
    SendCommand(link::command::writeFlash);
    awaitNextReport();
    if (commandFailed(flashErrorText))
        return 0;
    os::sleepMs(successPauseMs);
    os::setLastError(os::error::success);
    return 1;
}

XDSP_EXPORT xdsp_bool XDSP_API ReadFLASH(uint32_t address, uint8_t *buffer, uint32_t count) {
    using namespace xdsp;
    using namespace xdsp::commands;
    size_t outputLength = requireLink();
    if (outputLength == 0)
        return 0;
    uint32_t wanted = std::min(count, largestTransfer);
    if (!reportHolds(WIDE("ReadFLASH"), outputLength, payloadEnd) ||
        !bufferGiven(WIDE("ReadFLASH"), WIDE("buffer"), buffer, wanted))
        return 0;

    debugWrite(WIDE("Reading from FLASH...\n"));
    awaitFreshReport();
    waitWhileBusy(readBusyBoundMs);
    bool staged =
        stage(payloadEnd, [&](uint8_t *staging) { stageAddress(staging, address, 0, wanted); });
    if (!staged) {
        linkLost();
        return 0;
    }
    SendCommand(link::command::readFlash);
    awaitNextReport();
    debugWrite(WIDE("Command Sent.  Waiting for FLASH Response...\n"));
    os::sleepMs(readSettleMs);
    awaitFreshReport();
    if (commandFailed(flashErrorText))
        return 0;
    // Whatever came: a late or short answer leaves earlier bytes in the buffer.
    link::waitForResponse(link::responseTimeoutMs);
    link::loadBytes(buffer, link::shared.responseBuffer, wanted);
    os::setLastError(os::error::success);
    return 1;
}
}
