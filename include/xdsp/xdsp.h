/*
 * xdsp: host library for DSP boards behind a USB HID microcontroller.
 *
 * One board is open per process. Opening it starts a poll thread that writes an
 * output report and reads an input report in every cycle; commands are staged in
 * the next output report and answered through the input reports.
 *
 * Results: BOOL functions return 1 on success and 0 on failure and set the
 * calling thread's last-error code (GetLastError() on Windows, xdsp_last_error()
 * elsewhere): 0 on success, 6 when no link is running, 55 when a close finds
 * nothing open, 87 for an argument that would run past a buffer, 1359 when an
 * awaited response does not come or the board reports an error.
 */
#ifndef XDSP_XDSP_H
#define XDSP_XDSP_H

#include <stddef.h>
#include <stdint.h>

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
#ifdef __cplusplus
typedef char16_t xdsp_char16;
#else
#include <uchar.h>
typedef char16_t xdsp_char16;
#endif
#define XDSP_API
#define XDSP_EXPORT __attribute__((visibility("default")))
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef int32_t xdsp_bool;    /* BOOL: 1 or 0 */
typedef uint8_t xdsp_boolean; /* BOOLEAN: 1 or 0 */
typedef int32_t xdsp_hresult;
typedef void *xdsp_handle; /* an open device; NULL when none */

#define XDSP_DEVICE_PATH_CHARS 260
#define XDSP_FRIENDLY_NAME_CHARS 64 /* the serial port's display name, with its NUL */

/* ---- Numbers a caller compares with ------------------------------------------
 * Last-error codes are Windows system codes on every platform. */
#define XDSP_ERROR_SUCCESS 0
#define XDSP_ERROR_FILE_NOT_FOUND 2     /* no device or virtual device at the path */
#define XDSP_ERROR_ACCESS_DENIED 5      /* the user may not open the device */
#define XDSP_ERROR_INVALID_HANDLE 6     /* no link running; a device that went away */
#define XDSP_ERROR_FILE_TABLE_LOST 7    /* BootLoader_Send: the file table re-read failed */
#define XDSP_ERROR_FORMAT_FAILED 11     /* BootLoader_Send: the format step failed */
#define XDSP_ERROR_SHARING_VIOLATION 32 /* the device is held by another handle */
#define XDSP_ERROR_NOT_OPEN 55          /* DestroyHIDUSBPacket: nothing open */
#define XDSP_ERROR_INVALID_PARAMETER 87 /* an argument that would run past a buffer */
#define XDSP_ERROR_INTERNAL 1359        /* no answer in time, or the board's error bit */
#define XDSP_ERROR_CHECKSUM_MISMATCH 0x8009700DU /* BootLoader_Send: checksums differ */

/* Results of XMOS_EnableADC and GetLayoutStruct. */
#define XDSP_WAIT_SIGNALLED 0
#define XDSP_WAIT_TIMEOUT 258

/* Records the caller allocates, in bytes. */
#define XDSP_PRODUCT_NAME_RECORD_SIZE 188 /* GetProductNameStruct */
#define XDSP_PRODUCT_NAME_OFFSET 16       /* where the zero-terminated name starts */
#define XDSP_LAYOUT_RECORD_SIZE 212       /* GetLayoutStruct */
#define XDSP_CALIBRATION_BLOCK_SIZE 40    /* WriteCalibrate, ReadCalibrate */
#define XDSP_PELLIX_RECORD_SIZE 8         /* GetPellixStruct */
#define XDSP_DEVICE_RECORD_SIZE 528       /* xdsp_device_record */
#define XDSP_STATUS_WORDS 16              /* XMOS_DSP_STAT */

/* The boot loader's files: indexes 0 to 14 (BootLoader_MaxFiles), and the boot
 * image, which BootLoader_Send calls by index 31415 and which close and the
 * checksum queries call by file number 300. */
#define XDSP_MAX_FILES 15
#define XDSP_BOOT_FILE_INDEX 31415
#define XDSP_BOOT_FILE_NUMBER 300

