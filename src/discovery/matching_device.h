#pragma once

#include "frame/text.h"

namespace xdsp::discovery {

bool matchingDevice(const Char16 *idString, Char16 *pathOut, const xdsp_guid *interfaceClass);

} // namespace xdsp::discovery
