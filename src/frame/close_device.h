// Closing a handle that discovery opened, for callers without the system's
// own close (the Linux library).
#pragma once

#include "xdsp/xdsp.h"

namespace xdsp::frame {

// False with last-error 6 for a NULL handle.
bool closeDevice(xdsp_handle device);

} // namespace xdsp::frame
