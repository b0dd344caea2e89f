#include "child_processes.h"

#include "text.h"

#include <chrono>
#include <windows.h>

namespace {
// One argument as the C runtime's parser reads it back.
std::string quoted(const std::string &argument) {
    if (!argument.empty() && argument.find_first_of(" \t\"") == std::string::npos)
        return argument;
    std::string text = "\"";
    size_t backslashes = 0;
    for (char c : argument) {
        if (c == '\\') {
            ++backslashes;
            continue;
        }
        text.append(c == '"' ? backslashes * 2 + 1 : backslashes, '\\');
        backslashes = 0;
        text += c;
    }
    text.append(backslashes * 2, '\\');
    return text += "\"";
}

// Runs one child to its end, passing on its lines; without threads in this
// build the children run one after the other.
ChildResult runOne(const std::string &program, const std::vector<std::string> &arguments,
                   const std::function<void(const std::string &)> &onLine) {
    ChildResult result;
    auto started = std::chrono::steady_clock::now();
    SECURITY_ATTRIBUTES inherit{sizeof inherit, nullptr, TRUE};
    HANDLE readEnd = nullptr, writeEnd = nullptr;
    if (!CreatePipe(&readEnd, &writeEnd, &inherit, 0)) {
        onLine(std::string("xdsp: cannot start ").append(program));
        return result;
    }
    SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0);
    std::string commandLine = quoted(program);
    for (const std::string &argument : arguments)
        commandLine.append(" ").append(quoted(argument));
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = GetStdHandle(STD_INPUT_HANDLE);
    startup.hStdOutput = writeEnd;
    startup.hStdError = writeEnd;
    PROCESS_INFORMATION process{};
    // The arguments are UTF-8; the wide call passes every character on.
    std::wstring wideLine = fromUtf8(commandLine);
    BOOL launched = CreateProcessW(nullptr, wideLine.data(), nullptr, nullptr, TRUE, 0, nullptr,
                                   nullptr, &startup, &process);
    CloseHandle(writeEnd);
    if (!launched) {
        CloseHandle(readEnd);
        onLine(std::string("xdsp: cannot start ").append(program));
        return result;
    }
    std::string pending;
    char buffer[4096];
    DWORD got = 0;
    while (ReadFile(readEnd, buffer, sizeof buffer, &got, nullptr) && got > 0) {
        pending.append(buffer, got);
        for (size_t end; (end = pending.find('\n')) != std::string::npos;) {
            std::string line = pending.substr(0, end);
            if (!line.empty() && line.back() == '\r')
                line.pop_back();
            onLine(line);
            pending.erase(0, end + 1);
        }
    }
    if (!pending.empty())
        onLine(pending);
    CloseHandle(readEnd);
    WaitForSingleObject(process.hProcess, INFINITE);
    DWORD code = 70;
    GetExitCodeProcess(process.hProcess, &code);
    CloseHandle(process.hProcess);
    CloseHandle(process.hThread);
    result.exitCode = static_cast<int>(code);
    result.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    return result;
}
} // namespace

std::vector<ChildResult>
runChildren(const std::string &program, const std::vector<std::vector<std::string>> &arguments,
            const std::function<void(size_t, const std::string &)> &onLine) {
    std::vector<ChildResult> results;
    for (size_t i = 0; i < arguments.size(); ++i)
        results.push_back(runOne(program, arguments[i],
                                 [&onLine, i](const std::string &line) { onLine(i, line); }));
    return results;
}
