#include "link/report_format.h"
#include "link/transaction.h"
#include "support/emulated_board.h"

#include <gtest/gtest.h>

using namespace xdsp;
using namespace xdsp::test;

namespace {
size_t countCommands(emu::Board &board, uint16_t code) {
    size_t found = 0;
    for (const auto &report : board.receivedCommands())
        found += report.size() > 10 && link::readWord(report.data(), 9) == code ? 1 : 0;
    return found;
}
} // namespace

TEST(Reconnect, ReopensAfterUnplugWithoutSendingInitAgain) {
    Capture capture;
    EmulatedBoard emulated;
    ASSERT_TRUE(emulated.openAndSettle(capture));
    SendCommand(0xFFFF);
    ASSERT_TRUE(eventually([&] { return countCommands(emulated.board(), 0xFFFF) == 1; }));

    emulated.server().unplug();
    EXPECT_TRUE(capture.waitFor(WIDE("HID::Reopening HID\n"), 3000));
    EXPECT_TRUE(capture.waitFor(WIDE("HID: CreateFile Error: "), 3000));
    EXPECT_TRUE(eventually([] { return IsOnline() == 0; }))
        << "a failed reopen leaves no device handle";

    uint32_t reportsBefore = emulated.board().outputReportCount();
    emulated.server().replug();
    EXPECT_TRUE(eventually([] { return IsOnline() == 1; }, 3000));
    EXPECT_TRUE(eventually(
        [&] { return emulated.board().outputReportCount() > reportsBefore + 10; }, 3000));
    EXPECT_EQ(countCommands(emulated.board(), 0xF000), 2u) << "INIT goes out once per start only";
    // The unplug ends a pending read, or, when it comes while the thread writes,
    // makes that write fail: at most one read error either way.
    EXPECT_LE(capture.count(WIDE("HID::HID Read Error\n")), 1u);
    EXPECT_EQ(DestroyHIDUSBPacket(), 1);
}

TEST(Reconnect, MessageBoxAfterThirtyOneAttemptsInARow) {
    Capture capture;
    EmulatedBoard emulated;
    ASSERT_TRUE(emulated.openAndSettle(capture));
    emulated.server().unplug();
    // One attempt at once, then one a second: the 31st comes after about 30 s.
    ASSERT_TRUE(capture.waitForMessageBoxes(1, 40000));
    std::vector<MessageBoxCall> boxes = capture.messageBoxes();
    EXPECT_EQ(boxes[0].text, Text(WIDE("Error on HID")));
    EXPECT_EQ(boxes[0].caption, Text(WIDE("XMOS")));
    EXPECT_EQ(boxes[0].style, 48u);
    EXPECT_EQ(capture.count(WIDE("HID::Reopening HID\n")), 31u);
    EXPECT_EQ(DestroyHIDUSBPacket(), 1) << "a reconnecting link is still open";
    EXPECT_EQ(capture.count(WIDE("Forcably terminating HID thread.\n")), 0u)
        << "the pause before a reopen ends when the link is closed";
}

TEST(ForcedStop, ThreadBlockedInAReadIsStoppedAfterOneSecond) {
    Capture capture;
    EmulatedBoard emulated;
    ASSERT_TRUE(emulated.openAndSettle(capture));
    emulated.board().stallReports(true);
    os::sleepMs(20);
    uint32_t start = os::tickMs();
    EXPECT_EQ(DestroyHIDUSBPacket(), 1);
    uint32_t elapsed = os::tickMs() - start;
    EXPECT_GE(elapsed, 990u);
    EXPECT_EQ(os::lastError(), 0u);
    EXPECT_EQ(capture.count(WIDE("Forcably terminating HID thread.\n")), 1u);
    EXPECT_EQ(capture.count(WIDE("HID: Exiting HID Poll Thread.\n")), 0u)
        << "a stopped thread writes nothing more";
    EXPECT_EQ(IsOnline(), 0);
    EXPECT_FALSE(link::linkRunning(link::processLink()));

    emulated.board().stallReports(false);
    EXPECT_TRUE(eventually([&] { return !emulated.server().hostConnected(); }))
        << "the stopped thread's device is released";
    ASSERT_EQ(InitializeHIDUSBPacketPath(emulated.path().c_str()), 1);
    EXPECT_TRUE(eventually([] { return link::linkRunning(link::processLink()); }));
    EXPECT_EQ(DestroyHIDUSBPacket(), 1);
}

TEST(BoardFaults, WrongMagicHidesTheGpioWordAndWrongChecksumOnlyTheResponse) {
    Capture capture;
    EmulatedBoard emulated;
    ASSERT_TRUE(emulated.openAndSettle(capture));
    emulated.board().corruptMagic(1000000);
    emulated.board().setGpioInputs(0x0400);
    uint32_t reports = emulated.board().outputReportCount();
    ASSERT_TRUE(eventually([&] { return emulated.board().outputReportCount() > reports + 20; }));
    EXPECT_EQ(GetGPIOIn(), 0) << "a report with a wrong magic stores no GPIO word";

    emulated.board().corruptMagic(0);
    emulated.board().corruptChecksum(1000000);
    EXPECT_TRUE(eventually([] { return GetGPIOIn() == 0x0400; }));
    capture.clear();
    emulated.board().injectResponse(0xF000, std::vector<uint8_t>(188, 0x41));
    reports = emulated.board().outputReportCount();
    ASSERT_TRUE(eventually([&] { return emulated.board().outputReportCount() > reports + 20; }));
    EXPECT_EQ(capture.count(WIDE("HID: ProductName: ")), 0u) << "no response behind a bad checksum";
    EXPECT_EQ(DestroyHIDUSBPacket(), 1);
}
