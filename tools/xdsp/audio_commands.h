// The audio firmware's jobs at a bench: mute, line output, source, filter,
// algorithm, reset, file names and an echo test.
#pragma once

#include "board_session.h"

#include <cstdint>
#include <string>

// Longest echo the firmware takes in one command.
inline constexpr uint32_t echoLimit = 400;

struct AudioRequest {
    std::string action; // mute, lineout, source, filter, algorithm, reset, file, echo
    bool on = false;    // mute and lineout
    int32_t number = 0; // source, filter, algorithm and file number; echo length
};

int runAudio(BoardSession &session, const AudioRequest &request);
