// Captures the library's debug output and message boxes for assertions.
#pragma once

#include "frame/text.h"
#include "os/os.h"

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

namespace xdsp::test {

using Text = std::basic_string<Char16>;
using Lines = std::vector<Text>;

struct MessageBoxCall {
    Text text;
    Text caption;
    uint32_t style;
};

class Capture {
  public:
    Capture();
    ~Capture();

    std::vector<Text> pieces() const;
    Text joined() const;
    size_t count(const Text &piece) const;
    // Polls until the joined output holds text, or the time-out passes.
    bool waitFor(const Text &text, uint32_t timeoutMs) const;
    std::vector<MessageBoxCall> messageBoxes() const;
    bool waitForMessageBoxes(size_t count, uint32_t timeoutMs) const;
    void clear();

  private:
    static void onDebug(const Char16 *text, void *context);
    static int onMessage(const Char16 *text, const Char16 *caption, uint32_t style, void *context);
    mutable std::mutex mutex_;
    std::vector<Text> pieces_;
    std::vector<MessageBoxCall> boxes_;
};

// Narrow text for failure messages.
std::string narrow(const Text &text);
// ASCII text as the library's text.
inline Text wide(const std::string &text) {
    return Text(text.begin(), text.end());
}

// Polls a condition until it holds or the time-out passes.
template <typename Condition> bool eventually(Condition condition, uint32_t timeoutMs = 3000) {
    uint32_t start = os::tickMs();
    while (!condition()) {
        if (os::tickMs() - start >= timeoutMs)
            return false;
        os::sleepMs(2);
    }
    return true;
}

} // namespace xdsp::test
