// The audio firmware's switches and loads: one parameter word out, the
// firmware's 16-bit answer back; and its reset, which has no answer.
//
// compat: "\x0%d" takes exactly one decimal digit into the escape, so a value of
// 10 or more sends its first digit as the word's low byte and the rest as extra
// characters; values are passed on unchecked, as the firmware defines them.
#include "audio/audio_commands.h"
#include "audio/user_command.h"
#include "bootloader/framing.h"

namespace xdsp::audio {

int32_t mute(bootloader::BootLoaderState &state, bool on) {
    return valueCommand(state, WIDE("USER\\x3C\\x01\\x00\\x0%d"), on ? 1 : 0);
}

int32_t loadFilter(bootloader::BootLoaderState &state, uint32_t filter) {
    return valueCommand(state, WIDE("USER\\x3D\\x01\\x00\\x0%u"), filter);
}

int32_t loadAlgorithm(bootloader::BootLoaderState &state, int32_t algorithm) {
    return valueCommand(state, WIDE("USER\\x3E\\x01\\x00\\x%02X"),
                        static_cast<unsigned>(algorithm));
}

int32_t lineOut(bootloader::BootLoaderState &state, bool on) {
    return valueCommand(state, WIDE("USER\\x3B\\x01\\x00\\x0%d"), on ? 1 : 0);
}

int32_t selectSource(bootloader::BootLoaderState &state, int32_t source) {
    return valueCommand(state, WIDE("USER\\x3A\\x01\\x00\\x0%d"), source);
}

void reset(bootloader::BootLoaderState &state) {
    using namespace bootloader;
    uint8_t command[commandBytes];
    auto length = static_cast<uint32_t>(encodeBootCommand(command, WIDE("USER\\x3F\\x00")));
    // No reply: with the read prefix only the command's own transfer is made.
    slowExchange(state, command, length, nullptr, 0);
}

} // namespace xdsp::audio
