// A umockdev testbed that shows the library an attached board as Linux does:
// a USB device with a CDC ACM serial port (ttyACM0) on interface 0 and the HID
// interface (hidraw0) on interface 1, served by the emulator's firmware model;
// beside it a mouse on hidraw2 (hidraw1 is absent) and a second board of the
// same vendor, without a serial port, on hidraw3 (boards.umockdev).
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
    std::string error_;
};

} // namespace xdsp::test
