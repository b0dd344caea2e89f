// The thread's last-error code and the system's texts for error codes.
#include "os/win32/win32.h"

namespace xdsp::os {

namespace {
// Allocate the buffer, ignore inserts, take the text from the system.
constexpr DWORD messageFlags =
    FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_FROM_SYSTEM;
constexpr DWORD neutralLanguage = MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT);
static_assert(messageFlags == 0x1300 && neutralLanguage == 0x0400);
} // namespace

uint32_t lastError() {
    return GetLastError();
}

void setLastError(uint32_t code) {
    SetLastError(code);
}

bool systemErrorText(uint32_t code, Char16 *buffer, size_t capacity) {
    if (buffer == nullptr || capacity == 0)
        return false;
    LPWSTR text = nullptr;
    // With ALLOCATE_BUFFER the system writes a pointer to its own buffer.
    DWORD length = FormatMessageW(messageFlags, nullptr, code, neutralLanguage,
                                  reinterpret_cast<LPWSTR>(&text), 0, nullptr);
    if (length == 0) {
        buffer[0] = 0;
        return false;
    }
    size_t copied = 0;
    while (copied < length && copied + 1 < capacity && text[copied] != 0) {
        buffer[copied] = text[copied];
        ++copied;
    }
    buffer[copied] = 0;
    LocalFree(text);
    return true;
}

} // namespace xdsp::os
