#include "discovery/serial_companion.h"
#include "support/capture.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <utility>
#include <vector>
#ifdef _WIN32
#include <windows.h>
#endif

using xdsp::Char16;
using xdsp::os::RegistryKey;
using xdsp::test::narrow;
using xdsp::test::Text;

namespace {
const Text usbBranch = WIDE("SYSTEM\\CurrentControlSet\\Enum\\USB\\");

// A registry of the test's own making. Keys are known by their full path and
// list their subkeys in the order they were added; every open attempt and
// every close is recorded.
class FakeRegistry {
  public:
    // Adds the key below the USB branch, its parents, and one value if named.
    FakeRegistry &add(const Text &usbPath, const Text &valueName = {}, const Text &value = {}) {
        Text path = usbBranch + usbPath;
        keys_[path];
        for (size_t cut = path.rfind('\\'); cut != Text::npos; cut = path.rfind('\\', cut - 1)) {
            Key &parent = keys_[path.substr(0, cut)];
            Text child = path.substr(cut + 1, path.find('\\', cut + 1) - cut - 1);
            if (std::find(parent.subkeys.begin(), parent.subkeys.end(), child) ==
                parent.subkeys.end())
                parent.subkeys.push_back(child);
            if (cut == 0)
                break;
        }
        if (!valueName.empty())
            keys_[path].values[valueName] = value;
        return *this;
    }

    bool wasOpened(const Text &usbPath) const {
        return std::find(attempts_.begin(), attempts_.end(), usbBranch + usbPath) !=
               attempts_.end();
    }
    size_t attempts() const { return attempts_.size(); }
    int openKeys() const { return openKeys_; }

    static const xdsp::os::Registry table;
    static FakeRegistry *current; // the registry that the table's functions serve

  private:
    struct Key {
        std::vector<Text> subkeys;
        std::map<Text, Text> values;
    };
    struct Handle {
        Text path;
    };

    static Handle *handle(RegistryKey *key) { return reinterpret_cast<Handle *>(key); }

    static RegistryKey *open(RegistryKey *parent, const Char16 *path) {
        Text full = parent != nullptr ? handle(parent)->path + WIDE("\\") + path : Text(path);
        current->attempts_.push_back(full);
        if (current->keys_.count(full) == 0)
            return nullptr;
        ++current->openKeys_;
        return reinterpret_cast<RegistryKey *>(new Handle{full});
    }
    static bool subkeyName(RegistryKey *key, uint32_t index, Char16 *name, size_t capacity) {
        const std::vector<Text> &subkeys = current->keys_.at(handle(key)->path).subkeys;
        if (index >= subkeys.size() || subkeys[index].size() + 1 > capacity)
            return false;
        std::copy(subkeys[index].begin(), subkeys[index].end(), name);
        name[subkeys[index].size()] = 0;
        return true;
    }
    // As the system does: a value of more than 512 bytes with its terminator
    // does not fit, and the failed read may leave part of it in the buffer.
    static bool stringValue(RegistryKey *key, const Char16 *valueName, Char16 *value,
                            size_t capacity) {
        const std::map<Text, Text> &values = current->keys_.at(handle(key)->path).values;
        auto found = values.find(valueName);
        if (found == values.end())
            return false;
        const Text &text = found->second;
        size_t fits = std::min(capacity - 1, xdsp::os::registryValueBytes / sizeof(Char16));
        std::copy(text.begin(), text.begin() + std::min(text.size(), fits), value);
        value[std::min(text.size(), fits)] = 0;
        return (text.size() + 1) * sizeof(Char16) <= xdsp::os::registryValueBytes &&
               text.size() < capacity;
    }
    static void close(RegistryKey *key) {
        --current->openKeys_;
        delete handle(key);
    }

