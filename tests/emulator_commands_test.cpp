// The emulated firmware's command handlers, report by report, where the host
// cannot see them through the library alone: the error bit of one failed
// command and a transfer held by the DSP's busy line.
#include "board.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

using xdsp::emu::Board;
using Report = std::vector<uint8_t>;

uint16_t word(const Report &report, size_t offset) {
    return static_cast<uint16_t>(report.at(offset) | report.at(offset + 1) << 8);
}

void putWord(Report &report, size_t offset, uint16_t value) {
    report.at(offset) = static_cast<uint8_t>(value);
    report.at(offset + 1) = static_cast<uint8_t>(value >> 8);
}

// Stages commands as the host does, each with the next sequence byte.
class Host {
  public:
    explicit Host(Board &board) : board_(board) {}
    Report send(uint16_t code, const std::vector<std::pair<size_t, uint16_t>> &words = {},
                size_t dataOffset = 0, const Report &data = {}) {
        Report report(512, 0);
        putWord(report, 1, 0x4452);
        report[3] = sequence_++;
        putWord(report, 9, code);
        putWord(report, 11, static_cast<uint16_t>(~(0x4452 + code)));
        for (const auto &[offset, value] : words)
            putWord(report, offset, value);
        std::copy(data.begin(), data.end(), report.begin() + static_cast<long>(dataOffset));
        last_ = report;
        return answer();
    }
    // The answer to the host repeating its last report.
    Report answer() {
        Report input(512, 0);
        EXPECT_TRUE(board_.answer(last_.data(), last_.size(), input.data(), input.size()));
        return input;
    }

  private:
    Board &board_;
    uint8_t sequence_ = 0;
    Report last_;
};

} // namespace

TEST(EmulatorCommands, FailedFlashCommandSetsTheErrorBitUntilTheNextCommand) {
    Board board;
    Host host(board);
    Report data(4, 0x5A);
    Report answer = host.send(0xF010, {{13, 0xFFFE}, {15, 0x000F}, {275, 4}}, 19, data);
    EXPECT_EQ(answer[5] & 0x80, 0x80) << "0xFFFFE plus 4 bytes runs past the 1 MiB flash";
    EXPECT_EQ(host.answer()[5] & 0x80, 0x80);
    EXPECT_EQ(host.send(0xF010, {{13, 0x0100}, {275, 257}})[5] & 0x80, 0x80)
        << "more than 256 bytes fail";
    EXPECT_EQ(host.send(0xF010, {{13, 0x0100}, {275, 4}}, 19, data)[5] & 0x80, 0);
    EXPECT_EQ(board.flashContents(0x100, 5), (Report{0x5A, 0x5A, 0x5A, 0x5A, 0xFF}));
    EXPECT_TRUE(board.flashContents(0xFFFFE, 4).empty());

    Report read = host.send(0xF020, {{13, 0x0100}, {275, 4}});
    EXPECT_EQ(word(read, 10), 0xF020);
    EXPECT_EQ(word(read, 276), 4);
    EXPECT_EQ(Report(read.begin() + 20, read.begin() + 25), (Report{0x5A, 0x5A, 0x5A, 0x5A, 0}));
}

namespace {
// A DSP whose busy line the test raises and lowers; it answers every read with 0x77.
class LinePeer : public xdsp::emu::SpiPeer {
  public:
    void transfer(const xdsp::emu::SpiSettings &, const uint8_t *, size_t, uint8_t *read,
                  size_t readLength, Clock::time_point) override {
        ++transfers;
        std::fill_n(read, readLength, uint8_t{0x77});
    }
    uint16_t busyLines(Clock::time_point) const override { return line; }
    uint16_t line = 0x0002;
    int transfers = 0;
};
} // namespace

TEST(EmulatorCommands, TransferWaitsForTheLinesOfItsBusyMask) {
    Board board;
    LinePeer peer;
    board.attachSpiPeer(&peer);
    Host host(board);
    Report answer = host.send(0xF030, {{21, 0x0002}, {23, 4}});
    EXPECT_EQ(peer.transfers, 0) << "held while the line in its mask is high";
    EXPECT_EQ(answer[5] & 0x03, 0x01) << "the firmware reports itself busy meanwhile";
    EXPECT_EQ(answer[5] & 0x04, 0);
    EXPECT_EQ(host.answer()[5] & 0x04, 0);

    peer.line = 0;
    answer = host.answer();
    EXPECT_EQ(peer.transfers, 1);
    EXPECT_EQ(answer[5] & 0x07, 0x04) << "clocked and answered once the line drops";
    EXPECT_EQ(Report(answer.begin() + 28, answer.begin() + 33),
              (Report{0x77, 0x77, 0x77, 0x77, 0}));

    peer.line = 0x0002;
    host.send(0xF030, {{21, 0x0001}, {23, 2}});
    EXPECT_EQ(peer.transfers, 2) << "a line outside the mask does not hold it";
    board.attachSpiPeer(nullptr);
}
