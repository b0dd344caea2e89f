#include "board_session.h"
#include "text_output.h"

#include <cstdio>
#include <unistd.h>

namespace {
constexpr uint16_t boardVendorId = 0x20B1;
}

BoardSession::BoardSession(const std::string &devicePath) : path_(devicePath) {}

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
            // With the DSP's boot loader, so the boot-loader commands have a
            // peer; its flash lives only as long as this process.
            xdsp::emu::BoardOptions options;
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
    return true;
}
