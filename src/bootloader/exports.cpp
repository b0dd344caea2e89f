// The boot loader's exported functions.
#include "bootloader/boot_loader_state.h"
#include "bootloader/checksum.h"
#include "bootloader/dsp_stat.h"
#include "bootloader/file_system.h"
#include "bootloader/file_table.h"
#include "bootloader/framing.h"
#include "bootloader/front_end.h"
#include "bootloader/identification.h"
#include "bootloader/send_file.h"
#include "bootloader/upload.h"
#include "xdsp/xdsp.h"

// Every export acts on the one board of the process.
using xdsp::bootloader::processBootLoader;

extern "C" {

XDSP_EXPORT void XDSP_API XMOSSPI_SetReadPrefix(int32_t enable) {
    // compat: only 1 switches it on; 2 and -1 are "off" as much as 0 is, as existing
    // callers have always found.
    xdsp::bootloader::setReadPrefix(processBootLoader(), enable == 1);
}

XDSP_EXPORT int32_t XDSP_API XMOSSPI_GetReadPrefix(void) {
    return xdsp::bootloader::readPrefixOn(processBootLoader()) ? 1 : 0;
}

XDSP_EXPORT void XDSP_API XMOSBoot_Flush(void) {
    xdsp::bootloader::flush(processBootLoader());
}

XDSP_EXPORT xdsp_bool XDSP_API XMOS_DSP_STAT(uint32_t *status) {
    return xdsp::bootloader::dspStatus(processBootLoader(), status) ? 1 : 0;
}

XDSP_EXPORT const xdsp_char16 *XDSP_API XMOSBoot_GetVersionType(void) {
    return xdsp::bootloader::versionText(processBootLoader());
}

XDSP_EXPORT const xdsp_char16 *XDSP_API XMOSBoot_GetProductType(void) {
    return xdsp::bootloader::productText(processBootLoader());
}

XDSP_EXPORT const xdsp_char16 *XDSP_API XMOSBoot_GetDSPType(void) {
    return xdsp::bootloader::dspText(processBootLoader());
}

XDSP_EXPORT const xdsp_char16 *XDSP_API XMOSBoot_GetMemoryType(void) {
    return xdsp::bootloader::memoryText(processBootLoader());
}

XDSP_EXPORT uint32_t XDSP_API XMOSBoot_GetMemorySize(void) {
    return xdsp::bootloader::memorySize(processBootLoader());
}

XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_EraseFile(uint32_t fileIndex) {
    return xdsp::bootloader::eraseFile(processBootLoader(), fileIndex) ? 1 : 0;
}

XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_AllocateFile(uint32_t fileIndex, uint32_t startAddress,
                                                     uint32_t endAddress) {
    return xdsp::bootloader::allocateFile(processBootLoader(), fileIndex, startAddress, endAddress)
               ? 1
               : 0;
}

XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_FormatFile(uint32_t fileIndex) {
    return xdsp::bootloader::formatFile(processBootLoader(), fileIndex) ? 1 : 0;
}

XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_FormatBootFile(int32_t value) {
    return xdsp::bootloader::formatBootFile(processBootLoader(), value) ? 1 : 0;
}

XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_CloseFile(uint32_t fileIndex) {
    return xdsp::bootloader::closeFile(processBootLoader(), fileIndex) ? 1 : 0;
}

XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_SetFileType(uint32_t fileIndex, int16_t type) {
    return xdsp::bootloader::setFileType(processBootLoader(), fileIndex, type) ? 1 : 0;
}

XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_Commit(void) {
    return xdsp::bootloader::commit(processBootLoader()) ? 1 : 0;
}

XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_SetFileNameDate(uint32_t fileIndex, const xdsp_char16 *name,
                                                        double date) {
    return xdsp::bootloader::setFileNameDate(processBootLoader(), fileIndex, name, date) ? 1 : 0;
}

XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_Run(void) {
    return xdsp::bootloader::run(processBootLoader()) ? 1 : 0;
}

XDSP_EXPORT uint16_t XDSP_API XMOSBoot_GetChecksum(uint32_t fileIndex) {
    return xdsp::bootloader::checksumOf(processBootLoader(), fileIndex);
}

XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_BuildFAI(void) {
    return xdsp::bootloader::buildFileTable(processBootLoader()) ? 1 : 0;
}

// compat: the file index is accepted and not used: the packets carry no file
// number, they follow the format of their file.
XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_SendFile(int32_t, const uint8_t *data, int32_t length,
                                                 int32_t progressStart, int32_t progressEnd,
                                                 xdsp_progress_callback callback,
                                                 uint32_t context) {
    return xdsp::bootloader::sendFile(processBootLoader(), data, length, progressStart, progressEnd,
                                      callback, context)
               ? 1
               : 0;
}

XDSP_EXPORT xdsp_bool XDSP_API BootLoader_Init(uint16_t select, uint16_t busyMask) {
    return xdsp::bootloader::initialize(processBootLoader(), select, busyMask) ? 1 : 0;
}

XDSP_EXPORT xdsp_bool XDSP_API BootLoader_Send(int32_t fileIndex, int16_t type,
                                               uint32_t startAddress, uint32_t endAddress,
                                               const xdsp_char16 *name, const uint8_t *data,
                                               uint32_t length, xdsp_bool showErrors,
                                               xdsp_progress_callback callback, uint32_t context) {
    return xdsp::bootloader::uploadFile(processBootLoader(), fileIndex, type, startAddress,
                                        endAddress, name, data, length, showErrors != 0, callback,
                                        context)
               ? 1
               : 0;
}

XDSP_EXPORT uint32_t XDSP_API BootLoader_MaxFiles(void) {
    return xdsp::bootloader::maxFiles();
}

XDSP_EXPORT xdsp_bool XDSP_API BootLoader_GetFileDesc(int32_t fileIndex, uint16_t *type,
                                                      uint32_t *startAddress, uint32_t *endAddress,
                                                      uint32_t *faiBytes, xdsp_char16 *name,
                                                      uint32_t nameCapacity, double *creationDate,
                                                      double *modificationDate) {
    return xdsp::bootloader::fileDescription(processBootLoader(), fileIndex, type, startAddress,
                                             endAddress, faiBytes, name, nameCapacity, creationDate,
                                             modificationDate)
               ? 1
               : 0;
}

XDSP_EXPORT const xdsp_char16 *XDSP_API BootLoader_GetTypeName(int16_t type) {
    return xdsp::bootloader::typeName(type);
}

XDSP_EXPORT xdsp_bool XDSP_API BootLoader_Boot(void) {
    return xdsp::bootloader::boot(processBootLoader()) ? 1 : 0;
}

XDSP_EXPORT const xdsp_char16 *XDSP_API BootLoader_GetVersion(void) {
    return xdsp::bootloader::versionAtInit(processBootLoader());
}

XDSP_EXPORT const xdsp_char16 *XDSP_API BootLoader_GetProduct(void) {
    return xdsp::bootloader::productAtInit(processBootLoader());
}

XDSP_EXPORT const xdsp_char16 *XDSP_API BootLoader_GetDSP(void) {
    return xdsp::bootloader::dspAtInit(processBootLoader());
}

XDSP_EXPORT uint32_t XDSP_API BootLoader_GetMemory(void) {
    return xdsp::bootloader::memoryAtInit(processBootLoader());
}

XDSP_EXPORT uint16_t XDSP_API BootLoader_ComputeFileChecksum(const uint8_t *data, uint32_t length) {
    return xdsp::bootloader::dataChecksum(data, length);
}

XDSP_EXPORT uint16_t XDSP_API BootLoader_GetFileChecksum(int32_t fileIndex) {
    return xdsp::bootloader::fileChecksum(processBootLoader(), fileIndex);
}
}
