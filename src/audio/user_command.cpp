#include "audio/user_command.h"
#include "bootloader/framing.h"
#include "frame/bounded_string.h"

#include <cstdarg>
#include <cstring>

namespace xdsp::audio {

namespace {
constexpr uint8_t userMagic[4] = {'U', 'S', 'E', 'R'};
constexpr size_t magicOffset = 2;
constexpr size_t valueReplyBufferBytes = 20;
constexpr uint32_t valueReplyLength = 10;
} // namespace

bool carriesUserMagic(const uint8_t *reply) {
    return std::memcmp(reply + magicOffset, userMagic, sizeof userMagic) == 0;
}

int32_t valueCommand(bootloader::BootLoaderState &state, const Char16 *format, ...) {
    Char16 text[commandTextChars];
    va_list arguments;
    va_start(arguments, format);
    boundedFormatV(text, commandTextChars, format, arguments);
    va_end(arguments);
    uint8_t command[bootloader::commandBytes];
    auto length = static_cast<uint32_t>(bootloader::encodeBootCommand(command, text));
    uint8_t reply[valueReplyBufferBytes] = {};
    bootloader::slowExchange(state, command, length, reply, valueReplyLength);
    return valueReply(reply);
}

int32_t valueReply(const uint8_t *reply) {
    // compat: the reply is not matched to the command code, and a missing reply
    // reads as 0xFFFF, the same as a firmware answer of 0xFFFF.
    if (!carriesUserMagic(reply))
        return noResult;
    return bootloader::bigEndian16(reply + bootloader::dataOffset);
}

} // namespace xdsp::audio
