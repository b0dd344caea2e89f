// The boot loader's exported functions.
#include "bootloader/framing.h"
#include "xdsp/xdsp.h"

extern "C" {

XDSP_EXPORT void XDSP_API XMOSBoot_Flush(void) {
    xdsp::bootloader::flush();
}
}