    std::map<Text, Key> keys_;
    std::vector<Text> attempts_;
    int openKeys_ = 0;
};

FakeRegistry *FakeRegistry::current = nullptr;
const xdsp::os::Registry FakeRegistry::table = {FakeRegistry::open, FakeRegistry::subkeyName,
                                                FakeRegistry::stringValue, FakeRegistry::close};

struct Lookup {
    Text port;
    Text name;
};

// Runs the lookup on the registry (or on none) and checks that it closed
// every key it opened and terminated both outputs within their sizes.
Lookup lookUp(FakeRegistry *registry, const Char16 *hidPath) {
    Char16 port[XDSP_DEVICE_PATH_CHARS + 1];
    Char16 name[XDSP_FRIENDLY_NAME_CHARS + 1];
    std::fill(std::begin(port), std::end(port), Char16('#'));
    std::fill(std::begin(name), std::end(name), Char16('#'));
    FakeRegistry::current = registry;
    xdsp::discovery::serialCompanion(registry != nullptr ? &FakeRegistry::table : nullptr, hidPath,
                                     port, name);
    if (registry != nullptr) {
        EXPECT_EQ(registry->openKeys(), 0) << "every key opened is closed again";
    }
    EXPECT_EQ(port[XDSP_DEVICE_PATH_CHARS], Char16('#'));
    EXPECT_EQ(name[XDSP_FRIENDLY_NAME_CHARS], Char16('#'));
    return {port, name};
}

const Char16 *const compositeHid = WIDE("\\\\?\\hid#vid_20b1&pid_0101&mi_02#8&2a5d1c3f&0&0000#{"
                                        "4d1e55b2-f16f-11cf-88cb-001111000030}");
const Char16 *const directHid = WIDE("\\\\?\\hid#vid_20b1&pid_0102#7&1f0e3a2&0&0000#{"
                                     "4d1e55b2-f16f-11cf-88cb-001111000030}");
const Text noPort = WIDE("\\\\.\\");

// A device whose HID interface hangs below the whole device, with one
// friendly name on the matching interface-0 instance.
FakeRegistry directDevice(const Text &friendlyName) {
    FakeRegistry registry;
    registry.add(WIDE("VID_20B1&PID_0102\\DEV1"), WIDE("ParentIdPrefix"), WIDE("7&1f0e3a2&0"))
        .add(WIDE("VID_20B1&PID_0102&MI_00\\7&1f0e3a2&0&0000"), WIDE("FriendlyName"), friendlyName);
    return registry;
}
} // namespace

TEST(SerialCompanion, FollowsTheParentInterfaceToItsSiblingOnInterfaceZero) {
    FakeRegistry registry;
    registry
        // The whole device's instance is the interfaces' parent, not the HID's.
        .add(WIDE("VID_20B1&PID_0101\\SERIAL1"), WIDE("ParentIdPrefix"), WIDE("6&11223344&0"))
        .add(WIDE("VID_20B1&PID_0101&MI_02\\6&11223344&0&0001"), WIDE("ParentIdPrefix"),
             WIDE("8&2A5D1C3F&0")) // differs in case only
        .add(WIDE("VID_20B1&PID_0101&MI_02\\6&99999999&0&0002"), WIDE("ParentIdPrefix"),
             Text(WIDE("8&2a5d1c3f&0")) + Text(300, Char16('x'))) // too long: absent
        .add(WIDE("VID_20B1&PID_0101&MI_02\\6&55667788&0&0002"), WIDE("ParentIdPrefix"),
             WIDE("8&2a5d1c3f&9")) // equal in the first 10 characters
        .add(WIDE("VID_20B1&PID_0101&MI_00\\6&55667788&0&00001"), WIDE("FriendlyName"),
             WIDE("Near miss (COM4)"))
        .add(WIDE("VID_20B1&PID_0101&MI_00\\6&11223344&0&0000"), WIDE("FriendlyName"),
             WIDE("Other board (COM3)"))
        .add(WIDE("VID_20B1&PID_0101&MI_00\\6&55667788&0&0000"), WIDE("FriendlyName"),
             WIDE("USB Serial Device (COM7)"));
    Lookup found = lookUp(&registry, compositeHid);
    EXPECT_EQ(narrow(found.port), "\\\\.\\COM7");
    EXPECT_EQ(narrow(found.name), "USB Serial Device (COM7)");
    EXPECT_FALSE(registry.wasOpened(WIDE("VID_20B1&PID_0101&MI_00\\6&55667788&0&00001")))
        << "only the sibling named exactly is opened";
    EXPECT_FALSE(registry.wasOpened(WIDE("VID_20B1&PID_0101&MI_00\\6&11223344&0&0000")));

    // An interface instance without '&' is its own sibling's name.
    FakeRegistry plain;
    plain.add(WIDE("VID_20B1&PID_0101&MI_02\\PLAIN"), WIDE("ParentIdPrefix"), WIDE("8&2a5d1c3f&0"))
        .add(WIDE("VID_20B1&PID_0101&MI_00\\PLAIN"), WIDE("FriendlyName"), WIDE("Plain (COM9)"));
    EXPECT_EQ(narrow(lookUp(&plain, compositeHid).port), "\\\\.\\COM9");

    // No interface-0 key, or a sibling without a friendly name: nothing found.
    FakeRegistry noSibling;
    noSibling.add(WIDE("VID_20B1&PID_0101&MI_02\\6&1&0&0002"), WIDE("ParentIdPrefix"),
                  WIDE("8&2a5d1c3f&0"));
    Lookup none = lookUp(&noSibling, compositeHid);
    EXPECT_EQ(none.port, noPort);
    EXPECT_EQ(none.name, Text());
    noSibling.add(WIDE("VID_20B1&PID_0101&MI_00\\6&1&0&0000"), WIDE("Driver"), WIDE("usbser"));
    EXPECT_EQ(lookUp(&noSibling, compositeHid).port, noPort);
}

