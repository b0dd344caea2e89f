// Commands that set the board's outputs: GPIO outputs, ADC sampling and the
// Pellix record.
#include "commands/command_sequence.h"
#include "link/link_state.h"
#include "link/report_format.h"

namespace {
constexpr size_t pellixValueA = 13;
constexpr size_t pellixValueB = 17;
constexpr size_t pellixValueC = 19;
constexpr size_t pellixPad = 20;
constexpr size_t pellixEnd = 21;
constexpr uint32_t waitSignalled = 0;
constexpr uint32_t waitTimedOut = 258;
} // namespace

extern "C" {

XDSP_EXPORT void XDSP_API SetGPIOOut(uint16_t gpioOut) {
    // Stored first: every later header carries it, even without a link now.
    xdsp::link::shared.gpioOutputWord.store(gpioOut);
    SendCommand(xdsp::link::command::applyGpio);
}

XDSP_EXPORT uint32_t XDSP_API XMOS_EnableADC(int32_t enable) {
    using namespace xdsp::link;
    SendCommand(enable != 0 ? command::adcOn : command::adcOff);
    return waitForReport(reportTimeoutMs) ? waitSignalled : waitTimedOut;
}

XDSP_EXPORT xdsp_bool XDSP_API WritePellix(uint32_t valueA, uint16_t valueB, uint8_t valueC) {
    using namespace xdsp;
    using namespace xdsp::commands;
    size_t outputLength = requireLink();
    if (outputLength == 0 || !reportHolds(WIDE("WritePellix"), outputLength, pellixEnd))
        return 0;
    // Bounded so that stuck busy bits cannot hang the caller; the record is
    // sent anyway, as the other commands send theirs.
    waitWhileBusy(defaultBusyBoundMs);
    bool staged = stage(pellixEnd, [&](uint8_t *staging) {
        link::writeWord(staging, pellixValueA, static_cast<uint16_t>(valueA));
        link::writeWord(staging, pellixValueA + 2, static_cast<uint16_t>(valueA >> 16));
        link::writeWord(staging, pellixValueB, valueB);
        staging[pellixValueC] = valueC;
        staging[pellixPad] = 0;
    });
    if (!staged) {
        linkLost();
        return 0;
    }
    SendCommand(link::command::writePellix);
    return 0;
}
}
