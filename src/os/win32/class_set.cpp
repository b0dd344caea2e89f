// Device-information sets for the lookups that walk one interface class, or
// every device of every class and the interfaces of each.
#include "os/win32/interface_detail.h"
#include "os/win32/win32.h"

#include <new>
#include <setupapi.h>

namespace xdsp::os {

struct ClassSet {
    HDEVINFO info;
    GUID interfaceClass; // the walked class; unused for an all-classes set
};

namespace {
// Room for any interface path the system gives, so no size is asked first.
constexpr DWORD detailBytes = 4126;

EnumStep stepAfterFailure(uint32_t *errorOut) {
    DWORD code = GetLastError();
    if (code == ERROR_NO_MORE_ITEMS)
        return EnumStep::end;
    reportError(errorOut, code);
    return EnumStep::failed;
}

bool fetchPath(HDEVINFO info, SP_DEVICE_INTERFACE_DATA *interfaceData, SP_DEVINFO_DATA *deviceInfo,
               HidInterface *out) {
    alignas(SP_DEVICE_INTERFACE_DETAIL_DATA_W) BYTE buffer[detailBytes];
    auto *detail = reinterpret_cast<SP_DEVICE_INTERFACE_DETAIL_DATA_W *>(buffer);
    prepareDetail(detail);
    if (!SetupDiGetDeviceInterfaceDetailW(info, interfaceData, detail, detailBytes, nullptr,
                                          deviceInfo))
        return false;
    takeDevicePath(detail, detailBytes, out);
    return true;
}

bool argumentsGiven(bool given, uint32_t *errorOut) {
    if (!given)
        reportError(errorOut, error::invalidParameter);
    return given;
}
} // namespace

ClassSet *classSetOpen(const xdsp_guid *interfaceClass) {
    GUID walked{};
    HDEVINFO info;
    if (interfaceClass != nullptr) {
        walked = systemGuid(*interfaceClass);
        info =
            SetupDiGetClassDevsW(&walked, nullptr, nullptr, DIGCF_PRESENT | DIGCF_DEVICEINTERFACE);
    } else {
        info = SetupDiGetClassDevsW(nullptr, nullptr, nullptr, DIGCF_PRESENT | DIGCF_ALLCLASSES);
    }
    if (info == INVALID_HANDLE_VALUE)
        return nullptr;
    auto *set = new (std::nothrow) ClassSet{info, walked};
    if (set == nullptr) {
        SetupDiDestroyDeviceInfoList(info);
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    }
    return set;
}

void classSetClose(ClassSet *set) {
    if (set == nullptr)
        return;
    SetupDiDestroyDeviceInfoList(set->info);
    delete set;
}

EnumStep classInterfaceAt(ClassSet *set, uint32_t index, HidInterface *out, uint32_t *errorOut) {
    if (!argumentsGiven(set != nullptr && out != nullptr, errorOut))
        return EnumStep::failed;
    SP_DEVICE_INTERFACE_DATA interfaceData{};
    interfaceData.cbSize = sizeof interfaceData;
    if (!SetupDiEnumDeviceInterfaces(set->info, nullptr, &set->interfaceClass, index,
                                     &interfaceData))
        return stepAfterFailure(errorOut);
    SP_DEVINFO_DATA deviceInfo{};
    deviceInfo.cbSize = sizeof deviceInfo;
    return fetchPath(set->info, &interfaceData, &deviceInfo, out) ? EnumStep::found
                                                                  : EnumStep::skip;
}

EnumStep classDeviceAt(ClassSet *set, uint32_t index, xdsp_guid *classOut, uint32_t *errorOut) {
    if (!argumentsGiven(set != nullptr && classOut != nullptr, errorOut))
        return EnumStep::failed;
    SP_DEVINFO_DATA deviceInfo{};
    deviceInfo.cbSize = sizeof deviceInfo;
    if (!SetupDiEnumDeviceInfo(set->info, index, &deviceInfo))
        return stepAfterFailure(errorOut);
    *classOut = libraryGuid(deviceInfo.ClassGuid);
    return EnumStep::found;
}

EnumStep classDeviceInterfaceAt(ClassSet *set, uint32_t deviceIndex, const xdsp_guid *deviceClass,
                                uint32_t interfaceIndex, HidInterface *out, uint32_t *errorOut) {
    if (!argumentsGiven(set != nullptr && out != nullptr && deviceClass != nullptr, errorOut))
        return EnumStep::failed;
    SP_DEVINFO_DATA deviceInfo{};
    deviceInfo.cbSize = sizeof deviceInfo;
    if (!SetupDiEnumDeviceInfo(set->info, deviceIndex, &deviceInfo))
        return stepAfterFailure(errorOut);
    GUID walked = systemGuid(*deviceClass);
    SP_DEVICE_INTERFACE_DATA interfaceData{};
    interfaceData.cbSize = sizeof interfaceData;
    if (!SetupDiEnumDeviceInterfaces(set->info, &deviceInfo, &walked, interfaceIndex,
                                     &interfaceData))
        return stepAfterFailure(errorOut);
    return fetchPath(set->info, &interfaceData, nullptr, out) ? EnumStep::found : EnumStep::skip;
}

} // namespace xdsp::os
