/**
 * @file board.h
 * @brief The board API: every board its own handle, any number open in one
 * process.
 *
 * Each open board has its own link and poll thread, its own boot-loader state
 * and its own log. Nothing here touches the process-wide board of the flat API
 * in xdsp.h, and nothing here sets the thread's last-error code or opens a
 * message box.
 *
 * @par Results
 * Every call returns a status: 0 for success, a negative code
 * otherwise (see xdsp_status); xdsp_status_text() names it. Where the flat API would open a
 * message box, the board API returns the status and keeps the box's text for
 * that board (xdsp_board_last_message()).
 *
 * @par Threads
 * Any thread may call. Calls on one board are serialised by the board: a whole
 * command (or a whole upload) runs before the next call on that board starts,
 * so two threads never interleave on its wire. Calls on different boards run
 * in parallel. The log callback and the upload's progress callback run on the
 * calling thread, the log callback also on the board's poll thread; they must
 * not call back into the same board.
 *
 * @par Closing
 * xdsp_board_close() lets the call in progress on the board finish (an upload
 * is cancelled at its next packet and cleaned up as a cancel is), makes every
 * call that was waiting for its turn return #XDSP_STATUS_CLOSED, then closes
 * the link and frees the handle. The handle must not be used once
 * xdsp_board_close() has returned.
 *
 * @par Texts
 * Paths, names and log lines are UTF-8. The board keeps 8-bit names: each
 * UTF-16 unit of a character above U+00FF is stored as '?' (two for one
 * beyond U+FFFF).
 *
 * On Windows the board API is its own DLL, @c xdsp_board.dll (calling
 * convention @c __cdecl); on Linux it is part of @c libxdsp.so.
 */
#ifndef XDSP_BOARD_H
#define XDSP_BOARD_H

#include "xdsp/xdsp.h"

#include <stddef.h>
#include <stdint.h>

/**
 * @defgroup xdsp_board_call Calling convention
 * @brief How the board API's functions and callbacks are called.
 * @{
 */
#if defined(_WIN32)
/** @c __cdecl on Windows, stated so that a caller compiled to another default
 *  (MSVC's /Gz) still calls right; the platform's own elsewhere (empty). */
#define XDSP_BOARD_CALL __cdecl
#else
#define XDSP_BOARD_CALL
#endif
/** @} */

