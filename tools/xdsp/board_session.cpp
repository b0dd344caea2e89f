#include "board_session.h"

#include "board_list.h"
#include "output.h"
#include "platform.h"
#include "text.h"

#include <stdexcept>

BoardSession::BoardSession(BoardChoice choice) : choice_(std::move(choice)) {}

BoardSession::~BoardSession() {
    DestroyHIDUSBPacket();
    if (emulator_ != nullptr)
        emulator_->stop();
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
        board_ = std::make_unique<xdsp::emu::Board>(options);
    } catch (const std::runtime_error &error) {
        return Output::get().fail(
            {exitSoftware,
             std::string("cannot start the built-in emulator: ") + error.what(),
             {},
             "`xdsp emu --reset-flash` starts its flash afresh"});
    }
    emulator_ = std::make_unique<xdsp::emu::VirtualDeviceServer>(*board_);
    if (!emulator_->start(path_))
        return Output::get().fail(
            {exitSoftware,
             "cannot start the built-in emulator at " + path_ + ": " + emulator_->error(),
             {},
             {}});
    Output::get().note("Using the built-in emulator");
    return exitSuccess;
}

int BoardSession::choosePath(EmulatedDsp dsp) {
    Output &output = Output::get();
    if (choice_.builtInEmulator)
        return startBuiltInEmulator(dsp);
    if (choice_.index) {
        std::vector<ListedBoard> boards = discoverBoards();
        if (*choice_.index >= boards.size())
            return output.fail({exitNoBoard,
                                "no board at index " + std::to_string(*choice_.index) +
                                    ": `xdsp list` shows " + std::to_string(boards.size()),
                                {},
                                {}});
        path_ = boards[*choice_.index].path;
        return exitSuccess;
    }
    if (!choice_.device.empty()) {
        path_ = choice_.device;
        return exitSuccess;
    }
    xdsp_device_record record{};
    if (EnumUSBHIDDevices(boardVendorId, 0xFFFF, &record, 1) == 0)
        return output.fail(noBoardFailure());
    path_ = toUtf8(record.devicePath);
    return exitSuccess;
}

int BoardSession::open(EmulatedDsp dsp) {
    if (int failed = choosePath(dsp); failed != exitSuccess)
        return failed;
    Output &output = Output::get();
    if (output.board().empty())
        output.setBoard(emulator_ != nullptr ? "built-in emulator" : path_);
    auto wide = fromUtf8(path_);
    if (!InitializeHIDUSBPacketPath(wide.c_str()))
        return output.fail(openFailure(path_, lastError()));
    // Commands need the link to run; the board's first answer shows that it does.
    std::optional<std::string> product = openBoardProduct();
    if (!product)
        return output.fail(
            commandFailure("the board at " + path_ + " did not name itself", lastError()));
    product_ = *product;
    output.field("product", product_);
    return exitSuccess;
}

std::optional<std::string> openBoardProduct() {
    uint8_t record[XDSP_PRODUCT_NAME_RECORD_SIZE] = {};
    GetProductNameStruct(record);
    if (record[XDSP_PRODUCT_NAME_OFFSET] == 0)
        return std::nullopt;
    record[sizeof record - 1] = 0;
    return std::string(reinterpret_cast<const char *>(record + XDSP_PRODUCT_NAME_OFFSET));
}
