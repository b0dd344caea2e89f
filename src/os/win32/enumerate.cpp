// The present HID interfaces by index, each lookup against a fresh list of the
// system's, so that an index means what is plugged in at that moment.
#include "os/win32/hid_class.h"
#include "os/win32/interface_detail.h"
#include "os/win32/win32.h"

#include <new>
#include <setupapi.h>

namespace xdsp::os {

namespace {
constexpr uint32_t hidIndexLimit = 64;
// Detail records below this size go to a buffer on the stack, larger ones to
// a heap block of exactly their size.
constexpr DWORD smallDetailBytes = 262;

bool fetchPath(HDEVINFO set, const GUID &hidClass, uint32_t index, HidInterface *out) {
    SP_DEVICE_INTERFACE_DATA interfaceData{};
    interfaceData.cbSize = sizeof interfaceData;
    if (!SetupDiEnumDeviceInterfaces(set, nullptr, &hidClass, index, &interfaceData))
        return false;

    SP_DEVINFO_DATA deviceInfo{};
    deviceInfo.cbSize = sizeof deviceInfo;
    DWORD required = 0;
    SetupDiGetDeviceInterfaceDetailW(set, &interfaceData, nullptr, 0, &required, &deviceInfo);
    if (required < sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W))
        return false;

    alignas(SP_DEVICE_INTERFACE_DETAIL_DATA_W) BYTE smallDetail[smallDetailBytes];
    BYTE *block = required < smallDetailBytes ? smallDetail : new (std::nothrow) BYTE[required];
    if (block == nullptr)
        return false;
    auto *detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W *>(block);
    prepareDetail(detail);
    bool fetched = SetupDiGetDeviceInterfaceDetailW(set, &interfaceData, detail, required, nullptr,
                                                    &deviceInfo) != FALSE;
    if (fetched)
        takeDevicePath(detail, required, out);
    if (block != smallDetail)
        delete[] block;
    return fetched;
}
} // namespace

bool hidInterfaceAt(uint32_t index, HidInterface *out) {
    if (out == nullptr || index >= hidIndexLimit)
        return false;
    GUID hidClass;
    HidD_GetHidGuid(&hidClass);
    HDEVINFO set =
        SetupDiGetClassDevsW(&hidClass, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE);
    if (set == INVALID_HANDLE_VALUE)
        return false;
    bool found = fetchPath(set, hidClass, index, out);
    SetupDiDestroyDeviceInfoList(set);
    return found;
}

} // namespace xdsp::os
