// Debug and message-box sinks for the POSIX build: silent until the
// application or the tool installs its handlers.
#include "os/os.h"

#include <cstdio>
#include <pthread.h>

namespace xdsp::os {

namespace {
// The pair is copied under the mutex and called outside it, so a handler may
// replace the handlers without deadlocking and never runs with another's context.
pthread_mutex_t sinkMutex = PTHREAD_MUTEX_INITIALIZER;
DebugSink debugSink = nullptr;
void *debugContext = nullptr;
MessageSink messageSink = nullptr;
void *messageContext = nullptr;

// The sinks' own mutex cannot report through the sinks, so a failure of it
// (impossible on a working system) goes to the standard error stream.
class SinkHold {
  public:
    SinkHold() { check("pthread_mutex_lock", pthread_mutex_lock(&sinkMutex)); }
    ~SinkHold() { check("pthread_mutex_unlock", pthread_mutex_unlock(&sinkMutex)); }
    SinkHold(const SinkHold &) = delete;
    SinkHold &operator=(const SinkHold &) = delete;

  private:
    static void check(const char *call, int result) {
        if (result != 0)
            std::fprintf(stderr, "xdsp: %s failed, errno %d\n", call, result);
    }
};
} // namespace

void setDebugSink(DebugSink sink, void *context) {
    SinkHold hold;
    debugSink = sink;
    debugContext = context;
}

void setMessageSink(MessageSink sink, void *context) {
    SinkHold hold;
    messageSink = sink;
    messageContext = context;
}

void debugWrite(const Char16 *text) {
    DebugSink sink;
    void *context;
    {
        SinkHold hold;
        sink = debugSink;
        context = debugContext;
    }
    if (sink != nullptr)
        sink(text, context);
}

void debugWriteNarrow(const char *text) {
    Char16 wide[512];
    widenNarrow(text, wide, sizeof wide / sizeof wide[0]);
    debugWrite(wide);
}

int messageBox(const Char16 *text, const Char16 *caption, uint32_t style) {
    MessageSink sink;
    void *context;
    {
        SinkHold hold;
        sink = messageSink;
        context = messageContext;
    }
    return sink != nullptr ? sink(text, caption, style, context) : 1;
}

} // namespace xdsp::os
