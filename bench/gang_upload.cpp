// `xdsp upload --all` of 256 KiB to 1, 4 and 8 emulated boards: the wall time
// of each gang against that of one board. Goal: 8 boards within 1.25 times
// the time of one, since each board has a process and a link of its own.
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <spawn.h>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

extern char **environ;

namespace {
constexpr size_t uploadBytes = 256 * 1024;
constexpr double goal = 1.25;

// Emulators served where the tool's --all finds them; stopped with the object.
class Gang {
  public:
    Gang(const std::string &folder, unsigned boards) {
        for (unsigned number = 1; number <= boards; ++number) {
            std::string path = folder + "/emu-" + std::to_string(number) + ".sock";
            std::vector<std::string> arguments = {XDSP_EMU_PATH, path};
            std::vector<char *> argv;
            for (std::string &argument : arguments)
                argv.push_back(argument.data());
            argv.push_back(nullptr);
            posix_spawn_file_actions_t actions;
            posix_spawn_file_actions_init(&actions);
            posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
            pid_t child = -1;
            if (posix_spawn(&child, XDSP_EMU_PATH, &actions, nullptr, argv.data(), environ) == 0)
                children_.push_back(child);
            posix_spawn_file_actions_destroy(&actions);
            struct stat info {};
            for (int tries = 0; tries < 500 && stat(path.c_str(), &info) != 0; ++tries)
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    }
    ~Gang() {
        for (pid_t child : children_) {
            kill(child, SIGTERM);
            waitpid(child, nullptr, 0);
        }
    }
    size_t size() const { return children_.size(); }

  private:
    std::vector<pid_t> children_;
};

// Wall seconds of one `xdsp upload --all`; negative when it failed.
double uploadToAll(const std::string &file) {
    std::string command =
        std::string(XDSP_TOOL_PATH) + " --quiet upload " + file + " -f 0 --all >/dev/null";
    auto started = std::chrono::steady_clock::now();
    int status = std::system(command.c_str());
    double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? seconds : -1.0;
}
} // namespace

int main() {
    std::string folder = "/tmp/xdsp-bench-gang-" + std::to_string(getpid());
    mkdir(folder.c_str(), 0700);
    mkdir((folder + "/xdsp").c_str(), 0700);
    setenv("XDG_RUNTIME_DIR", folder.c_str(), 1);
    std::string file = folder + "/upload.bin";
    {
        std::ofstream out(file, std::ios::binary);
        for (size_t i = 0; i < uploadBytes; ++i)
            out.put(static_cast<char>(i * 31 + 7));
    }
    std::printf("xdsp upload --all of %zu KiB\n", uploadBytes / 1024);
    std::printf("%6s  %8s  %s\n", "boards", "wall s", "against one board");
    double one = 0;
    bool met = true;
    for (unsigned boards : {1u, 4u, 8u}) {
        Gang gang(folder + "/xdsp", boards);
        double seconds = uploadToAll(file);
        if (seconds < 0 || gang.size() != boards) {
            std::printf("%6u  upload failed\n", boards);
            met = false;
            continue;
        }
        if (boards == 1)
            one = seconds;
        double ratio = seconds / one;
        std::printf("%6u  %8.2f  %.3f%s\n", boards, seconds, ratio,
                    boards == 8 ? (ratio <= goal ? "  (goal 1.25: met)" : "  (goal 1.25: missed)")
                                : "");
        if (boards == 8)
            met = ratio <= goal;
    }
    std::remove(file.c_str());
    rmdir((folder + "/xdsp").c_str());
    rmdir(folder.c_str());
    return met ? 0 : 1;
}
