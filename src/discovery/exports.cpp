// Discovery's exported functions.
#include "discovery/enumerate.h"
#include "discovery/matching_device.h"
#include "discovery/open_device.h"
#include "discovery/parse_device_name.h"
#include "discovery/serial_companion.h"

static_assert(sizeof(xdsp_device_record) == XDSP_DEVICE_RECORD_SIZE,
              "callers allocate arrays of records");

extern "C" {

XDSP_EXPORT uint32_t XDSP_API EnumUSBHIDDevices(uint16_t vendorId, uint16_t productId,
                                                xdsp_device_record *records, uint32_t recordCount) {
    return xdsp::discovery::enumerateDevices(xdsp::os::hidInterfaceAt, vendorId, productId, records,
                                             recordCount);
}

XDSP_EXPORT xdsp_handle XDSP_API OpenUSBHIDDevicePath(const xdsp_char16 *devicePath) {
    return xdsp::discovery::openDevicePath(devicePath);
}

XDSP_EXPORT xdsp_handle XDSP_API OpenUSBHIDDevice(const xdsp_device_record *record) {
    if (record == nullptr) {
        xdsp::os::setLastError(xdsp::os::error::invalidParameter);
        return nullptr;
    }
    return xdsp::discovery::openDevicePath(record->devicePath);
}

XDSP_EXPORT xdsp_boolean XDSP_API GetHIDUSBSizes(xdsp_handle device, uint32_t *inputLength,
                                                 uint32_t *outputLength, uint32_t *featureLength) {
    return xdsp::discovery::reportSizes(static_cast<xdsp::os::Device *>(device), inputLength,
                                        outputLength, featureLength)
               ? 1
               : 0;
}

XDSP_EXPORT xdsp_bool XDSP_API GetMatchingHID_Device(const xdsp_char16 *idString,
                                                     xdsp_char16 *pathOut,
                                                     const xdsp_guid *interfaceClass) {
    if (idString == nullptr || pathOut == nullptr) {
        xdsp::os::setLastError(xdsp::os::error::invalidParameter);
        return 0;
    }
    return xdsp::discovery::matchingDevice(idString, pathOut, interfaceClass) ? 1 : 0;
}

XDSP_EXPORT const xdsp_char16 *XDSP_API ParseDeviceName(const xdsp_char16 *devicePath,
                                                        uint16_t *vendorId, uint16_t *productId,
                                                        uint16_t *interfaceNumber) {
    uint16_t unusedVendor = 0;
    uint16_t unusedProduct = 0;
    uint16_t unusedInterface = 0;
    vendorId = vendorId != nullptr ? vendorId : &unusedVendor;
    productId = productId != nullptr ? productId : &unusedProduct;
    interfaceNumber = interfaceNumber != nullptr ? interfaceNumber : &unusedInterface;
    if (devicePath == nullptr) {
        *vendorId = *productId = *interfaceNumber = 0;
        return nullptr;
    }
    return xdsp::discovery::parseDeviceName(devicePath, vendorId, productId, interfaceNumber);
}

XDSP_EXPORT xdsp_bool XDSP_API GetMatchingHID_COMDevice(const xdsp_char16 *hidPath,
                                                        xdsp_char16 *portPath,
                                                        xdsp_char16 *friendlyName) {
    xdsp::discovery::matchingComDevice(hidPath, portPath, friendlyName);
    // compat: always TRUE and the last-error left alone; the outputs tell the result.
    return 1;
}
}
