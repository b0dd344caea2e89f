// errno values as the Windows codes that the library reports.
#pragma once

#include <cerrno>
#include <cstdint>

namespace xdsp::os {

inline uint32_t windowsCodeForErrno(int value) {
    switch (value) {
    case ENOENT:
    case ENOTDIR:
    case ECONNREFUSED:
        return 2;
    case EACCES:
    case EPERM:
        return 5;
    case ENOMEM:
        return 8;
    case EBUSY:
    case EWOULDBLOCK:
        return 32;
    case EINVAL:
        return 87;
    case ENODEV:
    case ENXIO:
    case EIO:
    case EPIPE:
    case ECONNRESET:
    case ENOTCONN:
    case EBADF:
        return 6; // the device went away: the poll thread reopens on this code
    default:
        return 31; // a device attached to the system is not functioning
    }
}

} // namespace xdsp::os
