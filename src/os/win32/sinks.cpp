// Debug output and message boxes for the Windows build: the system's own calls
// unless a test or the tool has put its handlers in their place.
#include "os/win32/win32.h"

namespace xdsp::os {

namespace {
// The pair is copied under the lock and called outside it, so a handler may
// replace the handlers and never runs with another handler's context. The
// poll thread writes debug output too, hence the lock.
SRWLOCK sinkLock = SRWLOCK_INIT;
DebugSink debugSink = nullptr;
void *debugContext = nullptr;
MessageSink messageSink = nullptr;
void *messageContext = nullptr;

// The narrow text is the board's product name, well below this.
constexpr size_t narrowWidenChars = 256;

DebugSink currentDebugSink(void **context) {
    AcquireSRWLockShared(&sinkLock);
    DebugSink sink = debugSink;
    *context = debugContext;
    ReleaseSRWLockShared(&sinkLock);
    return sink;
}
} // namespace

void setDebugSink(DebugSink sink, void *context) {
    AcquireSRWLockExclusive(&sinkLock);
    debugSink = sink;
    debugContext = sink != nullptr ? context : nullptr;
    ReleaseSRWLockExclusive(&sinkLock);
}

void setMessageSink(MessageSink sink, void *context) {
    AcquireSRWLockExclusive(&sinkLock);
    messageSink = sink;
    messageContext = sink != nullptr ? context : nullptr;
    ReleaseSRWLockExclusive(&sinkLock);
}

void debugWrite(const Char16 *text) {
    if (text == nullptr)
        return;
    void *context = nullptr;
    DebugSink sink = currentDebugSink(&context);
    if (sink != nullptr)
        sink(text, context);
    else
        OutputDebugStringW(text);
}

void debugWriteNarrow(const char *text) {
    if (text == nullptr)
        return;
    void *context = nullptr;
    DebugSink sink = currentDebugSink(&context);
    if (sink == nullptr) {
        OutputDebugStringA(text);
        return;
    }
    // Byte by byte, as the system's narrow call shows an ASCII name.
    Char16 wide[narrowWidenChars];
    size_t length = 0;
    while (text[length] != 0 && length + 1 < narrowWidenChars) {
        wide[length] = static_cast<Char16>(static_cast<unsigned char>(text[length]));
        ++length;
    }
    wide[length] = 0;
    sink(wide, context);
}

int messageBox(const Char16 *text, const Char16 *caption, uint32_t style) {
    AcquireSRWLockShared(&sinkLock);
    MessageSink sink = messageSink;
    void *context = messageContext;
    ReleaseSRWLockShared(&sinkLock);
    if (sink != nullptr)
        return sink(text, caption, style, context);
    return MessageBoxW(nullptr, text, caption, style);
}

} // namespace xdsp::os
