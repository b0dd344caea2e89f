// The frame of every board API call: the handle checked, the board's turn
// taken, its reporter installed, the caller's last-error kept, and the
// outcome turned into a status.
#pragma once

#include "board/board_handle.h"
#include "frame/reporter.h"
#include "os/os.h"

#include <cstdint>

namespace xdsp::board {

// The status for a system error code that a command or an open left.
int statusFromError(uint32_t code, bool messageShown);

// A call's own view of its board while it runs.
class Call {
  public:
    explicit Call(xdsp_board &board)
        : board_(board), messagesAtStart_(board.reporter.messageCount()) {}
    xdsp_board &board() const { return board_; }
    // After a library function: ok, or what its last-error says went wrong.
    int status(bool ok) const;

  private:
    xdsp_board &board_;
    uint32_t messagesAtStart_;
};

// Counts a call in for as long as it lives, so that the close waits for it.
class CallCount {
  public:
    explicit CallCount(xdsp_board &board) : board_(board) { board_.callsInside.fetch_add(1); }
    ~CallCount() { board_.callsInside.fetch_sub(1); }
    CallCount(const CallCount &) = delete;
    CallCount &operator=(const CallCount &) = delete;

  private:
    xdsp_board &board_;
};

// The caller's last-error code, given back when the call ends: the board API
// reports through its statuses only.
class LastErrorKept {
  public:
    LastErrorKept() : saved_(os::lastError()) { os::setLastError(os::error::success); }
    ~LastErrorKept() { os::setLastError(saved_); }
    LastErrorKept(const LastErrorKept &) = delete;
    LastErrorKept &operator=(const LastErrorKept &) = delete;

  private:
    uint32_t saved_;
};

// Runs body(Call &) as one whole turn on the board.
template <typename Body> int runCall(xdsp_board *board, Body body) {
    if (board == nullptr)
        return XDSP_STATUS_INVALID_ARGUMENT;
    CallCount counted(*board);
    if (board->closing.load())
        return XDSP_STATUS_CLOSED;
    os::LockHold turn(board->callLock);
    if (board->closing.load())
        return XDSP_STATUS_CLOSED;
    board->reporter.forgetMessage();
    ReportingScope reporting(&board->reporter);
    LastErrorKept kept;
    Call call(*board);
    return body(call);
}

} // namespace xdsp::board
