#include "support/emulated_board.h"

#include "link/link.h"
#include "link/report_format.h"

#include <atomic>
#ifdef _WIN32
#include <process.h>
#else
#include <unistd.h>
#endif

namespace xdsp::test {

namespace {
std::atomic<unsigned> boardsMade{0};

// Virtual devices live under the pipe namespace on Windows, in /tmp elsewhere.
std::string devicePath(const std::string &name) {
#ifdef _WIN32
    return "\\\\.\\pipe\\" + name + "-" + std::to_string(_getpid());
#else
    return "/tmp/" + name + "-" + std::to_string(getpid()) + ".sock";
#endif
}
} // namespace

Text absentDevicePath() {
    return wide(devicePath("xdsp-no-such-device"));
}

EmulatedBoard::EmulatedBoard(emu::BoardOptions options)
    : board_(std::make_unique<emu::Board>(std::move(options))) {
    path_ = devicePath("xdsp-test-" + std::to_string(boardsMade.fetch_add(1)));
    widePath_ = wide(path_);
    server_ = std::make_unique<emu::VirtualDeviceServer>(*board_);
    server_->start(path_);
}

EmulatedBoard::~EmulatedBoard() {
    DestroyHIDUSBPacket();
    server_->stop();
#ifndef _WIN32
    unlink(path_.c_str());
#endif
}

bool EmulatedBoard::openAndSettle(Capture &capture) {
    if (!InitializeHIDUSBPacketPath(widePath_.c_str()))
        return false;
    // The poll thread writes the product-name line in three pieces; waiting for
    // the whole second line keeps its tail out of a capture cleared right after.
    bool named = eventually([&] {
        std::vector<Text> pieces = capture.pieces();
        size_t names = 0;
        for (size_t i = 0; i < pieces.size(); ++i) {
            if (pieces[i] == WIDE("HID: ProductName: ") && ++names == 2)
                return i + 2 < pieces.size() && pieces[i + 2] == WIDE("\n");
        }
        return false;
    });
    // The answer's response event is set after the line: once the thread writes
    // again it is set, and cannot end the wait of a command staged next.
    uint32_t reports = board_->outputReportCount();
    return named && eventually([&] { return board_->outputReportCount() > reports; });
}

bool EmulatedBoard::holdBusyUntilSeen() {
    board_->setBusyStuck(true);
    return eventually(
        [] { return (link::processLink().shared.statusWord.load() & link::status::busy) != 0; });
}

} // namespace xdsp::test
