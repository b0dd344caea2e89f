// Helpers for the command tests: the reports the board received, caller
// buffers with guard bytes, and timing.
#pragma once

#include "board.h"
#include "support/capture.h"

#include <cstddef>
#include <cstdint>
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

} // namespace xdsp::test
