/**
 * @file xdsp.h
 * @brief xdsp: host library for DSP boards behind a USB HID microcontroller.
 *
 * One board is open per process. Opening it starts a poll thread that writes an
 * output report and reads an input report in every cycle; commands are staged in
 * the next output report and answered through the input reports.
 *
 * @par Results
 * BOOL functions return 1 on success and 0 on failure and set the calling
 * thread's last-error code (GetLastError() on Windows, xdsp_last_error()
 * elsewhere): 0 on success, 6 when no link is running, 55 when a close finds
 * nothing open, 87 for an argument that would run past a buffer, 1359 when an
 * awaited response does not come or the board reports an error. The codes are
 * Windows system codes on every platform (@ref xdsp_errors).
 *
 * @par Threads
 * Every function runs on the calling thread; the poll thread only carries the
 * reports. The last-error code is per thread. The library does not serialise
 * one command against another: an application issues one command at a time
 * (from one thread, or from several that take turns), and opens or closes the
 * link while no other call is under way. The functions that only read what the
 * board last reported (GetGPIOIn(), GetADCIn(), IsOnline()) may be called from
 * any thread at any time.
 *
 * @par Windows and Linux
 * The same functions on both. On Windows, xdsp_char16 is @c wchar_t and the
 * exports of the 32-bit DLL use @c __stdcall; the functions of
 * @ref xdsp_linux_extras exist on Linux only (Windows callers use
 * GetLastError(), SetLastError() and CloseHandle(), and see the debug lines and
 * message boxes through the system).
 */
#ifndef XDSP_XDSP_H
#define XDSP_XDSP_H

#include <stddef.h>
#include <stdint.h>

/**
 * @defgroup xdsp_types Types and calling convention
 * @brief The integer types, records and calling convention of the interface.
 * @{
 */

#ifdef _WIN32
#include <wchar.h>
typedef wchar_t xdsp_char16;
#if defined(_M_IX86) || defined(__i386__)
#define XDSP_API __stdcall
#else
#define XDSP_API
#endif
#define XDSP_EXPORT
#else
#ifndef __cplusplus
#include <uchar.h>
#endif
/** A UTF-16 code unit: @c char16_t on Linux, @c wchar_t on Windows. Texts are
 *  zero-terminated arrays of these. */
typedef char16_t xdsp_char16;
/** The calling convention of the exports: @c __stdcall in the 32-bit x86
 *  Windows DLL, the platform's default elsewhere (empty). */
#define XDSP_API
/** Marks an export: default visibility on Linux (the library hides everything
 *  else); empty on Windows, where the module definition file names the
 *  exports at their ordinals. */
#define XDSP_EXPORT __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

/** BOOL: 1 (TRUE) or 0 (FALSE). */
typedef int32_t xdsp_bool;
/** BOOLEAN: 1 or 0, one byte. */
typedef uint8_t xdsp_boolean;
/** HRESULT: 0 (S_OK) or a negative error value. */
typedef int32_t xdsp_hresult;
/** An open device from OpenUSBHIDDevice() or OpenUSBHIDDevicePath(); NULL when
 *  none. */
typedef void *xdsp_handle;

/** @} */

/**
 * @defgroup xdsp_numbers Numbers a caller compares with
 * @brief Sizes, limits, file numbers and types.
 * @{
 */

/** Characters in a device path buffer, its NUL included. */
#define XDSP_DEVICE_PATH_CHARS 260
/** Characters in the serial port's display name buffer, its NUL included. */
#define XDSP_FRIENDLY_NAME_CHARS 64

/** @} */

/**
 * @defgroup xdsp_errors Last-error codes and wait results
 * @brief Last-error codes are Windows system codes on every platform.
 * @{
 */

/** The call succeeded. */
#define XDSP_ERROR_SUCCESS 0
/** No device or virtual device at the path. */
#define XDSP_ERROR_FILE_NOT_FOUND 2
/** The user may not open the device. */
#define XDSP_ERROR_ACCESS_DENIED 5
/** No link running; a device that went away. */
#define XDSP_ERROR_INVALID_HANDLE 6
/** BootLoader_Send(): the file table re-read failed. */
#define XDSP_ERROR_FILE_TABLE_LOST 7
/** BootLoader_Send(): the format step failed. */
#define XDSP_ERROR_FORMAT_FAILED 11
/** The device is held by another handle. */
#define XDSP_ERROR_SHARING_VIOLATION 32
/** DestroyHIDUSBPacket(): nothing open. */
#define XDSP_ERROR_NOT_OPEN 55
/** An argument that would run past a buffer. */
#define XDSP_ERROR_INVALID_PARAMETER 87
/** No answer in time, or the board's error bit. */
#define XDSP_ERROR_INTERNAL 1359
/** BootLoader_Send(): the checksums differ. */
#define XDSP_ERROR_CHECKSUM_MISMATCH 0x8009700DU

/** Result of XMOS_EnableADC() and GetLayoutStruct(): the awaited report came. */
#define XDSP_WAIT_SIGNALLED 0
/** Result of XMOS_EnableADC() and GetLayoutStruct(): it did not come in time. */
#define XDSP_WAIT_TIMEOUT 258

/** @} */

/**
 * @addtogroup xdsp_numbers
 * @{
 */

