// OLE automation dates by our own code: the checked values, the calendar's
// edges, rounding, the date texts and round trips.
#include "bootloader/ole_date.h"
#include "os/os.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>

using namespace xdsp::bootloader;

namespace {
// Adding the time's parts one by one and dividing the day's seconds differ
// in the last bit; dates compare to well below a second.
constexpr double tolerance = 1e-9;

double dateOf(int year, int month, int day, int hour = 0, int minute = 0, int second = 0) {
    double date = -1e9;
    EXPECT_TRUE(oleDateFromCalendar({year, month, day, hour, minute, second}, &date))
        << year << "-" << month << "-" << day;
    return date;
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
    EXPECT_EQ(calendarText(-1.25), "1899-12-29 06:00:00");
    EXPECT_EQ(calendarText(-0.25), "1899-12-30 06:00:00");
    EXPECT_EQ(calendarText(45352.54524305555), "2024-03-01 13:05:09");
    EXPECT_EQ(calendarText(2958465.999988426), "9999-12-31 23:59:59");
    EXPECT_EQ(calendarText(-657434.0), "0100-01-01 00:00:00");
    EXPECT_EQ(calendarText(0.0), "1899-12-30 00:00:00");
}

TEST(OleDates, CalendarEdges) {
    double date = 0.0;
    for (CalendarTime refused :
         {CalendarTime{2024, 13, 1, 0, 0, 0}, CalendarTime{2024, 0, 1, 0, 0, 0},
          CalendarTime{2024, 1, 32, 0, 0, 0}, CalendarTime{2024, 1, -1, 0, 0, 0},
          CalendarTime{10000, 1, 1, 0, 0, 0}, CalendarTime{99, 12, 31, 0, 0, 0},
          CalendarTime{2024, 1, 1, 24, 0, 0}, CalendarTime{2024, 1, 1, 0, 60, 0},
          CalendarTime{2024, 1, 1, 0, 0, 60}, CalendarTime{2024, 1, 1, -1, 0, 0},
          CalendarTime{100, 1, 0, 0, 0, 0}})
        EXPECT_FALSE(oleDateFromCalendar(refused, &date))
            << refused.year << "-" << refused.month << "-" << refused.day << " " << refused.hour
            << ":" << refused.minute << ":" << refused.second;
    // Day 0 is the month before's last day; days past the end roll on.
    EXPECT_EQ(dateOf(2024, 3, 0), dateOf(2024, 2, 29));
    EXPECT_EQ(dateOf(2023, 3, 0), dateOf(2023, 2, 28));
    EXPECT_EQ(dateOf(2023, 2, 31), dateOf(2023, 3, 3));
    EXPECT_EQ(dateOf(2024, 1, 0), dateOf(2023, 12, 31));
    EXPECT_EQ(dateOf(2000, 2, 30), dateOf(2000, 3, 1)) << "2000 is a leap year";
    EXPECT_EQ(dateOf(2100, 2, 29), dateOf(2100, 3, 1)) << "2100 is not";

    CalendarTime time{};
    EXPECT_FALSE(calendarFromOleDate(-657435.0, &time));
    EXPECT_TRUE(calendarFromOleDate(-657434.5, &time));
    EXPECT_FALSE(calendarFromOleDate(2958466.0, &time));
    EXPECT_FALSE(calendarFromOleDate(std::numeric_limits<double>::quiet_NaN(), &time));
    EXPECT_FALSE(calendarFromOleDate(std::numeric_limits<double>::infinity(), &time));
    // Rounding into the next second, day, and out of the range.
    EXPECT_EQ(calendarText(45352.54524305555 + 0.4 / 86400), "2024-03-01 13:05:09");
    EXPECT_EQ(calendarText(45352.54524305555 + 0.6 / 86400), "2024-03-01 13:05:10");
    EXPECT_EQ(calendarText(45352.9999999), "2024-03-02 00:00:00");
    EXPECT_EQ(calendarText(2958465.9999999), "0000-00-00 00:00:00");
    EXPECT_EQ(calendarText(1e12), "0000-00-00 00:00:00");
}

TEST(OleDates, RoundTripsBothWays) {
    // Whole seconds survive exactly, across the whole range and both sides of the epoch.
    for (double day = -657434; day <= 2958465; day += 7919.37) {
        CalendarTime time{};
        ASSERT_TRUE(calendarFromOleDate(day, &time)) << day;
        double back = 0.0;
        ASSERT_TRUE(oleDateFromCalendar(time, &back)) << day;
        EXPECT_LT(std::fabs(back - day) * 86400, 0.5 + 1e-3) << day;
        CalendarTime again{};
        ASSERT_TRUE(calendarFromOleDate(back, &again));
        EXPECT_EQ(std::memcmp(&time, &again, sizeof time), 0) << day;
    }
}

TEST(OleDates, DateTexts) {
    EXPECT_NEAR(parsed("2024-03-01 13:05:09"), 45352.54524305555, tolerance);
    EXPECT_EQ(calendarText(parsed("9999-12-31 23:59:59")), "9999-12-31 23:59:59");
    // Separators in runs, short numbers, blanks before a number.
    EXPECT_EQ(calendarText(parsed("2024--3-1 - 7::5:: 9")), "2024-03-01 07:05:09");
    // No valid date: 0.0.
    EXPECT_EQ(parsed("0000-00-00 00:00:00"), 0.0);
    EXPECT_EQ(parsed("2024-13-01 00:00:00"), 0.0);
    EXPECT_EQ(parsed("abc"), 0.0);
    EXPECT_EQ(parsed(""), 0.0);
    EXPECT_EQ(parsed("99999999999999999999"), 0.0);
    // A text without a terminator is read only within its length.
    const uint8_t unterminated[] = {'2', '0', '2', '4', '-', '0', '3', '-', '0', '1',
                                    ' ', '1', '3', ':', '0', '5', ':', '0', '9', '9'};
    EXPECT_EQ(calendarText(parseDateText(unterminated, 19)), "2024-03-01 13:05:09");
}

TEST(OleDates, NowFollowsTheLocalClock) {
    xdsp::os::LocalTime before = xdsp::os::localTime();
    double now = oleDateNow();
    double expected = 0.0;
    ASSERT_TRUE(oleDateFromCalendar(
        {before.year, before.month, before.day, before.hour, before.minute, before.second},
        &expected));
    EXPECT_LT(std::fabs(now - expected) * 86400, 2.0);
}
