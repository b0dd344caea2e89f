// The boot loader's file system in the board's flash.
//
// Flash map, in 4096-byte sectors:
//   0-14   the boot file's area; its last 8 bytes hold the boot file's length
//          and checksum once it is closed
//   15     the committed file table
//   16-    the files' allocations
//
// The file table (one entry per file number 1-15) lives in RAM while commands
// change it; commit writes it to its sector, and power-up reads it from there,
// so changes that were never committed are gone after a restart. File data
// goes to flash as it arrives. Flash behaves as NOR flash does: a format
// erases to 0xFF and programming can only clear bits.
#pragma once

#include "bootloader/flash_image.h"
#include "bootloader/reply.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace xdsp::emu {

inline constexpr size_t sectorSize = 4096;
inline constexpr unsigned fileCount = 15;
inline constexpr uint16_t bootFileNumber = 300;
inline constexpr uint16_t bootFormatKey = 31415; // the only value 0x3A accepts
inline constexpr uint16_t bootSectors = 15;
inline constexpr uint16_t tableSector = 15;
inline constexpr uint16_t firstFileSector = 16;
inline constexpr size_t nameDateBlockLength = 128;
inline constexpr size_t faiEntryLength = 10;
inline constexpr size_t recordHeadLength = 130;
inline constexpr size_t recordLength = recordHeadLength + nameDateBlockLength;
inline constexpr uint16_t highestFileType = 3; // 0 Data, 1 Boot, 2 FPGA, 3 Link
inline constexpr size_t bootAreaLength = size_t{bootSectors} * sectorSize;
inline constexpr size_t bootTrailerLength = 8; // "BT", length, checksum
inline constexpr size_t bootTrailerOffset = bootAreaLength - bootTrailerLength;
// Data that does not count in the boot file's checksum: its loader kernel.
inline constexpr size_t bootChecksumSkip = 256;

struct FileEntry {
    bool allocated = false;
    bool closed = false; // data written and the file closed since its format
    uint16_t startSector = 0;
    uint16_t sectorCount = 0;
    uint16_t type = 0;
    uint32_t length = 0; // bytes written since the last format
    uint16_t checksum = 0;
    // Exactly as it travelled: pairs swapped, '*' for the bytes it could not
    // carry; erased flash (0xFF) until the host names the file.
    std::array<uint8_t, nameDateBlockLength> nameDateBlock{};
};

struct BootFile {
    bool present = false; // closed since its last format
    uint32_t length = 0;
    uint16_t checksum = 0;
};

// Outcome of a file-system command: nothing, or why it was refused.
using Outcome = std::optional<Refusal>;

class FlashFileSystem {
  public:
    // flashSize 0: no usable chip. A flash image path that is not empty keeps
    // the flash in that file (std::runtime_error when it cannot).
    FlashFileSystem(uint32_t flashSize, const std::string &imagePath);

    Outcome allocate(uint16_t number, uint16_t startSector, uint16_t sectorCount);
    Outcome erase(uint16_t number);
    Outcome setType(uint16_t number, uint16_t type);
    Outcome setNameDate(uint16_t number, const uint8_t *block); // nameDateBlockLength bytes
    Outcome format(uint16_t number);
    Outcome formatBootFile();
    // Appends to the file opened by the last format.
    Outcome write(const uint8_t *data, size_t count);
    Outcome close(uint16_t number); // 1-15 or bootFileNumber
    Outcome checksum(uint16_t number, uint16_t *sum) const;
    Outcome commit();

    // Wire forms, high byte first: the 15 FAI entries, and one file's record
    // (head, then the name-and-date block).
    std::array<uint8_t, fileCount * faiEntryLength> faiTable() const;
    Outcome record(uint16_t number, std::array<uint8_t, recordLength> *out) const;

    const FileEntry &entry(unsigned index) const { return entries_.at(index); } // 0-14
    const BootFile &bootFile() const { return bootFile_; }
    // The file being written: its number, 0 when none.
    uint16_t openFile() const { return open_.number; }
    uint32_t openFileWritten() const { return open_.written; }
    unsigned allocatedFiles() const;
    const std::vector<uint8_t> &flash() const { return flash_; }
    const std::string &imageError() const { return image_.error(); }

  private:
    struct OpenFile {
        uint16_t number = 0;
        size_t start = 0; // byte address
        size_t capacity = 0;
        uint32_t written = 0;
        uint16_t sum = 0;
    };

    FileEntry *fileByNumber(uint16_t number);
    const FileEntry *fileByNumber(uint16_t number) const;
    bool sectorsFree(uint16_t number, uint32_t start, uint32_t count) const;
    void eraseRange(size_t offset, size_t count);
    void program(size_t offset, const uint8_t *data, size_t count);
    void loadTable();
    void loadBootFile();

    std::vector<uint8_t> flash_;
    FlashImage image_;
    std::array<FileEntry, fileCount> entries_{};
    BootFile bootFile_;
    OpenFile open_;
};

} // namespace xdsp::emu
