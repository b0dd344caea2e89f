// Opening the board that the command line chose: a device path, the Nth listed
// board, the first attached board, or the built-in emulator when asked for.
#pragma once

#include "board.h"
#include "output.h"
#include "virtual_device_server.h"
#include "xdsp/board.h"

#include <memory>
#include <optional>
#include <string>

// What the built-in emulator's DSP runs.
enum class EmulatedDsp { bootLoader, audioFirmware };

// The board options of the command line; none set: the first attached board.
struct BoardChoice {
    std::string device;           // --device
    std::optional<size_t> index;  // --index
    bool builtInEmulator = false; // --emulator
    bool all = false;             // --all
};

// One command's board: its handle, and the output its words go to.
class BoardSession {
  public:
    // verbose: the board's debug lines go to the output.
    BoardSession(BoardChoice choice, Output &output, bool verbose);
    ~BoardSession();
    BoardSession(const BoardSession &) = delete;
    BoardSession &operator=(const BoardSession &) = delete;

    // Opens the chosen board (the built-in emulator with its DSP running dsp)
    // and waits for its name: 0, or the exit code after the failure was
    // reported.
    int open(EmulatedDsp dsp = EmulatedDsp::bootLoader);
    xdsp_board *board() const { return board_; }
    Output &output() const { return output_; }
    const std::string &path() const { return path_; }
    const std::string &product() const { return product_; }
    // Reports the failure, after the text of a message box the board kept,
    // and returns its exit code.
    int fail(const Failure &failure);

  private:
    int choosePath(EmulatedDsp dsp);
    int startBuiltInEmulator(EmulatedDsp dsp);
    // Reports the board's kept message-box text once.
    void reportKeptMessage();
    static void log(xdsp_board *board, const char *line, void *user);

    BoardChoice choice_;
    Output &output_;
    bool verbose_;
    std::string path_;
    std::string product_;
    xdsp_board *board_ = nullptr;
    std::string reportedMessage_;
    std::unique_ptr<xdsp::emu::Board> emulated_;
    std::unique_ptr<xdsp::emu::VirtualDeviceServer> emulator_;
};
