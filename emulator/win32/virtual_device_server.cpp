// The virtual device on a message-mode named pipe, which keeps message
// boundaries as a HID device keeps report boundaries.
//
// Two instances of the pipe serve the one path: while one carries the host,
// the other listens. With a single instance, a host that closes and reopens at
// once finds the instance still being re-armed and gets "pipe busy" (9 times
// in 10 under Wine); a board accepts that reopen. A second host reaches the
// listening instance and is hung up on at once, as on POSIX, and the library
// reports 32 either way.
#include "server_channel.h"

#include "os/os.h"

#include <algorithm>
#include <vector>
#include <windows.h>

#include <timeapi.h>

namespace xdsp::emu {

namespace {
// Room for a few whole reports, so that a host that reads as it should never
// makes a write wait.
constexpr DWORD pipeBufferBytes = 4 * maxReportLength;
// Not in the MinGW headers: a timer at the system's finest resolution
// (Windows 10 1803 and later; Wine accepts it too).
constexpr DWORD highResolutionTimer = 0x00000002;
constexpr uint32_t stallRetryMicros = 1000; // a stalled board is offered the report this often
constexpr LONGLONG hundredNanosPerSecond = 10000000;
const std::wstring pipePrefix = L"\\\\.\\pipe\\";
constexpr size_t maxPipeChars = 256; // the whole name, prefix included

std::string systemError(const std::string &what, DWORD code) {
    return what + " failed with error " + std::to_string(code);
}

bool toPipePath(const std::string &path, std::wstring *wide) {
    if (path.empty() || path.size() > maxPipeChars * 4 || path.find('\0') != std::string::npos)
        return false;
    int chars = MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, path.data(),
                                    static_cast<int>(path.size()), nullptr, 0);
    if (chars <= 0 || static_cast<size_t>(chars) > maxPipeChars)
        return false;
    wide->assign(static_cast<size_t>(chars), L'\0');
    MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, path.data(), static_cast<int>(path.size()),
                        wide->data(), chars);
    return wide->size() > pipePrefix.size() &&
           CompareStringOrdinal(wide->data(), static_cast<int>(pipePrefix.size()),
                                pipePrefix.data(), static_cast<int>(pipePrefix.size()),
                                TRUE) == CSTR_EQUAL &&
           wide->find(L'\\', pipePrefix.size()) == std::wstring::npos;
}

LONGLONG performanceNow() {
    LARGE_INTEGER now;
    QueryPerformanceCounter(&now);
    return now.QuadPart;
}

LONGLONG performanceFrequency() {
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    return frequency.QuadPart;
}

HANDLE manualEvent() {
    return CreateEventW(nullptr, TRUE, FALSE, nullptr);
}

// Waits for an overlapped operation that was cancelled or is done, so that
// its OVERLAPPED may be reused or freed.
void reap(HANDLE handle, OVERLAPPED *operation) {
    DWORD ignored = 0;
    GetOverlappedResult(handle, operation, &ignored, TRUE);
}
} // namespace

VirtualDeviceServer::Channel::~Channel() {
    for (Instance &instance : instances) {
        if (instance.pipe != INVALID_HANDLE_VALUE)
            CloseHandle(instance.pipe);
        if (instance.connect.hEvent != nullptr)
            CloseHandle(instance.connect.hEvent);
    }
    for (HANDLE handle : {wakeEvent, timer, reading.hEvent, writing.hEvent}) {
        if (handle != nullptr)
            CloseHandle(handle);
    }
    if (coarseTimer)
        timeEndPeriod(1);
    os::lockDelete(hostLock);
}

bool VirtualDeviceServer::Channel::open(const std::string &pipePath) {
    std::string &error = server.error_;
    ticksPerSecond = performanceFrequency();
    std::wstring path;
    if (!toPipePath(pipePath, &path)) {
        error = "a device path on Windows is \\\\.\\pipe\\NAME, at most " +
                std::to_string(maxPipeChars) + " characters: " + pipePath;
        return false;
    }
    for (DWORD i = 0; i < instanceCount; ++i) {
        // The first instance must be new: a live server's path is not taken over.
        DWORD mode = PIPE_ACCESS_DUPLEX | FILE_FLAG_OVERLAPPED |
                     (i == 0 ? FILE_FLAG_FIRST_PIPE_INSTANCE : 0);
        instances[i].pipe =
            CreateNamedPipeW(path.c_str(), mode,
                             PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_REJECT_REMOTE_CLIENTS,
                             instanceCount, pipeBufferBytes, pipeBufferBytes, 0, nullptr);
        if (instances[i].pipe == INVALID_HANDLE_VALUE) {
            DWORD code = GetLastError();
            error = i == 0 && (code == ERROR_ACCESS_DENIED || code == ERROR_PIPE_BUSY)
                        ? pipePath + " is in use by another server"
                        : systemError("CreateNamedPipeW " + pipePath, code);
            return false;
        }
        instances[i].connect.hEvent = manualEvent();
        if (instances[i].connect.hEvent == nullptr) {
            error = systemError("CreateEventW", GetLastError());
            return false;
        }
    }
    wakeEvent = manualEvent();
    reading.hEvent = manualEvent();
    writing.hEvent = manualEvent();
    if (wakeEvent == nullptr || reading.hEvent == nullptr || writing.hEvent == nullptr) {
        error = systemError("CreateEventW", GetLastError());
        return false;
    }
    timer = CreateWaitableTimerExW(nullptr, nullptr, highResolutionTimer, TIMER_ALL_ACCESS);
    if (timer == nullptr) {
        // Older systems: the ordinary timer, with the system tick at 1 ms.
        timer = CreateWaitableTimerExW(nullptr, nullptr, 0, TIMER_ALL_ACCESS);
        coarseTimer = timer != nullptr && timeBeginPeriod(1) == TIMERR_NOERROR;
    }
    if (timer == nullptr) {
        error = systemError("CreateWaitableTimerExW", GetLastError());
        return false;
    }
    hostLock = os::lockCreate();
    if (hostLock == nullptr) {
        error = "out of memory";
        return false;
    }
    const BoardOptions &options = server.board_.options();
    descriptor = server.board_.reportDescriptor();
    // A byte at least, so that an empty message still reads as a message.
    outputReport.resize(std::max<uint32_t>(options.outputReportLength, 1));
    incoming.resize(outputReport.size());
    inputReport.resize(options.inputReportLength);
    return true;
}

