// Device I/O for the Windows build: HID interfaces and virtual devices on
// named pipes, both through synchronous file handles.
#include "os/win32/device_table.h"
#include "os/win32/hid_class.h"
#include "os/win32/virtual_device.h"
#include "os/win32/win32.h"

namespace xdsp::os {

namespace {
// Codes that mean the device went away (an unplugged board, a virtual device that
// closed its pipe). The poll thread reopens only on 6; any other code would have it
// retry the write forever instead of reconnecting.
uint32_t libraryCode(DWORD code) {
    switch (code) {
    case ERROR_BROKEN_PIPE:
    case ERROR_NO_DATA:
    case ERROR_PIPE_NOT_CONNECTED:
    case ERROR_DEVICE_NOT_CONNECTED:
        return error::invalidHandle;
    default:
        return code;
    }
}

bool isPipe(HANDLE handle) {
    return GetFileType(handle) == FILE_TYPE_PIPE;
}

bool hidReportLengths(HANDLE handle, ReportLengths *lengths) {
    PHIDP_PREPARSED_DATA preparsed = nullptr;
    if (!HidD_GetPreparsedData(handle, &preparsed))
        return false;
    HIDP_CAPS caps{};
    if (HidP_GetCaps(preparsed, &caps) == HIDP_STATUS_SUCCESS) {
        lengths->input = caps.InputReportByteLength;
        lengths->output = caps.OutputReportByteLength;
        lengths->feature = caps.FeatureReportByteLength;
    }
    return HidD_FreePreparsedData(preparsed) != FALSE;
}
} // namespace

Device *deviceOpen(const Char16 *path, uint32_t *errorOut) {
    if (path == nullptr) {
        reportError(errorOut, error::invalidParameter);
        return nullptr;
    }
    HANDLE handle =
        CreateFileW(path, GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    if (!isOpenHandle(handle)) {
        DWORD code = GetLastError();
        // A pipe whose one instance is taken is a device held by another host.
        reportError(errorOut, code == ERROR_PIPE_BUSY ? error::sharingViolation : code);
        return nullptr;
    }
    forgetHandle(handle);
    if (isPipe(handle) && !startVirtualDevice(handle, errorOut))
        return nullptr;
    return libraryDevice(handle);
}

void deviceClose(Device *device) {
    HANDLE handle = systemHandle(device);
    if (!isOpenHandle(handle))
        return;
    forgetHandle(handle);
    CloseHandle(handle);
}

bool deviceWrite(Device *device, const uint8_t *report, size_t length, uint32_t *errorOut) {
    HANDLE handle = systemHandle(device);
    if (!isOpenHandle(handle)) {
        reportError(errorOut, error::invalidHandle);
        return false;
    }
    if ((report == nullptr && length != 0) || length > MAXDWORD) {
        reportError(errorOut, error::invalidParameter);
        return false;
    }
    if (isCancelled(handle)) {
        reportError(errorOut, error::operationAborted);
        return false;
    }
    DWORD written = 0;
    if (!WriteFile(handle, report, static_cast<DWORD>(length), &written, nullptr)) {
        reportError(errorOut, libraryCode(GetLastError()));
        return false;
    }
    return true;
}

bool deviceRead(Device *device, uint8_t *buffer, size_t length, size_t *received,
                uint32_t *errorOut) {
    HANDLE handle = systemHandle(device);
    if (received != nullptr)
        *received = 0;
    if (!isOpenHandle(handle)) {
        reportError(errorOut, error::invalidHandle);
        return false;
    }
    if ((buffer == nullptr && length != 0) || length > MAXDWORD) {
        reportError(errorOut, error::invalidParameter);
        return false;
    }
    if (isCancelled(handle)) {
        reportError(errorOut, error::operationAborted);
        return false;
    }
    DWORD count = 0;
    if (!ReadFile(handle, buffer, static_cast<DWORD>(length), &count, nullptr)) {
        DWORD code = GetLastError();
        // A message-mode pipe hands over what fits; the caller asked for no more.
        if (code != ERROR_MORE_DATA) {
            reportError(errorOut, libraryCode(code));
            return false;
        }
    }
    if (received != nullptr)
        *received = count;
    return true;
}

void deviceCancel(Device *device, Thread *blockedThread) {
    HANDLE handle = systemHandle(device);
    // The mark fails the next call too, for a thread that is not blocked yet.
    markCancelled(handle);
    if (blockedThread != nullptr)
        CancelSynchronousIo(systemThread(blockedThread));
    if (isOpenHandle(handle))
        CancelIoEx(handle, nullptr);
}

bool deviceReportLengths(Device *device, ReportLengths *lengths) {
    HANDLE handle = systemHandle(device);
    if (!isOpenHandle(handle))
        return false;
    ReportLengths found;
    // The pipe test keeps a stale entry from answering for a reused handle value.
    bool known = isPipe(handle) ? virtualLengths(handle, &found) : hidReportLengths(handle, &found);
    if (known && lengths != nullptr)
        *lengths = found;
    return known;
}

} // namespace xdsp::os
