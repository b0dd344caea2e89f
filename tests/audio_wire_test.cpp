// The audio firmware's USER commands on the SPI wire against a scripted DSP, in
// both read-prefix modes: the exact bytes and settings, how results are read,
// the echo's comparison and dumps, and the file name with its dates.
#include "support/commands.h"
#include "support/scripted_board.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <string>
#include <tuple>

using namespace xdsp;
using namespace xdsp::test;

namespace {
Bytes user(const Bytes &tail) {
    return concat(bytesOf("USER"), tail);
}

// Two idle bytes, "USER", then bytes 6 onwards as given.
Bytes userReply(const Bytes &tail) {
    return concat({0x00, 0x00}, user(tail));
}

// A name-and-date block as it travels: '*' for every zero byte, pairs swapped.
Bytes travelledBlock(const std::string &name, const std::string &modified,
                     const std::string &created) {
    Bytes block(128, 0);
    std::copy(name.begin(), name.end(), block.begin());
    std::copy(modified.begin(), modified.end(), block.begin() + 64);
    std::copy(created.begin(), created.end(), block.begin() + 84);
    std::replace(block.begin(), block.end(), uint8_t{0}, uint8_t{'*'});
    for (size_t i = 0; i < block.size(); i += 2)
        std::swap(block[i], block[i + 1]);
    return block;
}

// The dump line of up to 20 bytes from index first.
Text dumpLine(const Bytes &bytes, size_t first) {
    char piece[8];
    std::snprintf(piece, sizeof piece, "%3d: ", static_cast<int>(first));
    std::string line = piece;
    for (size_t j = 0; first + j < bytes.size() && j < 20; ++j) {
        std::snprintf(piece, sizeof piece, "%02X ", bytes[first + j]);
        line += piece;
    }
    return Text(line.begin(), line.end());
}

constexpr double march = 45352.54524305555;   // 2024-03-01 13:05:09
constexpr double christmas = 45285.333333333; // 2023-12-25 08:00:00

class AudioWire : public BothModesTest {
  protected:
    ScriptedPeer &peer = scripted.peer;
};
} // namespace

TEST_P(AudioWire, ValueCommandsSendOneWordAndReadTheResult) {
    // Bytes 6-7 match no command: only the magic and bytes 8-9 count.
    peer.respond([](const Bytes &, const SpiTransfer &) {
        return userReply({0x99, 0x77, 0x12, 0x34});
    });
    EXPECT_EQ(Halvio_Mute(5), 0x1234);
    EXPECT_EQ(Halvio_LineOut(-3), 0x1234);
    EXPECT_EQ(Halvio_Source(12), 0x1234);
    EXPECT_EQ(Halvio_LoadFilter(9), 0x1234);
    EXPECT_EQ(Halvio_LoadAlgorithm(0xAB), 0x1234);
    EXPECT_EQ(Halvio_LoadAlgorithm(0x100), 0x1234);
    EXPECT_EQ(peer.transfers().size(), peer.commandTransfers().size()) << "no flush";
    // "\x0%d" holds one digit: 12 sends 0x01 and then '2'; "\x%02X" of 0x100
    // sends 0x10 and then '0'. The word count stays 1.
    expectExchanges(peer, prefix(), 50,
                    {{user({0x3C, 0x01, 0x00, 0x01}), 10},
                     {user({0x3B, 0x01, 0x00, 0x01}), 10},
                     {user({0x3A, 0x01, 0x00, 0x01, 0x32}), 10},
                     {user({0x3D, 0x01, 0x00, 0x09}), 10},
                     {user({0x3E, 0x01, 0x00, 0xAB}), 10},
                     {user({0x3E, 0x01, 0x00, 0x10, 0x30}), 10}});

    // Without the magic, or with no answer at all: 0xFFFF.
    peer.respond([](const Bytes &, const SpiTransfer &) { return bootReply(0x3C, {0x00, 0x01}); });
    EXPECT_EQ(Halvio_Mute(1), 0xFFFF);
    peer.respond([](const Bytes &, const SpiTransfer &) { return Bytes{}; });
    EXPECT_EQ(Halvio_LoadAlgorithm(3), 0xFFFF);
}

TEST_P(AudioWire, ResetWritesSixBytesAndReadsNothing) {
    Halvio_Reset();
    // A transfer without a read returns before the board has carried it out.
    ASSERT_TRUE(eventually([&] { return !peer.transfers().empty(); }));
    std::vector<SpiTransfer> sent = peer.transfers();
    ASSERT_EQ(sent.size(), 1u) << "no flush, no read prefix";
    expectTransfer(sent[0], user({0x3F, 0x00}), 0, 2, 50);
}

