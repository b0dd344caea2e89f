// Finding the first device interface of a class whose ids match a given path.
#include "discovery/matching_device.h"
#include "discovery/enumerate.h"
#include "discovery/parse_device_name.h"
#include "frame/bounded_string.h"
#include "frame/debug.h"

namespace xdsp::discovery {

namespace {
void writeGuidLine(const Char16 *format, const xdsp_guid &guid) {
    debugFormat(format, guid.data1, guid.data2, guid.data3, guid.data4[0], guid.data4[1],
                guid.data4[2], guid.data4[3], guid.data4[4], guid.data4[5], guid.data4[6],
                guid.data4[7]);
}

bool matches(const os::HidInterface &found, uint16_t vendorId, uint16_t productId) {
    uint16_t foundVendor = 0;
    uint16_t foundProduct = 0;
    return interfaceIds(found, &foundVendor, &foundProduct) && foundVendor == vendorId &&
           foundProduct == productId;
}

enum class Walk { matched, finished, failed };

Walk walkInterfaceClass(os::ClassSet *set, const xdsp_guid &interfaceClass, uint16_t vendorId,
                        uint16_t productId, Char16 *pathOut, uint32_t *errorOut) {
    os::HidInterface found;
    for (uint32_t index = 0; pathOut[0] == 0; ++index) {
        // compat: one line per index tried, as logs have always shown it.
        writeGuidLine(WIDE("Selected: {%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}\n"),
                      interfaceClass);
        switch (os::classInterfaceAt(set, index, &found, errorOut)) {
        case os::EnumStep::found:
            if (matches(found, vendorId, productId))
                boundedCopy(pathOut, XDSP_DEVICE_PATH_CHARS, found.path);
            break;
        case os::EnumStep::failed:
            return Walk::failed;
        case os::EnumStep::end:
        case os::EnumStep::skip:
            return Walk::finished;
        }
    }
    return Walk::matched;
}

Walk walkAllClasses(os::ClassSet *set, uint16_t vendorId, uint16_t productId, Char16 *pathOut,
                    uint32_t *errorOut) {
    os::HidInterface found;
    for (uint32_t device = 0; pathOut[0] == 0; ++device) {
        xdsp_guid deviceClass{};
        os::EnumStep step = os::classDeviceAt(set, device, &deviceClass, errorOut);
        if (step == os::EnumStep::failed)
            return Walk::failed;
        if (step != os::EnumStep::found)
            return Walk::finished;
        // compat: the leading blank stays, as logs have always shown the line.
        writeGuidLine(WIDE(" Testing: {%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}\n"),
                      deviceClass);
        for (uint32_t member = 0; pathOut[0] == 0; ++member) {
            step = os::classDeviceInterfaceAt(set, device, &deviceClass, member, &found, errorOut);
            if (step == os::EnumStep::failed)
                return Walk::failed;
            if (step != os::EnumStep::found)
                break;
            if (matches(found, vendorId, productId))
                boundedCopy(pathOut, XDSP_DEVICE_PATH_CHARS, found.path);
        }
    }
    return Walk::matched;
}
} // namespace

bool matchingDevice(const Char16 *idString, Char16 *pathOut, const xdsp_guid *interfaceClass) {
    uint16_t vendorId = 0;
    uint16_t productId = 0;
    uint16_t interfaceNumber = 0;
    parseDeviceName(idString, &vendorId, &productId, &interfaceNumber);
    os::ClassSet *set = os::classSetOpen(interfaceClass);
    if (set == nullptr)
        return false;
    uint32_t error = 0;
    Walk walk = Walk::matched;
    // compat: an output buffer that is not empty ends the call at once with TRUE.
    if (pathOut[0] == 0)
        walk = interfaceClass != nullptr
                   ? walkInterfaceClass(set, *interfaceClass, vendorId, productId, pathOut, &error)
                   : walkAllClasses(set, vendorId, productId, pathOut, &error);
    os::classSetClose(set);
    if (walk == Walk::failed) {
        os::setLastError(error);
        return false;
    }
    return pathOut[0] != 0;
}

} // namespace xdsp::discovery
