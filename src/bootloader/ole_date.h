// OLE automation dates (days since 1899-12-30, the fraction the time of day),
// converted by our own code so that every platform gives the same dates.
#pragma once

#include <cstddef>
#include <cstdint>

namespace xdsp::bootloader {

struct CalendarTime {
    int year, month, day, hour, minute, second;
};

// The date fields of a system time, 16 bits each, as a date text's numbers
// are stored in them.
struct SystemTimeFields {
    uint16_t year, month, day, hour, minute, second;
};

// The conversion of the Windows system-time-to-variant-time function, the same
// on every platform: false for a year above 9999, a month above 12 or a day
// above 31. Years 0-49 are 2000-2049 and 50-99 are 1950-1999; month 0 is the
// December before and day 0 the month before's last day; a day past the
// month's end rolls on; hour, minute and second are signed 16-bit values that
// roll into the days. The result is not held to 0100-9999. The time of day is
// added part by part, away from the epoch (-1.25 is 1899-12-29 06:00).
bool oleDateFromSystemTime(const SystemTimeFields &fields, double *date);

// Rounds to the nearest second; false for a date outside the range (or not a
// number).
bool calendarFromOleDate(double date, CalendarTime *time);

// "YYYY-MM-DD hh:mm:ss" and a 0 into 20 bytes; "0000-00-00 00:00:00" for a date
// outside the range.
inline constexpr size_t dateTextChars = 20;
void formatDateText(double date, char *text);

// Reads year, month, day, hour, minute and second from a date text of at most
// length bytes (it may end earlier at a 0) into a system time's fields and
// converts them; 0.0 where the conversion fails.
double parseDateText(const uint8_t *text, size_t length);

// The local time now as an OLE automation date (milliseconds dropped).
double oleDateNow();

} // namespace xdsp::bootloader
