// The emulator in a process of its own, so that the benchmark process's CPU
// time and allocations are the library's alone.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

class EmulatorProcess {
  public:
    explicit EmulatorProcess(const std::vector<std::string> &options);
    ~EmulatorProcess();
    bool running() const { return child_ > 0; }
    const std::string &path() const { return path_; }
    std::u16string widePath() const;

  private:
    std::string path_;
    pid_t child_ = -1;
};

// CPU seconds this process has used, user and system together.
double processCpuSeconds();
double wallSeconds();
