// One board's link as the commands see it: the values it shares with them and
// the poll run behind it. The exports act on one process-wide link; internal
// functions take the link they act on, so that one process can later hold
// several boards.
#pragma once

#include "link/shared_state.h"

#include <atomic>
#include <cstdint>

namespace xdsp::link {

struct PollRun;

struct Link {
    SharedState shared;
    // The open link's run, private to the link's own files; null when closed.
    std::atomic<PollRun *> currentRun{nullptr};
    // The running poll thread's staging report; null while none is running.
    std::atomic<uint8_t *> publishedStaging{nullptr};
};

// The one link behind the exports.
Link &processLink();

} // namespace xdsp::link
