#include "support/capture.h"

#include <algorithm>

namespace xdsp::test {

Capture::Capture() {
    os::setDebugSink(&Capture::onDebug, this);
    os::setMessageSink(&Capture::onMessage, this);
}

Capture::~Capture() {
    os::setDebugSink(nullptr, nullptr);
    os::setMessageSink(nullptr, nullptr);
}

void Capture::onDebug(const Char16 *text, void *context) {
    auto *self = static_cast<Capture *>(context);
    std::lock_guard<std::mutex> hold(self->mutex_);
    self->pieces_.emplace_back(text);
}

int Capture::onMessage(const Char16 *text, const Char16 *caption, uint32_t style, void *context) {
    auto *self = static_cast<Capture *>(context);
    std::lock_guard<std::mutex> hold(self->mutex_);
    // A box without a caption (the system's default one) records an empty one.
    self->boxes_.push_back(MessageBoxCall{text, caption != nullptr ? caption : Text{}, style});
    return 1;
}

std::vector<Text> Capture::pieces() const {
    std::lock_guard<std::mutex> hold(mutex_);
    return pieces_;
}

Text Capture::joined() const {
    Text all;
    for (const Text &piece : pieces())
        all += piece;
    return all;
}

size_t Capture::count(const Text &piece) const {
    std::vector<Text> all = pieces();
    return static_cast<size_t>(std::count(all.begin(), all.end(), piece));
}

bool Capture::waitFor(const Text &text, uint32_t timeoutMs) const {
    return eventually([&] { return joined().find(text) != Text::npos; }, timeoutMs);
}

std::vector<MessageBoxCall> Capture::messageBoxes() const {
    std::lock_guard<std::mutex> hold(mutex_);
    return boxes_;
}

bool Capture::waitForMessageBoxes(size_t count, uint32_t timeoutMs) const {
    return eventually([&] { return messageBoxes().size() >= count; }, timeoutMs);
}

void Capture::clear() {
    std::lock_guard<std::mutex> hold(mutex_);
    pieces_.clear();
    boxes_.clear();
}

std::string narrow(const Text &text) {
    std::string out;
    for (Char16 c : text)
        out += c < 0x80 ? static_cast<char>(c) : '?';
    return out;
}

} // namespace xdsp::test