/* File types (BootLoader_GetTypeName). */
#define XDSP_FILE_TYPE_DATA 0
#define XDSP_FILE_TYPE_BOOT 1
#define XDSP_FILE_TYPE_FPGA 2
#define XDSP_FILE_TYPE_LINK 3

/* One enumerated HID interface; callers allocate arrays of these (528 bytes each). */
typedef struct xdsp_device_record {
    uint32_t matchNumber; /* position among the matches of the enumeration, from 0 */
    uint32_t hidIndex;    /* position among all present HID interfaces, 0 to 63 */
    xdsp_char16 devicePath[XDSP_DEVICE_PATH_CHARS]; /* NUL-terminated, at most 259 chars */
} xdsp_device_record;

/* The shell's version records: 20 bytes, and 32 bytes for the second form. */
typedef struct xdsp_dll_version_info {
    uint32_t cbSize;
    uint32_t dwMajorVersion;
    uint32_t dwMinorVersion;
    uint32_t dwBuildNumber;
    uint32_t dwPlatformID;
} xdsp_dll_version_info;

typedef struct xdsp_dll_version_info2 {
    xdsp_dll_version_info info1;
    uint32_t dwFlags;
    uint64_t ullVersion;
} xdsp_dll_version_info2;

typedef struct xdsp_guid {
    uint32_t data1;
    uint16_t data2;
    uint16_t data3;
    uint8_t data4[8];
} xdsp_guid;

/* ---- Frame ---------------------------------------------------------------- */

/* Fills a version record whose cbSize is 20 or at least 32. Returns 0 (S_OK),
 * 0x80004003 for NULL, 0x80004002 for cbSize below 20 (nothing written). */
XDSP_EXPORT xdsp_hresult XDSP_API DllGetVersion(xdsp_dll_version_info *info);

/* ---- Link ----------------------------------------------------------------- */

/* Stages the header of the next output report with this command code and the
 * current GPIO output word, and hands it to the poll thread. Does nothing when
 * no poll thread runs. Callers write payload fields before calling it. */
XDSP_EXPORT void XDSP_API SendCommand(uint16_t commandCode);

/* Opens the board at the record's device path; as InitializeHIDUSBPacketPath. */
XDSP_EXPORT xdsp_bool XDSP_API InitializeHIDUSBPacket(const xdsp_device_record *record);

/* Closes any open link, opens the device path and starts the poll thread.
 * TRUE with last-error 0; FALSE with the open's error (2 not found, 32 in use,
 * 1359 a virtual device that sent no descriptor) or the thread creation's. */
XDSP_EXPORT xdsp_bool XDSP_API InitializeHIDUSBPacketPath(const xdsp_char16 *devicePath);

/* Stops the poll thread (forcibly after 1000 ms) and closes the link.
 * TRUE with last-error 0; FALSE with 55 when nothing is open. A link whose poll
 * thread is reconnecting is still open and is closed with TRUE. */
XDSP_EXPORT xdsp_bool XDSP_API DestroyHIDUSBPacket(void);

/* TRUE while the link holds an open device handle. Leaves the last-error alone. */
XDSP_EXPORT xdsp_bool XDSP_API IsOnline(void);

/* ---- Discovery ------------------------------------------------------------ */

/* Counts the present HID interfaces (at most the first 64) with this vendor id
 * and product id (0xFFFF: any product), writing records for the first
 * recordCount of them when records is not NULL. Last-error 0. */
XDSP_EXPORT uint32_t XDSP_API EnumUSBHIDDevices(uint16_t vendorId, uint16_t productId,
                                                xdsp_device_record *records, uint32_t recordCount);

/* Opens the device exclusively for reading and writing. NULL on failure with the
 * system's code as last-error (2 not found, 32 held by another handle). */
XDSP_EXPORT xdsp_handle XDSP_API OpenUSBHIDDevice(const xdsp_device_record *record);
XDSP_EXPORT xdsp_handle XDSP_API OpenUSBHIDDevicePath(const xdsp_char16 *devicePath);

