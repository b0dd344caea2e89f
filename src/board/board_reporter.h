// A board handle's reporter: whole debug lines to the owner's log callback in
// UTF-8, tagged with the board; the text of a condition that the flat API
// shows in a box, kept for the owner to read.
#pragma once

#include "frame/reporter.h"
#include "os/os.h"
#include "xdsp/board.h"

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace xdsp::board {

class BoardReporter final : public Reporter {
  public:
    BoardReporter(xdsp_board *board, const xdsp_board_options *options);
    ~BoardReporter();
    BoardReporter(const BoardReporter &) = delete;
    BoardReporter &operator=(const BoardReporter &) = delete;

    bool ready() const { return lock_ != nullptr; }
    void line(const Char16 *text, size_t length) override;
    int message(const Char16 *text, const Char16 *caption, uint32_t style) override;

    void lastMessage(char *text, size_t capacity) const;
    // A call begins: what an earlier one raised is not its.
    void forgetMessage();
    // Grows with every message, so that a call can tell whether it raised one.
    uint32_t messageCount() const { return messageCount_.load(); }

  private:
    static constexpr size_t lineBytes = 2048;
    static constexpr size_t messageBytes = 1024;

    xdsp_board *board_;
    xdsp_log_callback log_;
    void *logUser_;
    // Guards the kept text: a caller's thread and the poll thread both report.
    os::Lock *lock_;
    char lastMessage_[messageBytes] XDSP_GUARDED_BY(lock_) = {};
    std::atomic<uint32_t> messageCount_{0};
};

} // namespace xdsp::board
