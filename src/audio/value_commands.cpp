// The audio firmware's switches and loads: one parameter word out, the
// firmware's 16-bit answer back; and its reset, which has no answer.
//
// compat: "\x0%d" takes exactly one decimal digit into the escape, so a value of
// 10 or more sends its first digit as the word's low byte and the rest as extra
// characters; values are passed on unchecked, as the firmware defines them.
#include "audio/user_command.h"
#include "bootloader/framing.h"

extern "C" {

XDSP_EXPORT int32_t XDSP_API Halvio_Mute(int32_t on) {
    return xdsp::audio::valueCommand(WIDE("USER\\x3C\\x01\\x00\\x0%d"), on != 0 ? 1 : 0);
}

XDSP_EXPORT int32_t XDSP_API Halvio_LoadFilter(uint32_t filter) {
    return xdsp::audio::valueCommand(WIDE("USER\\x3D\\x01\\x00\\x0%u"), filter);
}

XDSP_EXPORT int32_t XDSP_API Halvio_LoadAlgorithm(int32_t algorithm) {
    return xdsp::audio::valueCommand(WIDE("USER\\x3E\\x01\\x00\\x%02X"),
                                     static_cast<unsigned>(algorithm));
}

XDSP_EXPORT int32_t XDSP_API Halvio_LineOut(int32_t on) {
    return xdsp::audio::valueCommand(WIDE("USER\\x3B\\x01\\x00\\x0%d"), on != 0 ? 1 : 0);
}

XDSP_EXPORT int32_t XDSP_API Halvio_Source(int32_t source) {
    return xdsp::audio::valueCommand(WIDE("USER\\x3A\\x01\\x00\\x0%d"), source);
}

XDSP_EXPORT void XDSP_API Halvio_Reset(void) {
    using namespace xdsp::bootloader;
    uint8_t command[commandBytes];
    auto length = static_cast<uint32_t>(encodeBootCommand(command, WIDE("USER\\x3F\\x00")));
    // No reply: with the read prefix only the command's own transfer is made.
    slowExchange(command, length, nullptr, 0);
}
}