/* Report lengths of an open device, each counting the report-ID byte. Outputs
 * may be NULL; each given one is set to 0 first. FALSE when the device has no
 * HID capabilities to read. */
XDSP_EXPORT xdsp_boolean XDSP_API GetHIDUSBSizes(xdsp_handle device, uint32_t *inputLength,
                                                 uint32_t *outputLength, uint32_t *featureLength);

/* Finds the first device interface of the class (NULL: any class) whose ids
 * equal the "vid_"/"pid_" fields of idString and copies its path into
 * pathOut (260 characters, must hold an empty string on entry). */
XDSP_EXPORT xdsp_bool XDSP_API GetMatchingHID_Device(const xdsp_char16 *idString,
                                                     xdsp_char16 *pathOut,
                                                     const xdsp_guid *interfaceClass);

/* Reads the hexadecimal "vid_", "pid_" and "mi_" fields of a device path
 * (lower-case markers only). Returns a pointer just past the '#' that ends the
 * id fields (the device instance), or NULL. */
XDSP_EXPORT const xdsp_char16 *XDSP_API ParseDeviceName(const xdsp_char16 *devicePath,
                                                        uint16_t *vendorId, uint16_t *productId,
                                                        uint16_t *interfaceNumber);

/* ---- Serial-port companion ------------------------------------------------ */

/* Finds the serial port on interface 0 of the USB device that holds the HID
 * interface at hidPath, and writes its device path to portPath (260 characters)
 * and its display name to friendlyName (64 characters; a longer name is cut to
 * 63, while the port still comes from the whole name).
 * Windows: follows the device instances under the registry's USB branch and
 * writes "\\.\COMn"; when no port is found, "\\.\" and an empty name.
 * Linux: for a /dev/hidrawN path, the tty under the USB device's interface 0
 * ("/dev/ttyACMn", name "<product> (ttyACMn)"); both empty when none.
 * Always TRUE; success shows in the outputs. Either output may be NULL (it is
 * then skipped); a NULL hidPath finds nothing. Leaves the last-error alone. */
XDSP_EXPORT xdsp_bool XDSP_API GetMatchingHID_COMDevice(const xdsp_char16 *hidPath,
                                                        xdsp_char16 *portPath,
                                                        xdsp_char16 *friendlyName);

/* ---- SPI transfers ---------------------------------------------------------
 * The board's microcontroller is the SPI master of its DSP. spiSelect, busyMask,
 * spiSettingA and spiSettingB go to it unchanged; modeFlag nonzero selects
 * transfer mode 0x0303, zero 0x0101. readLength bytes are always copied to
 * readData (zeros where the board delivered fewer).
 *
 * All three return TRUE with last-error 0 on success; FALSE with 6 when no link
 * runs (nothing written to the debug output), 1359 when a read was asked for
 * and no response came within 10000 ms (readData then holds zeros), 87 when an
 * argument does not fit (nothing staged or sent, readData untouched): a write
 * or data block past the output report, a batch list over 99 bytes, a
 * readLength over 1024 (the response buffer), or a NULL buffer for a nonzero
 * length. While the board reports busy they wait up to 1000 ms and then send
 * anyway, writing "Done.  (timeout)". A transfer without a read succeeds once
 * it is sent. */

/* One transfer: writes writeLength bytes (at most the output report length less
 * 27, 485 on the usual 512-byte report) and reads readLength bytes. */
XDSP_EXPORT xdsp_bool XDSP_API WriteSPIEx(uint16_t spiSelect, uint16_t busyMask, int32_t modeFlag,
                                          uint16_t spiSettingA, uint16_t spiSettingB,
                                          const uint8_t *writeData, uint32_t writeLength,
                                          uint8_t *readData, uint32_t readLength);

