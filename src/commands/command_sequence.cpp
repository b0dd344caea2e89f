#include "commands/command_sequence.h"
#include "frame/debug.h"
#include "link/link_state.h"
#include "link/report_format.h"
#include "os/os.h"

namespace xdsp::commands {

namespace {
constexpr uint32_t busyPollMs = 1;
constexpr uint8_t zeros[responseBufferSize] = {};
static_assert(sizeof link::shared.responseBuffer == responseBufferSize);
static_assert(sizeof link::shared.tedsBuffer == responseBufferSize);

bool busy() {
    return (link::shared.statusWord.load() & link::status::busy) != 0;
}

bool refuse() {
    os::setLastError(os::error::invalidParameter);
    return false;
}
} // namespace

size_t requireLink() {
    size_t length = 0;
    link::StagingReport staging = link::enterStaging();
    if (staging.bytes != nullptr) {
        length = staging.length;
        link::leaveStaging(staging);
    }
    if (length == 0)
        os::setLastError(os::error::invalidHandle);
    return length;
}

bool argumentFits(const Char16 *operation, const Char16 *argument, size_t value, size_t limit) {
    if (value <= limit)
        return true;
    debugFormat(WIDE("%s: %s %llu refused, at most %llu.\n"), operation, argument,
                static_cast<unsigned long long>(value), static_cast<unsigned long long>(limit));
    return refuse();
}

bool reportHolds(const Char16 *operation, size_t outputLength, size_t end) {
    if (end <= outputLength)
        return true;
    debugFormat(WIDE("%s: refused, the output report of %llu bytes cannot hold its %llu.\n"),
                operation, static_cast<unsigned long long>(outputLength),
                static_cast<unsigned long long>(end));
    return refuse();
}

bool bufferGiven(const Char16 *operation, const Char16 *argument, const void *buffer,
                 size_t count) {
    if (buffer != nullptr || count == 0)
        return true;
    debugFormat(WIDE("%s: %s is null, refused.\n"), operation, argument);
    return refuse();
}

void awaitFreshReport() {
    link::resetReportEvent();
    link::waitForReport(link::reportTimeoutMs);
}

void awaitNextReport() {
    link::waitForReport(link::reportTimeoutMs);
}

void waitWhileBusy(uint32_t boundMs) {
    if (!busy())
        return;
    debugWrite(WIDE("Waiting for previous command to complete..."));
    uint32_t start = os::tickMs();
    // Unsigned differences stay right across the tick count's wrap.
    while (busy() && os::tickMs() - start < boundMs)
        os::sleepMs(busyPollMs);
    debugWrite(busy() ? WIDE("Done.  (timeout)\n") : WIDE("Done.\n"));
}

void linkLost() {
    os::setLastError(os::error::invalidHandle);
}

bool commandFailed(const Char16 *boxText) {
    if ((link::shared.statusWord.load() & link::status::error) == 0)
        return false;
    debugWrite(WIDE("Command Error..."));
    os::messageBox(boxText, WIDE("Error"), 0);
    os::setLastError(os::error::internalError);
    return true;
}

bool responseArrived() {
    link::waitForResponse(link::responseTimeoutMs);
    if (link::waitForResponse(0))
        return true;
    debugWrite(WIDE("Invalid SPI Response.\n"));
    debugWrite(WIDE("SPI Complete.\n"));
    os::setLastError(os::error::internalError);
    return false;
}

void clearResponseBuffer() {
    link::storeBytes(link::shared.responseBuffer, zeros, sizeof zeros);
}

void clearTedsBuffer() {
    link::storeBytes(link::shared.tedsBuffer, zeros, sizeof zeros);
}

} // namespace xdsp::commands
