// HID interfaces and their USB devices as sysfs shows them; the root is a
// parameter so that tests can walk a fixture tree.
#pragma once

#include "os/os.h"

#include <cstddef>

namespace xdsp::os {

// Reads a small text file whole; false when it cannot be read.
bool readText(const char *path, char *out, size_t capacity);

// The index-th hidraw node in numeric order under sysfsRoot/class/hidraw.
bool hidInterfaceAtRoot(const char *sysfsRoot, uint32_t index, HidInterface *out);

// For a /dev/hidrawN path: the tty on interface 0 of the USB device behind the
// node, as the friendly name "<product> (ttyACMn)" (64 characters, cut) and
// the port path "/dev/ttyACMn"; both empty when there is none. False for any
// other path.
bool serialPortAtRoot(const char *sysfsRoot, const Char16 *hidPath, Char16 *friendlyName,
                      Char16 *portPath);

} // namespace xdsp::os
