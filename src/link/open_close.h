#pragma once

#include "frame/text.h"

namespace xdsp::link {

// Closes any open link, opens the device and starts the poll thread.
bool openLink(const Char16 *devicePath);
bool linkOnline();

} // namespace xdsp::link
