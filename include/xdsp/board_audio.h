/**
 * @file board_audio.h
 * @brief The board API's commands to the audio firmware. Included by board.h.
 */
#ifndef XDSP_BOARD_AUDIO_H
#define XDSP_BOARD_AUDIO_H

#include "xdsp/board.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup xdsp_board_audio The audio firmware
 * @brief The audio firmware's "USER" commands. Each value command gives the
 * firmware's 16-bit answer.
 * @{
 */

/**
 * @brief Mutes or unmutes the output.
 * @param board The board.
 * @param on Nonzero: mute.
 * @param answer Receives the firmware's answer; may be NULL.
 * @return #XDSP_STATUS_OK, or #XDSP_STATUS_NO_ANSWER.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_audio_mute(xdsp_board *board, int on, uint16_t *answer);

/**
 * @brief Loads a filter.
 * @param board The board.
 * @param filter The filter number.
 * @param answer Receives the firmware's answer; may be NULL.
 * @return #XDSP_STATUS_OK, or #XDSP_STATUS_NO_ANSWER.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_audio_load_filter(xdsp_board *board, uint32_t filter,
                                                             uint16_t *answer);

/**
 * @brief Loads an algorithm.
 * @param board The board.
 * @param algorithm The algorithm number.
 * @param answer Receives the firmware's answer; may be NULL.
 * @return #XDSP_STATUS_OK, or #XDSP_STATUS_NO_ANSWER.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_audio_load_algorithm(xdsp_board *board,
                                                                int32_t algorithm,
                                                                uint16_t *answer);

/**
 * @brief Switches the line output.
 * @param board The board.
 * @param on Nonzero: on.
 * @param answer Receives the firmware's answer; may be NULL.
 * @return #XDSP_STATUS_OK, or #XDSP_STATUS_NO_ANSWER.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_audio_line_out(xdsp_board *board, int on,
                                                          uint16_t *answer);

/**
 * @brief Selects the input source.
 * @param board The board.
 * @param source The source number.
 * @param answer Receives the firmware's answer; may be NULL.
 * @return #XDSP_STATUS_OK, or #XDSP_STATUS_NO_ANSWER.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_audio_source(xdsp_board *board, int32_t source,
                                                        uint16_t *answer);

/**
 * @brief Resets the audio firmware (it gives no answer).
 * @param board The board.
 * @return #XDSP_STATUS_OK.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_audio_reset(xdsp_board *board);

/**
 * @brief Sends bytes that the firmware must send back unchanged.
 * @param board The board.
 * @param data The bytes, at most 400, whole 16-bit words.
 * @param length Bytes of @p data.
 * @return #XDSP_STATUS_OK, #XDSP_STATUS_INVALID_ARGUMENT, or
 *         #XDSP_STATUS_NO_ANSWER when they did not come back.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_audio_echo(xdsp_board *board, const uint8_t *data,
                                                      size_t length);

/**
 * @brief The name and dates of one of the audio firmware's files.
 * @param board The board.
 * @param number The firmware's file number.
 * @param name Receives the name in UTF-8, cut and terminated.
 * @param capacity Size of @p name in bytes.
 * @param created Receives the creation date; may be NULL.
 * @param modified Receives the modification date; may be NULL.
 * @return #XDSP_STATUS_OK, #XDSP_STATUS_INVALID_ARGUMENT, or
 *         #XDSP_STATUS_NO_ANSWER when no name came.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_audio_file_name(xdsp_board *board, int32_t number,
                                                           char *name, size_t capacity,
                                                           double *created, double *modified);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
