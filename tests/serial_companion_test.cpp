#include "discovery/serial_companion.h"
#include "support/capture.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <utility>
#include <vector>
#ifdef _WIN32
#include <windows.h>
#endif

using xdsp::Char16;
using xdsp::os::RegistryKey;
using xdsp::test::narrow;
using xdsp::test::Text;
using xdsp::test::wide;

namespace {
const Text usbBranch = WIDE("SYSTEM\\CurrentControlSet\\Enum\\USB\\");
const std::string parent = "ParentIdPrefix";
const std::string friendly = "FriendlyName";

// A key below the USB branch, with one value unless the name is empty.
struct Entry {
    std::string path;
    std::string valueName;
    std::string value;
};

// A registry of the test's own making. Keys are known by their full path and
// list their subkeys in the order they were added; every open attempt and
// every close is recorded.
class FakeRegistry {
  public:
    FakeRegistry(std::initializer_list<Entry> entries = {}) {
        for (const Entry &entry : entries)
            add(entry);
    }
    // Adds the key, its parents, and its value.
    void add(const Entry &entry) {
        Text path = usbBranch + wide(entry.path);
        keys_[path];
        for (size_t cut = path.rfind('\\'); cut != Text::npos; cut = path.rfind('\\', cut - 1)) {
            Key &above = keys_[path.substr(0, cut)];
            Text child = path.substr(cut + 1, path.find('\\', cut + 1) - cut - 1);
            if (std::find(above.subkeys.begin(), above.subkeys.end(), child) == above.subkeys.end())
                above.subkeys.push_back(child);
        }
        if (!entry.valueName.empty())
            keys_[path].values[wide(entry.valueName)] = wide(entry.value);
    }

