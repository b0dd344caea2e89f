// Where the fields of the two reports lie, as the board's firmware reads and
// writes them. Offsets count from the report-ID byte; words are little-endian.
// Every access is bounded by the report's length: reads past the end give 0,
// writes past the end are dropped.
#pragma once

#include <cstddef>
#include <cstdint>

namespace xdsp::emu::report {

inline constexpr uint16_t magic = 0x4452;

namespace out { // host to board
inline constexpr size_t magic = 1;
inline constexpr size_t sequence = 3;
inline constexpr size_t reserved = 5;
inline constexpr size_t gpioOutputs = 7;
inline constexpr size_t code = 9;
inline constexpr size_t checksum = 11;
inline constexpr size_t headerLength = 13;
} // namespace out

namespace in { // board to host
inline constexpr size_t magic = 2;
inline constexpr size_t sequence = 4;
inline constexpr size_t status = 5;
inline constexpr size_t adcSample = 6;
inline constexpr size_t gpioInputs = 8;
inline constexpr size_t code = 10;
inline constexpr size_t checksum = 12;
inline constexpr size_t payload = 14;
} // namespace in

namespace status {
inline constexpr uint8_t busy = 0x01; // one of the two busy bits (0x03) is enough for the host
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
inline constexpr uint16_t setPins = 0xF200;
inline constexpr uint16_t getPins = 0xF201;
inline constexpr uint16_t writeCalibration = 0xF224;
inline constexpr uint16_t readCalibration = 0xF225;
inline constexpr uint16_t tedsTransfer = 0xF330;
inline constexpr uint16_t setGpioOutputs = 0xFFFF;
} // namespace command

// Answers that are not the code of the command they answer.
namespace response {
inline constexpr uint16_t pellix = 0xF100;
} // namespace response

// Both directions use the same rule: the inverted 16-bit sum of four words.
inline uint16_t checksum(uint16_t a, uint16_t b, uint16_t c, uint16_t d) {
    return static_cast<uint16_t>(~(a + b + c + d));
}

inline uint8_t readByte(const uint8_t *report, size_t length, size_t offset) {
    return offset < length ? report[offset] : 0;
}

inline uint16_t readWord(const uint8_t *report, size_t length, size_t offset) {
    return static_cast<uint16_t>(readByte(report, length, offset) |
                                 readByte(report, length, offset + 1) << 8);
}

inline uint32_t readLong(const uint8_t *report, size_t length, size_t offset) {
    return readWord(report, length, offset) |
           static_cast<uint32_t>(readWord(report, length, offset + 2)) << 16;
}

inline void writeByte(uint8_t *report, size_t length, size_t offset, uint8_t value) {
    if (offset < length)
        report[offset] = value;
}

inline void writeWord(uint8_t *report, size_t length, size_t offset, uint16_t value) {
    writeByte(report, length, offset, static_cast<uint8_t>(value));
    writeByte(report, length, offset + 1, static_cast<uint8_t>(value >> 8));
}

inline void writeBytes(uint8_t *report, size_t length, size_t offset, const uint8_t *data,
                       size_t count) {
    for (size_t i = 0; i < count && offset < length && i < length - offset; ++i)
        report[offset + i] = data[i];
}

} // namespace xdsp::emu::report
