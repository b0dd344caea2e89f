/**
 * @file audio.h
 * @brief The flat API's commands to the audio firmware. Included by xdsp.h.
 */
#ifndef XDSP_AUDIO_H
#define XDSP_AUDIO_H

#include "xdsp/types.h"

#ifdef __cplusplus
extern "C" {
#endif

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

#ifdef __cplusplus
}
#endif

#endif
