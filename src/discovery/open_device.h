// Opening a device path and reading its report lengths.
#pragma once

#include "frame/text.h"
#include "os/os.h"

namespace xdsp::discovery {

// Exclusive open for reading and writing. On failure writes the CreateFile
// error line, sets the code as last-error and returns null.
os::Device *openDevicePath(const Char16 *devicePath);

// Each non-null output is set to 0, then to its length when that is not 0.
bool reportSizes(os::Device *device, uint32_t *inputLength, uint32_t *outputLength,
                 uint32_t *featureLength);

} // namespace xdsp::discovery
