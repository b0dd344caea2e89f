/* Compiles the public headers together as C, with the layouts callers rely on. */
#include "xdsp/board.h"
#include "xdsp/xdsp.h"

_Static_assert(sizeof(xdsp_device_record) == 528, "device record layout");
_Static_assert(sizeof(xdsp_dll_version_info2) == 32, "version record layout");
_Static_assert(sizeof(xdsp_status) == sizeof(int), "statuses travel as int");
