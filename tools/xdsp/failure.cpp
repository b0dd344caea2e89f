#include "failure.h"

#include "xdsp/board.h"

#include <cstdio>

namespace {
// Every status the tool meets: its error code, its words, and where a command
// that stops with it leads.
struct StatusMeaning {
    int status;
    uint32_t code;
    const char *words;
    int exitCode;
};

constexpr StatusMeaning statusMeanings[] = {
    {XDSP_STATUS_NOT_FOUND, XDSP_ERROR_FILE_NOT_FOUND, "not found", exitNoBoard},
    {XDSP_STATUS_BUSY, XDSP_ERROR_SHARING_VIOLATION, "busy: another program holds it", exitNoBoard},
    {XDSP_STATUS_NO_PERMISSION, XDSP_ERROR_ACCESS_DENIED, "permission denied", exitPermission},
    {XDSP_STATUS_LINK_LOST, XDSP_ERROR_INVALID_HANDLE, "the link is down", exitLink},
    {XDSP_STATUS_NO_ANSWER, XDSP_ERROR_INTERNAL,
     "no answer came in time, or the board reported an error", exitLink},
    {XDSP_STATUS_BOARD_ERROR, XDSP_ERROR_INTERNAL,
     "no answer came in time, or the board reported an error", exitLink},
    {XDSP_STATUS_CHECKSUM_MISMATCH, XDSP_ERROR_CHECKSUM_MISMATCH, "the checksums differ",
     exitChecksum},
    {XDSP_STATUS_FORMAT_FAILED, XDSP_ERROR_FORMAT_FAILED,
     "the boot loader did not prepare the file's area", exitProtocol},
    {XDSP_STATUS_FILE_TABLE_LOST, XDSP_ERROR_FILE_TABLE_LOST,
     "the file table could not be read back", exitProtocol},
    {XDSP_STATUS_INVALID_ARGUMENT, XDSP_ERROR_INVALID_PARAMETER, "an argument does not fit",
     exitSoftware},
    {XDSP_STATUS_CLOSED, XDSP_ERROR_NOT_OPEN, "no board is open", exitLink},
};

const StatusMeaning *meaningOf(int status) {
    for (const StatusMeaning &meaning : statusMeanings)
        if (meaning.status == status)
            return &meaning;
    return nullptr;
}

int exitCodeOf(int status) {
    const StatusMeaning *meaning = meaningOf(status);
    return meaning != nullptr ? meaning->exitCode : exitSoftware;
}
} // namespace

std::string exitCodeHelp() {
    return "Exit codes:\n"
           "  0   success\n"
           "  64  usage: the command line was refused\n"
           "  65  the board's checksum differs after an upload\n"
           "  66  the input file is missing or unreadable\n"
           "  69  no board, or the board is held by another program\n"
           "  70  anything else\n"
           "  74  the link failed or an answer did not come\n"
           "  76  the boot loader did not answer as its protocol says\n"
           "  77  permission denied\n"
           "With --all: the highest code among the boards.\n";
}

std::optional<uint32_t> errorCode(int status) {
    const StatusMeaning *meaning = meaningOf(status);
    return meaning != nullptr ? std::optional<uint32_t>(meaning->code) : std::nullopt;
}

std::string errorWords(int status) {
    const StatusMeaning *meaning = meaningOf(status);
    return meaning != nullptr ? meaning->words : xdsp_status_text(status);
}

std::string errorNumber(uint32_t code) {
    char text[32];
    if (code >= 0x80000000U)
        std::snprintf(text, sizeof text, "(error 0x%08X)", code);
    else
        std::snprintf(text, sizeof text, "(error %u)", code);
    return text;
}

Failure openFailure(const std::string &path, int status) {
    std::optional<uint32_t> code = errorCode(status);
    int exitCode = exitCodeOf(status);
    switch (status) {
    case XDSP_STATUS_NOT_FOUND:
        return {exitCode, "no board answered at " + path, code, {}};
    case XDSP_STATUS_BUSY:
        return {exitCode, "board " + errorWords(status), code, {}};
    case XDSP_STATUS_NO_PERMISSION:
        return {exitCode, "cannot open " + path + ": " + errorWords(status), code,
                "`xdsp udev-rule` prints a rule that gives your user access"};
    case XDSP_STATUS_NO_ANSWER:
        return {exitCode, path + " answered, but not as a board does", code, {}};
    default:
        // Whatever else stops an open is no fault of the link or the board.
        return {exitSoftware, "cannot open " + path + ": " + errorWords(status), code, {}};
    }
}

Failure commandFailure(const std::string &what, int status) {
    return {exitCodeOf(status), what + ": " + errorWords(status), errorCode(status), {}};
}

Failure noBoardFailure() {
    return {exitNoBoard,
            "no board attached",
            {},
            "add --emulator to run the command on the built-in emulator, or choose one that "
            "`xdsp list` shows with --device or --index"};
}
