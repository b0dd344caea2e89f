// The boards this user can reach: attached boards first, then the emulators
// running in the per-user runtime folder.
#pragma once

#include <string>
#include <vector>

struct ListedBoard {
    std::string path;
    bool emulator = false;
    std::string serialPort; // empty: none
    std::string product;    // empty when it could not be opened
    int openStatus = 0;     // 0: opened and named itself; else a board status
};

// Opens each board once for its name, in this process.
std::vector<ListedBoard> discoverBoards();
// The `list` command.
int listBoards();
