// The link's exported functions.
#include "link/open_close.h"
#include "link/poll_run.h"
#include "link/transaction.h"

// Every export acts on the one link of the process.
using xdsp::link::processLink;

extern "C" {

XDSP_EXPORT void XDSP_API SendCommand(uint16_t commandCode) {
    xdsp::link::sendCommand(processLink(), commandCode);
}

XDSP_EXPORT xdsp_bool XDSP_API InitializeHIDUSBPacketPath(const xdsp_char16 *devicePath) {
    return xdsp::link::openLink(processLink(), devicePath) ? 1 : 0;
}

XDSP_EXPORT xdsp_bool XDSP_API InitializeHIDUSBPacket(const xdsp_device_record *record) {
    if (record == nullptr) {
        xdsp::os::setLastError(xdsp::os::error::invalidParameter);
        return 0;
    }
    return InitializeHIDUSBPacketPath(record->devicePath);
}

XDSP_EXPORT xdsp_bool XDSP_API DestroyHIDUSBPacket(void) {
    if (!xdsp::link::closeLink(processLink())) {
        xdsp::os::setLastError(xdsp::os::error::deviceUnavailable);
        return 0;
    }
    xdsp::os::setLastError(xdsp::os::error::success);
    return 1;
}

XDSP_EXPORT xdsp_bool XDSP_API IsOnline(void) {
    return xdsp::link::linkOnline(processLink()) ? 1 : 0;
}
}
