// Asks the audio firmware for one of its files' name and dates, which come
// back in the boot loader's name-and-date block.
#include "audio/audio_commands.h"
#include "audio/user_command.h"
#include "bootloader/file_table.h"
#include "bootloader/framing.h"
#include "frame/bounded_string.h"
#include "os/os.h"

namespace xdsp::audio {

namespace {
constexpr uint32_t fileReplyLength = 136;
constexpr size_t lengthOffset = 7;
constexpr uint8_t fileReplyWords = 0x41;
constexpr size_t blockOffset = 10;
// compat: a fixed 500 ms pause after the reply, kept because callers' timing has
// always included it.
constexpr uint32_t settleMs = 500;
} // namespace

bool decodeFilenameReply(const uint8_t *reply, bootloader::NameAndDates *decoded) {
    if (!carriesUserMagic(reply) || reply[lengthOffset] != fileReplyWords)
        return false;
    bootloader::decodeNameDateBlock(reply + blockOffset, decoded);
    return true;
}

void loadFileName(bootloader::BootLoaderState &state, int32_t fileNumber, Char16 *name,
                  uint32_t nameCapacity, double *creationDate, double *modificationDate) {
    using namespace bootloader;
    // The audio firmware's own text size, not the boot loader's.
    Char16 text[audio::commandTextChars];
    boundedFormat(text, audio::commandTextChars, WIDE("USER\\x39\\x01\\x00\\x%02X"),
                  static_cast<unsigned>(fileNumber));
    uint8_t command[commandBytes];
    auto length = static_cast<uint32_t>(encodeBootCommand(command, text));
    // Zeroed, so the block's last two bytes, which are not read, count as zero.
    uint8_t reply[replyBytes] = {};
    slowExchange(state, command, length, reply, fileReplyLength);
    os::sleepMs(settleMs);

    // A NULL output is skipped rather than refused: the others still get their value.
    bool wantsName = name != nullptr && nameCapacity != 0;
    if (modificationDate != nullptr)
        *modificationDate = 0.0;
    if (creationDate != nullptr)
        *creationDate = 0.0;
    if (wantsName)
        name[0] = 0;
    NameAndDates decoded;
    if (!decodeFilenameReply(reply, &decoded))
        return;
    // All 64 characters of a field without a zero byte when the buffer holds
    // them; a longer name is cut to capacity - 1 characters, as
    // BootLoader_GetFileDesc cuts it.
    if (wantsName)
        boundedCopy(name, nameCapacity, decoded.name);
    if (modificationDate != nullptr)
        *modificationDate = decoded.modificationDate;
    if (creationDate != nullptr)
        *creationDate = decoded.creationDate;
}

} // namespace xdsp::audio
