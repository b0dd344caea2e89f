// What the process holds: resident memory, open descriptors and threads, read
// from /proc/self so that the library's leaks show as growth.
#pragma once

struct ResourceCounts {
    long residentKiB = 0;
    int descriptors = 0;
    int threads = 0;
};

ResourceCounts countResources();
