// Device control against the emulated board: GPIO, ADC, the initialised flag,
// the records it sends, the Pellix write, and booting and suspending with their
// error boxes and busy-wait bound.
#include "link/report_format.h"
#include "support/commands.h"
#include "support/sample_bytes.h"

#include <gtest/gtest.h>

using namespace xdsp;
using namespace xdsp::test;

using DeviceControl = OpenBoard;

TEST_F(DeviceControl, GpioWordsAdcChannelsTheInitialisedFlagAndRecords) {
    board().setGpioInputs(0x0400);
    ASSERT_TRUE(eventually([] { return GetGPIOIn() == 0x0400; }));
    os::setLastError(77);
    EXPECT_EQ(outcome(IsDeviceInitialized()), Outcome(1, XDSP_ERROR_SUCCESS));
    board().setGpioInputs(0xFBFF);
    ASSERT_TRUE(eventually([] { return GetGPIOIn() == 0xFBFF; }));
    EXPECT_EQ(IsDeviceInitialized(), 0);

    EXPECT_TRUE(eventually([] { return GetADCIn(3) == 0x0400; }))
        << "the board's power-up reading of channel 3";
    EXPECT_EQ(GetADCIn(4), 65535);
    EXPECT_EQ(GetADCIn(0xFFFFFFFF), 65535);

    SetGPIOOut(0x00FF);
    Bytes applied = awaitCommand(board(), 0xFFFF, 1);
    ASSERT_FALSE(applied.empty());
    EXPECT_EQ(link::readWord(applied.data(), 7), 0x00FF);
    EXPECT_EQ(link::readWord(applied.data(), 11), static_cast<uint16_t>(~(0x4452 + 0xFF + 0xFFFF)));
    EXPECT_TRUE(eventually([&] { return board().gpioOutputs() == 0x00FF; }));
    EXPECT_EQ(XMOS_EnableADC(1), 0u);
    EXPECT_EQ(slice(awaitCommand(board(), 0xF00B, 1), 7, 2), (Bytes{0xFF, 0x00}))
        << "later commands carry the output word too";
    EXPECT_TRUE(capture.pieces().empty());

    ASSERT_TRUE(eventually([] { return GetADCIn(1) == 0x0200; }));
    EXPECT_EQ(XMOS_EnableADC(0), 0u) << "the report after the command came";
    ASSERT_TRUE(eventually([&] { return !board().adcSampling(); }));
    board().setAdcReading(1, 0x1111);
    os::sleepMs(30);
    EXPECT_EQ(GetADCIn(1), 0x0200) << "readings stay frozen while sampling is off";
    EXPECT_EQ(XMOS_EnableADC(1), 0u);
    EXPECT_TRUE(eventually([] { return GetADCIn(1) == 0x1111; }));

    // The records the board sends.
    RequestLayoutStruct();
    GuardedBuffer layout(XDSP_LAYOUT_RECORD_SIZE);
    EXPECT_EQ(GetLayoutStruct(layout.data()), 0u);
    EXPECT_EQ(layout.contents(), countingBytes(XDSP_LAYOUT_RECORD_SIZE, 1));
    EXPECT_TRUE(layout.guardsIntact());

    capture.clear();
    EXPECT_EQ(outcome(GetLayoutStruct(nullptr)), Outcome(0xFFFFFFFF, XDSP_ERROR_INVALID_PARAMETER));
    GetPellixStruct(nullptr);
    EXPECT_EQ(os::lastError(), XDSP_ERROR_INVALID_PARAMETER);
    GetProductNameStruct(nullptr);
    EXPECT_EQ(os::lastError(), XDSP_ERROR_INVALID_PARAMETER);
    EXPECT_EQ(capture.pieces(), (Lines{WIDE("GetLayoutStruct: record is null, refused.\n"),
                                       WIDE("GetPellixStruct: record is null, refused.\n"),
                                       WIDE("GetProductNameStruct: record is null, refused.\n")}));

    GuardedBuffer pellix(8);
    GetPellixStruct(pellix.data());
    EXPECT_EQ(pellix.contents(), Bytes(8, 0)) << "no Pellix record has come yet";
    os::setLastError(77);
    EXPECT_EQ(outcome(WritePellix(0x04030201, 0x0605, 0x07)), Outcome(0, 77))
        << "a sent Pellix record leaves the last-error alone";
    Bytes staged = awaitCommand(board(), 0xF101, 1);
    const Bytes record = {1, 2, 3, 4, 5, 6, 7, 0};
    EXPECT_EQ(slice(staged, 13, 8), record);
    EXPECT_TRUE(eventually([&] {
        GetPellixStruct(pellix.data());
        return pellix.contents() == record;
    })) << "the board answers with the record, one byte further on";
    EXPECT_TRUE(pellix.guardsIntact());
}

