#include "device_commands.h"
#include "output.h"
#include "text.h"

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

std::string dumpLine(uint32_t address, const uint8_t *bytes, uint32_t count) {
    std::string line = formatted("%08X ", address);
    for (uint32_t i = 0; i < dumpWidth; ++i)
        line += i < count ? formatted(" %02X", bytes[i]) : "   ";
    line += "  |";
    for (uint32_t i = 0; i < count; ++i)
        line += bytes[i] >= 0x20 && bytes[i] < 0x7F ? static_cast<char>(bytes[i]) : '.';
    return line + "|";
}
} // namespace

int showInfo(BoardSession &session) {
    if (int failed = session.open(); failed != exitSuccess)
        return failed;
    Output &output = Output::get();
    output.result("Device:  " + session.path());
    output.result("Product: " + session.product());
    output.field("path", session.path());
    return exitSuccess;
}

int showGpio(BoardSession &session, std::optional<uint16_t> output) {
    if (int failed = session.open(); failed != exitSuccess)
        return failed;
    if (output) {
        SetGPIOOut(*output);
        letReportsPass();
        Output::get().result(formatted("GPIO outputs: 0x%04X", *output));
    }
    uint16_t inputs = GetGPIOIn();
    Output::get().result(formatted("GPIO inputs:  0x%04X", inputs));
    Output::get().field("gpio_inputs", inputs);
    return exitSuccess;
}

int showAdc(BoardSession &session) {
    if (int failed = session.open(); failed != exitSuccess)
        return failed;
    if (XMOS_EnableADC(1) != 0)
        return Output::get().fail(
            commandFailure("the board did not report after sampling was switched on", lastError()));
    letReportsPass();
    uint16_t readings[adcChannels];
    for (uint32_t channel = 0; channel < adcChannels; ++channel)
        readings[channel] = GetADCIn(channel);
    XMOS_EnableADC(0);
    letReportsPass();
    for (uint32_t channel = 0; channel < adcChannels; ++channel)
        Output::get().result(
            formatted("ADC %u: %5u  (0x%04X)", channel, readings[channel], readings[channel]));
    Output::get().field("adc", readings);
    return exitSuccess;
}

int dumpFlash(BoardSession &session, uint32_t address, uint32_t count) {
    if (count == 0 || count > flashReadLimit) {
        return Output::get().fail({exitUsage,
                                   "COUNT wants 1 to " + std::to_string(flashReadLimit) +
                                       " bytes, not " + std::to_string(count),
                                   {},
                                   {}});
    }
    if (address > UINT32_MAX - (count - 1)) {
        return Output::get().fail(
            {exitUsage, "the range runs past the last flash address", {}, {}});
    }
    if (int failed = session.open(); failed != exitSuccess)
        return failed;
    std::vector<uint8_t> bytes(count);
    for (uint32_t done = 0; done < count; done += flashChunk) {
        uint32_t chunk = std::min(flashChunk, count - done);
        if (!ReadFLASH(address + done, bytes.data() + done, chunk)) {
            char what[64];
            std::snprintf(what, sizeof what, "cannot read the flash at 0x%08X", address + done);
            return Output::get().fail(commandFailure(what, lastError()));
        }
    }
    for (uint32_t offset = 0; offset < count; offset += dumpWidth)
        Output::get().result(
            dumpLine(address + offset, bytes.data() + offset, std::min(dumpWidth, count - offset)));
    return exitSuccess;
}
