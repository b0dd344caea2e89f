// SPI transfers against the emulated board: the staged bytes, the read-back
// through the loopback peer, the busy wait; and the arguments of every command
// refused before anything is sent.
#include "link/report_format.h"
#include "support/commands.h"
#include "support/sample_bytes.h"

#include <gtest/gtest.h>

using namespace xdsp;
using namespace xdsp::test;

constexpr uint8_t rd[] = {0x52, 0x44};

using SpiTransfer = OpenBoard;

TEST_F(SpiTransfer, StagesThePayloadByteForByteAndZeroFillsWhatWasNotDelivered) {
    advanceSequenceTo(0x05);
    capture.clear();
    uint8_t reply[72];
    EXPECT_EQ(outcome(WriteSPIEx(2, 2, 0, 3, 50, rd, 2, reply, 72)),
              Outcome(1, XDSP_ERROR_SUCCESS));
    const Bytes expected = {0x00, 0x52, 0x44, 0x05, 0x00, 0x00, 0x00, 0x00, 0x00, 0x30,
                            0xF0, 0x7D, 0xCB, 0x01, 0x01, 0x03, 0x00, 0x32, 0x00, 0x02,
                            0x00, 0x02, 0x00, 0x48, 0x00, 0x02, 0x00, 0x52, 0x44};
    EXPECT_EQ(slice(lastCommand(board(), 0xF030), 0, 29), expected);
    EXPECT_TRUE(hasPieces(capture, {WIDE("Writing to SPI...\n"), WIDE("Valid SPI Response.\n"),
                                    WIDE("SPI Complete.\n")}));

    // Any nonzero mode flag selects 0x0303; WriteSPI passes busy mask 0.
    // Without a read the call returns once the command is staged, so each is
    // awaited on the board.
    size_t sent = 1;
    EXPECT_EQ(WriteSPIEx(2, 2, -7, 3, 50, rd, 2, nullptr, 0), 1);
    EXPECT_EQ(slice(awaitCommand(board(), 0xF030, ++sent), 13, 2), (Bytes{0x03, 0x03}));
    const uint8_t data[] = {9, 8, 7, 6};
    EXPECT_EQ(WriteSPI(2, 0, 3, 50, data, 4, reply, 0), 1);
    Bytes staged = awaitCommand(board(), 0xF030, ++sent);
    EXPECT_EQ(slice(staged, 13, 2), (Bytes{0x01, 0x01}));
    EXPECT_EQ(slice(staged, 19, 12), (Bytes{2, 0, 0, 0, 0, 0, 4, 0, 9, 8, 7, 6}));
    emu::SpiTransferRecord seen = board().lastSpiTransfer();
    EXPECT_EQ(seen.written, Bytes(data, data + 4));
    EXPECT_EQ(seen.settings.settingB, 50);

    // No write data: the count is 0 and the bytes from 27 keep what was there.
    EXPECT_EQ(WriteSPIEx(5, 0, 0, 3, 10, nullptr, 0, nullptr, 0), 1);
    staged = awaitCommand(board(), 0xF030, ++sent);
    EXPECT_EQ(slice(staged, 19, 12), (Bytes{5, 0, 0, 0, 0, 0, 0, 0, 9, 8, 7, 6}));

    // A 512-byte input report carries 484 bytes from offset 28; the rest read as zeros.
    Bytes many = countingBytes(485, 1);
    GuardedBuffer large(1024);
    EXPECT_EQ(WriteSPIEx(2, 2, 0, 3, 50, many.data(), 485, large.data(), 1024), 1);
    Bytes got = large.contents();
    EXPECT_EQ(slice(got, 0, 484), slice(many, 0, 484));
    EXPECT_EQ(slice(got, 484, 540), Bytes(540, 0));
    EXPECT_TRUE(large.guardsIntact());
}