/** Bytes of the product-name record the caller allocates (GetProductNameStruct()). */
#define XDSP_PRODUCT_NAME_RECORD_SIZE 188
/** Where the zero-terminated name starts in the product-name record. */
#define XDSP_PRODUCT_NAME_OFFSET 16
/** Bytes of the layout record the caller allocates (GetLayoutStruct()). */
#define XDSP_LAYOUT_RECORD_SIZE 212
/** Bytes of a calibration block (WriteCalibrate(), ReadCalibrate()). */
#define XDSP_CALIBRATION_BLOCK_SIZE 40
/** Bytes of the Pellix record (GetPellixStruct()). */
#define XDSP_PELLIX_RECORD_SIZE 8
/** Bytes of an xdsp_device_record. */
#define XDSP_DEVICE_RECORD_SIZE 528
/** 32-bit words of the DSP's status record (XMOS_DSP_STAT()). */
#define XDSP_STATUS_WORDS 16

/** The boot loader's files are indexes 0 to 14 (BootLoader_MaxFiles()). */
#define XDSP_MAX_FILES 15
/** The boot image's index for BootLoader_Send(). */
#define XDSP_BOOT_FILE_INDEX 31415
/** The boot image's file number for XMOSBoot_CloseFile() and the checksum
 *  queries. */
#define XDSP_BOOT_FILE_NUMBER 300

/** File type Data (BootLoader_GetTypeName()). */
#define XDSP_FILE_TYPE_DATA 0
/** File type Boot. */
#define XDSP_FILE_TYPE_BOOT 1
/** File type FPGA. */
#define XDSP_FILE_TYPE_FPGA 2
/** File type Link. */
#define XDSP_FILE_TYPE_LINK 3

/** @} */

/**
 * @addtogroup xdsp_types
 * @{
 */

/** One enumerated HID interface; callers allocate arrays of these (528 bytes
 *  each). */
typedef struct xdsp_device_record {
    uint32_t matchNumber; /**< Position among the matches of the enumeration, from 0. */
    uint32_t hidIndex;    /**< Position among all present HID interfaces, 0 to 63. */
    /** The device path, NUL-terminated, at most 259 characters. */
    xdsp_char16 devicePath[XDSP_DEVICE_PATH_CHARS];
} xdsp_device_record;

/** The shell's version record (DllGetVersion()): 20 bytes. */
typedef struct xdsp_dll_version_info {
    uint32_t cbSize;         /**< Set by the caller: the record's size in bytes. */
    uint32_t dwMajorVersion; /**< Major version. */
    uint32_t dwMinorVersion; /**< Minor version. */
    uint32_t dwBuildNumber;  /**< Build number. */
    uint32_t dwPlatformID;   /**< Platform: 2 (Windows NT). */
} xdsp_dll_version_info;

/** The second form of the version record: 32 bytes. */
typedef struct xdsp_dll_version_info2 {
    xdsp_dll_version_info info1; /**< The first form; cbSize 32 or more. */
    uint32_t dwFlags;            /**< Flags: 0. */
    uint64_t ullVersion;         /**< The version as four 16-bit fields, major first. */
} xdsp_dll_version_info2;

/** A device interface class (GUID), in its usual field layout. */
typedef struct xdsp_guid {
    uint32_t data1;   /**< The first 32 bits. */
    uint16_t data2;   /**< The next 16 bits. */
    uint16_t data3;   /**< The next 16 bits. */
    uint8_t data4[8]; /**< The last 8 bytes. */
} xdsp_guid;

/** @} */

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

/**
 * @defgroup xdsp_spi SPI transfers
 * @brief Transfers between the board's microcontroller and its DSP.
 *
 * The board's microcontroller is the SPI master of its DSP. spiSelect,
 * busyMask, spiSettingA and spiSettingB go to it unchanged; modeFlag nonzero
 * selects transfer mode 0x0303, zero 0x0101. readLength bytes are always copied
 * to readData (zeros where the board delivered fewer).
 *
 * All three return TRUE with last-error 0 on success; FALSE with 6 when no link
 * runs (nothing written to the debug output), 1359 when a read was asked for
 * and no response came within 10000 ms (readData then holds zeros), 87 when an
 * argument does not fit (nothing staged or sent, readData untouched): a write
 * or data block past the output report, a batch list over 99 bytes, a
 * readLength over 1024 (the response buffer), or a NULL buffer for a nonzero
 * length. While the board reports busy they wait up to 1000 ms and then send
 * anyway, writing "Done.  (timeout)". A transfer without a read succeeds once
 * it is sent.
 * @{
 */

/**
 * One transfer: writes writeLength bytes and reads readLength bytes.
 * @param spiSelect the SPI select, passed on unchanged.
 * @param busyMask the GPIO bits of the DSP's busy line, passed on unchanged.
 * @param modeFlag nonzero: transfer mode 0x0303; zero: 0x0101.
 * @param spiSettingA passed on unchanged.
 * @param spiSettingB passed on unchanged.
 * @param writeData the bytes to write; may be NULL when writeLength is 0.
 * @param writeLength at most the output report length less 27 (485 on the
 *        usual 512-byte report).
 * @param readData receives readLength bytes (zeros where the board delivered
 *        fewer); may be NULL when readLength is 0.
 * @param readLength at most 1024; 0: no read.
 * @return TRUE on success, else FALSE.
 * @par Last-error
 * 0 on success; 6 when no link runs; 1359 when the read's response did not
 * come within 10000 ms (readData then holds zeros); 87 when an argument does
 * not fit (nothing staged or sent, readData untouched).
 * @par Threads
 * One command at a time.
 */
XDSP_EXPORT xdsp_bool XDSP_API WriteSPIEx(uint16_t spiSelect, uint16_t busyMask, int32_t modeFlag,
                                          uint16_t spiSettingA, uint16_t spiSettingB,
                                          const uint8_t *writeData, uint32_t writeLength,
                                          uint8_t *readData, uint32_t readLength);

