#include "discovery/serial_companion.h"
#include "discovery/parse_device_name.h"
#include "frame/bounded_string.h"

namespace xdsp::discovery {

namespace {
constexpr size_t keyPathChars = 256;
constexpr size_t subkeyNameChars = 256;
// The longest value plus a terminator of our own, since the registry does not
// promise one.
constexpr size_t valueChars = os::registryValueBytes / sizeof(Char16) + 1;
constexpr size_t instancePrefixChars = 10;
constexpr size_t interfaceInstanceChars = 64;
constexpr size_t portNameChars = 32;
constexpr int wholeDevice = -1;

const Char16 *const parentIdPrefix = WIDE("ParentIdPrefix");
const Char16 *const friendlyNameValue = WIDE("FriendlyName");

// Compares at most count characters; texts that end together within them are equal.
bool samePrefix(const Char16 *a, const Char16 *b, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        if (a[i] != b[i])
            return false;
        if (a[i] == 0)
            return true;
    }
    return true;
}

bool sameText(const Char16 *a, const Char16 *b) {
    for (;; ++a, ++b) {
        if (*a != *b)
            return false;
        if (*a == 0)
            return true;
    }
}

class RegistrySearch {
  public:
    RegistrySearch(const os::Registry &registry, uint16_t vendorId, uint16_t productId,
                   const Char16 *instance)
        : registry_(registry), vendorId_(vendorId), productId_(productId), instance_(instance) {}

    // The friendly name of the port, whole, into name (valueChars characters).
    void findFriendlyName(uint16_t interfaceNumber, Char16 *name) {
        if (hasDeviceLevelParent()) {
            os::RegistryKey *key = openUsbKey(interfaceNumber);
            if (key == nullptr)
                return;
            walk(key, friendlyNameValue, name, [this](const Char16 *subkey) {
                return samePrefix(subkey, instance_, instancePrefixChars);
            });
            registry_.close(key);
            return;
        }
        Char16 sibling[subkeyNameChars];
        if (!findParentInterface(interfaceNumber, sibling))
            return;
        siblingOnInterfaceZero(sibling);
        os::RegistryKey *key = openUsbKey(0);
        if (key == nullptr)
            return;
        walk(key, friendlyNameValue, name,
             [&sibling](const Char16 *subkey) { return sameText(subkey, sibling); });
        registry_.close(key);
    }

  private:
    os::RegistryKey *openUsbKey(int interfaceNumber) const {
        Char16 path[keyPathChars];
        if (interfaceNumber == wholeDevice)
            boundedFormat(path, keyPathChars,
                          WIDE("SYSTEM\\CurrentControlSet\\Enum\\USB\\VID_%04X&PID_%04X"),
                          vendorId_, productId_);
        else
            boundedFormat(path, keyPathChars,
                          WIDE("SYSTEM\\CurrentControlSet\\Enum\\USB\\VID_%04X&PID_%04X&MI_%02X"),
                          vendorId_, productId_, interfaceNumber);
        return registry_.open(nullptr, path);
    }

    // Walks the subkeys of key in index order, opening those whose name passes
    // wanted, and stops at the first that holds valueName, with it in value;
    // value is empty when none does.
    template <typename NameTest>
    bool walk(os::RegistryKey *key, const Char16 *valueName, Char16 *value, NameTest wanted) {
        Char16 subkeyName[subkeyNameChars];
        for (uint32_t index = 0; registry_.subkeyName(key, index, subkeyName, subkeyNameChars);
             ++index) {
            if (!wanted(subkeyName))
                continue;
            os::RegistryKey *subkey = registry_.open(key, subkeyName);
            if (subkey == nullptr)
                continue;
            bool found = registry_.stringValue(subkey, valueName, value, valueChars);
            registry_.close(subkey);
            if (found)
                return true;
        }
        // A failed read may have left part of a value behind.
        value[0] = 0;
        return false;
    }