TEST(SpiBusyWait, EndsWhenTheBoardIsIdle) {
    Capture capture;
    emu::BoardOptions options;
    options.commandBusyMillis = 30;
    EmulatedBoard emulated(options);
    // The second INIT replaces the first one's answer while the board is busy,
    // so one product name comes.
    ASSERT_EQ(InitializeHIDUSBPacketPath(emulated.path().c_str()), 1);
    ASSERT_TRUE(capture.waitFor(WIDE("HID: ProductName: "), 3000));
    ASSERT_EQ(WriteSPIEx(2, 2, 0, 3, 50, rd, 2, nullptr, 0), 1);
    capture.clear();
    ASSERT_EQ(WriteSPIEx(2, 2, 0, 3, 50, rd, 2, nullptr, 0), 1);
    EXPECT_EQ(capture.pieces(), (Lines{WIDE("Writing to SPI...\n"),
                                       WIDE("Waiting for previous command to complete..."),
                                       WIDE("Done.\n"), WIDE("SPI Complete.\n")}));
}

TEST_F(SpiTransfer, BatchStagesListTerminatorAndDataBlock) {
    const uint8_t list[] = {0x04};
    const uint8_t block[] = {0xA1, 0xA2, 0xA3, 0xA4};
    GuardedBuffer reply(16);
    EXPECT_EQ(BatchSPI(2, 2, 1, 3, 50, list, 1, block, 4, reply.data(), 16), 1);
    Bytes staged = lastCommand(board(), 0xF031);
    EXPECT_EQ(link::readWord(staged.data(), 13), 0x0303);
    EXPECT_EQ(slice(staged, 23, 4), (Bytes{16, 0, 0x04, 0xFF}));
    EXPECT_EQ(slice(staged, 125, 4), Bytes(block, block + 4));
    EXPECT_EQ(slice(reply.contents(), 0, 4), Bytes(block, block + 4));
    EXPECT_EQ(slice(reply.contents(), 4, 12), Bytes(12, 0)) << "the rest zeros";
    EXPECT_EQ(capture.pieces(), (Lines{WIDE("Writing to Batch SPI...\n"),
                                       WIDE("Command Sent.  Waiting for SPI Response...\n"),
                                       WIDE("Valid SPI Response.\n"), WIDE("SPI Complete.\n")}));

    // Without a data block nothing is written at 125.
    const uint8_t threeEntries[] = {0x01, 0x02, 0x03};
    EXPECT_EQ(BatchSPI(2, 2, 0, 3, 50, threeEntries, 3, nullptr, 0, nullptr, 0), 1);
    staged = awaitCommand(board(), 0xF031, 2);
    EXPECT_EQ(slice(staged, 25, 4), (Bytes{0x01, 0x02, 0x03, 0xFF}));
    EXPECT_EQ(slice(staged, 125, 4), Bytes(block, block + 4));
}

using CommandArguments = OpenBoard;

