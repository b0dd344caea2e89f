#include "failure.h"

#include "xdsp/xdsp.h"

#include <cstdio>

#ifdef _WIN32
#include <windows.h>
#endif

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
    switch (code) {
    case XDSP_ERROR_SUCCESS:
        return "no error";
    case XDSP_ERROR_FILE_NOT_FOUND:
        return "not found";
    case XDSP_ERROR_ACCESS_DENIED:
        return "permission denied";
    case XDSP_ERROR_INVALID_HANDLE:
        return "the link is down";
    case XDSP_ERROR_FILE_TABLE_LOST:
        return "the file table could not be read back";
    case XDSP_ERROR_FORMAT_FAILED:
        return "the boot loader did not prepare the file's area";
    case XDSP_ERROR_SHARING_VIOLATION:
        return "another program holds it";
    case XDSP_ERROR_INVALID_PARAMETER:
        return "an argument does not fit";
    case XDSP_ERROR_INTERNAL:
        return "no answer came in time, or the board reported an error";
    case XDSP_ERROR_CHECKSUM_MISMATCH:
        return "the checksums differ";
    case 231: // a named pipe with every instance busy
        return "every connection is busy";
    default:
        return "unexpected system error";
    }
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
    switch (code) {
    case XDSP_ERROR_FILE_NOT_FOUND:
        return {exitNoBoard, "no board answered at " + path, code, {}};
    case XDSP_ERROR_ACCESS_DENIED:
        return {exitPermission, "cannot open " + path + ": permission denied", code,
                "`xdsp udev-rule` prints a rule that gives your user access"};
    case XDSP_ERROR_SHARING_VIOLATION:
    case 231:
        return {exitNoBoard, "board busy: another program holds it", code, {}};
    case XDSP_ERROR_INTERNAL:
        return {exitLink, path + " answered, but not as a board does", code, {}};
    default:
        return {exitSoftware, "cannot open " + path + ": " + errorWords(code), code, {}};
    }
}

Failure linkFailure(const std::string &what, uint32_t code) {
    return {exitLink, what + ": " + errorWords(code), code, {}};
}
