// Uploads of 4 KiB, 64 KiB and 256 KiB to the same place, against the floor
// that the upload's own steps imply, with the library's CPU time and memory.
//
// The floor of one upload (read-prefix mode, file already allocated with its
// type, so no erase, allocation, commit or table read happens before the format):
//   specified sleeps: three flushes of 100 ms (one before the format, two around
//   the close), 2000 ms between those two flushes, 2000 ms before the name and
//   date, 1000 ms per second the format reports, and 10 ms after every full
//   data packet;
//   report cycles: a transfer that reads waits for a fresh report (one period
//   from the end of the transfer before it), lets the report in flight pass (one
//   period) and is answered in the report that answers its own (one period):
//   3 periods; a transfer that only writes returns after the second: 2 periods.
// Transfers are counted from the library's own debug lines ("Writing to SPI..."
// opens one; "Valid SPI Response." or "Invalid SPI Response." marks a read).
// The emulator runs in a process of its own, so that this process's CPU time
// and memory are the library's.
#include "emulator_process.h"
#include "soak_resources.h"
#include "xdsp/xdsp.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

namespace {
std::atomic<unsigned> transfers{0};
std::atomic<unsigned> reads{0};
std::atomic<unsigned> packets{0};
std::atomic<unsigned> formatSeconds{0};

bool startsWith(const xdsp_char16 *text, const char *prefix) {
    for (size_t i = 0; prefix[i] != 0; ++i)
        if (text[i] != static_cast<unsigned char>(prefix[i]))
            return false;
    return true;
}

void countSteps(const xdsp_char16 *text, void *) {
    if (startsWith(text, "Writing to SPI..."))
        ++transfers;
    else if (startsWith(text, "Valid SPI Response.") || startsWith(text, "Invalid SPI Response."))
        ++reads;
    else if (startsWith(text, "XMOSBoot_SendFile::Packet"))
        ++packets;
    else if (startsWith(text, "Format took ")) {
        std::string digits;
        for (size_t i = 12; text[i] >= '0' && text[i] <= '9'; ++i)
            digits += static_cast<char>(text[i]);
        formatSeconds += static_cast<unsigned>(std::atoi(digits.c_str()));
    }
}

int32_t XDSP_API ignoreProgress(int32_t, uint32_t) {
    return 0;
}

struct Upload {
    double wallSeconds;
    double cpuSeconds;
    double floorSeconds;
    bool ok;
};

Upload uploadOnce(const std::vector<uint8_t> &data, double periodSeconds) {
    transfers = reads = packets = formatSeconds = 0;
    double cpuStart = processCpuSeconds();
    double wallStart = wallSeconds();
    const xdsp_char16 name[] = {'b', 'e', 'n', 'c', 'h', 0};
    bool ok = BootLoader_Send(0, 0, 0x10000, 0x10000 + 0x40000, name, data.data(),
                              static_cast<uint32_t>(data.size()), 0, ignoreProgress, 0) != 0 &&
              xdsp_last_error() == 0;
    Upload result{wallSeconds() - wallStart, processCpuSeconds() - cpuStart, 0, ok};
    unsigned fullPackets = packets > 0 ? packets - 1 : 0;
    double sleeps = 3 * 0.1 + 2.0 + 2.0 + formatSeconds + 0.010 * fullPackets;
    double cycles = 3.0 * reads + 2.0 * (transfers - reads);
    result.floorSeconds = sleeps + cycles * periodSeconds;
    return result;
}
} // namespace

int main(int argc, char **argv) {
    int repeats = argc > 1 ? std::atoi(argv[1]) : 100; // for the memory check
    xdsp_set_debug_handler(countSteps, nullptr);
    for (const char *period : {"1000", "125"}) {
        double periodSeconds = std::atof(period) / 1e6;
        EmulatorProcess emulator({"--report-period-us", period});
        if (!emulator.running() || !InitializeHIDUSBPacketPath(emulator.widePath().c_str()) ||
            !BootLoader_Init(2, 2)) {
            std::fprintf(stderr, "cannot open the emulator's boot loader\n");
            return 1;
        }
        for (size_t size : {size_t{4096}, size_t{65536}, size_t{262144}}) {
            std::vector<uint8_t> data(size);
            for (size_t i = 0; i < size; ++i)
                data[i] = static_cast<uint8_t>(i * 7 + 3);
            uploadOnce(data, periodSeconds); // the first places the file
            Upload second = uploadOnce(data, periodSeconds);
            std::printf("period %4s us, %6zu bytes: %7.2f s, floor %7.2f s, ratio %.3f "
                        "(goal 1.05); library CPU %.2f %% of wall (goal 5 %%)%s\n",
                        period, size, second.wallSeconds, second.floorSeconds,
                        second.wallSeconds / second.floorSeconds,
                        100.0 * second.cpuSeconds / second.wallSeconds,
                        second.ok ? "" : "  UPLOAD FAILED");
        }
        if (std::strcmp(period, "125") == 0) {
            std::vector<uint8_t> data(4096, 0x5A);
            std::printf("resident memory after upload");
            for (int i = 1; i <= repeats; ++i) {
                uploadOnce(data, periodSeconds);
                if (i == 1 || i == 2 || i % 10 == 0 || i == repeats) {
                    std::printf(" %d: %ld KiB%s", i, countResources().residentKiB,
                                i == repeats ? "" : ",");
                    std::fflush(stdout);
                }
            }
            std::printf(" (goal: flat)\n");
        }
        DestroyHIDUSBPacket();
    }
    return 0;
}
