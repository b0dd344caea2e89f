/**
 * @file device.h
 * @brief The flat API's commands to the board's microcontroller: SPI transfers,
 * device control, flash, pins, TEDS and calibration. Included by xdsp.h.
 */
#ifndef XDSP_DEVICE_H
#define XDSP_DEVICE_H

#include "xdsp/types.h"

#ifdef __cplusplus
extern "C" {
#endif

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

#ifdef __cplusplus
}
#endif

#endif
