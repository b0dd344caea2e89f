#include "bootloader/framing.h"

extern "C" {

XDSP_EXPORT void XDSP_API XMOSSPI_SetReadPrefix(int32_t enable) {
    // compat: only 1 switches it on; 2 and -1 are "off" as much as 0 is, as existing
    // callers have always found.
    xdsp::bootloader::setReadPrefix(enable == 1);
}

XDSP_EXPORT int32_t XDSP_API XMOSSPI_GetReadPrefix(void) {
    return xdsp::bootloader::readPrefixOn() ? 1 : 0;
}
}
