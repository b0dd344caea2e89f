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

TEST(Tool, InfoGpioAndAdcShowWhatTheBoardReports) {
    emu::BoardOptions options;
    options.productName = "Bench Board 7";
    options.gpioInputs = 0x5A3C;
    ServedBoard served(options);
    ASSERT_TRUE(served.started());
    served.board().setAdcReading(2, 0x3FFF);

    Outcome info = served.run("info");
    EXPECT_EQ(info.exitCode, 0) << info.text;
    EXPECT_TRUE(contains(info, "Product: Bench Board 7")) << info.text;

    Outcome gpio = served.run("gpio --set 0xBEEF");
    EXPECT_EQ(gpio.exitCode, 0) << gpio.text;
    EXPECT_TRUE(contains(gpio, "GPIO inputs:  0x5A3C")) << gpio.text;
    EXPECT_EQ(served.board().gpioOutputs(), 0xBEEF);

    Outcome adc = served.run("adc");
    EXPECT_EQ(adc.exitCode, 0) << adc.text;
    EXPECT_TRUE(contains(adc, "ADC 0:   256")) << adc.text;
    EXPECT_TRUE(contains(adc, "ADC 2: 16383")) << adc.text;
    EXPECT_TRUE(contains(adc, "ADC 3:  1024")) << adc.text;
    EXPECT_FALSE(served.board().adcSampling()); // switched off again
}

TEST(Tool, FlashReadDumpsAcrossChunks) {
    ServedBoard served;
    ASSERT_TRUE(served.started());
    // Written through the library, in the two pieces one write carries.
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

    Outcome dump = served.run("flash read 1F0 300");
    EXPECT_EQ(dump.exitCode, 0) << dump.text;
    EXPECT_TRUE(contains(dump, "000001F0  00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F  |"))
        << dump.text;
    // The second read's first bytes, and the short last line.
    EXPECT_TRUE(contains(dump, "000002F0  00 01 02 03")) << dump.text;
    EXPECT_TRUE(contains(dump, "00000310  20 21 22 23 24 25 26 27 28 29 2A 2B")) << dump.text;
    EXPECT_FALSE(contains(dump, "00000320")) << dump.text;
}

TEST(Tool, StatPrintsTheBootLoaderRecord) {
    emu::BoardOptions options = withBootLoader();
    options.bootLoader->version = 0x123;
    ServedBoard served(options);
    ASSERT_TRUE(served.started());
    Outcome stat = served.run("stat");
    EXPECT_EQ(stat.exitCode, 0) << stat.text;
    EXPECT_TRUE(contains(stat, " 0  00000123         291  boot-loader version")) << stat.text;
    EXPECT_TRUE(contains(stat, " 4  00200000     2097152  flash bytes")) << stat.text;
}

// The board keeps names in 8 bits, Latin-1: "café" comes back whole, a
// character beyond Latin-1 as '?'.
TEST(Tool, UploadedFilesShowInTheListingWithTheirNames) {
    ServedBoard served(withBootLoader());
    ASSERT_TRUE(served.started());
    TestFile file(1001, 7); // odd: the tool pads it
    Outcome upload = served.run("upload " + file.path() + " -f 3 -n 'caf\xC3\xA9'");
    EXPECT_EQ(upload.exitCode, 0) << upload.text;
    EXPECT_TRUE(contains(upload, "padded with a zero byte")) << upload.text;
    EXPECT_TRUE(contains(upload, "Uploaded 1002 bytes as file 3")) << upload.text;
    EXPECT_EQ(
        served.run("upload " + file.path() + " -f 2 -n '\xE6\x97\xA5\xE6\x9C\xAC x'").exitCode, 0);

    Outcome ls = served.run("ls");
    EXPECT_EQ(ls.exitCode, 0) << ls.text;
    EXPECT_TRUE(contains(ls, " 3  Data  00010000  00011000")) << ls.text;
    EXPECT_TRUE(contains(ls, "  caf\xC3\xA9\n")) << ls.text;
    EXPECT_TRUE(contains(ls, "  ?? x\n")) << ls.text;

    Outcome json = served.run("--json ls", Capture::outputOnly);
    EXPECT_TRUE(contains(json, "\"name\":\"caf\xC3\xA9\"")) << json.text;
}

TEST(Tool, AudioCommandsReachTheFirmware) {
    emu::BoardOptions options;
    options.audioFirmware = emu::AudioFirmwareOptions{};
    options.audioFirmware->faults.corruptEchoIndex = 5;
    options.audioFirmware->faults.corruptEchoReplies = 1;
    ServedBoard served(options);
    ASSERT_TRUE(served.started());

    Outcome mute = served.run("audio mute on");
    EXPECT_EQ(mute.exitCode, 0) << mute.text;
    EXPECT_TRUE(contains(mute, "Mute on (the firmware answers 1)")) << mute.text;
    Outcome source = served.run("audio source 3");
    EXPECT_TRUE(contains(source, "Source 3 (the firmware answers 3)")) << source.text;

    Outcome file = served.run("audio file 1");
    EXPECT_EQ(file.exitCode, 0) << file.text;
    EXPECT_TRUE(contains(file, "File 1: Concert Hall")) << file.text;
    EXPECT_TRUE(contains(file, "Created:  2023-12-25 08:00:00")) << file.text;
    EXPECT_TRUE(contains(file, "Modified: 2024-03-01 13:05:09")) << file.text;
    EXPECT_EQ(served.run("audio file 9").exitCode, 76);

    // The first echo comes back with one byte spoilt, the next one whole.
    EXPECT_EQ(served.run("audio echo 400").exitCode, 76);
    Outcome echo = served.run("audio echo 400");
    EXPECT_EQ(echo.exitCode, 0) << echo.text;
    EXPECT_TRUE(contains(echo, "Echo of 400 bytes matches")) << echo.text;
}

