// The serial-port companion's view of the registry: read-only, below
// HKEY_LOCAL_MACHINE. The library's key records are the system's HKEYs.
#include "os/win32/win32.h"

namespace xdsp::os {

namespace {
HKEY systemKey(RegistryKey *key) {
    return key != nullptr ? reinterpret_cast<HKEY>(key) : HKEY_LOCAL_MACHINE;
}

RegistryKey *openKey(RegistryKey *parent, const Char16 *path) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(systemKey(parent), path, 0, KEY_READ, &key) != ERROR_SUCCESS)
        return nullptr;
    return reinterpret_cast<RegistryKey *>(key);
}

bool subkeyName(RegistryKey *key, uint32_t index, Char16 *name, size_t capacity) {
    // A name that does not fit gives ERROR_MORE_DATA and ends the walk.
    return capacity != 0 &&
           RegEnumKeyW(systemKey(key), index, name, static_cast<DWORD>(capacity)) == ERROR_SUCCESS;
}

// Only REG_SZ: the values read are plain strings, and other data read as text
// would be noise.
bool stringValue(RegistryKey *key, const Char16 *valueName, Char16 *value, size_t capacity) {
    if (capacity == 0)
        return false;
    // One character stays free for the terminator that the registry does not promise.
    size_t limit = (capacity - 1) * sizeof(Char16);
    DWORD bytes = static_cast<DWORD>(limit < registryValueBytes ? limit : registryValueBytes);
    DWORD type = 0;
    if (RegQueryValueExW(systemKey(key), valueName, nullptr, &type, reinterpret_cast<BYTE *>(value),
                         &bytes) != ERROR_SUCCESS ||
        type != REG_SZ) {
        value[0] = 0;
        return false;
    }
    value[bytes / sizeof(Char16)] = 0;
    return true;
}

void closeKey(RegistryKey *key) {
    if (key != nullptr)
        RegCloseKey(reinterpret_cast<HKEY>(key));
}

constexpr Registry windowsRegistry = {openKey, subkeyName, stringValue, closeKey};
} // namespace

const Registry *systemRegistry() {
    return &windowsRegistry;
}

// Every Windows HID path is resolved through the registry.
bool deviceTreeSerialPort(const Char16 *, Char16 *, Char16 *) {
    return false;
}

} // namespace xdsp::os
