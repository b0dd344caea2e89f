// The tool's exit codes, in the sysexits style that scripts and production
// lines already know.
#pragma once

#include <string>

enum ExitCode : int {
    exitSuccess = 0,
    exitUsage = 64,      // the command line was refused
    exitChecksum = 65,   // the board's checksum differs after an upload
    exitNoInput = 66,    // the input file is missing or unreadable
    exitNoBoard = 69,    // no board, or another program holds it
    exitSoftware = 70,   // anything else
    exitLink = 74,       // the link failed or an answer did not come
    exitProtocol = 76,   // the boot loader did not answer as its protocol says
    exitPermission = 77, // permission denied
};

// "Exit codes:" and one line per code, for --help.
std::string exitCodeHelp();
