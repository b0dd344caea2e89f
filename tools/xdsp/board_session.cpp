#include "board_session.h"
#include "text_output.h"

#include <cstdio>
#include <unistd.h>

namespace {
constexpr uint16_t boardVendorId = 0x20B1;
}

BoardSession::BoardSession(const std::string &devicePath, EmulatedDsp dsp)
    : path_(devicePath), dsp_(dsp) {}

BoardSession::~BoardSession() {
    DestroyHIDUSBPacket();
    if (emulator_ != nullptr) {
        emulator_->stop();
        unlink(path_.c_str());
    }
}

bool BoardSession::open() {
    if (path_.empty()) {
        xdsp_device_record record{};
        if (EnumUSBHIDDevices(boardVendorId, 0xFFFF, &record, 1) > 0) {
            path_ = toUtf8(record.devicePath);
        } else {
            path_ = "/tmp/xdsp-emu-" + std::to_string(getpid()) + ".sock";
            // With the DSP's boot loader (or its audio firmware), so the SPI
            // commands have a peer; its flash lives only as long as this process.
            xdsp::emu::BoardOptions options;
            if (dsp_ == EmulatedDsp::audioFirmware)
                options.audioFirmware = xdsp::emu::AudioFirmwareOptions{};
            else
                options.bootLoader = xdsp::emu::BootLoaderOptions{};
            board_ = std::make_unique<xdsp::emu::Board>(options);
            emulator_ = std::make_unique<xdsp::emu::VirtualDeviceServer>(*board_);
            if (!emulator_->start(path_)) {
                std::fprintf(stderr, "xdsp: cannot start the emulator at %s\n", path_.c_str());
                return false;
            }
            std::printf("No board attached: using the built-in emulator at %s\n", path_.c_str());
        }
    }
    auto wide = fromUtf8(path_);
    if (!InitializeHIDUSBPacketPath(wide.c_str())) {
        std::fprintf(stderr, "xdsp: cannot open %s (error %u)\n", path_.c_str(), xdsp_last_error());
        return false;
    }
    // Commands need the link to run; the board's first answer shows that it does.
    return productName().has_value();
}

std::optional<std::string> BoardSession::productName() {
    uint8_t record[188] = {};
    GetProductNameStruct(record);
    if (record[0] == 0) {
        std::fprintf(stderr, "xdsp: the board at %s did not name itself (error %u)\n",
                     path_.c_str(), xdsp_last_error());
        return std::nullopt;
    }
    record[sizeof record - 1] = 0;
    return std::string(reinterpret_cast<const char *>(record + 16));
}
