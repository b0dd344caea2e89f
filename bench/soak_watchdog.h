// A thread that knows which public call the soak is in, and which SPI transfer
// the library is in (from its debug lines), and ends the process naming the
// one that overran its bound: a hang must show as a message, not as a stuck job.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

class Watchdog {
  public:
    using Clock = std::chrono::steady_clock;

    // onHang runs on the watchdog's thread just before the process exits.
    Watchdog(uint32_t transferBoundMs, std::function<void()> onHang);
    ~Watchdog();
    Watchdog(const Watchdog &) = delete;
    Watchdog &operator=(const Watchdog &) = delete;

    void enter(const char *call, uint32_t boundMs, std::string context);
    // The call's duration in milliseconds.
    uint32_t leave();
    void transferStarted();
    void transferEnded();
    uint32_t longestTransferMs() const;

  private:
    void watch();
    [[noreturn]] void overran(const std::string &what);

    const uint32_t transferBoundMs_;
    std::function<void()> onHang_;
    mutable std::mutex mutex_;
    std::condition_variable wake_;
    bool stopping_ = false;
    const char *call_ = nullptr;
    uint32_t callBoundMs_ = 0;
    std::string context_;
    Clock::time_point callStart_;
    bool inTransfer_ = false;
    unsigned transfersInCall_ = 0;
    Clock::time_point transferStart_;
    uint32_t longestTransferMs_ = 0;
    std::thread thread_;
};

// Runs one public call under the watchdog; the call's duration goes to *elapsedMs.
template <typename Call>
auto watched(Watchdog &watchdog, const char *name, uint32_t boundMs, std::string context, Call call,
             uint32_t *elapsedMs = nullptr) {
    watchdog.enter(name, boundMs, std::move(context));
    auto result = call();
    uint32_t elapsed = watchdog.leave();
    if (elapsedMs != nullptr)
        *elapsedMs = elapsed;
    return result;
}
