// A virtual device is a message-mode named pipe whose first message is the
// HID report descriptor it plays.
#pragma once

#include "os/win32/win32.h"

namespace xdsp::os {

// Takes over a freshly opened pipe handle: switches it to message reads,
// takes the descriptor and keeps its report lengths. On failure the handle is
// closed and false returned with *errorOut set.
bool startVirtualDevice(HANDLE pipe, uint32_t *errorOut);

} // namespace xdsp::os
