#include "os/portable_ole_date.h"

#include <cmath>

namespace xdsp::os::portable {
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

void civilFromDays(int64_t days, DateFields *fields) {
    days += 719468;
    int64_t era = (days >= 0 ? days : days - 146096) / 146097;
    int64_t dayOfEra = days - era * 146097;
    int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
    int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
    int64_t monthIndex = (5 * dayOfYear + 2) / 153;
    fields->day = static_cast<uint16_t>(dayOfYear - (153 * monthIndex + 2) / 5 + 1);
    fields->month = static_cast<uint16_t>(monthIndex < 10 ? monthIndex + 3 : monthIndex - 9);
    fields->year = static_cast<uint16_t>(yearOfEra + era * 400 + (fields->month <= 2 ? 1 : 0));
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

} // namespace

bool oleDateFromFields(const DateFields &fields, double *date) {
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

bool fieldsFromOleDate(double date, DateFields *fields) {
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
    civilFromDays(days - epochFromUnix, fields);
    fields->hour = static_cast<uint16_t>(seconds / 3600);
    fields->minute = static_cast<uint16_t>(seconds / 60 % 60);
    fields->second = static_cast<uint16_t>(seconds % 60);
    return true;
}

} // namespace xdsp::os::portable
