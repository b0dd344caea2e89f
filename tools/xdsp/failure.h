// What went wrong, in words, with the error code and the exit code it leads
// to.
#pragma once

#include "exit_codes.h"

#include <cstdint>
#include <optional>
#include <string>

struct Failure {
    int exitCode = exitSoftware;
    std::string text;             // what failed and why
    std::optional<uint32_t> code; // the error code that goes with a board's status
    std::string hint;             // what the user can do about it; may be empty
};

// The error code a board status stands for: the flat API's last-error code
// for the same condition, so that scripts keep reading the numbers they know;
// none for a status that has no such code.
std::optional<uint32_t> errorCode(int status);
// A board status in words ("permission denied").
std::string errorWords(int status);
// "(error 5)"; codes with the top bit set, such as HRESULTs, in hex.
std::string errorNumber(uint32_t code);
// Why a device path could not be opened.
Failure openFailure(const std::string &path, int status);
// A command the board did not carry out: what, and the status it returned;
// the exit code follows from the status.
Failure commandFailure(const std::string &what, int status);
// A board command run with no board chosen and none attached.
Failure noBoardFailure();
