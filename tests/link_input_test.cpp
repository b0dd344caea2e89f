#include "link/input_dispatch.h"
#include "link/link.h"
#include "link/poll_run.h"
#include "link/report_format.h"
#include "link/shared_state.h"
#include "support/capture.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <vector>

using namespace xdsp;
using namespace xdsp::link;
using xdsp::test::Capture;
using xdsp::test::Lines;
using xdsp::test::Text;

namespace {
// The stores acceptance writes: a link of the test's own.
Link board;
SharedState &shared = board.shared;

// A poll thread's run as acceptance sees it, without a device: the command
// on the wire is the one staged last, unless a test stages a newer one.
class AcceptanceRun {
  public:
    AcceptanceRun() {
        run_.link = &board;
        run_.responseEvent = os::eventCreate();
        run_.lock = os::lockCreate();
        run_.writeBuffer = wire_;
        run_.stagingReport = staged_;
        run_.lastSequence = 0xFF;
    }
    ~AcceptanceRun() {
        os::eventClose(run_.responseEvent);
        os::lockDelete(run_.lock);
    }
    void stageNewerCommand() { staged_[output::sequence] = 1; }
    // Accepts the report; true when it set the response event.
    bool accept(std::vector<uint8_t> &report) {
        os::eventReset(run_.responseEvent);
        acceptInputReport(&run_, report.data());
        return os::eventIsSet(run_.responseEvent);
    }
    bool accept(std::vector<uint8_t> &&report) { return accept(report); }
    uint8_t lastSequence() const { return run_.lastSequence; }

  private:
    uint8_t wire_[output::payload] = {};
    uint8_t staged_[output::payload] = {};
    PollRun run_;
};

std::vector<uint8_t> inputReport(uint16_t code, uint8_t sequence, uint8_t status = 0x04,
                                 uint16_t adc = 0x4123, uint16_t gpio = 0x0400) {
    std::vector<uint8_t> report(input::minimumBuffer, 0);
    writeWord(report.data(), input::magic, reportMagic);
    report[input::sequence] = sequence;
    report[input::status] = status;
    writeWord(report.data(), input::adcSample, adc);
    writeWord(report.data(), input::gpio, gpio);
    writeWord(report.data(), input::response, code);
    writeWord(report.data(), input::checksum, inputChecksum(adc, gpio, code));
    return report;
}

// An SPI transfer's answer: the count at 24, the bytes read from 28.
std::vector<uint8_t> transferAnswer(uint8_t sequence, const std::vector<uint8_t> &bytes) {
    auto report = inputReport(0xF030, sequence);
    writeWord(report.data(), 24, static_cast<uint16_t>(bytes.size()));
    std::copy(bytes.begin(), bytes.end(), report.begin() + 28);
    return report;
}

std::vector<uint8_t> stored(const uint8_t *store, size_t count) {
    std::vector<uint8_t> bytes(count);
    loadBytes(bytes.data(), store, count);
    return bytes;
}
} // namespace

TEST(ReportFormat, ChecksumsOfKnownReports) {
    uint8_t report[32] = {};
    buildOutputHeader(report, command::init, 0, 0x1FE);
    EXPECT_EQ(readWord(report, output::checksum), 0xCBAD);
    EXPECT_EQ(report[output::sequence], 0xFE);
    EXPECT_EQ(report[output::sequenceHigh], 0);
    EXPECT_EQ(report[0], 0) << "the report ID is never written";
    EXPECT_EQ(inputChecksum(0x4123, 0x0400, 0xF030), 0x865A);
}

TEST(InputAcceptance, MagicChecksumAndSequenceGateTheDispatch) {
    Capture capture;
    AcceptanceRun run;
    shared.gpioWord.store(0);
    shared.adcValues[1].store(0);

    auto badMagic = inputReport(0xF030, 0x10);
    badMagic[input::magic] = 0x00;
    EXPECT_FALSE(run.accept(badMagic));
    EXPECT_EQ(shared.gpioWord.load(), 0) << "a wrong magic stores nothing";
    EXPECT_EQ(badMagic[input::payload + 20], 0);

    auto badChecksum = transferAnswer(0x10, {0xAA, 0, 0});
    badChecksum[input::checksum] ^= 1;
    EXPECT_FALSE(run.accept(badChecksum));
    EXPECT_EQ(shared.gpioWord.load(), 0x0400) << "GPIO and ADC come before the checksum";
    EXPECT_EQ(shared.adcValues[1].load(), 0x0123);
    EXPECT_EQ(run.lastSequence(), 0xFF);
    EXPECT_EQ(badChecksum[28], 0xAA) << "a report that stopped early keeps its payload";

    auto good = transferAnswer(0x10, {1, 2, 3});
    EXPECT_TRUE(run.accept(good));
    EXPECT_EQ(stored(shared.responseBuffer, 3), (std::vector<uint8_t>{1, 2, 3}));
    EXPECT_EQ(run.lastSequence(), 0x10);
    for (size_t offset = input::payload; offset < input::payloadEnd; ++offset)
        ASSERT_EQ(good[offset], 0) << "payload cleared at " << offset;

    EXPECT_FALSE(run.accept(transferAnswer(0x10, {9})));
    EXPECT_EQ(stored(shared.responseBuffer, 1)[0], 1) << "one sequence byte is dispatched once";

    // Without the payload bit nothing is stored, but the payload is cleared.
    auto noPayload = inputReport(0xF000, 0x21, 0x00);
    noPayload[input::payload] = 7;
    EXPECT_FALSE(run.accept(noPayload));
    EXPECT_EQ(noPayload[input::payload], 0);
    EXPECT_TRUE(capture.pieces().empty());

    // A run starts as if it had seen 0xFF: a first report with 0xFF is a repeat.
    EXPECT_FALSE(AcceptanceRun().accept(inputReport(0xF030, 0xFF)));
    EXPECT_TRUE(AcceptanceRun().accept(inputReport(0xF030, 0x00)));
}

