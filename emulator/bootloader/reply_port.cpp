#include "bootloader/reply_port.h"

#include "bootloader/reply.h"

#include <algorithm>

namespace xdsp::emu {

void ReplyPort::shiftOut(uint8_t *read, size_t length) {
    size_t available = bytes_.size() - std::min(position_, bytes_.size());
    size_t count = std::min(length, available);
    std::copy_n(bytes_.begin() + static_cast<ptrdiff_t>(position_), count, read);
    std::fill_n(read + count, length - count, uint8_t{0});
    position_ += count;
}

void ReplyPort::readLater(uint8_t *read, size_t length, bool working, Clock::time_point now) {
    if (length == 0)
        return;
    if (working) {
        std::fill_n(read, length, notReadyFiller);
        return;
    }
    if (position_ >= bytes_.size())
        idleBusyUntil_ = now + idleReadBusy_;
    shiftOut(read, length);
}

} // namespace xdsp::emu
