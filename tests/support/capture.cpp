#include "support/capture.h"

namespace xdsp::test {

Capture::Capture() : lock_(os::lockCreate()) {
    os::setDebugSink(&Capture::onDebug, this);
    os::setMessageSink(&Capture::onMessage, this);
}

Capture::~Capture() {
    os::setDebugSink(nullptr, nullptr);
    os::setMessageSink(nullptr, nullptr);
    os::lockDelete(lock_);
}

void Capture::onDebug(const Char16 *text, void *context) {
    auto *self = static_cast<Capture *>(context);
    os::lockEnter(self->lock_);
    self->pieces_.emplace_back(text);
    os::lockLeave(self->lock_);
}

int Capture::onMessage(const Char16 *text, const Char16 *caption, uint32_t style, void *context) {
    auto *self = static_cast<Capture *>(context);
    os::lockEnter(self->lock_);
    // A box without a caption (the system's default one) records an empty one.
    self->boxes_.push_back(MessageBoxCall{text, caption != nullptr ? caption : Text{}, style});
    os::lockLeave(self->lock_);
    return 1;
}

std::vector<Text> Capture::pieces() const {
    os::lockEnter(lock_);
    std::vector<Text> copy = pieces_;
    os::lockLeave(lock_);
    return copy;
}

Text Capture::joined() const {
    Text all;
    for (const Text &piece : pieces())
        all += piece;
    return all;
}

size_t Capture::count(const Text &piece) const {
    size_t found = 0;
    for (const Text &each : pieces())
        found += each == piece ? 1 : 0;
    return found;
}

bool Capture::waitFor(const Text &text, uint32_t timeoutMs) const {
    uint32_t start = os::tickMs();
    for (;;) {
        if (joined().find(text) != Text::npos)
            return true;
        if (os::tickMs() - start >= timeoutMs)
            return false;
        os::sleepMs(5);
    }
}

std::vector<MessageBoxCall> Capture::messageBoxes() const {
    os::lockEnter(lock_);
    std::vector<MessageBoxCall> copy = boxes_;
    os::lockLeave(lock_);
    return copy;
}

bool Capture::waitForMessageBoxes(size_t count, uint32_t timeoutMs) const {
    uint32_t start = os::tickMs();
    while (messageBoxes().size() < count) {
        if (os::tickMs() - start >= timeoutMs)
            return false;
        os::sleepMs(5);
    }
    return true;
}

void Capture::clear() {
    os::lockEnter(lock_);
    pieces_.clear();
    boxes_.clear();
    os::lockLeave(lock_);
}

std::string narrow(const Text &text) {
    std::string out;
    for (Char16 c : text)
        out += c < 0x80 ? static_cast<char>(c) : '?';
    return out;
}

} // namespace xdsp::test