TEST(SerialCompanion, DeviceLevelParentTakesPrecedence) {
    const Char16 *hidPath = WIDE("\\\\?\\hid#vid_20b1&pid_0103&mi_01#7&1f0e3a2&0&0001#{guid}");
    FakeRegistry registry;
    registry
        .add(WIDE("VID_20B1&PID_0103\\DEV1"), WIDE("ParentIdPrefix"), WIDE("7&1f0e3a2&0"))
        // What the interface-level search would find.
        .add(WIDE("VID_20B1&PID_0103&MI_01\\5&abcdef&0&0001"), WIDE("ParentIdPrefix"),
             WIDE("7&1f0e3a2&0"))
        .add(WIDE("VID_20B1&PID_0103&MI_00\\5&abcdef&0&0000"), WIDE("FriendlyName"),
             WIDE("Interface level (COM9)"))
        // The device-level search: the first instance of the HID's interface
        // that begins as the HID instance and has a friendly name.
        .add(WIDE("VID_20B1&PID_0103&MI_01\\7&1f0e3a2&0&0001"), WIDE("Driver"), WIDE("hid"))
        .add(WIDE("VID_20B1&PID_0103&MI_01\\7&1f0e3a2&0&0002"), WIDE("FriendlyName"),
             WIDE("Device level (COM8)"));
    EXPECT_EQ(narrow(lookUp(&registry, hidPath).port), "\\\\.\\COM8");
    EXPECT_FALSE(registry.wasOpened(WIDE("VID_20B1&PID_0103&MI_01\\5&abcdef&0&0001")))
        << "instances that differ in the first 10 characters are not opened";
    EXPECT_FALSE(registry.wasOpened(WIDE("VID_20B1&PID_0103&MI_00")));

    FakeRegistry withoutDevice;
    withoutDevice
        .add(WIDE("VID_20B1&PID_0103&MI_01\\5&abcdef&0&0001"), WIDE("ParentIdPrefix"),
             WIDE("7&1f0e3a2&0"))
        .add(WIDE("VID_20B1&PID_0103&MI_00\\5&abcdef&0&0000"), WIDE("FriendlyName"),
             WIDE("Interface level (COM9)"));
    EXPECT_EQ(narrow(lookUp(&withoutDevice, hidPath).port), "\\\\.\\COM9");

    // A path without an interface field is interface 0.
    FakeRegistry direct = directDevice(WIDE("Board (COM5)"));
    EXPECT_EQ(narrow(lookUp(&direct, directHid).port), "\\\\.\\COM5");
    EXPECT_TRUE(direct.wasOpened(WIDE("VID_20B1&PID_0102&MI_00")));
}