/**
 * WriteSPIEx() with busyMask 0.
 * @param spiSelect the SPI select, passed on unchanged.
 * @param modeFlag nonzero: transfer mode 0x0303; zero: 0x0101.
 * @param spiSettingA passed on unchanged.
 * @param spiSettingB passed on unchanged.
 * @param writeData the bytes to write; may be NULL when writeLength is 0.
 * @param writeLength as WriteSPIEx()'s.
 * @param readData receives readLength bytes; may be NULL when readLength is 0.
 * @param readLength at most 1024; 0: no read.
 * @return TRUE on success, else FALSE.
 * @par Last-error
 * As WriteSPIEx().
 * @par Threads
 * One command at a time.
 */
XDSP_EXPORT xdsp_bool XDSP_API WriteSPI(uint16_t spiSelect, int32_t modeFlag, uint16_t spiSettingA,
                                        uint16_t spiSettingB, const uint8_t *writeData,
                                        uint32_t writeLength, uint8_t *readData,
                                        uint32_t readLength);

/**
 * A batch: the list and one data block, then readLength bytes read.
 * @param spiSelect the SPI select, passed on unchanged.
 * @param busyMask the GPIO bits of the DSP's busy line, passed on unchanged.
 * @param modeFlag nonzero: transfer mode 0x0303; zero: 0x0101.
 * @param spiSettingA passed on unchanged.
 * @param spiSettingB passed on unchanged.
 * @param batchList the list, the board's to interpret (ended by 0xFF on the
 *        wire).
 * @param batchListLength at most 99 bytes.
 * @param batchData the data block; may be NULL when batchDataLength is 0.
 * @param batchDataLength at most the output report length less 125; 0 for
 *        none. A block that the report cannot hold is refused with 87.
 * @param readData receives readLength bytes; may be NULL when readLength is 0.
 * @param readLength at most 1024; 0: no read.
 * @return TRUE on success, else FALSE.
 * @par Last-error
 * As WriteSPIEx().
 * @par Threads
 * One command at a time.
 */
XDSP_EXPORT xdsp_bool XDSP_API BatchSPI(uint16_t spiSelect, uint16_t busyMask, int32_t modeFlag,
                                        uint16_t spiSettingA, uint16_t spiSettingB,
                                        const uint8_t *batchList, uint32_t batchListLength,
                                        const uint8_t *batchData, uint32_t batchDataLength,
                                        uint8_t *readData, uint32_t readLength);

/** @} */

/**
 * @defgroup xdsp_control Device control
 * @brief GPIO, ADC, identification records and power.
 * @{
 */

/**
 * The GPIO input word as last reported by the board. Needs no link.
 * @return the word; 0 before any report.
 * @par Last-error
 * Left alone.
 * @par Threads
 * Any thread, at any time.
 */
XDSP_EXPORT uint16_t XDSP_API GetGPIOIn(void);

/**
 * Stores the GPIO output word, carried in every later output report (also
 * after the next open), and sends command 0xFFFF when a link runs. Reports
 * nothing.
 * @param gpioOut the GPIO output word.
 * @par Last-error
 * Left alone.
 * @par Threads
 * One command at a time.
 */
XDSP_EXPORT void XDSP_API SetGPIOOut(uint16_t gpioOut);

/**
 * The last 14-bit reading of an ADC channel. Needs no link.
 * @param channel 0 to 3.
 * @return the reading, 0 to 16383; 65535 for any other channel.
 * @par Last-error
 * Left alone.
 * @par Threads
 * Any thread, at any time.
 */
XDSP_EXPORT uint16_t XDSP_API GetADCIn(uint32_t channel);

/**
 * Switches ADC sampling on or off and waits up to 1000 ms for the next input
 * report.
 * @param enable nonzero: on; 0: off.
 * @return #XDSP_WAIT_SIGNALLED (0) when the report came, #XDSP_WAIT_TIMEOUT
 *         (258) when not, at once when no link runs (then nothing is sent).
 * @par Last-error
 * Left alone.
 * @par Threads
 * One command at a time.
 */
XDSP_EXPORT uint32_t XDSP_API XMOS_EnableADC(int32_t enable);

/**
 * Tells whether the board reports itself initialised (GPIO bit 10).
 * @return 1 when it does, else 0.
 * @par Last-error
 * 0; 6 (with result 0) when no link runs.
 * @par Threads
 * Any thread.
 */
XDSP_EXPORT xdsp_bool XDSP_API IsDeviceInitialized(void);

/**
 * Copies the 188-byte product-name record (from byte 16 the zero-terminated
 * ASCII product name). When none has arrived yet, asks the board for it and
 * waits up to 1000 ms first; after a time-out the record is copied as it is.
 * @param record #XDSP_PRODUCT_NAME_RECORD_SIZE bytes; NULL: nothing done.
 * @par Last-error
 * 87 for NULL.
 * @par Threads
 * One command at a time.
 */
XDSP_EXPORT void XDSP_API GetProductNameStruct(uint8_t *record);

/**
 * Asks the board for its layout record (command 0xF001) and returns at once;
 * nothing is sent when no link runs. The firmware answers with response code
 * 0xF001 (payload bit set); the 212 bytes at input offsets 14 to 225 are
 * copied into the layout record, which sets the response event.
 * @par Last-error
 * Left alone.
 * @par Threads
 * One command at a time; GetLayoutStruct() collects the answer.
 */
XDSP_EXPORT void XDSP_API RequestLayoutStruct(void);

