// The boot loader's front end: the identification store and its accessors.
#include "bootloader/front_end.h"
#include "bootloader/file_system.h"
#include "bootloader/file_table.h"
#include "bootloader/framing.h"
#include "bootloader/identification.h"
#include "frame/bounded_string.h"
#include "os/os.h"

namespace xdsp::bootloader {

namespace {
constexpr size_t textChars = 256;
Char16 storedVersion[textChars];
Char16 storedProduct[textChars];
Char16 storedDsp[textChars];
uint32_t storedMemorySize = 0;

constexpr uint32_t sectorBytes = 4096;

const Char16 *const typeNames[] = {WIDE("Data"), WIDE("Boot"), WIDE("FPGA"), WIDE("Link")};
} // namespace

bool initialize(uint16_t select, uint16_t mask) {
    setSelectAndMask(select, mask);
    storedMemorySize = memorySize();
    if (storedMemorySize == 0)
        return false;
    // In this order: each is a command on the wire.
    boundedCopy(storedVersion, textChars, versionText());
    boundedCopy(storedProduct, textChars, productText());
    boundedCopy(storedDsp, textChars, dspText());
    return buildFileTable();
}

uint32_t maxFiles() {
    return fileCount;
}

bool fileDescription(int32_t fileIndex, uint16_t *type, uint32_t *startAddress,
                     uint32_t *endAddress, uint32_t *faiBytes, Char16 *name, uint32_t nameCapacity,
                     double *creationDate, double *modificationDate) {
    if (fileIndex < 0 || fileIndex >= static_cast<int32_t>(fileCount))
        return false;
    // Every output must be there before any is written.
    if (type == nullptr || startAddress == nullptr || endAddress == nullptr ||
        faiBytes == nullptr || (name == nullptr && nameCapacity != 0) || creationDate == nullptr ||
        modificationDate == nullptr) {
        os::setLastError(os::error::invalidParameter);
        return false;
    }
    const FileDescriptor &descriptor = fileTable[fileIndex];
    boundedCopy(name, nameCapacity, descriptor.name);
    *type = static_cast<uint16_t>(descriptor.type & 0xFFFF);
    *startAddress = descriptor.startSector * sectorBytes;
    *endAddress = descriptor.endSector * sectorBytes;
    // compat: FAI word 5 reported in bytes, as callers have always been given it.
    *faiBytes = descriptor.faiWord5 * sectorBytes;
    *creationDate = descriptor.creationDate;
    *modificationDate = descriptor.modificationDate;
    return true;
}

const Char16 *typeName(int16_t type) {
    if (type < 0 || type >= static_cast<int16_t>(sizeof typeNames / sizeof typeNames[0]))
        return WIDE("");
    return typeNames[type];
}

bool boot() {
    return run();
}

const Char16 *versionAtInit() {
    return storedVersion;
}
const Char16 *productAtInit() {
    return storedProduct;
}
const Char16 *dspAtInit() {
    return storedDsp;
}
uint32_t memoryAtInit() {
    return storedMemorySize;
}

} // namespace xdsp::bootloader
