#pragma once

#include "frame/text.h"
#include "link/link.h"

namespace xdsp::link {

// Closes any open link, opens the device and starts the poll thread.
bool openLink(Link &link, const Char16 *devicePath);
bool linkOnline(const Link &link);

} // namespace xdsp::link
