// The serving end of a virtual device on a message-mode named pipe.
#pragma once

#include "os/os.h"
#include "virtual_device_server.h"

#include <atomic>
#include <string>
#include <vector>
#include <windows.h>

namespace xdsp::emu {

struct VirtualDeviceServer::Channel {
    explicit Channel(VirtualDeviceServer &owner) : server(owner) {}
    ~Channel();
    Channel(const Channel &) = delete;
    Channel &operator=(const Channel &) = delete;

    bool open(const std::string &pipePath);
    void wake() { SetEvent(wakeEvent); }
    void disconnectHost();
    static uint32_t run(void *channel);
    static constexpr DWORD instanceCount = 2;

    VirtualDeviceServer &server;
    os::Thread *thread = nullptr;
    std::atomic<bool> stopping{false};

  private:
    enum class State { idle, listening, connected, host };
    struct Instance {
        HANDLE pipe = INVALID_HANDLE_VALUE;
        OVERLAPPED connect{};
        State state = State::idle;
    };

    void serve();
    void waitForWork();
    void listen(Instance &instance);
    void connectDone(Instance &instance);
    void acceptHost(Instance &instance);
    void postRead();
    void readDone();
    bool dropRestOfMessage();
    void takeOutputReport(DWORD count);
    void answerHost();
    void sendToHost(const std::vector<uint8_t> &message);
    void closeHost();
    void schedule(LONGLONG dueTime);
    void cancelAll();

    Instance instances[instanceCount];
    Instance *host = nullptr;
    HANDLE wakeEvent = nullptr;
    HANDLE timer = nullptr;
    bool coarseTimer = false; // no high-resolution timer: the system tick was raised instead
    OVERLAPPED reading{};
    OVERLAPPED writing{};
    bool readPending = false;
    bool messageHeld = false; // a report that came while an answer was due
    DWORD heldCount = 0;
    // hostConnected_ changes and unplugged_ is read under this lock, so that
    // no host is taken after unplug() returned.
    os::Lock *hostLock = nullptr;
    std::vector<uint8_t> descriptor;

    std::vector<uint8_t> incoming;
    std::vector<uint8_t> outputReport;
    std::vector<uint8_t> inputReport;
    size_t received = 0;
    bool answerDue = false;
    LONGLONG due = 0;
    LONGLONG ticksPerSecond = 1; // the performance counter's, set by open()
};

} // namespace xdsp::emu
