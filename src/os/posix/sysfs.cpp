#include "os/posix/sysfs.h"

#include <cstdio>

namespace xdsp::os {

bool readText(const char *path, char *out, size_t capacity) {
    FILE *file = std::fopen(path, "r");
    if (file == nullptr)
        return false;
    size_t count = std::fread(out, 1, capacity - 1, file);
    std::fclose(file);
    out[count] = 0;
    return true;
}

} // namespace xdsp::os
