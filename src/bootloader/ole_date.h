// OLE automation dates (days since 1899-12-30, the fraction the time of day),
// converted by our own code so that every platform gives the same dates.
#pragma once

#include <cstddef>
#include <cstdint>

namespace xdsp::bootloader {

struct CalendarTime {
    int year, month, day, hour, minute, second;
};

// Proleptic Gregorian, 0100-01-01 to 9999-12-31. Day 0 is the last day of the
// month before and a day past the month's end rolls into the next month; other
// fields out of range, or a result outside the range, are refused (false).
bool oleDateFromCalendar(const CalendarTime &time, double *date);

// Rounds to the nearest second; false for a date outside the range (or not a
// number).
bool calendarFromOleDate(double date, CalendarTime *time);

// "YYYY-MM-DD hh:mm:ss" and a 0 into 20 bytes; "0000-00-00 00:00:00" for a date
// outside the range.
inline constexpr size_t dateTextChars = 20;
void formatDateText(double date, char *text);

// Reads year, month, day, hour, minute and second from a date text of at most
// length bytes (it may end earlier at a 0). A text that forms no valid date
// gives 0.0.
double parseDateText(const uint8_t *text, size_t length);

// The local time now as an OLE automation date (milliseconds dropped).
double oleDateNow();

} // namespace xdsp::bootloader
