#include "link/report_format.h"

namespace xdsp::link {

void buildOutputHeader(uint8_t *report, uint16_t commandCode, uint16_t gpioOutput,
                       uint16_t sequenceCounter) {
    constexpr uint16_t reservedWord = 0;
    writeWord(report, output::gpioOutput, gpioOutput);
    writeWord(report, output::reserved, reservedWord);
    writeWord(report, output::command, commandCode);
    writeWord(report, output::magic, reportMagic);
    writeWord(report, output::checksum, outputChecksum(reservedWord, gpioOutput, commandCode));
    report[output::sequence] = static_cast<uint8_t>(sequenceCounter & 0xFF);
    report[output::sequenceHigh] = 0;
}

} // namespace xdsp::link
