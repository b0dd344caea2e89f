#include "board/board_call.h"

namespace xdsp::board {

int statusFromError(uint32_t code, bool messageShown) {
    switch (code) {
    case XDSP_ERROR_SUCCESS:
        return XDSP_STATUS_OK;
    case XDSP_ERROR_FILE_NOT_FOUND:
    case 3: // path not found
        return XDSP_STATUS_NOT_FOUND;
    case XDSP_ERROR_ACCESS_DENIED:
        return XDSP_STATUS_NO_PERMISSION;
    case XDSP_ERROR_INVALID_HANDLE:
        return XDSP_STATUS_LINK_LOST;
    case XDSP_ERROR_FILE_TABLE_LOST:
        return XDSP_STATUS_FILE_TABLE_LOST;
    case os::error::notEnoughMemory:
        return XDSP_STATUS_NO_MEMORY;
    case XDSP_ERROR_FORMAT_FAILED:
        return XDSP_STATUS_FORMAT_FAILED;
    case XDSP_ERROR_SHARING_VIOLATION:
    case 231: // pipe busy
        return XDSP_STATUS_BUSY;
    case XDSP_ERROR_INVALID_PARAMETER:
        return XDSP_STATUS_INVALID_ARGUMENT;
    case XDSP_ERROR_INTERNAL:
        // The same code for both: the error bit is the one that shows a box.
        return messageShown ? XDSP_STATUS_BOARD_ERROR : XDSP_STATUS_NO_ANSWER;
    case XDSP_ERROR_CHECKSUM_MISMATCH:
        return XDSP_STATUS_CHECKSUM_MISMATCH;
    default:
        return XDSP_STATUS_SYSTEM;
    }
}

int Call::status(bool ok) const {
    uint32_t code = os::lastError();
    if (ok)
        // Uploads finish with the checksum compare's code; others end in 0.
        return code == XDSP_ERROR_CHECKSUM_MISMATCH ? XDSP_STATUS_CHECKSUM_MISMATCH
                                                    : XDSP_STATUS_OK;
    // The boot loader's commands judge its reply bytes and leave the code of
    // their last transfer, 0 when the transfer went through.
    if (code == XDSP_ERROR_SUCCESS)
        return XDSP_STATUS_NO_ANSWER;
    return statusFromError(code, board_.reporter.messageCount() != messagesAtStart_);
}

} // namespace xdsp::board
