// Taking a device path out of a SetupDi interface detail record.
#pragma once

#include "os/win32/win32.h"

#include <setupapi.h>

namespace xdsp::os {

// The record's size field names the fixed part of the platform's own layout
// (6 bytes on x86, 8 on x64); the system refuses any other value.
inline void prepareDetail(SP_DEVICE_INTERFACE_DETAIL_DATA_W *detail) {
    detail->cbSize = sizeof(SP_DEVICE_INTERFACE_DETAIL_DATA_W);
}

// Copies the path of a detail record that lies in bufferBytes bytes, cut to
// the path field and never read past the buffer. The ids are left to the
// caller's parsing of the path.
inline void takeDevicePath(const SP_DEVICE_INTERFACE_DETAIL_DATA_W *detail, size_t bufferBytes,
                           HidInterface *out) {
    constexpr size_t pathOffset = offsetof(SP_DEVICE_INTERFACE_DETAIL_DATA_W, DevicePath);
    size_t available = bufferBytes > pathOffset ? (bufferBytes - pathOffset) / sizeof(WCHAR) : 0;
    const WCHAR *path = detail->DevicePath;
    size_t length = 0;
    while (length < available && length + 1 < XDSP_DEVICE_PATH_CHARS && path[length] != 0) {
        out->path[length] = path[length];
        ++length;
    }
    out->path[length] = 0;
    out->hasIds = false;
    out->vendorId = 0;
    out->productId = 0;
    out->interfaceNumber = 0;
}

} // namespace xdsp::os