/**
 * Waits up to 10000 ms for the board's answer to RequestLayoutStruct(), then
 * copies the 212-byte layout record whether or not it came.
 * @param record #XDSP_LAYOUT_RECORD_SIZE bytes.
 * @return #XDSP_WAIT_SIGNALLED (0) when the answer came, #XDSP_WAIT_TIMEOUT
 *         (258) when not (at once when no link runs), and 0xFFFFFFFF for a
 *         NULL record (nothing waited or copied).
 * @par Last-error
 * 87 for a NULL record.
 * @par Threads
 * One command at a time.
 */
XDSP_EXPORT uint32_t XDSP_API GetLayoutStruct(uint8_t *record);

/**
 * Copies the 8-byte Pellix record as the board last sent it (zeros if never).
 * Sends nothing.
 * @param record #XDSP_PELLIX_RECORD_SIZE bytes; NULL: nothing done.
 * @par Last-error
 * 87 for NULL.
 * @par Threads
 * Any thread.
 */
XDSP_EXPORT void XDSP_API GetPellixStruct(uint8_t *record);

/**
 * Writes the Pellix record (command 0xF101) after waiting up to 1000 ms while
 * the board is busy.
 * @param valueA the record's 32-bit value.
 * @param valueB the record's 16-bit value.
 * @param valueC the record's 8-bit value.
 * @return 0 always.
 * @par Last-error
 * 6 when no link runs, 87 when the output report is shorter than 21 bytes,
 * else unchanged.
 * @par Threads
 * One command at a time.
 */
XDSP_EXPORT xdsp_bool XDSP_API WritePellix(uint32_t valueA, uint16_t valueB, uint8_t valueC);

/**
 * Boots the board: command 0xF011 for a nonzero bootFlag, 0xF013 for 0. On
 * success the call returns 200 ms after the board's next report.
 * @param bootFlag selects the boot command.
 * @par Last-error
 * The outcome: 0 on success, 6 when no link runs, 1359 when the board reports
 * an error (after a message box "Error in BootDevice", caption "Error").
 * @par Threads
 * One command at a time.
 */
XDSP_EXPORT void XDSP_API BootDevice(int32_t bootFlag);

/**
 * Suspends the board (command 0xF012). On success the call returns 200 ms after
 * the board's next report.
 * @par Last-error
 * The outcome: 0 on success, 6 when no link runs, 1359 when the board reports
 * an error (after a message box "Error in SuspendDevice", caption "Error").
 * @par Threads
 * One command at a time.
 */
XDSP_EXPORT void XDSP_API SuspendDevice(void);

/** @} */

/**
 * @defgroup xdsp_memory Flash, pins, TEDS, calibration
 * @brief The board's memories and pins.
 *
 * Each waits up to 1000 ms (ReadFLASH() 500 ms) while the board is busy and
 * then sends anyway. Last-error 0 on success; 6 when no link runs (nothing
 * written to the debug output); 87 when an argument does not fit or a buffer is
 * NULL (nothing staged or sent); 1359 when the board reports an error after the
 * command (a message box, caption "Error", is shown first; WriteTEDS() makes no
 * such check) or an awaited answer does not come within 10000 ms. One command
 * at a time.
 * @{
 */

/**
 * Writes bytes at a flash address; TRUE 200 ms after the board accepted them.
 * @param address the flash address.
 * @param flashWord goes to the board unchanged.
 * @param data the bytes.
 * @param count how many bytes; only the first 256 are sent.
 * @return TRUE when the board accepted the write, else FALSE.
 * @par Last-error
 * 0, 6, 87 or 1359 (the board's error after the message box "Error in
 * WriteFLASH"), as for the group.
 * @par Threads
 * One command at a time.
 */
XDSP_EXPORT xdsp_bool XDSP_API WriteFLASH(uint32_t address, uint16_t flashWord, const uint8_t *data,
                                          uint32_t count);

/**
 * Reads min(count, 256) bytes from a flash address into buffer (bytes beyond
 * are left alone).
 * @param address the flash address.
 * @param buffer receives the bytes.
 * @param count how many bytes; at most 256 are read.
 * @return TRUE, also when the answer does not come in time (the buffer then
 *         holds what an earlier answer left); FALSE on an error or refusal.
 * @par Last-error
 * 0, 6, 87 or 1359 (the board's error after the message box "Error in
 * WriteFLASH"), as for the group.
 * @par Threads
 * One command at a time.
 */
XDSP_EXPORT xdsp_bool XDSP_API ReadFLASH(uint32_t address, uint8_t *buffer, uint32_t count);

/**
 * Sets the 16-bit pins value.
 * @param unused not used.
 * @param pins the pins value.
 * @return TRUE on success, else FALSE.
 * @par Last-error
 * 0, 6 or 1359 (the board's error after the message box "Error in
 * WriteFLASH"), as for the group.
 * @par Threads
 * One command at a time.
 */
XDSP_EXPORT xdsp_bool XDSP_API SetPIN(uint32_t unused, uint16_t pins);

/**
 * Reads the board's pins value. Tell a failure by the last-error.
 * @return the pins value; 0xFFFF when the board reports an error; 0 when no
 *         answer came or no link runs.
 * @par Last-error
 * 0 on success; 1359 with 0xFFFF (the board's error, after the message box
 * "Error in WriteFLASH") or with 0 (no answer); 6 with 0.
 * @par Threads
 * One command at a time.
 */
XDSP_EXPORT uint16_t XDSP_API GetPIN(void);

