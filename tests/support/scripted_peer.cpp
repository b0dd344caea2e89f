#include "support/scripted_peer.h"

#include <algorithm>
#include <cstring>

namespace xdsp::test {

namespace {
constexpr uint16_t flushMode = 0x0303;

bool isReadPrefix(const Bytes &bytes) {
    return bytes.size() == 2 && bytes[0] == 'R' && bytes[1] == 'D';
}
} // namespace

void ScriptedPeer::respond(Responder responder) {
    std::lock_guard<std::mutex> hold(mutex_);
    responder_ = std::move(responder);
}

void ScriptedPeer::transfer(const emu::SpiSettings &settings, const uint8_t *written,
                            size_t writeLength, uint8_t *read, size_t readLength,
                            Clock::time_point now) {
    std::lock_guard<std::mutex> hold(mutex_);
    SpiTransfer record{settings, Bytes(written, written + writeLength), readLength};
    bool flush = settings.modeWord == flushMode;
    if (!flush && writeLength != 0 && !isReadPrefix(record.written))
        lastCommand_ = record.written;
    Bytes answer;
    if (responder_ && readLength != 0 && !flush)
        answer = responder_(lastCommand_, record);
    for (size_t i = 0; i < readLength; ++i)
        read[i] = i < answer.size() ? answer[i] : 0;
    transfers_.push_back(std::move(record));
    if (flush && drainBusyMicros_.load() != 0)
        busyUntil_.store(
            (now + std::chrono::microseconds(drainBusyMicros_.load())).time_since_epoch().count());
}

uint16_t ScriptedPeer::busyLines(Clock::time_point now) const {
    if (busyStuck_.load() || now.time_since_epoch().count() < busyUntil_.load())
        return busyLine;
    return 0;
}

std::vector<SpiTransfer> ScriptedPeer::transfers() const {
    std::lock_guard<std::mutex> hold(mutex_);
    return transfers_;
}

std::vector<SpiTransfer> ScriptedPeer::commandTransfers() const {
    std::vector<SpiTransfer> commands;
    for (const SpiTransfer &each : transfers())
        if (each.settings.modeWord != flushMode)
            commands.push_back(each);
    return commands;
}

void ScriptedPeer::clear() {
    std::lock_guard<std::mutex> hold(mutex_);
    transfers_.clear();
    lastCommand_.clear();
}

Bytes bootReply(uint8_t echo, const Bytes &data) {
    return concat({0x00, 0x00, 'B', 'O', 'O', 'T', echo, static_cast<uint8_t>(data.size() / 2)},
                  data);
}

Bytes bytesOf(const char *text) {
    return Bytes(text, text + std::strlen(text));
}

Bytes concat(const Bytes &first, const Bytes &second) {
    Bytes joined = first;
    joined.insert(joined.end(), second.begin(), second.end());
    return joined;
}

} // namespace xdsp::test
