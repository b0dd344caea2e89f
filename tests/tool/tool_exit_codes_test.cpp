// Every exit code of the tool, provoked as a user would meet it, with the
// words that say what failed and why.
#include "tool_runner.h"
#include "xdsp/xdsp.h"

#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

using namespace xdsp;
using namespace tooltest;

TEST(ToolExitCodes, EachFailureHasItsCodeAndWords) {
    ServedBoard served(withBootLoader());
    ASSERT_TRUE(served.started());
    TestFile file(2000, 7);

    EXPECT_EQ(runTool("--help", Capture::outputOnly).exitCode, 0);
    Outcome help = runTool("--help", Capture::outputOnly);
    EXPECT_TRUE(contains(help, "77  permission denied")) << help.text;

    EXPECT_EQ(runTool("frobnicate").exitCode, 64);

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
    std::vector<uint8_t> data(2000);
    for (size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<uint8_t>(i * 7);
    char expected[120];
    uint16_t sum = BootLoader_ComputeFileChecksum(data.data(), 2000);
    std::snprintf(expected, sizeof expected,
                  "checksum differs after upload: the board reports 0x%04X, the file sums to "
                  "0x%04X (error 0x8009700D)",
                  static_cast<uint16_t>(sum + 1), sum);
    EXPECT_TRUE(contains(upload, expected)) << upload.text;
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
