// Device I/O for the POSIX build: hidraw nodes and virtual devices on
// SOCK_SEQPACKET sockets. Every blocking call also watches a wake-up descriptor
// so that a thread stuck in a read can always be released.
#include "os/os.h"
#include "os/posix/errno_map.h"
#include "os/posix/failed_call.h"
#include "os/posix/utf8_path.h"
#include "os/report_descriptor.h"

#include <atomic>
#include <cstring>
#include <fcntl.h>
#include <linux/hidraw.h>
#include <new>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace xdsp::os {

struct Device {
    int fd = -1;
    int wakeFd = -1;
    std::atomic<bool> cancelled{false};
    bool isSocket = false;
    bool prependReportId = false; // hidraw omits the ID byte of devices without IDs
    ReportLengths lengths;
};

namespace {
constexpr int descriptorWaitMs = 1000;
constexpr size_t maxDescriptorSize = 4096;

Device *fail(Device *device, uint32_t code, uint32_t *errorOut) {
    if (device != nullptr) {
        if (device->fd >= 0)
            close(device->fd);
        if (device->wakeFd >= 0)
            close(device->wakeFd);
        delete device;
    }
    *errorOut = code;
    return nullptr;
}

// Waits until fd is ready for events; false with *errorOut when woken or failed.
bool waitReady(Device *device, short events, int timeoutMs, uint32_t *errorOut) {
    pollfd watched[2] = {{device->fd, events, 0}, {device->wakeFd, POLLIN, 0}};
    for (;;) {
        int ready = poll(watched, 2, timeoutMs);
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready < 0) {
            *errorOut = windowsCodeForErrno(errno);
            return false;
        }
        if (ready == 0) {
            *errorOut = error::internalError;
            return false;
        }
        if (watched[1].revents != 0) {
            *errorOut = error::operationAborted;
            return false;
        }
        return true;
    }
}

