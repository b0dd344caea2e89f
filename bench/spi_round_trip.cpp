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
//
// Both APIs are measured in one run: the flat exports and a board handle,
// whose whole-call lock and reporter must cost no report cycle.
#include "emulator_process.h"
#include "xdsp/board.h"
#include "xdsp/xdsp.h"

#include <chrono>
#include <cstdio>
#include <ctime>
#include <thread>

namespace {
constexpr double floorCycles = 3.0;

// The same four steps through either API.
struct Api {
    const char *name;
    bool (*open)(const EmulatorProcess &emulator);
    void (*close)();
    void (*waitOneReport)();
    bool (*transfer)(const uint8_t *written, uint32_t writeLength, uint8_t *read,
                     uint32_t readLength);
};

xdsp_board *handle = nullptr;

const Api flatApi = {
    "exports",
    [](const EmulatorProcess &emulator) {
        return InitializeHIDUSBPacketPath(emulator.widePath().c_str()) != 0;
    },
    [] { DestroyHIDUSBPacket(); },
    // Switching the ADC off waits for the next input report.
    [] { XMOS_EnableADC(0); },
    [](const uint8_t *written, uint32_t writeLength, uint8_t *read, uint32_t readLength) {
        return WriteSPIEx(2, 0, 0, 3, 50, written, writeLength, read, readLength) != 0;
    },
};

const Api boardApi = {
    "board handle",
    [](const EmulatorProcess &emulator) {
        return xdsp_board_open(emulator.path().c_str(), nullptr, &handle) == XDSP_STATUS_OK;
    },
    [] {
        xdsp_board_close(handle);
        handle = nullptr;
    },
    [] { xdsp_board_adc_enable(handle, 0); },
    [](const uint8_t *written, uint32_t writeLength, uint8_t *read, uint32_t readLength) {
        const xdsp_spi_settings settings{2, 0, 0, 3, 50};
        return xdsp_board_spi_transfer(handle, &settings, written, writeLength, read, readLength) ==
               XDSP_STATUS_OK;
    },
};

double callerCpuSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

struct IdleCycle {
    double seconds;    // mean length of a poll cycle
    double cpuSeconds; // the poll loop's own CPU time in one cycle
};

// The mean cycle, through the public API: each call waits for one report, so
// it lasts one poll cycle. Then the poll loop's CPU time per cycle, over half a
// second in which this thread sleeps.
IdleCycle idleCycle(const Api &api, int reports) {
    api.waitOneReport();
    double start = wallSeconds();
    for (int i = 0; i < reports; ++i)
        api.waitOneReport();
    double seconds = (wallSeconds() - start) / reports;
    double cpuStart = processCpuSeconds();
    double wallStart = wallSeconds();
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    double cycles = (wallSeconds() - wallStart) / seconds;
    return {seconds, (processCpuSeconds() - cpuStart) / cycles};
}

bool measure(const Api &api, const char *periodText, double periodSeconds, int transfers) {
    EmulatorProcess emulator({"--report-period-us", periodText});
    if (!emulator.running() || !api.open(emulator)) {
        std::fprintf(stderr, "cannot open the emulator\n");
        return false;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    IdleCycle idle = idleCycle(api, transfers);
    double cycle = idle.seconds;

    const uint8_t readPrefix[] = {0x52, 0x44};
    uint8_t reply[64];
    for (int i = 0; i < 20; ++i)
        api.transfer(readPrefix, 2, reply, sizeof reply);
    int failed = 0;
    double cpuStart = processCpuSeconds();
    double callerStart = callerCpuSeconds();
    double wallStart = wallSeconds();
    for (int i = 0; i < transfers; ++i)
        failed += api.transfer(readPrefix, 2, reply, sizeof reply) ? 0 : 1;
    double wall = (wallSeconds() - wallStart) / transfers;
    double cpu = (processCpuSeconds() - cpuStart) / transfers;
    double caller = (callerCpuSeconds() - callerStart) / transfers;
    api.close();

    double periods = wall / periodSeconds;
    std::printf(
        "%-12s report period %4s us: %.0f us a transfer = %.2f periods (floor %.0f: %+.1f %%); "
        "idle cycle %.0f us, so %.2f cycles (floor %.0f: %+.1f %%)\n",
        api.name, periodText, wall * 1e6, periods, floorCycles,
        100.0 * (periods / floorCycles - 1.0), cycle * 1e6, wall / cycle, floorCycles,
        100.0 * (wall / cycle / floorCycles - 1.0));
    std::printf("                                    library CPU %.1f us a transfer, %.2f %% of "
                "its wall time "
                "(goal under 5 %%); %d of %d failed\n",
                cpu * 1e6, 100.0 * cpu / wall, failed, transfers);
    std::printf("                                    of it: calling thread %.1f us (%.2f %%); the "
                "poll loop's "
                "write and read, %.1f us a cycle even when idle, %.2f %% at this cycle\n",
                caller * 1e6, 100.0 * caller / wall, idle.cpuSeconds * 1e6,
                100.0 * idle.cpuSeconds / cycle);
    return failed == 0;
}
} // namespace

int main() {
    bool ok = true;
    for (const Api *api : {&flatApi, &boardApi}) {
        ok = measure(*api, "1000", 1e-3, 600) && ok;
        ok = measure(*api, "125", 125e-6, 3000) && ok;
    }
    return ok ? 0 : 1;
}
