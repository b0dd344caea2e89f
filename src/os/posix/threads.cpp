// Threads for the POSIX build. A thread that does not leave in time cannot be
// killed safely, so it is detached and left to finish on its own.
#include "os/os.h"
#include "os/posix/failed_call.h"

#include <new>
#include <pthread.h>

namespace xdsp::os {

struct Thread {
    pthread_t handle;
    ThreadEntry entry;
    void *argument;
    Event *exited;
    bool detached; // touched only by the thread that started it
};

namespace {
void *runThread(void *raw) {
    auto *thread = static_cast<Thread *>(raw);
    thread->entry(thread->argument);
    eventSet(thread->exited);
    return nullptr;
}
} // namespace

Thread *threadStart(ThreadEntry entry, void *argument, uint32_t *errorOut) {
    auto *thread = new (std::nothrow) Thread{pthread_t{}, entry, argument, eventCreate(), false};
    if (thread == nullptr || thread->exited == nullptr) {
        if (thread != nullptr)
            delete thread;
        *errorOut = error::notEnoughMemory;
        return nullptr;
    }
    int result = pthread_create(&thread->handle, nullptr, runThread, thread);
    if (result != 0) {
        eventClose(thread->exited);
        delete thread;
        *errorOut = error::notEnoughMemory;
        return nullptr;
    }
    return thread;
}

bool threadJoin(Thread *thread, uint32_t timeoutMs) {
    if (!eventWait(thread->exited, timeoutMs))
        return false;
    callSucceeded(u"pthread_join", pthread_join(thread->handle, nullptr));
    thread->handle = pthread_t{};
    return true;
}

bool threadTerminate(Thread *thread) {
    if (eventIsSet(thread->exited)) {
        callSucceeded(u"pthread_join", pthread_join(thread->handle, nullptr));
        return true;
    }
    callSucceeded(u"pthread_detach", pthread_detach(thread->handle));
    thread->detached = true;
    return false;
}

void threadRelease(Thread *thread) {
    if (thread == nullptr)
        return;
    // A detached thread keeps using its record; it is leaked on purpose,
    // a few bytes per forced stop, rather than freed under the thread.
    if (thread->detached)
        return;
    eventClose(thread->exited);
    delete thread;
}

} // namespace xdsp::os
