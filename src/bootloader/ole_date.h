// Date texts of the name-and-date block and the time now, as OLE automation
// dates (days since 1899-12-30, the fraction the time of day) converted by the
// platform's conversion (os::oleDateFromFields and os::fieldsFromOleDate).
#pragma once

#include <cstddef>
#include <cstdint>

namespace xdsp::bootloader {

// "YYYY-MM-DD hh:mm:ss" and a 0 into 20 bytes; "0000-00-00 00:00:00" for a date
// the conversion refuses. A longer number is written in full and the text cut
// to 19 characters.
inline constexpr size_t dateTextChars = 20;
void formatDateText(double date, char *text);

// Reads year, month, day, hour, minute and second from a date text of at most
// length bytes (it may end earlier at a 0) into a system time's fields and
// converts them; 0.0 where the conversion fails.
double parseDateText(const uint8_t *text, size_t length);

// The local time now as an OLE automation date (milliseconds dropped).
double oleDateNow();

} // namespace xdsp::bootloader
