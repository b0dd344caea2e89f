// The text that Linux sysfs gives for a hidraw node, of any content: the HID
// device's uevent, the interface number and the USB device's product string.
// They are written into a small sysfs-shaped tree of our own, which both
// readers walk as they walk /sys; a fake tree keeps the run off the machine's
// devices. Trailing bytes, when asked for, are the hidraw path asked about.
#include "fuzz_support.h"
#include "os/posix/sysfs.h"

#include <cstdio>
#include <filesystem>
#include <fuzzer/FuzzedDataProvider.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace {
namespace fs = std::filesystem;

// device/.. is the interface, device/../.. the USB device: here the node's own
// directory and the class directory, which a flat tree of real directories gives.
struct Tree {
    fs::path root;
    fs::path uevent;
    fs::path interfaceNumber;
    fs::path product;
};

Tree &tree() {
    static Tree made = [] {
        fs::path base = fs::exists("/dev/shm") ? fs::path("/dev/shm") : fs::temp_directory_path();
        Tree t;
        t.root = base / ("xdsp-fuzz-sysfs-" + std::to_string(getpid()));
        fs::path node = t.root / "class" / "hidraw" / "hidraw0";
        fs::create_directories(node / "device");
        fs::create_directories(node / "tty" / "ttyACM0");
        t.uevent = node / "device" / "uevent";
        t.interfaceNumber = node / "bInterfaceNumber";
        t.product = t.root / "class" / "hidraw" / "product";
        return t;
    }();
    return made;
}

void removeTree() {
    std::error_code ignored;
    fs::remove_all(tree().root, ignored);
}

void writeFile(const fs::path &path, const std::string &content) {
    FILE *file = std::fopen(path.c_str(), "wb");
    FUZZ_REQUIRE(file != nullptr);
    std::fwrite(content.data(), 1, content.size(), file);
    std::fclose(file);
}

bool terminatedWithin(const xdsp::Char16 *text, size_t capacity) {
    for (size_t i = 0; i < capacity; ++i)
        if (text[i] == 0)
            return true;
    return false;
}
} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***) {
    tree();
    std::atexit(removeTree);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    FuzzedDataProvider input(data, size);
    writeFile(tree().uevent, input.ConsumeRandomLengthString(1200));
    writeFile(tree().interfaceNumber, input.ConsumeRandomLengthString(24));
    writeFile(tree().product, input.ConsumeRandomLengthString(300));
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
    FUZZ_REQUIRE(xdsp::os::hidInterfaceAtRoot(tree().root.c_str(), 0, &found));
    FUZZ_REQUIRE(terminatedWithin(found.path, XDSP_DEVICE_PATH_CHARS));
    FUZZ_REQUIRE(!xdsp::os::hidInterfaceAtRoot(tree().root.c_str(), 1, &found));

    std::vector<xdsp::Char16> friendlyName(XDSP_FRIENDLY_NAME_CHARS, 0x7777);
    std::vector<xdsp::Char16> portPath(XDSP_DEVICE_PATH_CHARS, 0x7777);
    if (xdsp::os::serialPortAtRoot(tree().root.c_str(), path.data(), friendlyName.data(),
                                   portPath.data())) {
        FUZZ_REQUIRE(terminatedWithin(friendlyName.data(), friendlyName.size()));
        FUZZ_REQUIRE(terminatedWithin(portPath.data(), portPath.size()));
    }
    return 0;
}
