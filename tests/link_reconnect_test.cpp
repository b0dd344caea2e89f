#include "link/transaction.h"
#include "support/commands.h"

#include <gtest/gtest.h>

using namespace xdsp;
using namespace xdsp::test;

using Reconnect = OpenBoard;

TEST_F(Reconnect, ReopensAfterUnplugWithoutSendingInitAgain) {
    SendCommand(0xFFFF);
    ASSERT_TRUE(eventually([&] { return commandsWithCode(board(), 0xFFFF).size() == 1; }));

    emulated.server().unplug();
    EXPECT_TRUE(capture.waitFor(WIDE("HID::Reopening HID\n"), 3000));
    EXPECT_TRUE(capture.waitFor(WIDE("HID: CreateFile Error: "), 3000));
    EXPECT_TRUE(eventually([] { return IsOnline() == 0; }))
        << "a failed reopen leaves no device handle";

    uint32_t reportsBefore = board().outputReportCount();
    emulated.server().replug();
    EXPECT_TRUE(eventually([] { return IsOnline() == 1; }, 3000));
    EXPECT_TRUE(eventually([&] { return board().outputReportCount() > reportsBefore + 10; }, 3000));
    EXPECT_EQ(commandsWithCode(board(), 0xF000).size(), 2u) << "INIT goes out once per start only";
    // The unplug ends a pending read, or, when it comes while the thread writes,
    // makes that write fail: at most one read error either way.
    EXPECT_LE(capture.count(WIDE("HID::HID Read Error\n")), 1u);
    EXPECT_EQ(DestroyHIDUSBPacket(), 1);
}

TEST_F(Reconnect, MessageBoxAfterThirtyOneAttemptsInARow) {
    emulated.server().unplug();
    // One attempt at once, then one a second: the 31st comes after about 30 s.
    ASSERT_TRUE(capture.waitForMessageBoxes(1, 40000));
    EXPECT_EQ(errorBoxTexts(capture, WIDE("XMOS"), 48), Lines{WIDE("Error on HID")});
    EXPECT_EQ(capture.count(WIDE("HID::Reopening HID\n")), 31u);
    EXPECT_EQ(DestroyHIDUSBPacket(), 1) << "a reconnecting link is still open";
    EXPECT_EQ(capture.count(WIDE("Forcably terminating HID thread.\n")), 0u)
        << "the pause before a reopen ends when the link is closed";
}

TEST_F(Reconnect, ThreadBlockedInAReadIsStoppedAfterOneSecond) {
    board().stallReports(true);
    os::sleepMs(20);
    EXPECT_GE(millisOf([] { EXPECT_EQ(DestroyHIDUSBPacket(), 1); }), 990u);
    EXPECT_EQ(os::lastError(), XDSP_ERROR_SUCCESS);
    EXPECT_EQ(capture.count(WIDE("Forcably terminating HID thread.\n")), 1u);
    EXPECT_EQ(capture.count(WIDE("HID: Exiting HID Poll Thread.\n")), 0u)
        << "a stopped thread writes nothing more";
    EXPECT_EQ(IsOnline(), 0);
    EXPECT_FALSE(link::linkRunning(link::processLink()));

    board().stallReports(false);
    EXPECT_TRUE(eventually([&] { return !emulated.server().hostConnected(); }))
        << "the stopped thread's device is released";
    ASSERT_EQ(InitializeHIDUSBPacketPath(emulated.path().c_str()), 1);
    EXPECT_TRUE(eventually([] { return link::linkRunning(link::processLink()); }));
    EXPECT_EQ(DestroyHIDUSBPacket(), 1);
}
