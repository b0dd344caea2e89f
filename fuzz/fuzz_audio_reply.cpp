// The audio firmware's replies of any content: a value command's answer (10
// bytes), a filename answer (136 bytes read into a zeroed 256-byte buffer)
// and an echo compared with the bytes sent. The first byte chooses which.
#include "audio/user_command.h"
#include "bootloader/file_table.h"
#include "bootloader/framing.h"
#include "fuzz_support.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace {
constexpr size_t valueReplyBytes = 20;
constexpr size_t valueReadBytes = 10;
constexpr size_t filenameReadBytes = 136;
constexpr size_t maxEchoBytes = 400;

void valueReply(const uint8_t *data, size_t size) {
    std::vector<uint8_t> reply(valueReplyBytes, 0);
    std::copy(data, data + std::min(size, valueReadBytes), reply.begin());
    int32_t value = xdsp::audio::valueReply(reply.data());
    FUZZ_REQUIRE(value >= 0 && value <= 0xFFFF);
    if (!xdsp::audio::carriesUserMagic(reply.data()))
        FUZZ_REQUIRE(value == xdsp::audio::noResult);
}

void filenameReply(const uint8_t *data, size_t size) {
    std::vector<uint8_t> reply(xdsp::bootloader::replyBytes, 0);
    std::copy(data, data + std::min(size, filenameReadBytes), reply.begin());
    xdsp::bootloader::NameAndDates decoded{};
    if (xdsp::audio::decodeFilenameReply(reply.data(), &decoded))
        FUZZ_REQUIRE(xdsp::fuzz::textLength(decoded.name) <= xdsp::bootloader::blockNameBytes);
    else
        FUZZ_REQUIRE(decoded.name[0] == 0 && decoded.modificationDate == 0.0);
}

// The fuzzed bytes are split in two halves: what was sent and what came back.
void echoReply(const uint8_t *data, size_t size) {
    size_t count = std::min(size / 2, maxEchoBytes);
    std::vector<uint8_t> sent(data, data + count);
    std::vector<uint8_t> echoed(data + count, data + 2 * count);
    bool matches =
        xdsp::audio::echoMatches(echoed.data(), sent.data(), static_cast<uint32_t>(count));
    FUZZ_REQUIRE(matches == (sent == echoed));
}

void takeReply(uint8_t choice, const uint8_t *data, size_t size) {
    void (*const replies[])(const uint8_t *, size_t) = {valueReply, filenameReply, echoReply};
    replies[choice % 3](data, size);
}
} // namespace

FUZZ_CHOOSING_TARGET(takeReply)
