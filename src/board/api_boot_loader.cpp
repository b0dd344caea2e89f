// The board API: the DSP's boot loader, its identification, file table and
// file system's commands.
#include "board/board_call.h"
#include "bootloader/checksum.h"
#include "bootloader/dsp_stat.h"
#include "bootloader/file_system.h"
#include "bootloader/file_table.h"
#include "bootloader/framing.h"
#include "bootloader/front_end.h"
#include "bootloader/identification.h"
#include "bootloader/send_file.h"
#include "frame/bounded_string.h"
#include "frame/utf8.h"

#include <cstdint>

using namespace xdsp;
using board::Call;
using board::runCall;

namespace {
bool inTable(unsigned index) {
    return index < bootloader::fileCount;
}

// Close and checksum name the boot file by its number as well.
bool fileOrBootNumber(unsigned number) {
    return inTable(number) || number == XDSP_BOOT_FILE_NUMBER;
}

void copyUtf8(const Char16 *text, char *out, size_t capacity) {
    textToUtf8(text, textLength(text), out, capacity);
}

// A boot-loader command whose only outcome is its confirmation.
template <typename Command> int confirmed(xdsp_board *board, Command command) {
    return runCall(
        board, [&](Call &call) -> int { return call.status(command(call.board().bootLoader)); });
}
} // namespace

