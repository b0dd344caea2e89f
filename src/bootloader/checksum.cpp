#include "bootloader/checksum.h"
#include "bootloader/file_table.h"

#include "xdsp/xdsp.h"

namespace xdsp::bootloader {

uint16_t byteSum(const uint8_t *data, size_t length) {
    uint32_t sum = 0;
    for (size_t i = 0; i < length; ++i)
        sum += data[i];
    return static_cast<uint16_t>(sum & 0xFFFF);
}

} // namespace xdsp::bootloader

extern "C" {

XDSP_EXPORT uint16_t XDSP_API BootLoader_ComputeFileChecksum(const uint8_t *data, uint32_t length) {
    // No data to sum: the sum of nothing.
    if (data == nullptr)
        return 0;
    return xdsp::bootloader::byteSum(data, length);
}

XDSP_EXPORT uint16_t XDSP_API BootLoader_GetFileChecksum(int32_t fileIndex) {
    constexpr int32_t bootFile = 300;
    if ((fileIndex < 0 || fileIndex >= static_cast<int32_t>(xdsp::bootloader::fileCount)) &&
        fileIndex != bootFile)
        return 0xFFFF; // compat: a bad index reads as checksum 0xFFFF, not as an error
    return XMOSBoot_GetChecksum(static_cast<uint32_t>(fileIndex));
}
}
