// One board of the board API: the same link and boot-loader state that the
// flat API's process-wide board has, with what a handle adds: the lock that
// serialises its calls, its reporter, and what its close needs.
#pragma once

#include "board/board_reporter.h"
#include "bootloader/boot_loader_state.h"
#include "link/link.h"
#include "os/os.h"
#include "xdsp/board.h"

#include <atomic>

struct xdsp_board {
    xdsp_board(const char *openedPath, const xdsp_board_options *options);
    ~xdsp_board();
    xdsp_board(const xdsp_board &) = delete;
    xdsp_board &operator=(const xdsp_board &) = delete;

    bool ready() const { return callLock != nullptr && reporter.ready(); }

    static constexpr size_t pathBytes = 1024;

    xdsp::link::Link link;
    xdsp::bootloader::BootLoaderState bootLoader{link};
    xdsp::board::BoardReporter reporter;
    // Held for a whole call, so that one board's commands never interleave.
    xdsp::os::Lock *callLock;
    // Calls that have entered, waiting for their turn or running; the close
    // frees the board once none is left.
    std::atomic<int> callsInside{0};
    // Set by the close: calls still waiting leave, an upload stops at its next packet.
    std::atomic<bool> closing{false};
    char path[pathBytes] = {};
};
