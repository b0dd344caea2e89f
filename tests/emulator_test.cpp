// The emulated board as the host sees it: its reports byte by byte and its
// server over the library's own device calls.
#include "board.h"
#include "firmware.h"
#include "os/os.h"
#include "virtual_device_server.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <string>
#include <vector>

namespace {

using xdsp::emu::Board;
using xdsp::emu::BoardOptions;
using Report = std::vector<uint8_t>;

uint16_t word(const Report &report, size_t offset) {
    return static_cast<uint16_t>(report.at(offset) | report.at(offset + 1) << 8);
}

void putWord(Report &report, size_t offset, uint16_t value) {
    report.at(offset) = static_cast<uint8_t>(value);
    report.at(offset + 1) = static_cast<uint8_t>(value >> 8);
}

uint16_t inverted(uint32_t sum) {
    return static_cast<uint16_t>(~sum);
}

// An output report as the host stages it.
Report command(uint16_t code, uint8_t sequence, uint16_t gpioOutputs = 0) {
    Report report(512, 0);
    putWord(report, 1, 0x4452);
    report[3] = sequence;
    putWord(report, 7, gpioOutputs);
    putWord(report, 9, code);
    putWord(report, 11, inverted(0x4452u + gpioOutputs + code));
    return report;
}

Report answerOf(Board &board, const Report &output, size_t inputLength = 512) {
    Report input(inputLength, 0xEE);
    EXPECT_TRUE(board.answer(output.data(), output.size(), input.data(), input.size()));
    return input;
}

bool goodChecksum(const Report &input) {
    return word(input, 12) == inverted(0x4452u + word(input, 6) + word(input, 8) + word(input, 10));
}

bool hasPayload(const Report &input) {
    return (input[5] & 0x04) != 0;
}

bool payloadClear(const Report &input) {
    for (size_t i = 14; i < input.size(); ++i)
        if (input[i] != 0)
            return false;
    return true;
}

TEST(EmulatorBoard, AnswersEachNewCommandOnce) {
    Board board;

    Report init = answerOf(board, command(0xF000, 0x00));
    EXPECT_TRUE(hasPayload(init));
    EXPECT_EQ(init[4], 0x00);
    EXPECT_EQ(word(init, 10), 0xF000);
    EXPECT_TRUE(goodChecksum(init));
    EXPECT_NE(init[14], 0) << "record byte 0 marks a filled record";
    EXPECT_STREQ(reinterpret_cast<const char *>(&init[30]), "XDSP Virtual Board");
    for (size_t i = 14 + 188; i < init.size(); ++i)
        ASSERT_EQ(init[i], 0) << "offset " << i;

    // The host repeats its report until it stages another: nothing new to say.
    Report idle = answerOf(board, command(0xF000, 0x00));
    EXPECT_FALSE(hasPayload(idle));
    EXPECT_EQ(idle[4], 0x00);
    EXPECT_EQ(word(idle, 10), 0);
    EXPECT_TRUE(payloadClear(idle));

    Report layout = answerOf(board, command(0xF001, 0x01));
    EXPECT_TRUE(hasPayload(layout));
    EXPECT_EQ(layout[4], 0x01);
    EXPECT_EQ(word(layout, 10), 0xF001);
    auto record = xdsp::emu::layoutRecord();
    EXPECT_TRUE(std::equal(record.begin(), record.end(), layout.begin() + 14));
    EXPECT_EQ(layout[14 + 212], 0);

    // The GPIO output word rides in every report; only 0xFFFF applies it.
    answerOf(board, command(0xF00B, 0x02, 0x1111));
    EXPECT_EQ(board.gpioOutputs(), 0);
    Report gpio = answerOf(board, command(0xFFFF, 0x03, 0xA5A5));
    EXPECT_EQ(board.gpioOutputs(), 0xA5A5);
    EXPECT_FALSE(hasPayload(gpio));
    EXPECT_EQ(gpio[4], 0x01) << "idle reports repeat the last response's sequence byte";

    // Bad reports are ignored but still answered, and do not use up their sequence byte.
    Report badMagic = command(0xF000, 0x04);
    badMagic[1] = 0x53;
    Report badChecksum = command(0xF000, 0x04);
    badChecksum[11] ^= 1;
    Report cut = command(0xF000, 0x04);
    cut.resize(12);
    for (const Report &bad : {badMagic, badChecksum, cut, Report{}}) {
        Report answer = answerOf(board, bad);
        EXPECT_FALSE(hasPayload(answer));
        EXPECT_TRUE(goodChecksum(answer));
    }
    Report again = answerOf(board, command(0xF000, 0x04));
    EXPECT_TRUE(hasPayload(again));
    EXPECT_EQ(again[4], 0x02);

    // A new connection's first report is new whatever its sequence byte; the
    // response counter runs on.
    board.hostAttached();
    Report reconnected = answerOf(board, command(0xF000, 0x04));
    EXPECT_TRUE(hasPayload(reconnected));
    EXPECT_EQ(reconnected[4], 0x03);

    EXPECT_EQ(board.outputReportCount(), 11u);
    auto received = board.receivedCommands();
    ASSERT_EQ(received.size(), 10u) << "the repeated INIT is logged once";
    EXPECT_EQ(received.front(), command(0xF000, 0x00));
    EXPECT_EQ(received[3], command(0xFFFF, 0x03, 0xA5A5));
    EXPECT_TRUE(received[7].empty());
    EXPECT_EQ(received.back(), command(0xF000, 0x04)) << "the first report of a connection";
}

TEST(EmulatorBoard, FaultKnobsSpoilReportsAsAsked) {
    Board board;
    board.setErrorBit(true);
    EXPECT_EQ(answerOf(board, {})[5], 0x80);
    board.setErrorBit(false);
    EXPECT_EQ(answerOf(board, {})[5], 0);

    board.corruptMagic(2);
    EXPECT_NE(word(answerOf(board, {}), 2), 0x4452);
    EXPECT_NE(word(answerOf(board, {}), 2), 0x4452);
    EXPECT_EQ(word(answerOf(board, {}), 2), 0x4452);

    board.corruptChecksum(1);
    EXPECT_FALSE(goodChecksum(answerOf(board, {})));
    EXPECT_TRUE(goodChecksum(answerOf(board, {})));

    // The spoilt response is gone; the next one takes the next fresh byte.
    board.repeatSequence(1);
    Report repeated = answerOf(board, command(0xF000, 0x00));
    EXPECT_TRUE(hasPayload(repeated));
    EXPECT_EQ(repeated[4], 0xFF);
    Report fresh = answerOf(board, command(0xF000, 0x01));
    EXPECT_EQ(fresh[4], 0x00);

    // An injected response goes ahead of a pending one, which follows.
    board.setBusyStuck(true);
    for (int i = 0; i < 3; ++i) {
        Report stuck = answerOf(board, command(0xF001, 0x02));
        EXPECT_EQ(stuck[5] & 0x03, 0x01);
        EXPECT_FALSE(hasPayload(stuck));
    }
    board.setBusyStuck(false);
    board.injectResponse(0x1234, {1, 2, 3}, false);
    Report injected = answerOf(board, command(0xF001, 0x02));
    EXPECT_FALSE(hasPayload(injected));
    EXPECT_EQ(injected[4], 0x01);
    EXPECT_EQ(word(injected, 10), 0x1234);
    EXPECT_EQ(injected[14], 1);
    EXPECT_EQ(injected[16], 3);
    EXPECT_EQ(injected[17], 0);
    EXPECT_TRUE(goodChecksum(injected));
    Report layout = answerOf(board, command(0xF001, 0x02));
    EXPECT_TRUE(hasPayload(layout));
    EXPECT_EQ(layout[4], 0x02);
    EXPECT_EQ(word(layout, 10), 0xF001);

    // A stalled board takes nothing and answers nothing.
    uint32_t before = board.outputReportCount();
    board.stallReports(true);
    Report untouched(512, 0xEE);
    Report output = command(0xF000, 0x03);
    EXPECT_FALSE(board.answer(output.data(), output.size(), untouched.data(), untouched.size()));
    EXPECT_EQ(untouched, Report(512, 0xEE));
    EXPECT_EQ(board.outputReportCount(), before);
    board.stallReports(false);
    EXPECT_TRUE(hasPayload(answerOf(board, output)));
}

TEST(EmulatorBoard, KeepsInsideShortBuffersAndLongNames) {
    BoardOptions options;
    options.productName = std::string(300, 'N');
    Board board(options);

    // A 16-byte input report gets what fits, and not a byte more.
    Report buffer(32, 0xEE);
    Report output = command(0xF000, 0x00);
    ASSERT_TRUE(board.answer(output.data(), output.size(), buffer.data(), 16));
    EXPECT_EQ(word(buffer, 10), 0xF000);
    EXPECT_EQ(buffer[14], 1);
    for (size_t i = 16; i < buffer.size(); ++i)
        ASSERT_EQ(buffer[i], 0xEE) << "offset " << i;
    EXPECT_TRUE(board.answer(nullptr, 100, nullptr, 100));

    // The name is cut so that the record keeps its terminator.
    Report named = answerOf(board, command(0xF000, 0x01));
    ASSERT_TRUE(hasPayload(named));
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(&named[30])), std::string(171, 'N'));
    EXPECT_EQ(named[14 + 187], 0);

    // An injected payload longer than the report is cut at its end.
    board.injectResponse(0x5555, std::vector<uint8_t>(600, 0x77));
    Report wide(520, 0xEE);
    ASSERT_TRUE(board.answer(nullptr, 0, wide.data(), 512));
    EXPECT_EQ(wide[511], 0x77);
    EXPECT_EQ(wide[512], 0xEE);
}

