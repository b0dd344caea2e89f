// The BootLoader_ family's identification store and accessors.
#include "bootloader/file_table.h"
#include "bootloader/framing.h"
#include "frame/bounded_string.h"
#include "os/os.h"

namespace xdsp::bootloader {

namespace {
constexpr size_t textChars = 256;
Char16 versionText[textChars];
Char16 productText[textChars];
Char16 dspText[textChars];
uint32_t memorySize = 0;

constexpr uint32_t sectorBytes = 4096;

const Char16 *const typeNames[] = {WIDE("Data"), WIDE("Boot"), WIDE("FPGA"), WIDE("Link")};
} // namespace

} // namespace xdsp::bootloader

using namespace xdsp::bootloader;

extern "C" {

XDSP_EXPORT xdsp_bool XDSP_API BootLoader_Init(uint16_t select, uint16_t mask) {
    setSelectAndMask(select, mask);
    memorySize = XMOSBoot_GetMemorySize();
    if (memorySize == 0)
        return 0;
    // In this order: each is a command on the wire.
    xdsp::boundedCopy(versionText, textChars, XMOSBoot_GetVersionType());
    xdsp::boundedCopy(productText, textChars, XMOSBoot_GetProductType());
    xdsp::boundedCopy(dspText, textChars, XMOSBoot_GetDSPType());
    return XMOSBoot_BuildFAI() != 0 ? 1 : 0;
}

XDSP_EXPORT uint32_t XDSP_API BootLoader_MaxFiles(void) {
    return fileCount;
}

XDSP_EXPORT xdsp_bool XDSP_API BootLoader_GetFileDesc(int32_t fileIndex, uint16_t *type,
                                                      uint32_t *startAddress, uint32_t *endAddress,
                                                      uint32_t *faiBytes, xdsp_char16 *name,
                                                      uint32_t nameCapacity, double *creationDate,
                                                      double *modificationDate) {
    if (fileIndex < 0 || fileIndex >= static_cast<int32_t>(fileCount))
        return 0;
    // Every output must be there before any is written.
    if (type == nullptr || startAddress == nullptr || endAddress == nullptr ||
        faiBytes == nullptr || (name == nullptr && nameCapacity != 0) || creationDate == nullptr ||
        modificationDate == nullptr) {
        xdsp::os::setLastError(xdsp::os::error::invalidParameter);
        return 0;
    }
    const FileDescriptor &descriptor = fileTable[fileIndex];
    xdsp::boundedCopy(name, nameCapacity, descriptor.name);
    *type = static_cast<uint16_t>(descriptor.type & 0xFFFF);
    *startAddress = descriptor.startSector * sectorBytes;
    *endAddress = descriptor.endSector * sectorBytes;
    // compat: FAI word 5 reported in bytes, as callers have always been given it.
    *faiBytes = descriptor.faiWord5 * sectorBytes;
    *creationDate = descriptor.creationDate;
    *modificationDate = descriptor.modificationDate;
    return 1;
}

XDSP_EXPORT const xdsp_char16 *XDSP_API BootLoader_GetTypeName(int16_t type) {
    if (type < 0 || type >= static_cast<int16_t>(sizeof typeNames / sizeof typeNames[0]))
        return WIDE("");
    return typeNames[type];
}

XDSP_EXPORT xdsp_bool XDSP_API BootLoader_Boot(void) {
    return XMOSBoot_Run();
}

XDSP_EXPORT const xdsp_char16 *XDSP_API BootLoader_GetVersion(void) {
    return versionText;
}
XDSP_EXPORT const xdsp_char16 *XDSP_API BootLoader_GetProduct(void) {
    return productText;
}
XDSP_EXPORT const xdsp_char16 *XDSP_API BootLoader_GetDSP(void) {
    return dspText;
}
XDSP_EXPORT uint32_t XDSP_API BootLoader_GetMemory(void) {
    return memorySize;
}
}
