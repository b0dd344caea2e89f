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

#ifdef __cplusplus
}
#endif

/* The families build on the basics above and each includes this header, so
 * that any one of them may be included first. */
#include "xdsp/board_audio.h"
#include "xdsp/board_boot_loader.h"
#include "xdsp/board_device.h"

#endif
