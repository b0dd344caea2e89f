// OLE automation dates by our own code: the conversion of every platform but
// Windows, built on Windows as well so that it can be held against the
// system's there.
#pragma once

#include "os/os.h"

namespace xdsp::os::portable {

// What the system-time-to-variant-time function gives under Wine: false for
// a year above 9999, a month above 12 or a day above 31. Years 0-49 are
// 2000-2049 and 50-99 are 1950-1999; month 0 is the December before and day 0
// the month before's last day; a day past the month's end rolls on; hour,
// minute and second are signed 16-bit values that roll into the days. The
// result is not held to 0100-9999. The time of day is added part by part,
// away from the epoch (-1.25 is 1899-12-29 06:00).
bool oleDateFromFields(const DateFields &fields, double *date);

// Rounds to the nearest second; false for a date outside 0100-9999 (or not a
// number).
bool fieldsFromOleDate(double date, DateFields *fields);

} // namespace xdsp::os::portable
