// The library's copy of the boot loader's directory: 15 file descriptors, and
// the name-and-date block that carries a file's name and dates.
#pragma once

#include "frame/text.h"

#include <cstddef>
#include <cstdint>

namespace xdsp::bootloader {

struct BootLoaderState;

inline constexpr size_t fileCount = XDSP_MAX_FILES;
inline constexpr size_t nameChars = 64;

struct FileDescriptor {
    uint32_t type;
    uint16_t faiWord1; // stored only
    uint16_t startSector;
    uint16_t endSector;
    uint16_t faiWord4; // stored only
    uint16_t faiWord5; // reported times 4096
    Char16 name[nameChars];
    double modificationDate; // OLE automation dates; 0.0 = none
    double creationDate;
};

// Reads the allocation table and every file's record into the state's table; false
// (after a message box) when the table did not come at the second try.
bool buildFileTable(BootLoaderState &state);

// ---- the directory as the boot loader sends it --------------------------------

// Dumps the allocation table of a whole 168-byte table reply and stores its
// sectors in table (fileCount descriptors).
void decodeAllocationTable(const uint8_t *reply, FileDescriptor *table);

// Takes a file's type, name and dates from its record reply (266 bytes read).
void decodeFileRecord(const uint8_t *reply, FileDescriptor *descriptor);

// ---- the name-and-date block --------------------------------------------------

inline constexpr size_t blockBytes = 128;
inline constexpr size_t blockNameBytes = 64;
inline constexpr size_t modificationTextOffset = 64;
inline constexpr size_t creationTextOffset = 84;
inline constexpr size_t dateTextBytes = 20;

// The block as it is sent: narrow name, both date texts, '*' for every byte
// that is 0x00, 0xCC, 0xFF or unfilled. Pairs are not swapped here.
void buildNameDateBlock(const FileDescriptor &descriptor, uint8_t *block);

// Exchanges bytes 2i and 2i+1 throughout a block (its own inverse).
void swapPairs(uint8_t *bytes, size_t count);

// A block's name (its whole field when no zero byte ends it) and dates.
struct NameAndDates {
    Char16 name[blockNameBytes + 1];
    double modificationDate;
    double creationDate;
};

// Takes a block as read back (pairs swapped, '*' for zero) apart.
void decodeNameDateBlock(const uint8_t *travelled, NameAndDates *decoded);
// The same into a descriptor, whose name keeps at most 63 characters.
void decodeNameDateBlock(const uint8_t *travelled, FileDescriptor *descriptor);

} // namespace xdsp::bootloader
