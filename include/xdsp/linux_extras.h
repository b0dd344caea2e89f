/**
 * @file linux_extras.h
 * @brief What the flat API adds on Linux for what Windows callers get from the
 * system; empty on Windows. Included by xdsp.h.
 */
#ifndef XDSP_LINUX_EXTRAS_H
#define XDSP_LINUX_EXTRAS_H

#include "xdsp/types.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifndef _WIN32
/**
 * @defgroup xdsp_linux_extras Linux extras
 * @brief What Windows callers get from the system: the last-error code, the
 *        debug output, message boxes and closing a device handle.
 * @{
 */

/**
 * Receives the library's debug output, one piece of text at a time (a line may
 * come in several pieces). May be called on the caller's thread or on the poll
 * thread; the library holds no lock of its own while calling it.
 * @param text the piece, zero-terminated UTF-16.
 * @param context the value given to xdsp_set_debug_handler().
 */
typedef void (*xdsp_debug_handler)(const xdsp_char16 *text, void *context);

/**
 * Shows a message box the library raises. May be called on the caller's thread
 * or on the poll thread; the library holds no lock of its own while calling it.
 * @param text the message, zero-terminated UTF-16.
 * @param caption the caption, zero-terminated UTF-16 (may be empty).
 * @param style the Windows message-box style (0x30: a warning).
 * @param context the value given to xdsp_set_message_handler().
 * @return the button pressed, as Windows numbers it (1: OK).
 */
typedef int (*xdsp_message_handler)(const xdsp_char16 *text, const xdsp_char16 *caption,
                                    uint32_t style, void *context);

/**
 * The calling thread's last-error code.
 * @return the code.
 * @par Threads
 * Any thread; each thread has its own code.
 */
XDSP_EXPORT uint32_t xdsp_last_error(void);

/**
 * Sets the calling thread's last-error code.
 * @param code the code.
 * @par Threads
 * Any thread; each thread has its own code.
 */
XDSP_EXPORT void xdsp_set_last_error(uint32_t code);

/**
 * Installs the handler of the debug output; silent until one is installed.
 * @param handler the handler; NULL: silent.
 * @param context passed to the handler.
 * @par Last-error
 * Left alone.
 * @par Threads
 * Any thread, at any time; a handler may replace the handlers.
 */
XDSP_EXPORT void xdsp_set_debug_handler(xdsp_debug_handler handler, void *context);

/**
 * Installs the handler of message boxes; silent until one is installed.
 * @param handler the handler; NULL: silent, and a message box returns 1 (OK).
 * @param context passed to the handler.
 * @par Last-error
 * Left alone.
 * @par Threads
 * Any thread, at any time; a handler may replace the handlers.
 */
XDSP_EXPORT void xdsp_set_message_handler(xdsp_message_handler handler, void *context);

/**
 * Closes a handle from OpenUSBHIDDevice() or OpenUSBHIDDevicePath() and gives
 * up its exclusive hold on the device, as CloseHandle() does on Windows. A
 * handle must be closed once only.
 * @param device the handle.
 * @return TRUE; FALSE for NULL.
 * @par Last-error
 * 6 for NULL.
 * @par Threads
 * Any thread, once the handle is no longer in use.
 */
XDSP_EXPORT xdsp_bool xdsp_close_device(xdsp_handle device);

/** @} */
#endif

#ifdef __cplusplus
}
#endif

#endif
