// The board API: statuses, opening and closing, what a board says of itself.
#include "board/board_call.h"
#include "commands/board_commands.h"
#include "frame/debug.h"
#include "frame/utf8.h"
#include "link/open_close.h"
#include "link/poll_run.h"
#include "link/transaction.h"

#include <cstring>
#include <new>

using namespace xdsp;

namespace {
constexpr uint32_t startWaitMs = 1000;
constexpr size_t productNameOffset = 16;
// INIT, its answer, the second INIT and its answer: four reports after the
// poll loop starts, so that a first command is not replaced by the second INIT.
constexpr int settleReports = 4;

// Waits until the poll thread runs and the board has answered its INIT.
int settle(xdsp_board &board) {
    for (uint32_t waited = 0; !link::linkRunning(board.link); ++waited) {
        if (waited >= startWaitMs || board.link.currentRun.load() == nullptr)
            return XDSP_STATUS_NO_ANSWER;
        os::sleepMs(1);
    }
    for (int report = 0; report < settleReports; ++report) {
        link::resetReportEvent(board.link);
        if (!link::waitForReport(board.link, link::reportTimeoutMs))
            return XDSP_STATUS_NO_ANSWER;
    }
    return XDSP_STATUS_OK;
}

// Closes the link; frees the board unless a poll thread that had to be given
// up still runs on it, which then keeps it.
void release(xdsp_board *board) {
    {
        ReportingScope reporting(&board->reporter);
        link::closeLink(board->link);
    }
    if (board->link.liveRuns.load() == 0)
        delete board;
}

size_t copyText(const char *source, char *out, size_t capacity) {
    size_t length = std::strlen(source);
    if (length >= capacity)
        length = capacity - 1;
    std::memcpy(out, source, length);
    out[length] = 0;
    return length;
}
} // namespace

extern "C" {

XDSP_EXPORT const char *xdsp_status_text(int status) {
    switch (status) {
    case XDSP_STATUS_OK:
        return "success";
    case XDSP_STATUS_NOT_FOUND:
        return "no board at that path";
    case XDSP_STATUS_BUSY:
        return "the board is open elsewhere";
    case XDSP_STATUS_NO_PERMISSION:
        return "no permission to open the board";
    case XDSP_STATUS_LINK_LOST:
        return "the link to the board is lost";
    case XDSP_STATUS_NO_ANSWER:
        return "the board did not answer";
    case XDSP_STATUS_BOARD_ERROR:
        return "the board reported an error";
    case XDSP_STATUS_CHECKSUM_MISMATCH:
        return "the board's checksum differs from the data's";
    case XDSP_STATUS_FORMAT_FAILED:
        return "the file's area could not be formatted";
    case XDSP_STATUS_FILE_TABLE_LOST:
        return "the file table could not be read";
    case XDSP_STATUS_INVALID_ARGUMENT:
        return "invalid argument";
    case XDSP_STATUS_CLOSED:
        return "the board was closed";
    case XDSP_STATUS_CANCELLED:
        return "cancelled";
    case XDSP_STATUS_NO_MEMORY:
        return "out of memory";
    case XDSP_STATUS_SYSTEM:
        return "system error";
    default:
        return "unknown status";
    }
}

XDSP_EXPORT const char *xdsp_version(void) {
    return XDSP_VERSION_TEXT;
}

XDSP_EXPORT int xdsp_board_open(const char *path, const xdsp_board_options *options,
                                xdsp_board **board) {
    if (board != nullptr)
        *board = nullptr;
    Char16 widePath[XDSP_DEVICE_PATH_CHARS];
    if (path == nullptr || board == nullptr || std::strlen(path) >= xdsp_board::pathBytes ||
        !utf8ToText(path, widePath, XDSP_DEVICE_PATH_CHARS) || widePath[0] == 0)
        return XDSP_STATUS_INVALID_ARGUMENT;
    auto *opened = new (std::nothrow) xdsp_board(path, options);
    if (opened == nullptr)
        return XDSP_STATUS_NO_MEMORY;
    if (!opened->ready()) {
        delete opened;
        return XDSP_STATUS_NO_MEMORY;
    }
    opened->link.reporter = &opened->reporter;
    int status;
    {
        ReportingScope reporting(&opened->reporter);
        board::LastErrorKept kept;
        status = link::openLink(opened->link, widePath)
                     ? settle(*opened)
                     : board::statusFromError(os::lastError(), false);
    }
    if (status != XDSP_STATUS_OK) {
        release(opened);
        return status;
    }
    *board = opened;
    return XDSP_STATUS_OK;
}

XDSP_EXPORT int xdsp_board_close(xdsp_board *board) {
    if (board == nullptr)
        return XDSP_STATUS_OK;
    board->closing.store(true);
    {
        // The call in progress finishes first; those waiting then see the close.
        os::LockHold turn(board->callLock);
    }
    while (board->callsInside.load() != 0)
        os::sleepMs(1);
    release(board);
    return XDSP_STATUS_OK;
}

XDSP_EXPORT const char *xdsp_board_path(const xdsp_board *board) {
    return board != nullptr ? board->path : "";
}

XDSP_EXPORT int xdsp_board_product_name(xdsp_board *board, char *name, size_t capacity) {
    if (name == nullptr || capacity == 0)
        return XDSP_STATUS_INVALID_ARGUMENT;
    name[0] = 0;
    return board::runCall(board, [&](board::Call &call) -> int {
        if (!link::linkRunning(call.board().link))
            return XDSP_STATUS_LINK_LOST;
        uint8_t record[XDSP_PRODUCT_NAME_RECORD_SIZE];
        commands::productNameRecord(call.board().link, record);
        if (record[0] == 0)
            return XDSP_STATUS_NO_ANSWER;
        char text[XDSP_PRODUCT_NAME_RECORD_SIZE - productNameOffset + 1] = {};
        std::memcpy(text, record + productNameOffset, sizeof text - 1);
        copyText(text, name, capacity);
        return XDSP_STATUS_OK;
    });
}

XDSP_EXPORT int xdsp_board_last_message(xdsp_board *board, char *text, size_t capacity) {
    if (board == nullptr || text == nullptr || capacity == 0)
        return XDSP_STATUS_INVALID_ARGUMENT;
    // Not a turn on the board: it may be read while another thread's call runs.
    board->reporter.lastMessage(text, capacity);
    return XDSP_STATUS_OK;
}
}
