// Finding a board, or standing in the built-in emulator when none is attached.
#pragma once

#include "board.h"
#include "virtual_device_server.h"

#include <memory>
#include <optional>
#include <string>

// What the built-in emulator's DSP runs.
enum class EmulatedDsp { bootLoader, audioFirmware };

class BoardSession {
  public:
    // devicePath empty: the first board with the microcontroller's vendor id,
    // else the built-in emulator with its DSP in dsp.
    explicit BoardSession(const std::string &devicePath, EmulatedDsp dsp = EmulatedDsp::bootLoader);
    ~BoardSession();
    // Opens the board and waits for its first answer; false after a message.
    bool open();
    // The name the board reports, waited for when it has not come yet; none
    // after a message.
    std::optional<std::string> productName();
    const std::string &path() const { return path_; }
    bool emulated() const { return emulator_ != nullptr; }

  private:
    std::string path_;
    EmulatedDsp dsp_;
    std::unique_ptr<xdsp::emu::Board> board_;
    std::unique_ptr<xdsp::emu::VirtualDeviceServer> emulator_;
};