/**
 * Writes bytes to the TEDS memory and reads bytes back. Makes no check of the
 * board's error bit.
 * @param control goes to the board unchanged.
 * @param writeData the bytes to write.
 * @param writeCount at most the output report length less 19, and 65535.
 * @param readData receives readCount bytes.
 * @param readCount at most 1024; 0 for none: TRUE as soon as the command is
 *        sent.
 * @return TRUE on success, else FALSE.
 * @par Last-error
 * 0, 6 or 87 as for the group; 1359 when no answer came (readData then holds
 * zeros).
 * @par Threads
 * One command at a time.
 */
XDSP_EXPORT xdsp_bool XDSP_API WriteTEDS(uint16_t control, const uint8_t *writeData,
                                         uint32_t writeCount, uint8_t *readData,
                                         uint32_t readCount);

/**
 * Stores a 40-byte calibration block on the board, in the caller's byte order.
 * @param block #XDSP_CALIBRATION_BLOCK_SIZE bytes.
 * @return TRUE on success, else FALSE.
 * @par Last-error
 * 0, 6, 87 or 1359 (the board's error after the message box "Error in
 * WriteCalibrate"), as for the group.
 * @par Threads
 * One command at a time.
 */
XDSP_EXPORT xdsp_bool XDSP_API WriteCalibrate(const uint8_t *block);

/**
 * Reads the 40-byte calibration block.
 * @param block receives #XDSP_CALIBRATION_BLOCK_SIZE bytes.
 * @return 1 on success, 0 on failure (last-error 6, 87 or 1359), -1 when the
 *         board reports an error (1359).
 * @par Last-error
 * 0, 6, 87 or 1359 (the board's error after the message box "Error in
 * WriteFLASH"), as for the group.
 * @par Threads
 * One command at a time.
 */
XDSP_EXPORT int32_t XDSP_API ReadCalibrate(uint8_t *block);

/** @} */

/**
 * @defgroup xdsp_bootframing Boot-loader framing
 * @brief Speaking to the DSP's resident boot loader.
 *
 * The DSP's resident boot loader is spoken to with "BOOT" commands carried by
 * WriteSPIEx(). Its operations judge only the boot loader's reply bytes: a
 * reply that does not come reads as zeros. They set no last-error code of their
 * own; the code left is that of their last transfer (6 when no link runs). One
 * boot-loader operation at a time: the settings, the file table and the texts
 * are process-wide and unguarded. This holds for every boot-loader group.
 * @{
 */

/**
 * Progress callback of XMOSBoot_SendFile() and BootLoader_Send(): called on the
 * caller's thread. Either calling convention works on 32-bit x86.
 * @param percent how far the operation is, in percent.
 * @param context the caller's context value.
 * @return ignored.
 */
typedef int32_t(XDSP_API *xdsp_progress_callback)(int32_t percent, uint32_t context);

/**
 * Switches the read-prefix mode, which is on at load: replies are fetched with
 * a separate "RD" transfer after the boot loader's busy line clears.
 * @param enable only 1 switches it on; any other value off.
 * @par Last-error
 * Left alone.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT void XDSP_API XMOSSPI_SetReadPrefix(int32_t enable);

/**
 * Tells whether the read-prefix mode is on.
 * @return 1 while it is on, else 0.
 * @par Last-error
 * Left alone.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT int32_t XDSP_API XMOSSPI_GetReadPrefix(void);

/**
 * Drains reply bytes the boot loader may still hold (at most 136 bytes, ending
 * early when its busy line rises).
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT void XDSP_API XMOSBoot_Flush(void);

/**
 * Reads the DSP's 16-word status record, or only checks it.
 * @param status receives #XDSP_STATUS_WORDS words in host order; NULL: only
 *        check.
 * @return 1 when a record with the "STAT" magic came within 2500 ms; 0
 *         otherwise, status untouched.
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT xdsp_bool XDSP_API XMOS_DSP_STAT(uint32_t *status);

/** @} */

/**
 * @defgroup xdsp_bootid Boot-loader identification
 * @brief What the boot loader says of itself, the product, the DSP and the
 *        flash.
 *
 * The texts live in the library's buffers until the same query runs again. The
 * last-error left is that of the last transfer; one boot-loader operation at a
 * time.
 * @{
 */

/**
 * The boot loader's version.
 * @return "%d.%02d"; "0.00" when it does not answer.
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT const xdsp_char16 *XDSP_API XMOSBoot_GetVersionType(void);

/**
 * The board's product name.
 * @return the name, or "%02X %02X %02X %02X [%08X]" of an unknown code.
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT const xdsp_char16 *XDSP_API XMOSBoot_GetProductType(void);

/**
 * The DSP's four identification bytes.
 * @return "%02X %02X %02X %02X".
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT const xdsp_char16 *XDSP_API XMOSBoot_GetDSPType(void);

/**
 * The flash chip's four identification bytes.
 * @return "%02X %02X %02X %02X".
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT const xdsp_char16 *XDSP_API XMOSBoot_GetMemoryType(void);

/**
 * The flash size.
 * @return the size in bytes; 0 for no chip, an unknown chip or no answer.
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT uint32_t XDSP_API XMOSBoot_GetMemorySize(void);

/** @} */

/**
 * @defgroup xdsp_bootfs Boot-loader file system
 * @brief The boot loader's file commands.
 *
 * Files are named by index 0 to 14 (sent as file number index + 1). Each
 * returns 1 when the boot loader echoed the command, else 0. The last-error
 * left is that of the last transfer; one boot-loader operation at a time.
 * @{
 */

