#include "umockdev/debug_lines.h"

#include <xdsp/xdsp.h>

#include <chrono>
#include <linux/capability.h>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace xdsp::test {

DebugLines::DebugLines() {
    xdsp_set_debug_handler(&DebugLines::onDebug, this);
}

DebugLines::~DebugLines() {
    xdsp_set_debug_handler(nullptr, nullptr);
}

void DebugLines::onDebug(const char16_t *text, void *self) {
    auto *lines = static_cast<DebugLines *>(self);
    std::lock_guard<std::mutex> held(lines->lock_);
    lines->pieces_.emplace_back(text);
}

std::u16string DebugLines::text() const {
    std::lock_guard<std::mutex> held(lock_);
    std::u16string joined;
    for (const std::u16string &piece : pieces_)
        joined += piece;
    return joined;
}

bool DebugLines::contains(const std::u16string &piece) const {
    return text().find(piece) != std::u16string::npos;
}

size_t DebugLines::count(const std::u16string &piece) const {
    std::lock_guard<std::mutex> held(lock_);
    size_t found = 0;
    for (const std::u16string &written : pieces_)
        found += written == piece ? 1 : 0;
    return found;
}

bool DebugLines::waitFor(const std::u16string &piece, uint32_t timeoutMs) const {
    return eventually([&] { return contains(piece); }, timeoutMs);
}

bool eventuallyFor(bool (*condition)(void *), void *context, uint32_t timeoutMs) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (!condition(context)) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

namespace {
constexpr uint32_t permissionBypass = (1u << CAP_DAC_OVERRIDE) | (1u << CAP_DAC_READ_SEARCH);

// The calling thread's capability sets (the raw calls act per thread).
bool threadCapabilities(__user_cap_data_struct *sets, bool write) {
    __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
    return syscall(write ? SYS_capset : SYS_capget, &header, sets) == 0;
}
} // namespace

CapabilityDrop::CapabilityDrop() {
    __user_cap_data_struct sets[_LINUX_CAPABILITY_U32S_3] = {};
    if (!threadCapabilities(sets, false))
        return;
    savedEffective_ = sets[0].effective;
    sets[0].effective &= ~permissionBypass;
    dropped_ = threadCapabilities(sets, true);
}

CapabilityDrop::~CapabilityDrop() {
    __user_cap_data_struct sets[_LINUX_CAPABILITY_U32S_3] = {};
    if (!dropped_ || !threadCapabilities(sets, false))
        return;
    sets[0].effective = savedEffective_;
    threadCapabilities(sets, true);
}

} // namespace xdsp::test
