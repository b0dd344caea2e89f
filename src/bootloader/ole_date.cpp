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

int64_t daysInMonth(int64_t year, int month) {
    return daysFromCivil(month == 12 ? year + 1 : year, month == 12 ? 1 : month + 1, 1) -
           daysFromCivil(year, month, 1);
}

// Carries whole units of a time field into the next one, both kept as the
// system keeps them: signed 16-bit values that wrap.
void carryInto(int16_t &field, int16_t &next, int unit) {
    int quotient = field / unit;
    int remainder = field % unit;
    if (remainder < 0) {
        remainder += unit;
        --quotient;
    }
    field = static_cast<int16_t>(remainder);
    next = static_cast<int16_t>(static_cast<uint16_t>(next + quotient));
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

    // Blanks and a sign, then digits up to the first other character, kept
    // as the 16-bit field keeps them; the position stays where it was. A
    // number past the 32-bit range saturates, as the C library's reader does.
    uint16_t number() const {
        size_t at = position_;
        while (isBlank(at))
            ++at;
        bool negative = byteAt(at) == '-';
        if (byteAt(at) == '-' || byteAt(at) == '+')
            ++at;
        constexpr int64_t ceiling = int64_t{INT32_MAX} + 1;
        int64_t value = 0;
        for (; isDigit(at); ++at)
            value = std::min(value * 10 + (byteAt(at) - '0'), ceiling);
        int64_t signedValue = negative ? -value : std::min<int64_t>(value, INT32_MAX);
        return static_cast<uint16_t>(signedValue & 0xFFFF);
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

bool oleDateFromSystemTime(const SystemTimeFields &fields, double *date) {
    if (fields.year > 9999 || fields.month > 12 || fields.day > 31)
        return false;
    int64_t year = fields.year < 50    ? fields.year + 2000
                   : fields.year < 100 ? fields.year + 1900
                                       : fields.year;
    int month = fields.month;
    if (month == 0) {
        month = 12;
        --year;
    }
    auto second = static_cast<int16_t>(fields.second);
    auto minute = static_cast<int16_t>(fields.minute);
    auto hour = static_cast<int16_t>(fields.hour);
    int16_t day = static_cast<int16_t>(fields.day);
    carryInto(second, minute, 60);
    carryInto(minute, hour, 60);
    carryInto(hour, day, 24);
    int64_t dayOfMonth = day;
    while (dayOfMonth > daysInMonth(year, month)) {
        dayOfMonth -= daysInMonth(year, month);
        // compat: a day past the end of November lands in January, a month
        // later than the calendar's, as the system conversion rolls it.
        if (++month >= 12) {
            month = 1;
            ++year;
        }
    }
    while (dayOfMonth <= 0) {
        if (--month < 1) {
            month = 12;
            --year;
        }
        dayOfMonth += daysInMonth(year, month);
    }
    auto value =
        static_cast<double>(daysFromCivil(year, month, 1) + dayOfMonth - 1 + epochFromUnix);
    // Part by part, as the system adds them: the last bit can differ from a
    // division of the day's seconds.
    double away = value < 0.0 ? -1.0 : 1.0;
    value += hour / 24.0 * away;
    value += minute / 1440.0 * away;
    value += second / 86400.0 * away;
    *date = value;
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
    SystemTimeFields fields{};
    fields.year = reader.number();
    reader.skipDigits();
    reader.skipAny('-', '-');
    fields.month = reader.number();
    reader.skipDigits();
    reader.skipAny('-', '-');
    fields.day = reader.number();
    reader.skipDigits();
    reader.skipAny('-', ' ');
    fields.hour = reader.number();
    reader.skipDigits();
    reader.skipAny(':', ':');
    fields.minute = reader.number();
    reader.skipDigits();
    reader.skipAny(':', ':');
    fields.second = reader.number();
    double date = 0.0;
    return oleDateFromSystemTime(fields, &date) ? date : 0.0;
}

double oleDateNow() {
    os::LocalTime now = os::localTime();
    SystemTimeFields fields{static_cast<uint16_t>(now.year),   static_cast<uint16_t>(now.month),
                            static_cast<uint16_t>(now.day),    static_cast<uint16_t>(now.hour),
                            static_cast<uint16_t>(now.minute), static_cast<uint16_t>(now.second)};
    double date = 0.0;
    oleDateFromSystemTime(fields, &date);
    return date;
}

} // namespace xdsp::bootloader