/**
 * Erases a file.
 * @param fileIndex 0 to 14.
 * @return 1 when the boot loader echoed the command, else 0.
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_EraseFile(uint32_t fileIndex);

/**
 * Allocates the 4096-byte sectors from startAddress up to endAddress to a
 * file.
 * @param fileIndex 0 to 14.
 * @param startAddress a byte address, sent shifted right by 12.
 * @param endAddress a byte address, sent shifted right by 12.
 * @return 1 when the boot loader echoed the command, else 0.
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_AllocateFile(uint32_t fileIndex, uint32_t startAddress,
                                                     uint32_t endAddress);

/**
 * Prepares a file's area for data; waits up to 60 s while the flash erases.
 * @param fileIndex 0 to 14.
 * @return 1 when the boot loader echoed the command, else 0.
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_FormatFile(uint32_t fileIndex);

/**
 * Prepares the boot file's area.
 * @param value its low 16 bits are sent (31415, #XDSP_BOOT_FILE_INDEX).
 * @return 1 when the boot loader echoed the command, else 0.
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_FormatBootFile(int32_t value);

/**
 * Ends a file's data; asks twice. Takes over 2 s.
 * @param fileIndex 0 to 14; 300 (#XDSP_BOOT_FILE_NUMBER): the boot file.
 * @return 1 when the boot loader echoed the command, else 0.
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_CloseFile(uint32_t fileIndex);

/**
 * Sets a file's type.
 * @param fileIndex 0 to 14; an index over 254 does not fit the command.
 * @param type 0 Data, 1 Boot, 2 FPGA, 3 Link; a type outside 0 to 255 does not
 *        fit the command.
 * @return 1 when the boot loader echoed the command, else 0; 0 with nothing
 *         sent for an index or type that does not fit.
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_SetFileType(uint32_t fileIndex, int16_t type);

/**
 * Makes the board's file table changes lasting.
 * @return 1 when the boot loader echoed the command, else 0.
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_Commit(void);

/**
 * Stores a file's name and date, in the library's file table first and then on
 * the board; asks twice.
 * @param fileIndex 0 to 14; 15 or more: nothing touched or sent.
 * @param name NULL: keep the table's; at most 62 characters, 8-bit Latin-1 on
 *        the board, '?' for other characters.
 * @param date an OLE automation date: the creation date when the table has
 *        none, the modification date when above 1.0.
 * @return 1 when the boot loader echoed the command, else 0; 0 for index 15 or
 *         more.
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_SetFileNameDate(uint32_t fileIndex, const xdsp_char16 *name,
                                                        double date);

/**
 * Starts the DSP program from flash.
 * @return 1 always.
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_Run(void);

/**
 * The file's 16-bit checksum as the boot loader reports it.
 * @param fileIndex 0 to 14; 300 (#XDSP_BOOT_FILE_NUMBER): the boot file.
 * @return the checksum; 0 when the boot loader does not answer.
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT uint16_t XDSP_API XMOSBoot_GetChecksum(uint32_t fileIndex);

/** @} */

/**
 * @defgroup xdsp_boottable File table and transfer
 * @brief Reading the file table and sending a file's data.
 * @{
 */

/**
 * Reads the boot loader's allocation table and every file's record into the
 * library's file table.
 * @return 1 when the table came (a file record that does not leaves its entry
 *         empty); 0 after two failed tries, with the message box "FAI Error"
 *         (no caption, style 0x30) and an empty file table.
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_BuildFAI(void);

/**
 * Sends a file's data in 256-byte packets after a format of the same file; an
 * odd last byte is not sent. Reports
 * progressStart + offset / length * (progressEnd - progressStart) after each
 * full packet and progressEnd at the end.
 * @param fileIndex not sent.
 * @param data the bytes.
 * @param length how many bytes.
 * @param progressStart the percentage reported at the start.
 * @param progressEnd the percentage reported at the end.
 * @param callback the progress callback, called on the caller's thread.
 * @param context passed to the callback.
 * @return 1; 0 only for NULL data with a positive length (nothing sent).
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_SendFile(int32_t fileIndex, const uint8_t *data,
                                                 int32_t length, int32_t progressStart,
                                                 int32_t progressEnd,
                                                 xdsp_progress_callback callback, uint32_t context);

/** @} */

/**
 * @defgroup xdsp_bootfront Boot-loader front end
 * @brief Identification, uploads, the file table and booting in a few calls.
 * @{
 */

/**
 * Sets the boot loader's SPI select and busy-line mask, reads the memory size,
 * version, product and DSP texts and the file table.
 * @param select the boot loader's SPI select.
 * @param busyMask the GPIO bits of its busy line.
 * @return 1 when all came; 0 when the memory size reads 0 (texts and table
 *         kept) or the table read failed.
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT xdsp_bool XDSP_API BootLoader_Init(uint16_t select, uint16_t busyMask);

/**
 * Uploads a file into the sectors from startAddress to endAddress with its
 * type, name and the local time as date, reporting 10, 15, 20, 25 to 80, 85,
 * 90, 95 and 100, and compares the board's checksum with the data's. Takes
 * several seconds.
 * @param fileIndex 0 to 14, or 31415 (#XDSP_BOOT_FILE_INDEX) for the boot file.
 * @param type the file type (#XDSP_FILE_TYPE_DATA to #XDSP_FILE_TYPE_LINK).
 * @param startAddress the first byte address of the file's sectors.
 * @param endAddress the last byte address of the file's sectors.
 * @param name the file's name.
 * @param data the bytes.
 * @param length how many bytes.
 * @param showErrors nonzero: failures open a message box (no caption, style
 *        0x30).
 * @param callback the progress callback, called on the caller's thread.
 * @param context passed to the callback.
 * @return 0 when it stopped early; else 1.
 * @par Last-error
 * When it stopped early: 87 (index out of range, or NULL data with a length:
 * nothing sent), 7 (file table re-read failed), 11 (format failed) or that of
 * the transfers (sending failed). After a whole upload, 0x8009700D when the
 * checksums differ.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT xdsp_bool XDSP_API BootLoader_Send(int32_t fileIndex, int16_t type,
                                               uint32_t startAddress, uint32_t endAddress,
                                               const xdsp_char16 *name, const uint8_t *data,
                                               uint32_t length, xdsp_bool showErrors,
                                               xdsp_progress_callback callback, uint32_t context);

/**
 * The number of files.
 * @return 15 (#XDSP_MAX_FILES).
 * @par Last-error
 * Left alone.
 * @par Threads
 * Any thread.
 */
