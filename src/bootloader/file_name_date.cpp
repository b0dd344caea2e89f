// Storing a file's name and dates: first in the file table, then on the board.
#include "bootloader/file_system.h"
#include "bootloader/file_table.h"
#include "bootloader/framing.h"
#include "frame/bounded_string.h"

#include <cstring>

namespace xdsp::bootloader {

namespace {
// compat: the table keeps 62 characters of a new name, though the block could hold 63.
constexpr size_t storedNameChars = 63; // 62 characters and the terminator
constexpr uint32_t replyLength = 22;

void updateDescriptor(FileDescriptor *descriptor, const Char16 *name, double date) {
    if (name != nullptr)
        boundedCopy(descriptor->name, storedNameChars, name);
    // compat: the creation date is set only once, the modification date only by a
    // date after 1899-12-31; the table changes even when the board does not answer.
    if (descriptor->creationDate == 0.0)
        descriptor->creationDate = date;
    if (date > 1.0)
        descriptor->modificationDate = date;
}

// "BOOT\x2C\x3F\x00\x<n>" and the block as 64 escaped pairs, each pair's
// second byte first.
// compat: the count byte says 0x3F while 65 words follow, as boards have always been
// sent it.
void commandText(Char16 *text, unsigned fileNumber, const uint8_t *block) {
    size_t length =
        boundedFormat(text, commandTextChars, WIDE("BOOT\\x2C\\x3F\\x00\\x%02X"), fileNumber);
    for (size_t j = 0; j < blockBytes; j += 2)
        length +=
            boundedFormat(text + length, commandTextChars - length, WIDE("\\x%02X\\x%02x"),
                          static_cast<unsigned>(block[j + 1]), static_cast<unsigned>(block[j]));
}

bool exchangeOnce(BootLoaderState &state, const Char16 *text) {
    uint8_t command[commandBytes];
    uint32_t length = static_cast<uint32_t>(encodeBootCommand(command, text));
    uint8_t reply[replyBytes] = {};
    standardExchange(state, command, length, reply, replyLength);
    return reply[echoOffset] == 0x2C;
}
} // namespace

bool setFileNameDate(BootLoaderState &state, uint32_t fileIndex, const Char16 *name, double date) {
    // The table holds 15 descriptors; any other index is refused before
    // anything is touched or sent.
    if (fileIndex >= fileCount)
        return false;
    FileDescriptor &descriptor = state.fileTable[fileIndex];
    updateDescriptor(&descriptor, name, date);
    uint8_t block[blockBytes];
    buildNameDateBlock(descriptor, block);
    Char16 text[commandTextChars];
    commandText(text, fileIndex + 1, block);
    if (exchangeOnce(state, text))
        return true;
    return exchangeOnce(state, text);
}

} // namespace xdsp::bootloader
