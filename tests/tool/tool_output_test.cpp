// The tool's four output modes: a terminal, a pipe, JSON lines and quiet.
#include "tool_runner.h"
#include "xdsp/xdsp.h"

#include <gtest/gtest.h>

using namespace xdsp;
using namespace tooltest;

// Rate and time left read "--" until data has gone out for a while, then stay
// known.
TEST(ToolOutput, PipeGetsPlainLinesQuietOnlyTheResultAndATerminalItsBar) {
    ServedBoard served(boardWithBootLoader());
    TestFile file(12000, 5);
    Outcome upload = expectRun(served.run("upload " + file.path() + " -f 2"), 0);
    EXPECT_EQ(upload.text.find('\r'), std::string::npos);
    EXPECT_EQ(upload.text.find('\033'), std::string::npos);
    int steps = 0, lastPercent = -1;
    bool rateKnown = false;
    for (const std::string &line : lines(upload.text)) {
        int percent = 0;
        if (std::sscanf(line.c_str(), "upload %d%%", &percent) != 1)
            continue;
        EXPECT_GT(percent, lastPercent) << line; // one line per step, never repeated
        bool unknown = line.find("  -- B/s  --:-- left") != std::string::npos;
        if (line.find("  0 B of") != std::string::npos || rateKnown) {
            EXPECT_EQ(unknown, !rateKnown) << line; // nothing sent yet, or known already
        }
        rateKnown = rateKnown || !unknown;
        lastPercent = percent;
        ++steps;
    }
    EXPECT_GE(steps, 10) << upload.text;
    EXPECT_EQ(lastPercent, 100);
    EXPECT_TRUE(rateKnown) << upload.text;

    Outcome quiet = expectRun(served.run("--quiet upload " + file.path() + " -f 2"), 0,
                              {"Uploaded 12000 bytes as file 2"});
    EXPECT_EQ(lines(quiet.text).size(), 1u) << quiet.text;

    // A terminal: the bar is redrawn in place, only when it changes.
    TestFile shorter(6000, 3);
    Outcome terminal =
        expectRun(runToolOnTerminal("upload " + shorter.path() + " -f 1 -d " + served.path()), 0,
                  {"Uploaded 6000 bytes as file 1"});
    const std::string redraw = "\r\033[K";
    std::vector<std::string> drawn;
    for (size_t at = terminal.text.find(redraw); at != std::string::npos;) {
        size_t next = terminal.text.find(redraw, at + redraw.size());
        size_t end = std::min(next, terminal.text.find('\n', at));
        drawn.push_back(terminal.text.substr(at + redraw.size(), end - at - redraw.size()));
        at = next;
    }
    ASSERT_GE(drawn.size(), 5u) << terminal.text;
    for (size_t i = 1; i < drawn.size(); ++i)
        EXPECT_NE(drawn[i], drawn[i - 1]) << "drawn twice alike";
    EXPECT_NE(drawn.front().find("Uploading ["), std::string::npos) << drawn.front();
    for (const char *part : {"100%", "/s", "left"})
        EXPECT_NE(drawn.back().find(part), std::string::npos) << part << " in " << drawn.back();
}

TEST(ToolOutput, JsonLinesAgreeWithWhatTheLibraryReports) {
    ServedBoard served(boardWithBootLoader());
    TestFile file(5000, 11);
    Outcome upload =
        served.run("upload " + file.path() + " -f 4 -n json.bin --json", Capture::outputOnly);
    ASSERT_EQ(upload.exitCode, 0) << upload.text;
    std::vector<nlohmann::json> events = jsonLines(upload.text);
    ASSERT_FALSE(events.empty());
    int lastPercent = -1;
    for (size_t i = 0; i + 1 < events.size(); ++i) {
        EXPECT_EQ(events[i]["event"], "progress") << events[i];
        EXPECT_EQ(events[i]["board"], served.path());
        EXPECT_GT(events[i]["percent"].get<int>(), lastPercent);
        lastPercent = events[i]["percent"].get<int>();
        EXPECT_LE(events[i]["bytes"].get<uint64_t>(), 5000u);
        if (events[i]["bytes"] == 0) {
            EXPECT_TRUE(events[i]["seconds_left"].is_null()) << events[i];
        }
    }
    const nlohmann::json &result = events.back();
    EXPECT_EQ(result["event"], "result");
    EXPECT_EQ(result["command"], "upload");
    EXPECT_EQ(result["exit_code"], 0);
    EXPECT_EQ(result["skipped"], false);
    std::vector<uint8_t> data = contentsOf(file.path());
    EXPECT_EQ(result["checksum"].get<uint16_t>(),
              BootLoader_ComputeFileChecksum(data.data(), static_cast<uint32_t>(data.size())));

    Outcome ls = served.run("ls --json", Capture::outputOnly);
    ASSERT_EQ(ls.exitCode, 0) << ls.text;
    std::vector<nlohmann::json> listed = jsonLines(ls.text);
    ASSERT_EQ(listed.size(), 1u) << ls.text;
    const nlohmann::json &files = listed[0]["files"];
    ASSERT_EQ(files.size(), 1u) << ls.text;
    EXPECT_EQ(files[0]["index"], 4);
    EXPECT_EQ(files[0]["name"], "json.bin");
    EXPECT_EQ(files[0]["type"], "Data");

    Outcome absent =
        expectRun(runTool("--json info -d " + served.path() + "-gone", Capture::outputOnly), 69);
    std::vector<nlohmann::json> failed = jsonLines(absent.text);
    ASSERT_EQ(failed.size(), 2u) << absent.text;
    EXPECT_EQ(failed[0]["event"], "error");
    EXPECT_EQ(failed[0]["code"], 2);
    EXPECT_EQ(failed[0]["text"], "no board answered at " + served.path() + "-gone");
    EXPECT_EQ(failed[1]["event"], "result");
    EXPECT_EQ(failed[1]["exit_code"], 69);
}