XDSP_EXPORT uint32_t XDSP_API BootLoader_MaxFiles(void);

/**
 * Reads a file table entry.
 * @param fileIndex 0 to 14.
 * @param type receives the file type.
 * @param startAddress receives the start address (sectors times 4096).
 * @param endAddress receives the end address (sectors times 4096).
 * @param faiBytes receives FAI word 5 times 4096.
 * @param name receives the name, cut to nameCapacity - 1 characters; may be
 *        NULL when nameCapacity is 0.
 * @param nameCapacity characters in name; 0: name not touched.
 * @param creationDate receives the creation date (0.0: none).
 * @param modificationDate receives the modification date (0.0: none).
 * @return 1; 0 for an index outside 0 to 14 or a NULL output, nothing written
 *         then.
 * @par Last-error
 * 87 for a NULL output (with an index in range); else left alone.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT xdsp_bool XDSP_API BootLoader_GetFileDesc(int32_t fileIndex, uint16_t *type,
                                                      uint32_t *startAddress, uint32_t *endAddress,
                                                      uint32_t *faiBytes, xdsp_char16 *name,
                                                      uint32_t nameCapacity, double *creationDate,
                                                      double *modificationDate);

/**
 * The name of a file type.
 * @param type the file type.
 * @return "Data", "Boot", "FPGA", "Link" for types 0 to 3; "" for any other.
 * @par Last-error
 * Left alone.
 * @par Threads
 * Any thread.
 */
XDSP_EXPORT const xdsp_char16 *XDSP_API BootLoader_GetTypeName(int16_t type);

/**
 * Starts the DSP program (XMOSBoot_Run()).
 * @return 1 always.
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT xdsp_bool XDSP_API BootLoader_Boot(void);

/**
 * The boot loader's version text kept by the last successful BootLoader_Init().
 * @return the text; empty before.
 * @par Last-error
 * Left alone.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT const xdsp_char16 *XDSP_API BootLoader_GetVersion(void);

/**
 * The product text kept by the last successful BootLoader_Init().
 * @return the text; empty before.
 * @par Last-error
 * Left alone.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT const xdsp_char16 *XDSP_API BootLoader_GetProduct(void);

/**
 * The DSP text kept by the last successful BootLoader_Init().
 * @return the text; empty before.
 * @par Last-error
 * Left alone.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT const xdsp_char16 *XDSP_API BootLoader_GetDSP(void);

/**
 * The flash size kept by the last successful BootLoader_Init().
 * @return the size in bytes; 0 before.
 * @par Last-error
 * Left alone.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT uint32_t XDSP_API BootLoader_GetMemory(void);

/**
 * The checksum the boot loader keeps of a file.
 * @param data the bytes.
 * @param length how many bytes.
 * @return the byte sum of length bytes modulo 65536; 0 for NULL data.
 * @par Last-error
 * Left alone.
 * @par Threads
 * Any thread.
 */
XDSP_EXPORT uint16_t XDSP_API BootLoader_ComputeFileChecksum(const uint8_t *data, uint32_t length);

/**
 * The board's checksum of a file.
 * @param fileIndex 0 to 14, or 300 (#XDSP_BOOT_FILE_NUMBER) for the boot file.
 * @return the checksum; 0xFFFF for any other index, with nothing sent.
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One boot-loader operation at a time.
 */
XDSP_EXPORT uint16_t XDSP_API BootLoader_GetFileChecksum(int32_t fileIndex);

/** @} */

/**
 * @defgroup xdsp_audio Audio module
 * @brief Commands for boards whose DSP runs the audio firmware.
 *
 * USER commands, framed and sent like the boot-loader commands (read-prefix
 * mode included). What the values mean belongs to the firmware. They set no
 * last-error code of their own: the code left is that of their last transfer
 * (6 when no link runs). One command at a time, and not alongside boot-loader
 * operations.
 * @{
 */

/**
 * Switches mute on or off.
 * @param on any nonzero value: on; 0: off.
 * @return the firmware's 16-bit answer; 0xFFFF when the reply does not carry
 *         "USER" (no link, no answer).
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One command at a time, not alongside boot-loader operations.
 */
XDSP_EXPORT int32_t XDSP_API Halvio_Mute(int32_t on);

/**
 * Loads a filter.
 * @param filter 0 to 9; a larger number sends its first digit and the rest as
 *        extra bytes.
 * @return the answer as Halvio_Mute()'s.
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One command at a time, not alongside boot-loader operations.
 */
XDSP_EXPORT int32_t XDSP_API Halvio_LoadFilter(uint32_t filter);

