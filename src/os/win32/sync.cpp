// Events, the lock, sleeping and the tick for the Windows build.
#include "os/win32/win32.h"

#include <new>

namespace xdsp::os {

struct Lock {
    CRITICAL_SECTION section;
};

namespace {
inline HANDLE systemEvent(Event *event) {
    return reinterpret_cast<HANDLE>(event);
}
} // namespace

Event *eventCreate() {
    return reinterpret_cast<Event *>(CreateEventW(nullptr, TRUE, FALSE, nullptr));
}

void eventClose(Event *event) {
    if (event != nullptr)
        CloseHandle(systemEvent(event));
}

void eventSet(Event *event) {
    if (event != nullptr)
        SetEvent(systemEvent(event));
}

void eventReset(Event *event) {
    if (event != nullptr)
        ResetEvent(systemEvent(event));
}

bool eventIsSet(Event *event) {
    return eventWait(event, 0);
}

bool eventWait(Event *event, uint32_t timeoutMs) {
    if (event == nullptr)
        return false;
    return WaitForSingleObject(systemEvent(event), timeoutMs) == WAIT_OBJECT_0;
}

Lock *lockCreate() {
    auto *lock = new (std::nothrow) Lock;
    if (lock != nullptr)
        InitializeCriticalSection(&lock->section);
    return lock;
}

void lockDelete(Lock *lock) {
    if (lock == nullptr)
        return;
    DeleteCriticalSection(&lock->section);
    delete lock;
}

// The primitives the analysis takes on trust.
void lockEnter(Lock *lock) XDSP_NO_THREAD_SAFETY_ANALYSIS {
    if (lock != nullptr)
        EnterCriticalSection(&lock->section);
}

void lockLeave(Lock *lock) XDSP_NO_THREAD_SAFETY_ANALYSIS {
    if (lock != nullptr)
        LeaveCriticalSection(&lock->section);
}

} // namespace xdsp::os
