// Every command without a running link: before any open, after a close, and
// with a poll thread that gave up. Each fails with last-error 6 at once,
// writes no debug line and leaves the caller's buffers alone.
#include "link/transaction.h"
#include "support/commands.h"

#include <gtest/gtest.h>

using namespace xdsp;
using namespace xdsp::test;

namespace {
// Calls each failing operation and checks its result and last-error.
void expectEveryCommandRefused(const Capture &capture) {
    GuardedBuffer buffer(1024);
    const uint8_t data[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    auto refused = [](int64_t result, int64_t expected, const char *name) {
        EXPECT_EQ(result, expected) << name;
        EXPECT_EQ(os::lastError(), XDSP_ERROR_INVALID_HANDLE) << name;
        os::setLastError(77);
    };
    os::setLastError(77);
    uint32_t start = os::tickMs();
    refused(WriteSPIEx(2, 2, 0, 3, 50, data, 8, buffer.data(), 16), 0, "WriteSPIEx");
    refused(WriteSPI(2, 0, 3, 50, data, 8, buffer.data(), 16), 0, "WriteSPI");
    refused(BatchSPI(2, 2, 0, 3, 50, data, 2, data, 8, buffer.data(), 16), 0, "BatchSPI");
    refused(WriteSPIEx(2, 2, 0, 3, 50, nullptr, 4000, nullptr, 5000), 0, "no link before sizes");
    refused(IsDeviceInitialized(), 0, "IsDeviceInitialized");
    refused(WritePellix(1, 2, 3), 0, "WritePellix");
    BootDevice(1);
    refused(0, 0, "BootDevice");
    SuspendDevice();
    refused(0, 0, "SuspendDevice");
    refused(WriteFLASH(0, 0, data, 8), 0, "WriteFLASH");
    refused(ReadFLASH(0, buffer.data(), 16), 0, "ReadFLASH");
    refused(SetPIN(0, 1), 0, "SetPIN");
    refused(GetPIN(), 0, "GetPIN");
    refused(WriteTEDS(0, data, 8, buffer.data(), 16), 0, "WriteTEDS");
    refused(WriteCalibrate(buffer.data()), 0, "WriteCalibrate");
    refused(ReadCalibrate(buffer.data()), 0, "ReadCalibrate");
    EXPECT_LT(elapsedMs(start), 500u) << "nothing waits";
    EXPECT_TRUE(capture.pieces().empty());
    EXPECT_TRUE(capture.messageBoxes().empty());
    EXPECT_EQ(buffer.contents(), Bytes(1024, 0xEE));
    EXPECT_TRUE(buffer.guardsIntact());
}
} // namespace

TEST(CommandsWithoutLink, BeforeAnyOpenAndAfterTheClose) {
    Capture capture;
    expectEveryCommandRefused(capture);

    // These report no error: nothing is sent and, with no link, nothing waited for.
    os::setLastError(77);
    uint32_t start = os::tickMs();
    EXPECT_EQ(XMOS_EnableADC(1), XDSP_WAIT_TIMEOUT);
    RequestLayoutStruct();
    GuardedBuffer layout(XDSP_LAYOUT_RECORD_SIZE);
    EXPECT_EQ(GetLayoutStruct(layout.data()), XDSP_WAIT_TIMEOUT);
    EXPECT_EQ(layout.contents(), Bytes(212, 0)) << "the record is copied as it is";
    EXPECT_LT(elapsedMs(start), 500u);
    EXPECT_EQ(os::lastError(), 77u);
    EXPECT_TRUE(capture.pieces().empty());
    EXPECT_EQ(GetGPIOIn(), 0);
    EXPECT_EQ(GetADCIn(0), 0);
    GuardedBuffer record(XDSP_PRODUCT_NAME_RECORD_SIZE);
    GetProductNameStruct(record.data());
    EXPECT_EQ(record.contents(), Bytes(188, 0)) << "copied as it is when nothing can answer";

    // The GPIO output word is kept and goes out with the first commands of the next open.
    SetGPIOOut(0x00AA);
    EmulatedBoard emulated;
    ASSERT_TRUE(emulated.openAndSettle(capture));
    EXPECT_EQ(slice(awaitCommand(emulated.board(), 0xF000, 1), 7, 2), (Bytes{0xAA, 0x00}));
    EXPECT_EQ(lastCommand(emulated.board(), 0xFFFF), Bytes{}) << "0xFFFF was not sent";
    emulated.board().setGpioInputs(0x0400);
    ASSERT_TRUE(eventually([] { return GetGPIOIn() == 0x0400; }));
    ASSERT_EQ(DestroyHIDUSBPacket(), 1);

    capture.clear();
    expectEveryCommandRefused(capture);
    EXPECT_EQ(GetGPIOIn(), 0x0400) << "the last word seen stays";
}

TEST(CommandsWithoutLink, ZeroReportLengthGivesUpThePollThreadButStaysOnline) {
    for (bool zeroInput : {true, false}) {
        SCOPED_TRACE(zeroInput ? "input" : "output");
        Capture capture;
        emu::BoardOptions options;
        (zeroInput ? options.inputReportLength : options.outputReportLength) = 0;
        EmulatedBoard emulated(options);
        ASSERT_EQ(InitializeHIDUSBPacketPath(emulated.path().c_str()), 1);
        ASSERT_TRUE(capture.waitFor(WIDE("HID:: HID Init Error: Cancelling Thread.\n"), 3000));
        EXPECT_EQ(IsOnline(), 1);
        EXPECT_FALSE(link::linkRunning(link::processLink()));
        capture.clear();
        SendCommand(0xF000);
        expectEveryCommandRefused(capture);
        EXPECT_EQ(emulated.board().outputReportCount(), 0u);
        EXPECT_EQ(DestroyHIDUSBPacket(), 1);
        EXPECT_EQ(capture.count(WIDE("Forcably terminating HID thread.\n")), 0u);
    }
}