/* WriteSPIEx with busyMask 0. */
XDSP_EXPORT xdsp_bool XDSP_API WriteSPI(uint16_t spiSelect, int32_t modeFlag, uint16_t spiSettingA,
                                        uint16_t spiSettingB, const uint8_t *writeData,
                                        uint32_t writeLength, uint8_t *readData,
                                        uint32_t readLength);

/* A batch: the list (at most 99 bytes, the board's to interpret, ended by 0xFF
 * on the wire) and one data block (at most the output report length less 125;
 * 0 for none), then readLength bytes read. */
XDSP_EXPORT xdsp_bool XDSP_API BatchSPI(uint16_t spiSelect, uint16_t busyMask, int32_t modeFlag,
                                        uint16_t spiSettingA, uint16_t spiSettingB,
                                        const uint8_t *batchList, uint32_t batchListLength,
                                        const uint8_t *batchData, uint32_t batchDataLength,
                                        uint8_t *readData, uint32_t readLength);

/* ---- Device control ------------------------------------------------------- */

/* The GPIO input word as last reported by the board (0 before any report).
 * Needs no link; leaves the last-error alone. */
XDSP_EXPORT uint16_t XDSP_API GetGPIOIn(void);

/* Stores the GPIO output word, carried in every later output report (also after
 * the next open), and sends command 0xFFFF when a link runs. Reports nothing. */
XDSP_EXPORT void XDSP_API SetGPIOOut(uint16_t gpioOut);

/* The last 14-bit reading (0 to 16383) of ADC channel 0 to 3; 65535 for any
 * other channel. Needs no link; leaves the last-error alone. */
XDSP_EXPORT uint16_t XDSP_API GetADCIn(uint32_t channel);

/* Switches ADC sampling on (nonzero) or off and waits up to 1000 ms for the next
 * input report. Returns 0 when it came, 258 (time-out) when not, at once when
 * no link runs (then nothing is sent). Leaves the last-error alone. */
XDSP_EXPORT uint32_t XDSP_API XMOS_EnableADC(int32_t enable);

/* 1 when the board reports itself initialised (GPIO bit 10), else 0, with
 * last-error 0; 0 with last-error 6 when no link runs. */
XDSP_EXPORT xdsp_bool XDSP_API IsDeviceInitialized(void);

/* Copies the 188-byte product-name record (from byte 16 the zero-terminated
 * ASCII product name). When none has arrived yet, asks the board for it and
 * waits up to 1000 ms first; after a time-out the record is copied as it is.
 * NULL: nothing done, last-error 87. */
XDSP_EXPORT void XDSP_API GetProductNameStruct(uint8_t *record);

/* Asks the board for its layout record (command 0xF001) and returns at once;
 * nothing is sent when no link runs. */
XDSP_EXPORT void XDSP_API RequestLayoutStruct(void);

/* Waits up to 10000 ms for the board's answer to RequestLayoutStruct, then
 * copies the 212-byte layout record whether or not it came. Returns 0 when the
 * answer came, 258 (time-out) when not (at once when no link runs), and
 * 0xFFFFFFFF with last-error 87 for a NULL record (nothing waited or copied). */
XDSP_EXPORT uint32_t XDSP_API GetLayoutStruct(uint8_t *record);

/* Copies the 8-byte Pellix record as the board last sent it (zeros if never).
 * Sends nothing. NULL: nothing done, last-error 87. */
XDSP_EXPORT void XDSP_API GetPellixStruct(uint8_t *record);

/* Writes the Pellix record (command 0xF101) after waiting up to 1000 ms while
 * the board is busy. Always returns 0; last-error 6 when no link runs, 87 when
 * the output report is shorter than 21 bytes, else unchanged. */
XDSP_EXPORT xdsp_bool XDSP_API WritePellix(uint32_t valueA, uint16_t valueB, uint8_t valueC);

/* Boots the board (command 0xF011 for a nonzero bootFlag, 0xF013 for 0), or
 * suspends it (0xF012). The outcome is the last-error: 0 on success (the call
 * returns 200 ms after the board's next report), 6 when no link runs, 1359
 * when the board reports an error (after a message box "Error in BootDevice" or
 * "Error in SuspendDevice", caption "Error"). */
