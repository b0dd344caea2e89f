// The boards this user can reach: attached boards first, then the emulators
// running in the per-user runtime folder.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct ListedBoard {
    std::string path;
    bool emulator = false;
    std::string serialPort; // empty: none
    std::string product;    // empty when it could not be opened
    uint32_t openError = 0; // 0: opened and named itself
};

// Opens each board in turn for its name; emulators whose endpoint no longer
// answers are left out.
std::vector<ListedBoard> discoverBoards();
// The `list` command.
int listBoards();
