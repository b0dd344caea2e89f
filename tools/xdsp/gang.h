// --all: the command on every listed board at once, a thread per board in
// this process, then a summary table.
#pragma once

#include "board_session.h"

#include <functional>
#include <string>

// What --all runs on each board.
using BoardCommand = std::function<int(BoardSession &)>;

// Runs command on every board, each with an output of its own named after
// the board; returns the highest exit code of the boards.
int runOnAllBoards(const BoardCommand &command, bool verbose);
