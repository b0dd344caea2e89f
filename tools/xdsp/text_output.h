// Printing the library's UTF-16 texts on the terminal.
#pragma once

#include "xdsp/xdsp.h"

#include <string>

std::string toUtf8(const xdsp_char16 *text);
std::basic_string<xdsp_char16> fromUtf8(const std::string &text);
// Routes the library's debug output to stderr.
void routeDebugToStderr();
