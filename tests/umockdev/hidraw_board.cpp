#include "umockdev/hidraw_board.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/hidraw.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <thread>
#include <umockdev.h>
#include <unistd.h>
#include <utility>

namespace xdsp::test {

namespace {
constexpr uint32_t usbBus = 3;

void fail(UMockdevIoctlClient *client, int code) {
    umockdev_ioctl_client_complete(client, -1, code);
}

template <typename Board, void (Board::*answer)(UMockdevIoctlClient *)>
int handle(UMockdevIoctlBase *, UMockdevIoctlClient *client, void *self) {
    (static_cast<Board *>(self)->*answer)(client);
    return TRUE;
}
} // namespace

HidrawBoard::HidrawBoard(emu::Board &board, UsbIds ids)
    : board_(board), ids_(ids), descriptor_(board.reportDescriptor()) {}

HidrawBoard::~HidrawBoard() {
    {
        std::lock_guard<std::mutex> held(lock_);
        if (pendingRead_ != nullptr)
            fail(pendingRead_, EIO);
    }
    if (handler_ != nullptr) {
        // The testbed keeps the handler: its signals must not reach this board any more.
        g_signal_handlers_disconnect_by_data(handler_, this);
        g_object_unref(handler_);
    }
    if (terminalFd_ >= 0)
        close(terminalFd_);
}

bool HidrawBoard::attach(UMockdevTestbed *testbed, const std::string &devNode, std::string *error) {
    int controller = umockdev_testbed_get_dev_fd(testbed, devNode.c_str());
    const char *terminal = controller >= 0 ? ptsname(controller) : nullptr;
    if (terminal == nullptr) {
        *error = devNode + " has no pseudo-terminal behind it";
        return false;
    }
    terminalFd_ = open(terminal, O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    termios settings{};
    if (terminalFd_ < 0 || tcgetattr(terminalFd_, &settings) != 0) {
        *error = std::string("cannot open ") + terminal + ": " + std::strerror(errno);
        return false;
    }
    // Raw, so that each doorbell byte is readable (and pollable) on its own.
    cfmakeraw(&settings);
    tcsetattr(terminalFd_, TCSANOW, &settings);

    handler_ = umockdev_ioctl_base_new();
    g_signal_connect(handler_, "handle-ioctl",
                     G_CALLBACK((handle<HidrawBoard, &HidrawBoard::answerIoctl>)), this);
    g_signal_connect(handler_, "handle-read",
                     G_CALLBACK((handle<HidrawBoard, &HidrawBoard::answerRead>)), this);
    g_signal_connect(handler_, "handle-write",
                     G_CALLBACK((handle<HidrawBoard, &HidrawBoard::answerWrite>)), this);
    g_signal_connect(handler_, "client-connected",
                     G_CALLBACK(+[](UMockdevIoctlBase *, UMockdevIoctlClient *client, void *self) {
                         auto *board = static_cast<HidrawBoard *>(self);
                         std::lock_guard<std::mutex> held(board->lock_);
                         board->clients_[client] = board->plugged_ ? board->generation_ : 0;
                     }),
                     this);
    g_signal_connect(handler_, "client-vanished",
                     G_CALLBACK(+[](UMockdevIoctlBase *, UMockdevIoctlClient *client, void *self) {
                         auto *board = static_cast<HidrawBoard *>(self);
                         std::lock_guard<std::mutex> held(board->lock_);
                         board->clients_.erase(client);
                         if (board->pendingRead_ == client)
                             board->pendingRead_ = nullptr;
                     }),
                     this);
    GError *failure = nullptr;
    if (!umockdev_testbed_attach_ioctl(testbed, devNode.c_str(), handler_, &failure)) {
        *error = failure->message;
        g_error_free(failure);
        return false;
    }
    // The pty carries only the doorbell: the node's data goes through the handler.
    controllerFd_ = controller;
    return true;
}

void HidrawBoard::unplug() {
    std::lock_guard<std::mutex> held(lock_);
    plugged_ = false;
    if (pendingRead_ != nullptr) {
        fail(pendingRead_, EIO);
        pendingRead_ = nullptr;
    }
    // A hung-up node stays readable: poll() wakes its reader, which then fails.
    ringDoorbell();
}

void HidrawBoard::replug() {
    std::lock_guard<std::mutex> held(lock_);
    ++generation_;
    plugged_ = true;
    inputReports_.clear();
    tcflush(terminalFd_, TCIFLUSH);
}

void HidrawBoard::cutInputReports(uint32_t count, size_t dataBytes) {
    std::lock_guard<std::mutex> held(lock_);
    reportsToCut_ = count;
    cutLength_ = dataBytes;
}

uint32_t HidrawBoard::shortReads() const {
    std::lock_guard<std::mutex> held(lock_);
    return shortReads_;
}

bool HidrawBoard::current(UMockdevIoctlClient *client) const {
    auto found = clients_.find(client);
    return plugged_ && found != clients_.end() && found->second == generation_;
}

void HidrawBoard::answerIoctl(UMockdevIoctlClient *client) {
    std::lock_guard<std::mutex> held(lock_);
    if (!current(client))
        return fail(client, ENODEV);
    unsigned long request = umockdev_ioctl_client_get_request(client);
    if (request != HIDIOCGRDESCSIZE && request != HIDIOCGRDESC && request != HIDIOCGRAWINFO)
        return fail(client, ENOTTY);
    // The argument is as long as the request says.
    UMockdevIoctlData *argument = umockdev_ioctl_data_resolve(umockdev_ioctl_client_get_arg(client),
                                                              0, _IOC_SIZE(request), nullptr);
    if (argument == nullptr)
        return fail(client, EFAULT);
    int result = 0;
    int code = 0;
    if (request == HIDIOCGRDESCSIZE) {
        int size = static_cast<int>(descriptor_.size());
        std::memcpy(argument->data, &size, sizeof size);
    } else if (request == HIDIOCGRAWINFO) {
        hidraw_devinfo info{usbBus, static_cast<int16_t>(ids_.vendorId),
                            static_cast<int16_t>(ids_.productId)};
        std::memcpy(argument->data, &info, sizeof info);
    } else {
        uint32_t asked = 0;
        std::memcpy(&asked, argument->data, sizeof asked);
        if (asked > HID_MAX_DESCRIPTOR_SIZE - 1)
            result = -1, code = EINVAL;
        else
            std::memcpy(argument->data + offsetof(hidraw_report_descriptor, value),
                        descriptor_.data(), std::min<size_t>(asked, descriptor_.size()));
    }
    umockdev_ioctl_client_complete(client, result, code);
    g_object_unref(argument);
}

void HidrawBoard::answerRead(UMockdevIoctlClient *client) {
    std::lock_guard<std::mutex> held(lock_);
    if (!inputReports_.empty()) {
        deliver(client);
    } else if (!current(client)) {
        fail(client, EIO);
    } else if (pendingRead_ != nullptr) {
        fail(client, EBUSY);
    } else {
        pendingRead_ = client; // a blocking read waits for the next report
    }
}

void HidrawBoard::deliver(UMockdevIoctlClient *client) {
    std::vector<uint8_t> report = std::move(inputReports_.front());
    inputReports_.pop_front();
    uint8_t bell = 0;
    [[maybe_unused]] ssize_t taken = read(terminalFd_, &bell, 1);
    UMockdevIoctlData *buffer = umockdev_ioctl_client_get_arg(client);
    size_t room = static_cast<size_t>(std::max(buffer->data_len, 0));
    // A short buffer loses the rest of the report.
    if (room < report.size())
        ++shortReads_;
    size_t count = std::min(room, report.size());
    std::memcpy(buffer->data, report.data(), count);
    umockdev_ioctl_client_complete(client, static_cast<long>(count), 0);
}

void HidrawBoard::answerWrite(UMockdevIoctlClient *client) {
    UMockdevIoctlData *buffer = umockdev_ioctl_client_get_arg(client);
    {
        std::lock_guard<std::mutex> held(lock_);
        if (!current(client))
            return fail(client, ENODEV);
        if (buffer->data_len < 2)
            return fail(client, EINVAL);
    }
    // The interrupt transfer takes a report period; a stalled board answers nothing.
    std::this_thread::sleep_for(std::chrono::microseconds(board_.options().reportPeriodMicros));
    std::vector<uint8_t> input(board_.options().inputReportLength);
    bool answered = board_.answer(buffer->data, static_cast<size_t>(buffer->data_len), input.data(),
                                  input.size());
    {
        std::lock_guard<std::mutex> held(lock_);
        if (answered && input.size() >= 2 && plugged_) {
            // Without report IDs hidraw hands out the data alone.
            size_t length = input.size() - 1;
            if (reportsToCut_ > 0) {
                --reportsToCut_;
                length = std::min(length, cutLength_);
            }
            inputReports_.emplace_back(input.begin() + 1, input.begin() + 1 + length);
            ringDoorbell();
            if (pendingRead_ != nullptr)
                deliver(std::exchange(pendingRead_, nullptr));
        }
    }
    // Last: once the write returns, the library may close and this board go.
    umockdev_ioctl_client_complete(client, buffer->data_len, 0);
}

void HidrawBoard::ringDoorbell() {
    uint8_t bell = 'r';
    [[maybe_unused]] ssize_t written = write(controllerFd_, &bell, 1);
}

} // namespace xdsp::test
