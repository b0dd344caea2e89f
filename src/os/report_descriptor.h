// Report lengths from a HID report descriptor, computed as the Windows HID
// class computes them, for devices whose capabilities the system does not give.
#pragma once

#include "os/os.h"

namespace xdsp::os {

// False for a descriptor that ends inside an item, overflows its state stack
// or describes a report longer than 65535 bytes.
bool parseReportDescriptor(const uint8_t *data, size_t size, ReportLengths *lengths,
                           bool *usesReportIds);

} // namespace xdsp::os
