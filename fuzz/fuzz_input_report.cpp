// One input report as the poll thread takes it, of any length and content.
// The first byte chooses which header checks the report is made to pass and
// which response code it carries, so that every response store is reached,
// not only the reports that the checks turn away.
#include "fuzz_support.h"
#include "link/input_dispatch.h"
#include "link/link.h"
#include "link/poll_run.h"
#include "link/report_format.h"
#include "link/shared_state.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace {
using namespace xdsp::link;

constexpr uint16_t knownCodes[] = {
    response::productName, response::layout,      response::flashRead,
    response::spiTransfer, response::spiBatch,    response::pellix,
    response::pin,         response::calibration, response::teds};
constexpr size_t knownCodeCount = sizeof knownCodes / sizeof knownCodes[0];

namespace choice {
constexpr uint8_t validMagic = 0x01;
constexpr uint8_t payloadBit = 0x02;
constexpr uint8_t validChecksum = 0x04;
constexpr uint8_t knownCode = 0x08;
constexpr uint8_t repeatedSequence = 0x10;
constexpr unsigned codeShift = 5; // the top bits pick one of the known codes
} // namespace choice

bool isKnownCode(uint16_t code) {
    return std::find(knownCodes, knownCodes + knownCodeCount, code) != knownCodes + knownCodeCount;
}

Link board;
SharedState &shared = board.shared;

// The command on the wire is the one staged last, so every accepted answer
// with a payload is this command's and wakes the caller.
PollRun &fuzzRun() {
    static PollRun run;
    static uint8_t wire[output::payload] = {};
    static uint8_t staged[output::payload] = {};
    run.link = &board;
    run.writeBuffer = wire;
    run.stagingReport = staged;
    if (run.responseEvent == nullptr)
        run.responseEvent = xdsp::os::eventCreate();
    if (run.lock == nullptr)
        run.lock = xdsp::os::lockCreate();
    return run;
}

void takeReport(uint8_t choices, const uint8_t *data, size_t size) {
    // Sized as the poll thread sizes its input buffer for a report this long.
    std::vector<uint8_t> report(std::max(size + 2, input::minimumBuffer));
    std::memcpy(report.data(), data, size);

    if (choices & choice::validMagic)
        writeWord(report.data(), input::magic, reportMagic);
    if (choices & choice::payloadBit)
        report[input::status] |= status::payload;
    if (choices & choice::knownCode)
        writeWord(report.data(), input::response,
                  knownCodes[(choices >> choice::codeShift) % knownCodeCount]);
    uint16_t adcSample = readWord(report.data(), input::adcSample);
    uint16_t gpio = readWord(report.data(), input::gpio);
    uint16_t code = readWord(report.data(), input::response);
    if (choices & choice::validChecksum)
        writeWord(report.data(), input::checksum, inputChecksum(adcSample, gpio, code));

    PollRun &run = fuzzRun();
    run.lastSequence = static_cast<uint8_t>(report[input::sequence] +
                                            ((choices & choice::repeatedSequence) ? 0 : 1));
    xdsp::os::eventReset(run.responseEvent);
    acceptInputReport(&run, report.data());

    bool magicGood = readWord(report.data(), input::magic) == reportMagic;
    bool accepted =
        magicGood &&
        readWord(report.data(), input::checksum) == inputChecksum(adcSample, gpio, code) &&
        (choices & choice::repeatedSequence) == 0;
    if (magicGood) {
        FUZZ_REQUIRE(shared.gpioWord.load() == gpio);
        FUZZ_REQUIRE(shared.adcValues[adcSample >> 14].load() == (adcSample & 0x3FFF));
    }
    bool stored = accepted && (report[input::status] & status::payload) != 0 && isKnownCode(code);
    FUZZ_REQUIRE(xdsp::os::eventIsSet(run.responseEvent) == stored);
    if (accepted) {
        FUZZ_REQUIRE(run.lastSequence == report[input::sequence]);
        FUZZ_REQUIRE(std::all_of(report.begin() + input::payload,
                                 report.begin() + input::payloadEnd,
                                 [](uint8_t byte) { return byte == 0; }));
    }
}
} // namespace

FUZZ_CHOOSING_TARGET(takeReport)
