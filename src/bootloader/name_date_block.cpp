// The 128-byte block in which a file's name and dates travel: 8-bit name and
// two date texts, '*' where a 0x00, 0xCC or 0xFF would be, pairs swapped.
#include "bootloader/file_table.h"
#include "bootloader/ole_date.h"
#include "frame/bounded_string.h"

#include <cstring>

namespace xdsp::bootloader {

namespace {
constexpr uint8_t filler = '*';

// Bytes the boot loader's flash or its "no answer" filler could be mistaken
// for never travel in the block.
bool mustBeFilled(uint8_t byte) {
    return byte == 0x00 || byte == 0xCC || byte == 0xFF;
}

// 8-bit text is Latin-1 both ways, the same on every platform; a character
// that has no 8-bit form travels as '?'.
uint8_t narrowCharacter(Char16 character) {
    return character <= 0xFF ? static_cast<uint8_t>(character) : static_cast<uint8_t>('?');
}
} // namespace

void swapPairs(uint8_t *bytes, size_t count) {
    for (size_t i = 0; i + 1 < count; i += 2) {
        uint8_t first = bytes[i];
        bytes[i] = bytes[i + 1];
        bytes[i + 1] = first;
    }
}

void buildNameDateBlock(const FileDescriptor &descriptor, uint8_t *block) {
    std::memset(block, 0, blockBytes);
    // At most 63 characters, so the name's terminator is always inside its field.
    for (size_t i = 0; i + 1 < blockNameBytes && descriptor.name[i] != 0; ++i)
        block[i] = narrowCharacter(descriptor.name[i]);
    formatDateText(descriptor.modificationDate,
                   reinterpret_cast<char *>(block + modificationTextOffset));
    formatDateText(descriptor.creationDate, reinterpret_cast<char *>(block + creationTextOffset));
    for (size_t i = 0; i < blockBytes; ++i)
        if (mustBeFilled(block[i]))
            block[i] = filler;
}

void decodeNameDateBlock(const uint8_t *travelled, NameAndDates *decoded) {
    uint8_t block[blockBytes];
    for (size_t i = 0; i < blockBytes; ++i)
        // compat: every '*' reads as a zero, so a name with '*' in it ends there.
        block[i] = travelled[i] == filler ? 0 : travelled[i];
    swapPairs(block, blockBytes);
    // Erased flash: no name.
    if (block[0] == 0xFF)
        block[0] = 0;
    size_t length = 0;
    while (length < blockNameBytes && block[length] != 0) {
        decoded->name[length] = block[length];
        ++length;
    }
    decoded->name[length] = 0;
    const uint8_t *modification = block + modificationTextOffset;
    const uint8_t *creation = block + creationTextOffset;
    decoded->modificationDate =
        modification[0] == 0xFF ? 0.0 : parseDateText(modification, dateTextBytes);
    decoded->creationDate = creation[0] == 0xFF ? 0.0 : parseDateText(creation, dateTextBytes);
}

void decodeNameDateBlock(const uint8_t *travelled, FileDescriptor *descriptor) {
    NameAndDates decoded;
    decodeNameDateBlock(travelled, &decoded);
    // A field without a zero byte still ends inside the descriptor's name.
    boundedCopy(descriptor->name, nameChars, decoded.name);
    descriptor->modificationDate = decoded.modificationDate;
    descriptor->creationDate = decoded.creationDate;
}

} // namespace xdsp::bootloader
