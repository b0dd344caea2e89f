// An emulated board whose DSP is a ScriptedPeer, opened and settled, with the
// read-prefix mode a test runs in.
#pragma once

#include "support/capture.h"
#include "support/emulated_board.h"
#include "support/scripted_peer.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace xdsp::test {

class ScriptedBoard {
  public:
    explicit ScriptedBoard(bool readPrefix) {
        XMOSSPI_SetReadPrefix(readPrefix ? 1 : 0);
        opened_ = emulated.openAndSettle(capture);
        emulated.board().attachSpiPeer(&peer);
        // A flush then ends after its first transfer, as on a drained port.
        peer.setDrainBusyMicros(3000);
        capture.clear();
    }
    ~ScriptedBoard() { emulated.board().attachSpiPeer(nullptr); }
    bool opened() const { return opened_; }

    // Declared in this order so the board goes first and the sinks last.
    Capture capture;
    ScriptedPeer peer;
    EmulatedBoard emulated;

  private:
    bool opened_ = false;
};

// A transfer as the boot-loader code makes it: select 2, setting A 3.
inline void expectTransfer(const SpiTransfer &transfer, const Bytes &written, size_t readLength,
                           uint16_t busyMask, uint16_t settingB, uint16_t modeWord = 0x0101) {
    EXPECT_EQ(transfer.written, written);
    EXPECT_EQ(transfer.readLength, readLength);
    EXPECT_EQ(transfer.settings.busyMask, busyMask);
    EXPECT_EQ(transfer.settings.settingB, settingB);
    EXPECT_EQ(transfer.settings.modeWord, modeWord);
    EXPECT_EQ(transfer.settings.select, 2);
    EXPECT_EQ(transfer.settings.settingA, 3);
}

inline const Bytes readPrefix = {'R', 'D'};

// The transfers of one exchange from index at: the command and "RD" with the
// read prefix, one transfer that writes and reads without it. Returns the next index.
inline size_t expectExchange(const std::vector<SpiTransfer> &transfers, size_t at, bool prefix,
                             const Bytes &command, size_t replyLength, uint16_t mask,
                             uint16_t settingB) {
    if (!prefix) {
        if (at < transfers.size())
            expectTransfer(transfers[at], command, replyLength, mask, settingB);
        return at + 1;
    }
    if (at < transfers.size())
        expectTransfer(transfers[at], command, 0, mask, settingB);
    if (replyLength == 0)
        return at + 1;
    if (at + 1 < transfers.size())
        expectTransfer(transfers[at + 1], readPrefix, replyLength, mask, settingB);
    return at + 2;
}

// The peer heard these commands with their reply lengths, each with busy
// mask 2 and this setting B, and no other command transfer.
inline void expectExchanges(const ScriptedPeer &peer, bool prefix, uint16_t settingB,
                            const std::vector<std::pair<Bytes, size_t>> &expected) {
    std::vector<SpiTransfer> sent = peer.commandTransfers();
    size_t at = 0;
    for (const auto &[command, replyLength] : expected)
        at = expectExchange(sent, at, prefix, command, replyLength, 2, settingB);
    EXPECT_EQ(sent.size(), at);
}

// Cases that run once with the read prefix and once without.
class BothModesTest : public ::testing::TestWithParam<bool> {
  protected:
    void SetUp() override { ASSERT_TRUE(scripted.opened()); }
    bool prefix() const { return GetParam(); }
    ScriptedBoard scripted{GetParam()};
};

inline std::string modeName(const ::testing::TestParamInfo<bool> &info) {
    return info.param ? "ReadPrefix" : "NoPrefix";
}

} // namespace xdsp::test
