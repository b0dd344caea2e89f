// Commands whose answer never reaches the caller: the board's answer carries
// the previous sequence byte, so the poll thread takes it for a repeat. Each
// call fails after the full 10 s response time-out; every case runs alone.
#include "support/commands.h"

#include <gtest/gtest.h>

using namespace xdsp;
using namespace xdsp::test;

class CommandsLostAnswer : public OpenBoard {
  protected:
    void SetUp() override {
        OpenBoard::SetUp();
        board().repeatSequence(1);
        start = os::tickMs();
    }
    void expectFailure(const Lines &lines) {
        EXPECT_GE(elapsedMs(start), 10000u);
        EXPECT_EQ(os::lastError(), XDSP_ERROR_INTERNAL);
        EXPECT_EQ(capture.pieces(), lines);
    }
    uint32_t start = 0;
    GuardedBuffer read{40};
};

TEST_F(CommandsLostAnswer, SpiTransferGivesZeros) {
    const uint8_t rd[] = {0x52, 0x44};
    EXPECT_EQ(WriteSPIEx(2, 2, 0, 3, 50, rd, 2, read.data(), 16), 0);
    expectFailure(
        {WIDE("Writing to SPI...\n"), WIDE("Invalid SPI Response.\n"), WIDE("SPI Complete.\n")});
    EXPECT_EQ(slice(read.contents(), 0, 16), Bytes(16, 0)) << "the cleared response buffer";
    EXPECT_EQ(slice(read.contents(), 16, 24), Bytes(24, 0xEE));
}

TEST_F(CommandsLostAnswer, TedsReadBackGivesZeros) {
    EXPECT_EQ(WriteTEDS(0, nullptr, 0, read.data(), 8), 0);
    expectFailure(
        {WIDE("Writing to TEDS...\n"), WIDE("Invalid TEDS Response.\n"), WIDE("TEDS Complete.\n")});
    EXPECT_EQ(slice(read.contents(), 0, 9), (Bytes{0, 0, 0, 0, 0, 0, 0, 0, 0xEE}));
}

TEST_F(CommandsLostAnswer, GetPinGivesZero) {
    EXPECT_EQ(GetPIN(), 0);
    expectFailure({WIDE("Invalid SPI Response.\n"), WIDE("SPI Complete.\n")});
}

TEST_F(CommandsLostAnswer, ReadCalibrateGivesZeroAndLeavesTheBuffer) {
    EXPECT_EQ(ReadCalibrate(read.data()), 0);
    expectFailure({WIDE("Invalid SPI Response.\n"), WIDE("SPI Complete.\n")});
    EXPECT_EQ(read.contents(), Bytes(40, 0xEE));
    EXPECT_TRUE(read.guardsIntact());
}
