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
}
#endif
