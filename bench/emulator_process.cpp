#include "emulator_process.h"

#include <atomic>
#include <chrono>
#include <csignal>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char **environ;

EmulatorProcess::EmulatorProcess(const std::vector<std::string> &options) {
    // Numbered, so that one benchmark can run several.
    static std::atomic<unsigned> made{0};
    path_ = "/tmp/xdsp-bench-" + std::to_string(getpid()) + "-" +
            std::to_string(made.fetch_add(1)) + ".sock";
    std::vector<std::string> arguments = {XDSP_EMU_PATH, path_};
    arguments.insert(arguments.end(), options.begin(), options.end());
    std::vector<char *> argv;
    for (std::string &argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    if (posix_spawn(&child_, XDSP_EMU_PATH, nullptr, nullptr, argv.data(), environ) != 0) {
        child_ = -1;
        return;
    }
    struct stat status {};
    for (int i = 0; i < 500 && stat(path_.c_str(), &status) != 0; ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
}

EmulatorProcess::~EmulatorProcess() {
    if (child_ > 0) {
        kill(child_, SIGTERM);
        waitpid(child_, nullptr, 0);
    }
    unlink(path_.c_str());
}

std::u16string EmulatorProcess::widePath() const {
    return {path_.begin(), path_.end()};
}

double processCpuSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    auto seconds = [](const timeval &t) {
        return static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) / 1e6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double wallSeconds() {
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}
