// What the tool needs from the system: terminals, per-user folders, the
// endpoints of its emulators, and threads for boards run side by side.
#pragma once

#include <functional>
#include <string>
#include <vector>

bool stdoutIsTerminal();
// The per-user folder for emulator endpoints ($XDG_RUNTIME_DIR/xdsp, else
// /tmp/xdsp-UID), created with owner-only access; empty when it cannot be.
std::string runtimeFolder();
// The built-in emulator's flash between commands ($XDG_STATE_HOME/xdsp, else
// ~/.local/state/xdsp, file builtin-flash.img); the folder is created.
std::string builtInFlashImage();
// Where `xdsp emu` serves its Nth emulator (from 1).
std::string emulatorEndpoint(unsigned number);
// A private endpoint for the built-in emulator of this process.
std::string builtInEndpoint();
// The arguments after the program's name, in UTF-8 whatever the system's
// code page.
std::vector<std::string> utf8Arguments(int argc, char **argv);
// Runs every job on a thread of its own and returns once all have ended; a
// job whose thread cannot be started runs on the caller's.
void runSideBySide(const std::vector<std::function<void()>> &jobs);

// Holds the process's output lock while it lives, so that lines written by
// boards run side by side never mix.
class OutputLock {
  public:
    OutputLock();
    ~OutputLock();
    OutputLock(const OutputLock &) = delete;
    OutputLock &operator=(const OutputLock &) = delete;
};
