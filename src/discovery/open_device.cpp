#include "discovery/open_device.h"
#include "frame/debug.h"

#include <initializer_list>

namespace xdsp::discovery {

os::Device *openDevicePath(const Char16 *devicePath) {
    uint32_t error = 0;
    os::Device *device = os::deviceOpen(devicePath, &error);
    if (device != nullptr) {
        os::setLastError(os::error::success);
        return device;
    }
    debugErrorLine(WIDE("HID: CreateFile Error: "), error);
    os::setLastError(error);
    return nullptr;
}

bool reportSizes(os::Device *device, uint32_t *inputLength, uint32_t *outputLength,
                 uint32_t *featureLength) {
    for (uint32_t *output : {inputLength, outputLength, featureLength})
        if (output != nullptr)
            *output = 0;
    os::ReportLengths lengths;
    if (device == nullptr || !os::deviceReportLengths(device, &lengths))
        return false;
    if (inputLength != nullptr && lengths.input != 0)
        *inputLength = lengths.input;
    if (outputLength != nullptr && lengths.output != 0)
        *outputLength = lengths.output;
    if (featureLength != nullptr && lengths.feature != 0)
        *featureLength = lengths.feature;
    return true;
}

} // namespace xdsp::discovery
