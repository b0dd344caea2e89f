// The endpoints of this user's running emulators: sockets in the per-user
// runtime folder, which is only read here, never made.
#include "os/os.h"
#include "os/posix/utf8_path.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace xdsp::os {

namespace {
std::string runtimeFolder() {
    const char *runtime = std::getenv("XDG_RUNTIME_DIR");
    if (runtime != nullptr && *runtime != 0)
        return std::string(runtime) + "/xdsp";
    return "/tmp/xdsp-" + std::to_string(getuid());
}

bool isEndpointName(const std::string &name) {
    return name.size() > 9 && name.compare(0, 4, "emu-") == 0 &&
           name.compare(name.size() - 5, 5, ".sock") == 0;
}
} // namespace

size_t emulatorEndpoints(Char16 (*paths)[XDSP_DEVICE_PATH_CHARS], size_t capacity) {
    std::string folder = runtimeFolder();
    struct stat info {};
    // A shared /tmp could hold a folder of someone else's making.
    if (stat(folder.c_str(), &info) != 0 || info.st_uid != getuid())
        return 0;
    DIR *directory = opendir(folder.c_str());
    if (directory == nullptr)
        return 0;
    std::vector<std::string> names;
    while (const dirent *entry = readdir(directory))
        if (isEndpointName(entry->d_name))
            names.emplace_back(entry->d_name);
    closedir(directory);
    // emu-2 before emu-10.
    std::sort(names.begin(), names.end(), [](const std::string &a, const std::string &b) {
        return a.size() != b.size() ? a.size() < b.size() : a < b;
    });
    size_t written = 0;
    for (const std::string &name : names) {
        if (written == capacity)
            break;
        std::string path = folder + "/" + name;
        if (path.size() < XDSP_DEVICE_PATH_CHARS)
            utf8ToText(path.c_str(), paths[written++], XDSP_DEVICE_PATH_CHARS);
    }
    return written;
}

} // namespace xdsp::os
