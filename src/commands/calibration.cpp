// The 40-byte calibration block kept on the board: WriteCalibrate (0xF224) and
// ReadCalibrate (0xF225). The block is opaque and travels in the caller's byte order.
#include "commands/command_sequence.h"
#include "frame/debug.h"
#include "link/link_state.h"
#include "link/report_format.h"

#include <cstring>

namespace {
constexpr size_t blockOffset = 13;
constexpr size_t blockLength = 40;
constexpr size_t payloadEnd = blockOffset + blockLength;
constexpr int32_t commandErrorValue = -1;
static_assert(sizeof xdsp::link::shared.calibrationRecord == blockLength);
} // namespace

extern "C" {

XDSP_EXPORT xdsp_bool XDSP_API WriteCalibrate(const uint8_t *block) {
    using namespace xdsp;
    using namespace xdsp::commands;
    size_t outputLength = requireLink();
    if (outputLength == 0 || !reportHolds(WIDE("WriteCalibrate"), outputLength, payloadEnd) ||
        !bufferGiven(WIDE("WriteCalibrate"), WIDE("block"), block, blockLength))
        return 0;

    debugWrite(WIDE("Setting Calibrate...\n"));
    awaitFreshReport();
    waitWhileBusy(defaultBusyBoundMs);
    link::resetResponseEvent();
    if (!stage(payloadEnd,
               [&](uint8_t *staging) { std::memcpy(staging + blockOffset, block, blockLength); })) {
        linkLost();
        return 0;
    }
    SendCommand(link::command::writeCalibration);
    awaitNextReport();
    if (commandFailed(WIDE("Error in WriteCalibrate\n")))
        return 0;
    os::sleepMs(successPauseMs);
    os::setLastError(os::error::success);
    return 1;
}

XDSP_EXPORT int32_t XDSP_API ReadCalibrate(uint8_t *block) {
    using namespace xdsp;
    using namespace xdsp::commands;
    if (requireLink() == 0 ||
        !bufferGiven(WIDE("ReadCalibrate"), WIDE("block"), block, blockLength))
        return 0;

    awaitFreshReport();
    waitWhileBusy(defaultBusyBoundMs);
    link::resetResponseEvent();
    SendCommand(link::command::readCalibration);
    awaitNextReport();
    if (commandFailed(WIDE("Error in WriteFLASH\n")))
        return commandErrorValue;
    if (!responseArrived())
        return 0;
    link::loadBytes(block, link::shared.calibrationRecord, blockLength);
    os::sleepMs(successPauseMs);
    os::setLastError(os::error::success);
    return 1;
}
}
