// The HID class calls. MinGW's headers declare them without C linkage, so
// they are taken in here with it; the names then match hid.dll's import library.
#pragma once

#include "os/win32/win32.h"

extern "C" {
#include <hidsdi.h>
}
