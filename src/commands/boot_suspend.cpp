// Booting and suspending the board: the full command handshake with its
// bounded busy wait, the error check and the pause after success.
#include "commands/command_sequence.h"
#include "frame/debug.h"
#include "link/link_state.h"
#include "link/report_format.h"

namespace {
void runPowerCommand(const xdsp::Char16 *openingLine, uint16_t code,
                     const xdsp::Char16 *errorText) {
    using namespace xdsp;
    using namespace xdsp::commands;
    if (requireLink() == 0)
        return;
    debugWrite(openingLine);
    awaitFreshReport();
    waitWhileBusy(defaultBusyBoundMs);
    link::resetResponseEvent();
    SendCommand(code);
    awaitNextReport();
    if (commandFailed(errorText))
        return;
    os::sleepMs(successPauseMs);
    os::setLastError(os::error::success);
}
} // namespace

extern "C" {

XDSP_EXPORT void XDSP_API BootDevice(int32_t bootFlag) {
    using xdsp::link::command::boot;
    using xdsp::link::command::bootSecondForm;
    runPowerCommand(WIDE("BootDevice()\r\n"), bootFlag != 0 ? boot : bootSecondForm,
                    WIDE("Error in BootDevice\n"));
}

XDSP_EXPORT void XDSP_API SuspendDevice(void) {
    runPowerCommand(WIDE("SuspendDevice()\r\n"), xdsp::link::command::suspend,
                    WIDE("Error in SuspendDevice\n"));
}
}
