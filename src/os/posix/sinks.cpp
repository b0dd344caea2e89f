// Debug and message-box sinks for the POSIX build: silent until the
// application or the tool installs its handlers.
#include "os/os.h"

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
} // namespace

void setDebugSink(DebugSink sink, void *context) {
    pthread_mutex_lock(&sinkMutex);
    debugSink = sink;
    debugContext = context;
    pthread_mutex_unlock(&sinkMutex);
}

void setMessageSink(MessageSink sink, void *context) {
    pthread_mutex_lock(&sinkMutex);
    messageSink = sink;
    messageContext = context;
    pthread_mutex_unlock(&sinkMutex);
}

void debugWrite(const Char16 *text) {
    pthread_mutex_lock(&sinkMutex);
    DebugSink sink = debugSink;
    void *context = debugContext;
    pthread_mutex_unlock(&sinkMutex);
    if (sink != nullptr)
        sink(text, context);
}

void debugWriteNarrow(const char *text) {
    Char16 wide[512];
    size_t length = 0;
    while (text[length] != 0 && length + 1 < sizeof wide / sizeof wide[0]) {
        wide[length] = static_cast<unsigned char>(text[length]);
        ++length;
    }
    wide[length] = 0;
    debugWrite(wide);
}

int messageBox(const Char16 *text, const Char16 *caption, uint32_t style) {
    pthread_mutex_lock(&sinkMutex);
    MessageSink sink = messageSink;
    void *context = messageContext;
    pthread_mutex_unlock(&sinkMutex);
    return sink != nullptr ? sink(text, caption, style, context) : 1;
}

} // namespace xdsp::os
