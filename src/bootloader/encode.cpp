#include "bootloader/framing.h"

namespace xdsp::bootloader {

namespace {
constexpr size_t encodedLimit = commandBytes - 1; // room for the terminator

int hexDigit(Char16 character) {
    if (character >= '0' && character <= '9')
        return character - '0';
    if (character >= 'a' && character <= 'f')
        return character - 'a' + 10;
    if (character >= 'A' && character <= 'F')
        return character - 'A' + 10;
    return -1;
}

// "\x" takes exactly two characters and reads hex digits up to the first that
// is not one. A terminator among them ends the escape there, so a short escape
// at the end of the text never reads past it.
uint8_t hexEscape(const Char16 *text, size_t *index) {
    unsigned value = 0;
    bool digits = true;
    for (int taken = 0; taken < 2 && text[*index] != 0; ++taken, ++*index) {
        int digit = hexDigit(text[*index]);
        if (digit < 0)
            digits = false;
        if (digits)
            value = value * 16 + static_cast<unsigned>(digit);
    }
    return static_cast<uint8_t>(value);
}
} // namespace

size_t encodeBootCommand(uint8_t *output, const Char16 *text) {
    size_t count = 0;
    size_t index = 0;
    while (text[index] != 0) {
        if (output != nullptr && count >= encodedLimit)
            break;
        uint8_t byte;
        if (text[index] != '\\') {
            byte = static_cast<uint8_t>(text[index] & 0xFF);
            ++index;
        } else if (text[index + 1] == 'n') {
            byte = 0x0A;
            index += 2;
        } else if (text[index + 1] == 'r') {
            byte = 0x0D;
            index += 2;
        } else if (text[index + 1] == 'x') {
            index += 2;
            byte = hexEscape(text, &index);
        } else {
            // Only the backslash is taken; what follows is read afresh.
            byte = '\\';
            ++index;
        }
        if (output != nullptr)
            output[count] = byte;
        ++count;
    }
    if (output != nullptr)
        output[count] = 0;
    return count;
}

} // namespace xdsp::bootloader
