#include "link/gpio_signal.h"
#include "link/shared_state.h"
#include "os/os.h"

namespace xdsp::link {

namespace {
// Process-wide rather than per run: a wait may outlast a link, or start before
// one opens; a change of another board's word only wakes a waiter to look
// again. Made on first use, so loading the library allocates nothing.
os::Event *gpioChanged() {
    static os::Event *const event = os::eventCreate();
    return event;
}

// Only if the event could not be made: poll, as gently as the tick allows.
constexpr uint32_t fallbackPollMs = 1;
} // namespace

void storeGpioWord(SharedState &shared, uint16_t value) {
    if (shared.gpioWord.exchange(value) == value)
        return;
    if (os::Event *event = gpioChanged())
        os::eventSet(event);
}

bool waitWhileGpioSet(const SharedState &shared, uint16_t mask, uint32_t timeoutMs) {
    os::Event *event = gpioChanged();
    uint32_t start = os::tickMs();
    for (;;) {
        // Reset before the test: a change stored after the test sets the event
        // again, so the wait below cannot sleep through it.
        if (event != nullptr)
            os::eventReset(event);
        if ((shared.gpioWord.load() & mask) == 0)
            return true;
        uint32_t elapsed = os::tickMs() - start;
        if (elapsed >= timeoutMs)
            return false;
        if (event != nullptr)
            os::eventWait(event, timeoutMs - elapsed);
        else
            os::sleepMs(fallbackPollMs);
    }
}

} // namespace xdsp::link