XDSP_EXPORT void XDSP_API BootDevice(int32_t bootFlag);
XDSP_EXPORT void XDSP_API SuspendDevice(void);

/* ---- Flash, pins, TEDS, calibration ------------------------------------------
 * Each waits up to 1000 ms (ReadFLASH 500 ms) while the board is busy and then
 * sends anyway. Last-error 0 on success; 6 when no link runs (nothing written to
 * the debug output); 87 when an argument does not fit or a buffer is NULL
 * (nothing staged or sent); 1359 when the board reports an error after the
 * command (a message box, caption "Error", is shown first; WriteTEDS makes no
 * such check) or an awaited answer does not come within 10000 ms. */

/* Writes count bytes (only the first 256 are sent) at a flash address; the
 * flash word goes to the board unchanged. TRUE 200 ms after the board accepted
 * it; FALSE otherwise. */
XDSP_EXPORT xdsp_bool XDSP_API WriteFLASH(uint32_t address, uint16_t flashWord, const uint8_t *data,
                                          uint32_t count);

/* Reads min(count, 256) bytes from a flash address into buffer (bytes beyond
 * are left alone). TRUE also when the answer does not come in time: the buffer
 * then holds what an earlier answer left. FALSE on an error or refusal. */
XDSP_EXPORT xdsp_bool XDSP_API ReadFLASH(uint32_t address, uint8_t *buffer, uint32_t count);

/* Sets the 16-bit pins value; the first argument is not used. TRUE or FALSE. */
XDSP_EXPORT xdsp_bool XDSP_API SetPIN(uint32_t unused, uint16_t pins);

/* The board's pins value. Tell a failure by the last-error: 0xFFFF with 1359
 * when the board reports an error, 0 with 1359 when no answer came, 0 with 6. */
XDSP_EXPORT uint16_t XDSP_API GetPIN(void);

/* Writes writeCount bytes to the TEDS memory (at most the output report length
 * less 19, and 65535) and reads readCount bytes back (at most 1024; 0 for none:
 * TRUE as soon as the command is sent). The control word goes to the board
 * unchanged. FALSE with 1359 when no answer came (readData then holds zeros). */
XDSP_EXPORT xdsp_bool XDSP_API WriteTEDS(uint16_t control, const uint8_t *writeData,
                                         uint32_t writeCount, uint8_t *readData,
                                         uint32_t readCount);

/* Stores a 40-byte calibration block on the board, in the caller's byte order. */
XDSP_EXPORT xdsp_bool XDSP_API WriteCalibrate(const uint8_t *block);

/* Reads the 40-byte calibration block into block. 1 on success, 0 on failure
 * (last-error 6, 87 or 1359), -1 when the board reports an error (1359). */
XDSP_EXPORT int32_t XDSP_API ReadCalibrate(uint8_t *block);

/* ---- Boot-loader framing ---------------------------------------------------
 * The DSP's resident boot loader is spoken to with "BOOT" commands carried by
 * WriteSPIEx. Its operations judge only the boot loader's reply bytes: a reply
 * that does not come reads as zeros. They set no last-error code of their own;
 * the code left is that of their last transfer (6 when no link runs). One
 * boot-loader operation at a time: the settings, the file table and the texts
 * are process-wide and unguarded.
 *
 * Progress callback: called on the caller's thread with a percentage and the
 * caller's context value; its result is ignored. Either calling convention
 * works on 32-bit x86. */
typedef int32_t(XDSP_API *xdsp_progress_callback)(int32_t percent, uint32_t context);

/* Read-prefix mode (on at load): replies are fetched with a separate "RD"
 * transfer after the boot loader's busy line clears. Only 1 switches it on. */
XDSP_EXPORT void XDSP_API XMOSSPI_SetReadPrefix(int32_t enable);
/* 1 while the read-prefix mode is on, else 0. */
XDSP_EXPORT int32_t XDSP_API XMOSSPI_GetReadPrefix(void);