TEST(SerialCompanion, FindsNothingWithoutKeysInstanceOrReadableValue) {
    FakeRegistry empty;
    Lookup none = lookUp(&empty, directHid);
    EXPECT_EQ(none.port, noPort);
    EXPECT_EQ(none.name, Text());
    EXPECT_TRUE(empty.wasOpened(WIDE("VID_20B1&PID_0102")));

    none = lookUp(nullptr, directHid);
    EXPECT_EQ(none.port, noPort) << "a system without a registry";
    EXPECT_EQ(none.name, Text());

    FakeRegistry direct = directDevice(WIDE("Board (COM5)"));
    for (const Char16 *withoutInstance :
         {WIDE("\\\\?\\hid#vid_20b1&pid_0102"), WIDE("vid_20b1&pid_0102&mi_00"), WIDE("")}) {
        none = lookUp(&direct, withoutInstance);
        EXPECT_EQ(none.port, noPort) << narrow(withoutInstance);
        EXPECT_EQ(none.name, Text());
    }
    EXPECT_EQ(direct.attempts(), 0u) << "without an instance the registry is not read";

    // 256 characters take 514 bytes with the terminator: too long to read.
    FakeRegistry tooLong = directDevice(Text(250, Char16('a')) + WIDE("(COM6)"));
    none = lookUp(&tooLong, directHid);
    EXPECT_EQ(none.port, noPort);
    EXPECT_EQ(none.name, Text());
}

TEST(SerialCompanion, TakesThePortNameFromTheFriendlyName) {
    const Text upTo63 = Text(57, Char16('n')) + WIDE("(COM1)");
    const Text past63 = Text(70, Char16('n')) + WIDE(" (COM21)");
    struct Case {
        Text friendlyName;
        const char *port;
        Text name;
    } cases[] = {
        {WIDE("No parenthesis"), "\\\\.\\", WIDE("No parenthesis")},
        {WIDE("Serial ( ( (COM12)"), "\\\\.\\COM12", WIDE("Serial ( ( (COM12)")},
        {WIDE("Serial (COM3"), "\\\\.\\COM3", WIDE("Serial (COM3")},
        {WIDE("(COM2) (COM4)"), "\\\\.\\COM2", WIDE("(COM2) (COM4)")},
        {WIDE("Empty ()"), "\\\\.\\", WIDE("Empty ()")},
        {WIDE("Long (ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789)"),
         "\\\\.\\ABCDEFGHIJKLMNOPQRSTUVWXYZ012345",
         WIDE("Long (ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789)")},
        {upTo63, "\\\\.\\COM1", upTo63},
        // Cut for the caller, but the port comes from the whole name.
        {past63, "\\\\.\\COM21", past63.substr(0, 63)},
    };
    for (const Case &c : cases) {
        FakeRegistry registry = directDevice(c.friendlyName);
        Lookup found = lookUp(&registry, directHid);
        EXPECT_EQ(narrow(found.port), c.port) << narrow(c.friendlyName);
        EXPECT_EQ(found.name, c.name) << narrow(c.friendlyName);
    }
}

TEST(SerialCompanion, ExportAcceptsNullArgumentsAndKeepsTheLastError) {
    // No board of this vendor is known to the system on any platform.
    const Char16 *unknown = WIDE("\\\\?\\hid#vid_7e57&pid_7e57#1&2&3&4#{guid}");
    Char16 port[XDSP_DEVICE_PATH_CHARS];
    Char16 name[XDSP_FRIENDLY_NAME_CHARS];
    xdsp::os::setLastError(4321);
    EXPECT_EQ(GetMatchingHID_COMDevice(unknown, port, name), 1);
    EXPECT_EQ(Text(port), noPort);
    EXPECT_EQ(Text(name), Text());
    EXPECT_EQ(xdsp::os::lastError(), 4321u);

    EXPECT_EQ(GetMatchingHID_COMDevice(unknown, nullptr, nullptr), 1);
    EXPECT_EQ(GetMatchingHID_COMDevice(nullptr, port, nullptr), 1);
    EXPECT_EQ(Text(port), noPort);
    EXPECT_EQ(GetMatchingHID_COMDevice(nullptr, nullptr, name), 1);
    EXPECT_EQ(Text(name), Text());
    EXPECT_EQ(xdsp::os::lastError(), 4321u);
}

