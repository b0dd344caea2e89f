// Our own OLE date conversion held against the system's over the edges of
// both directions. On Windows the platform conversion is the system's: the two
// must agree everywhere but in the differences the compatibility notes name,
// each recognised here by its own rule. Elsewhere there is nothing to hold
// ours against.
#include "os/os.h"
#include "os/portable_ole_date.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <iomanip>
#include <limits>
#include <sstream>
#include <string>

#ifdef _WIN32

namespace {
using xdsp::os::DateFields;
namespace portable = xdsp::os::portable;

constexpr double secondsPerDay = 86400;

uint64_t bitsOf(double value) {
    uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

std::string fieldsText(const DateFields &fields) {
    std::ostringstream text;
    text << fields.year << "-" << fields.month << "-" << fields.day << " " << fields.hour << ":"
         << fields.minute << ":" << fields.second;
    return text.str();
}

// A time field the system reads as negative: it borrows from the next one.
// The system takes such borrows after the month roll and without the 16-bit
// wrap, so it may land elsewhere.
bool borrows(const DateFields &fields) {
    return fields.hour > 32767 || fields.minute > 32767 || fields.second > 32767;
}

// The seconds of a date's time of day, counted away from the epoch.
double secondsOfDay(double date) {
    return std::fabs(date - std::trunc(date)) * secondsPerDay;
}

// A time of day within a microsecond below the half second: the system rounds
// it up.
bool atTheHalfSecond(double date) {
    double part = secondsOfDay(date) - std::floor(secondsOfDay(date));
    return part > 0.5 - 1e-6 && part < 0.5;
}

// Rounded up into the next day where that day is 1 December (the system's roll
// gives 1 January), or past 9999-12-31 (the system gives year 10000).
bool roundsIntoARolledDay(double date, const DateFields &ours, bool oursConverts) {
    bool roundsUp = secondsOfDay(date) >= secondsPerDay - 0.5;
    return roundsUp && (oursConverts ? ours.month == 12 && ours.day == 1 : date > 0);
}

// Counts the cases and the differences other than those the compatibility
// notes name, keeping the first of those for the report.
class Comparison {
  public:
    void fields(const DateFields &fields) {
        double system = 0.0;
        double ours = 0.0;
        bool systemConverts = xdsp::os::oleDateFromFields(fields, &system);
        bool oursConverts = portable::oleDateFromFields(fields, &ours);
        ++cases_;
        bool same =
            systemConverts == oursConverts && (!systemConverts || bitsOf(system) == bitsOf(ours));
        if (same || borrows(fields) || ++unnamed_ > shownMost)
            return;
        shown_ << fieldsText(fields) << ": system " << answer(systemConverts, system) << ", ours "
               << answer(oursConverts, ours) << "\n";
    }

    void date(double date) {
        DateFields system{};
        DateFields ours{};
        bool systemConverts = xdsp::os::fieldsFromOleDate(date, &system);
        bool oursConverts = portable::fieldsFromOleDate(date, &ours);
        ++cases_;
        bool same = systemConverts == oursConverts &&
                    (!systemConverts || std::memcmp(&system, &ours, sizeof ours) == 0);
        if (same || atTheHalfSecond(date) || roundsIntoARolledDay(date, ours, oursConverts) ||
            ++unnamed_ > shownMost)
            return;
        shown_ << std::setprecision(17) << date << ": system "
               << (systemConverts ? fieldsText(system) : std::string("refused")) << ", ours "
               << (oursConverts ? fieldsText(ours) : std::string("refused")) << "\n";
    }

    void check(const char *what) {
        EXPECT_EQ(unnamed_, 0u) << unnamed_ << " of " << cases_ << " " << what
                                << " differ in no named way; the first:\n"
                                << shown_.str();
    }

  private:
    static std::string answer(bool converts, double date) {
        if (!converts)
            return "refused";
        std::ostringstream text;
        text << std::setprecision(17) << date << " (0x" << std::hex << bitsOf(date) << ")";
        return text.str();
    }

    static constexpr uint64_t shownMost = 20;
    uint64_t cases_ = 0;
    uint64_t unnamed_ = 0;
    std::ostringstream shown_;
};

uint16_t word(int value) {
    return static_cast<uint16_t>(value);
}

// Time-field values at the carries and at the 16-bit sign bit.
constexpr int timeEdges[] = {0,    1,    23,    24,    25,    59,    60,    61,    1439,  1440,
                             3599, 3600, 32767, 32768, 32769, 65476, 65477, 65512, 65535, 86399};
} // namespace

TEST(OleDatesAgainstTheSystem, FieldsToDates) {
    Comparison comparison;
    // Every year from the two-digit ones past 9999, every month from 0 to 13,
    // the days at each month's start and end and past it.
    for (int year = 0; year <= 10001; ++year)
        for (int month = 0; month <= 13; ++month)
            for (int day : {0, 1, 27, 28, 29, 30, 31, 32})
                comparison.fields({word(year), word(month), word(day), 0, 0, 0});
    for (int value : {32767, 32768, 65535}) {
        comparison.fields({word(value), 1, 1, 0, 0, 0});
        comparison.fields({2024, word(value), 1, 0, 0, 0});
        comparison.fields({2024, 1, word(value), 0, 0, 0});
    }

    // Each time field through its whole 16 bits, on days either side of the
    // epoch, at the ends of the range and at November's end; then the three
    // together, so that the carries meet.
    const DateFields bases[] = {{2024, 3, 1, 0, 0, 0},   {1899, 12, 30, 0, 0, 0},
                                {1899, 12, 29, 0, 0, 0}, {1899, 12, 31, 0, 0, 0},
                                {100, 1, 1, 0, 0, 0},    {9999, 12, 31, 0, 0, 0},
                                {2023, 11, 30, 0, 0, 0}, {0, 0, 0, 0, 0, 0}};
    for (const DateFields &base : bases) {
        for (int value = 0; value <= 65535; ++value) {
            for (uint16_t DateFields::*field :
                 {&DateFields::hour, &DateFields::minute, &DateFields::second}) {
                DateFields fields = base;
                fields.*field = word(value);
                comparison.fields(fields);
            }
        }
        for (int hour : timeEdges)
            for (int minute : timeEdges)
                for (int second : timeEdges)
                    comparison.fields(
                        {base.year, base.month, base.day, word(hour), word(minute), word(second)});
    }
    comparison.check("field sets");
}

TEST(OleDatesAgainstTheSystem, DatesToFields) {
    Comparison comparison;
    // Every day of the range and a day past each end, each with a time of day
    // that changes from day to day, counted away from the epoch.
    constexpr double fractions[] = {0.0, 0.25, 0.5, 0.75, 1e-9, 0.999999, 0.9999999, 0.3333333333};
    constexpr int fractionCount = sizeof fractions / sizeof fractions[0];
    for (int day = -657436; day <= 2958467; ++day) {
        double fraction = fractions[(day % fractionCount + fractionCount) % fractionCount];
        comparison.date(day < 0 ? day - fraction : day + fraction);
    }
    // Every second of a few days, on the second and around its half, where the
    // rounding turns.
    for (int day : {0, -1, 1, 45352, -657434, 2958465}) {
        for (int second = 0; second < 86400; ++second) {
            for (double offset : {0.0, 0.499, 0.5, 0.501}) {
                double fraction = (second + offset) / secondsPerDay;
                comparison.date(day < 0 ? day - fraction : day + fraction);
            }
        }
    }
    // Out of the range, not numbers, and the neighbours of the ends.
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (double date :
         {-657435.0, -657434.99999, -657435.00001, 2958466.0, 2958465.99999, 2958466.00001, -0.0,
          -1e-12, 1e-12, 1e12, -1e12, 1e300, -1e300, infinity, -infinity,
          std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::denorm_min()}) {
        comparison.date(date);
        comparison.date(std::nextafter(date, infinity));
        comparison.date(std::nextafter(date, -infinity));
    }
    comparison.check("dates");
}

#endif
