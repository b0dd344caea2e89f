// The frame's exported functions: the version query, and on Linux the
// last-error, sink and close entry points that Windows callers get from the
// system.
#include "frame/close_device.h"
#include "frame/version.h"
#include "os/os.h"
#include "xdsp/xdsp.h"

extern "C" {

XDSP_EXPORT xdsp_hresult XDSP_API DllGetVersion(xdsp_dll_version_info *info) {
    return xdsp::frame::fillVersionInfo(info);
}

#ifndef _WIN32
XDSP_EXPORT uint32_t xdsp_last_error(void) {
    return xdsp::os::lastError();
}

XDSP_EXPORT void xdsp_set_last_error(uint32_t code) {
    xdsp::os::setLastError(code);
}

XDSP_EXPORT void xdsp_set_debug_handler(xdsp_debug_handler handler, void *context) {
    xdsp::os::setDebugSink(handler, context);
}

XDSP_EXPORT void xdsp_set_message_handler(xdsp_message_handler handler, void *context) {
    xdsp::os::setMessageSink(handler, context);
}

XDSP_EXPORT xdsp_bool xdsp_close_device(xdsp_handle device) {
    return xdsp::frame::closeDevice(device) ? 1 : 0;
}
#endif
}
