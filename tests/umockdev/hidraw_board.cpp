#include "umockdev/hidraw_board.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <linux/hidraw.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <umockdev.h>
#include <unistd.h>

namespace xdsp::test {

namespace {
constexpr uint32_t usbBus = 3;
// An answer the board holds back (stalled reports) is offered again this often.
constexpr auto stallRetry = std::chrono::milliseconds(1);

// A resolved piece of the client's memory, released when done.
class ClientMemory {
  public:
    ClientMemory(UMockdevIoctlClient *client, size_t length)
        : data_(umockdev_ioctl_data_resolve(umockdev_ioctl_client_get_arg(client), 0, length,
                                            nullptr)) {}
    ~ClientMemory() {
        if (data_ != nullptr)
            g_object_unref(data_);
    }
    ClientMemory(const ClientMemory &) = delete;
    ClientMemory &operator=(const ClientMemory &) = delete;
    uint8_t *bytes() const { return data_ != nullptr ? data_->data : nullptr; }

  private:
    UMockdevIoctlData *data_;
};

void fail(UMockdevIoctlClient *client, int code) {
    umockdev_ioctl_client_complete(client, -1, code);
}
} // namespace

HidrawBoard::HidrawBoard(emu::Board &board, UsbIds ids)
    : board_(board), ids_(ids), descriptor_(board.reportDescriptor()) {
    answerer_ = std::thread([this] { answerLoop(); });
}

HidrawBoard::~HidrawBoard() {
    {
        std::lock_guard<std::mutex> held(lock_);
        stopping_ = true;
        if (pendingRead_ != nullptr) {
            fail(pendingRead_, EIO);
            pendingRead_ = nullptr;
        }
    }
    wake_.notify_all();
    answerer_.join();
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
    g_signal_connect(handler_, "handle-ioctl", G_CALLBACK(onIoctl), this);
    g_signal_connect(handler_, "handle-read", G_CALLBACK(onRead), this);
    g_signal_connect(handler_, "handle-write", G_CALLBACK(onWrite), this);
    g_signal_connect(handler_, "client-connected", G_CALLBACK(onConnected), this);
    g_signal_connect(handler_, "client-vanished", G_CALLBACK(onVanished), this);
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
    due_.clear();
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

uint32_t HidrawBoard::outputReports() const {
    std::lock_guard<std::mutex> held(lock_);
    return outputReports_;
}

uint32_t HidrawBoard::shortReads() const {
    std::lock_guard<std::mutex> held(lock_);
    return shortReads_;
}

int HidrawBoard::onIoctl(UMockdevIoctlBase *, UMockdevIoctlClient *client, void *self) {
    static_cast<HidrawBoard *>(self)->answerIoctl(client);
    return TRUE;
}

int HidrawBoard::onRead(UMockdevIoctlBase *, UMockdevIoctlClient *client, void *self) {
    static_cast<HidrawBoard *>(self)->answerRead(client);
    return TRUE;
}

int HidrawBoard::onWrite(UMockdevIoctlBase *, UMockdevIoctlClient *client, void *self) {
    static_cast<HidrawBoard *>(self)->answerWrite(client);
    return TRUE;
}

void HidrawBoard::onConnected(UMockdevIoctlBase *, UMockdevIoctlClient *client, void *self) {
    auto *board = static_cast<HidrawBoard *>(self);
    std::lock_guard<std::mutex> held(board->lock_);
    board->clients_[client] = board->plugged_ ? board->generation_ : 0;
}

void HidrawBoard::onVanished(UMockdevIoctlBase *, UMockdevIoctlClient *client, void *self) {
    auto *board = static_cast<HidrawBoard *>(self);
    std::lock_guard<std::mutex> held(board->lock_);
    board->clients_.erase(client);
    if (board->pendingRead_ == client)
        board->pendingRead_ = nullptr;
}

bool HidrawBoard::current(UMockdevIoctlClient *client) const {
    auto found = clients_.find(client);
    return plugged_ && found != clients_.end() && found->second == generation_;
}

void HidrawBoard::answerIoctl(UMockdevIoctlClient *client) {
    std::lock_guard<std::mutex> held(lock_);
    if (!current(client)) {
        fail(client, ENODEV);
        return;
    }
    switch (umockdev_ioctl_client_get_request(client)) {
    case HIDIOCGRDESCSIZE: {
        ClientMemory size(client, sizeof(int));
        if (size.bytes() == nullptr)
            return fail(client, EFAULT);
        int value = static_cast<int>(descriptor_.size());
        std::memcpy(size.bytes(), &value, sizeof value);
        umockdev_ioctl_client_complete(client, 0, 0);
        return;
    }
    case HIDIOCGRDESC: {
        ClientMemory descriptor(client, sizeof(hidraw_report_descriptor));
        if (descriptor.bytes() == nullptr)
            return fail(client, EFAULT);
        uint32_t asked = 0;
        std::memcpy(&asked, descriptor.bytes(), sizeof asked);
        if (asked > HID_MAX_DESCRIPTOR_SIZE - 1)
            return fail(client, EINVAL);
        size_t count = std::min<size_t>(asked, descriptor_.size());
        std::memcpy(descriptor.bytes() + offsetof(hidraw_report_descriptor, value),
                    descriptor_.data(), count);
        umockdev_ioctl_client_complete(client, 0, 0);
        return;
    }
    case HIDIOCGRAWINFO: {
        ClientMemory info(client, sizeof(hidraw_devinfo));
        if (info.bytes() == nullptr)
            return fail(client, EFAULT);
        hidraw_devinfo value{usbBus, static_cast<int16_t>(ids_.vendorId),
                             static_cast<int16_t>(ids_.productId)};
        std::memcpy(info.bytes(), &value, sizeof value);
        umockdev_ioctl_client_complete(client, 0, 0);
        return;
    }
    default:
        fail(client, ENOTTY);
    }
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
    takeDoorbell();
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
    std::unique_lock<std::mutex> held(lock_);
    if (!current(client)) {
        fail(client, ENODEV);
        return;
    }
    UMockdevIoctlData *buffer = umockdev_ioctl_client_get_arg(client);
    if (buffer->data_len < 2) {
        fail(client, EINVAL);
        return;
    }
    ++outputReports_;
    auto period = std::chrono::microseconds(board_.options().reportPeriodMicros);
    due_.push_back(Due{std::chrono::steady_clock::now() + period,
                       std::vector<uint8_t>(buffer->data, buffer->data + buffer->data_len)});
    umockdev_ioctl_client_complete(client, buffer->data_len, 0);
    held.unlock();
    wake_.notify_all();
}

void HidrawBoard::ringDoorbell() {
    uint8_t bell = 'r';
    [[maybe_unused]] ssize_t written = write(controllerFd_, &bell, 1);
}

void HidrawBoard::takeDoorbell() {
    uint8_t bell = 0;
    [[maybe_unused]] ssize_t taken = read(terminalFd_, &bell, 1);
}

void HidrawBoard::answerLoop() {
    std::unique_lock<std::mutex> held(lock_);
    std::vector<uint8_t> input(board_.options().inputReportLength);
    while (!stopping_) {
        if (due_.empty()) {
            wake_.wait(held);
            continue;
        }
        if (wake_.wait_until(held, due_.front().when) != std::cv_status::timeout)
            continue; // woken early: look again
        if (due_.empty())
            continue;
        Due &next = due_.front();
        if (!board_.answer(next.outputReport.data(), next.outputReport.size(), input.data(),
                           input.size())) {
            next.when += stallRetry;
            continue;
        }
        due_.pop_front();
        if (input.size() < 2)
            continue;
        // Without report IDs hidraw hands out the data alone.
        size_t length = input.size() - 1;
        if (reportsToCut_ > 0) {
            --reportsToCut_;
            length = std::min(length, cutLength_);
        }
        inputReports_.emplace_back(input.begin() + 1, input.begin() + 1 + length);
        if (pendingRead_ != nullptr) {
            UMockdevIoctlClient *reader = pendingRead_;
            pendingRead_ = nullptr;
            ringDoorbell();
            deliver(reader);
        } else {
            ringDoorbell();
        }
    }
}

} // namespace xdsp::test
