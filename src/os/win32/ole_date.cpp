// OLE automation dates for the Windows build: the system's own conversion,
// whose answers applications expect.
#include "os/os.h"

#include <cmath>
#include <windows.h>
// After windows.h, whose types it uses.
#include <oleauto.h>

namespace xdsp::os {

bool oleDateFromFields(const DateFields &fields, double *date) {
    SYSTEMTIME time{};
    time.wYear = fields.year;
    time.wMonth = fields.month;
    time.wDay = fields.day;
    time.wHour = fields.hour;
    time.wMinute = fields.minute;
    time.wSecond = fields.second;
    DATE converted = 0.0;
    if (!SystemTimeToVariantTime(&time, &converted))
        return false;
    *date = converted;
    return true;
}

bool fieldsFromOleDate(double date, DateFields *fields) {
    // Not a number is no day; refused here, since a range check made of
    // comparisons lets it through to the system's arithmetic.
    if (!std::isfinite(date))
        return false;
    SYSTEMTIME time{};
    if (!VariantTimeToSystemTime(date, &time))
        return false;
    *fields =
        DateFields{time.wYear, time.wMonth, time.wDay, time.wHour, time.wMinute, time.wSecond};
    return true;
}

} // namespace xdsp::os