TEST(ToolExitCodes, BadArgumentsFailBeforeTheBoardIsOpened) {
    ServedBoard served;
    ASSERT_TRUE(served.started());
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
    Outcome quiet = runTool("-q upload " + file.path() + " -f 2", Capture::outputOnly);
    EXPECT_EQ(quiet.exitCode, 69);
    EXPECT_EQ(quiet.text, "");
    Outcome said = runTool("upload " + file.path() + " -f 2", Capture::errorsOnly);
    EXPECT_EQ(said.exitCode, 69);
    EXPECT_TRUE(contains(said, "xdsp: no board attached; add --emulator")) << said.text;
    Outcome json = runTool("--json info", Capture::outputOnly);
    EXPECT_EQ(json.exitCode, 69);
    EXPECT_TRUE(contains(json, "\"text\":\"no board attached\"")) << json.text;
    EXPECT_FALSE(contains(json, "\"board\":\"built-in emulator\"")) << json.text;
}

TEST(ToolExitCodes, EachFailureHasItsCodeAndWords) {
    ServedBoard served(withBootLoader());
    ASSERT_TRUE(served.started());
    Outcome help = runTool("--help", Capture::outputOnly);
    EXPECT_EQ(help.exitCode, 0);
    EXPECT_TRUE(contains(help, "77  permission denied")) << help.text;

    Outcome missing = served.run("upload /no/such/file -f 1", Capture::errorsOnly);
    EXPECT_EQ(missing.exitCode, 66);
    EXPECT_TRUE(contains(missing, "cannot read /no/such/file")) << missing.text;

    Outcome absent = runTool("info -d /tmp/b.sock-none", Capture::errorsOnly);
    EXPECT_EQ(absent.exitCode, 69);
    EXPECT_EQ(absent.text, "xdsp: no board answered at /tmp/b.sock-none (error 2)\n");

    Outcome past = served.run("flash read 0x000FFF00 512", Capture::errorsOnly);
    EXPECT_EQ(past.exitCode, 74);
    EXPECT_TRUE(contains(past, "cannot read the flash at 0x00100000")) << past.text;
    EXPECT_TRUE(contains(past, "(error 1359)")) << past.text;

    Outcome cannotServe = runTool("emu /no/such/folder/x.sock", Capture::errorsOnly);
    EXPECT_EQ(cannotServe.exitCode, 70) << cannotServe.text;

    ServedBoard loopback; // no boot loader behind the SPI bus
    ASSERT_TRUE(loopback.started());
    Outcome protocol = loopback.run("ls", Capture::errorsOnly);
    EXPECT_EQ(protocol.exitCode, 76);
    EXPECT_TRUE(contains(protocol, "the boot loader on " + loopback.path() + " did not answer"))
        << protocol.text;
}

TEST(ToolExitCodes, ChecksumMismatchNamesBothSums) {
    emu::BoardOptions options = withBootLoader();
    options.bootLoader->faults.wrongChecksumReplies = emu::always;
    ServedBoard served(options);
    ASSERT_TRUE(served.started());
    TestFile file(2000, 7);
    Outcome upload = served.run("upload " + file.path() + " -f 1", Capture::errorsOnly);
    EXPECT_EQ(upload.exitCode, 65) << upload.text;
    std::vector<uint8_t> data = contentsOf(file.path());
    char expected[120];
    uint16_t sum = BootLoader_ComputeFileChecksum(data.data(), 2000);
    std::snprintf(expected, sizeof expected,
                  "checksum differs after upload: the board reports 0x%04X, the file sums to "
                  "0x%04X (error 0x8009700D)",
                  static_cast<uint16_t>(sum + 1), sum);
    EXPECT_TRUE(contains(upload, expected)) << upload.text;
}

// A format never confirmed: the status, and the text kept in place of a box.
TEST(ToolExitCodes, FailedFormatSaysWhatTheBoardKept) {
    emu::BoardOptions options = withBootLoader();
    options.bootLoader->faults.unacknowledgedCode = 0x30; // format
    options.bootLoader->faults.unacknowledgedReplies = emu::always;
    ServedBoard served(options);
    ASSERT_TRUE(served.started());
    TestFile file(3000, 3);
    Outcome upload = served.run("upload " + file.path() + " -f 2", Capture::errorsOnly);
    EXPECT_EQ(upload.exitCode, 76) << upload.text;
    EXPECT_EQ(upload.text, "xdsp: the library reports: Error in Format.\nCancelling Upload.\n"
                           "xdsp: the upload stopped: the boot loader did not prepare the file's "
                           "area (error 11)\n");
}

TEST(ToolExitCodes, BusyAndForbiddenBoardsSaySo) {
    ServedBoard served(withBootLoader());
    ASSERT_TRUE(served.started());
    std::u16string path(served.path().begin(), served.path().end());
    ASSERT_TRUE(InitializeHIDUSBPacketPath(path.c_str())); // this process holds it
    Outcome busy = served.run("info", Capture::errorsOnly);
    DestroyHIDUSBPacket();
    EXPECT_EQ(busy.exitCode, 69);
    EXPECT_EQ(busy.text, "xdsp: board busy: another program holds it (error 32)\n");

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
    EXPECT_EQ(denied.exitCode, 77) << denied.text;
    EXPECT_EQ(denied.text, "xdsp: cannot open " + served.path() +
                               ": permission denied (error 5); `xdsp udev-rule` prints a rule "
                               "that gives your user access\n");
}
