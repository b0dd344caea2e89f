#include "umockdev/board_testbed.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <umockdev.h>
#include <unistd.h>

namespace xdsp::test {

namespace {
constexpr char boardNode[] = "/dev/hidraw0";
constexpr char boardClassLink[] = "sys/class/hidraw/hidraw0";
constexpr char boardSysPath[] =
    "/sys/devices/pci0000:00/0000:00:14.0/usb1/1-2/1-2:1.1/0003:20B1:0101.0001/hidraw/hidraw0";
constexpr char secondBoardNode[] = "/dev/hidraw3";
constexpr char mouseSysPath[] = "/sys/devices/pci0000:00/0000:00:14.0/usb1/1-3";

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
    if (!umockdev_testbed_add_from_file(testbed_, XDSP_UMOCKDEV_BOARDS, &failure)) {
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
    // The nodes' handlers go first: the testbed ends their clients' connections.
    node_.reset();
    secondNode_.reset();
    g_object_unref(testbed_);
}

std::string BoardTestbed::rootPath(const std::string &inside) const {
    return root_ + "/" + inside;
}

bool BoardTestbed::serveSecondBoard(emu::BoardOptions options) {
    secondBoard_ = std::make_unique<emu::Board>(std::move(options));
    secondNode_ = std::make_unique<HidrawBoard>(*secondBoard_, secondBoardIds);
    return secondNode_->attach(testbed_, secondBoardNode, &error_);
}

void BoardTestbed::removeMouse() {
    umockdev_testbed_remove_device(testbed_, mouseSysPath);
}

void BoardTestbed::unplug() {
    node_->unplug();
    // Sent while the class link stands: the event is made from the device's entries.
    umockdev_testbed_uevent(testbed_, boardSysPath, "remove");
    unlink(rootPath("dev/hidraw0").c_str());
    unlink(rootPath(boardClassLink).c_str());
}

void BoardTestbed::replug() {
    node_->replug();
    [[maybe_unused]] int madeClass =
        symlink(classTarget_.c_str(), rootPath(boardClassLink).c_str());
    [[maybe_unused]] int madeNode = symlink(nodeTarget_.c_str(), rootPath("dev/hidraw0").c_str());
    umockdev_testbed_uevent(testbed_, boardSysPath, "add");
}

bool BoardTestbed::setNodeMode(mode_t mode) {
    return chmod(rootPath("dev/hidraw0").c_str(), mode) == 0;
}

} // namespace xdsp::test
