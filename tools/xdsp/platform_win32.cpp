#include "platform.h"

#include "text.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <direct.h>
#include <fcntl.h>
#include <io.h>
#include <windows.h>
// After windows.h, whose types it uses.
#include <shellapi.h>

namespace {
SRWLOCK outputLock = SRWLOCK_INIT;

DWORD WINAPI runJob(void *job) {
    (*static_cast<const std::function<void()> *>(job))();
    return 0;
}

// The user's name as a pipe name may carry it.
std::string userName() {
    char name[256] = {};
    DWORD length = sizeof name;
    if (!GetUserNameA(name, &length))
        return "user";
    std::string text = name;
    for (char &c : text)
        if (c == '\\' || c == '/' || c == ' ')
            c = '_';
    return text;
}
} // namespace

bool stdoutIsTerminal() {
    if (_isatty(_fileno(stdout)) != 0)
        return true;
    // Off a terminal the lines end in a bare line feed, as everywhere else.
    _setmode(_fileno(stdout), _O_BINARY);
    _setmode(_fileno(stderr), _O_BINARY);
    return false;
}

std::string runtimeFolder() {
    return "\\\\.\\pipe";
}

std::string builtInFlashImage() {
    const char *local = std::getenv("LOCALAPPDATA");
    std::string folder = std::string(local != nullptr && *local != 0 ? local : ".") + "\\xdsp";
    _mkdir(folder.c_str());
    return folder + "\\builtin-flash.img";
}

std::string emulatorEndpoint(unsigned number) {
    return "\\\\.\\pipe\\xdsp-" + userName() + "-emu-" + std::to_string(number);
}

std::string builtInEndpoint() {
    return "\\\\.\\pipe\\xdsp-" + userName() + "-builtin-" + std::to_string(GetCurrentProcessId());
}

std::vector<std::string> utf8Arguments(int argc, char **argv) {
    // argv is in the ANSI code page; the wide command line holds every character.
    int count = 0;
    wchar_t **wide = CommandLineToArgvW(GetCommandLineW(), &count);
    if (wide == nullptr)
        return {argv + 1, argv + argc};
    std::vector<std::string> arguments;
    for (int i = 1; i < count; ++i)
        arguments.push_back(toUtf8(wide[i]));
    LocalFree(wide);
    return arguments;
}

void runSideBySide(const std::vector<std::function<void()>> &jobs) {
    std::vector<HANDLE> threads;
    for (const std::function<void()> &job : jobs) {
        HANDLE thread =
            CreateThread(nullptr, 0, runJob, const_cast<std::function<void()> *>(&job), 0, nullptr);
        if (thread != nullptr)
            threads.push_back(thread);
        else
            job();
    }
    // One wait takes at most MAXIMUM_WAIT_OBJECTS handles.
    for (size_t first = 0; first < threads.size(); first += MAXIMUM_WAIT_OBJECTS) {
        auto count =
            static_cast<DWORD>(std::min<size_t>(threads.size() - first, MAXIMUM_WAIT_OBJECTS));
        WaitForMultipleObjects(count, threads.data() + first, TRUE, INFINITE);
    }
    for (HANDLE thread : threads)
        CloseHandle(thread);
}

OutputLock::OutputLock() {
    AcquireSRWLockExclusive(&outputLock);
}

OutputLock::~OutputLock() {
    ReleaseSRWLockExclusive(&outputLock);
}
