// The serial companion of a HID interface: what the Windows build reads from
// the registry, the POSIX build reads from sysfs.
#include "os/posix/sysfs.h"
#include "os/posix/utf8_path.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>

namespace xdsp::os {

namespace {
// The node number of a path of the form /dev/hidrawN.
bool hidrawNode(const Char16 *path, unsigned *node) {
    char text[64];
    constexpr char prefix[] = "/dev/hidraw";
    constexpr size_t prefixLength = sizeof prefix - 1;
    if (!pathToUtf8(path, text, sizeof text) || std::strncmp(text, prefix, prefixLength) != 0)
        return false;
    const char *digits = text + prefixLength;
    size_t count = std::strspn(digits, "0123456789");
    if (count == 0 || count > 9 || digits[count] != 0)
        return false;
    *node = static_cast<unsigned>(std::strtoul(digits, nullptr, 10));
    return true;
}

// The first entry of directory whose name does not begin with '.'.
bool firstEntry(const char *directory, char *name, size_t capacity) {
    DIR *listing = opendir(directory);
    if (listing == nullptr)
        return false;
    bool found = false;
    while (dirent *entry = readdir(listing)) {
        if (entry->d_name[0] != '.' && std::strlen(entry->d_name) < capacity) {
            std::snprintf(name, capacity, "%s", entry->d_name);
            found = true;
            break;
        }
    }
    closedir(listing);
    return found;
}

// The tty that the driver of interface 0 registered under that interface.
bool interfaceZeroTty(const char *usbDevice, char *tty, size_t capacity) {
    DIR *listing = opendir(usbDevice);
    if (listing == nullptr)
        return false;
    bool found = false;
    char path[1024];
    char text[16];
    while (dirent *entry = readdir(listing)) {
        if (entry->d_name[0] == '.')
            continue;
        std::snprintf(path, sizeof path, "%s/%s/bInterfaceNumber", usbDevice, entry->d_name);
        if (!readText(path, text, sizeof text) || text[0] == 0 ||
            std::strtoul(text, nullptr, 16) != 0)
            continue;
        std::snprintf(path, sizeof path, "%s/%s/tty", usbDevice, entry->d_name);
        found = firstEntry(path, tty, capacity);
        break;
    }
    closedir(listing);
    return found;
}
} // namespace

bool serialPortAtRoot(const char *sysfsRoot, const Char16 *hidPath, Char16 *friendlyName,
                      Char16 *portPath) {
    unsigned node = 0;
    if (!hidrawNode(hidPath, &node))
        return false;
    friendlyName[0] = 0;
    portPath[0] = 0;
    // device is the HID device directory; its parent the USB interface, and
    // the parent of that the USB device.
    char usbDevice[512];
    std::snprintf(usbDevice, sizeof usbDevice, "%s/class/hidraw/hidraw%u/device/../..", sysfsRoot,
                  node);
    char tty[256];
    if (!interfaceZeroTty(usbDevice, tty, sizeof tty))
        return true;

    char path[1024];
    char product[256];
    std::snprintf(path, sizeof path, "%s/product", usbDevice);
    if (!readText(path, product, sizeof product))
        product[0] = 0;
    product[std::strcspn(product, "\n")] = 0;
    char name[sizeof product + sizeof tty + 4];
    std::snprintf(name, sizeof name, "%s (%s)", product[0] != 0 ? product : "USB Serial Device",
                  tty);
    utf8ToText(name, friendlyName, XDSP_FRIENDLY_NAME_CHARS);
    std::snprintf(path, sizeof path, "/dev/%s", tty);
    asciiToPath(path, portPath, XDSP_DEVICE_PATH_CHARS);
    return true;
}

// Linux keeps no registry: its USB devices are read from sysfs instead.
const Registry *systemRegistry() {
    return nullptr;
}

bool deviceTreeSerialPort(const Char16 *hidPath, Char16 *friendlyName, Char16 *portPath) {
    return serialPortAtRoot("/sys", hidPath, friendlyName, portPath);
}

} // namespace xdsp::os
