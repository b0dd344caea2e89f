// --all: the command on every listed board at once, one process per board
// (the library holds one board per process), then a summary table.
#pragma once

#include <string>
#include <vector>

// The tool's arguments as it was started, without its own name; returns the
// highest exit code of the boards.
int runOnAllBoards(const std::vector<std::string> &toolArguments);
