// What the library knows about its open device handles beyond the system:
// the report lengths of virtual devices (whose pipes have no HID capabilities)
// and whether a handle's I/O was cancelled. Keyed by handle, bounded, locked.
#pragma once

#include "os/win32/win32.h"

namespace xdsp::os {

// False when the table is full.
bool rememberVirtualLengths(HANDLE handle, const ReportLengths &lengths);
bool virtualLengths(HANDLE handle, ReportLengths *lengths);
void markCancelled(HANDLE handle);
bool isCancelled(HANDLE handle);
// On close, and on every open: a handle value the system gives out anew
// cannot belong to a live entry, so whatever was kept under it is stale.
void forgetHandle(HANDLE handle);

} // namespace xdsp::os
