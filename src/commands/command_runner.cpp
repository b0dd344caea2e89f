#include "commands/command_runner.h"
#include "frame/debug.h"
#include "link/report_format.h"
#include "link/shared_state.h"
#include "os/os.h"

namespace xdsp::commands {

namespace {
constexpr uint32_t busyPollMs = 1;
static_assert(sizeof(link::SharedState::responseBuffer) == responseBufferSize);
static_assert(sizeof(link::SharedState::tedsBuffer) == responseBufferSize);

bool busy(link::Link &link) {
    return (link.shared.statusWord.load() & link::status::busy) != 0;
}

// The report event is reset and the next input report awaited; whether it
// came is not examined.
void awaitFreshReport(link::Link &link) {
    link::resetReportEvent(link);
    link::waitForReport(link, link::reportTimeoutMs);
}

// Polls the status word every 1 ms for at most the bound; the command goes out
// either way.
void waitWhileBusy(link::Link &link, const CommandDescription &command) {
    if (!busy(link))
        return;
    debugWrite(WIDE("Waiting for previous command to complete..."));
    uint32_t start = os::tickMs();
    // Unsigned differences stay right across the tick count's wrap.
    while (busy(link) && os::tickMs() - start < command.busyBoundMs)
        os::sleepMs(busyPollMs);
    bool timedOut = busy(link) && command.showsBusyTimeout;
    // compat: two blanks before "(timeout)", kept word for word.
    debugWrite(timedOut ? WIDE("Done.  (timeout)\n") : WIDE("Done.\n"));
}

link::StoreToClear storeCleared(link::Link &link, ClearedStore store) {
    switch (store) {
    case ClearedStore::none:
        break;
    case ClearedStore::responseBuffer:
        return {link.shared.responseBuffer, sizeof link.shared.responseBuffer};
    case ClearedStore::tedsBuffer:
        return {link.shared.tedsBuffer, sizeof link.shared.tedsBuffer};
    }
    return {};
}

// The error bit after the command: "Command Error...", the message box
// (caption "Error", a plain OK box) and last-error 1359.
bool commandFailed(link::Link &link, const Char16 *boxText) {
    if ((link.shared.statusWord.load() & link::status::error) == 0)
        return false;
    debugWrite(WIDE("Command Error..."));
    // compat: caption "Error" and a plain OK box, as users know it.
    showMessage(boxText, WIDE("Error"), os::messageStyle::plain);
    os::setLastError(os::error::internalError);
    return true;
}
} // namespace

size_t requireLink(link::Link &link) {
    size_t length = link::StagingAccess(link).length();
    if (length == 0)
        os::setLastError(os::error::invalidHandle);
    return length;
}

void beginCommand(link::Link &link, const CommandDescription &command, uint32_t openingValue) {
    if (command.openingLine != nullptr)
        debugFormat(command.openingLine, openingValue);
    if (command.awaitsFreshReport)
        awaitFreshReport(link);
    waitWhileBusy(link, command);
    if (command.resetsResponse)
        link::resetResponseEvent(link);
}

CommandOutcome completeCommand(link::Link &link, const CommandDescription &command) {
    link::sendCommand(link, command.code, storeCleared(link, command.clears));
    if (command.awaitsNextReport)
        link::waitForReport(link, link::reportTimeoutMs);
    if (command.sentLine != nullptr)
        debugWrite(command.sentLine);
    if (command.settleMs != 0) {
        os::sleepMs(command.settleMs);
        awaitFreshReport(link);
    }
    if (command.errorBoxText != nullptr && commandFailed(link, command.errorBoxText))
        return {false, command.errorResult};
    return {true, 0};
}

CommandOutcome linkLost() {
    os::setLastError(os::error::invalidHandle);
    return {false, 0};
}

bool responseArrived(link::Link &link) {
    link::waitForResponse(link, link::responseTimeoutMs);
    if (link::waitForResponse(link, 0))
        return true;
    debugWrite(WIDE("Invalid SPI Response.\n"));
    debugWrite(WIDE("SPI Complete.\n"));
    os::setLastError(os::error::internalError);
    return false;
}

void succeed(const CommandDescription &command) {
    if (command.successPauseMs != 0)
        os::sleepMs(command.successPauseMs);
    os::setLastError(os::error::success);
}

} // namespace xdsp::commands
