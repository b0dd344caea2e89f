/**
 * @file board_boot_loader.h
 * @brief The board API's commands to the DSP's boot loader: identification,
 * the file table, the file system, uploads and checksums. Included by
 * board.h.
 */
#ifndef XDSP_BOARD_BOOT_LOADER_H
#define XDSP_BOARD_BOOT_LOADER_H

#include "xdsp/board.h"

#ifdef __cplusplus
extern "C" {
#endif

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

#ifdef __cplusplus
}
#endif

#endif
