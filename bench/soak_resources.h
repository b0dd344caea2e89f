// What the process holds: resident memory, open descriptors and threads, read
// from /proc/self so that the library's leaks show as growth, and the heap in
// use, which tells a leak from the allocator keeping freed pages.
#pragma once

struct ResourceCounts {
    long residentKiB = 0;
    long heapInUseKiB = 0; // what malloc has handed out and not had back
    int descriptors = 0;
    int threads = 0;
};

ResourceCounts countResources();