TEST_P(AudioWire, EchoSendsWholeWordsAndComparesThem) {
    // The firmware's echo: the packet's data after the reply's header.
    peer.respond([](const Bytes &command, const SpiTransfer &) {
        return concat(userReply({0x38, command.at(5)}), Bytes(command.begin() + 6, command.end()));
    });
    const uint8_t data[401] = {0x11, 0x22, 0x33, 0x44, 0x55};

    EXPECT_EQ(Halvio_Echo(data, 401), 0);
    EXPECT_TRUE(peer.transfers().empty());
    EXPECT_TRUE(scripted.capture.pieces().empty()) << "no flush, no debug output";

    EXPECT_EQ(Halvio_Echo(data, 5), 1);
    std::vector<SpiTransfer> all = peer.transfers();
    ASSERT_FALSE(all.empty());
    EXPECT_EQ(all[0].settings.modeWord, 0x0303) << "a flush goes first";
    EXPECT_EQ(scripted.capture.count(WIDE("Echo:\r\n")), 1u);
    expectExchanges(peer, prefix(), 10, {{user({0x38, 0x02, 0x11, 0x22, 0x33, 0x44}), 12}});

    for (uint32_t length : {0u, 1u}) {
        peer.clear();
        EXPECT_EQ(Halvio_Echo(data, length), 1) << length;
        expectExchanges(peer, prefix(), 10, {{user({0x38, 0x00}), 8}});
    }

    peer.clear();
    os::setLastError(0);
    EXPECT_EQ(outcome(Halvio_Echo(nullptr, 4)), Outcome(0, XDSP_ERROR_INVALID_PARAMETER));
    EXPECT_TRUE(peer.transfers().empty());
    // Without a whole word to send no data byte is read: the empty echo runs.
    EXPECT_EQ(Halvio_Echo(nullptr, 1), 1);
    expectExchanges(peer, prefix(), 10, {{user({0x38, 0x00}), 8}});
}

TEST_P(AudioWire, EchoMismatchDumpsBothSidesFromTheFirstDifference) {
    size_t spoilt = 3;
    peer.respond([&](const Bytes &command, const SpiTransfer &) {
        Bytes reply =
            concat(userReply({0x38, command.at(5)}), Bytes(command.begin() + 6, command.end()));
        reply.at(8 + spoilt) ^= 0xFF;
        return reply;
    });
    // The caller's bytes, and what comes back with the one at inverted spoilt.
    auto pattern = [](size_t inverted) {
        Bytes bytes(50);
        for (size_t i = 0; i < bytes.size(); ++i)
            bytes[i] = static_cast<uint8_t>((0xA0 + i) ^ (i == inverted ? 0xFF : 0));
        return bytes;
    };
    const Bytes data = pattern(SIZE_MAX);

    for (size_t at : {size_t{3}, size_t{45}}) {
        spoilt = at;
        Bytes received = pattern(at);
        scripted.capture.clear();
        EXPECT_EQ(Halvio_Echo(data.data(), 50), 0);
        // 20 bytes from index 3; only the 5 that are left from index 45.
        EXPECT_TRUE(
            hasPieces(scripted.capture, {WIDE("byteRecv: "), dumpLine(received, at), WIDE("\r\n"),
                                         WIDE("  lpData: "), dumpLine(data, at), WIDE("\r\n")}))
            << narrow(scripted.capture.joined());
    }
    EXPECT_EQ(dumpLine(data, 3).substr(0, 8), WIDE("  3: A3 "));
}

TEST_P(AudioWire, LoadFilenameDecodesTheBlockIntoTheCallersBuffers) {
    uint8_t lengthByte = 0x41;
    bool magic = true;
    std::string fileName = "Hall A";
    peer.respond([&](const Bytes &, const SpiTransfer &) {
        Bytes head = magic ? userReply({0x39, lengthByte, 0x00, 0x07}) : bootReply(0x39, {0, 7});
        head.resize(10);
        return concat(head, travelledBlock(fileName, "2024-03-01 13:05:09", "2023-12-25 08:00:00"));
    });

    Char16 name[64] = {'x', 'y'};
    double created = -1.0, modified = -1.0;
    Halvio_LoadFilename(7, name, 64, &created, &modified);
    EXPECT_EQ(Text(name), WIDE("Hall A"));
    EXPECT_NEAR(modified, march, 1e-6);
    EXPECT_NEAR(created, christmas, 1e-6);
    EXPECT_EQ(peer.transfers().size(), peer.commandTransfers().size()) << "no flush";
    expectExchanges(peer, prefix(), 50, {{user({0x39, 0x01, 0x00, 0x07}), 136}});

    // Too small a buffer: the name is cut, nothing is written past it; with
    // capacity 0 it is not touched at all.
    GuardedBuffer small(4 * sizeof(Char16));
    Halvio_LoadFilename(7, reinterpret_cast<Char16 *>(small.data()), 4, &created, &modified);
    EXPECT_TRUE(small.guardsIntact());
    EXPECT_EQ(Text(reinterpret_cast<Char16 *>(small.data())), WIDE("Hal"));
    GuardedBuffer untouched(8);
    Halvio_LoadFilename(7, reinterpret_cast<Char16 *>(untouched.data()), 0, nullptr, &modified);
    EXPECT_EQ(untouched.contents(), Bytes(8, 0xEE));
    EXPECT_NEAR(modified, march, 1e-6);

    // A name field without a zero byte gives all 64 characters where they fit.
    fileName = std::string(64, 'n');
    Char16 whole[65];
    Halvio_LoadFilename(7, whole, 65, nullptr, nullptr);
    EXPECT_EQ(Text(whole), Text(64, Char16('n')));
    Halvio_LoadFilename(7, name, 64, nullptr, nullptr);
    EXPECT_EQ(Text(name), Text(63, Char16('n')));
    fileName = "Hall A";

    // A reply whose length byte is not 0x41, or without the magic: empty name
    // and no dates, 500 ms after the exchange.
    for (bool withMagic : {true, false}) {
        magic = withMagic;
        lengthByte = withMagic ? 0x40 : 0x41;
        name[0] = 'x';
        created = modified = -1.0;
        EXPECT_GE(millisOf([&] { Halvio_LoadFilename(7, name, 64, &created, &modified); }), 500u);
        EXPECT_EQ(std::tuple(name[0], created, modified), std::tuple(Char16{0}, 0.0, 0.0));
    }
}

INSTANTIATE_TEST_SUITE_P(BothModes, AudioWire, ::testing::Bool(), modeName);
