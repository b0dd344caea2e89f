// The endpoints of this user's running emulators: named pipes, which cannot
// be listed, so every number is offered to be tried.
#include "os/win32/win32.h"

#include <string>

namespace xdsp::os {

size_t emulatorEndpoints(Char16 (*paths)[XDSP_DEVICE_PATH_CHARS], size_t capacity) {
    wchar_t user[256] = {};
    DWORD length = 256;
    std::wstring name = GetUserNameW(user, &length) ? user : L"user";
    // As the tool names them: no separators inside a pipe's name.
    for (wchar_t &c : name)
        if (c == L'\\' || c == L'/' || c == L' ')
            c = L'_';
    size_t written = 0;
    for (size_t number = 1; number <= emulatorEndpointLimit && written < capacity; ++number) {
        std::wstring path = L"\\\\.\\pipe\\xdsp-" + name + L"-emu-" + std::to_wstring(number);
        if (path.size() >= XDSP_DEVICE_PATH_CHARS)
            break;
        path.copy(paths[written], path.size());
        paths[written++][path.size()] = 0;
    }
    return written;
}

} // namespace xdsp::os
