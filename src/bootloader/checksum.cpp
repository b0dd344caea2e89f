#include "bootloader/checksum.h"
#include "bootloader/file_system.h"
#include "bootloader/file_table.h"

#include "xdsp/xdsp.h"

namespace xdsp::bootloader {

uint16_t byteSum(const uint8_t *data, size_t length) {
    uint32_t sum = 0;
    for (size_t i = 0; i < length; ++i)
        sum += data[i];
    return static_cast<uint16_t>(sum & 0xFFFF);
}

uint16_t dataChecksum(const uint8_t *data, uint32_t length) {
    // No data to sum: the sum of nothing.
    if (data == nullptr)
        return 0;
    return byteSum(data, length);
}

uint16_t fileChecksum(BootLoaderState &state, int32_t fileIndex) {
    // compat: an index past the table reads as checksum 0xFFFF, not as an error;
    // a negative one is asked for as it converts, since only the upper bound
    // was ever checked.
    if (fileIndex >= XDSP_MAX_FILES && fileIndex != XDSP_BOOT_FILE_NUMBER)
        return 0xFFFF;
    return checksumOf(state, static_cast<uint32_t>(fileIndex));
}

} // namespace xdsp::bootloader
