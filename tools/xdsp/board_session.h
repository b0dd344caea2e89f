// Opening the chosen board, or standing in the built-in emulator when none is
// attached.
#pragma once

#include "board.h"
#include "virtual_device_server.h"

#include <memory>
#include <optional>
#include <string>

// What the built-in emulator's DSP runs.
enum class EmulatedDsp { bootLoader, audioFirmware };

// The vendor id of the boards' USB microcontroller.
inline constexpr uint16_t boardVendorId = 0x20B1;

class BoardSession {
  public:
    // devicePath empty: the first attached board, else the built-in emulator
    // with its DSP in dsp.
    explicit BoardSession(const std::string &devicePath, EmulatedDsp dsp = EmulatedDsp::bootLoader);
    ~BoardSession();
    BoardSession(const BoardSession &) = delete;
    BoardSession &operator=(const BoardSession &) = delete;

    // Opens the board and waits for its first answer: 0, or the exit code
    // after the failure was reported.
    int open();
    const std::string &path() const { return path_; }
    const std::string &product() const { return product_; }

  private:
    int startBuiltInEmulator();

    std::string path_;
    std::string product_;
    EmulatedDsp dsp_;
    std::unique_ptr<xdsp::emu::Board> board_;
    std::unique_ptr<xdsp::emu::VirtualDeviceServer> emulator_;
};

// The product name of the open board, waited for when it has not come yet;
// none when it did not come.
std::optional<std::string> openBoardProduct();
