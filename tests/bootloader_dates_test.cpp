// OLE automation dates by our own code: the checked values, the calendar's
// edges, rounding, the date texts and round trips.
#include "bootloader/ole_date.h"
#include "os/os.h"
#include "os/portable_ole_date.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>

using namespace xdsp::bootloader;
using xdsp::os::DateFields;
namespace portable = xdsp::os::portable;

namespace {
// Adding the time's parts one by one and dividing the day's seconds differ
// in the last bit; dates compare to well below a second.
constexpr double tolerance = 1e-9;

double dateOf(uint16_t year, uint16_t month, uint16_t day, uint16_t hour = 0, uint16_t minute = 0,
              uint16_t second = 0) {
    double date = -1e9;
    EXPECT_TRUE(portable::oleDateFromFields({year, month, day, hour, minute, second}, &date))
        << year << "-" << month << "-" << day << " " << hour << ":" << minute << ":" << second;
    return date;
}

uint64_t bitsOf(double value) {
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

std::string calendarText(double date) {
    char text[dateTextChars];
    formatDateText(date, text);
    return text;
}

double parsed(const char *text) {
    return parseDateText(reinterpret_cast<const uint8_t *>(text), std::strlen(text) + 1);
}
} // namespace

TEST(OleDates, CheckedValues) {
    EXPECT_NEAR(dateOf(2024, 3, 1, 13, 5, 9), 45352.54524305555, tolerance);
    EXPECT_EQ(dateOf(1900, 1, 1), 2.0);
    EXPECT_EQ(dateOf(1900, 3, 1), 61.0) << "no 1900 leap day";
    EXPECT_EQ(dateOf(1899, 12, 30), 0.0);
    EXPECT_NEAR(dateOf(9999, 12, 31, 23, 59, 59), 2958465.999988426, tolerance);
    EXPECT_EQ(dateOf(100, 1, 1), -657434.0);
    // Before the epoch the time of day counts away from it.
    EXPECT_EQ(dateOf(1899, 12, 29, 6), -1.25);
    EXPECT_EQ(calendarText(-0.25), "1899-12-30 06:00:00");
    EXPECT_EQ(calendarText(2958465.999988426), "9999-12-31 23:59:59");
    EXPECT_EQ(calendarText(-657434.0), "0100-01-01 00:00:00");
}

TEST(OleDates, FieldsAreTakenAsTheSystemConversionTakesThem) {
    // Each expected value is what the system conversion gave under Wine.
    double date = 0.0;
    const DateFields refusedFields[] = {{10000, 1, 1, 0, 0, 0},    {2024, 13, 1, 0, 0, 0},
                                        {2024, 65535, 1, 0, 0, 0}, {2024, 1, 32, 0, 0, 0},
                                        {2024, 12, 32, 0, 0, 0},   {2024, 1, 65535, 0, 0, 0}};
    for (const DateFields &refused : refusedFields)
        EXPECT_FALSE(portable::oleDateFromFields(refused, &date))
            << refused.year << "-" << refused.month << "-" << refused.day;
    // Two-digit years, month 0 and day 0, days past the month's end.
    EXPECT_EQ(dateOf(0, 1, 1), 36526.0);
    EXPECT_EQ(dateOf(49, 1, 1), 54424.0);
    EXPECT_EQ(dateOf(50, 1, 1), 18264.0);
    EXPECT_EQ(dateOf(2024, 0, 1), 45261.0);
    EXPECT_EQ(dateOf(0, 0, 1), 36495.0) << "the year is read before the month rolls back";
    EXPECT_EQ(dateOf(100, 0, 1), -657465.0) << "and not read again after it";
    EXPECT_EQ(dateOf(2024, 3, 0), dateOf(2024, 2, 29));
    EXPECT_EQ(dateOf(2023, 2, 31), dateOf(2023, 3, 3));
    EXPECT_EQ(dateOf(2000, 2, 30), dateOf(2000, 3, 1)) << "2000 is a leap year";
    EXPECT_EQ(dateOf(2100, 2, 29), dateOf(2100, 3, 1)) << "2100 is not";
    EXPECT_EQ(dateOf(100, 1, 0), -657435.0) << "not held to the range";
    EXPECT_EQ(dateOf(2023, 11, 31), dateOf(2024, 1, 1)) << "past November lands in January";
    EXPECT_EQ(dateOf(2024, 11, 30, 24), dateOf(2025, 1, 1));
    EXPECT_EQ(dateOf(2024, 1, 1, 65535 - 767), dateOf(2023, 11, 30)) << "backwards is plain";
    // Time fields roll into the days, as signed 16-bit values, before the
    // time of day is added away from the epoch.
    EXPECT_EQ(dateOf(2024, 3, 1, 24), 45353.0);
    EXPECT_EQ(dateOf(1899, 12, 29, 24), 0.0);
    EXPECT_EQ(dateOf(1899, 12, 29, 23, 59, 60), 0.0);
    EXPECT_EQ(bitsOf(dateOf(2024, 3, 1, 13, 4, 69)), 0x40e6251172a1907fu);
    EXPECT_EQ(bitsOf(dateOf(2024, 3, 1, 23, 59, 59)), 0x40e6251fffe7ba38u) << "part by part";
    EXPECT_EQ(bitsOf(dateOf(1899, 12, 30, 0, 0, 65535)), 0xbffffff3dd1baf99u);
    EXPECT_EQ(bitsOf(dateOf(2024, 3, 1, 32768)), 0x40e57a5555555555u);
    EXPECT_EQ(dateOf(2024, 3, 1, 32767), 46841.291666666664) << "four Decembers skipped";
    EXPECT_EQ(bitsOf(dateOf(2024, 3, 1, 32767, 32767, 32767)), 0x40e6dc5d44ee2cc0u)
        << "the minute wraps when the seconds carry into it";

    DateFields time{};
    EXPECT_TRUE(portable::fieldsFromOleDate(-657434.5, &time));
    for (double outside : {-657435.0, 2958466.0, std::numeric_limits<double>::quiet_NaN(),
                           std::numeric_limits<double>::infinity()})
        EXPECT_FALSE(portable::fieldsFromOleDate(outside, &time)) << outside;
    // Rounding into the next second, day, and out of the range.
    EXPECT_EQ(calendarText(45352.54524305555 + 0.4 / 86400), "2024-03-01 13:05:09");
    EXPECT_EQ(calendarText(45352.54524305555 + 0.6 / 86400), "2024-03-01 13:05:10");
    EXPECT_EQ(calendarText(45352.9999999), "2024-03-02 00:00:00");
#ifndef _WIN32
    // Windows' own conversion rounds this one into year 10000.
    EXPECT_EQ(calendarText(2958465.9999999), "0000-00-00 00:00:00");
#endif
    EXPECT_EQ(calendarText(1e12), "0000-00-00 00:00:00");
}

TEST(OleDates, RoundTripsBothWays) {
    // Whole seconds survive exactly, across the whole range and both sides of the epoch.
    for (double day = -657434; day <= 2958465; day += 7919.37) {
        DateFields time{};
        ASSERT_TRUE(portable::fieldsFromOleDate(day, &time)) << day;
        double back = 0.0;
        ASSERT_TRUE(portable::oleDateFromFields(time, &back)) << day;
        EXPECT_LT(std::fabs(back - day) * 86400, 0.5 + 1e-3) << day;
        DateFields again{};
        ASSERT_TRUE(portable::fieldsFromOleDate(back, &again));
        EXPECT_EQ(std::memcmp(&time, &again, sizeof time), 0) << day;
    }
}

TEST(OleDates, DateTexts) {
    EXPECT_EQ(calendarText(parsed("9999-12-31 23:59:59")), "9999-12-31 23:59:59");
    // Separators in runs, short numbers, blanks before a number.
    EXPECT_EQ(calendarText(parsed("2024--3-1 - 7::5:: 9")), "2024-03-01 07:05:09");
    // Fields as the conversion takes them: all zero is 1999-11-30, a sign
    // counts, and only a failed conversion reads as 0.0.
    EXPECT_EQ(parsed("0000-00-00 00:00:00"), 36494.0);
    EXPECT_EQ(parsed("abc"), 36494.0);
    EXPECT_EQ(bitsOf(parsed("1899-12-30 00:00:-3600")), 0xbfff555555555556u);
    EXPECT_EQ(parsed("1899-12-30 -1:00:00"), 1 / 24.0) << "the run of blanks and '-' eats the sign";
    EXPECT_EQ(parsed("2024-13-01 00:00:00"), 0.0);
    EXPECT_EQ(parsed("99999999999999999999"), 0.0) << "saturates to a year past 9999";
    EXPECT_EQ(parsed("-1-01-01"), 0.0) << "year 65535";
    // A text without a terminator is read only within its length.
    const uint8_t unterminated[] = {'2', '0', '2', '4', '-', '0', '3', '-', '0', '1',
                                    ' ', '1', '3', ':', '0', '5', ':', '0', '9', '9'};
    EXPECT_EQ(calendarText(parseDateText(unterminated, 19)), "2024-03-01 13:05:09");
}

TEST(OleDates, NowFollowsTheLocalClock) {
    xdsp::os::LocalTime before = xdsp::os::localTime();
    double now = oleDateNow();
    double expected =
        dateOf(before.year, before.month, before.day, before.hour, before.minute, before.second);
    EXPECT_LT(std::fabs(now - expected) * 86400, 2.0);
}
