// The library against a board that looks attached: the sysfs walk, the hidraw
// node and its ioctls, the exclusive open, the tty of the serial port, all
// through the public API (the debug lines through the library's own sink).
// Runs under umockdev-wrapper.
#include "support/capture.h"
#include "support/emulated_board.h"
#include "support/sample_bytes.h"
#include "umockdev/board_testbed.h"

#include <xdsp/xdsp.h>

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <linux/capability.h>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <thread>
#include <tuple>
#include <unistd.h>
#include <vector>

using namespace xdsp;
using namespace xdsp::test;

namespace {
constexpr char16_t boardPath[] = u"/dev/hidraw0";

bool wrote(const Capture &debug, const Text &text) {
    return debug.joined().find(text) != Text::npos;
}

// Gives up, for the calling thread (the raw calls act per thread), the
// capabilities by which root passes file permission bits, while it lives.
class CapabilityDrop {
  public:
    CapabilityDrop() {
        if (!capabilities(SYS_capget))
            return;
        saved_ = sets_[0].effective;
        sets_[0].effective &= ~((1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH));
        dropped_ = capabilities(SYS_capset);
    }
    ~CapabilityDrop() {
        sets_[0].effective = saved_;
        if (dropped_)
            capabilities(SYS_capset);
    }
    bool dropped() const { return dropped_; }

  private:
    bool capabilities(long call) {
        __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
        return syscall(call, &header, sets_) == 0;
    }
    __user_cap_data_struct sets_[_LINUX_CAPABILITY_U32S_3] = {};
    uint32_t saved_ = 0;
    bool dropped_ = false;
};

class AttachedBoard : public ::testing::Test {
  protected:
    void start(emu::BoardOptions options) {
        testbed_ = std::make_unique<BoardTestbed>(std::move(options));
        ASSERT_EQ(testbed_->error(), "");
    }
    void TearDown() override {
        DestroyHIDUSBPacket();
        if (HasFailure())
            std::printf("The library's debug output:\n%s\n", narrow(debug.joined()).c_str());
        testbed_.reset();
    }
    // Opens the link and waits for the second INIT's answer, the board's name.
    void openLink() {
        ASSERT_EQ(InitializeHIDUSBPacketPath(boardPath), 1);
        ASSERT_TRUE(debug.waitFor(u"HID: Sending INIT Command.\n", 3000));
        ASSERT_TRUE(eventually([&] { return debug.count(u"HID: ProductName: ") >= 2; }));
    }
    BoardTestbed &testbed() { return *testbed_; }

    Capture debug;
    std::unique_ptr<BoardTestbed> testbed_;
};

std::atomic<BoardTestbed *> unplugTarget{nullptr};

// Pulls the cable when the upload reaches its checksum step.
int32_t XDSP_API unplugBeforeTheChecksum(int32_t percent, uint32_t) {
    if (BoardTestbed *testbed = percent == 95 ? unplugTarget.exchange(nullptr) : nullptr)
        testbed->unplug();
    return 0;
}
} // namespace

