// Calls that cannot fail on a working system (pthread, futex) still have their
// result looked at: a failure is written to the debug output, never ignored.
#pragma once

#include "frame/text.h"

namespace xdsp::os {

// Writes "<call> failed, errno <code>\n"; true when result is 0.
bool callSucceeded(const Char16 *call, int result);

} // namespace xdsp::os
