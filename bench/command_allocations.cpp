// Heap allocations while the link runs: none per report cycle, none per command,
// through the exports and through a board handle alike.
#include "emulator_process.h"
#include "xdsp/board.h"
#include "xdsp/xdsp.h"

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <thread>

namespace {
std::atomic<unsigned long> allocations{0};
}

void *operator new(std::size_t size) {
    allocations.fetch_add(1, std::memory_order_relaxed);
    if (void *block = std::malloc(size == 0 ? 1 : size))
        return block;
    throw std::bad_alloc();
}
void *operator new[](std::size_t size) {
    return operator new(size);
}
void *operator new(std::size_t size, const std::nothrow_t &) noexcept {
    allocations.fetch_add(1, std::memory_order_relaxed);
    return std::malloc(size == 0 ? 1 : size);
}
void *operator new[](std::size_t size, const std::nothrow_t &tag) noexcept {
    return operator new(size, tag);
}
void operator delete(void *block) noexcept {
    std::free(block);
}
void operator delete[](void *block) noexcept {
    std::free(block);
}
void operator delete(void *block, std::size_t) noexcept {
    std::free(block);
}
void operator delete[](void *block, std::size_t) noexcept {
    std::free(block);
}

int main() {
    EmulatorProcess emulator({"--report-period-us", "250"});
    if (!emulator.running() || !InitializeHIDUSBPacketPath(emulator.widePath().c_str())) {
        std::fprintf(stderr, "cannot open the emulator\n");
        return 1;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(200));

    unsigned long before = allocations.load();
    std::this_thread::sleep_for(std::chrono::seconds(1)); // about 4000 report cycles
    unsigned long idle = allocations.load() - before;

    const int commands = 2000;
    before = allocations.load();
    for (int i = 0; i < commands; ++i) {
        SendCommand(0xFFFF);
        std::this_thread::sleep_for(std::chrono::microseconds(300));
    }
    unsigned long perCommands = allocations.load() - before;
    DestroyHIDUSBPacket();

    // A board handle: whole commands with answers, each a turn on the board.
    EmulatorProcess other({"--report-period-us", "250"});
    xdsp_board *board = nullptr;
    if (!other.running() ||
        xdsp_board_open(other.path().c_str(), nullptr, &board) != XDSP_STATUS_OK) {
        std::fprintf(stderr, "cannot open the emulator through a handle\n");
        return 1;
    }
    const xdsp_spi_settings settings{2, 0, 0, 3, 50};
    const uint8_t written[2] = {0x52, 0x44};
    uint8_t read[64];
    xdsp_board_spi_transfer(board, &settings, written, 2, read, sizeof read);
    before = allocations.load();
    for (int i = 0; i < commands / 4; ++i)
        xdsp_board_spi_transfer(board, &settings, written, 2, read, sizeof read);
    unsigned long perHandleCommands = allocations.load() - before;
    xdsp_board_close(board);

    std::printf("allocations over ~4000 idle report cycles: %lu (goal 0)\n", idle);
    std::printf("allocations over %d commands: %lu (goal 0)\n", commands, perCommands);
    std::printf("allocations over %d SPI transfers through a board handle: %lu (goal 0)\n",
                commands / 4, perHandleCommands);
    return idle == 0 && perCommands == 0 && perHandleCommands == 0 ? 0 : 1;
}
