// What the audio firmware's USER commands share: they travel like boot-loader
// commands, and a reply counts only when it carries "USER" at bytes 2-5.
#pragma once

#include "frame/text.h"

#include <cstddef>
#include <cstdint>

namespace xdsp::audio {

// Command strings are formatted into this many characters.
inline constexpr size_t commandTextChars = 256;
// What a value command returns when the reply lacks the magic; a firmware
// answer of 0xFFFF reads the same.
inline constexpr int32_t noResult = 0xFFFF;

bool carriesUserMagic(const uint8_t *reply);

// Formats a value command (one printf-style argument), sends it at setting 50
// without a flush and reads its 10-byte reply. Returns the big-endian result
// at reply bytes 8-9, or noResult. Bytes 6-7 are not matched to the command.
int32_t valueCommand(const Char16 *format, ...);

} // namespace xdsp::audio
