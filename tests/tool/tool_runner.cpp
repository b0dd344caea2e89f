#include "tool_runner.h"

#include "bootloader/boot_loader.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <pty.h>
#include <sstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tooltest {
namespace {
std::string testFolder() {
    static const std::string folder = [] {
        std::string made = "/tmp/xdsp-tool-test-" + std::to_string(getpid());
        mkdir(made.c_str(), 0700);
        mkdir((made + "/run").c_str(), 0700);
        mkdir((made + "/run/xdsp").c_str(), 0700);
        // Every run of the tool finds its emulators and keeps its built-in
        // emulator's flash here, never in the user's own folders.
        setenv("XDG_RUNTIME_DIR", (made + "/run").c_str(), 1);
        setenv("XDG_STATE_HOME", (made + "/state").c_str(), 1);
        return made;
    }();
    return folder;
}

int exitCodeOf(int status) {
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
} // namespace

std::string runtimeFolder() {
    return testFolder() + "/run/xdsp";
}

Outcome runTool(const std::string &arguments, Capture capture) {
    return runCommand(std::string(XDSP_TOOL_PATH) + " " + arguments, capture);
}

Outcome runCommand(const std::string &commandLine, Capture capture) {
    testFolder();
    const char *redirect = capture == Capture::everything   ? " 2>&1"
                           : capture == Capture::errorsOnly ? " 2>&1 >/dev/null"
                                                            : " 2>/dev/null";
    std::string command = commandLine + redirect;
    Outcome outcome;
    FILE *pipe = popen(command.c_str(), "r");
    if (pipe == nullptr)
        return outcome;
    char buffer[4096];
    size_t got = 0;
    while ((got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0)
        outcome.text.append(buffer, got);
    outcome.exitCode = exitCodeOf(pclose(pipe));
    return outcome;
}

Outcome runToolOnTerminal(const std::string &arguments) {
    testFolder();
    Outcome outcome;
    // Made before the fork: the child of a process with threads may only call
    // what is safe after a fork until it execs, and an allocation is not (it
    // hangs when another thread held the allocator's lock at the fork).
    std::string command = std::string(XDSP_TOOL_PATH) + " " + arguments;
    int terminal = -1;
    pid_t child = forkpty(&terminal, nullptr, nullptr, nullptr);
    if (child < 0)
        return outcome;
    if (child == 0) {
        execl("/bin/sh", "sh", "-c", command.c_str(), static_cast<char *>(nullptr));
        _exit(127);
    }
    char buffer[4096];
    ssize_t got = 0;
    // The terminal reads EIO once the child has gone and its output is drained.
    while ((got = read(terminal, buffer, sizeof buffer)) > 0)
        outcome.text.append(buffer, static_cast<size_t>(got));
    close(terminal);
    int status = 0;
    waitpid(child, &status, 0);
    outcome.exitCode = exitCodeOf(status);
    return outcome;
}

TestFile::TestFile(size_t count, unsigned step) {
    static int made = 0;
    path_ = testFolder() + "/file-" + std::to_string(++made) + ".bin";
    std::ofstream out(path_, std::ios::binary);
    for (size_t i = 0; i < count; ++i)
        out.put(static_cast<char>((i * step) & 0xFF));
}

TestFile::~TestFile() {
    std::remove(path_.c_str());
}

ServedBoard::ServedBoard(xdsp::emu::BoardOptions options, std::string path)
    : board_(std::move(options)), server_(board_), path_(std::move(path)) {
    static int made = 0;
    if (path_.empty())
        path_ = testFolder() + "/board-" + std::to_string(++made) + ".sock";
    // A board that cannot be served fails the case that wanted it.
    EXPECT_TRUE(server_.start(path_)) << path_ << ": " << server_.error();
}

Outcome ServedBoard::run(const std::string &arguments, Capture capture) {
    return runTool(arguments + " -d " + path_, capture);
}

uint32_t ServedBoard::dataPackets() {
    uint32_t packets = 0;
    board_.inspectBootLoader(
        [&packets](xdsp::emu::BootLoader &bootLoader) { packets = bootLoader.dataPackets(); });
    return packets;
}

std::vector<uint8_t> contentsOf(const std::string &path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

bool contains(const Outcome &outcome, const std::string &text) {
    return outcome.text.find(text) != std::string::npos;
}

Outcome expectRun(Outcome outcome, int exitCode, std::initializer_list<std::string> texts) {
    EXPECT_EQ(outcome.exitCode, exitCode) << outcome.text;
    for (const std::string &text : texts)
        EXPECT_TRUE(contains(outcome, text)) << "no \"" << text << "\" in:\n" << outcome.text;
    return outcome;
}

std::vector<std::string> lines(const std::string &text) {
    std::vector<std::string> result;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        result.push_back(line);
    return result;
}

std::vector<nlohmann::json> jsonLines(const std::string &text) {
    std::vector<nlohmann::json> parsed;
    for (const std::string &line : lines(text))
        parsed.push_back(nlohmann::json::parse(line));
    return parsed;
}

} // namespace tooltest