TEST_F(AttachedBoard, EnumerationFindsTheRightNodesAcrossTheGap) {
    start({});
    xdsp_device_record records[4] = {};
    xdsp_set_last_error(99);
    EXPECT_EQ(EnumUSBHIDDevices(boardIds.vendorId, boardIds.productId, records, 4), 1u);
    EXPECT_EQ(xdsp_last_error(), XDSP_ERROR_SUCCESS);
    EXPECT_EQ(Text(records[0].devicePath), boardPath);
    EXPECT_EQ(records[0].matchNumber, 0u);
    EXPECT_EQ(records[0].hidIndex, 0u);
    xdsp_handle opened = OpenUSBHIDDevice(&records[0]);
    EXPECT_NE(opened, nullptr);
    EXPECT_EQ(xdsp_close_device(opened), 1);

    // Any product of the vendor: both boards, the mouse between them counted
    // in the index but not matched; hidraw1's absence leaves no hole.
    EXPECT_EQ(EnumUSBHIDDevices(boardIds.vendorId, 0xFFFF, records, 4), 2u);
    EXPECT_EQ(Text(records[1].devicePath), u"/dev/hidraw3");
    EXPECT_EQ(records[1].matchNumber, 1u);
    EXPECT_EQ(records[1].hidIndex, 2u);
    EXPECT_EQ(EnumUSBHIDDevices(secondBoardIds.vendorId, secondBoardIds.productId, nullptr, 0), 1u);

    xdsp_device_record one[1] = {};
    EXPECT_EQ(EnumUSBHIDDevices(mouseIds.vendorId, 0xFFFF, one, 1), 1u);
    EXPECT_EQ(Text(one[0].devicePath), u"/dev/hidraw2");
    EXPECT_EQ(one[0].hidIndex, 1u);
    EXPECT_EQ(EnumUSBHIDDevices(boardIds.vendorId, 0x0103, records, 4), 0u);
    EXPECT_EQ(EnumUSBHIDDevices(0xFFFF, boardIds.productId, records, 4), 0u)
        << "the vendor has no wildcard";
}

TEST_F(AttachedBoard, SerialPortIsTheTtyOfInterfaceZero) {
    start({});
    std::vector<char16_t> port(260, u'?');
    std::vector<char16_t> name(64, u'?');
    xdsp_set_last_error(77);
    EXPECT_EQ(GetMatchingHID_COMDevice(boardPath, port.data(), name.data()), 1);
    EXPECT_EQ(std::u16string(port.data()), u"/dev/ttyACM0");
    EXPECT_EQ(std::u16string(name.data()), u"XDSP 21469 Board (ttyACM0)");
    EXPECT_EQ(xdsp_last_error(), 77u);

    // The second board has no serial port: both outputs come back empty.
    EXPECT_EQ(GetMatchingHID_COMDevice(u"/dev/hidraw3", port.data(), name.data()), 1);
    EXPECT_EQ(port[0], 0);
    EXPECT_EQ(name[0], 0);
}

TEST_F(AttachedBoard, NodeOpensOnceAndItsDescriptorGivesTheLengths) {
    emu::BoardOptions options;
    options.inputReportLength = 64;
    options.outputReportLength = 33;
    start(options);
    xdsp_handle first = OpenUSBHIDDevicePath(boardPath);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(xdsp_last_error(), XDSP_ERROR_SUCCESS);
    uint32_t input = 1, output = 1, feature = 1;
    EXPECT_EQ(GetHIDUSBSizes(first, &input, &output, &feature), 1);
    EXPECT_EQ(std::tuple(input, output, feature), std::tuple(64u, 33u, 0u));

    EXPECT_EQ(OpenUSBHIDDevicePath(boardPath), nullptr);
    EXPECT_EQ(xdsp_last_error(), XDSP_ERROR_SHARING_VIOLATION);
    EXPECT_TRUE(wrote(debug, u"HID: CreateFile Error: The process cannot access the file "
                             u"because it is being used by another process.\r\n\n"));

    EXPECT_EQ(xdsp_close_device(first), 1);
    xdsp_handle again = OpenUSBHIDDevicePath(boardPath);
    EXPECT_NE(again, nullptr) << "closing gives the exclusive hold up";
    EXPECT_EQ(xdsp_close_device(again), 1);
}

TEST_F(AttachedBoard, LinkCarriesSpiTransfersReportByReport) {
    start({});
    openLink();
    // Whole reports; then reports that carry only the header and the 16 answer
    // bytes, the rest zeros, which must not wait for the next one to fill them.
    for (uint32_t length : {300u, 16u}) {
        if (length == 16)
            testbed().node().cutInputReports(1000000, 120);
        std::vector<uint8_t> written = sampleBytes(length, 5);
        std::vector<uint8_t> read(length, 0xEE);
        for (int round = 0; round < 3; ++round) {
            written[0] = static_cast<uint8_t>(round);
            ASSERT_EQ(WriteSPI(2, 0, 3, 50, written.data(), length, read.data(), length), 1);
            EXPECT_EQ(read, written) << length << " bytes, round " << round;
        }
    }
    EXPECT_EQ(testbed().node().shortReads(), 0u) << "every read asked for a whole report";
    EXPECT_EQ(debug.count(u"HID::HID Read Error\n"), 0u);
    EXPECT_EQ(DestroyHIDUSBPacket(), 1);
}

