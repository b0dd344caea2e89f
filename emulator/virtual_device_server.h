// Serves a Board as a virtual HID device (see the virtual-device contract):
// the report descriptor on connecting, then one input report one report period
// after each output report. One host at a time.
#pragma once

#include "board.h"

#include <atomic>
#include <cstdint>
#include <string>

namespace xdsp::emu {

class VirtualDeviceServer {
  public:
    explicit VirtualDeviceServer(Board &board);
    ~VirtualDeviceServer(); // stops
    VirtualDeviceServer(const VirtualDeviceServer &) = delete;
    VirtualDeviceServer &operator=(const VirtualDeviceServer &) = delete;

    // Binds the path (replacing a stale socket left there) and serves on a
    // thread of its own; false with error() telling why.
    bool start(const std::string &path);
    // Closes the host's connection, stops serving and removes the path.
    void stop();
    // Pulls the cable: the host's connection closes and every new one is
    // closed at once until replug().
    void unplug();
    void replug();

    bool hostConnected() const { return hostConnected_; }
    // Connections closed at once: a second host, or any host while unplugged.
    uint32_t refusedConnections() const { return refusedConnections_; }
    const std::string &error() const { return error_; }

  private:
    struct Channel; // the platform's endpoint, host connection and serving thread

    Board &board_;
    Channel *channel_ = nullptr;
    std::atomic<bool> hostConnected_{false};
    std::atomic<bool> unplugged_{false};
    std::atomic<uint32_t> refusedConnections_{0};
    std::string error_;
};

} // namespace xdsp::emu
