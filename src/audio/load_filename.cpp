// Asks the audio firmware for one of its files' name and dates, which come
// back in the boot loader's name-and-date block.
#include "audio/user_command.h"
#include "bootloader/file_table.h"
#include "bootloader/framing.h"
#include "frame/bounded_string.h"
#include "os/os.h"

namespace {
constexpr uint32_t fileReplyLength = 136;
constexpr size_t lengthOffset = 7;
constexpr uint8_t fileReplyWords = 0x41;
constexpr size_t blockOffset = 10;
// compat: a fixed 500 ms pause after the reply, kept because callers' timing has
// always included it.
constexpr uint32_t settleMs = 500;
} // namespace

namespace xdsp::audio {

bool decodeFilenameReply(const uint8_t *reply, bootloader::NameAndDates *decoded) {
    if (!carriesUserMagic(reply) || reply[lengthOffset] != fileReplyWords)
        return false;
    bootloader::decodeNameDateBlock(reply + blockOffset, decoded);
    return true;
}

} // namespace xdsp::audio

extern "C" XDSP_EXPORT void XDSP_API Halvio_LoadFilename(int32_t fileNumber, xdsp_char16 *name,
                                                         uint32_t nameCapacity,
                                                         double *creationDate,
                                                         double *modificationDate) {
    using namespace xdsp::bootloader;
    xdsp::Char16 text[xdsp::audio::commandTextChars];
    xdsp::boundedFormat(text, xdsp::audio::commandTextChars, WIDE("USER\\x39\\x01\\x00\\x%02X"),
                        static_cast<unsigned>(fileNumber));
    uint8_t command[commandBytes];
    auto length = static_cast<uint32_t>(encodeBootCommand(command, text));
    // Zeroed, so the block's last two bytes, which are not read, count as zero.
    uint8_t reply[replyBytes] = {};
    slowExchange(command, length, reply, fileReplyLength);
    xdsp::os::sleepMs(settleMs);

    // A NULL output is skipped rather than refused: the others still get their value.
    bool wantsName = name != nullptr && nameCapacity != 0;
    if (modificationDate != nullptr)
        *modificationDate = 0.0;
    if (creationDate != nullptr)
        *creationDate = 0.0;
    if (wantsName)
        name[0] = 0;
    NameAndDates decoded;
    if (!xdsp::audio::decodeFilenameReply(reply, &decoded))
        return;
    // All 64 characters of a field without a zero byte when the buffer holds
    // them; a longer name is cut to capacity - 1 characters, as
    // BootLoader_GetFileDesc cuts it.
    if (wantsName)
        xdsp::boundedCopy(name, nameCapacity, decoded.name);
    if (modificationDate != nullptr)
        *modificationDate = decoded.modificationDate;
    if (creationDate != nullptr)
        *creationDate = decoded.creationDate;
}
