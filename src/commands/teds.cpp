// The TEDS memory of an attached transducer: one command writes bytes and
// reads bytes back (0xF330).
#include "commands/argument_checks.h"
#include "commands/board_commands.h"
#include "commands/command_runner.h"
#include "commands/command_table.h"
#include "frame/debug.h"
#include "link/report_format.h"
#include "link/shared_state.h"

#include <algorithm>
#include <cstring>

namespace xdsp::commands {

namespace {
constexpr size_t controlField = 13;
constexpr size_t readCountField = 15;
constexpr size_t writeCountField = 17;
constexpr size_t dataOffset = 19;
constexpr uint32_t largestFieldValue = 0xFFFF;
} // namespace

bool tedsTransfer(link::Link &link, uint16_t control, const uint8_t *writeData, uint32_t writeCount,
                  uint8_t *readData, uint32_t readCount) {
    const Char16 *name = WIDE("WriteTEDS");
    size_t outputLength = requireLink(link);
    if (outputLength == 0)
        return false;
    // Counts that would run past the report, the 16-bit fields or the TEDS
    // buffer are refused rather than cut: a cut write would change what the
    // transducer holds without telling.
    if (!reportHolds(name, outputLength, dataOffset) ||
        !argumentFits(name, WIDE("writeCount"), writeCount,
                      std::min<size_t>(largestFieldValue, outputLength - dataOffset)) ||
        !argumentFits(name, WIDE("readCount"), readCount, responseBufferSize) ||
        !bufferGiven(name, WIDE("writeData"), writeData, writeCount) ||
        !bufferGiven(name, WIDE("readData"), readData, readCount))
        return false;

    CommandOutcome outcome =
        runCommand(link, tedsCommand, 0, dataOffset + writeCount, [&](uint8_t *staging) {
            link::writeWord(staging, controlField, control);
            link::writeWord(staging, readCountField, static_cast<uint16_t>(readCount));
            link::writeWord(staging, writeCountField, static_cast<uint16_t>(writeCount));
            if (writeCount != 0)
                std::memcpy(staging + dataOffset, writeData, writeCount);
        });
    if (!outcome.sent)
        return false;
    if (readCount == 0) {
        debugWrite(WIDE("TEDS Complete.\n"));
        succeed(tedsCommand);
        return true;
    }
    link::waitForResponse(link, link::responseTimeoutMs);
    link::loadBytes(readData, link.shared.tedsBuffer, readCount);
    bool answered = link::waitForResponse(link, 0);
    debugWrite(answered ? WIDE("Valid TEDS Response.\n") : WIDE("Invalid TEDS Response.\n"));
    debugWrite(WIDE("TEDS Complete.\n"));
    if (!answered) {
        os::setLastError(os::error::internalError);
        return false;
    }
    succeed(tedsCommand);
    return true;
}

} // namespace xdsp::commands
