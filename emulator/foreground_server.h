// Serving an emulated board until the process is interrupted, as a command-line
// program does.
#pragma once

#include "board_options.h"

#include <string>
#include <vector>

namespace xdsp::emu {

// Serves a board with these options at devicePath until SIGINT or SIGTERM.
// Messages start with program; 0 after an interrupt, 1 when it cannot serve.
int serveUntilInterrupted(const BoardOptions &options, const std::string &devicePath,
                          const char *program);
// The same at the first of candidates that no other server holds.
int serveUntilInterrupted(const BoardOptions &options, const std::vector<std::string> &candidates,
                          const char *program);

} // namespace xdsp::emu
