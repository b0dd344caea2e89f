#include "device_commands.h"
#include "output.h"
#include "text.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <thread>
#include <vector>

namespace {
constexpr unsigned adcChannels = 4;
constexpr uint32_t flashChunk = 256; // the most one flash read carries
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
    Output &output = session.output();
    output.result("Device:  " + session.path());
    output.result("Product: " + session.product());
    output.field("path", session.path());
    return exitSuccess;
}

int showGpio(BoardSession &session, std::optional<uint16_t> outputs) {
    if (int failed = session.open(); failed != exitSuccess)
        return failed;
    Output &output = session.output();
    if (outputs) {
        if (int status = xdsp_board_gpio_write(session.board(), *outputs); status != XDSP_STATUS_OK)
            return session.fail(commandFailure("cannot set the GPIO outputs", status));
        letReportsPass();
        output.result(formatted("GPIO outputs: 0x%04X", *outputs));
    }
    uint16_t inputs = 0;
    xdsp_board_gpio_read(session.board(), &inputs);
    output.result(formatted("GPIO inputs:  0x%04X", inputs));
    output.field("gpio_inputs", inputs);
    return exitSuccess;
}

int showAdc(BoardSession &session) {
    if (int failed = session.open(); failed != exitSuccess)
        return failed;
    xdsp_board *board = session.board();
    if (int status = xdsp_board_adc_enable(board, 1); status != XDSP_STATUS_OK)
        return session.fail(
            commandFailure("the board did not report after sampling was switched on", status));
    letReportsPass();
    uint16_t readings[adcChannels] = {};
    for (unsigned channel = 0; channel < adcChannels; ++channel)
        xdsp_board_adc_read(board, channel, &readings[channel]);
    xdsp_board_adc_enable(board, 0);
    letReportsPass();
    Output &output = session.output();
    for (unsigned channel = 0; channel < adcChannels; ++channel)
        output.result(
            formatted("ADC %u: %5u  (0x%04X)", channel, readings[channel], readings[channel]));
    output.field("adc", readings);
    return exitSuccess;
}

int dumpFlash(BoardSession &session, uint32_t address, uint32_t count) {
    Output &output = session.output();
    if (count == 0 || count > flashReadLimit) {
        return output.fail({exitUsage,
                            "COUNT wants 1 to " + std::to_string(flashReadLimit) + " bytes, not " +
                                std::to_string(count),
                            {},
                            {}});
    }
    if (address > UINT32_MAX - (count - 1))
        return output.fail({exitUsage, "the range runs past the last flash address", {}, {}});
    if (int failed = session.open(); failed != exitSuccess)
        return failed;
    std::vector<uint8_t> bytes(count);
    for (uint32_t done = 0; done < count; done += flashChunk) {
        uint32_t chunk = std::min(flashChunk, count - done);
        if (int status =
                xdsp_board_flash_read(session.board(), address + done, bytes.data() + done, chunk);
            status != XDSP_STATUS_OK)
            return session.fail(commandFailure(
                formatted("cannot read the flash at 0x%08X", address + done), status));
    }
    for (uint32_t offset = 0; offset < count; offset += dumpWidth)
        output.result(
            dumpLine(address + offset, bytes.data() + offset, std::min(dumpWidth, count - offset)));
    return exitSuccess;
}