/* Drains reply bytes the boot loader may still hold (at most 136 bytes, ending
 * early when its busy line rises). */
XDSP_EXPORT void XDSP_API XMOSBoot_Flush(void);

/* Reads the DSP's 16-word status record into status (host order), or only
 * checks it when status is NULL. 1 when a record with the "STAT" magic came
 * within 2500 ms; 0 otherwise, status untouched. */
XDSP_EXPORT xdsp_bool XDSP_API XMOS_DSP_STAT(uint32_t *status);

/* ---- Boot-loader identification ----------------------------------------------
 * The texts live in the library's buffers until the same query runs again. */

/* The boot loader's version as "%d.%02d" ("0.00" when it does not answer). */
XDSP_EXPORT const xdsp_char16 *XDSP_API XMOSBoot_GetVersionType(void);
/* The board's product name, or "%02X %02X %02X %02X [%08X]" of an unknown code. */
XDSP_EXPORT const xdsp_char16 *XDSP_API XMOSBoot_GetProductType(void);
/* The DSP's four identification bytes as "%02X %02X %02X %02X". */
XDSP_EXPORT const xdsp_char16 *XDSP_API XMOSBoot_GetDSPType(void);
/* The flash chip's four identification bytes as "%02X %02X %02X %02X". */
XDSP_EXPORT const xdsp_char16 *XDSP_API XMOSBoot_GetMemoryType(void);
/* The flash size in bytes; 0 for no chip, an unknown chip or no answer. */
XDSP_EXPORT uint32_t XDSP_API XMOSBoot_GetMemorySize(void);

/* ---- Boot-loader file system ---------------------------------------------------
 * Files are named by index 0 to 14 (sent as file number index + 1). Each
 * returns 1 when the boot loader echoed the command, else 0. */

XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_EraseFile(uint32_t fileIndex);
/* Allocates the 4096-byte sectors from startAddress up to endAddress (byte
 * addresses, shifted right by 12). */
XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_AllocateFile(uint32_t fileIndex, uint32_t startAddress,
                                                     uint32_t endAddress);
/* Prepares a file's area for data; waits up to 60 s while the flash erases. */
XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_FormatFile(uint32_t fileIndex);
/* Prepares the boot file's area; the low 16 bits of value are sent (31415). */
XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_FormatBootFile(int32_t value);
/* Ends a file's data (index 300: the boot file); asks twice. Takes over 2 s. */
XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_CloseFile(uint32_t fileIndex);
/* Type 0 Data, 1 Boot, 2 FPGA, 3 Link. An index over 254 or a type outside 0
 * to 255 does not fit the command: 0, nothing sent. */
XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_SetFileType(uint32_t fileIndex, int16_t type);
/* Makes the board's file table changes lasting. */
XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_Commit(void);
/* Stores the name (NULL: keep the table's; at most 62 characters, 8-bit
 * Latin-1 on the board, '?' for other characters) and the date (OLE automation
 * date: the creation date when the table has none, the modification date when
 * above 1.0), in the file table first and then on the board; asks twice.
 * Index 15 or more: 0, nothing touched or sent. */
XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_SetFileNameDate(uint32_t fileIndex, const xdsp_char16 *name,
                                                        double date);
/* Starts the DSP program from flash. Always 1. */
XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_Run(void);
/* The file's 16-bit checksum as the boot loader reports it (index 300: the
 * boot file); 0 when it does not answer. */
XDSP_EXPORT uint16_t XDSP_API XMOSBoot_GetChecksum(uint32_t fileIndex);

/* ---- File table and transfer ------------------------------------------------------ */

/* Reads the boot loader's allocation table and every file's record into the
 * library's file table. 1 when the table came (a file record that does not
 * leaves its entry empty); 0 after two failed tries, with the message box
 * "FAI Error" (no caption, style 0x30) and an empty file table. */
XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_BuildFAI(void);

