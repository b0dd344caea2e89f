/**
 * @file types.h
 * @brief The flat API's types, calling convention, numbers and last-error
 * codes, on which its other headers build. Included by xdsp.h.
 */
#ifndef XDSP_TYPES_H
#define XDSP_TYPES_H

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

#ifdef __cplusplus
}
#endif

#endif
