// The board's 16-bit set of pins: set (0xF200) and get (0xF201).
#include "commands/argument_checks.h"
#include "commands/board_commands.h"
#include "commands/command_runner.h"
#include "commands/command_table.h"
#include "link/report_format.h"
#include "link/shared_state.h"

namespace xdsp::commands {

namespace {
constexpr size_t pinsField = 15;
constexpr size_t payloadEnd = 17;
constexpr size_t pinsInRecord = 2;
} // namespace

bool setPins(link::Link &link, uint16_t pins) {
    size_t outputLength = requireLink(link);
    if (outputLength == 0 || !reportHolds(WIDE("SetPIN"), outputLength, payloadEnd))
        return false;
    CommandOutcome outcome =
        runCommand(link, setPinCommand, pins, payloadEnd,
                   [&](uint8_t *staging) { link::writeWord(staging, pinsField, pins); });
    if (!outcome.sent)
        return false;
    succeed(setPinCommand);
    return true;
}

uint16_t getPins(link::Link &link) {
    if (requireLink(link) == 0)
        return 0;
    CommandOutcome outcome = runCommand(link, getPinCommand);
    if (!outcome.sent)
        return static_cast<uint16_t>(outcome.failureResult);
    if (!responseArrived(link))
        return 0;
    uint8_t value[2];
    link::loadBytes(value, link.shared.pinRecord + pinsInRecord, sizeof value);
    succeed(getPinCommand);
    return link::readWord(value, 0);
}

} // namespace xdsp::commands
