// A board emulator served on a fresh device path (socket or pipe), opened through the public API.
#pragma once

#include "board.h"
#include "support/board_options.h"
#include "support/capture.h"
#include "virtual_device_server.h"

#include <memory>
#include <string>

namespace xdsp::test {

class EmulatedBoard {
  public:
    explicit EmulatedBoard(emu::BoardOptions options = {});
    ~EmulatedBoard();
    emu::Board &board() { return *board_; }
    emu::VirtualDeviceServer &server() { return *server_; }
    const Text &path() const { return widePath_; }
    // Opens the link and waits until both INIT answers are in and dispatched.
    bool openAndSettle(Capture &capture);
    // Holds the busy bits set and waits until the link has read a report that shows
    // them, so that a report composed before the change cannot end a busy wait.
    bool holdBusyUntilSeen();

  private:
    std::string path_;
    Text widePath_;
    std::unique_ptr<emu::Board> board_;
    std::unique_ptr<emu::VirtualDeviceServer> server_;
};

// A device path where nothing serves.
Text absentDevicePath();

} // namespace xdsp::test
