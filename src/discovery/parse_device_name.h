#pragma once

#include "frame/text.h"

#include <cstdint>

namespace xdsp::discovery {

// Ids from the lower-case "vid_", "pid_" and "mi_" fields of a device path;
// returns the device instance just past the '#' that ends them, or null.
const Char16 *parseDeviceName(const Char16 *path, uint16_t *vendorId, uint16_t *productId,
                              uint16_t *interfaceNumber);

} // namespace xdsp::discovery
