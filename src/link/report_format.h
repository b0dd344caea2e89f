// The two HID reports spoken with the board's microcontroller. Offsets count
// from the report-ID byte; 16-bit fields are little-endian.
#pragma once

#include <cstddef>
#include <cstdint>

namespace xdsp::link {

inline constexpr uint16_t reportMagic = 0x4452;

namespace output {
inline constexpr size_t magic = 1;
inline constexpr size_t sequence = 3;
inline constexpr size_t sequenceHigh = 4;
inline constexpr size_t reserved = 5;
inline constexpr size_t gpioOutput = 7;
inline constexpr size_t command = 9;
inline constexpr size_t checksum = 11;
inline constexpr size_t payload = 13;
} // namespace output

namespace input {
inline constexpr size_t magic = 2;
inline constexpr size_t sequence = 4;
inline constexpr size_t status = 5;
inline constexpr size_t adcSample = 6;
inline constexpr size_t gpio = 8;
inline constexpr size_t response = 10;
inline constexpr size_t checksum = 12;
inline constexpr size_t payload = 14;
inline constexpr size_t payloadEnd = 514; // one past the last payload byte
// The dispatch reads up to payloadEnd, so input buffers are never smaller.
inline constexpr size_t minimumBuffer = payloadEnd;
} // namespace input

namespace status {
inline constexpr uint8_t busy = 0x03;
inline constexpr uint8_t payload = 0x04;
inline constexpr uint8_t error = 0x80;
} // namespace status

namespace command {
inline constexpr uint16_t init = 0xF000;
inline constexpr uint16_t requestLayout = 0xF001;
inline constexpr uint16_t adcOn = 0xF00B;
inline constexpr uint16_t adcOff = 0xF00C;
inline constexpr uint16_t writeFlash = 0xF010;
inline constexpr uint16_t boot = 0xF011;
inline constexpr uint16_t suspend = 0xF012;
inline constexpr uint16_t bootSecondForm = 0xF013;
inline constexpr uint16_t readFlash = 0xF020;
inline constexpr uint16_t spiTransfer = 0xF030;
inline constexpr uint16_t spiBatch = 0xF031;
inline constexpr uint16_t writePellix = 0xF101;
inline constexpr uint16_t setPin = 0xF200;
inline constexpr uint16_t getPin = 0xF201;
inline constexpr uint16_t writeCalibration = 0xF224;
inline constexpr uint16_t readCalibration = 0xF225;
inline constexpr uint16_t tedsTransfer = 0xF330;
inline constexpr uint16_t applyGpio = 0xFFFF;
} // namespace command

namespace response {
inline constexpr uint16_t productName = 0xF000;
inline constexpr uint16_t layout = 0xF001; // our firmware's answer to 0xF001
inline constexpr uint16_t flashRead = 0xF020;
inline constexpr uint16_t spiTransfer = 0xF030;
inline constexpr uint16_t spiBatch = 0xF031;
inline constexpr uint16_t pellix = 0xF100;
inline constexpr uint16_t pin = 0xF201;
inline constexpr uint16_t calibration = 0xF225;
inline constexpr uint16_t teds = 0xF330;
} // namespace response

inline uint16_t readWord(const uint8_t *report, size_t offset) {
    return static_cast<uint16_t>(report[offset] | (report[offset + 1] << 8));
}

inline void writeWord(uint8_t *report, size_t offset, uint16_t value) {
    report[offset] = static_cast<uint8_t>(value & 0xFF);
    report[offset + 1] = static_cast<uint8_t>(value >> 8);
}

inline uint16_t outputChecksum(uint16_t reserved, uint16_t gpioOutput, uint16_t commandCode) {
    return static_cast<uint16_t>(~(reportMagic + reserved + gpioOutput + commandCode));
}

inline uint16_t inputChecksum(uint16_t adcSample, uint16_t gpio, uint16_t responseCode) {
    return static_cast<uint16_t>(~(reportMagic + adcSample + gpio + responseCode));
}

// Writes the header of a staged command and returns nothing; the caller passes
// the sequence counter value it took.
void buildOutputHeader(uint8_t *report, uint16_t commandCode, uint16_t gpioOutput,
                       uint16_t sequenceCounter);

} // namespace xdsp::link
