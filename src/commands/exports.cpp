// The device commands' exported functions.
#include "commands/board_commands.h"
#include "commands/spi_transfer.h"
#include "link/link.h"
#include "xdsp/xdsp.h"

// Every export acts on the one link of the process.
using xdsp::link::processLink;

extern "C" {

XDSP_EXPORT xdsp_bool XDSP_API WriteSPIEx(uint16_t spiSelect, uint16_t busyMask, int32_t modeFlag,
                                          uint16_t spiSettingA, uint16_t spiSettingB,
                                          const uint8_t *writeData, uint32_t writeLength,
                                          uint8_t *readData, uint32_t readLength) {
    xdsp::commands::SpiSettings settings{spiSelect, busyMask, modeFlag, spiSettingA, spiSettingB};
    return xdsp::commands::spiTransfer(processLink(), settings, writeData, writeLength, readData,
                                       readLength)
               ? 1
               : 0;
}

// compat: WriteSPI always passes busy mask 0.
XDSP_EXPORT xdsp_bool XDSP_API WriteSPI(uint16_t spiSelect, int32_t modeFlag, uint16_t spiSettingA,
                                        uint16_t spiSettingB, const uint8_t *writeData,
                                        uint32_t writeLength, uint8_t *readData,
                                        uint32_t readLength) {
    xdsp::commands::SpiSettings settings{spiSelect, 0, modeFlag, spiSettingA, spiSettingB};
    return xdsp::commands::spiTransfer(processLink(), settings, writeData, writeLength, readData,
                                       readLength)
               ? 1
               : 0;
}

XDSP_EXPORT xdsp_bool XDSP_API BatchSPI(uint16_t spiSelect, uint16_t busyMask, int32_t modeFlag,
                                        uint16_t spiSettingA, uint16_t spiSettingB,
                                        const uint8_t *batchList, uint32_t batchListLength,
                                        const uint8_t *batchData, uint32_t batchDataLength,
                                        uint8_t *readData, uint32_t readLength) {
    xdsp::commands::SpiSettings settings{spiSelect, busyMask, modeFlag, spiSettingA, spiSettingB};
    return xdsp::commands::spiBatch(processLink(), settings, batchList, batchListLength, batchData,
                                    batchDataLength, readData, readLength)
               ? 1
               : 0;
}

XDSP_EXPORT uint16_t XDSP_API GetGPIOIn(void) {
    return xdsp::commands::gpioInputs(processLink());
}

XDSP_EXPORT void XDSP_API SetGPIOOut(uint16_t gpioOut) {
    xdsp::commands::setGpioOutputs(processLink(), gpioOut);
}

XDSP_EXPORT uint16_t XDSP_API GetADCIn(uint32_t channel) {
    return xdsp::commands::adcValue(processLink(), channel);
}

XDSP_EXPORT uint32_t XDSP_API XMOS_EnableADC(int32_t enable) {
    return xdsp::commands::enableAdc(processLink(), enable != 0);
}

XDSP_EXPORT xdsp_bool XDSP_API IsDeviceInitialized(void) {
    return xdsp::commands::deviceInitialized(processLink()) ? 1 : 0;
}

XDSP_EXPORT void XDSP_API GetProductNameStruct(uint8_t *record) {
    xdsp::commands::productNameRecord(processLink(), record);
}

XDSP_EXPORT void XDSP_API RequestLayoutStruct(void) {
    xdsp::commands::requestLayout(processLink());
}

XDSP_EXPORT uint32_t XDSP_API GetLayoutStruct(uint8_t *record) {
    return xdsp::commands::layoutRecord(processLink(), record);
}

XDSP_EXPORT void XDSP_API GetPellixStruct(uint8_t *record) {
    xdsp::commands::pellixRecord(processLink(), record);
}

// compat: the result means nothing; it is 0 also after a success.
XDSP_EXPORT xdsp_bool XDSP_API WritePellix(uint32_t valueA, uint16_t valueB, uint8_t valueC) {
    xdsp::commands::writePellix(processLink(), valueA, valueB, valueC);
    return 0;
}

XDSP_EXPORT void XDSP_API BootDevice(int32_t bootFlag) {
    xdsp::commands::bootBoard(processLink(), bootFlag != 0);
}

XDSP_EXPORT void XDSP_API SuspendDevice(void) {
    xdsp::commands::suspendBoard(processLink());
}

XDSP_EXPORT xdsp_bool XDSP_API WriteFLASH(uint32_t address, uint16_t flashWord, const uint8_t *data,
                                          uint32_t count) {
    return xdsp::commands::writeFlash(processLink(), address, flashWord, data, count) ? 1 : 0;
}

XDSP_EXPORT xdsp_bool XDSP_API ReadFLASH(uint32_t address, uint8_t *buffer, uint32_t count) {
    return xdsp::commands::readFlash(processLink(), address, buffer, count) ? 1 : 0;
}

// compat: the first argument is accepted and not sent; it has no meaning to the board.
XDSP_EXPORT xdsp_bool XDSP_API SetPIN(uint32_t, uint16_t pins) {
    return xdsp::commands::setPins(processLink(), pins) ? 1 : 0;
}

XDSP_EXPORT uint16_t XDSP_API GetPIN(void) {
    return xdsp::commands::getPins(processLink());
}

XDSP_EXPORT xdsp_bool XDSP_API WriteTEDS(uint16_t control, const uint8_t *writeData,
                                         uint32_t writeCount, uint8_t *readData,
                                         uint32_t readCount) {
    return xdsp::commands::tedsTransfer(processLink(), control, writeData, writeCount, readData,
                                        readCount)
               ? 1
               : 0;
}

XDSP_EXPORT xdsp_bool XDSP_API WriteCalibrate(const uint8_t *block) {
    return xdsp::commands::writeCalibration(processLink(), block) ? 1 : 0;
}

XDSP_EXPORT int32_t XDSP_API ReadCalibrate(uint8_t *block) {
    return xdsp::commands::readCalibration(processLink(), block);
}
}