#ifdef _WIN32 // the system's own registry, through the export
namespace {
const std::wstring usbKey = L"SYSTEM\\CurrentControlSet\\Enum\\USB";

// Keys made for one test under the USB branch, deleted again when it ends.
class RegistryKeys {
  public:
    explicit RegistryKeys(std::vector<std::wstring> roots) : roots_(std::move(roots)) {
        removeAll();
    }
    ~RegistryKeys() {
        removeAll();
        // The branch itself goes too unless something else lives in it.
        RegDeleteKeyW(HKEY_LOCAL_MACHINE, usbKey.c_str());
    }
    bool set(const std::wstring &usbPath, const wchar_t *valueName, const std::wstring &value) {
        HKEY key = nullptr;
        if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, (usbKey + L"\\" + usbPath).c_str(), 0, nullptr, 0,
                            KEY_ALL_ACCESS, nullptr, &key, nullptr) != ERROR_SUCCESS)
            return false;
        LONG status =
            RegSetValueExW(key, valueName, 0, REG_SZ, reinterpret_cast<const BYTE *>(value.c_str()),
                           static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
        RegCloseKey(key);
        return status == ERROR_SUCCESS;
    }

  private:
    void removeAll() {
        for (const std::wstring &root : roots_)
            RegDeleteTreeW(HKEY_LOCAL_MACHINE, (usbKey + L"\\" + root).c_str());
    }
    std::vector<std::wstring> roots_;
};
} // namespace

TEST(SerialCompanion, ReadsTheSystemRegistry) {
    RegistryKeys keys({L"VID_20B1&PID_0101", L"VID_20B1&PID_0101&MI_02", L"VID_20B1&PID_0101&MI_00",
                       L"VID_20B1&PID_0102", L"VID_20B1&PID_0102&MI_00"});
    ASSERT_TRUE(keys.set(L"VID_20B1&PID_0101\\SERIAL1", L"ParentIdPrefix", L"7&1a2b3c4d&0"));
    ASSERT_TRUE(keys.set(L"VID_20B1&PID_0101&MI_02\\7&1a2b3c4d&0&0002", L"ParentIdPrefix",
                         L"8&2a5d1c3f&0"));
    ASSERT_TRUE(keys.set(L"VID_20B1&PID_0101&MI_00\\7&1a2b3c4d&0&0000", L"FriendlyName",
                         L"USB Serial Device (COM7)"));

    wchar_t port[XDSP_DEVICE_PATH_CHARS];
    wchar_t name[XDSP_FRIENDLY_NAME_CHARS];
    SetLastError(4321);
    EXPECT_EQ(GetMatchingHID_COMDevice(compositeHid, port, name), TRUE);
    EXPECT_EQ(std::wstring(port), L"\\\\.\\COM7");
    EXPECT_EQ(std::wstring(name), L"USB Serial Device (COM7)");
    EXPECT_EQ(GetLastError(), 4321u);

    // Values of 512 bytes with their terminator are read, longer ones are not.
    ASSERT_TRUE(keys.set(L"VID_20B1&PID_0102\\DEV1", L"ParentIdPrefix", L"7&1f0e3a2&0"));
    ASSERT_TRUE(keys.set(L"VID_20B1&PID_0102&MI_00\\7&1f0e3a2&0&0000", L"FriendlyName",
                         std::wstring(249, L'a') + L"(COM12)"));
    ASSERT_TRUE(keys.set(L"VID_20B1&PID_0102&MI_00\\7&1f0e3a2&0&0001", L"FriendlyName",
                         std::wstring(248, L'b') + L"(COM13)"));
    EXPECT_EQ(GetMatchingHID_COMDevice(directHid, port, name), TRUE);
    EXPECT_EQ(std::wstring(port), L"\\\\.\\COM13");
    EXPECT_EQ(std::wstring(name), std::wstring(63, L'b'));
}
#endif
