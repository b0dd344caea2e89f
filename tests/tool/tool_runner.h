// Running the built xdsp tool as a user does, against emulated boards served
// by the test, with a runtime and a state folder of the test's own.
#pragma once

#include "board.h"
#include "support/board_options.h"
#include "virtual_device_server.h"

#include <nlohmann/json.hpp>

#include <initializer_list>
#include <string>
#include <vector>

namespace tooltest {

using xdsp::test::boardWithBootLoader;

struct Outcome {
    int exitCode = -1;
    std::string text;
};

enum class Capture { everything, errorsOnly, outputOnly };

// Runs a shell command line.
Outcome runCommand(const std::string &command, Capture capture = Capture::everything);
// Runs `xdsp ARGUMENTS` through a pipe (a shell line: quote what needs it).
Outcome runTool(const std::string &arguments, Capture capture = Capture::everything);
// Runs it under a pseudo-terminal, as a person at a terminal sees it.
Outcome runToolOnTerminal(const std::string &arguments);

// This test process's runtime folder ($XDG_RUNTIME_DIR/xdsp), where `list`
// looks for emulators.
std::string runtimeFolder();
// A file of count bytes, each (i * step) & 0xFF, removed with the object.
class TestFile {
  public:
    TestFile(size_t count, unsigned step);
    ~TestFile();
    const std::string &path() const { return path_; }

  private:
    std::string path_;
};

// A board served at a fresh path (or at path) for the tool to open; a failure
// to serve it fails the case.
class ServedBoard {
  public:
    explicit ServedBoard(xdsp::emu::BoardOptions options = {}, std::string path = {});
    xdsp::emu::Board &board() { return board_; }
    const std::string &path() const { return path_; }
    Outcome run(const std::string &arguments, Capture capture = Capture::everything);
    // File data packets the boot loader heard.
    uint32_t dataPackets();

  private:
    xdsp::emu::Board board_;
    xdsp::emu::VirtualDeviceServer server_;
    std::string path_;
};

std::vector<uint8_t> contentsOf(const std::string &path);
bool contains(const Outcome &outcome, const std::string &text);
// Checks the exit code and that each text shows in the output, quoting the
// output on a failure. Returns the outcome for further checks.
Outcome expectRun(Outcome outcome, int exitCode, std::initializer_list<std::string> texts = {});
std::vector<std::string> lines(const std::string &text);
// Each line parsed as JSON; throws on a line that is not.
std::vector<nlohmann::json> jsonLines(const std::string &text);

} // namespace tooltest