Device *openVirtual(const char *path, Device *device, uint32_t *errorOut) {
    device->isSocket = true;
    device->fd = socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (device->fd < 0)
        return fail(device, windowsCodeForErrno(errno), errorOut);
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    size_t length = 0;
    while (path[length] != 0)
        ++length;
    if (length >= sizeof address.sun_path)
        return fail(device, error::fileNotFound, errorOut);
    for (size_t i = 0; i <= length; ++i)
        address.sun_path[i] = path[i];
    if (connect(device->fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
        return fail(device, windowsCodeForErrno(errno), errorOut);

    uint8_t descriptor[maxDescriptorSize];
    uint32_t waitError = 0;
    if (!waitReady(device, POLLIN, descriptorWaitMs, &waitError))
        return fail(device, error::internalError, errorOut);
    ssize_t received = recv(device->fd, descriptor, sizeof descriptor, MSG_DONTWAIT);
    if (received == 0) // closed at once: another host holds the device
        return fail(device, error::sharingViolation, errorOut);
    if (received < 0)
        return fail(device, windowsCodeForErrno(errno), errorOut);
    if (!parseReportDescriptor(descriptor, static_cast<size_t>(received), &device->lengths,
                               nullptr))
        return fail(device, error::internalError, errorOut);
    return device;
}

Device *openHidraw(const char *path, Device *device, uint32_t *errorOut) {
    device->fd = open(path, O_RDWR | O_CLOEXEC);
    if (device->fd < 0)
        return fail(device, windowsCodeForErrno(errno), errorOut);
    // hidraw allows any number of opens; the lock gives the exclusive open.
    if (flock(device->fd, LOCK_EX | LOCK_NB) != 0)
        return fail(device, error::sharingViolation, errorOut);
    int descriptorSize = 0;
    hidraw_report_descriptor descriptor{};
    if (ioctl(device->fd, HIDIOCGRDESCSIZE, &descriptorSize) == 0 && descriptorSize > 0 &&
        descriptorSize <= HID_MAX_DESCRIPTOR_SIZE) {
        descriptor.size = static_cast<uint32_t>(descriptorSize);
        if (ioctl(device->fd, HIDIOCGRDESC, &descriptor) == 0) {
            bool usesIds = false;
            if (parseReportDescriptor(descriptor.value, descriptor.size, &device->lengths,
                                      &usesIds))
                device->prependReportId = !usesIds;
            else
                device->lengths = ReportLengths{};
        }
    }
    return device;
}
} // namespace

Device *deviceOpen(const Char16 *path, uint32_t *errorOut) {
    if (path == nullptr) {
        *errorOut = error::invalidParameter;
        return nullptr;
    }
    char utf8[4096];
    if (!pathToUtf8(path, utf8, sizeof utf8)) {
        *errorOut = error::fileNotFound;
        return nullptr;
    }
    struct stat status {};
    if (stat(utf8, &status) != 0) {
        *errorOut = windowsCodeForErrno(errno);
        return nullptr;
    }
    auto *device = new (std::nothrow) Device{};
    if (device == nullptr) {
        *errorOut = error::notEnoughMemory;
        return nullptr;
    }
    device->wakeFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (device->wakeFd < 0)
        return fail(device, windowsCodeForErrno(errno), errorOut);
    if (S_ISSOCK(status.st_mode))
        return openVirtual(utf8, device, errorOut);
    return openHidraw(utf8, device, errorOut);
}

void deviceClose(Device *device) {
    if (device == nullptr)
        return;
    close(device->fd);
    close(device->wakeFd);
    delete device;
}

bool deviceWrite(Device *device, const uint8_t *report, size_t length, uint32_t *errorOut) {
    for (;;) {
        ssize_t written = device->isSocket
                              ? send(device->fd, report, length, MSG_DONTWAIT | MSG_NOSIGNAL)
                              : write(device->fd, report, length);
        if (written >= 0)
            return true;
        if (errno == EINTR)
            continue;
        if (errno != EAGAIN)
            break;
        if (!waitReady(device, POLLOUT, -1, errorOut))
            return false;
    }
    *errorOut = device->cancelled.load() ? error::operationAborted : windowsCodeForErrno(errno);
    return false;
}

bool deviceRead(Device *device, uint8_t *buffer, size_t length, size_t *received,
                uint32_t *errorOut) {
    *received = 0;
    if (length == 0)
        return true;
    for (;;) {
        ssize_t count = 0;
        if (device->isSocket) {
            // A blocking receive: one call per report. A cancel shuts the
            // socket down, which ends it.
            count = recv(device->fd, buffer, length, 0);
        } else {
            if (!waitReady(device, POLLIN, -1, errorOut))
                return false;
            if (device->prependReportId) {
                buffer[0] = 0;
                count = read(device->fd, buffer + 1, length - 1);
            } else {
                count = read(device->fd, buffer, length);
            }
        }
        if (device->cancelled.load()) {
            *errorOut = error::operationAborted;
            return false;
        }
        if (count == 0) { // end of stream: the device went away
            *errorOut = error::invalidHandle;
            return false;
        }
        if (count > 0) {
            *received = static_cast<size_t>(count) + (device->prependReportId ? 1u : 0u);
            // hidraw passes on a report as short as the device sent it, and
            // the next read would bring the next report, not the rest of this
            // one; Windows' HID class pads it to the report length instead.
            if (!device->isSocket) {
                std::memset(buffer + *received, 0, length - *received);
                *received = length;
            }
            return true;
        }
        if (errno != EINTR && errno != EAGAIN) {
            *errorOut = windowsCodeForErrno(errno);
            return false;
        }
    }
}

void deviceCancel(Device *device, Thread *) {
    if (device == nullptr)
        return;
    device->cancelled.store(true);
    uint64_t one = 1;
    // A full counter (EAGAIN) already wakes the reader; any other failure
    // leaves it asleep until the device answers, so it is reported.
    if (write(device->wakeFd, &one, sizeof one) < 0 && errno != EAGAIN)
        callSucceeded(u"eventfd write", errno);
    if (device->isSocket)
        shutdown(device->fd, SHUT_RDWR);
}

bool deviceReportLengths(Device *device, ReportLengths *lengths) {
    if (device == nullptr)
        return false;
    *lengths = device->lengths;
    return device->lengths.input != 0 || device->lengths.output != 0 ||
           device->lengths.feature != 0;
}

} // namespace xdsp::os
