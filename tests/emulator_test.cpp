// The emulator's server as the host sees it, over the library's own device calls.
#include "board.h"
#include "link/report_format.h"
#include "os/os.h"
#include "support/capture.h"
#include "virtual_device_server.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <string>
#include <vector>

using namespace xdsp;

namespace {

using emu::Board;
using emu::BoardOptions;
using Report = std::vector<uint8_t>;

uint16_t responseCode(const Report &report) {
    return link::readWord(report.data(), link::input::response);
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
        widePath = test::wide(path);
    }

    os::Device *open(uint32_t *error) {
        *error = 0;
        return os::deviceOpen(widePath.c_str(), error);
    }

    std::string path;
    test::Text widePath;
};

TEST_F(EmulatorServer, ServesOneHostAtATimeUntilUnpluggedAndRefusesPathsItCannotServe) {
    BoardOptions options;
    options.reportPeriodMicros = 20000;
    Board board(options);
    emu::VirtualDeviceServer server(board);
    ASSERT_TRUE(server.start(path)) << server.error();

    uint32_t error = 0;
    os::Device *host = open(&error);
    ASSERT_NE(host, nullptr) << "error " << error;
    EXPECT_TRUE(server.hostConnected());

    Report output(512, 0);
    link::buildOutputHeader(output.data(), 0xF000, 0, 0);
    Report input(512, 0);
    size_t received = 0;
    auto sent = std::chrono::steady_clock::now();
    ASSERT_TRUE(os::deviceWrite(host, output.data(), output.size(), &error));
    ASSERT_TRUE(os::deviceRead(host, input.data(), input.size(), &received, &error));
    EXPECT_GE(std::chrono::steady_clock::now() - sent, std::chrono::microseconds(19000))
        << "one report period after the output report";
    EXPECT_EQ(received, 512u);
    EXPECT_EQ(responseCode(input), 0xF000);
    EXPECT_EQ(board.outputReportCount(), 1u);

    EXPECT_EQ(open(&error), nullptr);
    EXPECT_EQ(error, os::error::sharingViolation);
    EXPECT_EQ(server.refusedConnections(), 1u);
    emu::VirtualDeviceServer rival(board);
    EXPECT_FALSE(rival.start(path)) << "a live server's path is not taken over";

#ifdef _WIN32
    constexpr uint32_t rivalProbes = 0; // a pipe name in use refuses the rival by itself
#else
    constexpr uint32_t rivalProbes = 1; // a rival connects to tell a live socket from a stale one
#endif
    server.unplug();
    EXPECT_FALSE(server.hostConnected());
    EXPECT_FALSE(os::deviceRead(host, input.data(), input.size(), &received, &error));
    EXPECT_EQ(error, os::error::invalidHandle);
    os::deviceClose(host);
    EXPECT_EQ(open(&error), nullptr);
    EXPECT_EQ(error, os::error::sharingViolation);
    EXPECT_EQ(server.refusedConnections(), 2u + rivalProbes) << "the rival's probe, then this one";

    server.replug();
    host = open(&error);
    ASSERT_NE(host, nullptr) << "error " << error;
    EXPECT_TRUE(server.hostConnected());
    ASSERT_TRUE(os::deviceWrite(host, output.data(), output.size(), &error));
    ASSERT_TRUE(os::deviceRead(host, input.data(), input.size(), &received, &error));
    EXPECT_EQ(responseCode(input), 0xF000) << "the first report of a connection is a new command";
    EXPECT_EQ(input[4], 0x01);

    // A host that leaves while the board holds its answer back frees the board.
    board.stallReports(true);
    ASSERT_TRUE(os::deviceWrite(host, output.data(), output.size(), &error));
    os::deviceClose(host);
    EXPECT_TRUE(test::eventually([&] { return !server.hostConnected(); }, 1000));
    board.stallReports(false);

    host = open(&error);
    ASSERT_NE(host, nullptr) << "error " << error;
    server.stop();
    EXPECT_FALSE(os::deviceRead(host, input.data(), input.size(), &received, &error));
    os::deviceClose(host);
    EXPECT_EQ(open(&error), nullptr);
    EXPECT_EQ(error, os::error::fileNotFound) << "stop removes the socket";

    // Paths it cannot serve.
    emu::VirtualDeviceServer other(board);
    EXPECT_FALSE(other.start(std::string(200, 'x')));
    EXPECT_FALSE(other.error().empty());

    std::string filePath = ::testing::TempDir() + "xdsp-emu-test-file";
    ASSERT_TRUE(std::ofstream(filePath).good());
    EXPECT_FALSE(other.start(filePath)) << "a file that is not a socket stays";
    std::remove(filePath.c_str());

    options.inputReportLength = emu::maxReportLength + 1;
    Board hugeBoard(options);
    emu::VirtualDeviceServer hugeServer(hugeBoard);
    EXPECT_FALSE(hugeServer.start(path));
}

// One SPI transfer command as the host stages it: readLength at 23, the write
// length at 25 and the data from 27.
Report spiCommand(uint8_t sequence, uint16_t readLength, const Report &data) {
    Report output(512, 0);
    link::writeWord(output.data(), 23, readLength);
    link::writeWord(output.data(), 25, static_cast<uint16_t>(data.size()));
    std::copy(data.begin(), data.end(), output.begin() + 27);
    link::buildOutputHeader(output.data(), link::command::spiTransfer, 0, sequence);
    return output;
}

// The response codes of the input reports that answer these output reports, in turn.
std::vector<uint16_t> answerCodes(Board &board, const std::vector<Report> &outputs) {
    std::vector<uint16_t> codes;
    for (const Report &output : outputs) {
        Report input(512, 0);
        board.answer(output.data(), output.size(), input.data(), input.size());
        codes.push_back(responseCode(input));
        if (codes.back() != 0) {
            EXPECT_EQ(link::readWord(input.data(), 24), output[23])
                << "the count of what the command read";
        }
    }
    return codes;
}
} // namespace

TEST(EmulatedAnswers, WriteOnlyAnsweredOneReportLaterAndLateAnswersReplaced) {
    BoardOptions options;
    options.answersWriteOnly = true;
    Board board(options);
    Report write = spiCommand(1, 0, {1, 2, 3});
    Report read = spiCommand(2, 3, {});
    EXPECT_EQ(answerCodes(board, {write, write, write, read, read}),
              (std::vector<uint16_t>{0, 0xF030, 0, 0xF030, 0}))
        << "the write's count-0 answer one report late, the read's at once";

    board.delayAnswers(2);
    Report again = spiCommand(3, 3, {});
    EXPECT_EQ(answerCodes(board, {again, again, again, again}),
              (std::vector<uint16_t>{0, 0, 0xF030, 0}));
    Report replaced = spiCommand(4, 3, {});
    Report newer = spiCommand(5, 0, {});
    EXPECT_EQ(answerCodes(board, {replaced, newer, newer, newer, newer, newer}),
              (std::vector<uint16_t>{0, 0, 0, 0, 0xF030, 0}))
        << "the newer command's answer alone, three reports late";
    board.answerWriteOnly(false);
    Report quiet = spiCommand(6, 0, {});
    EXPECT_EQ(answerCodes(board, {quiet, quiet, quiet, quiet}), (std::vector<uint16_t>(4, 0)));
}
