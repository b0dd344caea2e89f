/**
 * @file board_device.h
 * @brief The board API's commands that the board's microcontroller carries out:
 * SPI, GPIO, ADC, flash, pins, TEDS, calibration, power and records.
 * Included by board.h.
 */
#ifndef XDSP_BOARD_DEVICE_H
#define XDSP_BOARD_DEVICE_H

#include "xdsp/board.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup xdsp_board_device The board's own commands
 * @brief SPI, GPIO, ADC, flash, pins, TEDS, calibration, power and records,
 * as the board's microcontroller carries them out.
 * @{
 */

/** The settings of one SPI transfer or batch. */
typedef struct xdsp_spi_settings {
    uint16_t select;    /**< The SPI select line. */
    uint16_t busy_mask; /**< GPIO bits to wait on before the transfer; 0: none. */
    int32_t mode;       /**< The mode flag. */
    uint16_t setting_a; /**< First clock setting. */
    uint16_t setting_b; /**< Second clock setting. */
} xdsp_spi_settings;

/**
 * @brief One SPI transfer: write, then read.
 * @param board The board.
 * @param settings The transfer's settings.
 * @param write_data Bytes to write; may be NULL when @p write_length is 0.
 * @param write_length Bytes to write.
 * @param read_data Receives the bytes read; may be NULL when @p read_length is 0.
 * @param read_length Bytes to read.
 * @return #XDSP_STATUS_OK; #XDSP_STATUS_INVALID_ARGUMENT when the data does
 *         not fit the report; #XDSP_STATUS_NO_ANSWER; #XDSP_STATUS_LINK_LOST.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_spi_transfer(xdsp_board *board,
                                                        const xdsp_spi_settings *settings,
                                                        const uint8_t *write_data,
                                                        size_t write_length, uint8_t *read_data,
                                                        size_t read_length);

/**
 * @brief A batch of SPI transfers described by a list and one data block.
 * @param board The board.
 * @param settings The batch's settings.
 * @param list The batch list.
 * @param list_length Bytes of @p list.
 * @param data The data block.
 * @param data_length Bytes of @p data.
 * @param read_data Receives the bytes read.
 * @param read_length Bytes to read.
 * @return As xdsp_board_spi_transfer().
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_spi_batch(xdsp_board *board,
                                                     const xdsp_spi_settings *settings,
                                                     const uint8_t *list, size_t list_length,
                                                     const uint8_t *data, size_t data_length,
                                                     uint8_t *read_data, size_t read_length);

/**
 * @brief The GPIO inputs as the last input report carried them.
 * @param board The board.
 * @param inputs Receives the GPIO word.
 * @return #XDSP_STATUS_OK, or #XDSP_STATUS_INVALID_ARGUMENT.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_gpio_read(xdsp_board *board, uint16_t *inputs);

/**
 * @brief Sets the GPIO outputs.
 * @param board The board.
 * @param outputs The GPIO output word.
 * @return #XDSP_STATUS_OK, or #XDSP_STATUS_LINK_LOST.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_gpio_write(xdsp_board *board, uint16_t outputs);

/**
 * @brief The last value of an ADC channel.
 * @param board The board.
 * @param channel 0 to 3.
 * @param value Receives the 14-bit value.
 * @return #XDSP_STATUS_OK, or #XDSP_STATUS_INVALID_ARGUMENT.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_adc_read(xdsp_board *board, unsigned channel,
                                                    uint16_t *value);

/**
 * @brief Switches the ADC sampling on or off.
 * @param board The board.
 * @param enable Nonzero: on.
 * @return #XDSP_STATUS_OK, #XDSP_STATUS_NO_ANSWER or #XDSP_STATUS_LINK_LOST.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_adc_enable(xdsp_board *board, int enable);

/**
 * @brief Writes up to 256 bytes of flash.
 * @param board The board.
 * @param address The flash address.
 * @param flash_word The command's flash word.
 * @param data The bytes.
 * @param count 1 to 256.
 * @return #XDSP_STATUS_OK, #XDSP_STATUS_INVALID_ARGUMENT,
 *         #XDSP_STATUS_BOARD_ERROR or #XDSP_STATUS_LINK_LOST.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_flash_write(xdsp_board *board, uint32_t address,
                                                       uint16_t flash_word, const uint8_t *data,
                                                       size_t count);

/**
 * @brief Reads flash.
 * @param board The board.
 * @param address The flash address.
 * @param data Receives the bytes.
 * @param count 1 to 256.
 * @return #XDSP_STATUS_OK, #XDSP_STATUS_INVALID_ARGUMENT,
 *         #XDSP_STATUS_NO_ANSWER (no answer within 10 s: @p data then holds
 *         what the board answered before) or #XDSP_STATUS_LINK_LOST.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_flash_read(xdsp_board *board, uint32_t address,
                                                      uint8_t *data, size_t count);

/**
 * @brief Sets the board's 16 pins.
 * @param board The board.
 * @param pins The pin word.
 * @return #XDSP_STATUS_OK, #XDSP_STATUS_BOARD_ERROR or #XDSP_STATUS_LINK_LOST.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_pins_write(xdsp_board *board, uint16_t pins);

/**
 * @brief Reads the board's 16 pins.
 * @param board The board.
 * @param pins Receives the pin word.
 * @return #XDSP_STATUS_OK, #XDSP_STATUS_BOARD_ERROR, #XDSP_STATUS_NO_ANSWER or
 *         #XDSP_STATUS_LINK_LOST.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_pins_read(xdsp_board *board, uint16_t *pins);

/**
 * @brief One TEDS memory transfer.
 * @param board The board.
 * @param control The control word.
 * @param write_data Bytes to write.
 * @param write_count Bytes to write.
 * @param read_data Receives the bytes read.
 * @param read_count Bytes to read.
 * @return #XDSP_STATUS_OK, #XDSP_STATUS_INVALID_ARGUMENT,
 *         #XDSP_STATUS_NO_ANSWER or #XDSP_STATUS_LINK_LOST.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_teds_transfer(xdsp_board *board, uint16_t control,
                                                         const uint8_t *write_data,
                                                         size_t write_count, uint8_t *read_data,
                                                         size_t read_count);

/**
 * @brief Writes the 40-byte calibration block.
 * @param board The board.
 * @param block #XDSP_CALIBRATION_BLOCK_SIZE bytes.
 * @return #XDSP_STATUS_OK, #XDSP_STATUS_INVALID_ARGUMENT,
 *         #XDSP_STATUS_BOARD_ERROR or #XDSP_STATUS_LINK_LOST.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_calibration_write(xdsp_board *board,
                                                             const uint8_t *block);

/**
 * @brief Reads the 40-byte calibration block.
 * @param board The board.
 * @param block Receives #XDSP_CALIBRATION_BLOCK_SIZE bytes.
 * @return #XDSP_STATUS_OK, #XDSP_STATUS_INVALID_ARGUMENT,
 *         #XDSP_STATUS_BOARD_ERROR, #XDSP_STATUS_NO_ANSWER or
 *         #XDSP_STATUS_LINK_LOST.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_calibration_read(xdsp_board *board, uint8_t *block);

/**
 * @brief Boots the board's DSP.
 * @param board The board.
 * @param first_form Nonzero: the first form of the boot command.
 * @return #XDSP_STATUS_OK, #XDSP_STATUS_BOARD_ERROR or #XDSP_STATUS_LINK_LOST.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_boot(xdsp_board *board, int first_form);

/**
 * @brief Suspends the board.
 * @param board The board.
 * @return #XDSP_STATUS_OK, #XDSP_STATUS_BOARD_ERROR or #XDSP_STATUS_LINK_LOST.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_suspend(xdsp_board *board);

/**
 * @brief Whether the device is open (it is not while the link reopens it).
 * @param board The board.
 * @return #XDSP_STATUS_OK when open, #XDSP_STATUS_LINK_LOST when not.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_online(xdsp_board *board);

/**
 * @brief Whether the board reports itself initialised (GPIO bit 0x0400).
 * @param board The board.
 * @param initialized Receives 1 or 0.
 * @return #XDSP_STATUS_OK, #XDSP_STATUS_INVALID_ARGUMENT or
 *         #XDSP_STATUS_LINK_LOST.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_initialized(xdsp_board *board, int *initialized);

/**
 * @brief Asks for the layout record and waits for it.
 * @param board The board.
 * @param record Receives #XDSP_LAYOUT_RECORD_SIZE bytes.
 * @return #XDSP_STATUS_OK, #XDSP_STATUS_INVALID_ARGUMENT,
 *         #XDSP_STATUS_NO_ANSWER or #XDSP_STATUS_LINK_LOST.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_layout_read(xdsp_board *board, uint8_t *record);

/**
 * @brief The Pellix record as the board last sent it.
 * @param board The board.
 * @param record Receives #XDSP_PELLIX_RECORD_SIZE bytes.
 * @return #XDSP_STATUS_OK or #XDSP_STATUS_INVALID_ARGUMENT.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_pellix_read(xdsp_board *board, uint8_t *record);

/**
 * @brief Writes the Pellix record.
 * @param board The board.
 * @param value_a First value.
 * @param value_b Second value.
 * @param value_c Third value.
 * @return #XDSP_STATUS_OK, #XDSP_STATUS_BOARD_ERROR or #XDSP_STATUS_LINK_LOST.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_pellix_write(xdsp_board *board, uint32_t value_a,
                                                        uint16_t value_b, uint8_t value_c);

/**
 * @brief Sends a bare command code and returns without waiting.
 * @param board The board.
 * @param command_code The command.
 * @return #XDSP_STATUS_OK, or #XDSP_STATUS_LINK_LOST.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_send_command(xdsp_board *board, uint16_t command_code);

/**
 * @brief The device's report lengths, report-ID byte included.
 * @param board The board.
 * @param input Receives the input report length; may be NULL.
 * @param output Receives the output report length; may be NULL.
 * @return #XDSP_STATUS_OK, or #XDSP_STATUS_LINK_LOST.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_report_lengths(xdsp_board *board, size_t *input,
                                                          size_t *output);

/** @} */

#ifdef __cplusplus
}
#endif

#endif