TEST_F(DeviceControl, BootAndSuspendAndTheirErrorBoxes) {
    os::setLastError(77);
    EXPECT_GE(millisOf([] { BootDevice(1); }), 200u);
    EXPECT_EQ(os::lastError(), XDSP_ERROR_SUCCESS);
    EXPECT_EQ(board().powerState(), emu::PowerState::booted);
    EXPECT_FALSE(lastCommand(board(), 0xF011).empty());
    EXPECT_EQ(capture.pieces(), Lines{WIDE("BootDevice()\r\n")});
    EXPECT_TRUE(eventually([] { return IsDeviceInitialized() == 1; }));

    SuspendDevice();
    EXPECT_EQ(os::lastError(), XDSP_ERROR_SUCCESS);
    EXPECT_EQ(board().powerState(), emu::PowerState::suspended);
    BootDevice(0);
    EXPECT_FALSE(lastCommand(board(), 0xF013).empty());
    EXPECT_TRUE(hasPieces(capture, {WIDE("SuspendDevice()\r\n"), WIDE("BootDevice()\r\n")}));
    EXPECT_TRUE(capture.messageBoxes().empty());

    // The error bit: one box per call.
    board().setErrorBit(true);
    capture.clear();
    BootDevice(1);
    EXPECT_EQ(os::lastError(), XDSP_ERROR_INTERNAL);
    SuspendDevice();
    EXPECT_EQ(os::lastError(), XDSP_ERROR_INTERNAL);
    EXPECT_EQ(errorBoxTexts(capture),
              (Lines{WIDE("Error in BootDevice\n"), WIDE("Error in SuspendDevice\n")}));
    EXPECT_EQ(capture.pieces(), (Lines{WIDE("BootDevice()\r\n"), WIDE("Command Error..."),
                                       WIDE("SuspendDevice()\r\n"), WIDE("Command Error...")}));
    EXPECT_EQ(IsOnline(), 1) << "the link stays open";
}

TEST_F(DeviceControl, StuckBusyBitsAreWaitedOutForOneSecond) {
    ASSERT_TRUE(emulated.holdBusyUntilSeen());
    uint32_t took = millisOf([] { BootDevice(1); });
    EXPECT_GE(took, 1200u) << "the bound and the pause after success";
    EXPECT_LT(took, 4000u);
    EXPECT_EQ(os::lastError(), XDSP_ERROR_SUCCESS);
    EXPECT_EQ(capture.pieces(),
              (Lines{WIDE("BootDevice()\r\n"), WIDE("Waiting for previous command to complete..."),
                     WIDE("Done.  (timeout)\n")}));
    EXPECT_FALSE(awaitCommand(board(), 0xF011, 1).empty()) << "sent after the bound";

    capture.clear();
    EXPECT_GE(millisOf([] { EXPECT_EQ(WritePellix(1, 2, 3), 0); }), 1000u);
    EXPECT_TRUE(hasPieces(capture, {WIDE("Waiting for previous command to complete..."),
                                    WIDE("Done.  (timeout)\n")}));
    EXPECT_FALSE(awaitCommand(board(), 0xF101, 1).empty());
}