/* Sends length bytes in 256-byte packets after a format of the same file
 * (fileIndex is not sent); an odd last byte is not sent. Reports
 * progressStart + offset / length * (progressEnd - progressStart) after each
 * full packet and progressEnd at the end. 1; 0 only for NULL data with a
 * positive length (nothing sent). */
XDSP_EXPORT xdsp_bool XDSP_API XMOSBoot_SendFile(int32_t fileIndex, const uint8_t *data,
                                                 int32_t length, int32_t progressStart,
                                                 int32_t progressEnd,
                                                 xdsp_progress_callback callback, uint32_t context);

/* ---- Boot-loader front end ---------------------------------------------------- */

/* Sets the boot loader's SPI select and busy-line mask, reads the memory size,
 * version, product and DSP texts and the file table. 1 when all came; 0 when
 * the memory size reads 0 (texts and table kept) or the table read failed. */
XDSP_EXPORT xdsp_bool XDSP_API BootLoader_Init(uint16_t select, uint16_t busyMask);

/* Uploads a file (index 0 to 14, or 31415 for the boot file) into the sectors
 * from startAddress to endAddress with its type, name and the local time as
 * date, reporting 10, 15, 20, 25 to 80, 85, 90, 95 and 100, and compares the
 * board's checksum with the data's. With showErrors, failures open a message
 * box (no caption, style 0x30). Returns 0 when it stopped early, with
 * last-error 87 (index out of range, or NULL data with a length: nothing
 * sent), 7 (file table re-read failed), 11 (format failed) or that of the
 * transfers (sending failed); else 1, with last-error 0x8009700D when the
 * checksums differ. Takes several seconds. */
XDSP_EXPORT xdsp_bool XDSP_API BootLoader_Send(int32_t fileIndex, int16_t type,
                                               uint32_t startAddress, uint32_t endAddress,
                                               const xdsp_char16 *name, const uint8_t *data,
                                               uint32_t length, xdsp_bool showErrors,
                                               xdsp_progress_callback callback, uint32_t context);

/* 15. */
XDSP_EXPORT uint32_t XDSP_API BootLoader_MaxFiles(void);

/* A file table entry: type, start and end address (sectors times 4096), FAI
 * word 5 times 4096, the name (cut to nameCapacity - 1 characters; with
 * capacity 0 not touched), creation and modification dates (0.0: none). 0 for
 * an index outside 0 to 14 and, with last-error 87, for a NULL output;
 * nothing written then. */
XDSP_EXPORT xdsp_bool XDSP_API BootLoader_GetFileDesc(int32_t fileIndex, uint16_t *type,
                                                      uint32_t *startAddress, uint32_t *endAddress,
                                                      uint32_t *faiBytes, xdsp_char16 *name,
                                                      uint32_t nameCapacity, double *creationDate,
                                                      double *modificationDate);

/* "Data", "Boot", "FPGA", "Link" for types 0 to 3; "" for any other. */
XDSP_EXPORT const xdsp_char16 *XDSP_API BootLoader_GetTypeName(int16_t type);

/* Starts the DSP program (XMOSBoot_Run). Always 1. */
XDSP_EXPORT xdsp_bool XDSP_API BootLoader_Boot(void);

/* Copies kept by the last successful BootLoader_Init (empty before). */
XDSP_EXPORT const xdsp_char16 *XDSP_API BootLoader_GetVersion(void);
XDSP_EXPORT const xdsp_char16 *XDSP_API BootLoader_GetProduct(void);
XDSP_EXPORT const xdsp_char16 *XDSP_API BootLoader_GetDSP(void);
XDSP_EXPORT uint32_t XDSP_API BootLoader_GetMemory(void);

/* The byte sum of length bytes modulo 65536 (0 for NULL data). */
XDSP_EXPORT uint16_t XDSP_API BootLoader_ComputeFileChecksum(const uint8_t *data, uint32_t length);

/* The board's checksum of a file (index 0 to 14, or 300 for the boot file);
 * 0xFFFF for any other index, with nothing sent. */
XDSP_EXPORT uint16_t XDSP_API BootLoader_GetFileChecksum(int32_t fileIndex);

