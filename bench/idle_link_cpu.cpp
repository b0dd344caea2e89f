// CPU used by the library's threads while a link is open to an idle board.
// The poll thread blocks in its read until the next input report, so its cost
// is a write, a wait and a read per report period and nothing in between.
#include "emulator_process.h"
#include "xdsp/xdsp.h"

#include <chrono>
#include <cstdio>
#include <thread>

int main() {
    const double measureSeconds = 3.0;
    for (const char *period : {"1000", "125"}) {
        EmulatorProcess emulator({"--report-period-us", period});
        if (!emulator.running() || !InitializeHIDUSBPacketPath(emulator.widePath().c_str())) {
            std::fprintf(stderr, "cannot open the emulator\n");
            return 1;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        double cpuStart = processCpuSeconds();
        double wallStart = wallSeconds();
        std::this_thread::sleep_for(std::chrono::duration<double>(measureSeconds));
        double cpu = processCpuSeconds() - cpuStart;
        double wall = wallSeconds() - wallStart;
        DestroyHIDUSBPacket();
        std::printf("idle link, report period %4s us: library CPU %.2f %% of one core "
                    "(goal at 1000 us: under 2 %%)\n",
                    period, 100.0 * cpu / wall);
    }
    return 0;
}
