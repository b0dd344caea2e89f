// The Windows device path under Wine: SetupAPI's enumeration, the HID class's
// report lengths, exclusive opens, the link's reads and writes and its reopen
// after an unplug, on boards that Wine's winebus takes from mocked hidraw
// nodes (scripts/test-wine-hid runs each case in a process of its own).
#include "board.h"
#include "os/report_descriptor.h"
#include "support/capture.h"
#include "support/sample_bytes.h"
#include "wine_hid/wine_boards.h"

#include <xdsp/xdsp.h>

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>
#include <windows.h>

using namespace xdsp;
using namespace xdsp::test;

namespace {
constexpr uint16_t vendorId = 0x20B1;
constexpr uint16_t firstProductId = 0x0101;
constexpr uint16_t secondProductId = 0x0102;

// The path of the one board with this product id; empty when there is not exactly one.
Text boardPath(uint16_t productId) {
    xdsp_device_record record{};
    if (EnumUSBHIDDevices(vendorId, productId, &record, 1) != 1)
        return {};
    return record.devicePath;
}

// The input, output and feature lengths of a board's descriptor as Windows computes them.
std::array<uint32_t, 3> descriptorLengths(const emu::BoardOptions &options) {
    std::vector<uint8_t> descriptor = emu::Board(options).reportDescriptor();
    os::ReportLengths lengths;
    if (!os::parseReportDescriptor(descriptor.data(), descriptor.size(), &lengths, nullptr))
        return {};
    return {lengths.input, lengths.output, lengths.feature};
}

// Has the bridge pull or put back the first board's cable, and waits until it has.
bool askBridge(const std::string &request) {
    const char *control = std::getenv("XDSP_WINE_HID_CONTROL");
    if (control == nullptr)
        return false;
    std::string path = std::string(control) + "\\" + request;
    std::string done = path + ".done";
    std::ofstream(path) << request << "\n";
    bool carried = eventually([&] { return std::ifstream(done).good(); }, 5000);
    std::remove(done.c_str());
    return carried;
}

// Wine's ntdll names itself: where its HID class parts from Windows', the
// cases say so instead of failing.
bool underWine() {
    HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    return ntdll != nullptr && GetProcAddress(ntdll, "wine_get_version") != nullptr;
}

class WineHid : public ::testing::Test {
  protected:
    void TearDown() override {
        DestroyHIDUSBPacket();
        if (HasFailure())
            std::printf("The library's debug output:\n%s\n", narrow(capture.joined()).c_str());
    }
    // Opens the link and waits for the second INIT's answer, the board's name.
    void openLink(const Text &path) {
        ASSERT_FALSE(path.empty()) << "the board is not listed";
        ASSERT_EQ(InitializeHIDUSBPacketPath(path.c_str()), 1) << os::lastError();
        ASSERT_TRUE(capture.waitFor(WIDE("HID: Sending INIT Command.\n"), 3000));
        ASSERT_TRUE(eventually([&] { return capture.count(WIDE("HID: ProductName: ")) >= 2; }));
    }

    Capture capture;
};
} // namespace

TEST_F(WineHid, EnumerationListsBothBoardsByTheirClassPaths) {
    std::array<xdsp_device_record, 4> records{};
    os::setLastError(99);
    ASSERT_EQ(EnumUSBHIDDevices(vendorId, firstProductId, records.data(), 4), 1u);
    EXPECT_EQ(os::lastError(), 0u);
    Text first = records[0].devicePath;
    EXPECT_EQ(first.rfind(WIDE("\\\\?\\hid#vid_20b1&pid_0101#"), 0), 0u) << narrow(first);
    EXPECT_EQ(records[0].matchNumber, 0u);

    // Any product of the vendor: both boards, in the class's order.
    ASSERT_EQ(EnumUSBHIDDevices(vendorId, 0xFFFF, records.data(), 4), 2u);
    Text paths = Text(records[0].devicePath) + WIDE(" ") + records[1].devicePath;
    EXPECT_NE(paths.find(WIDE("vid_20b1&pid_0101#")), Text::npos) << narrow(paths);
    EXPECT_NE(paths.find(WIDE("vid_20b1&pid_0102#")), Text::npos) << narrow(paths);
    EXPECT_EQ(records[1].matchNumber, 1u);
    EXPECT_NE(records[0].hidIndex, records[1].hidIndex);
    EXPECT_EQ(EnumUSBHIDDevices(vendorId, secondProductId, nullptr, 0), 1u);
    EXPECT_EQ(EnumUSBHIDDevices(vendorId, 0x0103, records.data(), 4), 0u);
    EXPECT_EQ(EnumUSBHIDDevices(0xFFFF, firstProductId, records.data(), 4), 0u)
        << "the vendor has no wildcard";

    ASSERT_EQ(EnumUSBHIDDevices(vendorId, firstProductId, records.data(), 4), 1u);
    xdsp_handle opened = OpenUSBHIDDevice(&records[0]);
    EXPECT_NE(opened, nullptr) << os::lastError();
    CloseHandle(opened);
}

