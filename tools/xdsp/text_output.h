// Printing the library's UTF-16 texts on the terminal.
#pragma once

#include "xdsp/xdsp.h"

#include <string>

std::string toUtf8(const xdsp_char16 *text);
std::basic_string<xdsp_char16> fromUtf8(const std::string &text);
// An OLE automation date as "YYYY-MM-DD hh:mm:ss"; "-" for none (0.0).
std::string dateText(double date);
// Prints "xdsp: what (error N)" with the library's last-error code; returns 1.
int failure(const std::string &what);
// Routes the library's debug output to stderr.
void routeDebugToStderr();
