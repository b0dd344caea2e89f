#include "frame/bounded_string.h"

#include <cstdint>
#include <type_traits>

namespace xdsp {

namespace {
class Writer {
  public:
    Writer(Char16 *buffer, size_t capacity) : buffer_(buffer), capacity_(capacity) {}
    void put(uint32_t character) {
        if (length_ + 1 < capacity_)
            buffer_[length_++] = static_cast<Char16>(character);
    }
    size_t finish() {
        if (capacity_ != 0)
            buffer_[length_] = 0;
        return length_;
    }

  private:
    Char16 *buffer_;
    size_t capacity_;
    size_t length_ = 0;
};

struct Conversion {
    bool zeroPad = false;
    bool leftAlign = false;
    unsigned width = 0;
};

void putPadded(Writer &out, const char *digits, size_t count, bool negative,
               const Conversion &conversion) {
    size_t total = count + (negative ? 1 : 0);
    size_t padding = conversion.width > total ? conversion.width - total : 0;
    if (!conversion.leftAlign && !conversion.zeroPad)
        for (size_t i = 0; i < padding; ++i)
            out.put(' ');
    if (negative)
        out.put('-');
    if (!conversion.leftAlign && conversion.zeroPad)
        for (size_t i = 0; i < padding; ++i)
            out.put('0');
    for (size_t i = 0; i < count; ++i)
        out.put(static_cast<unsigned char>(digits[i]));
    if (conversion.leftAlign)
        for (size_t i = 0; i < padding; ++i)
            out.put(' ');
}

void putNumber(Writer &out, uint64_t value, bool negative, unsigned base, bool upper,
               const Conversion &conversion) {
    const char *alphabet = upper ? "0123456789ABCDEF" : "0123456789abcdef";
    char reversed[24];
    size_t count = 0;
    do {
        reversed[count++] = alphabet[value % base];
        value /= base;
    } while (value != 0);
    char digits[24];
    for (size_t i = 0; i < count; ++i)
        digits[i] = reversed[count - 1 - i];
    putPadded(out, digits, count, negative, conversion);
}

template <typename Character>
void putText(Writer &out, const Character *text, const Conversion &conversion) {
    if (text == nullptr) {
        static constexpr char16_t nullText[] = u"(null)";
        putText(out, nullText, conversion);
        return;
    }
    size_t length = 0;
    while (text[length] != 0)
        ++length;
    size_t padding = conversion.width > length ? conversion.width - length : 0;
    if (!conversion.leftAlign)
        for (size_t i = 0; i < padding; ++i)
            out.put(' ');
    for (size_t i = 0; i < length; ++i)
        out.put(static_cast<uint32_t>(static_cast<std::make_unsigned_t<Character>>(text[i])));
    if (conversion.leftAlign)
        for (size_t i = 0; i < padding; ++i)
            out.put(' ');
}
} // namespace

size_t boundedFormatV(Char16 *buffer, size_t capacity, const Char16 *format, va_list arguments) {
    Writer out(buffer, capacity);
    for (size_t i = 0; format[i] != 0; ++i) {
        if (format[i] != '%') {
            out.put(format[i]);
            continue;
        }
        ++i;
        Conversion conversion;
        for (;; ++i) {
            if (format[i] == '0')
                conversion.zeroPad = true;
            else if (format[i] == '-')
                conversion.leftAlign = true;
            else
                break;
        }
        while (format[i] >= '0' && format[i] <= '9')
            conversion.width = conversion.width * 10 + static_cast<unsigned>(format[i++] - '0');
        int longs = 0;
        bool narrow = false;
        while (format[i] == 'l' || format[i] == 'h') {
            if (format[i] == 'l')
                ++longs;
            else
                narrow = true;
            ++i;
        }
        switch (format[i]) {
        case 'd':
        case 'i': {
            int64_t value = longs >= 2 ? va_arg(arguments, long long) : va_arg(arguments, int);
            uint64_t magnitude =
                value < 0 ? 0 - static_cast<uint64_t>(value) : static_cast<uint64_t>(value);
            putNumber(out, magnitude, value < 0, 10, false, conversion);
            break;
        }
        case 'u':
        case 'x':
        case 'X': {
            uint64_t value = longs >= 2 ? va_arg(arguments, unsigned long long)
                                        : va_arg(arguments, unsigned int);
            unsigned base = format[i] == 'u' ? 10 : 16;
            putNumber(out, value, false, base, format[i] == 'X', conversion);
            break;
        }
        case 'c':
            out.put(static_cast<uint32_t>(va_arg(arguments, int)));
            break;
        case 's':
            if (narrow)
                putText(out, va_arg(arguments, const char *), conversion);
            else
                putText(out, va_arg(arguments, const Char16 *), conversion);
            break;
        case 'S':
            putText(out, va_arg(arguments, const char *), conversion);
            break;
        case '%':
            out.put('%');
            break;
        case 0:
            return out.finish();
        default:
            out.put('%');
            out.put(format[i]);
            break;
        }
    }
    return out.finish();
}

size_t boundedFormat(Char16 *buffer, size_t capacity, const Char16 *format, ...) {
    va_list arguments;
    va_start(arguments, format);
    size_t length = boundedFormatV(buffer, capacity, format, arguments);
    va_end(arguments);
    return length;
}

size_t boundedCopy(Char16 *destination, size_t capacity, const Char16 *source) {
    if (capacity == 0)
        return 0;
    size_t length = 0;
    while (source != nullptr && source[length] != 0 && length + 1 < capacity) {
        destination[length] = source[length];
        ++length;
    }
    destination[length] = 0;
    return length;
}

size_t textLength(const Char16 *text) {
    size_t length = 0;
    while (text[length] != 0)
        ++length;
    return length;
}

} // namespace xdsp