void VirtualDeviceServer::Channel::disconnectHost() {
    os::lockEnter(hostLock);
    server.hostConnected_ = false;
    os::lockLeave(hostLock);
    wake(); // the serving thread hangs up on the host
}

uint32_t VirtualDeviceServer::Channel::run(void *channel) {
    static_cast<Channel *>(channel)->serve();
    return 0;
}

void VirtualDeviceServer::Channel::serve() {
    for (Instance &instance : instances)
        listen(instance);
    while (!stopping) {
        waitForWork();
        ResetEvent(wakeEvent); // the flags below are set before the event
        if (server.unplugged_)
            closeHost();
        for (Instance &instance : instances) {
            if (instance.state == State::listening && HasOverlappedIoCompleted(&instance.connect))
                connectDone(instance);
            if (instance.state == State::connected)
                acceptHost(instance);
        }
        if (readPending && HasOverlappedIoCompleted(&reading))
            readDone();
        if (answerDue && performanceNow() >= due)
            answerHost();
        else if (answerDue)
            schedule(due); // the timer came early: arm it for the rest
    }
    closeHost();
    cancelAll();
}

void VirtualDeviceServer::Channel::waitForWork() {
    HANDLE waited[1 + instanceCount + 2]; // wake-up, connects, read, timer
    DWORD count = 0;
    waited[count++] = wakeEvent;
    for (Instance &instance : instances) {
        if (instance.state == State::listening || instance.state == State::connected)
            waited[count++] = instance.connect.hEvent;
    }
    if (readPending)
        waited[count++] = reading.hEvent;
    if (answerDue)
        waited[count++] = timer;
    WaitForMultipleObjects(count, waited, FALSE, INFINITE);
}

void VirtualDeviceServer::Channel::listen(Instance &instance) {
    for (;;) {
        ResetEvent(instance.connect.hEvent);
        if (ConnectNamedPipe(instance.pipe, &instance.connect)) {
            instance.state = State::connected;
            SetEvent(instance.connect.hEvent);
            return;
        }
        switch (GetLastError()) {
        case ERROR_IO_PENDING:
            instance.state = State::listening;
            return;
        case ERROR_PIPE_CONNECTED: // a host came before the call
            instance.state = State::connected;
            SetEvent(instance.connect.hEvent);
            return;
        case ERROR_NO_DATA: // a host came and left before the call
            DisconnectNamedPipe(instance.pipe);
            break;
        default: // this instance cannot listen; the other one still serves
            instance.state = State::idle;
            return;
        }
    }
}

void VirtualDeviceServer::Channel::connectDone(Instance &instance) {
    DWORD ignored = 0;
    if (GetOverlappedResult(instance.pipe, &instance.connect, &ignored, FALSE) ||
        GetLastError() == ERROR_PIPE_CONNECTED) {
        instance.state = State::connected;
        return;
    }
    DisconnectNamedPipe(instance.pipe);
    listen(instance);
}

void VirtualDeviceServer::Channel::acceptHost(Instance &instance) {
    // A host that closed and reopened at once: its hang-up may still be on
    // the way to the pending read, but the pipe knows it already.
    DWORD available = 0;
    if (host != nullptr && !PeekNamedPipe(host->pipe, nullptr, 0, nullptr, &available, nullptr))
        closeHost();
    os::lockEnter(hostLock);
    bool refused = host != nullptr || server.unplugged_;
    if (!refused) {
        host = &instance;
        instance.state = State::host;
        server.board_.hostAttached();
        // Connected before the host can see the descriptor.
        server.hostConnected_ = true;
    }
    os::lockLeave(hostLock);
    if (refused) {
        ++server.refusedConnections_; // counted before the host can see the refusal
        DisconnectNamedPipe(instance.pipe);
        listen(instance);
        return;
    }
    sendToHost(descriptor);
    if (host != nullptr)
        postRead();
}

