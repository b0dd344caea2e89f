#include "frame/close_device.h"
#include "os/os.h"

namespace xdsp::frame {

bool closeDevice(xdsp_handle device) {
    if (device == nullptr) {
        os::setLastError(os::error::invalidHandle);
        return false;
    }
    os::deviceClose(static_cast<os::Device *>(device));
    return true;
}

} // namespace xdsp::frame
