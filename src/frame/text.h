// Wide text as the API carries it: UTF-16 code units in xdsp_char16.
#pragma once

#include "xdsp/xdsp.h"

namespace xdsp {
using Char16 = xdsp_char16;
}

#ifdef _WIN32
#define WIDE(text) L##text
#else
#define WIDE(text) u##text
#endif
