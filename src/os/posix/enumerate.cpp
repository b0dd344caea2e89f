// The HID interfaces of the system, from sysfs.
#include "os/posix/sysfs.h"
#include "os/posix/utf8_path.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>

namespace xdsp::os {

namespace {
constexpr size_t maxNodes = 256;

bool parseHidId(const char *uevent, uint16_t *vendorId, uint16_t *productId) {
    const char *line = std::strstr(uevent, "HID_ID=");
    if (line == nullptr)
        return false;
    unsigned bus = 0;
    unsigned vendor = 0;
    unsigned product = 0;
    if (std::sscanf(line + 7, "%x:%x:%x", &bus, &vendor, &product) != 3)
        return false;
    *vendorId = static_cast<uint16_t>(vendor);
    *productId = static_cast<uint16_t>(product);
    return true;
}

// hidraw node numbers, ascending.
size_t listNodes(const char *sysfsRoot, unsigned *numbers) {
    char directory[512];
    std::snprintf(directory, sizeof directory, "%s/class/hidraw", sysfsRoot);
    DIR *listing = opendir(directory);
    if (listing == nullptr)
        return 0;
    size_t count = 0;
    while (dirent *entry = readdir(listing)) {
        unsigned number = 0;
        char tail = 0;
        if (std::sscanf(entry->d_name, "hidraw%u%c", &number, &tail) == 1 && count < maxNodes)
            numbers[count++] = number;
    }
    closedir(listing);
    std::sort(numbers, numbers + count);
    return count;
}
} // namespace

bool hidInterfaceAtRoot(const char *sysfsRoot, uint32_t index, HidInterface *out) {
    unsigned numbers[maxNodes];
    size_t count = listNodes(sysfsRoot, numbers);
    if (index >= count)
        return false;
    unsigned node = numbers[index];

    char path[512];
    char text[1024];
    std::snprintf(path, sizeof path, "%s/class/hidraw/hidraw%u/device/uevent", sysfsRoot, node);
    *out = HidInterface{};
    if (readText(path, text, sizeof text) && parseHidId(text, &out->vendorId, &out->productId)) {
        out->hasIds = true;
        // The USB interface directory is the parent of the HID device directory.
        std::snprintf(path, sizeof path, "%s/class/hidraw/hidraw%u/device/../bInterfaceNumber",
                      sysfsRoot, node);
        if (readText(path, text, sizeof text))
            out->interfaceNumber = static_cast<uint16_t>(std::strtoul(text, nullptr, 16));
    }
    char devicePath[64];
    std::snprintf(devicePath, sizeof devicePath, "/dev/hidraw%u", node);
    asciiToPath(devicePath, out->path, XDSP_DEVICE_PATH_CHARS);
    return true;
}

bool hidInterfaceAt(uint32_t index, HidInterface *out) {
    return hidInterfaceAtRoot("/sys", index, out);
}

} // namespace xdsp::os
