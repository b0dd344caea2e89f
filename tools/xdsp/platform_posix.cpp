#include "platform.h"

#include <cerrno>
#include <cstdlib>
#include <pthread.h>
#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {
bool makeFolder(const std::string &path, mode_t mode) {
    if (mkdir(path.c_str(), mode) == 0)
        return true;
    struct stat info {};
    return errno == EEXIST && stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

// Creates each missing folder of path, as mkdir -p.
bool makeFolders(const std::string &path, mode_t mode) {
    for (size_t slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1))
        makeFolder(path.substr(0, slash), mode);
    return makeFolder(path, mode);
}

std::string homeFolder() {
    const char *home = std::getenv("HOME");
    if (home != nullptr && *home != 0)
        return home;
    const passwd *entry = getpwuid(getuid());
    return entry != nullptr ? entry->pw_dir : "/tmp";
}

const char *environment(const char *name) {
    const char *value = std::getenv(name);
    return value != nullptr && *value != 0 ? value : nullptr;
}

pthread_mutex_t outputMutex = PTHREAD_MUTEX_INITIALIZER;

void *runJob(void *job) {
    (*static_cast<const std::function<void()> *>(job))();
    return nullptr;
}
} // namespace

bool stdoutIsTerminal() {
    return isatty(STDOUT_FILENO) != 0;
}

std::string runtimeFolder() {
    const char *runtime = environment("XDG_RUNTIME_DIR");
    std::string folder = runtime != nullptr ? std::string(runtime) + "/xdsp"
                                            : "/tmp/xdsp-" + std::to_string(getuid());
    if (!makeFolders(folder, 0700))
        return {};
    // A shared /tmp could hand us a folder someone else made.
    struct stat info {};
    if (stat(folder.c_str(), &info) != 0 || info.st_uid != getuid())
        return {};
    return folder;
}

std::string builtInFlashImage() {
    const char *state = environment("XDG_STATE_HOME");
    std::string folder =
        (state != nullptr ? std::string(state) : homeFolder() + "/.local/state") + "/xdsp";
    makeFolders(folder, 0700);
    return folder + "/builtin-flash.img";
}

std::string emulatorEndpoint(unsigned number) {
    return runtimeFolder() + "/emu-" + std::to_string(number) + ".sock";
}

std::string builtInEndpoint() {
    std::string folder = runtimeFolder();
    return (folder.empty() ? "/tmp" : folder) + "/builtin-" + std::to_string(getpid()) + ".sock";
}

std::vector<std::string> utf8Arguments(int argc, char **argv) {
    return {argv + 1, argv + argc};
}

void runSideBySide(const std::vector<std::function<void()>> &jobs) {
    std::vector<pthread_t> threads;
    for (const std::function<void()> &job : jobs) {
        pthread_t thread;
        if (pthread_create(&thread, nullptr, runJob, const_cast<std::function<void()> *>(&job)) ==
            0)
            threads.push_back(thread);
        else
            job();
    }
    for (pthread_t thread : threads)
        pthread_join(thread, nullptr);
}

OutputLock::OutputLock() {
    pthread_mutex_lock(&outputMutex);
}

OutputLock::~OutputLock() {
    pthread_mutex_unlock(&outputMutex);
}
