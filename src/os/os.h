// The only door to the platform. Each function is implemented once in posix/ and
// once in win32/; the build picks one set. Errors cross as Windows error codes.
#pragma once

#include "os/thread_safety.h"
#include "xdsp/xdsp.h"

#include <cstddef>
#include <cstdint>

namespace xdsp::os {

using Char16 = xdsp_char16;

// Windows error codes that the library reports on every platform; those a
// caller compares with are the public header's.
namespace error {
inline constexpr uint32_t success = XDSP_ERROR_SUCCESS;
inline constexpr uint32_t fileNotFound = XDSP_ERROR_FILE_NOT_FOUND;
inline constexpr uint32_t accessDenied = XDSP_ERROR_ACCESS_DENIED;
inline constexpr uint32_t invalidHandle = XDSP_ERROR_INVALID_HANDLE;
inline constexpr uint32_t notEnoughMemory = 8;
inline constexpr uint32_t sharingViolation = XDSP_ERROR_SHARING_VIOLATION;
inline constexpr uint32_t notSupported = 50;
inline constexpr uint32_t deviceUnavailable = XDSP_ERROR_NOT_OPEN;
inline constexpr uint32_t invalidParameter = XDSP_ERROR_INVALID_PARAMETER;
inline constexpr uint32_t noMoreItems = 259;
inline constexpr uint32_t operationAborted = 995;
inline constexpr uint32_t internalError = XDSP_ERROR_INTERNAL;
} // namespace error

// ---- threads, events, lock, time -------------------------------------------

struct Thread;
using ThreadEntry = uint32_t (*)(void *argument);

// Starts a thread at once with the default stack; null and *errorOut on failure.
Thread *threadStart(ThreadEntry entry, void *argument, uint32_t *errorOut);
// True when the thread has left within the time-out.
bool threadJoin(Thread *thread, uint32_t timeoutMs);
// Ends a thread that did not leave: true when it is gone for sure, false when it
// was left to leave by itself (it then must touch only state it owns).
bool threadTerminate(Thread *thread);
// Frees the thread record; the thread must have left or been terminated.
void threadRelease(Thread *thread);

struct Event; // manual-reset, initially not set
Event *eventCreate();
void eventClose(Event *event);
void eventSet(Event *event);
void eventReset(Event *event);
bool eventIsSet(Event *event);
// True when the event was set at some moment within the time-out, even if it
// was reset again before the waiter ran.
bool eventWait(Event *event, uint32_t timeoutMs);

struct XDSP_CAPABILITY("mutex") Lock;
Lock *lockCreate();
void lockDelete(Lock *lock);
void lockEnter(Lock *lock) XDSP_ACQUIRE(lock);
void lockLeave(Lock *lock) XDSP_RELEASE(lock);

// Holds a lock for its scope.
class XDSP_SCOPED_CAPABILITY LockHold {
  public:
    explicit LockHold(Lock *lock) XDSP_ACQUIRE(lock) : lock_(lock) { lockEnter(lock_); }
    ~LockHold() XDSP_RELEASE() { lockLeave(lock_); }
    LockHold(const LockHold &) = delete;
    LockHold &operator=(const LockHold &) = delete;

