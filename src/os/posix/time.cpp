// Sleep, tick and local time for the POSIX build.
#include "os/os.h"

#include <cerrno>
#include <ctime>

namespace xdsp::os {

void sleepMs(uint32_t milliseconds) {
    timespec remaining{static_cast<time_t>(milliseconds / 1000),
                       static_cast<long>(milliseconds % 1000) * 1000000L};
    while (nanosleep(&remaining, &remaining) != 0 && errno == EINTR) {
    }
}

uint32_t tickMs() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    uint64_t milliseconds =
        static_cast<uint64_t>(now.tv_sec) * 1000u + static_cast<uint64_t>(now.tv_nsec) / 1000000u;
    return static_cast<uint32_t>(milliseconds);
}

LocalTime localTime() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm fields{};
    localtime_r(&now.tv_sec, &fields);
    return LocalTime{
        static_cast<uint16_t>(fields.tm_year + 1900), static_cast<uint16_t>(fields.tm_mon + 1),
        static_cast<uint16_t>(fields.tm_wday),        static_cast<uint16_t>(fields.tm_mday),
        static_cast<uint16_t>(fields.tm_hour),        static_cast<uint16_t>(fields.tm_min),
        static_cast<uint16_t>(fields.tm_sec),         static_cast<uint16_t>(now.tv_nsec / 1000000)};
}

void callProgress(ProgressCallback callback, int32_t percent, uint32_t context) {
    callback(percent, context);
}

} // namespace xdsp::os
