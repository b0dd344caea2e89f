// Threads for the Windows build: the record is the thread's own handle, so
// that I/O cancellation and termination can be aimed at it directly.
#include "os/win32/win32.h"

#include <new>

namespace xdsp::os {

namespace {
struct StartRecord {
    ThreadEntry entry;
    void *argument;
};

// The entry has the library's calling convention, not the system's: this
// adapter runs it and hands its result back as the exit code.
DWORD WINAPI runThread(LPVOID raw) {
    StartRecord record = *static_cast<StartRecord *>(raw);
    delete static_cast<StartRecord *>(raw);
    return record.entry(record.argument);
}
} // namespace

Thread *threadStart(ThreadEntry entry, void *argument, uint32_t *errorOut) {
    if (entry == nullptr) {
        reportError(errorOut, error::invalidParameter);
        return nullptr;
    }
    auto *record = new (std::nothrow) StartRecord{entry, argument};
    if (record == nullptr) {
        reportError(errorOut, error::notEnoughMemory);
        return nullptr;
    }
    DWORD threadId = 0;
    HANDLE handle = CreateThread(nullptr, 0, runThread, record, 0, &threadId);
    if (handle == nullptr) {
        reportError(errorOut, GetLastError());
        delete record;
        return nullptr;
    }
    return reinterpret_cast<Thread *>(handle);
}

bool threadJoin(Thread *thread, uint32_t timeoutMs) {
    if (thread == nullptr)
        return true;
    return WaitForSingleObject(systemThread(thread), timeoutMs) == WAIT_OBJECT_0;
}

bool threadTerminate(Thread *thread) {
    if (thread == nullptr)
        return true;
    HANDLE handle = systemThread(thread);
    if (!TerminateThread(handle, 1))
        return WaitForSingleObject(handle, 0) == WAIT_OBJECT_0; // it may have left already
    // Termination completes asynchronously; waiting makes sure the thread no
    // longer runs when the caller frees what it was using.
    WaitForSingleObject(handle, INFINITE);
    return true;
}

void threadRelease(Thread *thread) {
    if (thread != nullptr)
        CloseHandle(systemThread(thread));
}

} // namespace xdsp::os
