#include "bootloader/flash_file_system.h"

#include "bootloader/big_endian.h"

#include <algorithm>
#include <cstring>

namespace xdsp::emu {

namespace {
constexpr uint8_t erased = 0xFF;

// Record head states.
constexpr uint16_t stateEmpty = 0;
constexpr uint16_t stateOpen = 1;
constexpr uint16_t stateClosed = 2;

bool validFileNumber(uint16_t number) {
    return number >= 1 && number <= fileCount;
}

size_t sectorsOf(uint32_t bytes) {
    return (bytes + sectorSize - 1) / sectorSize;
}
} // namespace

FlashFileSystem::FlashFileSystem(uint32_t flashSize, const std::string &imagePath)
    : flash_(flashSize, erased) {
    if (!imagePath.empty() && !flash_.empty())
        image_.open(imagePath, flash_);
    loadTable();
    loadBootFile();
}

FileEntry *FlashFileSystem::fileByNumber(uint16_t number) {
    return validFileNumber(number) ? &entries_[number - 1] : nullptr;
}

const FileEntry *FlashFileSystem::fileByNumber(uint16_t number) const {
    return validFileNumber(number) ? &entries_[number - 1] : nullptr;
}

unsigned FlashFileSystem::allocatedFiles() const {
    return static_cast<unsigned>(
        std::count_if(entries_.begin(), entries_.end(), [](auto &e) { return e.allocated; }));
}

bool FlashFileSystem::sectorsFree(uint16_t number, uint32_t start, uint32_t count) const {
    for (unsigned i = 0; i < fileCount; ++i) {
        const FileEntry &other = entries_[i];
        if (i + 1 == number || !other.allocated)
            continue;
        if (start < uint32_t{other.startSector} + other.sectorCount &&
            other.startSector < start + count)
            return false;
    }
    return true;
}

void FlashFileSystem::eraseRange(size_t offset, size_t count) {
    if (offset > flash_.size() || count > flash_.size() - offset)
        return;
    std::fill_n(flash_.begin() + static_cast<ptrdiff_t>(offset), count, erased);
    image_.store(flash_, offset, count);
}

void FlashFileSystem::program(size_t offset, const uint8_t *data, size_t count) {
    if (offset > flash_.size() || count > flash_.size() - offset)
        return;
    for (size_t i = 0; i < count; ++i)
        flash_[offset + i] &= data[i];
    image_.store(flash_, offset, count);
}

Outcome FlashFileSystem::allocate(uint16_t number, uint16_t startSector, uint16_t sectorCount) {
    FileEntry *file = fileByNumber(number);
    if (file == nullptr)
        return Refusal::noSuchFile;
    if (file->allocated)
        return Refusal::inUse;
    if (flash_.size() <= size_t{firstFileSector} * sectorSize)
        return Refusal::noFlash;
    if (sectorCount == 0)
        return Refusal::badArgument;
    uint32_t end = uint32_t{startSector} + sectorCount;
    if (startSector < firstFileSector || end > flash_.size() / sectorSize ||
        !sectorsFree(number, startSector, sectorCount))
        return Refusal::noRoom;
    *file = FileEntry{};
    file->allocated = true;
    file->startSector = startSector;
    file->sectorCount = sectorCount;
    file->nameDateBlock.fill(erased);
    return {};
}

Outcome FlashFileSystem::erase(uint16_t number) {
    FileEntry *file = fileByNumber(number);
    if (file == nullptr || !file->allocated)
        return Refusal::noSuchFile;
    eraseRange(size_t{file->startSector} * sectorSize, size_t{file->sectorCount} * sectorSize);
    *file = FileEntry{};
    if (open_.number == number)
        open_ = OpenFile{};
    return {};
}

Outcome FlashFileSystem::setType(uint16_t number, uint16_t type) {
    FileEntry *file = fileByNumber(number);
    if (file == nullptr || !file->allocated)
        return Refusal::noSuchFile;
    if (type > highestFileType)
        return Refusal::badArgument;
    file->type = type;
    return {};
}

Outcome FlashFileSystem::setNameDate(uint16_t number, const uint8_t *block) {
    FileEntry *file = fileByNumber(number);
    if (file == nullptr || !file->allocated)
        return Refusal::noSuchFile;
    std::copy_n(block, nameDateBlockLength, file->nameDateBlock.begin());
    return {};
}

Outcome FlashFileSystem::format(uint16_t number) {
    FileEntry *file = fileByNumber(number);
    if (file == nullptr || !file->allocated)
        return Refusal::noSuchFile;
    size_t start = size_t{file->startSector} * sectorSize;
    size_t capacity = size_t{file->sectorCount} * sectorSize;
    if (start > flash_.size() || capacity > flash_.size() - start)
        return Refusal::noFlash;
    eraseRange(start, capacity);
    file->length = 0;
    file->checksum = 0;
    file->closed = false;
    open_ = OpenFile{number, start, capacity, 0, 0};
    return {};
}

Outcome FlashFileSystem::formatBootFile() {
    if (flash_.size() < bootAreaLength)
        return Refusal::noFlash;
    eraseRange(0, bootAreaLength);
    bootFile_ = BootFile{};
    open_ = OpenFile{bootFileNumber, 0, bootTrailerOffset, 0, 0};
    return {};
}

Outcome FlashFileSystem::write(const uint8_t *data, size_t count) {
    if (open_.number == 0)
        return Refusal::notOpen;
    if (count > open_.capacity - open_.written)
        return Refusal::noRoom;
    program(open_.start + open_.written, data, count);
    for (size_t i = 0; i < count; ++i) {
        bool counted = open_.number != bootFileNumber || open_.written + i >= bootChecksumSkip;
        if (counted)
            open_.sum = static_cast<uint16_t>(open_.sum + data[i]);
    }
    open_.written += static_cast<uint32_t>(count);
    return {};
}

Outcome FlashFileSystem::close(uint16_t number) {
    if (number == bootFileNumber) {
        if (open_.number != bootFileNumber)
            return bootFile_.present ? Outcome{} : Outcome{Refusal::notOpen};
        bootFile_ = BootFile{true, open_.written, open_.sum};
        uint8_t trailer[bootTrailerLength] = {'B', 'T'};
        bigEndian::putLongWord(trailer + 2, bootFile_.length);
        bigEndian::putWord(trailer + 6, bootFile_.checksum);
        program(bootTrailerOffset, trailer, sizeof trailer);
        open_ = OpenFile{};
        return {};
    }
    FileEntry *file = fileByNumber(number);
    if (file == nullptr || !file->allocated)
        return Refusal::noSuchFile;
    // A repeated close, as a host sends when the first reply went astray.
    if (open_.number != number)
        return file->closed ? Outcome{} : Outcome{Refusal::notOpen};
    file->length = open_.written;
    file->checksum = open_.sum;
    file->closed = true;
    open_ = OpenFile{};
    return {};
}

Outcome FlashFileSystem::checksum(uint16_t number, uint16_t *sum) const {
    if (number == bootFileNumber) {
        if (!bootFile_.present)
            return Refusal::noSuchFile;
        *sum = bootFile_.checksum;
        return {};
    }
    const FileEntry *file = fileByNumber(number);
    if (file == nullptr || !file->allocated)
        return Refusal::noSuchFile;
    *sum = file->checksum;
    return {};
}

std::array<uint8_t, fileCount * faiEntryLength> FlashFileSystem::faiTable() const {
    std::array<uint8_t, fileCount * faiEntryLength> table{};
    for (unsigned i = 0; i < fileCount; ++i) {
        const FileEntry &file = entries_[i];
        if (!file.allocated)
            continue;
        uint8_t *entry = table.data() + i * faiEntryLength;
        bigEndian::putWord(entry, static_cast<uint16_t>(i + 1));
        bigEndian::putWord(entry + 2, file.startSector);
        bigEndian::putWord(entry + 4, static_cast<uint16_t>(file.startSector + file.sectorCount));
        bigEndian::putWord(entry + 6, file.sectorCount);
        bigEndian::putWord(entry + 8, static_cast<uint16_t>(sectorsOf(file.length)));
    }
    return table;
}

Outcome FlashFileSystem::record(uint16_t number, std::array<uint8_t, recordLength> *out) const {
    const FileEntry *file = fileByNumber(number);
    if (file == nullptr || !file->allocated)
        return Refusal::noSuchFile;
    out->fill(0);
    uint8_t *head = out->data();
    uint16_t state = file->closed ? stateClosed : open_.number == number ? stateOpen : stateEmpty;
    bigEndian::putWord(head, number);
    bigEndian::putWord(head + 2, file->startSector);
    bigEndian::putWord(head + 4, file->sectorCount);
    bigEndian::putWord(head + 6, state);
    bigEndian::putWord(head + 8, file->type);
    bigEndian::putLongWord(head + 10, file->length);
    bigEndian::putWord(head + 14, file->checksum);
    std::copy(file->nameDateBlock.begin(), file->nameDateBlock.end(),
              out->begin() + recordHeadLength);
    return {};
}

} // namespace xdsp::emu