void VirtualDeviceServer::Channel::postRead() {
    ResetEvent(reading.hEvent);
    if (ReadFile(host->pipe, incoming.data(), static_cast<DWORD>(incoming.size()), nullptr,
                 &reading)) {
        readPending = true; // done already; the event is set
        return;
    }
    DWORD code = GetLastError();
    if (code == ERROR_IO_PENDING || code == ERROR_MORE_DATA)
        readPending = true;
    else
        closeHost();
}

void VirtualDeviceServer::Channel::readDone() {
    readPending = false;
    DWORD count = 0;
    if (!GetOverlappedResult(host->pipe, &reading, &count, FALSE) &&
        (GetLastError() != ERROR_MORE_DATA || !dropRestOfMessage())) {
        closeHost(); // the host hung up
        return;
    }
    if (answerDue) {
        // The host sends one report per answer; this one waits for its turn.
        messageHeld = true;
        heldCount = count;
        return;
    }
    takeOutputReport(count);
}

// A message longer than any output report loses the rest, as the endpoint of
// a HID device would cut it. The rest is in the pipe already, so no read waits.
bool VirtualDeviceServer::Channel::dropRestOfMessage() {
    uint8_t rest[4096];
    for (;;) {
        ResetEvent(reading.hEvent);
        DWORD count = 0;
        if (!ReadFile(host->pipe, rest, sizeof rest, nullptr, &reading) &&
            GetLastError() != ERROR_IO_PENDING && GetLastError() != ERROR_MORE_DATA)
            return false;
        if (GetOverlappedResult(host->pipe, &reading, &count, TRUE))
            return true;
        if (GetLastError() != ERROR_MORE_DATA)
            return false;
    }
}

void VirtualDeviceServer::Channel::takeOutputReport(DWORD count) {
    std::swap(incoming, outputReport);
    received = count;
    schedule(performanceNow() + static_cast<LONGLONG>(server.board_.options().reportPeriodMicros) *
                                    ticksPerSecond / 1000000);
    postRead();
}

void VirtualDeviceServer::Channel::answerHost() {
    if (!server.board_.answer(outputReport.data(), received, inputReport.data(),
                              inputReport.size())) {
        uint32_t retry = std::max(server.board_.options().reportPeriodMicros, stallRetryMicros);
        schedule(due + static_cast<LONGLONG>(retry) * ticksPerSecond / 1000000);
        return;
    }
    answerDue = false;
    if (!inputReport.empty())
        sendToHost(inputReport);
    if (messageHeld && host != nullptr) {
        messageHeld = false;
        takeOutputReport(heldCount);
    }
}

void VirtualDeviceServer::Channel::sendToHost(const std::vector<uint8_t> &message) {
    if (host == nullptr)
        return;
    ResetEvent(writing.hEvent);
    DWORD written = 0;
    BOOL sent = WriteFile(host->pipe, message.data(), static_cast<DWORD>(message.size()), nullptr,
                          &writing);
    if (!sent && GetLastError() == ERROR_IO_PENDING) {
        // The host lets its reports pile up; wait for it, but stop and unplug
        // come first.
        HANDLE waited[2] = {writing.hEvent, wakeEvent};
        if (WaitForMultipleObjects(2, waited, FALSE, INFINITE) != WAIT_OBJECT_0)
            CancelIoEx(host->pipe, &writing);
        sent = GetOverlappedResult(host->pipe, &writing, &written, TRUE);
    }
    if (!sent)
        closeHost();
}

void VirtualDeviceServer::Channel::closeHost() {
    answerDue = false;
    messageHeld = false;
    if (host == nullptr)
        return;
    Instance &instance = *host;
    // Disconnecting ends the host's pending read here and its I/O there.
    DisconnectNamedPipe(instance.pipe);
    if (readPending) {
        CancelIoEx(instance.pipe, &reading);
        reap(instance.pipe, &reading);
        readPending = false;
    }
    os::lockEnter(hostLock);
    host = nullptr;
    server.hostConnected_ = false;
    os::lockLeave(hostLock);
    instance.state = State::idle;
    if (!stopping)
        listen(instance);
}

void VirtualDeviceServer::Channel::schedule(LONGLONG dueTime) {
    due = dueTime;
    answerDue = true;
    LONGLONG left = due - performanceNow();
    LARGE_INTEGER relative;
    // Negative: relative to now, in 100 ns units; at least one unit.
    relative.QuadPart =
        -std::max<LONGLONG>(left * hundredNanosPerSecond / ticksPerSecond, LONGLONG{1});
    SetWaitableTimer(timer, &relative, 0, nullptr, nullptr, FALSE);
}

void VirtualDeviceServer::Channel::cancelAll() {
    for (Instance &instance : instances) {
        if (instance.state != State::listening)
            continue;
        CancelIoEx(instance.pipe, &instance.connect);
        reap(instance.pipe, &instance.connect);
        instance.state = State::idle;
    }
}

} // namespace xdsp::emu
