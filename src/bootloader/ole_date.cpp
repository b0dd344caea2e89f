#include "bootloader/ole_date.h"
#include "os/os.h"

#include <algorithm>

namespace xdsp::bootloader {

namespace {
// A date text as the bounded print of its fields writes it: each number with
// at least width digits, a longer one in full, the text cut to its 19
// characters (a year past 9999 pushes the seconds' last digit out).
class DateTextWriter {
  public:
    explicit DateTextWriter(char *text) : text_(text) {}

    void number(uint16_t value, int width, char separator) {
        char digits[5];
        int count = 0;
        do {
            digits[count++] = static_cast<char>('0' + value % 10);
            value = static_cast<uint16_t>(value / 10);
        } while (value != 0);
        for (; width > count; --width)
            put('0');
        while (count > 0)
            put(digits[--count]);
        if (separator != 0)
            put(separator);
    }

    void end() { text_[length_] = 0; }

  private:
    void put(char character) {
        if (length_ < dateTextChars - 1)
            text_[length_++] = character;
    }

    char *text_;
    size_t length_ = 0;
};

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

void formatDateText(double date, char *text) {
    os::DateFields time{};
    if (!os::fieldsFromOleDate(date, &time))
        time = os::DateFields{};
    DateTextWriter writer(text);
    writer.number(time.year, 4, '-');
    writer.number(time.month, 2, '-');
    writer.number(time.day, 2, ' ');
    writer.number(time.hour, 2, ':');
    writer.number(time.minute, 2, ':');
    writer.number(time.second, 2, 0);
    writer.end();
}

double parseDateText(const uint8_t *text, size_t length) {
    DateTextReader reader(text, length);
    os::DateFields fields{};
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
    return os::oleDateFromFields(fields, &date) ? date : 0.0;
}

double oleDateNow() {
    os::LocalTime now = os::localTime();
    os::DateFields fields{now.year, now.month, now.day, now.hour, now.minute, now.second};
    double date = 0.0;
    os::oleDateFromFields(fields, &date);
    return date;
}

} // namespace xdsp::bootloader
