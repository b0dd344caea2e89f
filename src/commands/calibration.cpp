// The 40-byte calibration block kept on the board: write (0xF224) and read
// (0xF225). The block is opaque and travels in the caller's byte order.
#include "commands/argument_checks.h"
#include "commands/board_commands.h"
#include "commands/command_runner.h"
#include "commands/command_table.h"
#include "link/shared_state.h"
#include "xdsp/xdsp.h"

#include <cstring>

namespace xdsp::commands {

namespace {
constexpr size_t blockOffset = 13;
constexpr size_t blockLength = XDSP_CALIBRATION_BLOCK_SIZE;
constexpr size_t payloadEnd = blockOffset + blockLength;
static_assert(sizeof(link::SharedState::calibrationRecord) == blockLength);
} // namespace

bool writeCalibration(link::Link &link, const uint8_t *block) {
    size_t outputLength = requireLink(link);
    if (outputLength == 0 || !reportHolds(WIDE("WriteCalibrate"), outputLength, payloadEnd) ||
        !bufferGiven(WIDE("WriteCalibrate"), WIDE("block"), block, blockLength))
        return false;
    CommandOutcome outcome =
        runCommand(link, writeCalibrationCommand, 0, payloadEnd, [&](uint8_t *staging) {
            std::memcpy(staging + blockOffset, block, blockLength);
        });
    if (!outcome.sent)
        return false;
    succeed(writeCalibrationCommand);
    return true;
}

int32_t readCalibration(link::Link &link, uint8_t *block) {
    if (requireLink(link) == 0 ||
        !bufferGiven(WIDE("ReadCalibrate"), WIDE("block"), block, blockLength))
        return 0;
    CommandOutcome outcome = runCommand(link, readCalibrationCommand);
    if (!outcome.sent)
        return outcome.failureResult;
    if (!responseArrived(link))
        return 0;
    link::loadBytes(block, link.shared.calibrationRecord, blockLength);
    succeed(readCalibrationCommand);
    return 1;
}

} // namespace xdsp::commands
