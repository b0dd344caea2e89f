#include "device_commands.h"
#include "board_session.h"
#include "text_output.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <thread>
#include <vector>

namespace {
constexpr uint32_t adcChannels = 4;
constexpr uint32_t flashChunk = 256; // the most one ReadFLASH carries
constexpr uint32_t dumpWidth = 16;

// The poll thread sends a staged command with a later output report, and
// sampling fills one channel per input report; a board reports about every
// millisecond, so this covers both many times over.
void letReportsPass() {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
}

void printDumpLine(uint32_t address, const uint8_t *bytes, uint32_t count) {
    std::printf("%08X ", address);
    for (uint32_t i = 0; i < dumpWidth; ++i) {
        if (i < count)
            std::printf(" %02X", bytes[i]);
        else
            std::printf("   ");
    }
    std::printf("  |");
    for (uint32_t i = 0; i < count; ++i)
        std::putchar(bytes[i] >= 0x20 && bytes[i] < 0x7F ? bytes[i] : '.');
    std::printf("|\n");
}
} // namespace

int showGpio(const std::string &devicePath, std::optional<uint16_t> output) {
    BoardSession session(devicePath);
    if (!session.open())
        return 1;
    if (output) {
        SetGPIOOut(*output);
        letReportsPass();
        std::printf("GPIO outputs: 0x%04X\n", *output);
    }
    std::printf("GPIO inputs:  0x%04X\n", GetGPIOIn());
    return 0;
}

int showAdc(const std::string &devicePath) {
    BoardSession session(devicePath);
    if (!session.open())
        return 1;
    if (XMOS_EnableADC(1) != 0)
        return failure("the board did not report after sampling was switched on");
    letReportsPass();
    uint16_t readings[adcChannels];
    for (uint32_t channel = 0; channel < adcChannels; ++channel)
        readings[channel] = GetADCIn(channel);
    XMOS_EnableADC(0);
    letReportsPass();
    for (uint32_t channel = 0; channel < adcChannels; ++channel)
        std::printf("ADC %u: %5u  (0x%04X)\n", channel, readings[channel], readings[channel]);
    return 0;
}

int dumpFlash(const std::string &devicePath, uint32_t address, uint32_t count) {
    if (count == 0 || count > flashReadLimit) {
        std::fprintf(stderr, "xdsp: COUNT wants 1 to %u bytes, not %u\n", flashReadLimit, count);
        return 2;
    }
    if (address > UINT32_MAX - (count - 1)) {
        std::fprintf(stderr, "xdsp: the range runs past the last flash address\n");
        return 2;
    }
    BoardSession session(devicePath);
    if (!session.open())
        return 1;
    std::vector<uint8_t> bytes(count);
    for (uint32_t done = 0; done < count; done += flashChunk) {
        uint32_t chunk = std::min(flashChunk, count - done);
        if (!ReadFLASH(address + done, bytes.data() + done, chunk)) {
            char what[64];
            std::snprintf(what, sizeof what, "cannot read the flash at 0x%08X", address + done);
            return failure(what);
        }
    }
    for (uint32_t offset = 0; offset < count; offset += dumpWidth)
        printDumpLine(address + offset, bytes.data() + offset, std::min(dumpWidth, count - offset));
    return 0;
}
