// The shell's version query, as the library answers it.
#pragma once

#include "xdsp/xdsp.h"

namespace xdsp::frame {

// Fills the first (20-byte) or second (32-byte) form that info's size names;
// returns the shell's result code.
xdsp_hresult fillVersionInfo(xdsp_dll_version_info *info);

} // namespace xdsp::frame
