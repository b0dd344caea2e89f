// The text that Linux sysfs gives for a hidraw node, of any content: the HID
// device's uevent, the interface number and the USB device's product string.
// They are written into a small sysfs-shaped tree of our own, which both
// readers walk as they walk /sys; a fake tree keeps the run off the machine's
// devices. Trailing bytes, when asked for, are the hidraw path asked about.
#include "fuzz_support.h"
#include "os/posix/sysfs.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <fuzzer/FuzzedDataProvider.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace {
namespace fs = std::filesystem;

// device/.. is the interface, device/../.. the USB device: here the node's own
// directory and the class directory, which a flat tree of real directories gives.
const fs::path &root() {
    static const fs::path made = [] {
        fs::path base = fs::exists("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path();
        fs::path tree = base / ("xdsp-fuzz-sysfs-" + std::to_string(getpid()));
        fs::create_directories(tree / "class/hidraw/hidraw0/device");
        fs::create_directories(tree / "class/hidraw/hidraw0/tty/ttyACM0");
        return tree;
    }();
    return made;
}

void writeFile(const char *inside, const std::string &content) {
    FUZZ_REQUIRE((std::ofstream(root() / inside, std::ios::binary) << content).good());
}

bool terminatedWithin(const std::vector<xdsp::Char16> &text) {
    return std::find(text.begin(), text.end(), 0) != text.end();
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    root();
    std::atexit([] {
        std::error_code ignored;
        fs::remove_all(root(), ignored);
    });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider input(data, size);
    writeFile("class/hidraw/hidraw0/device/uevent", input.ConsumeRandomLengthString(1200));
    writeFile("class/hidraw/hidraw0/bInterfaceNumber", input.ConsumeRandomLengthString(24));
    writeFile("class/hidraw/product", input.ConsumeRandomLengthString(300));
    std::vector<xdsp::Char16> path;
    if (input.ConsumeBool()) {
        while (input.remaining_bytes() >= 2)
            path.push_back(input.ConsumeIntegral<xdsp::Char16>());
    } else {
        for (char c : std::string("/dev/hidraw0"))
            path.push_back(static_cast<xdsp::Char16>(c));
    }
    path.push_back(0);

    xdsp::os::HidInterface found{};
    FUZZ_REQUIRE(xdsp::os::hidInterfaceAtRoot(root().c_str(), 0, &found));
    FUZZ_REQUIRE(terminatedWithin({found.path, found.path + XDSP_DEVICE_PATH_CHARS}));
    FUZZ_REQUIRE(!xdsp::os::hidInterfaceAtRoot(root().c_str(), 1, &found));

    std::vector<xdsp::Char16> friendlyName(XDSP_FRIENDLY_NAME_CHARS, 0x7777);
    std::vector<xdsp::Char16> portPath(XDSP_DEVICE_PATH_CHARS, 0x7777);
    if (xdsp::os::serialPortAtRoot(root().c_str(), path.data(), friendlyName.data(),
                                   portPath.data())) {
        FUZZ_REQUIRE(terminatedWithin(friendlyName) && terminatedWithin(portPath));
    }
    return 0;
}
