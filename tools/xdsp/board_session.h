// Finding a board, or standing in the built-in emulator when none is attached.
#pragma once

#include "board.h"
#include "virtual_device_server.h"

#include <memory>
#include <string>

class BoardSession {
  public:
    // devicePath empty: the first board with the microcontroller's vendor id,
    // else the built-in emulator.
    explicit BoardSession(const std::string &devicePath);
    ~BoardSession();
    bool open();
    const std::string &path() const { return path_; }
    bool emulated() const { return emulator_ != nullptr; }

  private:
    std::string path_;
    std::unique_ptr<xdsp::emu::Board> board_;
    std::unique_ptr<xdsp::emu::VirtualDeviceServer> emulator_;
};
