// The xdsp tool run as a user runs it, against an emulated board served by the
// test: what it prints, and every exit code, provoked as a user would meet it,
// with the words that say what failed and why.
#include "tool_runner.h"
#include "xdsp/xdsp.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

using namespace xdsp;
using namespace tooltest;

TEST(Tool, InfoGpioAdcAndFlashShowWhatTheBoardReports) {
    emu::BoardOptions options;
    options.productName = "Bench Board 7";
    options.gpioInputs = 0x5A3C;
    ServedBoard served(options);
    served.board().setAdcReading(2, 0x3FFF);

    expectRun(served.run("info"), 0, {"Product: Bench Board 7"});
    expectRun(served.run("gpio --set 0xBEEF"), 0, {"GPIO inputs:  0x5A3C"});
    EXPECT_EQ(served.board().gpioOutputs(), 0xBEEF);
    expectRun(served.run("adc"), 0, {"ADC 0:   256", "ADC 2: 16383", "ADC 3:  1024"});
    EXPECT_FALSE(served.board().adcSampling()); // switched off again

    // A flash dump across chunks: written through the library, in the two
    // pieces one write carries.
    uint8_t data[300];
    for (size_t i = 0; i < sizeof data; ++i)
        data[i] = static_cast<uint8_t>(i);
    std::u16string path(served.path().begin(), served.path().end());
    ASSERT_TRUE(InitializeHIDUSBPacketPath(path.c_str()));
    uint8_t record[188] = {};
    GetProductNameStruct(record); // the link runs once the board has answered
    ASSERT_TRUE(WriteFLASH(0x1F0, 0, data, 256));
    ASSERT_TRUE(WriteFLASH(0x2F0, 0, data + 256, 44));
    DestroyHIDUSBPacket();

    // The first line, the second read's first bytes, and the short last line.
    Outcome dump =
        expectRun(served.run("flash read 1F0 300"), 0,
                  {"000001F0  00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F  |",
                   "000002F0  00 01 02 03", "00000310  20 21 22 23 24 25 26 27 28 29 2A 2B"});
    EXPECT_FALSE(contains(dump, "00000320")) << dump.text;
}

// The boot loader's record; files in the listing. The board keeps names in 8
// bits, Latin-1: "café" comes back whole, a character beyond Latin-1 as '?'.
TEST(Tool, StatAndUploadedFilesShowInTheListingWithTheirNames) {
    emu::BoardOptions options = boardWithBootLoader();
    options.bootLoader->version = 0x123;
    ServedBoard served(options);
    expectRun(
        served.run("stat"), 0,
        {" 0  00000123         291  boot-loader version", " 4  00200000     2097152  flash bytes"});
    TestFile file(1001, 7); // odd: the tool pads it
    expectRun(served.run("upload " + file.path() + " -f 3 -n 'caf\xC3\xA9'"), 0,
              {"padded with a zero byte", "Uploaded 1002 bytes as file 3"});
    EXPECT_EQ(
        served.run("upload " + file.path() + " -f 2 -n '\xE6\x97\xA5\xE6\x9C\xAC x'").exitCode, 0);

    expectRun(served.run("ls"), 0, {" 3  Data  00010000  00011000", "  caf\xC3\xA9\n", "  ?? x\n"});

    expectRun(served.run("--json ls", Capture::outputOnly), 0, {"\"name\":\"caf\xC3\xA9\""});
}

TEST(Tool, AudioCommandsReachTheFirmware) {
    emu::BoardOptions options;
    options.audioFirmware = emu::AudioFirmwareOptions{};
    options.audioFirmware->faults.corruptEchoIndex = 5;
    options.audioFirmware->faults.corruptEchoReplies = 1;
    ServedBoard served(options);

    expectRun(served.run("audio mute on"), 0, {"Mute on (the firmware answers 1)"});
    expectRun(served.run("audio source 3"), 0, {"Source 3 (the firmware answers 3)"});

    expectRun(
        served.run("audio file 1"), 0,
        {"File 1: Concert Hall", "Created:  2023-12-25 08:00:00", "Modified: 2024-03-01 13:05:09"});
    EXPECT_EQ(served.run("audio file 9").exitCode, 76);

    // The first echo comes back with one byte spoilt, the next one whole.
    EXPECT_EQ(served.run("audio echo 400").exitCode, 76);
    expectRun(served.run("audio echo 400"), 0, {"Echo of 400 bytes matches"});
}

TEST(ToolExitCodes, BadArgumentsFailBeforeTheBoardIsOpened) {
    ServedBoard served;
    for (const char *arguments :
         {"gpio --set 10000", "gpio --set zz", "flash read 0 0", "flash read 0 65537",
          "flash read FFFFFFFF 2", "audio mute maybe", "audio echo 401", "audio echo 3",
          "audio algorithm 256", "frobnicate", "upload", "upload /dev/null",
          "upload /dev/null -f 15", "upload /dev/null -f 1 -t Sound", "stat --all"}) {
        Outcome outcome = served.run(arguments, Capture::errorsOnly);
        EXPECT_EQ(outcome.exitCode, 64) << arguments;
        EXPECT_FALSE(outcome.text.empty()) << arguments;
    }
    EXPECT_EQ(served.board().outputReportCount(), 0u);
    for (const char *arguments : {"list --emulator", "udev-rule -d /tmp/b.sock", "emu --index 0"})
        EXPECT_EQ(runTool(arguments, Capture::errorsOnly).exitCode, 64) << arguments;
}

