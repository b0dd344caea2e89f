#include "discovery/enumerate.h"
#include "support/capture.h"

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#ifndef _WIN32
#include "os/posix/sysfs.h"

#include <unistd.h>
#endif

using xdsp::Char16;
using xdsp::test::Text;
namespace fs = std::filesystem;

TEST(ParseDeviceName, ReadsIdsAndFindsTheInstance) {
    uint16_t vendor = 9, product = 9, interface = 9;
    const Char16 *plain = WIDE(
        "\\\\?\\hid#vid_1234&pid_0101#7&1f0e3a2&0&0000#{4d1e55b2-f16f-11cf-88cb-001111000030}");
    const Char16 *instance = ParseDeviceName(plain, &vendor, &product, &interface);
    EXPECT_EQ(std::tie(vendor, product, interface), std::tuple(0x1234, 0x0101, 0));
    ASSERT_NE(instance, nullptr);
    EXPECT_EQ(Text(instance).substr(0, 10), Text(WIDE("7&1f0e3a2&")));

    const Char16 *withInterface =
        WIDE("\\\\?\\hid#vid_20b1&pid_0101&mi_02#8&2a5d1c3f&0&0000#{guid}");
    instance = ParseDeviceName(withInterface, &vendor, &product, &interface);
    EXPECT_EQ(interface, 2);
    ASSERT_NE(instance, nullptr);
    EXPECT_EQ(*instance, WIDE('8'));

    EXPECT_EQ(ParseDeviceName(WIDE("vid_20b1&mi_01"), &vendor, &product, &interface), nullptr);
    EXPECT_EQ(vendor, 0x20B1);
    EXPECT_EQ(interface, 1) << "the interface is stored even when no '#' follows";

    EXPECT_EQ(ParseDeviceName(WIDE("usb#vid_abcd"), &vendor, &product, &interface), nullptr);
    EXPECT_EQ(vendor, 0xABCD) << "the vendor id is kept without a product field";

    EXPECT_EQ(ParseDeviceName(WIDE("hid#VID_1234&PID_0101#7&1#{g}"), &vendor, &product, &interface),
              nullptr);
    EXPECT_EQ(std::tie(vendor, product), std::tuple(0, 0)) << "upper-case markers are not ids";

    ParseDeviceName(WIDE("vid_123456789&pid_zz#x"), &vendor, &product, &interface);
    EXPECT_EQ(std::tie(vendor, product), std::tuple(0x6789, 0))
        << "the low 16 bits of a long number";
}

#ifndef _WIN32 // enumeration through a sysfs tree of the test's own making
namespace {
// A sysfs tree as the kernel lays it out: class/hidraw/hidrawN/device is a link
// to the HID device directory inside its USB interface directory.
class SysfsTree {
  public:
    SysfsTree() {
        char pattern[] = "/tmp/xdsp-sysfs-XXXXXX";
        root_ = mkdtemp(pattern);
        fs::create_directories(root_ / "class/hidraw");
    }
    ~SysfsTree() { fs::remove_all(root_); }
    void add(unsigned node, uint16_t vendor, uint16_t product, unsigned interface) {
        char text[64];
        std::snprintf(text, sizeof text, "devices/usb1/1-%u/1-%u:1.%u", node, node, interface);
        fs::path usbInterface = root_ / text;
        std::snprintf(text, sizeof text, "0003:%04X:%04X.%04X", vendor, product, node);
        fs::path hidDevice = usbInterface / text;
        fs::create_directories(hidDevice);
        std::ofstream(usbInterface / "bInterfaceNumber") << std::hex << interface << "\n";
        std::snprintf(text, sizeof text, "DRIVER=hid-generic\nHID_ID=0003:%08X:%08X\n", vendor,
                      product);
        std::ofstream(hidDevice / "uevent") << text;
        fs::path node_dir = root_ / ("class/hidraw/hidraw" + std::to_string(node));
        fs::create_directories(node_dir);
        fs::create_directory_symlink(hidDevice, node_dir / "device");
    }
    // The tty that a serial driver registered under interface 0 of the USB
    // device that holds node, and the device's product string when given.
    void addSerialPort(unsigned node, const char *tty, const char *product) {
        fs::path usbDevice = root_ / ("devices/usb1/1-" + std::to_string(node));
        fs::path usbInterface = usbDevice / ("1-" + std::to_string(node) + ":1.0");
        fs::create_directories(usbInterface / "tty" / tty);
        std::ofstream(usbInterface / "bInterfaceNumber") << "00\n";
        if (product != nullptr)
            std::ofstream(usbDevice / "product") << product << "\n";
    }
    std::string root() const { return root_.string(); }

  private:
    fs::path root_;
};

std::string treeRoot;
bool lookupInTree(uint32_t index, xdsp::os::HidInterface *out) {
    return xdsp::os::hidInterfaceAtRoot(treeRoot.c_str(), index, out);
}
} // namespace

