// The committed file table in its flash sector, and the boot file's trailer:
// what survives a power cycle.
//
// Table sector: "FTAB", then per file number 1-15 an entry of
//   flags (bit 0 allocated, bit 1 closed), start sector, sector count, type,
//   length (32 bits), checksum, the name-and-date block as it travelled.
// An erased sector (no magic) is an empty table.
#include "bootloader/big_endian.h"
#include "bootloader/flash_file_system.h"

#include <algorithm>
#include <cstring>

namespace xdsp::emu {

namespace {
constexpr uint8_t tableMagic[4] = {'F', 'T', 'A', 'B'};
constexpr size_t tableEntryLength = 13 + nameDateBlockLength;
constexpr size_t tableLength = sizeof tableMagic + fileCount * tableEntryLength;
static_assert(tableLength <= sectorSize);
constexpr size_t tableOffset = size_t{tableSector} * sectorSize;
constexpr uint8_t flagAllocated = 0x01;
constexpr uint8_t flagClosed = 0x02;

constexpr uint8_t bootMagic[2] = {'B', 'T'};
} // namespace

Outcome FlashFileSystem::commit() {
    if (flash_.size() < tableOffset + sectorSize)
        return Refusal::noFlash;
    uint8_t sector[sectorSize];
    std::memset(sector, 0xFF, sizeof sector);
    std::memcpy(sector, tableMagic, sizeof tableMagic);
    for (unsigned i = 0; i < fileCount; ++i) {
        const FileEntry &file = entries_[i];
        uint8_t *entry = sector + sizeof tableMagic + i * tableEntryLength;
        entry[0] = static_cast<uint8_t>((file.allocated ? flagAllocated : 0) |
                                        (file.closed ? flagClosed : 0));
        bigEndian::putWord(entry + 1, file.startSector);
        bigEndian::putWord(entry + 3, file.sectorCount);
        bigEndian::putWord(entry + 5, file.type);
        bigEndian::putLongWord(entry + 7, file.length);
        bigEndian::putWord(entry + 11, file.checksum);
        std::copy(file.nameDateBlock.begin(), file.nameDateBlock.end(), entry + 13);
    }
    // Flash is rewritten sector by sector: erase, then program.
    eraseRange(tableOffset, sectorSize);
    program(tableOffset, sector, sizeof sector);
    return {};
}

void FlashFileSystem::loadTable() {
    if (flash_.size() < tableOffset + sectorSize)
        return;
    const uint8_t *sector = flash_.data() + tableOffset;
    if (std::memcmp(sector, tableMagic, sizeof tableMagic) != 0)
        return;
    size_t sectors = flash_.size() / sectorSize;
    for (unsigned i = 0; i < fileCount; ++i) {
        const uint8_t *entry = sector + sizeof tableMagic + i * tableEntryLength;
        if ((entry[0] & flagAllocated) == 0)
            continue;
        FileEntry file;
        file.allocated = true;
        file.closed = (entry[0] & flagClosed) != 0;
        file.startSector = bigEndian::word(entry + 1);
        file.sectorCount = bigEndian::word(entry + 3);
        file.type = bigEndian::word(entry + 5);
        file.length = bigEndian::longWord(entry + 7);
        file.checksum = bigEndian::word(entry + 11);
        std::copy_n(entry + 13, nameDateBlockLength, file.nameDateBlock.begin());
        // An image from elsewhere may hold anything: keep only entries that a
        // boot loader could have written.
        size_t end = size_t{file.startSector} + file.sectorCount;
        bool sane = file.sectorCount != 0 && file.startSector >= firstFileSector &&
                    end <= sectors && file.type <= highestFileType &&
                    file.length <= size_t{file.sectorCount} * sectorSize &&
                    sectorsFree(static_cast<uint16_t>(i + 1), file.startSector, file.sectorCount);
        if (sane)
            entries_[i] = file;
    }
}

void FlashFileSystem::loadBootFile() {
    if (flash_.size() < bootAreaLength)
        return;
    const uint8_t *trailer = flash_.data() + bootTrailerOffset;
    uint32_t length = bigEndian::longWord(trailer + 2);
    if (std::memcmp(trailer, bootMagic, sizeof bootMagic) != 0 || length > bootTrailerOffset)
        return;
    bootFile_ = BootFile{true, length, bigEndian::word(trailer + 6)};
}

} // namespace xdsp::emu
