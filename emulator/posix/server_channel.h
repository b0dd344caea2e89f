// The serving end of a virtual device on a Unix-domain SOCK_SEQPACKET socket.
#pragma once

#include "os/os.h"
#include "virtual_device_server.h"

#include <atomic>
#include <ctime>
#include <string>
#include <sys/types.h>
#include <vector>

namespace xdsp::emu {

struct VirtualDeviceServer::Channel {
    explicit Channel(VirtualDeviceServer &owner) : server(owner) {}
    ~Channel();
    Channel(const Channel &) = delete;
    Channel &operator=(const Channel &) = delete;

    bool open(const std::string &socketPath);
    void wake();
    void disconnectHost();
    static uint32_t run(void *channel);

    VirtualDeviceServer &server;
    os::Thread *thread = nullptr;
    std::atomic<bool> stopping{false};

  private:
    void serve();
    void acceptHost();
    void takeOutputReport(short events);
    void answerHost();
    void sendToHost(const std::vector<uint8_t> &message);
    void closeHost();

    std::string path;
    dev_t boundDevice = 0; // the socket file we made, so stop removes only ours
    ino_t boundInode = 0;
    int listenFd = -1;
    int wakeFd = -1;
    // The serving thread alone changes hostFd, under hostLock; unplug shuts it
    // down from other threads under the same lock.
    int hostFd = -1;
    os::Lock *hostLock = nullptr;
    std::vector<uint8_t> descriptor;

    std::vector<uint8_t> outputReport;
    std::vector<uint8_t> inputReport;
    size_t received = 0;
    bool answerDue = false;
    timespec due{};
};

} // namespace xdsp::emu
