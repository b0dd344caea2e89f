// The board's flash memory by address: write (0xF010) and read (0xF020). Both
// carry at most 256 bytes; larger counts are cut to that, not refused.
#include "commands/argument_checks.h"
#include "commands/board_commands.h"
#include "commands/command_runner.h"
#include "commands/command_table.h"
#include "link/report_format.h"
#include "link/shared_state.h"

#include <algorithm>
#include <cstring>

namespace xdsp::commands {

namespace {
constexpr size_t addressField = 13;
constexpr size_t flashWordField = 17;
constexpr size_t dataOffset = 19;
constexpr size_t countField = 275;
constexpr size_t payloadEnd = 277;
// compat: counts over this are cut to it without an error, as they always were.
constexpr uint32_t largestTransfer = 256;

void stageAddress(uint8_t *staging, uint32_t address, uint16_t flashWord, uint32_t count) {
    link::writeWord(staging, addressField, static_cast<uint16_t>(address));
    link::writeWord(staging, addressField + 2, static_cast<uint16_t>(address >> 16));
    link::writeWord(staging, flashWordField, flashWord);
    link::writeWord(staging, countField, static_cast<uint16_t>(count));
}
} // namespace

bool writeFlash(link::Link &link, uint32_t address, uint16_t flashWord, const uint8_t *data,
                uint32_t count) {
    size_t outputLength = requireLink(link);
    if (outputLength == 0)
        return false;
    uint32_t sent = std::min(count, largestTransfer);
    if (!reportHolds(WIDE("WriteFLASH"), outputLength, payloadEnd) ||
        !bufferGiven(WIDE("WriteFLASH"), WIDE("data"), data, sent))
        return false;

    CommandOutcome outcome =
        runCommand(link, writeFlashCommand, address, payloadEnd, [&](uint8_t *staging) {
            stageAddress(staging, address, flashWord, sent);
            if (sent != 0)
                std::memcpy(staging + dataOffset, data, sent);
        });
    if (!outcome.sent)
        return false;
    succeed(writeFlashCommand);
    return true;
}

bool readFlash(link::Link &link, uint32_t address, uint8_t *buffer, uint32_t count) {
    size_t outputLength = requireLink(link);
    if (outputLength == 0)
        return false;
    uint32_t wanted = std::min(count, largestTransfer);
    if (!reportHolds(WIDE("ReadFLASH"), outputLength, payloadEnd) ||
        !bufferGiven(WIDE("ReadFLASH"), WIDE("buffer"), buffer, wanted))
        return false;

    CommandOutcome outcome =
        runCommand(link, readFlashCommand, 0, payloadEnd,
                   [&](uint8_t *staging) { stageAddress(staging, address, 0, wanted); });
    if (!outcome.sent)
        return false;
    // compat: whatever came is copied, so a late or short answer leaves
    // earlier bytes in the buffer, and the read still succeeds.
    link::waitForResponse(link, link::responseTimeoutMs);
    link::loadBytes(buffer, link.shared.responseBuffer, wanted);
    succeed(readFlashCommand);
    return true;
}

} // namespace xdsp::commands
