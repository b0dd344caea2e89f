// The platform-free half of the virtual-device server; its channel lives in
// posix/ or win32/.
#include "server_channel.h"

namespace xdsp::emu {

VirtualDeviceServer::VirtualDeviceServer(Board &board) : board_(board) {}

VirtualDeviceServer::~VirtualDeviceServer() {
    stop();
}

bool VirtualDeviceServer::start(const std::string &path) {
    if (channel_ != nullptr) {
        error_ = "already serving";
        return false;
    }
    const BoardOptions &options = board_.options();
    if (options.inputReportLength > maxReportLength ||
        options.outputReportLength > maxReportLength) {
        error_ = "report lengths above " + std::to_string(maxReportLength) + " are not served";
        return false;
    }
    auto *channel = new Channel(*this);
    if (!channel->open(path)) {
        delete channel;
        return false;
    }
    uint32_t code = 0;
    channel->thread = os::threadStart(&Channel::run, channel, &code);
    if (channel->thread == nullptr) {
        error_ = "cannot start the serving thread (error " + std::to_string(code) + ")";
        delete channel;
        return false;
    }
    channel_ = channel;
    error_.clear();
    return true;
}

void VirtualDeviceServer::stop() {
    if (channel_ == nullptr)
        return;
    channel_->stopping = true;
    channel_->wake();
    // Every wait of the serving thread watches its wake-up signal, so it leaves.
    while (!os::threadJoin(channel_->thread, 1000)) {
    }
    os::threadRelease(channel_->thread);
    delete channel_;
    channel_ = nullptr;
    hostConnected_ = false;
}

void VirtualDeviceServer::unplug() {
    unplugged_ = true;
    if (channel_ != nullptr)
        channel_->disconnectHost();
}

void VirtualDeviceServer::replug() {
    unplugged_ = false;
}

} // namespace xdsp::emu
