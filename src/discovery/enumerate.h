#pragma once

#include "os/os.h"

namespace xdsp::discovery {

// Looks up one index of the system's HID interface list.
using InterfaceLookup = bool (*)(uint32_t index, os::HidInterface *out);

// Counts matching interfaces among the first 64, writing up to recordCount
// records when records is not null.
uint32_t enumerateDevices(InterfaceLookup lookup, uint16_t vendorId, uint16_t productId,
                          xdsp_device_record *records, uint32_t recordCount);

// The ids of an interface: from the system when it knows them, else from the path.
bool interfaceIds(const os::HidInterface &found, uint16_t *vendorId, uint16_t *productId);

} // namespace xdsp::discovery
