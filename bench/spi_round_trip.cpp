// WriteSPIEx round trips with a 64-byte read, at report periods of 1 ms and
// 125 us, against the floor that the transaction's own steps imply.
//
// The floor, in poll cycles of one report period each. A call in a loop starts
// just after the report that carried the previous answer; by then the poll
// thread has written its next output report, so:
//   1. the fresh report the call waits for first ends that cycle: 1 period;
//   2. the command is staged right after it, while the poll thread is already
//      in the next cycle with the old output report (the cycle in flight);
//      the report the call waits for after sending ends it: 1 period;
//   3. the command goes out in the following cycle, whose report carries the
//      answer: 1 period.
// Three periods in all. When the caller stages before the poll thread begins
// its next cycle, the command rides the cycle in flight and the call takes two.
//
// The cycle itself is a little longer than the period: the emulator answers one
// period after it receives each output report, and the trip through the socket
// and the poll thread's wake-up come on top. The measured idle cycle is printed
// too, with the floor in those cycles.
//
// CPU: the poll loop writes and reads one report every cycle whether a call
// waits or not; its idle cost per cycle is printed beside the transfer's, as
// it bounds from below what share of the wall time any transfer can take.
#include "emulator_process.h"
#include "xdsp/xdsp.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <thread>

namespace {
constexpr double floorCycles = 3.0;

double callerCpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

struct IdleCycle {
    double seconds;    // mean length of a poll cycle
    double cpuSeconds; // the poll loop's own CPU time in one cycle
};

// The mean cycle, through the public API: switching the ADC off waits for the
// next input report, so each call lasts one poll cycle. Then the poll loop's
// CPU time per cycle, over half a second in which this thread sleeps.
IdleCycle idleCycle(int reports) {
    XMOS_EnableADC(0);
    double start = wallSeconds();
    for (int i = 0; i < reports; ++i)
        XMOS_EnableADC(0);
    double seconds = (wallSeconds() - start) / reports;
    double cpuStart = processCpuSeconds();
    double wallStart = wallSeconds();
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    double cycles = (wallSeconds() - wallStart) / seconds;
    return {seconds, (processCpuSeconds() - cpuStart) / cycles};
}

bool measure(const char *periodText, double periodSeconds, int transfers) {
    EmulatorProcess emulator({"--report-period-us", periodText});
    if (!emulator.running() || !InitializeHIDUSBPacketPath(emulator.widePath().c_str())) {
        std::fprintf(stderr, "cannot open the emulator\n");
        return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    IdleCycle idle = idleCycle(transfers);
    double cycle = idle.seconds;

    const uint8_t readPrefix[] = {0x52, 0x44};
    uint8_t reply[64];
    for (int i = 0; i < 20; ++i)
        WriteSPIEx(2, 0, 0, 3, 50, readPrefix, 2, reply, sizeof reply);
    int failed = 0;
    double cpuStart = processCpuSeconds();
    double callerStart = callerCpuSeconds();
    double wallStart = wallSeconds();
    for (int i = 0; i < transfers; ++i)
        failed += WriteSPIEx(2, 0, 0, 3, 50, readPrefix, 2, reply, sizeof reply) ? 0 : 1;
    double wall = (wallSeconds() - wallStart) / transfers;
    double cpu = (processCpuSeconds() - cpuStart) / transfers;
    double caller = (callerCpuSeconds() - callerStart) / transfers;
    DestroyHIDUSBPacket();

    double periods = wall / periodSeconds;
    std::printf("report period %4s us: %.0f us a transfer = %.2f periods (floor %.0f: %+.1f %%); "
                "idle cycle %.0f us, so %.2f cycles (floor %.0f: %+.1f %%)\n",
                periodText, wall * 1e6, periods, floorCycles, 100.0 * (periods / floorCycles - 1.0),
                cycle * 1e6, wall / cycle, floorCycles, 100.0 * (wall / cycle / floorCycles - 1.0));
    std::printf("                       library CPU %.1f us a transfer, %.2f %% of its wall time "
                "(goal under 5 %%); %d of %d failed\n",
                cpu * 1e6, 100.0 * cpu / wall, failed, transfers);
    std::printf("                       of it: calling thread %.1f us (%.2f %%); the poll loop's "
                "write and read, %.1f us a cycle even when idle, %.2f %% at this cycle\n",
                caller * 1e6, 100.0 * caller / wall, idle.cpuSeconds * 1e6,
                100.0 * idle.cpuSeconds / cycle);
    return failed == 0;
}
} // namespace

int main() {
    bool ok = measure("1000", 1e-3, 600);
    ok = measure("125", 125e-6, 3000) && ok;
    return ok ? 0 : 1;
}
