// Helpers for the command tests: the reports the board received, caller
// buffers with guard bytes, and timing.
#pragma once

#include "board.h"
#include "support/capture.h"
#include "support/emulated_board.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace xdsp::test {

using Bytes = std::vector<uint8_t>;

// Received output reports with this command code, oldest first.
std::vector<Bytes> commandsWithCode(const emu::Board &board, uint16_t code);
// The last of them; empty when none came.
Bytes lastCommand(const emu::Board &board, uint16_t code);
// The count-th of them (from 1), waiting up to 3 s for it: a command without
// an answer to wait for returns before the board has it. Empty when it never came.
Bytes awaitCommand(const emu::Board &board, uint16_t code, size_t count);
Bytes slice(const Bytes &bytes, size_t offset, size_t count);
// True when the pieces hold these pieces back to back.
bool hasPieces(const Capture &capture, const std::vector<Text> &expected);
// Stages filler commands so that the next staged command takes this sequence byte.
void advanceSequenceTo(uint8_t sequence);
// Milliseconds since start.
uint32_t elapsedMs(uint32_t start);
// Milliseconds a call takes.
template <typename Call> uint32_t millisOf(Call call) {
    uint32_t start = os::tickMs();
    call();
    return elapsedMs(start);
}

// A call's result with the last-error it left, to compare both at once.
using Outcome = std::pair<int64_t, uint32_t>;
inline Outcome outcome(int64_t result) {
    return {result, os::lastError()};
}
// The texts of the message boxes shown, each checked to have this caption and
// style (an error box unless told).
Lines errorBoxTexts(const Capture &capture, const Text &caption = WIDE("Error"),
                    uint32_t style = 0);

// A caller's buffer with guard bytes on both sides, to see that nothing is
// written outside it.
class GuardedBuffer {
  public:
    explicit GuardedBuffer(size_t size, uint8_t fill = 0xEE);
    uint8_t *data() { return bytes_.data() + guard; }
    Bytes contents() const;
    bool guardsIntact() const;

  private:
    static constexpr size_t guard = 32;
    static constexpr uint8_t guardByte = 0xA5;
    Bytes bytes_;
};

// A case on an emulated board whose link is open and settled, its capture cleared.
class OpenBoard : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(emulated.openAndSettle(capture));
        capture.clear();
    }
    emu::Board &board() { return emulated.board(); }
    // Declared in this order so the board goes first and the sinks last.
    Capture capture;
    EmulatedBoard emulated;
};

} // namespace xdsp::test