// No board chosen and none attached: a board command fails and says how to use
// the emulator; it never stands one in.
TEST(ToolExitCodes, NoBoardMeansNoBoard) {
    if (!contains(runTool("list"), "No board attached"))
        GTEST_SKIP() << "a board is attached";
    TestFile file(2000, 3);
    EXPECT_EQ(
        expectRun(runTool("-q upload " + file.path() + " -f 2", Capture::outputOnly), 69).text, "");
    expectRun(runTool("upload " + file.path() + " -f 2", Capture::errorsOnly), 69,
              {"xdsp: no board attached; add --emulator"});
    Outcome json = expectRun(runTool("--json info", Capture::outputOnly), 69,
                             {"\"text\":\"no board attached\""});
    EXPECT_FALSE(contains(json, "\"board\":\"built-in emulator\"")) << json.text;
}

TEST(ToolExitCodes, EachFailureHasItsCodeAndWords) {
    ServedBoard served(boardWithBootLoader());
    expectRun(runTool("--help", Capture::outputOnly), 0, {"77  permission denied"});
    expectRun(served.run("upload /no/such/file -f 1", Capture::errorsOnly), 66,
              {"cannot read /no/such/file"});

    EXPECT_EQ(expectRun(runTool("info -d /tmp/b.sock-none", Capture::errorsOnly), 69).text,
              "xdsp: no board answered at /tmp/b.sock-none (error 2)\n");

    expectRun(served.run("flash read 0x000FFF00 512", Capture::errorsOnly), 74,
              {"cannot read the flash at 0x00100000", "(error 1359)"});
    expectRun(runTool("emu /no/such/folder/x.sock", Capture::errorsOnly), 70);

    ServedBoard loopback; // no boot loader behind the SPI bus
    expectRun(loopback.run("ls", Capture::errorsOnly), 76,
              {"the boot loader on " + loopback.path() + " did not answer"});

    // A board this process holds is busy.
    std::u16string path(served.path().begin(), served.path().end());
    ASSERT_TRUE(InitializeHIDUSBPacketPath(path.c_str())); // this process holds it
    Outcome busy = served.run("info", Capture::errorsOnly);
    DestroyHIDUSBPacket();
    EXPECT_EQ(expectRun(busy, 69).text, "xdsp: board busy: another program holds it (error 32)\n");

    // Root passes every permission check, so root asks as nobody, who may not
    // enter the test's folder; anyone else meets a socket nobody may connect to.
    Outcome denied;
    if (geteuid() == 0) {
        denied = runCommand("/usr/bin/setpriv --reuid=65534 --regid=65534 --clear-groups " +
                                std::string(XDSP_TOOL_PATH) + " info -d " + served.path(),
                            Capture::errorsOnly);
    } else {
        chmod(served.path().c_str(), 0);
        denied = served.run("info", Capture::errorsOnly);
    }
    EXPECT_EQ(expectRun(denied, 77).text,
              "xdsp: cannot open " + served.path() +
                  ": permission denied (error 5); `xdsp udev-rule` prints a rule "
                  "that gives your user access\n");
}

TEST(ToolExitCodes, ChecksumMismatchNamesBothSums) {
    emu::BoardOptions options = boardWithBootLoader();
    options.bootLoader->faults.wrongChecksumReplies = emu::always;
    ServedBoard served(options);
    TestFile file(2000, 7);
    std::vector<uint8_t> data = contentsOf(file.path());
    char expected[120];
    uint16_t sum = BootLoader_ComputeFileChecksum(data.data(), 2000);
    std::snprintf(expected, sizeof expected,
                  "checksum differs after upload: the board reports 0x%04X, the file sums to "
                  "0x%04X (error 0x8009700D)",
                  static_cast<uint16_t>(sum + 1), sum);
    expectRun(served.run("upload " + file.path() + " -f 1", Capture::errorsOnly), 65, {expected});
}

// A format never confirmed: the status, and the text kept in place of a box.
TEST(ToolExitCodes, FailedFormatSaysWhatTheBoardKept) {
    emu::BoardOptions options = boardWithBootLoader();
    options.bootLoader->faults.unacknowledgedCode = 0x30; // format
    options.bootLoader->faults.unacknowledgedReplies = emu::always;
    ServedBoard served(options);
    TestFile file(3000, 3);
    EXPECT_EQ(
        expectRun(served.run("upload " + file.path() + " -f 2", Capture::errorsOnly), 76).text,
        "xdsp: the library reports: Error in Format.\nCancelling Upload.\n"
        "xdsp: the upload stopped: the boot loader did not prepare the file's "
        "area (error 11)\n");
}
