// The OS layer's events: a wait that saw its event set reports it, however soon
// the event is reset again, as the poll thread does after every first report.
#include "os/os.h"

#include <gtest/gtest.h>

#include <atomic>

using namespace xdsp;

namespace {
struct Toggler {
    os::Event *event;
    std::atomic<bool> stop{false};
    std::atomic<uint32_t> sets{0};
};

uint32_t toggle(void *argument) {
    auto *toggler = static_cast<Toggler *>(argument);
    while (!toggler->stop.load()) {
        os::eventSet(toggler->event);
        toggler->sets.fetch_add(1);
        os::eventReset(toggler->event);
    }
    return 0;
}
} // namespace

TEST(OsEvent, AWaitWokenBySetSucceedsThoughTheEventIsResetAtOnce) {
    os::Event *event = os::eventCreate();
    ASSERT_NE(event, nullptr);
    EXPECT_FALSE(os::eventWait(event, 20));

    Toggler toggler{event};
    uint32_t error = 0;
    os::Thread *thread = os::threadStart(&toggle, &toggler, &error);
    ASSERT_NE(thread, nullptr) << error;
    // Most waits find the event set at once; a wait that looked again after
    // waking would lose some in every thousand of those that sleep.
#ifdef _WIN32
    constexpr int waits = 20000; // each wait is a server call under Wine
#else
    constexpr int waits = 1000000;
#endif
    int missed = 0;
    for (int wait = 0; wait < waits; ++wait)
        missed += os::eventWait(event, 1000) ? 0 : 1;
    toggler.stop.store(true);
    EXPECT_TRUE(os::threadJoin(thread, 5000));
    os::threadRelease(thread);
    EXPECT_EQ(missed, 0) << "of " << waits << " waits, while the event was set "
                         << toggler.sets.load() << " times";

    os::eventSet(event);
    EXPECT_TRUE(os::eventWait(event, 0));
    os::eventClose(event);
}
