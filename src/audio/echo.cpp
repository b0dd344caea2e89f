// The link test: the caller's bytes go to the audio firmware and must come
// back unchanged; where they do not, both sides are dumped from the first
// difference on.
#include "audio/audio_commands.h"
#include "audio/user_command.h"
#include "bootloader/framing.h"
#include "frame/bounded_string.h"
#include "frame/debug.h"
#include "os/os.h"

#include <cstring>

namespace xdsp::audio {

namespace {
constexpr uint32_t maxEchoLength = 400;
constexpr uint8_t echoCode = 0x38;
constexpr size_t packetHeadBytes = 6;
constexpr size_t replyBufferBytes = 512;
// Only the echo runs at this setting.
constexpr uint16_t settingEcho = 10;
constexpr size_t dumpChars = 256;
constexpr uint32_t dumpMaxBytes = 20;

// "%3d: " and up to 20 bytes from index first, as three debug pieces after label.
void dumpFrom(const Char16 *label, const uint8_t *bytes, uint32_t first, uint32_t count) {
    Char16 line[dumpChars];
    size_t length = boundedFormat(line, dumpChars, WIDE("%3d: "), static_cast<int>(first));
    for (uint32_t j = 0; first + j < count && j < dumpMaxBytes; ++j)
        length += boundedFormat(line + length, dumpChars - length, WIDE("%02X "),
                                static_cast<unsigned>(bytes[first + j]));
    debugWrite(label);
    debugWrite(line);
    debugWrite(WIDE("\r\n"));
}
} // namespace

bool echoMatches(const uint8_t *echoed, const uint8_t *data, uint32_t count) {
    uint32_t first = 0;
    while (first < count && echoed[first] == data[first])
        ++first;
    if (first == count)
        return true;
    dumpFrom(WIDE("byteRecv: "), echoed, first, count);
    dumpFrom(WIDE("  lpData: "), data, first, count);
    return false;
}

bool echo(bootloader::BootLoaderState &state, const uint8_t *data, uint32_t length) {
    using namespace bootloader;
    if (length > maxEchoLength)
        return false;
    // NULL data with a byte to send is refused like any other NULL buffer with
    // one; a length of 0 or 1 reads no byte, so its empty echo still runs.
    if (data == nullptr && length >= 2) {
        os::setLastError(os::error::invalidParameter);
        return false;
    }
    flush(state);
    debugWrite(WIDE("Echo:\r\n"));

    // compat: whole 16-bit words only (an odd last byte is neither sent nor
    // compared); the bytes go as they are, not pair-swapped.
    uint32_t even = length & ~1u;
    uint8_t packet[packetHeadBytes + maxEchoLength] = {
        'U', 'S', 'E', 'R', echoCode, static_cast<uint8_t>(even / 2)};
    if (even != 0)
        std::memcpy(packet + packetHeadBytes, data, even);
    uint8_t reply[replyBufferBytes] = {};
    directExchange(state, settingEcho, packet, static_cast<uint32_t>(packetHeadBytes + even), reply,
                   even + dataOffset);

    return echoMatches(reply + dataOffset, data, even);
}

} // namespace xdsp::audio
