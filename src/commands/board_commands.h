// The board's own commands other than SPI transfers, as the exports call them.
// Each sets the last-error as its export documents.
#pragma once

#include <cstddef>
#include <cstdint>

namespace xdsp::commands {

// Flash by address; at most 256 bytes a call, larger counts are cut.
bool writeFlash(uint32_t address, uint16_t flashWord, const uint8_t *data, uint32_t count);
bool readFlash(uint32_t address, uint8_t *buffer, uint32_t count);

bool setPins(uint16_t pins);
uint16_t getPins();

bool tedsTransfer(uint16_t control, const uint8_t *writeData, uint32_t writeCount,
                  uint8_t *readData, uint32_t readCount);

bool writeCalibration(const uint8_t *block);
int32_t readCalibration(uint8_t *block);

void bootBoard(bool firstForm);
void suspendBoard();

// Board outputs: GPIO, ADC sampling, the Pellix record.
void setGpioOutputs(uint16_t gpioOut);
uint32_t enableAdc(bool enable);
void writePellix(uint32_t valueA, uint16_t valueB, uint8_t valueC);

// Board state the poll thread keeps, and the records the board sends.
uint16_t gpioInputs();
uint16_t adcValue(uint32_t channel);
bool deviceInitialized();
void productNameRecord(uint8_t *record);
void requestLayout();
uint32_t layoutRecord(uint8_t *record);
void pellixRecord(uint8_t *record);

} // namespace xdsp::commands
