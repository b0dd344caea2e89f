// Last-error and sink entry points that Windows callers get from the system.
#ifndef _WIN32
#include "os/os.h"

extern "C" {

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
    if (device == nullptr) {
        xdsp::os::setLastError(xdsp::os::error::invalidHandle);
        return 0;
    }
    xdsp::os::deviceClose(static_cast<xdsp::os::Device *>(device));
    return 1;
}
}
#endif
