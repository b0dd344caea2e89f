// The library's debug output, taken through its public sink, for assertions.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace xdsp::test {

class DebugLines {
  public:
    DebugLines();
    ~DebugLines();
    DebugLines(const DebugLines &) = delete;
    DebugLines &operator=(const DebugLines &) = delete;

    std::u16string text() const;
    bool contains(const std::u16string &piece) const;
    // Debug writes equal to piece.
    size_t count(const std::u16string &piece) const;
    bool waitFor(const std::u16string &piece, uint32_t timeoutMs) const;

  private:
    static void onDebug(const char16_t *text, void *self);
    mutable std::mutex lock_;
    std::vector<std::u16string> pieces_;
};

// Polls a condition until it holds or the time-out passes.
bool eventuallyFor(bool (*condition)(void *), void *context, uint32_t timeoutMs);
template <typename Condition> bool eventually(Condition condition, uint32_t timeoutMs = 3000) {
    return eventuallyFor([](void *held) { return (*static_cast<Condition *>(held))(); }, &condition,
                         timeoutMs);
}

// Gives up, for the calling thread, the capabilities by which root passes
// file permission bits; takes them back when destroyed.
class CapabilityDrop {
  public:
    CapabilityDrop();
    ~CapabilityDrop();
    CapabilityDrop(const CapabilityDrop &) = delete;
    CapabilityDrop &operator=(const CapabilityDrop &) = delete;
    bool dropped() const { return dropped_; }

  private:
    uint32_t savedEffective_ = 0;
    bool dropped_ = false;
};

} // namespace xdsp::test
