// What the Windows files share: the system headers, and the rule that the
// library's opaque records are the system's own handles.
#pragma once

#include "os/os.h"

#include <cstddef>
#include <type_traits>
#include <windows.h>

namespace xdsp::os {

// The device handle that callers hold is the system handle itself, so a
// handle from the library can be given to any Win32 call and back.
inline HANDLE systemHandle(Device *device) {
    return reinterpret_cast<HANDLE>(device);
}
inline Device *libraryDevice(HANDLE handle) {
    return reinterpret_cast<Device *>(handle);
}

inline HANDLE systemThread(Thread *thread) {
    return reinterpret_cast<HANDLE>(thread);
}

inline bool isOpenHandle(HANDLE handle) {
    return handle != nullptr && handle != INVALID_HANDLE_VALUE;
}

// Stores a code where the caller asked for it; a null pointer drops it.
inline void reportError(uint32_t *errorOut, uint32_t code) {
    if (errorOut != nullptr)
        *errorOut = code;
}

static_assert(sizeof(xdsp_guid) == sizeof(GUID));
static_assert(offsetof(xdsp_guid, data1) == offsetof(GUID, Data1));
static_assert(offsetof(xdsp_guid, data2) == offsetof(GUID, Data2));
static_assert(offsetof(xdsp_guid, data3) == offsetof(GUID, Data3));
static_assert(offsetof(xdsp_guid, data4) == offsetof(GUID, Data4));
static_assert(std::is_same_v<Char16, WCHAR>); // core text goes to the W calls as it is

inline GUID systemGuid(const xdsp_guid &guid) {
    GUID result;
    CopyMemory(&result, &guid, sizeof result);
    return result;
}

inline xdsp_guid libraryGuid(const GUID &guid) {
    xdsp_guid result;
    CopyMemory(&result, &guid, sizeof result);
    return result;
}

} // namespace xdsp::os
