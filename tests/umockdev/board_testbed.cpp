#include "umockdev/board_testbed.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <umockdev.h>
#include <unistd.h>

namespace xdsp::test {

namespace {
constexpr char boardNode[] = "/dev/hidraw0";
constexpr char boardClassLink[] = "sys/class/hidraw/hidraw0";

// Devices as umockdev-record writes them. sysfs attribute files end in a
// newline; each class device links back to its parent as "device".
std::string sysfsTree() {
    char text[6144];
    std::snprintf(
        text, sizeof text,
        // The board: CDC ACM on interface 0, HID on interface 1.
        "P: /devices/pci0000:00/0000:00:14.0/usb1/1-2\n"
        "E: SUBSYSTEM=usb\nE: DEVTYPE=usb_device\nE: DRIVER=usb\n"
        "A: idVendor=%04x\\n\nA: idProduct=%04x\\n\nA: product=%s\\n\n"
        "A: manufacturer=XDSP\\n\nA: serial=0001\\n\nA: bNumInterfaces= 2\\n\n\n"
        "P: /devices/pci0000:00/0000:00:14.0/usb1/1-2/1-2:1.0\n"
        "E: SUBSYSTEM=usb\nE: DEVTYPE=usb_interface\nE: DRIVER=cdc_acm\n"
        "A: bInterfaceNumber=00\\n\nA: bInterfaceClass=02\\n\n\n"
        "P: /devices/pci0000:00/0000:00:14.0/usb1/1-2/1-2:1.0/tty/ttyACM0\n"
        "L: device=../../../1-2:1.0\nN: ttyACM0\n"
        "E: SUBSYSTEM=tty\nE: DEVNAME=/dev/ttyACM0\nE: MAJOR=166\nE: MINOR=0\nA: dev=166:0\\n\n\n"
        "P: /devices/pci0000:00/0000:00:14.0/usb1/1-2/1-2:1.1\n"
        "E: SUBSYSTEM=usb\nE: DEVTYPE=usb_interface\nE: DRIVER=usbhid\n"
        "A: bInterfaceNumber=01\\n\nA: bInterfaceClass=03\\n\n\n"
        "P: /devices/pci0000:00/0000:00:14.0/usb1/1-2/1-2:1.1/0003:20B1:0101.0001\n"
        "E: SUBSYSTEM=hid\nE: DRIVER=hid-generic\nE: HID_ID=0003:0000%04X:0000%04X\n"
        "E: HID_NAME=XDSP %s\n\n"
        "P: /devices/pci0000:00/0000:00:14.0/usb1/1-2/1-2:1.1/0003:20B1:0101.0001/hidraw/hidraw0\n"
        "L: device=../../../0003:20B1:0101.0001\nN: hidraw0\n"
        "E: SUBSYSTEM=hidraw\nE: DEVNAME=/dev/hidraw0\nE: MAJOR=241\nE: MINOR=0\n"
        "A: dev=241:0\\n\n\n"
        // A mouse: one HID interface, on hidraw2; hidraw1 does not exist.
        "P: /devices/pci0000:00/0000:00:14.0/usb1/1-3\n"
        "E: SUBSYSTEM=usb\nE: DEVTYPE=usb_device\n"
        "A: idVendor=%04x\\n\nA: idProduct=%04x\\n\nA: product=USB Optical Mouse\\n\n\n"
        "P: /devices/pci0000:00/0000:00:14.0/usb1/1-3/1-3:1.0\n"
        "E: SUBSYSTEM=usb\nE: DEVTYPE=usb_interface\nA: bInterfaceNumber=00\\n\n\n"
        "P: /devices/pci0000:00/0000:00:14.0/usb1/1-3/1-3:1.0/0003:046D:C077.0002\n"
        "E: SUBSYSTEM=hid\nE: HID_ID=0003:0000%04X:0000%04X\n\n"
        "P: /devices/pci0000:00/0000:00:14.0/usb1/1-3/1-3:1.0/0003:046D:C077.0002/hidraw/hidraw2\n"
        "L: device=../../../0003:046D:C077.0002\nN: hidraw2=00\n"
        "E: SUBSYSTEM=hidraw\nE: DEVNAME=/dev/hidraw2\nA: dev=241:2\\n\n\n"
        // A second board of the vendor, HID only, on interface 0.
        "P: /devices/pci0000:00/0000:00:14.0/usb1/1-4\n"
        "E: SUBSYSTEM=usb\nE: DEVTYPE=usb_device\n"
        "A: idVendor=%04x\\n\nA: idProduct=%04x\\n\nA: product=XDSP Second Board\\n\n\n"
        "P: /devices/pci0000:00/0000:00:14.0/usb1/1-4/1-4:1.0\n"
        "E: SUBSYSTEM=usb\nE: DEVTYPE=usb_interface\nA: bInterfaceNumber=00\\n\n\n"
        "P: /devices/pci0000:00/0000:00:14.0/usb1/1-4/1-4:1.0/0003:20B1:0102.0003\n"
        "E: SUBSYSTEM=hid\nE: HID_ID=0003:0000%04X:0000%04X\n\n"
        "P: /devices/pci0000:00/0000:00:14.0/usb1/1-4/1-4:1.0/0003:20B1:0102.0003/hidraw/hidraw3\n"
        "L: device=../../../0003:20B1:0102.0003\nN: hidraw3=00\n"
        "E: SUBSYSTEM=hidraw\nE: DEVNAME=/dev/hidraw3\nA: dev=241:3\\n\n",
        boardIds.vendorId, boardIds.productId, boardProduct, boardIds.vendorId, boardIds.productId,
        boardProduct, mouseIds.vendorId, mouseIds.productId, mouseIds.vendorId, mouseIds.productId,
        secondBoardIds.vendorId, secondBoardIds.productId, secondBoardIds.vendorId,
        secondBoardIds.productId);
    return text;
}

std::string linkTarget(const std::string &path) {
    char target[PATH_MAX];
    ssize_t length = readlink(path.c_str(), target, sizeof target - 1);
    return length > 0 ? std::string(target, static_cast<size_t>(length)) : std::string();
}
} // namespace

BoardTestbed::BoardTestbed(emu::BoardOptions options)
    : board_(std::make_unique<emu::Board>(std::move(options))),
      node_(std::make_unique<HidrawBoard>(*board_, boardIds)) {
    testbed_ = umockdev_testbed_new();
    gchar *root = umockdev_testbed_get_root_dir(testbed_);
    root_ = root;
    g_free(root);
    GError *failure = nullptr;
    if (!umockdev_testbed_add_from_string(testbed_, sysfsTree().c_str(), &failure)) {
        error_ = failure->message;
        g_error_free(failure);
        return;
    }
    nodeTarget_ = linkTarget(rootPath("dev/hidraw0"));
    classTarget_ = linkTarget(rootPath(boardClassLink));
    if (nodeTarget_.empty() || classTarget_.empty()) {
        error_ = "the testbed made no hidraw0";
        return;
    }
    node_->attach(testbed_, boardNode, &error_);
}

BoardTestbed::~BoardTestbed() {
    // The node's handler goes first: the testbed ends its clients' connections.
    node_.reset();
    g_object_unref(testbed_);
}

std::string BoardTestbed::rootPath(const std::string &inside) const {
    return root_ + "/" + inside;
}

void BoardTestbed::unplug() {
    node_->unplug();
    unlink(rootPath("dev/hidraw0").c_str());
    unlink(rootPath(boardClassLink).c_str());
}

void BoardTestbed::replug() {
    node_->replug();
    [[maybe_unused]] int madeClass =
        symlink(classTarget_.c_str(), rootPath(boardClassLink).c_str());
    [[maybe_unused]] int madeNode = symlink(nodeTarget_.c_str(), rootPath("dev/hidraw0").c_str());
}

bool BoardTestbed::setNodeMode(mode_t mode) {
    return chmod(rootPath("dev/hidraw0").c_str(), mode) == 0;
}

} // namespace xdsp::test
