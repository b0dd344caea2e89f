// Commands that set the board's outputs: GPIO outputs, ADC sampling and the
// Pellix record.
#include "commands/argument_checks.h"
#include "commands/board_commands.h"
#include "commands/command_runner.h"
#include "commands/command_table.h"
#include "link/report_format.h"
#include "link/shared_state.h"
#include "xdsp/xdsp.h"

namespace xdsp::commands {

namespace {
constexpr size_t pellixValueA = 13;
constexpr size_t pellixValueB = 17;
constexpr size_t pellixValueC = 19;
constexpr size_t pellixPad = 20;
constexpr size_t pellixEnd = 21;
} // namespace

void setGpioOutputs(link::Link &link, uint16_t gpioOut) {
    // Stored first: every later header carries it, even without a link now.
    link.shared.gpioOutputWord.store(gpioOut);
    link::sendCommand(link, link::command::applyGpio);
}

uint32_t enableAdc(link::Link &link, bool enable) {
    link::sendCommand(link, enable ? link::command::adcOn : link::command::adcOff);
    return link::waitForReport(link, link::reportTimeoutMs) ? XDSP_WAIT_SIGNALLED
                                                            : XDSP_WAIT_TIMEOUT;
}

void writePellix(link::Link &link, uint32_t valueA, uint16_t valueB, uint8_t valueC) {
    size_t outputLength = requireLink(link);
    if (outputLength == 0 || !reportHolds(WIDE("WritePellix"), outputLength, pellixEnd))
        return;
    // Bounded so that stuck busy bits cannot hang the caller; the record is
    // sent anyway, as the other commands send theirs.
    runCommand(link, writePellixCommand, 0, pellixEnd, [&](uint8_t *staging) {
        link::writeWord(staging, pellixValueA, static_cast<uint16_t>(valueA));
        link::writeWord(staging, pellixValueA + 2, static_cast<uint16_t>(valueA >> 16));
        link::writeWord(staging, pellixValueB, valueB);
        staging[pellixValueC] = valueC;
        staging[pellixPad] = 0;
    });
}

} // namespace xdsp::commands
