// Flash, pins, TEDS and calibration against the emulated board: round trips,
// the staged fields, counts cut or refused, the error bit with its box, short,
// corrupted and missing answers, and the busy-wait bounds.
#include "link/report_format.h"
#include "support/commands.h"
#include "support/emulated_board.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

using namespace xdsp;
using namespace xdsp::test;

namespace {
Bytes countingBytes(size_t count, uint8_t first) {
    Bytes bytes(count);
    std::iota(bytes.begin(), bytes.end(), first);
    return bytes;
}

std::vector<Text> boxTexts(const Capture &capture) {
    std::vector<Text> texts;
    for (const MessageBoxCall &box : capture.messageBoxes()) {
        EXPECT_EQ(box.caption, Text(WIDE("Error")));
        EXPECT_EQ(box.style, 0u);
        texts.push_back(box.text);
    }
    return texts;
}

// Clears the stuck busy bits once the board has the command with this code.
struct BusyRelease {
    emu::Board *board;
    uint16_t code;
    static uint32_t run(void *argument) {
        auto *self = static_cast<BusyRelease *>(argument);
        awaitCommand(*self->board, self->code, 1);
        self->board->setBusyStuck(false);
        return 0;
    }
};
} // namespace

TEST(FlashCommands, WriteAndReadBackByAddress) {
    Capture capture;
    EmulatedBoard emulated;
    ASSERT_TRUE(emulated.openAndSettle(capture));
    capture.clear();
    Bytes data = countingBytes(300, 0);
    EXPECT_EQ(WriteFLASH(0x1000, 0xABCD, data.data(), 300), 1);
    EXPECT_EQ(os::lastError(), 0u);
    Bytes staged = lastCommand(emulated.board(), 0xF010);
    EXPECT_EQ(slice(staged, 13, 6), (Bytes{0x00, 0x10, 0x00, 0x00, 0xCD, 0xAB}));
    EXPECT_EQ(link::readWord(staged.data(), 275), 256) << "300 bytes are cut to 256";
    EXPECT_EQ(emulated.board().flashContents(0x1000, 256), slice(data, 0, 256));
    EXPECT_EQ(emulated.board().flashContents(0x1100, 1), Bytes{0xFF}) << "nothing past 256";

    GuardedBuffer read(1000);
    EXPECT_EQ(ReadFLASH(0x1000, read.data(), 1000), 1);
    EXPECT_EQ(os::lastError(), 0u);
    staged = lastCommand(emulated.board(), 0xF020);
    EXPECT_EQ(link::readWord(staged.data(), 17), 0);
    EXPECT_EQ(link::readWord(staged.data(), 275), 256);
    Bytes got = read.contents();
    EXPECT_EQ(slice(got, 0, 256), slice(data, 0, 256));
    EXPECT_EQ(slice(got, 256, 744), Bytes(744, 0xEE)) << "bytes past 256 are left alone";
    EXPECT_TRUE(read.guardsIntact());
    std::vector<Text> lines = {WIDE("Writing to FLASH at 00001000...\n"),
                               WIDE("Reading from FLASH...\n"),
                               WIDE("Command Sent.  Waiting for FLASH Response...\n")};
    EXPECT_EQ(capture.pieces(), lines);

    EXPECT_EQ(WriteFLASH(0x2000, 0, nullptr, 0), 1) << "a count of 0 sends no data";
    EXPECT_EQ(link::readWord(lastCommand(emulated.board(), 0xF010).data(), 275), 0);
}

TEST(FlashCommands, CorruptedLengthLeavesEarlierBytes) {
    Capture capture;
    EmulatedBoard emulated;
    ASSERT_TRUE(emulated.openAndSettle(capture));
    Bytes first = countingBytes(16, 0x40);
    ASSERT_EQ(WriteFLASH(0x10, 0, first.data(), 16), 1);
    GuardedBuffer read(16);
    ASSERT_EQ(ReadFLASH(0x10, read.data(), 16), 1);
    ASSERT_EQ(read.contents(), first);

    capture.clear();
    emulated.board().corruptLength(1);
    GuardedBuffer again(16);
    EXPECT_EQ(ReadFLASH(0x4000, again.data(), 16), 1) << "treated as answered";
    EXPECT_EQ(os::lastError(), 0u);
    EXPECT_EQ(again.contents(), first) << "the response buffer keeps the earlier answer";
    EXPECT_EQ(capture.count(WIDE("HID: Corrupted Data Length (0x0101)\n")), 1u);
}

