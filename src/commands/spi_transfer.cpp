// One SPI transfer through the board's microcontroller (command 0xF030).
#include "commands/spi_transfer.h"
#include "commands/command_sequence.h"
#include "frame/debug.h"
#include "link/link_state.h"
#include "link/report_format.h"

#include <algorithm>
#include <cstring>

namespace xdsp::commands {

namespace {
constexpr size_t writeLengthField = 25;
constexpr size_t writeDataOffset = 27;
constexpr uint16_t modeWordOn = 0x0303;
constexpr uint16_t modeWordOff = 0x0101;
constexpr uint32_t largestFieldValue = 0xFFFF;
} // namespace

void stageSpiSettings(uint8_t *staging, const SpiSettings &settings) {
    link::writeWord(staging, spi::mode, settings.modeFlag != 0 ? modeWordOn : modeWordOff);
    link::writeWord(staging, spi::settingA, settings.spiSettingA);
    link::writeWord(staging, spi::settingB, settings.spiSettingB);
    link::writeWord(staging, spi::select, settings.spiSelect);
    link::writeWord(staging, spi::busyMask, settings.busyMask);
}

int32_t finishSpiTransfer(uint8_t *readData, uint32_t readLength) {
    if (readLength != 0) {
        link::waitForResponse(link::responseTimeoutMs);
        // Copied whether or not the answer came: the buffer was cleared, so a
        // missing or short answer reads as zeros.
        link::loadBytes(readData, link::shared.responseBuffer, readLength);
        if (!link::waitForResponse(0)) {
            debugWrite(WIDE("Invalid SPI Response.\n"));
            debugWrite(WIDE("SPI Complete.\n"));
            os::setLastError(os::error::internalError);
            return 0;
        }
        debugWrite(WIDE("Valid SPI Response.\n"));
    }
    debugWrite(WIDE("SPI Complete.\n"));
    os::setLastError(os::error::success);
    return 1;
}

} // namespace xdsp::commands

extern "C" {

XDSP_EXPORT xdsp_bool XDSP_API WriteSPIEx(uint16_t spiSelect, uint16_t busyMask, int32_t modeFlag,
                                          uint16_t spiSettingA, uint16_t spiSettingB,
                                          const uint8_t *writeData, uint32_t writeLength,
                                          uint8_t *readData, uint32_t readLength) {
    using namespace xdsp;
    using namespace xdsp::commands;
    const Char16 *name = WIDE("WriteSPIEx");
    size_t outputLength = requireLink();
    if (outputLength == 0)
        return 0;
    // Lengths the report or the response buffer cannot take are refused before
    // anything is staged, as are buffers missing for the bytes they should carry.
    if (!reportHolds(name, outputLength, writeDataOffset) ||
        !argumentFits(name, WIDE("writeLength"), writeLength,
                      std::min<size_t>(largestFieldValue, outputLength - writeDataOffset)) ||
        !argumentFits(name, WIDE("readLength"), readLength, responseBufferSize) ||
        !bufferGiven(name, WIDE("writeData"), writeData, writeLength) ||
        !bufferGiven(name, WIDE("readData"), readData, readLength))
        return 0;

    debugWrite(WIDE("Writing to SPI...\n"));
    awaitFreshReport();
    // Bounded so that a board whose busy bits stick cannot hang the caller;
    // the transfer then goes out anyway, as every other command's does.
    waitWhileBusy(defaultBusyBoundMs);
    link::resetResponseEvent();
    SpiSettings settings{spiSelect, busyMask, modeFlag, spiSettingA, spiSettingB};
    bool staged = stage(writeDataOffset + writeLength, [&](uint8_t *staging) {
        link::writeWord(staging, spi::readLength, static_cast<uint16_t>(readLength));
        stageSpiSettings(staging, settings);
        link::writeWord(staging, writeLengthField, static_cast<uint16_t>(writeLength));
        if (writeLength != 0)
            std::memcpy(staging + writeDataOffset, writeData, writeLength);
    });
    if (!staged) {
        linkLost();
        return 0;
    }
    clearResponseBuffer();
    SendCommand(link::command::spiTransfer);
    awaitNextReport();
    return finishSpiTransfer(readData, readLength);
}

XDSP_EXPORT xdsp_bool XDSP_API WriteSPI(uint16_t spiSelect, int32_t modeFlag, uint16_t spiSettingA,
                                        uint16_t spiSettingB, const uint8_t *writeData,
                                        uint32_t writeLength, uint8_t *readData,
                                        uint32_t readLength) {
    return WriteSPIEx(spiSelect, 0, modeFlag, spiSettingA, spiSettingB, writeData, writeLength,
                      readData, readLength);
}
}
