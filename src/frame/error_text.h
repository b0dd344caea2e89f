// Text for a system error code, for debug lines.
#pragma once

#include "frame/text.h"

#include <cstdint>

namespace xdsp {

// The system's text, or "Unknown Error: %d". Points into one shared buffer of
// 256 characters, valid until the next call.
const Char16 *errorText(uint32_t code);

} // namespace xdsp
