// Flash, pins, TEDS and calibration against the emulated board: round trips,
// the staged fields, counts cut, the error bit with its box, short,
// corrupted and missing answers, and the busy-wait bounds.
#include "link/report_format.h"
#include "support/commands.h"
#include "support/sample_bytes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <thread>

using namespace xdsp;
using namespace xdsp::test;

using MemoryCommands = OpenBoard;

TEST_F(MemoryCommands, FlashWriteAndReadBackByAddress) {
    Bytes data = countingBytes(300, 0);
    EXPECT_EQ(outcome(WriteFLASH(0x1000, 0xABCD, data.data(), 300)),
              Outcome(1, XDSP_ERROR_SUCCESS));
    Bytes staged = lastCommand(board(), 0xF010);
    EXPECT_EQ(slice(staged, 13, 6), (Bytes{0x00, 0x10, 0x00, 0x00, 0xCD, 0xAB}));
    EXPECT_EQ(link::readWord(staged.data(), 275), 256) << "300 bytes are cut to 256";
    EXPECT_EQ(board().flashContents(0x1000, 256), slice(data, 0, 256));
    EXPECT_EQ(board().flashContents(0x1100, 1), Bytes{0xFF}) << "nothing past 256";

    GuardedBuffer read(1000);
    EXPECT_EQ(outcome(ReadFLASH(0x1000, read.data(), 1000)), Outcome(1, XDSP_ERROR_SUCCESS));
    staged = lastCommand(board(), 0xF020);
    EXPECT_EQ(link::readWord(staged.data(), 17), 0);
    EXPECT_EQ(link::readWord(staged.data(), 275), 256);
    Bytes got = read.contents();
    EXPECT_EQ(slice(got, 0, 256), slice(data, 0, 256));
    EXPECT_EQ(slice(got, 256, 744), Bytes(744, 0xEE)) << "bytes past 256 are left alone";
    EXPECT_TRUE(read.guardsIntact());
    EXPECT_EQ(capture.pieces(),
              (Lines{WIDE("Writing to FLASH at 00001000...\n"), WIDE("Reading from FLASH...\n"),
                     WIDE("Command Sent.  Waiting for FLASH Response...\n")}));

    EXPECT_EQ(WriteFLASH(0x2000, 0, nullptr, 0), 1) << "a count of 0 sends no data";
    EXPECT_EQ(link::readWord(lastCommand(board(), 0xF010).data(), 275), 0);
}

TEST_F(MemoryCommands, ErrorBitFailsEachCommandWithItsBox) {
    board().setErrorBit(true);
    Bytes data = countingBytes(XDSP_CALIBRATION_BLOCK_SIZE, 1);
    GuardedBuffer read(XDSP_CALIBRATION_BLOCK_SIZE);
    EXPECT_EQ(outcome(WriteFLASH(0x20, 0, data.data(), 4)), Outcome(0, XDSP_ERROR_INTERNAL));
    EXPECT_EQ(outcome(ReadFLASH(0x20, read.data(), 4)), Outcome(0, XDSP_ERROR_INTERNAL));
    EXPECT_EQ(outcome(GetPIN()), Outcome(0xFFFF, XDSP_ERROR_INTERNAL));
    EXPECT_EQ(outcome(SetPIN(0, 1)), Outcome(0, XDSP_ERROR_INTERNAL));
    EXPECT_EQ(outcome(WriteCalibrate(data.data())), Outcome(0, XDSP_ERROR_INTERNAL));
    EXPECT_EQ(outcome(ReadCalibrate(read.data())), Outcome(-1, XDSP_ERROR_INTERNAL));
    EXPECT_EQ(read.contents(), Bytes(40, 0xEE)) << "no copy after a command error";
    Lines boxes(4, WIDE("Error in WriteFLASH\n"));
    boxes.insert(boxes.end(), {WIDE("Error in WriteCalibrate\n"), WIDE("Error in WriteFLASH\n")});
    EXPECT_EQ(errorBoxTexts(capture), boxes);
    EXPECT_EQ(capture.count(WIDE("Command Error...")), 6u);

    board().setErrorBit(false);
    EXPECT_EQ(WriteFLASH(0x20, 0, data.data(), 4), 1);
    EXPECT_EQ(capture.messageBoxes().size(), 6u);
}