TEST_F(AttachedBoard, NodeWithoutReadPermissionIsRefused) {
    start({});
    ASSERT_TRUE(testbed().setNodeMode(S_IWUSR));
    // Root passes permission bits by these two capabilities: this thread,
    // which does the open, gives them up for the while.
    CapabilityDrop drop;
    ASSERT_TRUE(drop.dropped());
    EXPECT_EQ(OpenUSBHIDDevicePath(boardPath), nullptr);
    EXPECT_EQ(xdsp_last_error(), XDSP_ERROR_ACCESS_DENIED);
    EXPECT_TRUE(wrote(debug, u"HID: CreateFile Error: Access is denied.\r\n\n"));
    EXPECT_EQ(InitializeHIDUSBPacketPath(boardPath), 0);
    EXPECT_EQ(xdsp_last_error(), XDSP_ERROR_ACCESS_DENIED);
    EXPECT_EQ(IsOnline(), 0);
}

TEST_F(AttachedBoard, NodeRemovedDuringAnUploadAndPutBack) {
    // Paths the testbed lacks reach the machine's own /dev.
    if (access("/dev/hidraw0", F_OK) == 0)
        GTEST_SKIP() << "an unplugged node's path would reach this machine's own /dev/hidraw0";
    start(boardWithBootLoader());
    openLink();
    ASSERT_EQ(BootLoader_Init(2, 2), 1);
    std::vector<uint8_t> data = sampleBytes(1000, 11);
    // The mismatch line shows the sum without the last byte, the second try.
    uint16_t sum = BootLoader_ComputeFileChecksum(data.data(), 999);

    // Both checksum requests go unanswered (each after its 10000 ms wait), and
    // only then does the board come back.
    std::atomic<bool> offlineSeen{false};
    std::thread replugger([&] {
        if (!eventually([&] { return debug.count(u"Invalid SPI Response.\n") >= 2; }, 60000))
            return;
        offlineSeen = IsOnline() == 0;
        testbed().replug();
    });
    unplugTarget = &testbed();
    EXPECT_EQ(BootLoader_Send(4, 2, 0x30000, 0x32000, u"first.dat", data.data(), 1000, 0,
                              unplugBeforeTheChecksum, 0),
              1);
    EXPECT_EQ(xdsp_last_error(), XDSP_ERROR_CHECKSUM_MISMATCH);
    replugger.join();
    char mismatch[64];
    std::snprintf(mismatch, sizeof mismatch, "Checksums do not match!\n0000 != %04X\n", sum);
    EXPECT_TRUE(wrote(debug, wide(mismatch)));
    EXPECT_TRUE(offlineSeen) << "no handle while the node is away";
    // A read pending at the unplug fails (EIO); else the next write does (ENODEV).
    EXPECT_LE(debug.count(u"HID::HID Read Error\n"), 1u);
    EXPECT_GE(debug.count(u"HID::Reopening HID\n"), 2u);
    EXPECT_TRUE(
        wrote(debug, u"HID: CreateFile Error: The system cannot find the file specified.\r\n\n"));

    ASSERT_TRUE(eventually([] { return IsOnline() == 1; }));
    std::vector<uint8_t> second = sampleBytes(800, 12);
    EXPECT_EQ(
        BootLoader_Send(4, 2, 0x30000, 0x32000, u"second.dat", second.data(), 800, 0, nullptr, 0),
        1);
    EXPECT_EQ(xdsp_last_error(), XDSP_ERROR_SUCCESS) << "the link resumed";
    EXPECT_EQ(BootLoader_GetFileChecksum(4), BootLoader_ComputeFileChecksum(second.data(), 800));
}
