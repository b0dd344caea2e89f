/**
 * @file boot_loader.h
 * @brief The flat API's commands to the DSP's resident boot loader: framing,
 * identification, file system, file table and transfer, and the front
 * end built on them. Included by xdsp.h.
 */
#ifndef XDSP_BOOT_LOADER_H
#define XDSP_BOOT_LOADER_H

#include "xdsp/types.h"

#ifdef __cplusplus
extern "C" {
#endif

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

#ifdef __cplusplus
}
#endif

#endif
