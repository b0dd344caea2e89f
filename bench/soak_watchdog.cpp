#include "soak_watchdog.h"

#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace {
constexpr auto checkEvery = std::chrono::milliseconds(50);
constexpr int hangExitCode = 3;

uint32_t millisSince(Watchdog::Clock::time_point start) {
    return static_cast<uint32_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(Watchdog::Clock::now() - start)
            .count());
}
} // namespace

Watchdog::Watchdog(uint32_t transferBoundMs, std::function<void()> onHang)
    : transferBoundMs_(transferBoundMs), onHang_(std::move(onHang)), thread_([this] { watch(); }) {}

Watchdog::~Watchdog() {
    {
        std::lock_guard<std::mutex> locked(mutex_);
        stopping_ = true;
    }
    wake_.notify_one();
    thread_.join();
}

void Watchdog::enter(const char *call, uint32_t boundMs, std::string context) {
    std::lock_guard<std::mutex> locked(mutex_);
    call_ = call;
    callBoundMs_ = boundMs;
    context_ = std::move(context);
    callStart_ = Clock::now();
    inTransfer_ = false;
    transfersInCall_ = 0;
}

uint32_t Watchdog::leave() {
    std::lock_guard<std::mutex> locked(mutex_);
    call_ = nullptr;
    inTransfer_ = false;
    return millisSince(callStart_);
}

void Watchdog::transferStarted() {
    std::lock_guard<std::mutex> locked(mutex_);
    inTransfer_ = true;
    ++transfersInCall_;
    transferStart_ = Clock::now();
}

void Watchdog::transferEnded() {
    std::lock_guard<std::mutex> locked(mutex_);
    if (!inTransfer_)
        return;
    inTransfer_ = false;
    longestTransferMs_ = std::max(longestTransferMs_, millisSince(transferStart_));
}

uint32_t Watchdog::longestTransferMs() const {
    std::lock_guard<std::mutex> locked(mutex_);
    return longestTransferMs_;
}

void Watchdog::watch() {
    std::unique_lock<std::mutex> locked(mutex_);
    while (!wake_.wait_for(locked, checkEvery, [this] { return stopping_; })) {
        if (call_ == nullptr)
            continue;
        std::string what;
        uint32_t callMs = millisSince(callStart_);
        uint32_t transferMs = inTransfer_ ? millisSince(transferStart_) : 0;
        if (transferMs > transferBoundMs_)
            what = "WriteSPIEx (transfer " + std::to_string(transfersInCall_) + " inside " + call_ +
                   ") has run " + std::to_string(transferMs) + " ms, over its bound of " +
                   std::to_string(transferBoundMs_) + " ms";
        else if (callMs > callBoundMs_)
            what = std::string(call_) + " has run " + std::to_string(callMs) +
                   " ms, over its bound of " + std::to_string(callBoundMs_) + " ms, " +
                   (inTransfer_ ? "inside its transfer " : "after its transfer ") +
                   std::to_string(transfersInCall_);
        if (what.empty())
            continue;
        what += " (" + context_ + ")";
        // The report that follows reads the soak's figures, not the watchdog's.
        locked.unlock();
        overran(what);
    }
}

void Watchdog::overran(const std::string &what) {
    std::fprintf(stderr, "\nsoak: HANG: %s\n", what.c_str());
    if (onHang_)
        onHang_();
    std::fflush(stdout);
    std::fflush(stderr);
    _exit(hangExitCode);
}
