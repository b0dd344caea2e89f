// The virtual device on a Unix-domain SOCK_SEQPACKET socket, which keeps
// message boundaries as a HID device keeps report boundaries.
#include "server_channel.h"

#include "os/os.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace xdsp::emu {

namespace {
constexpr int listenBacklog = 8;
constexpr int64_t nanosPerMicro = 1000;
constexpr int64_t nanosPerMilli = 1000000;
constexpr int64_t nanosPerSecond = 1000000000;
// Waits up to this long are slept through to an absolute deadline, which keeps
// short report periods exact; longer ones poll, so stop and unplug stay prompt.
constexpr int64_t sleepThroughNanos = 2 * nanosPerMilli;
// A sleep ends some tens of microseconds late even with no timer slack, which
// would stretch report periods under a millisecond by a third: those sleep to
// this much before the deadline and spin the rest. Longer periods only sleep,
// so that an emulator left running costs next to nothing.
constexpr int64_t spinMarginNanos = 60 * nanosPerMicro;
constexpr uint32_t spinBelowPeriodMicros = 1000;
// A stalled board is offered the report again this often at the least.
constexpr uint32_t stallRetryMicros = 1000;

timespec monotonicNow() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now;
}

timespec later(timespec time, uint32_t micros) {
    int64_t nanos = time.tv_nsec + static_cast<int64_t>(micros) * nanosPerMicro;
    time.tv_sec += static_cast<time_t>(nanos / nanosPerSecond);
    time.tv_nsec = static_cast<long>(nanos % nanosPerSecond);
    return time;
}

int64_t nanosUntil(timespec deadline) {
    timespec now = monotonicNow();
    return static_cast<int64_t>(deadline.tv_sec - now.tv_sec) * nanosPerSecond +
           (deadline.tv_nsec - now.tv_nsec);
}

timespec earlier(timespec time, int64_t nanos) {
    int64_t total = static_cast<int64_t>(time.tv_sec) * nanosPerSecond + time.tv_nsec - nanos;
    return timespec{static_cast<time_t>(total / nanosPerSecond),
                    static_cast<long>(total % nanosPerSecond)};
}

void sleepUntil(const timespec &deadline, bool spinToIt) {
    timespec wakeAt = spinToIt ? earlier(deadline, spinMarginNanos) : deadline;
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &wakeAt, nullptr) == EINTR) {
    }
    while (spinToIt && nanosUntil(deadline) > 0) {
    }
}

std::string systemError(const std::string &what) {
    return what + ": " + std::strerror(errno);
}

bool fillAddress(const std::string &path, sockaddr_un *address) {
    *address = sockaddr_un{};
    address->sun_family = AF_UNIX;
    if (path.empty() || path.size() >= sizeof address->sun_path ||
        path.find('\0') != std::string::npos)
        return false;
    std::memcpy(address->sun_path, path.data(), path.size());
    return true;
}

// A socket file nobody listens on is left over from a server that died.
bool isStaleSocket(const sockaddr_un &address) {
    int probe = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (probe < 0)
        return false;
    bool stale =
        connect(probe, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 &&
        errno == ECONNREFUSED;
    close(probe);
    return stale;
}
} // namespace

VirtualDeviceServer::Channel::~Channel() {
    if (listenFd >= 0) {
        close(listenFd);
        struct stat bound {};
        if (lstat(path.c_str(), &bound) == 0 && bound.st_dev == boundDevice &&
            bound.st_ino == boundInode)
            unlink(path.c_str());
    }
    if (wakeFd >= 0)
        close(wakeFd);
    os::lockDelete(hostLock);
}

