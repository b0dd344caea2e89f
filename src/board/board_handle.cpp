#include "board/board_handle.h"

#include <cstring>

xdsp_board::xdsp_board(const char *openedPath, const xdsp_board_options *options)
    : reporter(this, options), callLock(xdsp::os::lockCreate()) {
    std::strncpy(path, openedPath, pathBytes - 1);
}

xdsp_board::~xdsp_board() {
    if (callLock != nullptr)
        xdsp::os::lockDelete(callLock);
}