TEST_F(CommandArguments, OversizedAndMissingAreRefusedBeforeAnythingIsSent) {
    Bytes data(500, 0x5A);
    GuardedBuffer reply(1025);
    size_t before = board().receivedCommands().size();
    auto refused = [&](xdsp_bool result, const Char16 *line) {
        EXPECT_EQ(outcome(result), Outcome(0, XDSP_ERROR_INVALID_PARAMETER));
        EXPECT_EQ(capture.pieces(), Lines{line});
        capture.clear();
    };
    refused(WriteSPIEx(2, 2, 0, 3, 50, data.data(), 486, reply.data(), 4),
            WIDE("WriteSPIEx: writeLength 486 refused, at most 485.\n"));
    refused(WriteSPIEx(2, 2, 0, 3, 50, data.data(), 4, reply.data(), 1025),
            WIDE("WriteSPIEx: readLength 1025 refused, at most 1024.\n"));
    refused(WriteSPIEx(2, 2, 0, 3, 50, data.data(), 4, nullptr, 16),
            WIDE("WriteSPIEx: readData is null, refused.\n"));
    refused(WriteSPIEx(2, 2, 0, 3, 50, nullptr, 4, reply.data(), 0),
            WIDE("WriteSPIEx: writeData is null, refused.\n"));
    refused(WriteSPI(2, 0, 3, 50, data.data(), 0xFFFFFFFF, reply.data(), 0),
            WIDE("WriteSPIEx: writeLength 4294967295 refused, at most 485.\n"));
    refused(BatchSPI(2, 2, 0, 3, 50, data.data(), 100, nullptr, 0, reply.data(), 4),
            WIDE("BatchSPI: batchListLength 100 refused, at most 99.\n"));
    refused(BatchSPI(2, 2, 0, 3, 50, data.data(), 3, data.data(), 388, reply.data(), 4),
            WIDE("BatchSPI: batchDataLength 388 refused, at most 387.\n"));
    refused(BatchSPI(2, 2, 0, 3, 50, data.data(), 3, data.data(), 4, reply.data(), 2000),
            WIDE("BatchSPI: readLength 2000 refused, at most 1024.\n"));
    refused(WriteTEDS(0, data.data(), 494, reply.data(), 4),
            WIDE("WriteTEDS: writeCount 494 refused, at most 493.\n"));
    refused(WriteTEDS(0, data.data(), 4, reply.data(), 1025),
            WIDE("WriteTEDS: readCount 1025 refused, at most 1024.\n"));
    refused(WriteTEDS(0, data.data(), 4, nullptr, 4),
            WIDE("WriteTEDS: readData is null, refused.\n"));
    refused(WriteCalibrate(nullptr), WIDE("WriteCalibrate: block is null, refused.\n"));
    refused(ReadCalibrate(nullptr), WIDE("ReadCalibrate: block is null, refused.\n"));
    EXPECT_EQ(board().receivedCommands().size(), before) << "nothing was sent";
    EXPECT_EQ(reply.contents(), Bytes(1025, 0xEE));
    EXPECT_TRUE(reply.guardsIntact());

    // The largest lengths that fit go out whole.
    EXPECT_EQ(WriteSPIEx(2, 2, 0, 3, 50, data.data(), 485, nullptr, 0), 1);
    EXPECT_EQ(awaitCommand(board(), 0xF030, 1).size(), 512u);
    EXPECT_EQ(board().lastSpiTransfer().written, Bytes(485, 0x5A));
    EXPECT_EQ(BatchSPI(2, 2, 0, 3, 50, data.data(), 99, data.data(), 387, nullptr, 0), 1);
    EXPECT_EQ(WriteTEDS(0, data.data(), 493, reply.data(), 1024), 1);
}

TEST(ShortOutputReport, LimitsWhatFits) {
    Capture capture;
    emu::BoardOptions options;
    options.outputReportLength = 64;
    EmulatedBoard emulated(options);
    ASSERT_TRUE(emulated.openAndSettle(capture));
    Bytes data(64, 0x33);
    capture.clear();
    EXPECT_EQ(WriteSPIEx(2, 2, 0, 3, 50, data.data(), 38, nullptr, 0), 0);
    EXPECT_EQ(BatchSPI(2, 2, 0, 3, 50, data.data(), 39, nullptr, 0, nullptr, 0), 0);
    EXPECT_EQ(BatchSPI(2, 2, 0, 3, 50, data.data(), 1, data.data(), 1, nullptr, 0), 0);
    EXPECT_EQ(ReadFLASH(0, data.data(), 4), 0);
    EXPECT_EQ(os::lastError(), XDSP_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(
        capture.pieces(),
        (Lines{WIDE("WriteSPIEx: writeLength 38 refused, at most 37.\n"),
               WIDE("BatchSPI: refused, the output report of 64 bytes cannot hold its 65.\n"),
               WIDE("BatchSPI: batchDataLength 1 refused, at most 0.\n"),
               WIDE("ReadFLASH: refused, the output report of 64 bytes cannot hold its 277.\n")}));
    EXPECT_EQ(emulated.board().receivedCommands().size(), 2u) << "only the two INITs went out";

    // What fits goes out: the longest write, a list up to the report's end, a calibration block.
    EXPECT_EQ(WriteSPIEx(2, 2, 0, 3, 50, data.data(), 37, nullptr, 0), 1);
    ASSERT_FALSE(awaitCommand(emulated.board(), 0xF030, 1).empty());
    EXPECT_EQ(emulated.board().lastSpiTransfer().written, Bytes(37, 0x33));
    EXPECT_EQ(BatchSPI(2, 2, 0, 3, 50, data.data(), 38, nullptr, 0, nullptr, 0), 1);
    EXPECT_EQ(WriteCalibrate(data.data()), 1);
}