TEST_F(MemoryCommands, BusyWaitBoundIsHalfASecondForReads) {
    const uint8_t data[2] = {7, 7};
    ASSERT_TRUE(emulated.holdBusyUntilSeen());
    ASSERT_EQ(WriteFLASH(0x100, 0, data, 2), 1);

    // Clears the stuck busy bits once the board has the read.
    std::thread releaser([&] {
        awaitCommand(board(), 0xF020, 1);
        board().setBusyStuck(false);
    });
    GuardedBuffer read(2);
    uint32_t took = millisOf([&] { EXPECT_EQ(ReadFLASH(0x100, read.data(), 2), 1); });
    EXPECT_GE(took, 600u) << "500 ms bound and the 100 ms settling pause";
    EXPECT_LT(took, 3000u) << "far below the 10 s response wait";
    EXPECT_EQ(read.contents(), (Bytes{7, 7}));
    EXPECT_EQ(capture.count(WIDE("Done.  (timeout)\n")), 2u);
    releaser.join();

    // TEDS keeps the bound too, but its wait always ends with "Done.".
    ASSERT_TRUE(emulated.holdBusyUntilSeen());
    capture.clear();
    EXPECT_GE(millisOf([&] { EXPECT_EQ(WriteTEDS(0, data, 2, nullptr, 0), 1); }), 1000u);
    EXPECT_EQ(capture.count(WIDE("Done.\n")), 1u);
    EXPECT_EQ(capture.count(WIDE("Done.  (timeout)\n")), 0u);
}

TEST_F(MemoryCommands, PinsIgnoringTheUnusedArgumentAndTheCalibrationRoundTrip) {
    EXPECT_EQ(SetPIN(1, 0x1234), 1);
    EXPECT_EQ(SetPIN(0xDEADBEEF, 0x1234), 1);
    std::vector<Bytes> sets = commandsWithCode(board(), 0xF200);
    ASSERT_EQ(sets.size(), 2u);
    EXPECT_EQ(slice(sets[0], 13, 100), slice(sets[1], 13, 100));
    EXPECT_EQ(link::readWord(sets[1].data(), 15), 0x1234);
    EXPECT_EQ(board().pins(), 0x1234);
    os::setLastError(77);
    EXPECT_EQ(outcome(GetPIN()), Outcome(0x1234, XDSP_ERROR_SUCCESS));
    EXPECT_EQ(capture.count(WIDE("Setting PINs 1234...\n")), 2u);

    capture.clear();
    Bytes block = countingBytes(40, 0x10);
    EXPECT_EQ(outcome(WriteCalibrate(block.data())), Outcome(1, XDSP_ERROR_SUCCESS));
    auto stored = board().calibrationBlock();
    EXPECT_EQ(Bytes(stored.begin(), stored.end()), block);
    GuardedBuffer read(XDSP_CALIBRATION_BLOCK_SIZE);
    EXPECT_EQ(ReadCalibrate(read.data()), 1);
    EXPECT_EQ(read.contents(), block);
    EXPECT_TRUE(read.guardsIntact());
    EXPECT_EQ(capture.pieces(), Lines{WIDE("Setting Calibrate...\n")});
}

TEST_F(MemoryCommands, TedsWriteThenReadBackWithAShortAnswer) {
    Bytes data = countingBytes(20, 0x80);
    uint8_t unused = 0xEE;
    EXPECT_EQ(WriteTEDS(492, data.data(), 20, &unused, 0), 1);
    EXPECT_EQ(unused, 0xEE);
    EXPECT_EQ(capture.pieces(), (Lines{WIDE("Writing to TEDS...\n"), WIDE("TEDS Complete.\n")}));
    Bytes staged = awaitCommand(board(), 0xF330, 1);
    EXPECT_EQ(slice(staged, 13, 6), (Bytes{0xEC, 0x01, 0x00, 0x00, 20, 0x00}));
    EXPECT_EQ(slice(staged, 19, 20), data);
    auto memory = board().tedsMemory();
    EXPECT_TRUE(std::equal(data.begin(), data.end(), memory.begin() + 492));

    // The memory ends 20 bytes after 492: asking for 32 brings 20 and 12 zeros.
    capture.clear();
    GuardedBuffer read(32);
    EXPECT_EQ(outcome(WriteTEDS(492, nullptr, 0, read.data(), 32)), Outcome(1, XDSP_ERROR_SUCCESS));
    EXPECT_EQ(slice(read.contents(), 0, 20), data);
    EXPECT_EQ(slice(read.contents(), 20, 12), Bytes(12, 0));
    EXPECT_TRUE(read.guardsIntact());
    EXPECT_EQ(capture.pieces(), (Lines{WIDE("Writing to TEDS...\n"), WIDE("Valid TEDS Response.\n"),
                                       WIDE("TEDS Complete.\n")}));

    // A corrupted length leaves the TEDS buffer as cleared before sending.
    board().corruptLength(1);
    GuardedBuffer corrupted(8);
    EXPECT_EQ(WriteTEDS(0, nullptr, 0, corrupted.data(), 8), 1);
    EXPECT_EQ(corrupted.contents(), Bytes(8, 0));
    EXPECT_EQ(capture.count(WIDE("TEDS: Corrupted Data Length (0x01E6)\n")), 1u);

    // No error check: the error bit changes nothing here.
    board().setErrorBit(true);
    EXPECT_EQ(WriteTEDS(492, nullptr, 0, read.data(), 4), 1);
    EXPECT_TRUE(capture.messageBoxes().empty());
}
