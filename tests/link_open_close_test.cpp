#include "link/transaction.h"
#include "support/commands.h"

#include <array>
#include <gtest/gtest.h>
#ifdef _WIN32
#include <windows.h>
#else
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#endif

using namespace xdsp;
using namespace xdsp::test;

namespace {
void closeDevice(xdsp_handle device) {
#ifdef _WIN32
    CloseHandle(device);
#else
    EXPECT_EQ(xdsp_close_device(device), 1);
#endif
}
} // namespace

TEST(OpenClose, CloseWithNothingOpenFailedOpensAndASecondHandle) {
    Capture capture;
    os::setLastError(0);
    EXPECT_EQ(outcome(DestroyHIDUSBPacket()), Outcome(0, XDSP_ERROR_NOT_OPEN));
    EXPECT_TRUE(capture.pieces().empty());

    EXPECT_EQ(outcome(InitializeHIDUSBPacketPath(absentDevicePath().c_str())),
              Outcome(0, XDSP_ERROR_FILE_NOT_FOUND));
    EXPECT_EQ(IsOnline(), 0);
    Char16 notFound[256];
    ASSERT_TRUE(os::systemErrorText(2, notFound, 256));
    EXPECT_EQ(capture.pieces(), (Lines{WIDE("Opening HID.\n"), WIDE("HID: CreateFile Error: "),
                                       notFound, WIDE("\n")}));
    EXPECT_EQ(outcome(DestroyHIDUSBPacket()), Outcome(0, XDSP_ERROR_NOT_OPEN))
        << "a failed open leaves nothing";

    // No path at all is a bad argument on every platform, not a missing device.
    EXPECT_EQ((std::vector<Outcome>{outcome(InitializeHIDUSBPacketPath(nullptr)),
                                    outcome(InitializeHIDUSBPacket(nullptr)),
                                    outcome(OpenUSBHIDDevicePath(nullptr) != nullptr),
                                    outcome(OpenUSBHIDDevice(nullptr) != nullptr)}),
              std::vector<Outcome>(4, Outcome(0, XDSP_ERROR_INVALID_PARAMETER)));
    EXPECT_EQ(IsOnline(), 0);

    // An open device reports its lengths and refuses a second handle.
    EmulatedBoard emulated;
    xdsp_handle device = OpenUSBHIDDevicePath(emulated.path().c_str());
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(os::lastError(), XDSP_ERROR_SUCCESS);
    std::array<uint32_t, 3> lengths = {1, 1, 1}; // input, output, feature
    EXPECT_EQ(GetHIDUSBSizes(device, &lengths[0], &lengths[1], &lengths[2]), 1);
    EXPECT_EQ(lengths, (std::array<uint32_t, 3>{512, 512, 0}));
    EXPECT_EQ(GetHIDUSBSizes(device, nullptr, nullptr, nullptr), 1);

    EXPECT_EQ(outcome(OpenUSBHIDDevicePath(emulated.path().c_str()) != nullptr),
              Outcome(0, XDSP_ERROR_SHARING_VIOLATION))
        << "the device is held exclusively";
    EXPECT_EQ(outcome(InitializeHIDUSBPacketPath(emulated.path().c_str())),
              Outcome(0, XDSP_ERROR_SHARING_VIOLATION));
    EXPECT_EQ(IsOnline(), 0);
    closeDevice(device);
#ifndef _WIN32
    EXPECT_EQ(outcome(xdsp_close_device(nullptr)), Outcome(0, XDSP_ERROR_INVALID_HANDLE));
#endif
    // A Windows pipe server listens again only a moment after the hang-up.
    ASSERT_TRUE(eventually([&] {
        device = OpenUSBHIDDevicePath(emulated.path().c_str());
        return device != nullptr;
    })) << "closing gave up the exclusive hold";
    closeDevice(device);

    EXPECT_EQ(GetHIDUSBSizes(nullptr, &lengths[0], nullptr, nullptr), 0);
    EXPECT_EQ(lengths[0], 0u);
}

using OpenLink = OpenBoard;

TEST_F(OpenLink, RunsThePollThreadUntilTheCloseStopsIt) {
    EXPECT_EQ(os::lastError(), XDSP_ERROR_SUCCESS);
    EXPECT_EQ(IsOnline(), 1);
    EXPECT_TRUE(link::linkRunning(link::processLink()));

    os::setLastError(77);
    EXPECT_EQ(outcome(IsOnline()), Outcome(1, 77)) << "IsOnline leaves the last-error alone";

    EXPECT_EQ(outcome(DestroyHIDUSBPacket()), Outcome(1, XDSP_ERROR_SUCCESS));
    EXPECT_EQ(IsOnline(), 0);
    EXPECT_FALSE(link::linkRunning(link::processLink()));
    EXPECT_EQ(capture.pieces(),
              (Lines{WIDE("Closing HID.\n"), WIDE("HID: Cleaning up Poll Thread.\n"),
                     WIDE("HID: Exiting HID Poll Thread.\n")}));
    EXPECT_TRUE(eventually([&] { return !emulated.server().hostConnected(); }));

    uint32_t reports = board().outputReportCount();
    SendCommand(0xFFFF);
    os::sleepMs(20);
    EXPECT_EQ(board().outputReportCount(), reports) << "nothing is sent after a close";
}

TEST(OpenClose, OpeningAgainClosesTheOldLinkFirst) {
    Capture capture;
    EmulatedBoard first;
    EmulatedBoard second;
    ASSERT_TRUE(first.openAndSettle(capture));
    capture.clear();
    ASSERT_EQ(InitializeHIDUSBPacketPath(second.path().c_str()), 1);
    Lines pieces = capture.pieces();
    pieces.resize(4);
    EXPECT_EQ(pieces, (Lines{WIDE("Closing HID.\n"), WIDE("HID: Cleaning up Poll Thread.\n"),
                             WIDE("HID: Exiting HID Poll Thread.\n"), WIDE("Opening HID.\n")}));
    EXPECT_TRUE(eventually([&] { return !first.server().hostConnected(); }));
    EXPECT_TRUE(eventually([&] { return second.server().hostConnected(); }));
}

TEST(OpenClose, ReopensAtOnceAfterAClose) {
    Capture capture;
    EmulatedBoard emulated;
    for (int round = 0; round < 20; ++round) {
        ASSERT_EQ(InitializeHIDUSBPacketPath(emulated.path().c_str()), 1)
            << "round " << round << ", last-error " << os::lastError();
        ASSERT_EQ(DestroyHIDUSBPacket(), 1);
    }
    EXPECT_EQ(emulated.server().refusedConnections(), 0u);
}

#ifndef _WIN32 // the Windows counterpart is in virtual_device_pipe_test.cpp
TEST(OpenClose, VirtualDeviceThatSendsNoDescriptorFailsWithInternalError) {
    std::string path = "/tmp/xdsp-silent-" + std::to_string(getpid()) + ".sock";
    int listener = socket(AF_UNIX, SOCK_SEQPACKET, 0);
    sockaddr_un address{AF_UNIX, {}};
    std::snprintf(address.sun_path, sizeof address.sun_path, "%s", path.c_str());
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    ASSERT_EQ(listen(listener, 1), 0);

    Capture capture;
    EXPECT_EQ(OpenUSBHIDDevicePath(wide(path).c_str()), nullptr);
    EXPECT_EQ(os::lastError(), XDSP_ERROR_INTERNAL);
    close(listener);
    unlink(path.c_str());
}
#endif
