// HID interfaces as sysfs shows them; the root is a parameter so that tests
// can walk a fixture tree.
#pragma once

#include "os/os.h"

namespace xdsp::os {

// The index-th hidraw node in numeric order under sysfsRoot/class/hidraw.
bool hidInterfaceAtRoot(const char *sysfsRoot, uint32_t index, HidInterface *out);

} // namespace xdsp::os
