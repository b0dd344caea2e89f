// The serial port that shares a composite USB device with a HID interface.
#pragma once

#include "frame/text.h"
#include "os/os.h"

namespace xdsp::discovery {

// Follows the device instances under the registry's USB branch from the HID
// interface at hidPath to its sibling on interface 0 and reads that sibling's
// friendly name. Writes "\\.\" and the port name into portPath (260
// characters) and the friendly name into friendlyName (64 characters); the bare
// prefix and an empty name when nothing is found. A null registry finds nothing.
void serialCompanion(const os::Registry *registry, const Char16 *hidPath, Char16 *portPath,
                     Char16 *friendlyName);

// The export: the system's device tree where it names the HID path, else the
// system's registry. Null outputs are skipped; the last-error is left alone.
void matchingComDevice(const Char16 *hidPath, Char16 *portPath, Char16 *friendlyName);

} // namespace xdsp::discovery
