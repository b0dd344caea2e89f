// The board's own commands other than SPI transfers, as the exports call them.
// Each sets the last-error as its export documents.
#pragma once

#include "link/link.h"

#include <cstddef>
#include <cstdint>

namespace xdsp::commands {

// Flash by address; at most 256 bytes a call, larger counts are cut.
bool writeFlash(link::Link &link, uint32_t address, uint16_t flashWord, const uint8_t *data,
                uint32_t count);
bool readFlash(link::Link &link, uint32_t address, uint8_t *buffer, uint32_t count);

bool setPins(link::Link &link, uint16_t pins);
uint16_t getPins(link::Link &link);

bool tedsTransfer(link::Link &link, uint16_t control, const uint8_t *writeData, uint32_t writeCount,
                  uint8_t *readData, uint32_t readCount);

bool writeCalibration(link::Link &link, const uint8_t *block);
int32_t readCalibration(link::Link &link, uint8_t *block);

void bootBoard(link::Link &link, bool firstForm);
void suspendBoard(link::Link &link);

// Board outputs: GPIO, ADC sampling, the Pellix record.
void setGpioOutputs(link::Link &link, uint16_t gpioOut);
uint32_t enableAdc(link::Link &link, bool enable);
void writePellix(link::Link &link, uint32_t valueA, uint16_t valueB, uint8_t valueC);

// Board state the poll thread keeps, and the records the board sends.
uint16_t gpioInputs(link::Link &link);
uint16_t adcValue(link::Link &link, uint32_t channel);
bool deviceInitialized(link::Link &link);
void productNameRecord(link::Link &link, uint8_t *record);
void requestLayout(link::Link &link);
uint32_t layoutRecord(link::Link &link, uint8_t *record);
void pellixRecord(link::Link &link, uint8_t *record);

} // namespace xdsp::commands
