// The boot loader's jobs at a bench: list the board's files, upload one, boot,
// read its status record.
#pragma once

#include "board_session.h"

#include <cstdint>
#include <optional>
#include <string>

struct UploadRequest {
    std::string file;
    std::string name;                // empty: the file's own name
    std::string index;               // 0 to 14, or "boot" for the boot file
    std::optional<std::string> type; // 0 to 3 or Data, Boot, FPGA, Link; default: as it is
    std::optional<uint32_t> start;   // byte addresses; default: the file's sectors when
    std::optional<uint32_t> end;     // it fits them, else the first free ones
    bool ifChanged = false;          // send nothing when the board holds the same file
};

int listFiles(BoardSession &session);
int uploadFile(BoardSession &session, const UploadRequest &request);
int bootProgram(BoardSession &session);
int showStatus(BoardSession &session);