extern "C" {

XDSP_EXPORT int xdsp_board_boot_loader_init(xdsp_board *board, uint16_t select, uint16_t busy_mask,
                                            xdsp_boot_loader_identity *identity) {
    return runCall(board, [&](Call &call) -> int {
        bootloader::BootLoaderState &state = call.board().bootLoader;
        bool ok = bootloader::initialize(state, select, busy_mask);
        if (identity != nullptr) {
            copyUtf8(bootloader::versionAtInit(state), identity->version, sizeof identity->version);
            copyUtf8(bootloader::productAtInit(state), identity->product, sizeof identity->product);
            copyUtf8(bootloader::dspAtInit(state), identity->dsp, sizeof identity->dsp);
            identity->memory_size = bootloader::memoryAtInit(state);
        }
        if (ok)
            return XDSP_STATUS_OK;
        // The memory size is asked first; without it nothing else was.
        if (bootloader::memoryAtInit(state) == 0)
            return call.status(false);
        return XDSP_STATUS_FILE_TABLE_LOST;
    });
}

XDSP_EXPORT int xdsp_board_boot_loader_query(xdsp_board *board, int query, char *text,
                                             size_t capacity) {
    if (text == nullptr || capacity == 0 || query < XDSP_QUERY_VERSION || query > XDSP_QUERY_MEMORY)
        return XDSP_STATUS_INVALID_ARGUMENT;
    text[0] = 0;
    return runCall(board, [&](Call &call) -> int {
        bootloader::BootLoaderState &state = call.board().bootLoader;
        const Char16 *answer = query == XDSP_QUERY_VERSION   ? bootloader::versionText(state)
                               : query == XDSP_QUERY_PRODUCT ? bootloader::productText(state)
                               : query == XDSP_QUERY_DSP     ? bootloader::dspText(state)
                                                             : bootloader::memoryText(state);
        copyUtf8(answer, text, capacity);
        return call.status(answer[0] != 0);
    });
}

XDSP_EXPORT int xdsp_board_memory_size(xdsp_board *board, uint32_t *bytes) {
    if (bytes == nullptr)
        return XDSP_STATUS_INVALID_ARGUMENT;
    return runCall(board, [&](Call &call) -> int {
        *bytes = bootloader::memorySize(call.board().bootLoader);
        return call.status(*bytes != 0);
    });
}

XDSP_EXPORT int xdsp_board_set_read_prefix(xdsp_board *board, int on) {
    return runCall(board, [&](Call &call) -> int {
        bootloader::setReadPrefix(call.board().bootLoader, on != 0);
        return XDSP_STATUS_OK;
    });
}

XDSP_EXPORT int xdsp_board_read_prefix(xdsp_board *board, int *on) {
    if (on == nullptr)
        return XDSP_STATUS_INVALID_ARGUMENT;
    return runCall(board, [&](Call &call) -> int {
        *on = bootloader::readPrefixOn(call.board().bootLoader) ? 1 : 0;
        return XDSP_STATUS_OK;
    });
}

XDSP_EXPORT int xdsp_board_flush(xdsp_board *board) {
    return runCall(board, [&](Call &call) -> int {
        bootloader::flush(call.board().bootLoader);
        return XDSP_STATUS_OK;
    });
}

XDSP_EXPORT int xdsp_board_dsp_status(xdsp_board *board, uint32_t *words) {
    return confirmed(board, [&](bootloader::BootLoaderState &state) {
        return bootloader::dspStatus(state, words);
    });
}

XDSP_EXPORT int xdsp_board_file_table_read(xdsp_board *board) {
    return runCall(board, [&](Call &call) -> int {
        return bootloader::buildFileTable(call.board().bootLoader) ? XDSP_STATUS_OK
                                                                   : XDSP_STATUS_FILE_TABLE_LOST;
    });
}

XDSP_EXPORT int xdsp_board_file(xdsp_board *board, unsigned index, xdsp_file_entry *entry) {
    if (entry == nullptr || !inTable(index))
        return XDSP_STATUS_INVALID_ARGUMENT;
    return runCall(board, [&](Call &call) -> int {
        Char16 name[bootloader::nameChars];
        bootloader::fileDescription(call.board().bootLoader, static_cast<int32_t>(index),
                                    &entry->type, &entry->start_address, &entry->end_address,
                                    &entry->fai_bytes, name, bootloader::nameChars, &entry->created,
                                    &entry->modified);
        copyUtf8(name, entry->name, sizeof entry->name);
        return XDSP_STATUS_OK;
    });
}

XDSP_EXPORT const char *xdsp_file_type_name(int type) {
    switch (type) {
    case 0:
        return "Data";
    case 1:
        return "Boot";
    case 2:
        return "FPGA";
    case 3:
        return "Link";
    default:
        return "";
    }
}

XDSP_EXPORT int xdsp_board_file_erase(xdsp_board *board, unsigned index) {
    if (!inTable(index))
        return XDSP_STATUS_INVALID_ARGUMENT;
    return confirmed(board, [&](bootloader::BootLoaderState &state) {
        return bootloader::eraseFile(state, index);
    });
}

XDSP_EXPORT int xdsp_board_file_allocate(xdsp_board *board, unsigned index, uint32_t start_address,
                                         uint32_t end_address) {
    if (!inTable(index))
        return XDSP_STATUS_INVALID_ARGUMENT;
    return confirmed(board, [&](bootloader::BootLoaderState &state) {
        return bootloader::allocateFile(state, index, start_address, end_address);
    });
}

XDSP_EXPORT int xdsp_board_file_set_type(xdsp_board *board, unsigned index, int16_t type) {
    if (!inTable(index) || type < 0)
        return XDSP_STATUS_INVALID_ARGUMENT;
    return confirmed(board, [&](bootloader::BootLoaderState &state) {
        return bootloader::setFileType(state, index, type);
    });
}

XDSP_EXPORT int xdsp_board_file_format(xdsp_board *board, unsigned index) {
    if (!inTable(index))
        return XDSP_STATUS_INVALID_ARGUMENT;
    return confirmed(board, [&](bootloader::BootLoaderState &state) {
        return bootloader::formatFile(state, index);
    });
}

XDSP_EXPORT int xdsp_board_boot_file_format(xdsp_board *board) {
    return confirmed(board, [&](bootloader::BootLoaderState &state) {
        return bootloader::formatBootFile(state, XDSP_BOOT_FILE_INDEX);
    });
}

XDSP_EXPORT int xdsp_board_file_send(xdsp_board *board, const uint8_t *data, size_t length) {
    if ((data == nullptr && length != 0) || length > INT32_MAX)
        return XDSP_STATUS_INVALID_ARGUMENT;
    return confirmed(board, [&](bootloader::BootLoaderState &state) {
        return bootloader::sendFile(state, data, static_cast<int32_t>(length), 25, 80, nullptr, 0);
    });
}

XDSP_EXPORT int xdsp_board_file_close(xdsp_board *board, unsigned number) {
    if (!fileOrBootNumber(number))
        return XDSP_STATUS_INVALID_ARGUMENT;
    return confirmed(board, [&](bootloader::BootLoaderState &state) {
        return bootloader::closeFile(state, number);
    });
}

XDSP_EXPORT int xdsp_board_file_set_name(xdsp_board *board, unsigned index, const char *name,
                                         double date) {
    Char16 wideName[bootloader::nameChars * 4];
    if (!inTable(index) ||
        (name != nullptr && !utf8ToText(name, wideName, sizeof wideName / sizeof wideName[0])))
        return XDSP_STATUS_INVALID_ARGUMENT;
    return confirmed(board, [&](bootloader::BootLoaderState &state) {
        return bootloader::setFileNameDate(state, index, name != nullptr ? wideName : nullptr,
                                           date);
    });
}

XDSP_EXPORT int xdsp_board_commit(xdsp_board *board) {
    return confirmed(board,
                     [&](bootloader::BootLoaderState &state) { return bootloader::commit(state); });
}

XDSP_EXPORT int xdsp_board_file_checksum(xdsp_board *board, unsigned number, uint16_t *checksum) {
    if (checksum == nullptr || !fileOrBootNumber(number))
        return XDSP_STATUS_INVALID_ARGUMENT;
    return runCall(board, [&](Call &call) -> int {
        *checksum = bootloader::checksumOf(call.board().bootLoader, number);
        return call.status(os::lastError() == os::error::success);
    });
}

XDSP_EXPORT uint16_t xdsp_checksum(const uint8_t *data, size_t length) {
    return data != nullptr ? bootloader::byteSum(data, length) : 0;
}

XDSP_EXPORT int xdsp_board_run(xdsp_board *board) {
    return runCall(board, [&](Call &call) -> int {
        bootloader::boot(call.board().bootLoader);
        return call.status(os::lastError() == os::error::success);
    });
}
}
