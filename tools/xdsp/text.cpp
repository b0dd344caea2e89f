#include "text.h"

#include <cmath>
#include <cstdarg>
#include <cstdio>

namespace {
constexpr char32_t replacement = 0xFFFD;

bool isHighSurrogate(char32_t c) {
    return c >= 0xD800 && c <= 0xDBFF;
}

bool isLowSurrogate(char32_t c) {
    return c >= 0xDC00 && c <= 0xDFFF;
}

void appendUtf8(std::string &out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | (c >> 6));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | (c >> 12));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (c >> 18));
        out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}
} // namespace

std::string toUtf8(const xdsp_char16 *text) {
    std::string out;
    for (size_t i = 0; text[i] != 0; ++i) {
        auto c = static_cast<char32_t>(text[i]);
        auto next = static_cast<char32_t>(text[i + 1]);
        if (isHighSurrogate(c) && isLowSurrogate(next)) {
            c = 0x10000 + ((c - 0xD800) << 10) + (next - 0xDC00);
            ++i;
        } else if (isHighSurrogate(c) || isLowSurrogate(c)) {
            c = replacement; // half of a pair
        }
        appendUtf8(out, c);
    }
    return out;
}

namespace {
// Days since 1970-01-01 as a civil date (proleptic Gregorian).
void civilFromDays(int64_t days, int64_t &year, unsigned &month, unsigned &day) {
    days += 719468;
    int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    auto dayOfEra = static_cast<unsigned>(days - era * 146097);
    unsigned yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    unsigned dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    unsigned shiftedMonth = (5 * dayOfYear + 2) / 153;
    day = dayOfYear - (153 * shiftedMonth + 2) / 5 + 1;
    month = shiftedMonth < 10 ? shiftedMonth + 3 : shiftedMonth - 9;
    year = static_cast<int64_t>(yearOfEra) + era * 400 + (month <= 2 ? 1 : 0);
}

constexpr int64_t oleEpochFromUnixDays = -25569; // 1899-12-30
constexpr double oleFirstDay = -657434.0;        // 0100-01-01
constexpr double oleLastDay = 2958466.0;         // the day after 9999-12-31
} // namespace

std::string dateText(double date) {
    if (date == 0.0)
        return "-";
    if (!(date >= oleFirstDay && date < oleLastDay))
        return "0000-00-00 00:00:00";
    // Before the epoch the fraction still counts forward from midnight.
    double whole = std::trunc(date);
    auto seconds = static_cast<int64_t>(std::llround(std::fabs(date - whole) * 86400.0));
    auto days = static_cast<int64_t>(whole) + oleEpochFromUnixDays + seconds / 86400;
    seconds %= 86400;
    int64_t year = 0;
    unsigned month = 0, day = 0;
    civilFromDays(days, year, month, day);
    char text[80];
    std::snprintf(text, sizeof text, "%04lld-%02u-%02u %02lld:%02lld:%02lld",
                  static_cast<long long>(year), month, day, static_cast<long long>(seconds / 3600),
                  static_cast<long long>(seconds / 60 % 60), static_cast<long long>(seconds % 60));
    return text;
}

std::string byteText(double bytes) {
    char text[32];
    if (bytes < 1024)
        std::snprintf(text, sizeof text, "%.0f B", bytes);
    else if (bytes < 1024.0 * 1024)
        std::snprintf(text, sizeof text, "%.1f KiB", bytes / 1024);
    else
        std::snprintf(text, sizeof text, "%.1f MiB", bytes / (1024.0 * 1024));
    return text;
}

std::string formatted(const char *format, ...) {
    char text[512];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return text;
}
