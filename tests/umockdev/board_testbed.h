// A umockdev testbed that shows the library an attached board as Linux does:
// a USB device with a CDC ACM serial port (ttyACM0) on interface 0 and the HID
// interface (hidraw0) on interface 1, served by the emulator's firmware model;
// beside it a mouse on hidraw2 (hidraw1 is absent) and a second board of the
// same vendor, without a serial port, on hidraw3 (boards.umockdev). Plugging
// and unplugging also sends the uevents, for hosts that watch them.
#pragma once

#include "board.h"
#include "umockdev/hidraw_board.h"

#include <memory>
#include <string>
#include <sys/types.h>

typedef struct _UMockdevTestbed UMockdevTestbed;

namespace xdsp::test {

inline constexpr UsbIds boardIds{0x20B1, 0x0101};
inline constexpr UsbIds secondBoardIds{0x20B1, 0x0102};
inline constexpr UsbIds mouseIds{0x046D, 0xC077};

class BoardTestbed {
  public:
    explicit BoardTestbed(emu::BoardOptions options);
    ~BoardTestbed();
    BoardTestbed(const BoardTestbed &) = delete;
    BoardTestbed &operator=(const BoardTestbed &) = delete;

    // Empty when the testbed stands; else why it does not.
    const std::string &error() const { return error_; }
    emu::Board &board() { return *board_; }
    HidrawBoard &node() { return *node_; }
    // The testbed's root directory, what UMOCKDEV_DIR names for its clients.
    const std::string &root() const { return root_; }

    // Serves the second board's node as well; false (with error()) when it cannot.
    bool serveSecondBoard(emu::BoardOptions options);
    // Takes the mouse and its node away: a host that sets up every node it
    // finds must not meet one that nobody serves.
    void removeMouse();

    // Pulls the board's cable: its node and sysfs entry go, open files fail.
    void unplug();
    // Plugs it back in as a fresh device.
    void replug();
    // Sets the permission bits of the board's device node.
    bool setNodeMode(mode_t mode);

  private:
    std::string rootPath(const std::string &inside) const;

    UMockdevTestbed *testbed_ = nullptr;
    std::string root_;
    std::string nodeTarget_;  // what /dev/hidraw0 links to
    std::string classTarget_; // what /sys/class/hidraw/hidraw0 links to
    std::unique_ptr<emu::Board> board_;
    std::unique_ptr<HidrawBoard> node_;
    std::unique_ptr<emu::Board> secondBoard_;
    std::unique_ptr<HidrawBoard> secondNode_;
    std::string error_;
};

} // namespace xdsp::test