TEST(FlashCommands, ErrorBitShowsTheBox) {
    Capture capture;
    EmulatedBoard emulated;
    ASSERT_TRUE(emulated.openAndSettle(capture));
    emulated.board().setErrorBit(true);
    capture.clear();
    const uint8_t data[4] = {1, 2, 3, 4};
    EXPECT_EQ(WriteFLASH(0x20, 0, data, 4), 0);
    EXPECT_EQ(os::lastError(), 1359u);
    GuardedBuffer read(4);
    EXPECT_EQ(ReadFLASH(0x20, read.data(), 4), 0);
    EXPECT_EQ(os::lastError(), 1359u);
    EXPECT_EQ(read.contents(), Bytes(4, 0xEE)) << "no copy after a command error";
    std::vector<Text> expected(2, WIDE("Error in WriteFLASH\n"));
    EXPECT_EQ(boxTexts(capture), expected);
    EXPECT_EQ(capture.count(WIDE("Command Error...")), 2u);

    emulated.board().setErrorBit(false);
    EXPECT_EQ(WriteFLASH(0x20, 0, data, 4), 1);
    EXPECT_EQ(boxTexts(capture).size(), 2u);
}

TEST(FlashCommands, BusyWaitBoundsAreOneSecondForWritesAndHalfASecondForReads) {
    Capture capture;
    EmulatedBoard emulated;
    ASSERT_TRUE(emulated.openAndSettle(capture));
    const uint8_t data[2] = {7, 7};
    ASSERT_TRUE(emulated.holdBusyUntilSeen());
    uint32_t start = os::tickMs();
    EXPECT_EQ(WriteFLASH(0x100, 0, data, 2), 1);
    EXPECT_GE(elapsedMs(start), 1200u) << "the bound and the pause after success";
    EXPECT_EQ(capture.count(WIDE("Done.  (timeout)\n")), 1u);

    BusyRelease release{&emulated.board(), 0xF020};
    uint32_t error = 0;
    os::Thread *releaser = os::threadStart(&BusyRelease::run, &release, &error);
    ASSERT_NE(releaser, nullptr);
    GuardedBuffer read(2);
    start = os::tickMs();
    EXPECT_EQ(ReadFLASH(0x100, read.data(), 2), 1);
    uint32_t took = elapsedMs(start);
    EXPECT_GE(took, 600u) << "500 ms bound and the 100 ms settling pause";
    EXPECT_LT(took, 3000u) << "far below the 10 s response wait";
    EXPECT_EQ(read.contents(), (Bytes{7, 7}));
    EXPECT_EQ(capture.count(WIDE("Done.  (timeout)\n")), 2u);
    EXPECT_TRUE(os::threadJoin(releaser, 5000));
    os::threadRelease(releaser);

    // TEDS keeps the bound too, but its wait always ends with "Done.".
    ASSERT_TRUE(emulated.holdBusyUntilSeen());
    capture.clear();
    start = os::tickMs();
    EXPECT_EQ(WriteTEDS(0, data, 2, nullptr, 0), 1);
    EXPECT_GE(elapsedMs(start), 1000u);
    EXPECT_EQ(capture.count(WIDE("Done.\n")), 1u);
    EXPECT_EQ(capture.count(WIDE("Done.  (timeout)\n")), 0u);
}

TEST(PinCommands, SetAndGetIgnoringTheUnusedArgument) {
    Capture capture;
    EmulatedBoard emulated;
    ASSERT_TRUE(emulated.openAndSettle(capture));
    capture.clear();
    EXPECT_EQ(SetPIN(1, 0x1234), 1);
    EXPECT_EQ(SetPIN(0xDEADBEEF, 0x1234), 1);
    std::vector<Bytes> sets = commandsWithCode(emulated.board(), 0xF200);
    ASSERT_EQ(sets.size(), 2u);
    EXPECT_EQ(slice(sets[0], 13, 100), slice(sets[1], 13, 100));
    EXPECT_EQ(link::readWord(sets[1].data(), 15), 0x1234);
    EXPECT_EQ(emulated.board().pins(), 0x1234);

    os::setLastError(77);
    EXPECT_EQ(GetPIN(), 0x1234);
    EXPECT_EQ(os::lastError(), 0u);
    EXPECT_EQ(capture.count(WIDE("Setting PINs 1234...\n")), 2u);

    emulated.board().setErrorBit(true);
    EXPECT_EQ(GetPIN(), 0xFFFF);
    EXPECT_EQ(os::lastError(), 1359u);
    EXPECT_EQ(SetPIN(0, 1), 0);
    EXPECT_EQ(os::lastError(), 1359u);
    std::vector<Text> expected(2, WIDE("Error in WriteFLASH\n"));
    EXPECT_EQ(boxTexts(capture), expected);
}

