// The board API's listing: the boards attached and this user's running
// emulators, each opened once for its name, as `xdsp list` shows them.
#include "board/board_call.h"
#include "discovery/enumerate.h"
#include "discovery/serial_companion.h"
#include "frame/bounded_string.h"
#include "frame/utf8.h"

#include <cstring>
#include <new>

using namespace xdsp;

namespace {
constexpr uint16_t boardVendorId = 0x20B1;
constexpr uint16_t anyProduct = 0xFFFF;
constexpr uint32_t enumerationLimit = 64; // the enumeration looks at the first 64 interfaces

// The enumeration's own debug lines are not the caller's business here.
class SilentReporter final : public Reporter {
  public:
    void line(const Char16 *, size_t) override {}
    int message(const Char16 *, const Char16 *, uint32_t) override { return 1; }
};

struct Candidate {
    Char16 path[XDSP_DEVICE_PATH_CHARS];
    bool emulator;
};

void describe(const Candidate &candidate, xdsp_board_info *info) {
    std::memset(info, 0, sizeof *info);
    textToUtf8(candidate.path, textLength(candidate.path), info->path, sizeof info->path);
    info->kind = candidate.emulator ? XDSP_KIND_EMULATOR : XDSP_KIND_BOARD;
    if (!candidate.emulator) {
        Char16 port[XDSP_DEVICE_PATH_CHARS] = {};
        Char16 friendly[XDSP_FRIENDLY_NAME_CHARS] = {};
        discovery::matchingComDevice(candidate.path, port, friendly);
        // "\\.\" alone means no port.
        if (textLength(port) > 4)
            textToUtf8(port, textLength(port), info->serial_port, sizeof info->serial_port);
    }
    xdsp_board *board = nullptr;
    info->status = xdsp_board_open(info->path, nullptr, &board);
    if (info->status == XDSP_STATUS_OK) {
        if (xdsp_board_product_name(board, info->product, sizeof info->product) != XDSP_STATUS_OK)
            info->product[0] = 0;
        xdsp_board_close(board);
    }
}
} // namespace

extern "C" {

XDSP_EXPORT int xdsp_list_boards(xdsp_board_info *boards, size_t capacity, size_t *count) {
    if (count == nullptr || (boards == nullptr && capacity != 0))
        return XDSP_STATUS_INVALID_ARGUMENT;
    *count = 0;
    static constexpr size_t candidateLimit = enumerationLimit + os::emulatorEndpointLimit;
    auto *candidates = new (std::nothrow) Candidate[candidateLimit];
    if (candidates == nullptr)
        return XDSP_STATUS_NO_MEMORY;
    size_t found = 0;
    {
        SilentReporter silent;
        ReportingScope reporting(&silent);
        board::LastErrorKept kept;
        xdsp_device_record records[enumerationLimit];
        uint32_t attached = discovery::enumerateDevices(os::hidInterfaceAt, boardVendorId,
                                                        anyProduct, records, enumerationLimit);
        for (uint32_t i = 0; i < attached && i < enumerationLimit; ++i, ++found) {
            boundedCopy(candidates[found].path, XDSP_DEVICE_PATH_CHARS, records[i].devicePath);
            candidates[found].emulator = false;
        }
        Char16 endpoints[os::emulatorEndpointLimit][XDSP_DEVICE_PATH_CHARS];
        size_t served = os::emulatorEndpoints(endpoints, os::emulatorEndpointLimit);
        for (size_t i = 0; i < served; ++i, ++found) {
            boundedCopy(candidates[found].path, XDSP_DEVICE_PATH_CHARS, endpoints[i]);
            candidates[found].emulator = true;
        }
    }
    for (size_t i = 0; i < found; ++i) {
        xdsp_board_info info;
        describe(candidates[i], &info);
        // An endpoint nobody serves is an emulator that has stopped.
        if (candidates[i].emulator && info.status == XDSP_STATUS_NOT_FOUND)
            continue;
        if (*count < capacity)
            boards[*count] = info;
        ++*count;
    }
    delete[] candidates;
    return XDSP_STATUS_OK;
}
}