bool VirtualDeviceServer::Channel::open(const std::string &socketPath) {
    std::string &error = server.error_;
    sockaddr_un address{};
    if (!fillAddress(socketPath, &address)) {
        error = "socket path is empty or longer than " +
                std::to_string(sizeof address.sun_path - 1) + " bytes: " + socketPath;
        return false;
    }
    struct stat existing {};
    if (lstat(socketPath.c_str(), &existing) == 0) {
        if (!S_ISSOCK(existing.st_mode)) {
            error = socketPath + " exists and is not a socket";
            return false;
        }
        if (!isStaleSocket(address)) {
            error = socketPath + " is in use by another server";
            return false;
        }
        unlink(socketPath.c_str());
    }
    listenFd = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (listenFd < 0) {
        error = systemError("socket");
        return false;
    }
    if (bind(listenFd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        error = systemError("bind " + socketPath);
        close(listenFd);
        listenFd = -1;
        return false;
    }
    path = socketPath;
    struct stat bound {};
    if (lstat(path.c_str(), &bound) == 0) {
        boundDevice = bound.st_dev;
        boundInode = bound.st_ino;
    }
    if (listen(listenFd, listenBacklog) != 0) {
        error = systemError("listen");
        return false;
    }
    wakeFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (wakeFd < 0) {
        error = systemError("eventfd");
        return false;
    }
    hostLock = os::lockCreate();
    if (hostLock == nullptr) {
        error = "out of memory";
        return false;
    }
    const BoardOptions &options = server.board_.options();
    descriptor = server.board_.reportDescriptor();
    // A byte at least, so that an empty message still reads as a message.
    outputReport.resize(std::max<uint32_t>(options.outputReportLength, 1));
    inputReport.resize(options.inputReportLength);
    return true;
}

void VirtualDeviceServer::Channel::wake() {
    uint64_t one = 1;
    [[maybe_unused]] ssize_t written = write(wakeFd, &one, sizeof one);
}

void VirtualDeviceServer::Channel::disconnectHost() {
    os::lockEnter(hostLock);
    if (hostFd >= 0)
        shutdown(hostFd, SHUT_RDWR); // the host sees the device go at once
    server.hostConnected_ = false;
    os::lockLeave(hostLock);
    wake();
}

uint32_t VirtualDeviceServer::Channel::run(void *channel) {
    static_cast<Channel *>(channel)->serve();
    return 0;
}

void VirtualDeviceServer::Channel::serve() {
    // The default 50 us of timer slack would stretch short report periods.
    prctl(PR_SET_TIMERSLACK, 1UL, 0UL, 0UL, 0UL);
    while (!stopping) {
        // While an answer is due the host's messages wait (it sends one report
        // per answer), but its hang-up is still seen.
        int timeoutMs = -1;
        if (answerDue) {
            int64_t left = nanosUntil(due);
            timeoutMs = left > sleepThroughNanos
                            ? static_cast<int>((left - nanosPerMilli) / nanosPerMilli)
                            : 0;
        }
        pollfd watched[3] = {{wakeFd, POLLIN, 0},
                             {listenFd, POLLIN, 0},
                             {hostFd, static_cast<short>(answerDue ? 0 : POLLIN), 0}};
        if (poll(watched, 3, timeoutMs) < 0) {
            if (errno != EINTR)
                os::sleepMs(1); // out of kernel memory for a moment: try again
            continue;
        }
        if (watched[0].revents != 0) {
            uint64_t count = 0;
            [[maybe_unused]] ssize_t drained = read(wakeFd, &count, sizeof count);
        }
        if ((watched[1].revents & POLLIN) != 0)
            acceptHost();
        if (answerDue && watched[2].revents != 0)
            closeHost();
        else if (watched[2].revents != 0)
            takeOutputReport(watched[2].revents);
        if (server.unplugged_)
            closeHost();
        if (answerDue && nanosUntil(due) <= sleepThroughNanos) {
            sleepUntil(due, server.board_.options().reportPeriodMicros < spinBelowPeriodMicros);
            answerHost();
        }
    }
    closeHost();
}

void VirtualDeviceServer::Channel::acceptHost() {
    int fd = accept4(listenFd, nullptr, nullptr, SOCK_CLOEXEC);
    if (fd < 0)
        return;
    // A host that closed and reconnected at once may be seen connecting before
    // its hang-up is: let the old connection go first, so it is not refused.
    if (hostFd >= 0) {
        pollfd old{hostFd, POLLRDHUP, 0};
        if (poll(&old, 1, 0) > 0 && (old.revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0)
            closeHost();
    }
    os::lockEnter(hostLock);
    bool refused = hostFd >= 0 || server.unplugged_;
    if (!refused) {
        hostFd = fd;
        server.board_.hostAttached();
        // Connected before the host can see the descriptor.
        server.hostConnected_ = true;
        if (send(hostFd, descriptor.data(), descriptor.size(), MSG_DONTWAIT | MSG_NOSIGNAL) < 0) {
            close(hostFd);
            hostFd = -1;
            server.hostConnected_ = false;
        }
    }
    os::lockLeave(hostLock);
    if (refused) {
        ++server.refusedConnections_; // counted before the host can see the refusal
        close(fd);
    }
}

void VirtualDeviceServer::Channel::takeOutputReport(short events) {
    ssize_t count = recv(hostFd, outputReport.data(), outputReport.size(), MSG_DONTWAIT);
    // An empty message and the end of the connection both read as 0 bytes;
    // only the end comes with a hang-up.
    bool message = count > 0 || (count == 0 && (events & POLLHUP) == 0);
    if (message) {
        received = static_cast<size_t>(count);
        due = later(monotonicNow(), server.board_.options().reportPeriodMicros);
        answerDue = true;
    } else if (count == 0 || (errno != EAGAIN && errno != EINTR)) {
        closeHost();
    }
}

void VirtualDeviceServer::Channel::answerHost() {
    if (!server.board_.answer(outputReport.data(), received, inputReport.data(),
                              inputReport.size())) {
        uint32_t retry = std::max(server.board_.options().reportPeriodMicros, stallRetryMicros);
        due = later(due, retry);
        return;
    }
    answerDue = false;
    if (!inputReport.empty())
        sendToHost(inputReport);
}

void VirtualDeviceServer::Channel::sendToHost(const std::vector<uint8_t> &message) {
    if (hostFd < 0)
        return;
    // A host that stopped reading loses the report, as a full endpoint would.
    if (send(hostFd, message.data(), message.size(), MSG_DONTWAIT | MSG_NOSIGNAL) < 0 &&
        errno != EAGAIN && errno != EINTR)
        closeHost();
}

void VirtualDeviceServer::Channel::closeHost() {
    answerDue = false;
    if (hostFd < 0)
        return;
    os::lockEnter(hostLock);
    close(hostFd);
    hostFd = -1;
    server.hostConnected_ = false;
    os::lockLeave(hostLock);
}

} // namespace xdsp::emu
