// What the audio firmware's USER commands share: they travel like boot-loader
// commands, and a reply counts only when it carries "USER" at bytes 2-5.
#pragma once

#include "bootloader/boot_loader_state.h"
#include "frame/text.h"

#include <cstddef>
#include <cstdint>

namespace xdsp::bootloader {
struct NameAndDates;
}

namespace xdsp::audio {

// Command strings are formatted into this many characters.
inline constexpr size_t commandTextChars = 256;
// What a value command returns when the reply lacks the magic; a firmware
// answer of 0xFFFF reads the same.
inline constexpr int32_t noResult = 0xFFFF;

bool carriesUserMagic(const uint8_t *reply);

// The big-endian result at bytes 8-9 of a value command's reply, or noResult.
int32_t valueReply(const uint8_t *reply);

// Takes a file's name and dates from a filename reply (at least 138 bytes);
// false, with decoded untouched, when the reply lacks the magic or length.
bool decodeFilenameReply(const uint8_t *reply, bootloader::NameAndDates *decoded);

// True when the count echoed bytes equal data; otherwise dumps both from the
// first difference on.
bool echoMatches(const uint8_t *echoed, const uint8_t *data, uint32_t count);

// Formats a value command (one printf-style argument), sends it at setting 50
// without a flush and reads its 10-byte reply. Returns the big-endian result
// at reply bytes 8-9, or noResult. Bytes 6-7 are not matched to the command.
int32_t valueCommand(bootloader::BootLoaderState &state, const Char16 *format, ...);

} // namespace xdsp::audio
