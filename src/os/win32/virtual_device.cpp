// Opening half of the virtual-device contract on Windows.
#include "os/win32/virtual_device.h"

#include "os/report_descriptor.h"
#include "os/win32/device_table.h"

namespace xdsp::os {

namespace {
constexpr DWORD descriptorWaitMs = 1000;
constexpr DWORD descriptorPollMs = 1;
constexpr DWORD maxDescriptorSize = 4096;

bool fail(HANDLE pipe, uint32_t code, uint32_t *errorOut) {
    CloseHandle(pipe);
    reportError(errorOut, code);
    return false;
}

bool deviceHungUp(DWORD code) {
    return code == ERROR_BROKEN_PIPE || code == ERROR_NO_DATA || code == ERROR_PIPE_NOT_CONNECTED;
}

// The handle stays synchronous so that reads and writes later are plain
// blocking calls that CancelSynchronousIo can release; a synchronous ReadFile
// cannot time out, so the wait for the descriptor peeks until a message is
// there and only then reads it.
DWORD waitForMessage(HANDLE pipe) {
    DWORD start = GetTickCount();
    for (;;) {
        DWORD available = 0;
        if (!PeekNamedPipe(pipe, nullptr, 0, nullptr, &available, nullptr))
            return GetLastError();
        if (available > 0)
            return ERROR_SUCCESS;
        if (GetTickCount() - start >= descriptorWaitMs)
            return WAIT_TIMEOUT;
        Sleep(descriptorPollMs);
    }
}
} // namespace

bool startVirtualDevice(HANDLE pipe, uint32_t *errorOut) {
    // A device that hangs up at once is serving another host; it may do so
    // before the mode is set or while the descriptor is awaited.
    DWORD mode = PIPE_READMODE_MESSAGE;
    if (!SetNamedPipeHandleState(pipe, &mode, nullptr, nullptr)) {
        DWORD code = GetLastError();
        return fail(pipe, deviceHungUp(code) ? error::sharingViolation : code, errorOut);
    }

    DWORD waited = waitForMessage(pipe);
    if (deviceHungUp(waited))
        return fail(pipe, error::sharingViolation, errorOut);
    if (waited != ERROR_SUCCESS)
        return fail(pipe, error::internalError, errorOut);

    uint8_t descriptor[maxDescriptorSize];
    DWORD received = 0;
    // A message longer than the buffer (234) is no descriptor of this contract.
    if (!ReadFile(pipe, descriptor, maxDescriptorSize, &received, nullptr))
        return fail(pipe, error::internalError, errorOut);
    ReportLengths lengths;
    if (!parseReportDescriptor(descriptor, received, &lengths, nullptr))
        return fail(pipe, error::internalError, errorOut);
    if (!rememberVirtualLengths(pipe, lengths))
        return fail(pipe, error::notEnoughMemory, errorOut);
    return true;
}

} // namespace xdsp::os
