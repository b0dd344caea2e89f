// Wide texts of the system, OLE dates and byte counts as the tool prints them.
#pragma once

#include "xdsp/xdsp.h"

#include <string>

// UTF-16 to UTF-8; half a surrogate pair becomes U+FFFD.
std::string toUtf8(const xdsp_char16 *text);
// An OLE automation date as "YYYY-MM-DD hh:mm:ss"; "-" for none (0.0), and
// "0000-00-00 00:00:00" outside the years 100 to 9999.
std::string dateText(double date);
// A byte count in the unit that keeps it short: "812 B", "12.5 KiB", "3.2 MiB".
std::string byteText(double bytes);
// printf into a std::string.
#ifdef _WIN32
std::string formatted(const char *format, ...);
#else
std::string formatted(const char *format, ...) __attribute__((format(printf, 1, 2)));
#endif
