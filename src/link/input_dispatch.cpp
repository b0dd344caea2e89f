#include "link/input_dispatch.h"
#include "frame/debug.h"
#include "link/gpio_signal.h"
#include "link/poll_run.h"
#include "link/report_format.h"
#include "link/shared_state.h"

#include <cstring>

namespace xdsp::link {

namespace {
constexpr size_t productNameOffset = 16; // within the product-name record
constexpr uint16_t flashReadLimit = 256; // largest length stored
constexpr uint16_t transferLimit = 485;

void storeProductName(SharedState &shared, const uint8_t *report) {
    storeBytes(shared.productNameRecord, report + input::payload, sizeof shared.productNameRecord);
    char name[sizeof shared.productNameRecord - productNameOffset + 1];
    std::memcpy(name, report + input::payload + productNameOffset, sizeof name - 1);
    name[sizeof name - 1] = 0;
    debugWrite(WIDE("HID: ProductName: "));
    debugWriteNarrow(name);
    debugWrite(WIDE("\n"));
}

// Copies a length-prefixed response; a length past the limit stores nothing.
// An answer to a command that a newer one has replaced is not stored either:
// the newer command cleared this store for its own answer.
void storeCounted(PollRun *run, const uint8_t *report, size_t lengthOffset, size_t dataOffset,
                  uint16_t limit, uint8_t *store, const Char16 *corruptedLine) {
    uint16_t length = readWord(report, lengthOffset);
    if (length > limit) {
        debugFormat(corruptedLine, static_cast<unsigned>(length));
        return;
    }
    os::LockHold hold(run->lock);
    if (answersStagedCommand(run, run->writeBuffer[output::sequence]))
        storeBytes(store, report + dataOffset, length);
}

// True when the code filled a store (the response event is then due).
bool dispatch(PollRun *run, const uint8_t *report, uint16_t code) {
    SharedState &shared = run->link->shared;
    switch (code) {
    case response::productName:
        storeProductName(shared, report);
        return true;
    case response::layout:
        storeBytes(shared.layoutRecord, report + input::payload, sizeof shared.layoutRecord);
        return true;
    case response::flashRead:
        storeCounted(run, report, 276, 20, flashReadLimit, shared.responseBuffer,
                     WIDE("HID: Corrupted Data Length (0x%04X)\n"));
        return true;
    case response::spiTransfer:
    case response::spiBatch:
        storeCounted(run, report, 24, 28, transferLimit, shared.responseBuffer,
                     WIDE("HID: Corrupted Data Length (0x%04X)\n"));
        return true;
    case response::pellix:
        storeBytes(shared.pellixRecord, report + input::payload, sizeof shared.pellixRecord);
        return true;
    case response::pin:
        storeBytes(shared.pinRecord, report + input::payload, sizeof shared.pinRecord);
        return true;
    case response::calibration:
        storeBytes(shared.calibrationRecord, report + input::payload,
                   sizeof shared.calibrationRecord);
        return true;
    case response::teds:
        storeCounted(
            run, report, 16, 20, transferLimit, shared.tedsBuffer,
            // compat: the response event is still set, so the caller wakes and reads zeros.
            WIDE("TEDS: Corrupted Data Length (0x%04X)\n"));
        return true;
    default:
        return false;
    }
}

// A board may answer a command late, or answer one that expects nothing. The
// answer is the command's that was on the wire when its report was read; it
// wakes a waiting caller only while that command is still the last one
// staged, which is decided in the same hold of the link lock in which a new
// command resets the response event.
void signalAnswer(PollRun *run) {
    os::LockHold hold(run->lock);
    if (answersStagedCommand(run, run->writeBuffer[output::sequence]))
        os::eventSet(run->responseEvent);
}
} // namespace

void acceptInputReport(PollRun *run, uint8_t *report) {
    if (readWord(report, input::magic) != reportMagic)
        return;
    uint16_t adcSample = readWord(report, input::adcSample);
    uint16_t gpio = readWord(report, input::gpio);
    SharedState &shared = run->link->shared;
    storeGpioWord(shared, gpio);
    shared.adcValues[adcSample >> 14].store(static_cast<uint16_t>(adcSample & 0x3FFF));

    uint16_t code = readWord(report, input::response);
    if (readWord(report, input::checksum) != inputChecksum(adcSample, gpio, code))
        return;
    uint8_t sequence = report[input::sequence];
    if (sequence == run->lastSequence)
        return;
    run->lastSequence = sequence;

    if ((report[input::status] & status::payload) != 0 && dispatch(run, report, code))
        signalAnswer(run);
    std::memset(report + input::payload, 0, input::payloadEnd - input::payload);
}

} // namespace xdsp::link
