#include "text_output.h"

#include "bootloader/ole_date.h"
#include "os/os.h"

#include <cstdio>

std::string toUtf8(const xdsp_char16 *text) {
    std::string out;
    for (size_t i = 0; text[i] != 0; ++i) {
        uint32_t c = text[i];
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(0xE0 | (c >> 12));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

std::basic_string<xdsp_char16> fromUtf8(const std::string &text) {
    std::basic_string<xdsp_char16> out;
    for (unsigned char c : text)
        out += static_cast<xdsp_char16>(c); // device paths are ASCII
    return out;
}

std::string dateText(double date) {
    if (date == 0.0)
        return "-";
    char text[xdsp::bootloader::dateTextChars];
    xdsp::bootloader::formatDateText(date, text);
    return text;
}

int failure(const std::string &what) {
    std::fprintf(stderr, "xdsp: %s (error %u)\n", what.c_str(), xdsp_last_error());
    return 1;
}

void routeDebugToStderr() {
    xdsp::os::setDebugSink(
        [](const xdsp_char16 *text, void *) { std::fputs(toUtf8(text).c_str(), stderr); }, nullptr);
}