TEST_F(WineHid, OpensExclusivelyWithTheLengthsOfTheDescriptor) {
    const std::pair<uint16_t, emu::BoardOptions> boards[] = {{firstProductId, wineFirstBoard()},
                                                             {secondProductId, wineSecondBoard()}};
    bool sharedUnderWine = false;
    for (const auto &[productId, options] : boards) {
        SCOPED_TRACE(productId);
        Text path = boardPath(productId);
        ASSERT_FALSE(path.empty());
        xdsp_handle device = OpenUSBHIDDevicePath(path.c_str());
        ASSERT_NE(device, nullptr) << os::lastError();
        EXPECT_EQ(os::lastError(), 0u);
        std::array<uint32_t, 3> lengths = {1, 1, 1};
        EXPECT_EQ(GetHIDUSBSizes(device, &lengths[0], &lengths[1], &lengths[2]), 1);
        EXPECT_EQ(lengths, descriptorLengths(options));

        xdsp_handle second = OpenUSBHIDDevicePath(path.c_str());
        if (second != nullptr && underWine()) {
            sharedUnderWine = true;
            CloseHandle(second);
        } else {
            EXPECT_EQ(second, nullptr) << "the device is held exclusively";
            EXPECT_EQ(os::lastError(), uint32_t{XDSP_ERROR_SHARING_VIOLATION});
        }
        CloseHandle(device);
        device = OpenUSBHIDDevicePath(path.c_str());
        EXPECT_NE(device, nullptr) << "closing gave up the exclusive hold";
        CloseHandle(device);
    }
    if (sharedUnderWine)
        GTEST_SKIP() << "Wine 8.0's HID class grants a second open of a device held without "
                        "sharing";
}

TEST_F(WineHid, LinkCarriesSpiTransfers) {
    openLink(boardPath(secondProductId));
    for (uint32_t length : {1u, 16u, 30u}) {
        std::vector<uint8_t> written = sampleBytes(length, static_cast<uint8_t>(length));
        std::vector<uint8_t> read(length, 0xEE);
        ASSERT_EQ(WriteSPI(2, 0, 3, 50, written.data(), length, read.data(), length), 1) << length;
        EXPECT_EQ(read, written) << length << " bytes";
    }
    EXPECT_EQ(capture.count(WIDE("HID::HID Read Error\n")), 0u);
    EXPECT_EQ(DestroyHIDUSBPacket(), 1);
}

TEST_F(WineHid, WholeUploadVerifies) {
    openLink(boardPath(firstProductId));
    ASSERT_EQ(BootLoader_Init(2, 2), 1);
    std::vector<uint8_t> data = sampleBytes(3000, 7);
    ASSERT_EQ(BootLoader_Send(4, 2, 0x30000, 0x32000, WIDE("coefficients.dat"), data.data(),
                              static_cast<uint32_t>(data.size()), 0, nullptr, 0),
              1);
    EXPECT_EQ(os::lastError(), 0u) << "the checksums agree";
    EXPECT_EQ(BootLoader_GetFileChecksum(4),
              BootLoader_ComputeFileChecksum(data.data(), static_cast<uint32_t>(data.size())));
}

TEST_F(WineHid, NodePulledAndPutBack) {
    Text path = boardPath(firstProductId);
    openLink(path);
    ASSERT_EQ(BootLoader_Init(2, 2), 1);
    ASSERT_TRUE(askBridge("unplug"));
    EXPECT_TRUE(eventually([] { return boardPath(firstProductId).empty(); }, 5000))
        << "the board left the class";
    bool reopening = capture.waitFor(WIDE("HID::Reopening HID\n"), 3000);
    if (reopening) {
        EXPECT_TRUE(eventually([] { return IsOnline() == 0; }, 5000))
            << "a failed reopen leaves no device handle";
    }

    ASSERT_TRUE(askBridge("replug"));
    EXPECT_TRUE(eventually([&] { return boardPath(firstProductId) == path; }, 5000))
        << "the board is back under its old path";
    if (!reopening && underWine()) {
        // The link still waits on its read; a new link reaches the board.
        EXPECT_EQ(DestroyHIDUSBPacket(), 1);
        capture.clear();
        openLink(path);
        EXPECT_EQ(BootLoader_Init(2, 2), 1);
        GTEST_SKIP() << "Wine 8.0 completes no read pending on a HID device that went away, "
                        "so the link never learns of the unplug";
    }
    EXPECT_TRUE(eventually([] { return IsOnline() == 1; }, 10000));
    EXPECT_EQ(BootLoader_Init(2, 2), 1) << "the link carries commands again";
    EXPECT_LE(capture.count(WIDE("HID::HID Read Error\n")), 1u);
    EXPECT_EQ(DestroyHIDUSBPacket(), 1);
}
