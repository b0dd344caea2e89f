// Opening the board that the command line chose: a device path, the Nth listed
// board, the first attached board, or the built-in emulator when asked for.
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

// The board options of the command line; none set: the first attached board.
struct BoardChoice {
    std::string device;           // --device
    std::optional<size_t> index;  // --index
    bool builtInEmulator = false; // --emulator
    bool all = false;             // --all
};

class BoardSession {
  public:
    explicit BoardSession(BoardChoice choice);
    ~BoardSession();
    BoardSession(const BoardSession &) = delete;
    BoardSession &operator=(const BoardSession &) = delete;

    // Opens the chosen board (the built-in emulator with its DSP running dsp)
    // and waits for its first answer: 0, or the exit code after the failure
    // was reported.
    int open(EmulatedDsp dsp = EmulatedDsp::bootLoader);
    const std::string &path() const { return path_; }
    const std::string &product() const { return product_; }

  private:
    int choosePath(EmulatedDsp dsp);
    int startBuiltInEmulator(EmulatedDsp dsp);

    BoardChoice choice_;
    std::string path_;
    std::string product_;
    std::unique_ptr<xdsp::emu::Board> board_;
    std::unique_ptr<xdsp::emu::VirtualDeviceServer> emulator_;
};

// The product name of the open board, waited for when it has not come yet;
// none when it did not come.
std::optional<std::string> openBoardProduct();