    bool wasOpened(const std::string &usbPath) const {
        return std::count(attempts_.begin(), attempts_.end(), usbBranch + wide(usbPath)) != 0;
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
    // A key handle is the key's path.
    static Text *keyPath(RegistryKey *key) { return reinterpret_cast<Text *>(key); }

    static RegistryKey *open(RegistryKey *parentKey, const Char16 *subkey) {
        Text full = parentKey != nullptr ? *keyPath(parentKey) + WIDE("\\") + subkey : Text(subkey);
        current->attempts_.push_back(full);
        if (current->keys_.count(full) == 0)
            return nullptr;
        ++current->openKeys_;
        return reinterpret_cast<RegistryKey *>(new Text(full));
    }
    static bool subkeyName(RegistryKey *key, uint32_t index, Char16 *name, size_t capacity) {
        const std::vector<Text> &subkeys = current->keys_.at(*keyPath(key)).subkeys;
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
        const std::map<Text, Text> &values = current->keys_.at(*keyPath(key)).values;
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
        delete keyPath(key);
    }

    std::map<Text, Key> keys_;
    std::vector<Text> attempts_;
    int openKeys_ = 0;
};

FakeRegistry *FakeRegistry::current = nullptr;
const xdsp::os::Registry FakeRegistry::table = {FakeRegistry::open, FakeRegistry::subkeyName,
                                                FakeRegistry::stringValue, FakeRegistry::close};

// The port and the friendly name found.
using Found = std::pair<std::string, std::string>;
const Found nothing{"\\\\.\\", ""};

// Runs the lookup on the registry (or on none) and checks that it closed
// every key it opened and terminated both outputs within their sizes.
Found lookUp(FakeRegistry *registry, const Char16 *hidPath) {
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
    return {narrow(port), narrow(name)};
}

const Char16 *const compositeHid = WIDE("\\\\?\\hid#vid_20b1&pid_0101&mi_02#8&2a5d1c3f&0&0000#{"
                                        "4d1e55b2-f16f-11cf-88cb-001111000030}");
const Char16 *const directHid = WIDE("\\\\?\\hid#vid_20b1&pid_0102#7&1f0e3a2&0&0000#{"
                                     "4d1e55b2-f16f-11cf-88cb-001111000030}");

// A device whose HID interface hangs below the whole device, with one
// friendly name on the matching interface-0 instance.
FakeRegistry directDevice(const std::string &friendlyName) {
    return {{"VID_20B1&PID_0102\\DEV1", parent, "7&1f0e3a2&0"},
            {"VID_20B1&PID_0102&MI_00\\7&1f0e3a2&0&0000", friendly, friendlyName}};
}
} // namespace

TEST(SerialCompanion, FollowsTheParentInterfaceToItsSiblingOnInterfaceZero) {
    FakeRegistry registry{
        // The whole device's instance is the interfaces' parent, not the HID's.
        {"VID_20B1&PID_0101\\SERIAL1", parent, "6&11223344&0"},
        {"VID_20B1&PID_0101&MI_02\\6&11223344&0&0001", parent, "8&2A5D1C3F&0"}, // case differs
        // Too long to read, so absent; then one equal in the first 10 characters only.
        {"VID_20B1&PID_0101&MI_02\\6&99999999&0&0002", parent,
         "8&2a5d1c3f&0" + std::string(300, 'x')},
        {"VID_20B1&PID_0101&MI_02\\6&55667788&0&0002", parent, "8&2a5d1c3f&9"},
        {"VID_20B1&PID_0101&MI_00\\6&55667788&0&00001", friendly, "Near miss (COM4)"},
        {"VID_20B1&PID_0101&MI_00\\6&11223344&0&0000", friendly, "Other board (COM3)"},
        {"VID_20B1&PID_0101&MI_00\\6&55667788&0&0000", friendly, "USB Serial Device (COM7)"}};
    EXPECT_EQ(lookUp(&registry, compositeHid), Found("\\\\.\\COM7", "USB Serial Device (COM7)"));
    EXPECT_FALSE(registry.wasOpened("VID_20B1&PID_0101&MI_00\\6&55667788&0&00001"))
        << "only the sibling named exactly is opened";
    EXPECT_FALSE(registry.wasOpened("VID_20B1&PID_0101&MI_00\\6&11223344&0&0000"));

    // An interface instance without '&' is its own sibling's name.
    FakeRegistry plain{{"VID_20B1&PID_0101&MI_02\\PLAIN", parent, "8&2a5d1c3f&0"},
                       {"VID_20B1&PID_0101&MI_00\\PLAIN", friendly, "Plain (COM9)"}};
    EXPECT_EQ(lookUp(&plain, compositeHid), Found("\\\\.\\COM9", "Plain (COM9)"));

    // No interface-0 key, or a sibling without a friendly name: nothing found.
    FakeRegistry noSibling{{"VID_20B1&PID_0101&MI_02\\6&1&0&0002", parent, "8&2a5d1c3f&0"}};
    EXPECT_EQ(lookUp(&noSibling, compositeHid), nothing);
    noSibling.add({"VID_20B1&PID_0101&MI_00\\6&1&0&0000", "Driver", "usbser"});
    EXPECT_EQ(lookUp(&noSibling, compositeHid), nothing);
}

TEST(SerialCompanion, DeviceLevelParentTakesPrecedenceAndWithoutKeysNothingIsFound) {
    const Char16 *hidPath = WIDE("\\\\?\\hid#vid_20b1&pid_0103&mi_01#7&1f0e3a2&0&0001#{guid}");
    // What the interface-level search would find.
    const std::initializer_list<Entry> interfaceLevel = {
        {"VID_20B1&PID_0103&MI_01\\5&abcdef&0&0001", parent, "7&1f0e3a2&0"},
        {"VID_20B1&PID_0103&MI_00\\5&abcdef&0&0000", friendly, "Interface level (COM9)"}};
    FakeRegistry registry(interfaceLevel);
    // The device-level search: the first instance of the HID's interface that
    // begins as the HID instance and has a friendly name.
    for (const Entry &entry :
         {Entry{"VID_20B1&PID_0103\\DEV1", parent, "7&1f0e3a2&0"},
          Entry{"VID_20B1&PID_0103&MI_01\\7&1f0e3a2&0&0001", "Driver", "hid"},
          Entry{"VID_20B1&PID_0103&MI_01\\7&1f0e3a2&0&0002", friendly, "Device level (COM8)"}})
        registry.add(entry);
    EXPECT_EQ(lookUp(&registry, hidPath).first, "\\\\.\\COM8");
    EXPECT_FALSE(registry.wasOpened("VID_20B1&PID_0103&MI_01\\5&abcdef&0&0001"))
        << "instances that differ in the first 10 characters are not opened";
    EXPECT_FALSE(registry.wasOpened("VID_20B1&PID_0103&MI_00"));

    FakeRegistry withoutDevice(interfaceLevel);
    EXPECT_EQ(lookUp(&withoutDevice, hidPath).first, "\\\\.\\COM9");

    // No keys, no registry, no instance, or a value too long to read: nothing.
    FakeRegistry empty;
    EXPECT_EQ(lookUp(&empty, directHid), nothing);
    EXPECT_EQ(lookUp(nullptr, directHid), nothing) << "a system without a registry";

    FakeRegistry direct = directDevice("Board (COM5)");
    for (const Char16 *withoutInstance :
         {WIDE("\\\\?\\hid#vid_20b1&pid_0102"), WIDE("vid_20b1&pid_0102&mi_00"), WIDE("")})
        EXPECT_EQ(lookUp(&direct, withoutInstance), nothing) << narrow(withoutInstance);
    EXPECT_EQ(direct.attempts(), 0u) << "without an instance the registry is not read";

    // 256 characters take 514 bytes with the terminator: too long to read.
    FakeRegistry tooLong = directDevice(std::string(250, 'a') + "(COM6)");
    EXPECT_EQ(lookUp(&tooLong, directHid), nothing);
}

TEST(SerialCompanion, TakesThePortNameFromTheFriendlyName) {
    const std::string upTo63 = std::string(57, 'n') + "(COM1)";
    const std::string past63 = std::string(70, 'n') + " (COM21)";
    // The friendly name and the port it gives; the caller gets the name cut to 63.
    const std::pair<std::string, std::string> cases[] = {
        {"No parenthesis", ""},
        {"Serial ( ( (COM12)", "COM12"},
        {"Serial (COM3", "COM3"},
        {"(COM2) (COM4)", "COM2"},
        {"Empty ()", ""},
        {"Long (ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789)", "ABCDEFGHIJKLMNOPQRSTUVWXYZ012345"},
        {upTo63, "COM1"},
        // Cut for the caller, but the port comes from the whole name.
        {past63, "COM21"},
    };
    for (const auto &[friendlyName, port] : cases) {
        FakeRegistry registry = directDevice(friendlyName);
        EXPECT_EQ(lookUp(&registry, directHid), Found("\\\\.\\" + port, friendlyName.substr(0, 63)))
            << friendlyName;
    }
}

TEST(SerialCompanion, ExportAcceptsNullArgumentsAndKeepsTheLastError) {
    // No board of this vendor is known to the system on any platform.
    const Char16 *unknown = WIDE("\\\\?\\hid#vid_7e57&pid_7e57#1&2&3&4#{guid}");
    Char16 port[XDSP_DEVICE_PATH_CHARS];
    Char16 name[XDSP_FRIENDLY_NAME_CHARS];
    xdsp::os::setLastError(4321);
    EXPECT_EQ(GetMatchingHID_COMDevice(unknown, port, name), 1);
    EXPECT_EQ(Found(narrow(port), narrow(name)), nothing);
    EXPECT_EQ(xdsp::os::lastError(), 4321u);

    EXPECT_EQ(GetMatchingHID_COMDevice(unknown, nullptr, nullptr), 1);
    EXPECT_EQ(GetMatchingHID_COMDevice(nullptr, port, nullptr), 1);
    EXPECT_EQ(narrow(port), nothing.first);
    EXPECT_EQ(GetMatchingHID_COMDevice(nullptr, nullptr, name), 1);
    EXPECT_EQ(narrow(name), "");
    EXPECT_EQ(xdsp::os::lastError(), 4321u);
}

#ifdef _WIN32 // the system's own registry, through the export
TEST(SerialCompanion, ReadsTheSystemRegistry) {
    const std::wstring usbKey = L"SYSTEM\\CurrentControlSet\\Enum\\USB\\";
    const std::wstring device = L"VID_20B1&PID_0102", interface0 = L"VID_20B1&PID_0102&MI_00";
    auto removeKeys = [&] {
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, (usbKey + device).c_str());
        RegDeleteTreeW(HKEY_LOCAL_MACHINE, (usbKey + interface0).c_str());
    };
    auto set = [&](const std::wstring &usbPath, const wchar_t *valueName,
                   const std::wstring &value) {
        HKEY key = nullptr;
        if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, (usbKey + usbPath).c_str(), 0, nullptr, 0,
                            KEY_ALL_ACCESS, nullptr, &key, nullptr) != ERROR_SUCCESS)
            return false;
        LONG status =
            RegSetValueExW(key, valueName, 0, REG_SZ, reinterpret_cast<const BYTE *>(value.c_str()),
                           static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t)));
        RegCloseKey(key);
        return status == ERROR_SUCCESS;
    };
    removeKeys();
    // Values of 512 bytes with their terminator are read, longer ones are not.
    ASSERT_TRUE(set(device + L"\\DEV1", L"ParentIdPrefix", L"7&1f0e3a2&0"));
    ASSERT_TRUE(set(interface0 + L"\\7&1f0e3a2&0&0000", L"FriendlyName",
                    std::wstring(249, L'a') + L"(COM12)"));
    ASSERT_TRUE(set(interface0 + L"\\7&1f0e3a2&0&0001", L"FriendlyName",
                    std::wstring(248, L'b') + L"(COM13)"));

    wchar_t port[XDSP_DEVICE_PATH_CHARS];
    wchar_t name[XDSP_FRIENDLY_NAME_CHARS];
    SetLastError(4321);
    EXPECT_EQ(GetMatchingHID_COMDevice(directHid, port, name), TRUE);
    EXPECT_EQ(std::wstring(port), L"\\\\.\\COM13");
    EXPECT_EQ(std::wstring(name), std::wstring(63, L'b'));
    EXPECT_EQ(GetLastError(), 4321u);
    removeKeys();
    // The branch itself goes too unless something else lives in it.
    RegDeleteKeyW(HKEY_LOCAL_MACHINE, usbKey.substr(0, usbKey.size() - 1).c_str());
}
#endif
