/**
 * @file xdsp.h
 * @brief xdsp: host library for DSP boards behind a USB HID microcontroller.
 *
 * One board is open per process. Opening it starts a poll thread that writes an
 * output report and reads an input report in every cycle; commands are staged in
 * the next output report and answered through the input reports.
 *
 * @par Results
 * BOOL functions return 1 on success and 0 on failure and set the calling
 * thread's last-error code (GetLastError() on Windows, xdsp_last_error()
 * elsewhere): 0 on success, 6 when no link is running, 55 when a close finds
 * nothing open, 87 for an argument that would run past a buffer, 1359 when an
 * awaited response does not come or the board reports an error. The codes are
 * Windows system codes on every platform (@ref xdsp_errors).
 *
 * @par Threads
 * Every function runs on the calling thread; the poll thread only carries the
 * reports. The last-error code is per thread. The library does not serialise
 * one command against another: an application issues one command at a time
 * (from one thread, or from several that take turns), and opens or closes the
 * link while no other call is under way. The functions that only read what the
 * board last reported (GetGPIOIn(), GetADCIn(), IsOnline()) may be called from
 * any thread at any time.
 *
 * @par Windows and Linux
 * The same functions on both. On Windows, xdsp_char16 is @c wchar_t and the
 * exports of the 32-bit DLL use @c __stdcall; the functions of
 * @ref xdsp_linux_extras exist on Linux only (Windows callers use
 * GetLastError(), SetLastError() and CloseHandle(), and see the debug lines and
 * message boxes through the system).
 */
#ifndef XDSP_XDSP_H
#define XDSP_XDSP_H

#include "xdsp/audio.h"
#include "xdsp/boot_loader.h"
#include "xdsp/device.h"
#include "xdsp/link.h"
#include "xdsp/linux_extras.h"

#endif
