#include "discovery/enumerate.h"
#include "discovery/parse_device_name.h"
#include "frame/bounded_string.h"

namespace xdsp::discovery {

namespace {
constexpr uint32_t maxInterfaces = 64;
constexpr uint16_t anyProduct = 0xFFFF;
} // namespace

bool interfaceIds(const os::HidInterface &found, uint16_t *vendorId, uint16_t *productId) {
    if (found.hasIds) {
        *vendorId = found.vendorId;
        *productId = found.productId;
        return true;
    }
    uint16_t interfaceNumber = 0;
    return parseDeviceName(found.path, vendorId, productId, &interfaceNumber) != nullptr;
}

uint32_t enumerateDevices(InterfaceLookup lookup, uint16_t vendorId, uint16_t productId,
                          xdsp_device_record *records, uint32_t recordCount) {
    uint32_t matches = 0;
    os::HidInterface found;
    for (uint32_t index = 0; index < maxInterfaces && lookup(index, &found); ++index) {
        uint16_t foundVendor = 0;
        uint16_t foundProduct = 0;
        interfaceIds(found, &foundVendor, &foundProduct);
        if (foundVendor != vendorId || (productId != anyProduct && foundProduct != productId))
            continue;
        if (records != nullptr && matches < recordCount) {
            xdsp_device_record &record = records[matches];
            record.matchNumber = matches;
            record.hidIndex = index;
            boundedCopy(record.devicePath, XDSP_DEVICE_PATH_CHARS, found.path);
        }
        // compat: counted also when no record is left for it, so a caller can size
        // its array from a first call with none.
        ++matches;
    }
    os::setLastError(os::error::success);
    return matches;
}

} // namespace xdsp::discovery
