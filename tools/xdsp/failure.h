// What went wrong, in words, with the library's code and the exit code it
// leads to.
#pragma once

#include "exit_codes.h"

#include <cstdint>
#include <optional>
#include <string>

struct Failure {
    int exitCode = exitSoftware;
    std::string text;             // what failed and why
    std::optional<uint32_t> code; // the library's last-error code, when one applies
    std::string hint;             // what the user can do about it; may be empty
};

// Windows reports a named pipe with every instance taken as this code; the
// tool reads it as a busy board.
inline constexpr uint32_t errorPipeBusy = 231;

// The library's last-error code on this platform.
uint32_t lastError();
// A last-error code in words ("permission denied").
std::string errorWords(uint32_t code);
// "(error 5)"; codes with the top bit set, such as HRESULTs, in hex.
std::string errorNumber(uint32_t code);
// Why a device path could not be opened.
Failure openFailure(const std::string &path, uint32_t code);
// A command the board did not carry out: what, and the code it left; the
// exit code follows from the code.
Failure commandFailure(const std::string &what, uint32_t code);
// A board command run with no board chosen and none attached.
Failure noBoardFailure();
