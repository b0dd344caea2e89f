// --all: the command on every listed board at once, one process per board
// (the library holds one board per process), then a summary table.
#pragma once

// argv as the tool was started; returns the highest exit code of the boards.
int runOnAllBoards(int argc, char **argv);