/**
 * Loads an algorithm.
 * @param algorithm 0 to 255.
 * @return the answer as Halvio_Mute()'s.
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One command at a time, not alongside boot-loader operations.
 */
XDSP_EXPORT int32_t XDSP_API Halvio_LoadAlgorithm(int32_t algorithm);

/**
 * Resets the audio firmware; nothing is read back.
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One command at a time, not alongside boot-loader operations.
 */
XDSP_EXPORT void XDSP_API Halvio_Reset(void);

/**
 * Switches the line output on or off.
 * @param on any nonzero value: on; 0: off.
 * @return the answer as Halvio_Mute()'s.
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One command at a time, not alongside boot-loader operations.
 */
XDSP_EXPORT int32_t XDSP_API Halvio_LineOut(int32_t on);

/**
 * Selects a source.
 * @param source 0 to 9; larger values as Halvio_LoadFilter()'s.
 * @return the answer as Halvio_Mute()'s.
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One command at a time, not alongside boot-loader operations.
 */
XDSP_EXPORT int32_t XDSP_API Halvio_Source(int32_t source);

/**
 * Reads the name and dates of one of the firmware's files. Returns 500 ms after
 * the reply. Without a valid reply: empty name and both dates 0.0.
 * @param fileNumber 0 to 255.
 * @param name receives the name, cut to nameCapacity - 1 characters; NULL:
 *        skipped.
 * @param nameCapacity characters in name; 0: name not touched.
 * @param creationDate receives the creation date (an OLE automation date);
 *        NULL: skipped.
 * @param modificationDate receives the modification date (an OLE automation
 *        date); NULL: skipped.
 * @par Last-error
 * That of the last transfer.
 * @par Threads
 * One command at a time, not alongside boot-loader operations.
 */
XDSP_EXPORT void XDSP_API Halvio_LoadFilename(int32_t fileNumber, xdsp_char16 *name,
                                              uint32_t nameCapacity, double *creationDate,
                                              double *modificationDate);

/**
 * Sends bytes to the firmware and compares what comes back.
 * @param data the bytes.
 * @param length how many bytes, rounded down to even; over 400: nothing sent.
 * @return 1 when equal, else 0 with a dump of both sides to the debug output;
 *         0 with nothing sent for a length over 400 or NULL data with a length.
 * @par Last-error
 * 87 for NULL data with a length; else that of the last transfer.
 * @par Threads
 * One command at a time, not alongside boot-loader operations.
 */
XDSP_EXPORT xdsp_bool XDSP_API Halvio_Echo(const uint8_t *data, uint32_t length);

/** @} */

#ifndef _WIN32
/**
 * @defgroup xdsp_linux_extras Linux extras
 * @brief What Windows callers get from the system: the last-error code, the
 *        debug output, message boxes and closing a device handle.
 * @{
 */

/**
 * Receives the library's debug output, one piece of text at a time (a line may
 * come in several pieces). May be called on the caller's thread or on the poll
 * thread; the library holds no lock of its own while calling it.
 * @param text the piece, zero-terminated UTF-16.
 * @param context the value given to xdsp_set_debug_handler().
 */
typedef void (*xdsp_debug_handler)(const xdsp_char16 *text, void *context);

/**
 * Shows a message box the library raises. May be called on the caller's thread
 * or on the poll thread; the library holds no lock of its own while calling it.
 * @param text the message, zero-terminated UTF-16.
 * @param caption the caption, zero-terminated UTF-16 (may be empty).
 * @param style the Windows message-box style (0x30: a warning).
 * @param context the value given to xdsp_set_message_handler().
 * @return the button pressed, as Windows numbers it (1: OK).
 */
typedef int (*xdsp_message_handler)(const xdsp_char16 *text, const xdsp_char16 *caption,
                                    uint32_t style, void *context);

/**
 * The calling thread's last-error code.
 * @return the code.
 * @par Threads
 * Any thread; each thread has its own code.
 */
XDSP_EXPORT uint32_t xdsp_last_error(void);

/**
 * Sets the calling thread's last-error code.
 * @param code the code.
 * @par Threads
 * Any thread; each thread has its own code.
 */
XDSP_EXPORT void xdsp_set_last_error(uint32_t code);

/**
 * Installs the handler of the debug output; silent until one is installed.
 * @param handler the handler; NULL: silent.
 * @param context passed to the handler.
 * @par Last-error
 * Left alone.
 * @par Threads
 * Any thread, at any time; a handler may replace the handlers.
 */
XDSP_EXPORT void xdsp_set_debug_handler(xdsp_debug_handler handler, void *context);

/**
 * Installs the handler of message boxes; silent until one is installed.
 * @param handler the handler; NULL: silent, and a message box returns 1 (OK).
 * @param context passed to the handler.
 * @par Last-error
 * Left alone.
 * @par Threads
 * Any thread, at any time; a handler may replace the handlers.
 */
XDSP_EXPORT void xdsp_set_message_handler(xdsp_message_handler handler, void *context);

/**
 * Closes a handle from OpenUSBHIDDevice() or OpenUSBHIDDevicePath() and gives
 * up its exclusive hold on the device, as CloseHandle() does on Windows. A
 * handle must be closed once only.
 * @param device the handle.
 * @return TRUE; FALSE for NULL.
 * @par Last-error
 * 6 for NULL.
 * @par Threads
 * Any thread, once the handle is no longer in use.
 */
XDSP_EXPORT xdsp_bool xdsp_close_device(xdsp_handle device);

/** @} */
#endif

#ifdef __cplusplus
}
#endif

#endif