  private:
    Lock *lock_;
};

void sleepMs(uint32_t milliseconds);
uint32_t tickMs(); // wraps every 49.7 days

struct LocalTime {
    uint16_t year, month, dayOfWeek, day, hour, minute, second, milliseconds;
};
LocalTime localTime();

// Calls an application's progress callback so that it works whether the
// function pops its own arguments or leaves that to the caller (32-bit x86).
using ProgressCallback = int32_t(XDSP_API *)(int32_t percent, uint32_t context);
void callProgress(ProgressCallback callback, int32_t percent, uint32_t context);

uint32_t lastError();
void setLastError(uint32_t code);

// The system's text for an error code into buffer (always terminated, cut to
// capacity - 1); false when the system has none.
bool systemErrorText(uint32_t code, Char16 *buffer, size_t capacity);

// ---- OLE automation dates ---------------------------------------------------

// The date and time fields of a system time, 16 bits each as the system keeps
// them (day of week and milliseconds left out).
struct DateFields {
    uint16_t year, month, day, hour, minute, second;
};

// OLE automation dates: days since 1899-12-30, the fraction the time of day.
// On Windows the system's own conversion, so that applications get exactly
// its answers; elsewhere the portable conversion (portable_ole_date.h).
// False where the conversion refuses the fields.
bool oleDateFromFields(const DateFields &fields, double *date);
// Rounded to the nearest second; false for a date outside 0100-9999 or not a
// number.
bool fieldsFromOleDate(double date, DateFields *fields);

// ---- sinks ------------------------------------------------------------------

void debugWrite(const Char16 *text);
void debugWriteNarrow(const char *text);
// 8-bit text widened byte for byte, cut to capacity - 1 characters and terminated.
void widenNarrow(const char *text, Char16 *out, size_t capacity);
// The message-box styles the library shows: an OK button alone, or with the
// exclamation icon.
namespace messageStyle {
inline constexpr uint32_t plain = 0;
inline constexpr uint32_t exclamation = 0x30;
} // namespace messageStyle
// Modal, no owner; returns the button pressed (1 is OK).
int messageBox(const Char16 *text, const Char16 *caption, uint32_t style);

using DebugSink = void (*)(const Char16 *text, void *context);
using MessageSink = int (*)(const Char16 *text, const Char16 *caption, uint32_t style,
                            void *context);
// Replace the sinks in-process (null restores the platform default).
void setDebugSink(DebugSink sink, void *context);
void setMessageSink(MessageSink sink, void *context);

// ---- device I/O ---------------------------------------------------------------

struct Device; // an open HID device or virtual device; the library's device handle

struct ReportLengths {
    uint32_t input = 0;
    uint32_t output = 0;
    uint32_t feature = 0;
};

// Exclusive open for reading and writing; null and *errorOut on failure.
Device *deviceOpen(const Char16 *path, uint32_t *errorOut);
void deviceClose(Device *device);
// One output report of length bytes, report-ID byte first.
bool deviceWrite(Device *device, const uint8_t *report, size_t length, uint32_t *errorOut);
// Up to length bytes of one input report, report-ID byte first.
bool deviceRead(Device *device, uint8_t *buffer, size_t length, size_t *received,
                uint32_t *errorOut);
// Makes a read or write that is blocked, or the next one, fail with 995.
void deviceCancel(Device *device, Thread *blockedThread);
bool deviceReportLengths(Device *device, ReportLengths *lengths);

// ---- enumeration ----------------------------------------------------------------

struct HidInterface {
    Char16 path[XDSP_DEVICE_PATH_CHARS];
    bool hasIds; // ids known apart from the path (otherwise parse the path)
    uint16_t vendorId;
    uint16_t productId;
    uint16_t interfaceNumber;
};

// The present HID interface at this index of the system's list, resolved anew.
bool hidInterfaceAt(uint32_t index, HidInterface *out);

enum class EnumStep { found, end, failed, skip };

// Interface-class walk: interfaces of a class by member index.
struct ClassSet;
ClassSet *classSetOpen(const xdsp_guid *interfaceClass); // null class: every class
void classSetClose(ClassSet *set);
// Interfaces of the set's class: found (out filled), end (259), failed
// (*errorOut), skip (detail fetch failed: the walk stops).
EnumStep classInterfaceAt(ClassSet *set, uint32_t index, HidInterface *out, uint32_t *errorOut);
// Devices of an all-classes set: found (classOut filled), end, failed.
EnumStep classDeviceAt(ClassSet *set, uint32_t index, xdsp_guid *classOut, uint32_t *errorOut);
// Interfaces of one device of an all-classes set: found, end (next device),
// failed, skip (detail fetch failed: next device).
EnumStep classDeviceInterfaceAt(ClassSet *set, uint32_t deviceIndex, const xdsp_guid *deviceClass,
                                uint32_t interfaceIndex, HidInterface *out, uint32_t *errorOut);

// ---- emulators ----------------------------------------------------------------

inline constexpr size_t emulatorEndpointLimit = 16;
// Where this user's emulators (`xdsp emu`) may serve, in their numbers' order:
// on POSIX the emu-N.sock sockets in $XDG_RUNTIME_DIR/xdsp, else /tmp/xdsp-UID
// when this user owns it; on Windows the pipes \\.\pipe\xdsp-USER-emu-1 to
// -16, which cannot be listed, only tried. Returns how many paths were written.
size_t emulatorEndpoints(Char16 (*paths)[XDSP_DEVICE_PATH_CHARS], size_t capacity);

// ---- serial-port companion --------------------------------------------------

// A read-only view of the system registry under HKEY_LOCAL_MACHINE, as a table
// so that the lookup can be run on a registry of a test's own making.
struct RegistryKey;
struct Registry {
    // Opens path below parent (null: HKEY_LOCAL_MACHINE) for reading; null on failure.
    RegistryKey *(*open)(RegistryKey *parent, const Char16 *path);
    // The index-th subkey's name; false when the walk is over or the name does
    // not fit capacity characters with its terminator.
    bool (*subkeyName)(RegistryKey *key, uint32_t index, Char16 *name, size_t capacity);
    // A string value of at most registryValueBytes bytes into value (capacity
    // characters, terminated); false when absent, not a string or longer.
    bool (*stringValue)(RegistryKey *key, const Char16 *valueName, Char16 *value, size_t capacity);
    void (*close)(RegistryKey *key);
};
inline constexpr size_t registryValueBytes = 512;

// The system's registry; null where the system has none.
const Registry *systemRegistry();

// For a HID path that the system's device tree names directly (Linux
// /dev/hidrawN), the serial port on interface 0 of the same USB device: fills
// the 64-character friendly name and the 260-character port path, both empty
// when there is none, and returns true. False for every other path, which is
// then left to the registry.
bool deviceTreeSerialPort(const Char16 *hidPath, Char16 *friendlyName, Char16 *portPath);

} // namespace xdsp::os
