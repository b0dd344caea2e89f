// The board API: the audio firmware's commands.
#include "audio/audio_commands.h"
#include "audio/user_command.h"
#include "board/board_call.h"
#include "frame/bounded_string.h"
#include "frame/utf8.h"

#include <cstdint>

using namespace xdsp;
using board::Call;
using board::runCall;

namespace {
// A value command's answer, or no answer when the reply lacked the magic.
template <typename Command> int valueCommand(xdsp_board *board, uint16_t *answer, Command command) {
    return runCall(board, [&](Call &call) -> int {
        int32_t value = command(call.board().bootLoader);
        if (answer != nullptr)
            *answer = static_cast<uint16_t>(value);
        return call.status(value != audio::noResult);
    });
}
} // namespace

extern "C" {

XDSP_EXPORT int xdsp_board_audio_mute(xdsp_board *board, int on, uint16_t *answer) {
    return valueCommand(board, answer, [&](bootloader::BootLoaderState &state) {
        return audio::mute(state, on != 0);
    });
}

XDSP_EXPORT int xdsp_board_audio_load_filter(xdsp_board *board, uint32_t filter, uint16_t *answer) {
    return valueCommand(board, answer, [&](bootloader::BootLoaderState &state) {
        return audio::loadFilter(state, filter);
    });
}

XDSP_EXPORT int xdsp_board_audio_load_algorithm(xdsp_board *board, int32_t algorithm,
                                                uint16_t *answer) {
    return valueCommand(board, answer, [&](bootloader::BootLoaderState &state) {
        return audio::loadAlgorithm(state, algorithm);
    });
}

XDSP_EXPORT int xdsp_board_audio_line_out(xdsp_board *board, int on, uint16_t *answer) {
    return valueCommand(board, answer, [&](bootloader::BootLoaderState &state) {
        return audio::lineOut(state, on != 0);
    });
}

XDSP_EXPORT int xdsp_board_audio_source(xdsp_board *board, int32_t source, uint16_t *answer) {
    return valueCommand(board, answer, [&](bootloader::BootLoaderState &state) {
        return audio::selectSource(state, source);
    });
}

XDSP_EXPORT int xdsp_board_audio_reset(xdsp_board *board) {
    return runCall(board, [&](Call &call) -> int {
        audio::reset(call.board().bootLoader);
        return XDSP_STATUS_OK;
    });
}

XDSP_EXPORT int xdsp_board_audio_echo(xdsp_board *board, const uint8_t *data, size_t length) {
    if ((data == nullptr && length != 0) || length > 400)
        return XDSP_STATUS_INVALID_ARGUMENT;
    return runCall(board, [&](Call &call) -> int {
        return call.status(
            audio::echo(call.board().bootLoader, data, static_cast<uint32_t>(length)));
    });
}

XDSP_EXPORT int xdsp_board_audio_file_name(xdsp_board *board, int32_t number, char *name,
                                           size_t capacity, double *created, double *modified) {
    if (name == nullptr || capacity == 0)
        return XDSP_STATUS_INVALID_ARGUMENT;
    name[0] = 0;
    return runCall(board, [&](Call &call) -> int {
        Char16 wide[256] = {};
        audio::loadFileName(call.board().bootLoader, number, wide, 256, created, modified);
        textToUtf8(wide, textLength(wide), name, capacity);
        return call.status(wide[0] != 0);
    });
}
}
