#include "board/board_reporter.h"
#include "frame/bounded_string.h"
#include "frame/utf8.h"

#include <cstring>

namespace xdsp::board {

BoardReporter::BoardReporter(xdsp_board *board, const xdsp_board_options *options)
    : board_(board), log_(options != nullptr ? options->log : nullptr),
      logUser_(options != nullptr ? options->log_user : nullptr), lock_(os::lockCreate()) {}

BoardReporter::~BoardReporter() {
    if (lock_ != nullptr)
        os::lockDelete(lock_);
}

void BoardReporter::line(const Char16 *text, size_t length) {
    if (log_ == nullptr)
        return;
    // On the reporting thread's stack: the poll thread and a caller may log at once.
    char utf8[lineBytes];
    textToUtf8(text, length, utf8, sizeof utf8);
    log_(board_, utf8, logUser_);
}

int BoardReporter::message(const Char16 *text, const Char16 *, uint32_t) {
    char utf8[messageBytes];
    textToUtf8(text, textLength(text), utf8, sizeof utf8);
    {
        os::LockHold hold(lock_);
        std::memcpy(lastMessage_, utf8, sizeof utf8);
    }
    messageCount_.fetch_add(1);
    return 1; // OK, as a person closing the box would answer
}

void BoardReporter::forgetMessage() {
    os::LockHold hold(lock_);
    lastMessage_[0] = 0;
}

void BoardReporter::lastMessage(char *text, size_t capacity) const {
    os::LockHold hold(lock_);
    size_t length = std::strlen(lastMessage_);
    if (length >= capacity)
        length = capacity - 1;
    // Cut at a character's edge, never inside one.
    while (length > 0 && (static_cast<unsigned char>(lastMessage_[length]) & 0xC0) == 0x80)
        --length;
    std::memcpy(text, lastMessage_, length);
    text[length] = 0;
}

} // namespace xdsp::board