/* ---- Audio module ------------------------------------------------------------
 * USER commands for boards whose DSP runs the audio firmware, framed and sent
 * like the boot-loader commands (read-prefix mode included). What the values
 * mean belongs to the firmware. They set no last-error code of their own: the
 * code left is that of their last transfer (6 when no link runs). One command
 * at a time, and not alongside boot-loader operations. */

/* Mute on (any nonzero value) or off. The firmware's 16-bit answer; 0xFFFF
 * when the reply does not carry "USER" (no link, no answer). */
XDSP_EXPORT int32_t XDSP_API Halvio_Mute(int32_t on);
/* Loads filter 0 to 9 (a larger number sends its first digit and the rest as
 * extra bytes). The answer as Halvio_Mute's. */
XDSP_EXPORT int32_t XDSP_API Halvio_LoadFilter(uint32_t filter);
/* Loads algorithm 0 to 255. The answer as Halvio_Mute's. */
XDSP_EXPORT int32_t XDSP_API Halvio_LoadAlgorithm(int32_t algorithm);
/* Resets the audio firmware; nothing is read back. */
XDSP_EXPORT void XDSP_API Halvio_Reset(void);
/* Line output on (any nonzero value) or off. The answer as Halvio_Mute's. */
XDSP_EXPORT int32_t XDSP_API Halvio_LineOut(int32_t on);
/* Selects source 0 to 9 (as Halvio_LoadFilter for larger values). The answer
 * as Halvio_Mute's. */
XDSP_EXPORT int32_t XDSP_API Halvio_Source(int32_t source);
/* The name and dates of the firmware's file fileNumber (0 to 255). Returns
 * 500 ms after the reply. The name is cut to nameCapacity - 1 characters
 * (capacity 0: not touched); dates are OLE automation dates. Without a valid
 * reply: empty name and both dates 0.0. A NULL output is skipped. */
XDSP_EXPORT void XDSP_API Halvio_LoadFilename(int32_t fileNumber, xdsp_char16 *name,
                                              uint32_t nameCapacity, double *creationDate,
                                              double *modificationDate);
/* Sends the first length bytes (rounded down to even) to the firmware and
 * compares what comes back: 1 when equal, else 0 with a dump of both sides.
 * Length over 400: 0, nothing sent. NULL data with a length: 0, last-error
 * 87, nothing sent. */
XDSP_EXPORT xdsp_bool XDSP_API Halvio_Echo(const uint8_t *data, uint32_t length);

/* ---- Report protocol notes -------------------------------------------------
 * Layout record: the firmware answers command 0xF001 with response code 0xF001
 * (payload bit set); its 212 bytes lie at input offsets 14 to 225 and are copied
 * into the layout record, which sets the response event.
 */

#ifndef _WIN32
/* ---- Linux extras ---------------------------------------------------------- */
typedef void (*xdsp_debug_handler)(const xdsp_char16 *text, void *context);
typedef int (*xdsp_message_handler)(const xdsp_char16 *text, const xdsp_char16 *caption,
                                    uint32_t style, void *context);
XDSP_EXPORT uint32_t xdsp_last_error(void); /* the calling thread's last-error code */
XDSP_EXPORT void xdsp_set_last_error(uint32_t code);
XDSP_EXPORT void xdsp_set_debug_handler(xdsp_debug_handler handler,
                                        void *context); /* NULL: silent */
XDSP_EXPORT void xdsp_set_message_handler(xdsp_message_handler handler,
                                          void *context); /* NULL: silent, returns 1 (OK) */
/* Closes a handle from OpenUSBHIDDevice or OpenUSBHIDDevicePath and gives up
 * its exclusive hold on the device, as CloseHandle does on Windows. TRUE; FALSE
 * with last-error 6 for NULL. A handle must be closed once only. */
XDSP_EXPORT xdsp_bool xdsp_close_device(xdsp_handle device);
#endif

#ifdef __cplusplus
}
#endif

#endif
