#include "board_session.h"

#include "board_list.h"
#include "platform.h"

#include <stdexcept>

namespace {
// Room for the longest text a board keeps for a message box.
constexpr size_t messageCapacity = 512;
} // namespace

BoardSession::BoardSession(BoardChoice choice, Output &output, bool verbose)
    : choice_(std::move(choice)), output_(output), verbose_(verbose) {}

BoardSession::~BoardSession() {
    if (board_ != nullptr) {
        reportKeptMessage();
        xdsp_board_close(board_);
    }
    if (emulator_ != nullptr)
        emulator_->stop();
}

void BoardSession::log(xdsp_board *, const char *line, void *user) {
    static_cast<BoardSession *>(user)->output_.debug(line);
}

int BoardSession::startBuiltInEmulator(EmulatedDsp dsp) {
    path_ = builtInEndpoint();
    // With the DSP's boot loader (or its audio firmware), so the SPI commands
    // have a peer; the boot loader's flash lasts from one command to the next.
    xdsp::emu::BoardOptions options;
    if (dsp == EmulatedDsp::audioFirmware) {
        options.audioFirmware = xdsp::emu::AudioFirmwareOptions{};
    } else {
        options.bootLoader = xdsp::emu::BootLoaderOptions{};
        options.bootLoader->flashImagePath = builtInFlashImage();
    }
    try {
        emulated_ = std::make_unique<xdsp::emu::Board>(options);
    } catch (const std::runtime_error &error) {
        return fail({exitSoftware,
                     std::string("cannot start the built-in emulator: ") + error.what(),
                     {},
                     "`xdsp emu --reset-flash` starts its flash afresh"});
    }
    emulator_ = std::make_unique<xdsp::emu::VirtualDeviceServer>(*emulated_);
    if (!emulator_->start(path_))
        return fail({exitSoftware,
                     "cannot start the built-in emulator at " + path_ + ": " + emulator_->error(),
                     {},
                     {}});
    output_.note("Using the built-in emulator");
    return exitSuccess;
}

int BoardSession::choosePath(EmulatedDsp dsp) {
    if (choice_.builtInEmulator)
        return startBuiltInEmulator(dsp);
    if (!choice_.device.empty()) {
        path_ = choice_.device;
        return exitSuccess;
    }
    std::vector<ListedBoard> boards = discoverBoards();
    if (choice_.index) {
        if (*choice_.index >= boards.size())
            return fail({exitNoBoard,
                         "no board at index " + std::to_string(*choice_.index) +
                             ": `xdsp list` shows " + std::to_string(boards.size()),
                         {},
                         {}});
        path_ = boards[*choice_.index].path;
        return exitSuccess;
    }
    // Attached boards come first.
    if (boards.empty() || boards.front().emulator)
        return fail(noBoardFailure());
    path_ = boards.front().path;
    return exitSuccess;
}

int BoardSession::open(EmulatedDsp dsp) {
    if (int failed = choosePath(dsp); failed != exitSuccess)
        return failed;
    if (output_.board().empty())
        output_.setBoard(emulator_ != nullptr ? "built-in emulator" : path_);
    xdsp_board_options options{};
    if (verbose_) {
        options.log = &BoardSession::log;
        options.log_user = this;
    }
    if (int status = xdsp_board_open(path_.c_str(), &options, &board_); status != XDSP_STATUS_OK)
        return fail(openFailure(path_, status));
    char name[sizeof(xdsp_board_info::product)] = {};
    if (int status = xdsp_board_product_name(board_, name, sizeof name); status != XDSP_STATUS_OK)
        return fail(commandFailure("the board at " + path_ + " did not name itself", status));
    product_ = name;
    output_.field("product", product_);
    return exitSuccess;
}

int BoardSession::fail(const Failure &failure) {
    reportKeptMessage();
    return output_.fail(failure);
}

void BoardSession::reportKeptMessage() {
    if (board_ == nullptr)
        return;
    char text[messageCapacity] = {};
    xdsp_board_last_message(board_, text, sizeof text);
    if (text[0] == 0 || reportedMessage_ == text)
        return;
    reportedMessage_ = text;
    output_.libraryMessage(text);
}