TEST(Enumeration, CountsMatchesAndWritesRecordsInNodeOrder) {
    SysfsTree tree;
    treeRoot = tree.root();
    tree.add(10, 0x20B1, 0x0101, 0); // numeric order puts hidraw10 after hidraw2
    tree.add(0, 0x046D, 0xC077, 0);
    tree.add(2, 0x20B1, 0x0008, 3);
    tree.add(1, 0xFFFF, 0x0101, 0);

    xdsp::os::setLastError(99);
    EXPECT_EQ(xdsp::discovery::enumerateDevices(lookupInTree, 0x20B1, 0xFFFF, nullptr, 0), 2u);
    EXPECT_EQ(xdsp::os::lastError(), XDSP_ERROR_SUCCESS);

    xdsp_device_record records[2];
    std::memset(records, 0x77, sizeof records);
    EXPECT_EQ(xdsp::discovery::enumerateDevices(lookupInTree, 0x20B1, 0xFFFF, records, 1), 2u);
    EXPECT_EQ(std::tie(records[0].matchNumber, records[0].hidIndex), std::tuple(0u, 2u));
    EXPECT_EQ(Text(records[0].devicePath), Text(WIDE("/dev/hidraw2")));
    EXPECT_EQ(records[1].matchNumber, 0x77777777u) << "only recordCount records are written";

    EXPECT_EQ(xdsp::discovery::enumerateDevices(lookupInTree, 0x20B1, 0x0101, records, 2), 1u);
    EXPECT_EQ(records[0].hidIndex, 3u);
    EXPECT_EQ(Text(records[0].devicePath), Text(WIDE("/dev/hidraw10")));

    EXPECT_EQ(xdsp::discovery::enumerateDevices(lookupInTree, 0xFFFF, 0x0101, records, 2), 1u)
        << "vendor 0xFFFF is no wildcard: it matches only itself";
}

TEST(Enumeration, ExaminesAtMostSixtyFourInterfaces) {
    SysfsTree tree;
    treeRoot = tree.root();
    for (unsigned node = 0; node < 66; ++node)
        tree.add(node, node < 63 ? 0x1111 : 0x20B1, 0x0101, 0);
    // Positions 63, 64 and 65 carry the board; only 63 is within reach.
    EXPECT_EQ(xdsp::discovery::enumerateDevices(lookupInTree, 0x20B1, 0x0101, nullptr, 0), 1u);

    SysfsTree empty;
    treeRoot = empty.root();
    xdsp::os::setLastError(99);
    EXPECT_EQ(xdsp::discovery::enumerateDevices(lookupInTree, 0x20B1, 0xFFFF, nullptr, 0), 0u);
    EXPECT_EQ(xdsp::os::lastError(), XDSP_ERROR_SUCCESS);
}

TEST(SerialCompanion, FindsTheTtyOfInterfaceZeroInSysfs) {
    SysfsTree tree;
    tree.add(4, 0x20B1, 0x0101, 2);
    tree.addSerialPort(4, "ttyACM0", "XDSP Board");
    tree.add(5, 0x20B1, 0x0101, 0); // interface 0 is the HID itself
    tree.add(6, 0x20B1, 0x0101, 1);
    tree.addSerialPort(6, "ttyACM1", nullptr);
    tree.add(7, 0x20B1, 0x0101, 1);
    tree.addSerialPort(7, "ttyACM2", "M\xC3\xBCller DSP \xF0\x9F\x8E\xB5");
    tree.add(8, 0x20B1, 0x0101, 1);
    tree.addSerialPort(8, "ttyACM3", std::string(80, 'p').c_str());

    // The name and the port; nothing when the path is not a node the tree names.
    using Found = std::optional<std::pair<Text, Text>>;
    auto lookUp = [&tree](const Char16 *hidPath) -> Found {
        Char16 name[XDSP_FRIENDLY_NAME_CHARS];
        Char16 port[XDSP_DEVICE_PATH_CHARS];
        if (!xdsp::os::serialPortAtRoot(tree.root().c_str(), hidPath, name, port))
            return std::nullopt;
        return std::pair<Text, Text>(name, port);
    };
    EXPECT_EQ(lookUp(WIDE("/dev/hidraw4")),
              Found({WIDE("XDSP Board (ttyACM0)"), WIDE("/dev/ttyACM0")}));
    EXPECT_EQ(lookUp(WIDE("/dev/hidraw6")),
              Found({WIDE("USB Serial Device (ttyACM1)"), WIDE("/dev/ttyACM1")}))
        << "no product string";
    EXPECT_EQ(lookUp(WIDE("/dev/hidraw7")),
              Found({u"M\u00FCller DSP \U0001F3B5 (ttyACM2)", WIDE("/dev/ttyACM2")}))
        << "UTF-8 product strings";
    EXPECT_EQ(lookUp(WIDE("/dev/hidraw8")), Found({Text(63, Char16('p')), WIDE("/dev/ttyACM3")}))
        << "a long name is cut for the caller; the port comes from the tty itself";
    for (const Char16 *withoutPort : {WIDE("/dev/hidraw5"), WIDE("/dev/hidraw99")})
        EXPECT_EQ(lookUp(withoutPort), Found({Text(), Text()}));
    for (const Char16 *otherPath :
         {WIDE("/dev/hidraw"), WIDE("/dev/hidraw4x"), WIDE("/dev/hidraw-4"),
          WIDE("/tmp/board.sock"), WIDE("\\\\?\\hid#vid_20b1&pid_0101#7&1&0&0000#{g}"), WIDE("")})
        EXPECT_EQ(lookUp(otherPath), std::nullopt) << xdsp::test::narrow(otherPath);
}
#endif
