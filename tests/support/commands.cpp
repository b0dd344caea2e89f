#include "support/commands.h"
#include "link/link.h"
#include "link/report_format.h"
#include "support/emulated_board.h"

#include <algorithm>

namespace xdsp::test {

std::vector<Bytes> commandsWithCode(const emu::Board &board, uint16_t code) {
    std::vector<Bytes> found;
    for (Bytes &report : board.receivedCommands())
        if (report.size() > link::output::checksum && link::readWord(report.data(), 9) == code)
            found.push_back(std::move(report));
    return found;
}

Bytes lastCommand(const emu::Board &board, uint16_t code) {
    std::vector<Bytes> found = commandsWithCode(board, code);
    return found.empty() ? Bytes{} : found.back();
}

Bytes awaitCommand(const emu::Board &board, uint16_t code, size_t count) {
    std::vector<Bytes> found;
    eventually([&] {
        found = commandsWithCode(board, code);
        return found.size() >= count;
    });
    return found.size() >= count ? found[count - 1] : Bytes{};
}

Bytes slice(const Bytes &bytes, size_t offset, size_t count) {
    if (offset >= bytes.size())
        return {};
    return Bytes(bytes.begin() + offset, bytes.begin() + std::min(bytes.size(), offset + count));
}

bool hasPieces(const Capture &capture, const std::vector<Text> &expected) {
    std::vector<Text> pieces = capture.pieces();
    return std::search(pieces.begin(), pieces.end(), expected.begin(), expected.end()) !=
           pieces.end();
}

void advanceSequenceTo(uint8_t sequence) {
    while (static_cast<uint8_t>(link::processLink().shared.sequenceCounter.load()) != sequence)
        SendCommand(link::command::applyGpio);
}

uint32_t elapsedMs(uint32_t start) {
    return os::tickMs() - start;
}

Lines errorBoxTexts(const Capture &capture, const Text &caption, uint32_t style) {
    Lines texts;
    for (const MessageBoxCall &box : capture.messageBoxes()) {
        EXPECT_EQ(box.caption, caption);
        EXPECT_EQ(box.style, style);
        texts.push_back(box.text);
    }
    return texts;
}

GuardedBuffer::GuardedBuffer(size_t size, uint8_t fill) : bytes_(size + 2 * guard, guardByte) {
    std::fill_n(bytes_.begin() + guard, size, fill);
}

Bytes GuardedBuffer::contents() const {
    return Bytes(bytes_.begin() + guard, bytes_.end() - guard);
}

bool GuardedBuffer::guardsIntact() const {
    auto isGuard = [](uint8_t b) { return b == guardByte; };
    return std::all_of(bytes_.begin(), bytes_.begin() + guard, isGuard) &&
           std::all_of(bytes_.end() - guard, bytes_.end(), isGuard);
}

} // namespace xdsp::test
