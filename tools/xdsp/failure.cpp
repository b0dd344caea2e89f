#include "failure.h"

#include "xdsp/xdsp.h"

#include <cstdio>

#ifdef _WIN32
#include <windows.h>
#endif

namespace {
// Every last-error code the tool meets: its words, and where a command that
// stops with it leads.
struct ErrorMeaning {
    uint32_t code;
    const char *words;
    int exitCode;
};

constexpr ErrorMeaning errorMeanings[] = {
    // A call that failed without a code: the answer it waited for did not come.
    {XDSP_ERROR_SUCCESS, "no error", exitLink},
    {XDSP_ERROR_FILE_NOT_FOUND, "not found", exitNoBoard},
    {XDSP_ERROR_ACCESS_DENIED, "permission denied", exitPermission},
    {XDSP_ERROR_INVALID_HANDLE, "the link is down", exitLink},
    {XDSP_ERROR_FILE_TABLE_LOST, "the file table could not be read back", exitProtocol},
    {XDSP_ERROR_FORMAT_FAILED, "the boot loader did not prepare the file's area", exitProtocol},
    {XDSP_ERROR_SHARING_VIOLATION, "busy: another program holds it", exitNoBoard},
    {XDSP_ERROR_NOT_OPEN, "no board is open", exitLink},
    {XDSP_ERROR_INVALID_PARAMETER, "an argument does not fit", exitSoftware},
    {XDSP_ERROR_INTERNAL, "no answer came in time, or the board reported an error", exitLink},
    {XDSP_ERROR_CHECKSUM_MISMATCH, "the checksums differ", exitChecksum},
    {errorPipeBusy, "busy: another program holds it", exitNoBoard},
};

const ErrorMeaning *meaningOf(uint32_t code) {
    for (const ErrorMeaning &meaning : errorMeanings)
        if (meaning.code == code)
            return &meaning;
    return nullptr;
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

uint32_t lastError() {
#ifdef _WIN32
    return GetLastError();
#else
    return xdsp_last_error();
#endif
}

std::string errorWords(uint32_t code) {
    const ErrorMeaning *meaning = meaningOf(code);
    return meaning != nullptr ? meaning->words : "unexpected system error";
}

std::string errorNumber(uint32_t code) {
    char text[32];
    if (code >= 0x80000000U)
        std::snprintf(text, sizeof text, "(error 0x%08X)", code);
    else
        std::snprintf(text, sizeof text, "(error %u)", code);
    return text;
}

Failure openFailure(const std::string &path, uint32_t code) {
    const ErrorMeaning *meaning = meaningOf(code);
    int exitCode = meaning != nullptr ? meaning->exitCode : exitSoftware;
    switch (exitCode) {
    case exitNoBoard:
        return code == XDSP_ERROR_FILE_NOT_FOUND
                   ? Failure{exitCode, "no board answered at " + path, code, {}}
                   : Failure{exitCode, "board " + errorWords(code), code, {}};
    case exitPermission:
        return {exitCode, "cannot open " + path + ": " + errorWords(code), code,
                "`xdsp udev-rule` prints a rule that gives your user access"};
    case exitLink:
        if (code == XDSP_ERROR_INTERNAL)
            return {exitCode, path + " answered, but not as a board does", code, {}};
        [[fallthrough]];
    default:
        return {exitSoftware, "cannot open " + path + ": " + errorWords(code), code, {}};
    }
}

Failure commandFailure(const std::string &what, uint32_t code) {
    const ErrorMeaning *meaning = meaningOf(code);
    return {meaning != nullptr ? meaning->exitCode : exitLink,
            what + ": " + errorWords(code),
            code,
            {}};
}

Failure noBoardFailure() {
    return {exitNoBoard,
            "no board attached",
            {},
            "add --emulator to run the command on the built-in emulator, or choose one that "
            "`xdsp list` shows with --device or --index"};
}
