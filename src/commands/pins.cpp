// The board's 16-bit set of pins: SetPIN (0xF200) and GetPIN (0xF201).
#include "commands/command_sequence.h"
#include "frame/debug.h"
#include "link/link_state.h"
#include "link/report_format.h"

namespace {
constexpr size_t pinsField = 15;
constexpr size_t payloadEnd = 17;
constexpr size_t pinsInRecord = 2;
constexpr uint16_t commandErrorValue = 0xFFFF;
const xdsp::Char16 *const pinErrorText = WIDE("Error in WriteFLASH\n");
} // namespace

extern "C" {

// The first argument has no meaning to the board and is not sent.
XDSP_EXPORT xdsp_bool XDSP_API SetPIN(uint32_t, uint16_t pins) {
    using namespace xdsp;
    using namespace xdsp::commands;
    size_t outputLength = requireLink();
    if (outputLength == 0 || !reportHolds(WIDE("SetPIN"), outputLength, payloadEnd))
        return 0;

    debugFormat(WIDE("Setting PINs %04X...\n"), static_cast<unsigned>(pins));
    awaitFreshReport();
    waitWhileBusy(defaultBusyBoundMs);
    link::resetResponseEvent();
    if (!stage(payloadEnd, [&](uint8_t *staging) { link::writeWord(staging, pinsField, pins); })) {
        linkLost();
        return 0;
    }
    SendCommand(link::command::setPin);
    awaitNextReport();
    if (commandFailed(pinErrorText))
        return 0;
    os::sleepMs(successPauseMs);
    os::setLastError(os::error::success);
    return 1;
}

XDSP_EXPORT uint16_t XDSP_API GetPIN(void) {
    using namespace xdsp;
    using namespace xdsp::commands;
    if (requireLink() == 0)
        return 0;
    awaitFreshReport();
    waitWhileBusy(defaultBusyBoundMs);
    link::resetResponseEvent();
    SendCommand(link::command::getPin);
    awaitNextReport();
    if (commandFailed(pinErrorText))
        return commandErrorValue;
    if (!responseArrived())
        return 0;
    uint8_t value[2];
    link::loadBytes(value, link::shared.pinRecord + pinsInRecord, sizeof value);
    os::sleepMs(successPauseMs);
    os::setLastError(os::error::success);
    return link::readWord(value, 0);
}
}
