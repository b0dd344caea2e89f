#include "soak_resources.h"

#include <cstdlib>
#include <dirent.h>
#include <fstream>
#include <malloc.h>
#include <string>

namespace {
int entriesIn(const char *directory) {
    DIR *listing = opendir(directory);
    if (listing == nullptr)
        return -1;
    int count = 0;
    while (const dirent *entry = readdir(listing))
        if (entry->d_name[0] != '.')
            ++count;
    closedir(listing);
    return count;
}

long residentKiB() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
        if (line.rfind("VmRSS:", 0) == 0)
            return std::atol(line.c_str() + 6);
    return -1;
}
} // namespace

ResourceCounts countResources() {
    ResourceCounts counts;
    counts.residentKiB = residentKiB();
    counts.heapInUseKiB = static_cast<long>(mallinfo2().uordblks / 1024);
    // The listing's own descriptor is among the entries while it is read.
    counts.descriptors = entriesIn("/proc/self/fd") - 1;
    counts.threads = entriesIn("/proc/self/task");
    return counts;
}