// The server through the calls the library opens every device with.
class EmulatorServer : public ::testing::Test {
  protected:
    void SetUp() override {
#ifdef _WIN32
        path = "\\\\.\\pipe\\xdsp-emu-test-" +
#else
        path = ::testing::TempDir() + "xdsp-emu-test-" +
#endif
               std::to_string(std::chrono::steady_clock::now().time_since_epoch().count());
        for (char c : path)
            widePath.push_back(static_cast<xdsp::os::Char16>(static_cast<unsigned char>(c)));
        widePath.push_back(0);
    }

    xdsp::os::Device *open(uint32_t *error) {
        *error = 0;
        return xdsp::os::deviceOpen(widePath.data(), error);
    }

    std::string path;
    std::vector<xdsp::os::Char16> widePath;
};

TEST_F(EmulatorServer, ServesOneHostAtATimeUntilUnplugged) {
    BoardOptions options;
    options.reportPeriodMicros = 20000;
    Board board(options);
    xdsp::emu::VirtualDeviceServer server(board);
    ASSERT_TRUE(server.start(path)) << server.error();

    uint32_t error = 0;
    xdsp::os::Device *host = open(&error);
    ASSERT_NE(host, nullptr) << "error " << error;
    xdsp::os::ReportLengths lengths;
    ASSERT_TRUE(xdsp::os::deviceReportLengths(host, &lengths));
    EXPECT_EQ(lengths.input, 512u);
    EXPECT_EQ(lengths.output, 512u);
    EXPECT_TRUE(server.hostConnected());

    Report output = command(0xF000, 0x00);
    Report input(512, 0);
    size_t received = 0;
    auto sent = std::chrono::steady_clock::now();
    ASSERT_TRUE(xdsp::os::deviceWrite(host, output.data(), output.size(), &error));
    ASSERT_TRUE(xdsp::os::deviceRead(host, input.data(), input.size(), &received, &error));
    EXPECT_GE(std::chrono::steady_clock::now() - sent, std::chrono::microseconds(19000))
        << "one report period after the output report";
    EXPECT_EQ(received, 512u);
    EXPECT_EQ(word(input, 10), 0xF000);
    EXPECT_EQ(board.outputReportCount(), 1u);

    EXPECT_EQ(open(&error), nullptr);
    EXPECT_EQ(error, xdsp::os::error::sharingViolation);
    EXPECT_EQ(server.refusedConnections(), 1u);
    xdsp::emu::VirtualDeviceServer rival(board);
    EXPECT_FALSE(rival.start(path)) << "a live server's path is not taken over";

#ifdef _WIN32
    constexpr uint32_t rivalProbes = 0; // a pipe name in use refuses the rival by itself
#else
    constexpr uint32_t rivalProbes = 1; // a rival connects to tell a live socket from a stale one
#endif
    server.unplug();
    EXPECT_FALSE(server.hostConnected());
    EXPECT_FALSE(xdsp::os::deviceRead(host, input.data(), input.size(), &received, &error));
    EXPECT_EQ(error, xdsp::os::error::invalidHandle);
    xdsp::os::deviceClose(host);
    EXPECT_EQ(open(&error), nullptr);
    EXPECT_EQ(error, xdsp::os::error::sharingViolation);
    EXPECT_EQ(server.refusedConnections(), 2u + rivalProbes) << "the rival's probe, then this one";

    server.replug();
    host = open(&error);
    ASSERT_NE(host, nullptr) << "error " << error;
    EXPECT_TRUE(server.hostConnected());
    ASSERT_TRUE(xdsp::os::deviceWrite(host, output.data(), output.size(), &error));
    ASSERT_TRUE(xdsp::os::deviceRead(host, input.data(), input.size(), &received, &error));
    EXPECT_EQ(word(input, 10), 0xF000) << "the first report of a connection is a new command";
    EXPECT_EQ(input[4], 0x01);

    // A host that leaves while the board holds its answer back frees the board.
    board.stallReports(true);
    ASSERT_TRUE(xdsp::os::deviceWrite(host, output.data(), output.size(), &error));
    xdsp::os::deviceClose(host);
    for (int i = 0; i < 100 && server.hostConnected(); ++i)
        xdsp::os::sleepMs(10);
    EXPECT_FALSE(server.hostConnected());
    board.stallReports(false);

    host = open(&error);
    ASSERT_NE(host, nullptr) << "error " << error;
    server.stop();
    EXPECT_FALSE(xdsp::os::deviceRead(host, input.data(), input.size(), &received, &error));
    xdsp::os::deviceClose(host);
    EXPECT_EQ(open(&error), nullptr);
    EXPECT_EQ(error, xdsp::os::error::fileNotFound) << "stop removes the socket";
}

TEST_F(EmulatorServer, RefusesPathsItCannotServe) {
    Board board;
    xdsp::emu::VirtualDeviceServer server(board);
    EXPECT_FALSE(server.start(std::string(200, 'x')));
    EXPECT_FALSE(server.error().empty());

    std::string filePath = ::testing::TempDir() + "xdsp-emu-test-file";
    std::FILE *file = std::fopen(filePath.c_str(), "w");
    ASSERT_NE(file, nullptr);
    std::fclose(file);
    EXPECT_FALSE(server.start(filePath)) << "a file that is not a socket stays";
    std::remove(filePath.c_str());

    BoardOptions huge;
    huge.inputReportLength = xdsp::emu::maxReportLength + 1;
    Board hugeBoard(huge);
    xdsp::emu::VirtualDeviceServer hugeServer(hugeBoard);
    EXPECT_FALSE(hugeServer.start(path));
}

} // namespace