#ifdef __cplusplus
extern "C" {
#endif

/**
 * @defgroup xdsp_board_basics Handles, statuses and the log
 * @brief Opening and closing a board, what calls return, where lines go.
 * @{
 */

/** An open board. Made by xdsp_board_open(), freed by xdsp_board_close(). */
typedef struct xdsp_board xdsp_board;

/** What a board API call returns. */
typedef enum xdsp_status {
    XDSP_STATUS_OK = 0,             /**< Success. */
    XDSP_STATUS_NOT_FOUND = -1,     /**< Nothing at the path. */
    XDSP_STATUS_BUSY = -2,          /**< The board is open elsewhere, in this process or another. */
    XDSP_STATUS_NO_PERMISSION = -3, /**< This user may not open the board. */
    XDSP_STATUS_LINK_LOST = -4, /**< The board went away; the link reopens it when it comes back. */
    XDSP_STATUS_NO_ANSWER =
        -5, /**< The board or its boot loader did not answer as asked in time. */
    XDSP_STATUS_BOARD_ERROR = -6, /**< The board set its error bit after the command. */
    XDSP_STATUS_CHECKSUM_MISMATCH =
        -7, /**< An upload's checksum on the board differs from the data's. */
    XDSP_STATUS_FORMAT_FAILED = -8,   /**< An upload could not format its file's area. */
    XDSP_STATUS_FILE_TABLE_LOST = -9, /**< The file table could not be read. */
    XDSP_STATUS_INVALID_ARGUMENT =
        -10,                     /**< An argument out of range, or a buffer too small or missing. */
    XDSP_STATUS_CLOSED = -11,    /**< The board was closed before the call could run. */
    XDSP_STATUS_CANCELLED = -12, /**< The progress callback cancelled an upload. */
    XDSP_STATUS_NO_MEMORY = -13, /**< The system could not give the memory or thread needed. */
    XDSP_STATUS_SYSTEM = -14     /**< Another system error on opening the device. */
} xdsp_status;

/**
 * @brief A short English text for a status.
 * @param status An @ref xdsp_status value.
 * @return A constant text; "unknown status" for a value not listed.
 */
XDSP_EXPORT const char *XDSP_BOARD_CALL xdsp_status_text(int status);

/**
 * @brief Receives the board's debug output, one whole line per call.
 * @param board The board the line is about.
 * @param line The line in UTF-8, without its newline.
 * @param user The options' @c log_user.
 */
typedef void(XDSP_BOARD_CALL *xdsp_log_callback)(xdsp_board *board, const char *line, void *user);

/** How a board is opened. All fields may be zero. */
typedef struct xdsp_board_options {
    xdsp_log_callback log; /**< The board's debug lines; NULL: none. */
    void *log_user;        /**< Handed to @c log unchanged. */
} xdsp_board_options;

/**
 * @brief Opens a board and starts its poll thread.
 *
 * Returns once the board has answered its initialisation, so that the first
 * command finds a running link.
 * @param path A HID device path, or a virtual device's path (an emulator's
 *             socket on Linux, @c \\\\.\\pipe\\NAME on Windows), in UTF-8.
 * @param options NULL, or how to open it.
 * @param board Receives the handle; NULL on failure.
 * @return #XDSP_STATUS_OK; #XDSP_STATUS_NOT_FOUND, #XDSP_STATUS_BUSY,
 *         #XDSP_STATUS_NO_PERMISSION, #XDSP_STATUS_NO_ANSWER (no report
 *         within 1000 ms), #XDSP_STATUS_NO_MEMORY, #XDSP_STATUS_SYSTEM, or
 *         #XDSP_STATUS_INVALID_ARGUMENT for a missing or overlong path.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_open(const char *path, const xdsp_board_options *options,
                                                xdsp_board **board);

/**
 * @brief Closes a board and frees its handle (see Closing above).
 * @param board The board; NULL does nothing.
 * @return #XDSP_STATUS_OK.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_close(xdsp_board *board);

/**
 * @brief The path the board was opened with.
 * @param board The board.
 * @return UTF-8, valid until the board is closed; "" for NULL.
 */
XDSP_EXPORT const char *XDSP_BOARD_CALL xdsp_board_path(const xdsp_board *board);

/**
 * @brief The product name the board's microcontroller reports.
 * @param board The board.
 * @param name Receives the name, cut to @p capacity - 1 bytes and terminated.
 * @param capacity Size of @p name in bytes.
 * @return #XDSP_STATUS_OK; #XDSP_STATUS_NO_ANSWER when the board has sent no
 *         name within 1000 ms (@p name is then ""); #XDSP_STATUS_LINK_LOST.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_product_name(xdsp_board *board, char *name,
                                                        size_t capacity);

/**
 * @brief The text of what the last call on this board would have shown in a
 * message box through the flat API.
 *
 * For example "Error in WriteFLASH", "FAI Error", or "Error in Format." with
 * "Cancelling Upload." on its next line; also what the link raised since
 * ("Error on HID" after 31 reopens). Each call on the board starts with none.
 * This function is not a call on the board: it may run while another thread's
 * call does.
 * @param board The board.
 * @param text Receives the text, at most 1023 bytes, cut to @p capacity - 1
 *             bytes at a character's edge and terminated; "" when none.
 * @param capacity Size of @p text in bytes.
 * @return #XDSP_STATUS_OK, or #XDSP_STATUS_INVALID_ARGUMENT without a buffer.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_last_message(xdsp_board *board, char *text,
                                                        size_t capacity);

/** What a listed path is. */
typedef enum xdsp_board_kind {
    XDSP_KIND_BOARD = 0,   /**< A board attached over USB. */
    XDSP_KIND_EMULATOR = 1 /**< A running emulator of this user's (`xdsp emu`). */
} xdsp_board_kind;

/** One board found by xdsp_list_boards(). */
typedef struct xdsp_board_info {
    char path[1024];        /**< What xdsp_board_open() takes, UTF-8. */
    char product[192];      /**< The product name it reported; "" when it could not be opened. */
    char serial_port[1024]; /**< The serial port of the same USB device; "" for none. */
    int kind;               /**< An @ref xdsp_board_kind value. */
    int status; /**< #XDSP_STATUS_OK, or why it could not be opened (busy, no permission). */
} xdsp_board_info;

/**
 * @brief Lists the boards attached (vendor id 0x20B1) and this user's running
 * emulators, attached boards first, opening each once for its name.
 *
 * Boards open in this or another process are listed with #XDSP_STATUS_BUSY.
 * @param boards Receives up to @p capacity entries; may be NULL when
 *               @p capacity is 0.
 * @param capacity Entries @p boards holds.
 * @param count Receives how many were found, which may be more than
 *              @p capacity.
 * @return #XDSP_STATUS_OK, #XDSP_STATUS_INVALID_ARGUMENT or
 *         #XDSP_STATUS_NO_MEMORY.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_list_boards(xdsp_board_info *boards, size_t capacity,
                                                 size_t *count);

/**
 * @brief The library's version.
 * @return "major.minor.patch.build".
 */
XDSP_EXPORT const char *XDSP_BOARD_CALL xdsp_version(void);

/** @} */

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

/**
 * @defgroup xdsp_board_boot_loader The DSP's boot loader
 * @brief Identification, the file table, the file system's commands, uploads
 * and checksums.
 * @{
 */

/** What the boot loader said at xdsp_board_boot_loader_init(). */
typedef struct xdsp_boot_loader_identity {
    char version[256];    /**< The boot loader's version text. */
    char product[256];    /**< The board's product text. */
    char dsp[256];        /**< The DSP's text. */
    uint32_t memory_size; /**< Flash size in bytes; 0 for none or an unknown chip. */
} xdsp_boot_loader_identity;

/**
 * @brief Sets the boot loader's select and busy line, identifies it and reads
 * the file table.
 * @param board The board.
 * @param select The boot loader's SPI select (2 on the boards known).
 * @param busy_mask The GPIO bits of its busy line (2 on the boards known).
 * @param identity Receives what it said; may be NULL.
 * @return #XDSP_STATUS_OK; #XDSP_STATUS_NO_ANSWER when the memory size reads
 *         0; #XDSP_STATUS_FILE_TABLE_LOST.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_boot_loader_init(xdsp_board *board, uint16_t select,
                                                            uint16_t busy_mask,
                                                            xdsp_boot_loader_identity *identity);

/** Which text xdsp_board_boot_loader_query() asks for. */
typedef enum xdsp_boot_loader_query {
    XDSP_QUERY_VERSION = 0, /**< The boot loader's version. */
    XDSP_QUERY_PRODUCT = 1, /**< The board's product. */
    XDSP_QUERY_DSP = 2,     /**< The DSP. */
    XDSP_QUERY_MEMORY = 3   /**< The flash chip. */
} xdsp_boot_loader_query;

/**
 * @brief Asks the boot loader for one of its texts now.
 * @param board The board.
 * @param query An @ref xdsp_boot_loader_query value.
 * @param text Receives the text, cut and terminated.
 * @param capacity Size of @p text in bytes.
 * @return #XDSP_STATUS_OK, #XDSP_STATUS_INVALID_ARGUMENT, or
 *         #XDSP_STATUS_NO_ANSWER when the text is empty.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_boot_loader_query(xdsp_board *board, int query,
                                                             char *text, size_t capacity);

/**
 * @brief Asks the boot loader for the flash size now.
 * @param board The board.
 * @param bytes Receives the size; 0 for no chip or an unknown one.
 * @return #XDSP_STATUS_OK, #XDSP_STATUS_INVALID_ARGUMENT, or
 *         #XDSP_STATUS_NO_ANSWER when it is 0.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_memory_size(xdsp_board *board, uint32_t *bytes);

/**
 * @brief Switches the read prefix "RD" on or off (on when a board is opened).
 * @param board The board.
 * @param on Nonzero: on.
 * @return #XDSP_STATUS_OK.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_set_read_prefix(xdsp_board *board, int on);

/**
 * @brief Whether replies are fetched with the read prefix.
 * @param board The board.
 * @param on Receives 1 or 0.
 * @return #XDSP_STATUS_OK, or #XDSP_STATUS_INVALID_ARGUMENT.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_read_prefix(xdsp_board *board, int *on);

/**
 * @brief Drains reply bytes the boot loader may still hold.
 * @param board The board.
 * @return #XDSP_STATUS_OK.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_flush(xdsp_board *board);

/**
 * @brief The DSP's 16 status words.
 * @param board The board.
 * @param words Receives 16 words; may be NULL.
 * @return #XDSP_STATUS_OK, or #XDSP_STATUS_NO_ANSWER.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_dsp_status(xdsp_board *board, uint32_t *words);

/** One file of the board's file table, as last read. */
typedef struct xdsp_file_entry {
    uint16_t type;          /**< 0 Data, 1 Boot, 2 FPGA, 3 Link. */
    uint32_t start_address; /**< Start of its allocation in bytes. */
    uint32_t end_address;   /**< End of its allocation in bytes. */
    uint32_t fai_bytes;     /**< The table's fifth word, in bytes. */
    char name[192];         /**< UTF-8. */
    double created;         /**< OLE automation date; 0.0: none. */
    double modified;        /**< OLE automation date; 0.0: none. */
} xdsp_file_entry;

/**
 * @brief Reads the file table from the board.
 * @param board The board.
 * @return #XDSP_STATUS_OK, or #XDSP_STATUS_FILE_TABLE_LOST.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_file_table_read(xdsp_board *board);

/**
 * @brief One file of the table as last read (at xdsp_board_boot_loader_init(),
 * xdsp_board_file_table_read() or an upload).
 * @param board The board.
 * @param index 0 to 14.
 * @param entry Receives the file.
 * @return #XDSP_STATUS_OK, or #XDSP_STATUS_INVALID_ARGUMENT.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_file(xdsp_board *board, unsigned index,
                                                xdsp_file_entry *entry);

/**
 * @brief The name of a file type.
 * @param type The type.
 * @return "Data", "Boot", "FPGA", "Link", or "" for another.
 */
XDSP_EXPORT const char *XDSP_BOARD_CALL xdsp_file_type_name(int type);

/**
 * @brief Erases a file and frees its allocation (in the board's table, until
 * xdsp_board_commit()).
 * @param board The board.
 * @param index 0 to 14.
 * @return #XDSP_STATUS_OK, or #XDSP_STATUS_NO_ANSWER when the boot loader
 *         did not confirm.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_file_erase(xdsp_board *board, unsigned index);

/**
 * @brief Allocates flash to a file.
 * @param board The board.
 * @param index 0 to 14.
 * @param start_address Start in bytes (whole 4096-byte sectors are given).
 * @param end_address End in bytes.
 * @return #XDSP_STATUS_OK, or #XDSP_STATUS_NO_ANSWER.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_file_allocate(xdsp_board *board, unsigned index,
                                                         uint32_t start_address,
                                                         uint32_t end_address);

/**
 * @brief Sets a file's type.
 * @param board The board.
 * @param index 0 to 14.
 * @param type 0 to 3.
 * @return #XDSP_STATUS_OK, or #XDSP_STATUS_NO_ANSWER.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_file_set_type(xdsp_board *board, unsigned index,
                                                         int16_t type);

/**
 * @brief Formats a file's area and opens it for data.
 * @param board The board.
 * @param index 0 to 14.
 * @return #XDSP_STATUS_OK, or #XDSP_STATUS_NO_ANSWER.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_file_format(xdsp_board *board, unsigned index);

/**
 * @brief Formats the boot file's area and opens it for data.
 * @param board The board.
 * @return #XDSP_STATUS_OK, or #XDSP_STATUS_NO_ANSWER.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_boot_file_format(xdsp_board *board);

/**
 * @brief Sends a file's data in packets to the file the last format opened.
 * @param board The board.
 * @param data The bytes (an odd last byte does not travel).
 * @param length Bytes of @p data, at most 2147483647.
 * @return #XDSP_STATUS_OK, or #XDSP_STATUS_INVALID_ARGUMENT.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_file_send(xdsp_board *board, const uint8_t *data,
                                                     size_t length);

/**
 * @brief Closes the file being written.
 * @param board The board.
 * @param number 0 to 14, or #XDSP_BOOT_FILE_NUMBER for the boot file.
 * @return #XDSP_STATUS_OK, or #XDSP_STATUS_NO_ANSWER.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_file_close(xdsp_board *board, unsigned number);

/**
 * @brief Names and dates a file.
 * @param board The board.
 * @param index 0 to 14.
 * @param name UTF-8, at most 62 characters kept; NULL keeps the name.
 * @param date OLE automation date.
 * @return #XDSP_STATUS_OK, #XDSP_STATUS_INVALID_ARGUMENT or
 *         #XDSP_STATUS_NO_ANSWER.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_file_set_name(xdsp_board *board, unsigned index,
                                                         const char *name, double date);

/**
 * @brief Writes the board's file table to its flash.
 * @param board The board.
 * @return #XDSP_STATUS_OK, or #XDSP_STATUS_NO_ANSWER.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_commit(xdsp_board *board);

/**
 * @brief The board's checksum of a file.
 * @param board The board.
 * @param number 0 to 14, or #XDSP_BOOT_FILE_NUMBER for the boot file.
 * @param checksum Receives the byte sum modulo 65536; a request the boot
 *                 loader left unanswered reads as 0, so ask again on 0.
 * @return #XDSP_STATUS_OK, #XDSP_STATUS_INVALID_ARGUMENT or
 *         #XDSP_STATUS_LINK_LOST.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_file_checksum(xdsp_board *board, unsigned number,
                                                         uint16_t *checksum);

/**
 * @brief The byte sum modulo 65536 that the board keeps for each file.
 * @param data The bytes; NULL gives 0.
 * @param length Bytes of @p data.
 * @return The checksum.
 */
XDSP_EXPORT uint16_t XDSP_BOARD_CALL xdsp_checksum(const uint8_t *data, size_t length);

/**
 * @brief Starts the program the boot loader booted.
 * @param board The board.
 * @return #XDSP_STATUS_OK.
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_run(xdsp_board *board);

/** One file to upload. */
typedef struct xdsp_upload {
    int32_t file_index;     /**< 0 to 14, or #XDSP_BOOT_FILE_INDEX for the boot image. */
    int16_t type;           /**< The file type to record. */
    uint32_t start_address; /**< Start of the allocation in bytes, a multiple of 4096. */
    uint32_t end_address;   /**< End of the allocation in bytes. */
    const char *name;       /**< UTF-8; NULL or "": the file is left unnamed. */
    const uint8_t *data;    /**< The file's bytes. */
    size_t length;          /**< Bytes of @c data, at most 2147483647. */
} xdsp_upload;

/**
 * @brief Follows an upload; called before the data goes out (@p sent 0) and
 * after every 256-byte packet.
 * @param sent Bytes of the file on the board so far.
 * @param total Bytes of the file.
 * @param user The upload's @c user.
 * @return 0 to go on; nonzero cancels the upload before its next packet.
 */
typedef int(XDSP_BOARD_CALL *xdsp_upload_progress)(size_t sent, size_t total, void *user);

/**
 * @brief Uploads a file with all its bookkeeping and checks its checksum.
 *
 * Allocates and types the file where the table differs, formats its area,
 * sends the data, closes, names and dates it, commits, and compares the
 * board's checksum with the data's. The boot loader takes whole 16-bit words:
 * an odd length travels with a zero byte after it, which leaves the checksum
 * as it is.
 *
 * A cancel leaves the file table consistent: cancelled before the format, the
 * file is as it was; cancelled later, the half-written file is erased, the
 * table committed and read again, so that neither the board nor the handle
 * lists a file whose data is incomplete. A cancelled boot image is left
 * unclosed: the boot loader does not take it as present.
 * @param board The board.
 * @param upload The file.
 * @param progress NULL, or the progress callback.
 * @param user Handed to @p progress unchanged.
 * @return #XDSP_STATUS_OK; #XDSP_STATUS_CHECKSUM_MISMATCH;
 *         #XDSP_STATUS_CANCELLED; #XDSP_STATUS_FORMAT_FAILED;
 *         #XDSP_STATUS_FILE_TABLE_LOST; #XDSP_STATUS_INVALID_ARGUMENT;
 *         #XDSP_STATUS_NO_ANSWER. A close or naming step that failed while the
 *         checksums still agree gives #XDSP_STATUS_OK, with its text in
 *         xdsp_board_last_message().
 */
XDSP_EXPORT int XDSP_BOARD_CALL xdsp_board_upload(xdsp_board *board, const xdsp_upload *upload,
                                                  xdsp_upload_progress progress, void *user);

/** @} */

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
