// The link's exported functions.
#include "link/link_state.h"
#include "link/open_close.h"

extern "C" {

XDSP_EXPORT void XDSP_API SendCommand(uint16_t commandCode) {
    using namespace xdsp::link;
    uint8_t *staging = publishedStaging.load();
    PollRun *run = currentRun.load();
    if (staging == nullptr || run == nullptr)
        return;
    sendCommandOn(run, staging, commandCode);
}

XDSP_EXPORT xdsp_bool XDSP_API InitializeHIDUSBPacketPath(const xdsp_char16 *devicePath) {
    return xdsp::link::openLink(devicePath) ? 1 : 0;
}

XDSP_EXPORT xdsp_bool XDSP_API InitializeHIDUSBPacket(const xdsp_device_record *record) {
    if (record == nullptr) {
        xdsp::os::setLastError(xdsp::os::error::invalidParameter);
        return 0;
    }
    return InitializeHIDUSBPacketPath(record->devicePath);
}

XDSP_EXPORT xdsp_bool XDSP_API DestroyHIDUSBPacket(void) {
    if (!xdsp::link::closeLink()) {
        xdsp::os::setLastError(xdsp::os::error::deviceUnavailable);
        return 0;
    }
    xdsp::os::setLastError(xdsp::os::error::success);
    return 1;
}

XDSP_EXPORT xdsp_bool XDSP_API IsOnline(void) {
    return xdsp::link::linkOnline() ? 1 : 0;
}
}