TEST(ResponseDispatch, LengthLimitsCorruptedLengthsAndFixedSizeRecords) {
    Capture capture;
    AcceptanceRun run;
    uint8_t sequence = 0;
    const struct {
        uint16_t code;
        size_t lengthAt;
        size_t dataAt;
        uint16_t most;
        const uint8_t *store;
        const Char16 *corrupted;
    } cases[] = {
        {0xF020, 276, 20, 256, shared.responseBuffer,
         WIDE("HID: Corrupted Data Length (0x0101)\n")},
        {0xF030, 24, 28, 485, shared.responseBuffer, WIDE("HID: Corrupted Data Length (0x01E6)\n")},
        {0xF031, 24, 28, 485, shared.responseBuffer, WIDE("HID: Corrupted Data Length (0x01E6)\n")},
        {0xF330, 16, 20, 485, shared.tedsBuffer, WIDE("TEDS: Corrupted Data Length (0x01E6)\n")},
    };
    for (const auto &each : cases) {
        SCOPED_TRACE(each.code);
        capture.clear();
        auto fill = static_cast<uint8_t>(each.code);
        auto longest = inputReport(each.code, sequence++);
        writeWord(longest.data(), each.lengthAt, each.most);
        std::memset(longest.data() + each.dataAt, fill, each.most);
        EXPECT_TRUE(run.accept(longest));
        EXPECT_EQ(stored(each.store, each.most), std::vector<uint8_t>(each.most, fill));

        auto tooLong = inputReport(each.code, sequence++);
        writeWord(tooLong.data(), each.lengthAt, each.most + 1);
        std::memset(tooLong.data() + each.dataAt, 0x11, each.most);
        EXPECT_TRUE(run.accept(tooLong)) << "the waiting caller still wakes";
        EXPECT_EQ(stored(each.store, each.most), std::vector<uint8_t>(each.most, fill));
        EXPECT_EQ(capture.pieces(), Lines{each.corrupted});
    }

    // Fixed-size records are stored whole; the product name's comes with its line.
    capture.clear();
    const struct {
        uint16_t code;
        uint8_t *store;
        size_t size;
    } records[] = {{0xF000, shared.productNameRecord, XDSP_PRODUCT_NAME_RECORD_SIZE},
                   {0xF001, shared.layoutRecord, XDSP_LAYOUT_RECORD_SIZE},
                   {0xF100, shared.pellixRecord, XDSP_PELLIX_RECORD_SIZE},
                   {0xF201, shared.pinRecord, 500},
                   {0xF225, shared.calibrationRecord, XDSP_CALIBRATION_BLOCK_SIZE}};
    for (const auto &each : records) {
        auto report = inputReport(each.code, sequence++);
        for (size_t i = 0; i < 500; ++i)
            report[input::payload + i] = static_cast<uint8_t>(i + 1);
        std::memcpy(report.data() + input::payload + 16, "Board X\0", 8);
        auto payload = report.begin() + input::payload;
        std::vector<uint8_t> expected(payload, payload + static_cast<std::ptrdiff_t>(each.size));
        EXPECT_TRUE(run.accept(report)) << std::hex << each.code;
        EXPECT_EQ(stored(each.store, each.size), expected) << std::hex << each.code;
    }
    EXPECT_EQ(capture.pieces(), (Lines{WIDE("HID: ProductName: "), WIDE("Board X"), WIDE("\n")}));

    EXPECT_FALSE(run.accept(inputReport(0xF0AA, sequence++))) << "an unknown code sets no event";
}

// A board may answer a command after the next one is staged: the answer wakes
// nobody, and counted answers stay out of the stores the newer command cleared.
TEST(ResponseDispatch, AnswersToAReplacedCommandWakeNobody) {
    Capture capture;
    AcceptanceRun run;
    run.stageNewerCommand();
    std::memset(shared.responseBuffer, 0, 4);
    EXPECT_FALSE(run.accept(transferAnswer(0x10, {0x5A, 0x5A, 0x5A, 0x5A})));
    EXPECT_EQ(stored(shared.responseBuffer, 4), std::vector<uint8_t>(4, 0));

    auto corrupted = inputReport(0xF330, 0x11);
    writeWord(corrupted.data(), 16, 486);
    EXPECT_FALSE(run.accept(corrupted));

    auto name = inputReport(0xF000, 0x12);
    std::memcpy(name.data() + input::payload + 16, "Late\0", 5);
    EXPECT_FALSE(run.accept(name));
    EXPECT_EQ(capture.pieces(), (Lines{WIDE("TEDS: Corrupted Data Length (0x01E6)\n"),
                                       WIDE("HID: ProductName: "), WIDE("Late"), WIDE("\n")}))
        << "whole records are still stored, with their line";
}