    // The first subkey of key whose children's ids begin as the HID instance
    // does; its name goes to nameOut unless that is null.
    bool findChildOf(os::RegistryKey *key, Char16 *nameOut, size_t nameCapacity) {
        Char16 subkeyName[subkeyNameChars];
        Char16 prefix[valueChars];
        for (uint32_t index = 0; registry_.subkeyName(key, index, subkeyName, subkeyNameChars);
             ++index) {
            os::RegistryKey *subkey = registry_.open(key, subkeyName);
            if (subkey == nullptr)
                continue;
            bool found = registry_.stringValue(subkey, parentIdPrefix, prefix, valueChars) &&
                         samePrefix(prefix, instance_, instancePrefixChars);
            registry_.close(subkey);
            if (found) {
                if (nameOut != nullptr)
                    boundedCopy(nameOut, nameCapacity, subkeyName);
                return true;
            }
        }
        return false;
    }

    // True when the HID interface hangs directly below an instance of the whole device.
    bool hasDeviceLevelParent() {
        os::RegistryKey *key = openUsbKey(wholeDevice);
        if (key == nullptr)
            return false;
        bool found = findChildOf(key, nullptr, 0);
        registry_.close(key);
        return found;
    }

    // The instance of the HID interface's own interface whose child it is.
    bool findParentInterface(uint16_t interfaceNumber, Char16 *instanceOut) {
        os::RegistryKey *key = openUsbKey(interfaceNumber);
        if (key == nullptr)
            return false;
        bool found = findChildOf(key, instanceOut, interfaceInstanceChars);
        registry_.close(key);
        return found;
    }

    // An interface instance ends in "&" and its interface's position on the
    // device; the sibling on interface 0 ends in "&0000" instead.
    static void siblingOnInterfaceZero(Char16 *instance) {
        Char16 *lastAmpersand = nullptr;
        for (Char16 *c = instance; *c != 0; ++c)
            if (*c == '&')
                lastAmpersand = c;
        if (lastAmpersand != nullptr)
            boundedCopy(lastAmpersand, 6, WIDE("&0000"));
    }

    const os::Registry &registry_;
    uint16_t vendorId_;
    uint16_t productId_;
    const Char16 *instance_;
};

// The port name follows the first '(' and any blanks and further '(' after
// it, and ends at the first ')'. It is taken from the whole friendly name, so a
// name too long for the caller's buffer still gives its port.
void writeResults(const Char16 *name, Char16 *portPath, Char16 *friendlyName) {
    const Char16 *port = name;
    while (*port != 0 && *port != '(')
        ++port;
    while (*port == ' ' || *port == '(')
        ++port;
    boundedCopy(friendlyName, XDSP_FRIENDLY_NAME_CHARS, name);
    size_t length = boundedCopy(portPath, XDSP_DEVICE_PATH_CHARS, WIDE("\\\\.\\"));
    for (size_t i = 0; i < portNameChars && port[i] != 0 && port[i] != ')'; ++i)
        portPath[length++] = port[i];
    portPath[length] = 0;
}
} // namespace

void serialCompanion(const os::Registry *registry, const Char16 *hidPath, Char16 *portPath,
                     Char16 *friendlyName) {
    uint16_t vendorId = 0;
    uint16_t productId = 0;
    uint16_t interfaceNumber = 0;
    const Char16 *instance = parseDeviceName(hidPath, &vendorId, &productId, &interfaceNumber);
    Char16 name[valueChars] = {};
    // Without an instance part there is nothing to compare the registry's ids
    // with. When neither search finds a key the lookup ends: the present
    // COM-port interfaces could not lead to a port name either.
    if (registry != nullptr && instance != nullptr)
        RegistrySearch(*registry, vendorId, productId, instance)
            .findFriendlyName(interfaceNumber, name);
    writeResults(name, portPath, friendlyName);
}

void matchingComDevice(const Char16 *hidPath, Char16 *portPath, Char16 *friendlyName) {
    // The registry and file calls below may leave codes behind; callers are
    // promised an untouched last-error.
    uint32_t savedError = os::lastError();
    const Char16 *path = hidPath != nullptr ? hidPath : WIDE("");
    Char16 port[XDSP_DEVICE_PATH_CHARS];
    Char16 name[XDSP_FRIENDLY_NAME_CHARS];
    if (!os::deviceTreeSerialPort(path, name, port))
        serialCompanion(os::systemRegistry(), path, port, name);
    if (portPath != nullptr)
        boundedCopy(portPath, XDSP_DEVICE_PATH_CHARS, port);
    if (friendlyName != nullptr)
        boundedCopy(friendlyName, XDSP_FRIENDLY_NAME_CHARS, name);
    os::setLastError(savedError);
}

} // namespace xdsp::discovery