TEST(TedsCommands, WriteThenReadBackWithAShortAnswer) {
    Capture capture;
    EmulatedBoard emulated;
    ASSERT_TRUE(emulated.openAndSettle(capture));
    capture.clear();
    Bytes data = countingBytes(20, 0x80);
    uint8_t unused = 0xEE;
    EXPECT_EQ(WriteTEDS(492, data.data(), 20, &unused, 0), 1);
    EXPECT_EQ(unused, 0xEE);
    EXPECT_EQ(capture.pieces(),
              (std::vector<Text>{WIDE("Writing to TEDS...\n"), WIDE("TEDS Complete.\n")}));
    Bytes staged = awaitCommand(emulated.board(), 0xF330, 1);
    EXPECT_EQ(slice(staged, 13, 6), (Bytes{0xEC, 0x01, 0x00, 0x00, 20, 0x00}));
    EXPECT_EQ(slice(staged, 19, 20), data);
    auto memory = emulated.board().tedsMemory();
    EXPECT_TRUE(std::equal(data.begin(), data.end(), memory.begin() + 492));

    // The memory ends 20 bytes after 492: asking for 32 brings 20 and 12 zeros.
    capture.clear();
    GuardedBuffer read(32);
    EXPECT_EQ(WriteTEDS(492, nullptr, 0, read.data(), 32), 1);
    EXPECT_EQ(os::lastError(), 0u);
    Bytes expected(32, 0);
    std::copy(data.begin(), data.end(), expected.begin());
    EXPECT_EQ(read.contents(), expected);
    EXPECT_TRUE(read.guardsIntact());
    std::vector<Text> lines = {WIDE("Writing to TEDS...\n"), WIDE("Valid TEDS Response.\n"),
                               WIDE("TEDS Complete.\n")};
    EXPECT_EQ(capture.pieces(), lines);

    // No error check: the error bit changes nothing here.
    emulated.board().setErrorBit(true);
    EXPECT_EQ(WriteTEDS(492, nullptr, 0, read.data(), 4), 1);
    EXPECT_TRUE(capture.messageBoxes().empty());
}

TEST(TedsCommands, CorruptedLengthAndRefusedCounts) {
    Capture capture;
    EmulatedBoard emulated;
    ASSERT_TRUE(emulated.openAndSettle(capture));
    Bytes data(600, 0x77);
    ASSERT_EQ(WriteTEDS(0, data.data(), 8, nullptr, 0), 1);
    emulated.board().corruptLength(1);
    capture.clear();
    GuardedBuffer read(8);
    EXPECT_EQ(WriteTEDS(0, nullptr, 0, read.data(), 8), 1);
    EXPECT_EQ(read.contents(), Bytes(8, 0)) << "the TEDS buffer was cleared before sending";
    EXPECT_EQ(capture.count(WIDE("TEDS: Corrupted Data Length (0x01E6)\n")), 1u);

    size_t before = emulated.board().receivedCommands().size();
    capture.clear();
    GuardedBuffer large(1100);
    EXPECT_EQ(WriteTEDS(0, data.data(), 494, large.data(), 4), 0);
    EXPECT_EQ(os::lastError(), 87u);
    EXPECT_EQ(WriteTEDS(0, data.data(), 4, large.data(), 1025), 0);
    EXPECT_EQ(os::lastError(), 87u);
    EXPECT_EQ(WriteTEDS(0, data.data(), 4, nullptr, 4), 0);
    EXPECT_EQ(os::lastError(), 87u);
    std::vector<Text> lines = {WIDE("WriteTEDS: writeCount 494 refused, at most 493.\n"),
                               WIDE("WriteTEDS: readCount 1025 refused, at most 1024.\n"),
                               WIDE("WriteTEDS: readData is null, refused.\n")};
    EXPECT_EQ(capture.pieces(), lines);
    EXPECT_EQ(emulated.board().receivedCommands().size(), before) << "nothing was sent";
    EXPECT_EQ(large.contents(), Bytes(1100, 0xEE));
    EXPECT_TRUE(large.guardsIntact());

    EXPECT_EQ(WriteTEDS(0, data.data(), 493, large.data(), 1024), 1) << "the largest that fit";
}

TEST(CalibrationCommands, RoundTripAndCommandErrors) {
    Capture capture;
    EmulatedBoard emulated;
    ASSERT_TRUE(emulated.openAndSettle(capture));
    capture.clear();
    Bytes block = countingBytes(40, 0x10);
    EXPECT_EQ(WriteCalibrate(block.data()), 1);
    EXPECT_EQ(os::lastError(), 0u);
    auto stored = emulated.board().calibrationBlock();
    EXPECT_EQ(Bytes(stored.begin(), stored.end()), block);
    GuardedBuffer read(40);
    EXPECT_EQ(ReadCalibrate(read.data()), 1);
    EXPECT_EQ(read.contents(), block);
    EXPECT_TRUE(read.guardsIntact());
    EXPECT_EQ(capture.pieces(), std::vector<Text>{WIDE("Setting Calibrate...\n")});

    EXPECT_EQ(ReadCalibrate(nullptr), 0);
    EXPECT_EQ(os::lastError(), 87u);
    EXPECT_EQ(WriteCalibrate(nullptr), 0);
    EXPECT_EQ(os::lastError(), 87u);

    emulated.board().setErrorBit(true);
    EXPECT_EQ(WriteCalibrate(block.data()), 0);
    EXPECT_EQ(os::lastError(), 1359u);
    EXPECT_EQ(ReadCalibrate(read.data()), -1);
    EXPECT_EQ(os::lastError(), 1359u);
    std::vector<Text> boxes = {WIDE("Error in WriteCalibrate\n"), WIDE("Error in WriteFLASH\n")};
    EXPECT_EQ(boxTexts(capture), boxes);
}
