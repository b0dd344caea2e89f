// Manual-reset events (on Linux futexes) and the lock for the POSIX build.
#include "os/os.h"
#include "os/posix/failed_call.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <ctime>
#include <linux/futex.h>
#include <new>
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace xdsp::os {

// A futex word: the poll thread sets the report event every cycle and tests
// others as often, so set, reset and test are single atomic operations, and a
// waiter that is woken returns without taking any lock. The waiter count lets
// eventSet skip the wake-up system call when nobody waits.
struct Event {
    uint32_t state; // 0 reset, 1 set; used through atomic_ref and the futex
    uint32_t waiters;
};

namespace {
std::atomic_ref<uint32_t> stateOf(Event *event) {
    return std::atomic_ref<uint32_t>(event->state);
}
std::atomic_ref<uint32_t> waitersOf(Event *event) {
    return std::atomic_ref<uint32_t>(event->waiters);
}

// Sleeps while the word still holds `expected`, until the absolute monotonic
// deadline; false once the deadline has passed, or when the wait cannot be
// made at all (reported), so that a failing call never turns into a spin.
bool futexWaitUntil(uint32_t *word, uint32_t expected, const timespec &deadline) {
    long result = syscall(SYS_futex, word, FUTEX_WAIT_BITSET_PRIVATE, expected, &deadline, nullptr,
                          FUTEX_BITSET_MATCH_ANY);
    if (result == 0 || errno == EAGAIN || errno == EINTR)
        return true;
    if (errno != ETIMEDOUT)
        callSucceeded(u"futex wait", errno);
    return false;
}

void futexWakeAll(uint32_t *word) {
    if (syscall(SYS_futex, word, FUTEX_WAKE_PRIVATE, INT_MAX, nullptr, nullptr, 0) < 0)
        callSucceeded(u"futex wake", errno);
}
} // namespace

Event *eventCreate() {
    return new (std::nothrow) Event{};
}

void eventClose(Event *event) {
    delete event;
}

void eventSet(Event *event) {
    // The exchange releases even when the event was set already, so what was
    // stored before this call is seen by whoever observes the event set. Both
    // sides order their store before their load, so a waiter either sees the
    // event set or is counted here.
    if (stateOf(event).exchange(1) == 0 && waitersOf(event).load() != 0)
        futexWakeAll(&event->state);
}

void eventReset(Event *event) {
    stateOf(event).store(0, std::memory_order_release);
}

bool eventIsSet(Event *event) {
    return stateOf(event).load(std::memory_order_acquire) != 0;
}

bool eventWait(Event *event, uint32_t timeoutMs) {
    if (eventIsSet(event))
        return true;
    timespec deadline{};
    clock_gettime(CLOCK_MONOTONIC, &deadline);
    deadline.tv_sec += static_cast<time_t>(timeoutMs / 1000);
    deadline.tv_nsec += static_cast<long>(timeoutMs % 1000) * 1000000L;
    if (deadline.tv_nsec >= 1000000000L) {
        deadline.tv_sec += 1;
        deadline.tv_nsec -= 1000000000L;
    }
    waitersOf(event).fetch_add(1);
    // A set seen once is the wait's result, as a Win32 wait is satisfied by
    // it: the poll thread may reset the report event again before this thread
    // looks a second time.
    bool set = false;
    while (!(set = eventIsSet(event)) && futexWaitUntil(&event->state, 0, deadline)) {
    }
    waitersOf(event).fetch_sub(1);
    return set;
}

struct Lock {
    pthread_mutex_t mutex;
};

Lock *lockCreate() {
    auto *lock = new (std::nothrow) Lock{};
    if (lock != nullptr &&
        !callSucceeded(u"pthread_mutex_init", pthread_mutex_init(&lock->mutex, nullptr))) {
        delete lock;
        return nullptr;
    }
    return lock;
}

void lockDelete(Lock *lock) {
    if (lock == nullptr)
        return;
    callSucceeded(u"pthread_mutex_destroy", pthread_mutex_destroy(&lock->mutex));
    delete lock;
}

// The primitives the analysis takes on trust.
void lockEnter(Lock *lock) XDSP_NO_THREAD_SAFETY_ANALYSIS {
    if (lock != nullptr)
        callSucceeded(u"pthread_mutex_lock", pthread_mutex_lock(&lock->mutex));
}

void lockLeave(Lock *lock) XDSP_NO_THREAD_SAFETY_ANALYSIS {
    if (lock != nullptr)
        callSucceeded(u"pthread_mutex_unlock", pthread_mutex_unlock(&lock->mutex));
}

} // namespace xdsp::os
