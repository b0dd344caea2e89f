/**
 * @file link.h
 * @brief The flat API's link: the library's version, opening and closing the
 * board of the process, finding boards and their serial ports. Included by
 * xdsp.h.
 */
#ifndef XDSP_LINK_H
#define XDSP_LINK_H

#include "xdsp/types.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup xdsp_frame Frame
 * @brief The library's version.
 * @{
 */

/**
 * Fills a version record: major version 1, minor version 0x00010000, build 1,
 * platform 2, and in the second form flags 0 and version 0x0001000100000000.
 * @param info the record; a cbSize of at least 20 fills the first form, of at
 *        least 32 the second one too.
 * @return 0 (S_OK); 0x80004003 for NULL, 0x80004002 for cbSize below 20
 *         (nothing written).
 * @par Last-error
 * Left alone.
 * @par Threads
 * Any thread, at any time.
 */
XDSP_EXPORT xdsp_hresult XDSP_API DllGetVersion(xdsp_dll_version_info *info);

/** @} */

/**
 * @defgroup xdsp_link Link
 * @brief Opening and closing the one board of the process, and staging
 *        commands.
 * @{
 */

/**
 * Stages the header of the next output report with this command code and the
 * current GPIO output word, and hands it to the poll thread. Does nothing when
 * no poll thread runs. Callers write payload fields before calling it.
 * @param commandCode the command code of the output report.
 * @par Last-error
 * Left alone.
 * @par Threads
 * Any thread; takes the link lock while it builds the header. One command at a
 * time.
 */
XDSP_EXPORT void XDSP_API SendCommand(uint16_t commandCode);

/**
 * Opens the board at the record's device path; as InitializeHIDUSBPacketPath().
 * @param record an enumerated interface (EnumUSBHIDDevices()).
 * @return TRUE or FALSE, as InitializeHIDUSBPacketPath(); FALSE for NULL.
 * @par Last-error
 * As InitializeHIDUSBPacketPath(); 87 for NULL.
 * @par Threads
 * While no other call into the library is under way.
 */
XDSP_EXPORT xdsp_bool XDSP_API InitializeHIDUSBPacket(const xdsp_device_record *record);

/**
 * Closes any open link, opens the device path and starts the poll thread,
 * returning without waiting for it. The path is copied: the caller's buffer
 * need not outlive the call.
 * @param devicePath a HID device path or a virtual device's path.
 * @return TRUE when the link runs; FALSE when the open or the thread's
 *         creation failed.
 * @par Last-error
 * 0 on success; else the open's error (2 not found, 32 in use, 1359 a virtual
 * device that sent no descriptor) or the thread creation's.
 * @par Threads
 * While no other call into the library is under way.
 */
XDSP_EXPORT xdsp_bool XDSP_API InitializeHIDUSBPacketPath(const xdsp_char16 *devicePath);

/**
 * Stops the poll thread (forcibly after 1000 ms) and closes the link. A link
 * whose poll thread is reconnecting is still open and is closed with TRUE.
 * @return TRUE when a link was closed; FALSE when nothing is open.
 * @par Last-error
 * 0 on success; 55 when nothing is open.
 * @par Threads
 * While no other call into the library is under way.
 */
XDSP_EXPORT xdsp_bool XDSP_API DestroyHIDUSBPacket(void);

/**
 * Tells whether the link holds an open device handle.
 * @return TRUE while the link holds an open device handle; FALSE when nothing
 *         is open or the poll thread is reconnecting.
 * @par Last-error
 * Left alone.
 * @par Threads
 * Any thread, at any time.
 */
XDSP_EXPORT xdsp_bool XDSP_API IsOnline(void);

/** @} */

/**
 * @defgroup xdsp_discovery Discovery
 * @brief Finding HID interfaces and opening them directly.
 * @{
 */

/**
 * Counts the present HID interfaces (at most the first 64) with this vendor id
 * and product id, writing records for the first recordCount of them when
 * records is not NULL. Virtual devices are not enumerated.
 * @param vendorId the USB vendor id.
 * @param productId the USB product id; 0xFFFF: any product.
 * @param records where the records go; NULL: count only.
 * @param recordCount how many records fit in records.
 * @return the number of matching interfaces.
 * @par Last-error
 * 0.
 * @par Threads
 * Any thread.
 */
XDSP_EXPORT uint32_t XDSP_API EnumUSBHIDDevices(uint16_t vendorId, uint16_t productId,
                                                xdsp_device_record *records, uint32_t recordCount);

/**
 * Opens the device at the record's path exclusively for reading and writing;
 * as OpenUSBHIDDevicePath().
 * @param record an enumerated interface.
 * @return the handle, or NULL, as OpenUSBHIDDevicePath(); NULL for a NULL
 *         record.
 * @par Last-error
 * As OpenUSBHIDDevicePath(); 87 for a NULL record.
 * @par Threads
 * Any thread.
 */
XDSP_EXPORT xdsp_handle XDSP_API OpenUSBHIDDevice(const xdsp_device_record *record);

/**
 * Opens the device exclusively for reading and writing. Close the handle with
 * CloseHandle() on Windows, xdsp_close_device() on Linux.
 * @param devicePath a HID device path.
 * @return the handle; NULL on failure.
 * @par Last-error
 * On failure, the system's code (2 not found, 32 held by another handle).
 * @par Threads
 * Any thread.
 */
XDSP_EXPORT xdsp_handle XDSP_API OpenUSBHIDDevicePath(const xdsp_char16 *devicePath);

/**
 * Reads the report lengths of an open device, each counting the report-ID
 * byte. Each output given is set to 0 first.
 * @param device an open device; NULL: FALSE.
 * @param inputLength the input report length; may be NULL.
 * @param outputLength the output report length; may be NULL.
 * @param featureLength the feature report length; may be NULL.
 * @return TRUE; FALSE when the device has no HID capabilities to read. A
 *         length the device does not report stays 0.
 * @par Last-error
 * Left alone.
 * @par Threads
 * Any thread.
 */
XDSP_EXPORT xdsp_boolean XDSP_API GetHIDUSBSizes(xdsp_handle device, uint32_t *inputLength,
                                                 uint32_t *outputLength, uint32_t *featureLength);

/**
 * Finds the first device interface of the class whose ids equal the "vid_" and
 * "pid_" fields of idString and copies its path into pathOut.
 * @param idString a text holding "vid_" and "pid_" fields, as a device path
 *        does.
 * @param pathOut 260 characters (#XDSP_DEVICE_PATH_CHARS); must hold an empty
 *        string on entry (one that does not ends the call at once with TRUE).
 * @param interfaceClass the device interface class; NULL: any class.
 * @return TRUE when pathOut holds a path, else FALSE.
 * @par Last-error
 * 87 (FALSE) for a NULL idString or pathOut; the system's code when walking
 * the devices failed; else left alone.
 * @par Threads
 * Any thread.
 */
XDSP_EXPORT xdsp_bool XDSP_API GetMatchingHID_Device(const xdsp_char16 *idString,
                                                     xdsp_char16 *pathOut,
                                                     const xdsp_guid *interfaceClass);

/**
 * Reads the hexadecimal "vid_", "pid_" and "mi_" fields of a device path
 * (lower-case markers only).
 * @param devicePath the device path; NULL: every field 0.
 * @param vendorId receives the "vid_" field; may be NULL.
 * @param productId receives the "pid_" field; may be NULL.
 * @param interfaceNumber receives the "mi_" field; may be NULL.
 * @return a pointer just past the '#' that ends the id fields (the device
 *         instance), or NULL.
 * @par Last-error
 * Left alone.
 * @par Threads
 * Any thread.
 */
XDSP_EXPORT const xdsp_char16 *XDSP_API ParseDeviceName(const xdsp_char16 *devicePath,
                                                        uint16_t *vendorId, uint16_t *productId,
                                                        uint16_t *interfaceNumber);

/** @} */

/**
 * @defgroup xdsp_serial Serial-port companion
 * @brief The serial port of a composite board.
 * @{
 */

/**
 * Finds the serial port on interface 0 of the USB device that holds the HID
 * interface at hidPath, and writes its device path and display name. The port
 * is found from the whole name even when the written name is cut.
 *
 * Windows: follows the device instances under the registry's USB branch and
 * writes "\\.\COMn"; when no port is found, "\\.\" and an empty name.
 * Linux: for a /dev/hidrawN path, the tty under the USB device's interface 0
 * ("/dev/ttyACMn", name "\<product\> (ttyACMn)"); both empty when none.
 * @param hidPath the HID interface's device path; NULL finds nothing.
 * @param portPath receives the port's device path (260 characters); NULL:
 *        skipped.
 * @param friendlyName receives the display name (64 characters,
 *        #XDSP_FRIENDLY_NAME_CHARS; a longer name is cut to 63); NULL: skipped.
 * @return TRUE always; success shows in the outputs.
 * @par Last-error
 * Left alone.
 * @par Threads
 * Any thread.
 */
XDSP_EXPORT xdsp_bool XDSP_API GetMatchingHID_COMDevice(const xdsp_char16 *hidPath,
                                                        xdsp_char16 *portPath,
                                                        xdsp_char16 *friendlyName);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
