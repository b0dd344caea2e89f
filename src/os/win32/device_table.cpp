// The table behind device_table.h. Handles that callers close with CloseHandle
// themselves leave entries behind; those are dropped when the system hands
// out the same value again, or when the table is full and the handle is gone.
#include "os/win32/device_table.h"

namespace xdsp::os {

namespace {
struct Entry {
    HANDLE handle = nullptr; // null: free
    bool isVirtual = false;
    bool cancelled = false;
    ReportLengths lengths;
};

constexpr size_t tableSize = 64;

SRWLOCK tableLock = SRWLOCK_INIT;
Entry entries[tableSize];

Entry *find(HANDLE handle) {
    for (Entry &entry : entries) {
        if (entry.handle == handle)
            return &entry;
    }
    return nullptr;
}

bool handleIsGone(HANDLE handle) {
    DWORD flags = 0;
    return !GetHandleInformation(handle, &flags);
}

// The entry for the handle, or a free one taken for it; null when full.
Entry *findOrAdd(HANDLE handle) {
    if (Entry *entry = find(handle))
        return entry;
    Entry *freeEntry = find(nullptr);
    if (freeEntry == nullptr) {
        for (Entry &entry : entries) {
            if (handleIsGone(entry.handle))
                entry = Entry{};
        }
        freeEntry = find(nullptr);
    }
    if (freeEntry != nullptr)
        freeEntry->handle = handle;
    return freeEntry;
}
} // namespace

bool rememberVirtualLengths(HANDLE handle, const ReportLengths &lengths) {
    if (!isOpenHandle(handle))
        return false;
    AcquireSRWLockExclusive(&tableLock);
    Entry *entry = findOrAdd(handle);
    if (entry != nullptr) {
        entry->isVirtual = true;
        entry->lengths = lengths;
    }
    ReleaseSRWLockExclusive(&tableLock);
    return entry != nullptr;
}

bool virtualLengths(HANDLE handle, ReportLengths *lengths) {
    if (!isOpenHandle(handle) || lengths == nullptr)
        return false;
    AcquireSRWLockShared(&tableLock);
    const Entry *entry = find(handle);
    bool known = entry != nullptr && entry->isVirtual;
    if (known)
        *lengths = entry->lengths;
    ReleaseSRWLockShared(&tableLock);
    return known;
}

void markCancelled(HANDLE handle) {
    if (!isOpenHandle(handle))
        return;
    AcquireSRWLockExclusive(&tableLock);
    if (Entry *entry = findOrAdd(handle))
        entry->cancelled = true;
    ReleaseSRWLockExclusive(&tableLock);
}

bool isCancelled(HANDLE handle) {
    if (!isOpenHandle(handle))
        return false;
    AcquireSRWLockShared(&tableLock);
    const Entry *entry = find(handle);
    bool cancelled = entry != nullptr && entry->cancelled;
    ReleaseSRWLockShared(&tableLock);
    return cancelled;
}

void forgetHandle(HANDLE handle) {
    if (!isOpenHandle(handle))
        return;
    AcquireSRWLockExclusive(&tableLock);
    if (Entry *entry = find(handle))
        *entry = Entry{};
    ReleaseSRWLockExclusive(&tableLock);
}

} // namespace xdsp::os
