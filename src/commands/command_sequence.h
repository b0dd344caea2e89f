// The steps that the board's commands share: the link check, the wait for a
// fresh report, the bounded busy wait, staging under the link lock, the error
// check with its message box, and the refusal of arguments that do not fit.
#pragma once

#include "frame/text.h"
#include "link/transaction.h"

#include <cstddef>
#include <cstdint>

namespace xdsp::commands {

// The bound of every busy wait that has no other one: as long as the board
// gets for a command's own bounded waits, after which the command goes out.
inline constexpr uint32_t defaultBusyBoundMs = 1000;
inline constexpr uint32_t successPauseMs = 200;
inline constexpr size_t responseBufferSize = 1024;

// Step 1: the output report length of the running link; 0, with last-error 6,
// when no poll thread runs.
size_t requireLink();

// Argument checks made before anything is staged or sent; each is false after
// a refusal, which writes "<operation>: ..." to the debug output and sets
// last-error 87.
bool argumentFits(const Char16 *operation, const Char16 *argument, size_t value, size_t limit);
// The output report must hold the command's fixed fields, which end at end.
bool reportHolds(const Char16 *operation, size_t outputLength, size_t end);
// Room in the output report from offset on.
inline size_t roomFrom(size_t outputLength, size_t offset) {
    return outputLength > offset ? outputLength - offset : 0;
}
// A buffer pointer must not be null when count bytes go through it.
bool bufferGiven(const Char16 *operation, const Char16 *argument, const void *buffer, size_t count);

// Resets the report event and waits for the next input report; the outcome is
// not examined.
void awaitFreshReport();
// The report that follows a sent command.
void awaitNextReport();

// While a busy bit of the status word is set, polls it every 1 ms for at most
// boundMs, between "Waiting for previous command to complete..." and "Done.\n"
// (or "Done.  (timeout)\n" when the bits stayed set). The caller goes on either way.
void waitWhileBusy(uint32_t boundMs);

// Runs write(staging) under the link lock when the staging report holds end
// bytes; false when the link went away (or changed) since requireLink().
template <typename Write> bool stage(size_t end, Write write) {
    link::StagingReport staging = link::enterStaging();
    if (staging.bytes == nullptr)
        return false;
    bool fits = end <= staging.length;
    if (fits)
        write(staging.bytes);
    link::leaveStaging(staging);
    return fits;
}
// Last-error 6 for a link lost between the check and the staging.
void linkLost();

// Step 9: true when the status word's error bit is set; then "Command Error..."
// is written, the message box (caption "Error", style 0) shown and
// last-error 1359 set.
bool commandFailed(const Char16 *boxText);

// Waits up to 10000 ms for the response event and tests it once more; when it
// is not set, writes "Invalid SPI Response.\n" and "SPI Complete.\n" and sets
// last-error 1359.
bool responseArrived();

// Clears the 1024-byte response buffer or the TEDS buffer before a command.
void clearResponseBuffer();
void clearTedsBuffer();

} // namespace xdsp::commands
