// One board's link as the commands see it: the values it shares with them and
// the poll run behind it. The exports act on one process-wide link; internal
// functions take the link they act on, so that one process can later hold
// several boards.
#pragma once

#include "link/shared_state.h"

namespace xdsp {
class Reporter;
}

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
    // Where the poll thread reports; null: the process's sinks. Set before the
    // link opens and kept while it runs.
    Reporter *reporter = nullptr;
    // Runs not yet released: a poll thread that had to be given up keeps its
    // run, and the link with it, until it leaves.
    std::atomic<int> liveRuns{0};
};

// The one link behind the exports.
Link &processLink();

} // namespace xdsp::link
