#include "bootloader/ole_date.h"
#include "os/os.h"

#include <algorithm>
#include <cmath>

namespace xdsp::bootloader {

namespace {
constexpr int64_t firstDay = -657434;    // 0100-01-01
constexpr int64_t lastDay = 2958465;     // 9999-12-31
constexpr int64_t epochFromUnix = 25569; // 1899-12-30 lies this many days before 1970-01-01
constexpr int secondsPerDay = 86400;

// Days since 1970-01-01 of a proleptic Gregorian date, and back (the
// era-of-400-years method, exact for every year of the range).
int64_t daysFromCivil(int64_t year, int month, int day) {
    year -= month <= 2 ? 1 : 0;
    int64_t era = (year >= 0 ? year : year - 399) / 400;
    int64_t yearOfEra = year - era * 400;
    int64_t dayOfYear = (153 * (month > 2 ? month - 3 : month + 9) + 2) / 5 + day - 1;
    int64_t dayOfEra = yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear;
    return era * 146097 + dayOfEra - 719468;
}

void civilFromDays(int64_t days, CalendarTime *time) {
    days += 719468;
    int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    int64_t dayOfEra = days - era * 146097;
    int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    int64_t monthIndex = (5 * dayOfYear + 2) / 153;
    time->day = static_cast<int>(dayOfYear - (153 * monthIndex + 2) / 5 + 1);
    time->month = static_cast<int>(monthIndex < 10 ? monthIndex + 3 : monthIndex - 9);
    time->year = static_cast<int>(yearOfEra + era * 400 + (time->month <= 2 ? 1 : 0));
}

void putDigits(char *text, int value, int width) {
    for (int i = width - 1; i >= 0; --i) {
        text[i] = static_cast<char>('0' + value % 10);
        value /= 10;
    }
}

// A date text, read as the board's own reader does: each number where the
// previous one's digits and separators end.
class DateTextReader {
  public:
    DateTextReader(const uint8_t *text, size_t length) : text_(text), length_(length) {}

    // Blanks and a sign, then digits up to the first other character; the
    // position stays where it was.
    int number() const {
        size_t at = position_;
        while (isBlank(at))
            ++at;
        bool negative = byteAt(at) == '-';
        if (byteAt(at) == '-' || byteAt(at) == '+')
            ++at;
        int64_t value = 0;
        constexpr int64_t ceiling = 1000000; // far beyond every field, well inside int
        for (; isDigit(at); ++at)
            value = std::min(value * 10 + (byteAt(at) - '0'), ceiling);
        return static_cast<int>(negative ? -value : value);
    }

    void skipDigits() {
        while (isDigit(position_))
            ++position_;
    }

    void skipAny(char first, char second) {
        while (byteAt(position_) == first || byteAt(position_) == second)
            ++position_;
    }

  private:
    int byteAt(size_t at) const { return at < length_ ? text_[at] : 0; }
    bool isDigit(size_t at) const { return byteAt(at) >= '0' && byteAt(at) <= '9'; }
    bool isBlank(size_t at) const {
        int byte = byteAt(at);
        return byte == ' ' || (byte >= '\t' && byte <= '\r');
    }

    const uint8_t *text_;
    size_t length_;
    size_t position_ = 0;
};
} // namespace

bool oleDateFromCalendar(const CalendarTime &time, double *date) {
    if (time.year < 100 || time.year > 9999 || time.month < 1 || time.month > 12 || time.day < 0 ||
        time.day > 31 || time.hour < 0 || time.hour > 23 || time.minute < 0 || time.minute > 59 ||
        time.second < 0 || time.second > 59)
        return false;
    // Day 0 and days past the month's end count on from the month's first day.
    int64_t days = daysFromCivil(time.year, time.month, 1) + time.day - 1 + epochFromUnix;
    if (days < firstDay || days > lastDay)
        return false;
    double fraction =
        (time.hour * 3600 + time.minute * 60 + time.second) / static_cast<double>(secondsPerDay);
    // Before the epoch the time of day counts away from it: -1.25 is the 29th, 06:00.
    *date = days >= 0 ? static_cast<double>(days) + fraction : static_cast<double>(days) - fraction;
    return true;
}

bool calendarFromOleDate(double date, CalendarTime *time) {
    if (!std::isfinite(date))
        return false;
    double whole = std::trunc(date);
    if (whole < static_cast<double>(firstDay) || whole > static_cast<double>(lastDay))
        return false;
    auto days = static_cast<int64_t>(whole);
    auto seconds = static_cast<int>(std::floor(std::fabs(date - whole) * secondsPerDay + 0.5));
    if (seconds >= secondsPerDay) {
        seconds -= secondsPerDay;
        if (++days > lastDay)
            return false;
    }
    civilFromDays(days - epochFromUnix, time);
    time->hour = seconds / 3600;
    time->minute = seconds / 60 % 60;
    time->second = seconds % 60;
    return true;
}

void formatDateText(double date, char *text) {
    CalendarTime time{};
    if (!calendarFromOleDate(date, &time))
        time = CalendarTime{};
    putDigits(text, time.year, 4);
    text[4] = '-';
    putDigits(text + 5, time.month, 2);
    text[7] = '-';
    putDigits(text + 8, time.day, 2);
    text[10] = ' ';
    putDigits(text + 11, time.hour, 2);
    text[13] = ':';
    putDigits(text + 14, time.minute, 2);
    text[16] = ':';
    putDigits(text + 17, time.second, 2);
    text[19] = 0;
}

double parseDateText(const uint8_t *text, size_t length) {
    DateTextReader reader(text, length);
    CalendarTime time{};
    time.year = reader.number();
    reader.skipDigits();
    reader.skipAny('-', '-');
    time.month = reader.number();
    reader.skipDigits();
    reader.skipAny('-', '-');
    time.day = reader.number();
    reader.skipDigits();
    reader.skipAny('-', ' ');
    time.hour = reader.number();
    reader.skipDigits();
    reader.skipAny(':', ':');
    time.minute = reader.number();
    reader.skipDigits();
    reader.skipAny(':', ':');
    time.second = reader.number();
    double date = 0.0;
    return oleDateFromCalendar(time, &date) ? date : 0.0;
}

double oleDateNow() {
    os::LocalTime now = os::localTime();
    double date = 0.0;
    oleDateFromCalendar(
        CalendarTime{now.year, now.month, now.day, now.hour, now.minute, now.second}, &date);
    return date;
}

} // namespace xdsp::bootloader
