#include "bootloader/framing.h"
#include "frame/bounded_string.h"
#include "frame/debug.h"

namespace xdsp::bootloader {

namespace {
constexpr size_t dumpLineChars = 1024;
}

void dumpBootReply(unsigned code, unsigned wanted, int position, const uint8_t *bytes,
                   size_t count) {
    // compat: two blanks before the last "::" and a "\r\n" ending, as these lines have
    // always read.
    Char16 line[dumpLineChars];
    size_t length =
        boundedFormat(line, dumpLineChars, WIDE("Command: 0x%02X :: Want: 0x%02X@%d  :: "), code,
                      wanted, position);
    for (size_t i = 0; i < count; ++i)
        length += boundedFormat(line + length, dumpLineChars - length, WIDE("0x%02X "),
                                static_cast<unsigned>(bytes[i]));
    boundedFormat(line + length, dumpLineChars - length, WIDE("\r\n"));
    debugWrite(line);
}

} // namespace xdsp::bootloader
