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
constexpr uint32_t sectorBytes = 4096;

const Char16 *const typeNames[] = {WIDE("Data"), WIDE("Boot"), WIDE("FPGA"), WIDE("Link")};
} // namespace

bool initialize(BootLoaderState &state, uint16_t select, uint16_t mask) {
    setSelectAndMask(state, select, mask);
    InitialisationRecord &record = state.atInit;
    record.memorySize = memorySize(state);
    if (record.memorySize == 0)
        return false;
    // In this order: each is a command on the wire.
    boundedCopy(record.version, record.chars, versionText(state));
    boundedCopy(record.product, record.chars, productText(state));
    boundedCopy(record.dsp, record.chars, dspText(state));
    return buildFileTable(state);
}

uint32_t maxFiles() {
    return fileCount;
}

bool fileDescription(const BootLoaderState &state, int32_t fileIndex, uint16_t *type,
                     uint32_t *startAddress, uint32_t *endAddress, uint32_t *faiBytes, Char16 *name,
                     uint32_t nameCapacity, double *creationDate, double *modificationDate) {
    if (fileIndex < 0 || fileIndex >= static_cast<int32_t>(fileCount))
        return false;
    // Every output must be there before any is written.
    if (type == nullptr || startAddress == nullptr || endAddress == nullptr ||
        faiBytes == nullptr || (name == nullptr && nameCapacity != 0) || creationDate == nullptr ||
        modificationDate == nullptr) {
        os::setLastError(os::error::invalidParameter);
        return false;
    }
    const FileDescriptor &descriptor = state.fileTable[fileIndex];
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

bool boot(BootLoaderState &state) {
    return run(state);
}

const Char16 *versionAtInit(const BootLoaderState &state) {
    return state.atInit.version;
}
const Char16 *productAtInit(const BootLoaderState &state) {
    return state.atInit.product;
}
const Char16 *dspAtInit(const BootLoaderState &state) {
    return state.atInit.dsp;
}
uint32_t memoryAtInit(const BootLoaderState &state) {
    return state.atInit.memorySize;
}

} // namespace xdsp::bootloader
