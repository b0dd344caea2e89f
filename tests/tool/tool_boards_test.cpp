// Many boards: list, --index, --all side by side with one faulty board, the
// built-in emulator's kept flash, and uploads skipped when nothing changed.
#include "tool_runner.h"
#include "xdsp/xdsp.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

using namespace xdsp;
using namespace tooltest;

namespace {
std::string emulatorPath(unsigned number) {
    return runtimeFolder() + "/emu-" + std::to_string(number) + ".sock";
}

// A socket file that nobody serves any more.
void leaveStaleSocket(const std::string &path) {
    int socketFd = socket(AF_UNIX, SOCK_SEQPACKET, 0);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    ASSERT_EQ(bind(socketFd, reinterpret_cast<sockaddr *>(&address), sizeof address), 0);
    close(socketFd);
}
} // namespace

TEST(ToolBoards, ListShowsRunningEmulatorsAndIndexChoosesOne) {
    emu::BoardOptions first = boardWithBootLoader(), second = boardWithBootLoader();
    first.productName = "First Bench";
    second.productName = "Second Bench";
    // 10 after 2: the numbers' order, not the names'.
    ServedBoard two(first, emulatorPath(2));
    leaveStaleSocket(emulatorPath(3));
    ServedBoard ten(second, emulatorPath(10));

    Outcome list = expectRun(runTool("list"), 0, {"Running emulators:"});
    EXPECT_FALSE(contains(list, emulatorPath(3))) << list.text;
    size_t firstRow = list.text.find(emulatorPath(2));
    size_t secondRow = list.text.find(emulatorPath(10));
    ASSERT_NE(firstRow, std::string::npos) << list.text;
    ASSERT_NE(secondRow, std::string::npos) << list.text;
    EXPECT_LT(firstRow, secondRow);
    // Each board's own name, though one process asked them all.
    EXPECT_NE(list.text.find("First Bench", firstRow), std::string::npos) << list.text;
    EXPECT_NE(list.text.find("Second Bench", secondRow), std::string::npos) << list.text;

    std::string index = contains(list, "No board attached") ? "1" : "";
    if (index.empty())
        GTEST_SKIP() << "boards are attached; their number sets the emulators' index";
    expectRun(runTool("info --index " + index), 0, {"Product: Second Bench"});
    EXPECT_EQ(runTool("info --index 7").exitCode, 69);
}

// Three boards side by side in one process: the faulty one fails alone, each
// board's lines (its debug lines too) carry its own name, and the summary has
// a row for each.
TEST(ToolBoards, AllRunsEveryBoardSideBySideAndReportsTheFaultyOne) {
    if (!contains(runTool("list"), "No board attached"))
        GTEST_SKIP() << "boards are attached";
    std::vector<emu::BoardOptions> options(3, boardWithBootLoader());
    for (size_t board = 0; board < options.size(); ++board)
        options[board].productName = "Bench " + std::to_string(board + 1);
    options[1].bootLoader->faults.wrongChecksumReplies = emu::always;
    ServedBoard one(options[0], emulatorPath(1));
    ServedBoard two(options[1], emulatorPath(2));
    ServedBoard three(options[2], emulatorPath(3));
    TestFile file(4000, 9);

    Outcome upload = expectRun(runTool("-v upload " + file.path() + " -f 0 --all"), 65,
                               {"[" + emulatorPath(1) + "] Uploaded 4000 bytes",
                                "[" + emulatorPath(2) + "] xdsp: checksum differs",
                                "[" + emulatorPath(1) + "] HID: ProductName: Bench 1",
                                "[" + emulatorPath(2) + "] HID: ProductName: Bench 2",
                                "[" + emulatorPath(3) + "] HID: ProductName: Bench 3"});
    EXPECT_FALSE(contains(upload, "[" + emulatorPath(1) + "] HID: ProductName: Bench 2"));
    std::vector<std::string> rows;
    for (const std::string &line : lines(upload.text))
        if (line.rfind(runtimeFolder(), 0) == 0)
            rows.push_back(line);
    ASSERT_EQ(rows.size(), 3u) << upload.text;
    EXPECT_NE(rows[0].find("Bench 1    "), std::string::npos) << rows[0];
    EXPECT_NE(rows[0].find("  ok"), std::string::npos) << rows[0];
    EXPECT_NE(rows[1].find("exit 65: checksum differs"), std::string::npos) << rows[1];
    EXPECT_NE(rows[2].find("  ok"), std::string::npos) << rows[2];
    EXPECT_GT(three.dataPackets(), 0u);

    // Long enough that boards run one after another would take their sum.
    TestFile longer(24000, 5);
    auto started = std::chrono::steady_clock::now();
    Outcome json = runTool("--json upload " + longer.path() + " -f 1 --all", Capture::outputOnly);
    double elapsed =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    EXPECT_EQ(json.exitCode, 65) << json.text;
    std::vector<nlohmann::json> events = jsonLines(json.text);
    ASSERT_GE(events.size(), 2u);
    // One result event per board, then the summary and the process's own.
    EXPECT_EQ(std::count_if(events.begin(), events.end(),
                            [](const nlohmann::json &event) { return event["event"] == "result"; }),
              4);
    const nlohmann::json &summary = events[events.size() - 2];
    ASSERT_EQ(summary["event"], "summary") << json.text;
    ASSERT_EQ(summary["boards"].size(), 3u);
    double seconds = 0;
    for (unsigned board = 0; board < 3; ++board) {
        EXPECT_EQ(summary["boards"][board]["board"], emulatorPath(board + 1));
        EXPECT_EQ(summary["boards"][board]["exit_code"], board == 1 ? 65 : 0);
        seconds += summary["boards"][board]["seconds"].get<double>();
    }
    EXPECT_NE(summary["boards"][1]["error"].get<std::string>().find("checksum differs"),
              std::string::npos);
    EXPECT_GT(seconds, 1.5 * elapsed) << "the boards did not run side by side";
}

TEST(ToolBoards, IfChangedSendsNothingForTheSameFile) {
    ServedBoard served(boardWithBootLoader());
    TestFile file(9000, 13), changed(9000, 17);
    EXPECT_EQ(served.run("upload " + file.path() + " -f 6 --if-changed").exitCode, 0);
    uint32_t sent = served.dataPackets();
    EXPECT_GT(sent, 0u);

    expectRun(served.run("upload " + file.path() + " -f 6 --if-changed"), 0,
              {"file 6 unchanged, skipped"});
    EXPECT_EQ(served.dataPackets(), sent);

    // Same length, other bytes; and the same bytes at another index.
    EXPECT_EQ(served.run("upload " + changed.path() + " -f 6 --if-changed").exitCode, 0);
    EXPECT_GT(served.dataPackets(), sent);
    sent = served.dataPackets();
    EXPECT_EQ(served.run("upload " + changed.path() + " -f 7 --if-changed").exitCode, 0);
    EXPECT_GT(served.dataPackets(), sent);
}

TEST(ToolBoards, BuiltInEmulatorKeepsItsFlashUntilReset) {
    TestFile file(1500, 3);
    expectRun(runTool("--emulator upload " + file.path() + " -f 5 -n kept.bin"), 0,
              {"Using the built-in emulator"});
    expectRun(runTool("ls --emulator"), 0, {"kept.bin"});

    expectRun(runTool("emu --reset-flash"), 0, {"Cleared the built-in emulator's flash"});
    expectRun(runTool("--emulator ls"), 0, {"No files."});

    // It runs the audio firmware too.
    expectRun(runTool("--emulator audio file 2"), 0, {"File 2: Studio B"});
}
