// GSString numbers: formatting and parsing of decimal and hexadecimal numbers, number suffixes of
// names, binary payloads as hexadecimal text and the numbered format (rules in GSString.h).
//
// Nothing here depends on the process locale: digits are written by hand or with std::to_chars
// and read by hand or with std::from_chars, so a number written in one locale reads back in any
// other.
#include "gs/object/GSDynaArray.h"
#include "gs/text/GSString.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

namespace {

// Room for the widest integer text: 20 digits, a sign and padding up to the rest.
constexpr long kNumberBuffer = 64;

// "00" to "99": two digits per division halve the divisions.
constexpr std::array<char, 200> kDigitPairs = [] {
    std::array<char, 200> pairs{};
    for (int i = 0; i < 100; ++i) {
        pairs[static_cast<size_t>(2 * i)] = static_cast<char>('0' + i / 10);
        pairs[static_cast<size_t>(2 * i + 1)] = static_cast<char>('0' + i % 10);
    }
    return pairs;
}();

// Writes the decimal digits of v so that they end at `end`; returns where they start.
template <class Unsigned>
char* writeDigitsOf(Unsigned v, char* end)
{
    while (v >= 100) {
        Unsigned const pair = v % 100;
        v /= 100;
        end -= 2;
        std::memcpy(end, kDigitPairs.data() + 2 * pair, 2);
    }
    if (v >= 10) {
        end -= 2;
        std::memcpy(end, kDigitPairs.data() + 2 * v, 2);
    } else {
        *--end = static_cast<char>('0' + v);
    }
    return end;
}

// Division by a constant is a multiplication, a cheaper one in 32 bits: most numbers fit them.
char* writeDigits(unsigned long v, char* end)
{
    if (v <= 0xFFFFFFFFUL)
        return writeDigitsOf(static_cast<unsigned int>(v), end);
    return writeDigitsOf(v, end);
}

unsigned long magnitudeOf(long value)
{
    // Unsigned negation: |LONG_MIN| does not fit a long.
    return value < 0 ? 0UL - static_cast<unsigned long>(value) : static_cast<unsigned long>(value);
}

// Appends n copies of c, a buffer at a time.
short addRepeated(GSString& s, char c, long n)
{
    char chunk[kNumberBuffer];
    std::memset(chunk, c, sizeof chunk);
    for (; n > 0; n -= kNumberBuffer) {
        if (s.add(chunk, std::min(n, kNumberBuffer)))
            return 1;
    }
    return 0;
}

// printf's "%W.Pf" in the "C" locale into a 256-byte buffer: the value with P decimals, right
// aligned in W characters with spaces, cut after 255 characters.
constexpr long kPrintfLimit = 255;
// A double's exact decimal expansion has at most 1074 decimals: beyond them printf writes zeros,
// which lie past the cut anyway.
constexpr int kExactDecimals = 1100;

short addFixed(GSString& s, double value, int precision, long fieldWidth)
{
    char buffer[1 + 309 + 1 + kExactDecimals];
    int const written = std::min(precision, kExactDecimals);
    auto const result = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, written);
    // The padding counts the decimals left out.
    long const length = result.ptr - buffer;
    long const padding = std::clamp(fieldWidth - length - (precision - written), 0L, kPrintfLimit);
    if (addRepeated(s, ' ', padding))
        return 1;
    return s.add(buffer, std::min(length, kPrintfLimit - padding));
}

// Every integer from -2^63 up to (not including) 2^63 converts to a long.
bool fitsLong(double v)
{
    return v >= -9223372036854775808.0 && v < 9223372036854775808.0;
}

char const kLowerDigits[] = "0123456789abcdef";
char const kUpperDigits[] = "0123456789ABCDEF";

// isDigit for bytes, inline for the scanning loops.
bool isDigitByte(char c)
{
    return c >= '0' && c <= '9';
}

long skipWhiteSpace(char const* text, long length, long i)
{
    while (i < length && GSString::isWhiteSpace(static_cast<unsigned int>(static_cast<unsigned char>(text[i]))))
        ++i;
    return i;
}

// A decimal number as getDoubleValue reads it (see GSString.h), found by one pass over the text.
struct DecimalText {
    bool negative = false;
    long begin = 0;     // the first digit or point, behind the sign
    long end = 0;       // behind the number; begin when there is none
    bool comma = false; // the decimal point is a comma
    long magnitude = 0; // roughly the decimal exponent: > 0 for large numbers, <= 0 for small ones
};

DecimalText scanDecimal(char const* text, long length, long i)
{
    DecimalText d;
    if (i < length && (text[i] == '-' || text[i] == '+')) {
        d.negative = text[i] == '-';
        ++i;
    }
    d.begin = d.end = i;
    bool point = false;
    long digits = 0;
    long integerDigits = 0;
    long firstNonZero = -1; // counted in digits
    for (; i < length; ++i) {
        if (isDigitByte(text[i])) {
            if (text[i] != '0' && firstNonZero < 0)
                firstNonZero = digits;
            ++digits;
            integerDigits += !point;
        } else if (!point && GSString::isDecimalPoint(static_cast<unsigned char>(text[i]))) {
            point = true;
            d.comma = text[i] != '.';
        } else {
            break;
        }
    }
    if (digits == 0)
        return d;
    d.end = i;
    long exponent = 0;
    if (i < length && (text[i] == 'e' || text[i] == 'E')) {
        long j = i + 1;
        bool const negativeExponent = j < length && text[j] == '-';
        if (j < length && (text[j] == '-' || text[j] == '+'))
            ++j;
        if (j < length && isDigitByte(text[j])) {
            // Only the size matters beyond the range of a double: stop adding digits early.
            for (; j < length && isDigitByte(text[j]); ++j)
                if (exponent < 100000)
                    exponent = exponent * 10 + (text[j] - '0');
            d.end = j;
            if (negativeExponent)
                exponent = -exponent;
        }
    }
    d.magnitude = (firstNonZero < 0 ? 0 : integerDigits - firstNonZero) + exponent;
    return d;
}

template <class T>
T parseDecimal(char const* text, long length)
{
    DecimalText const d = scanDecimal(text, length, skipWhiteSpace(text, length, 0));
    if (d.end == d.begin)
        return 0;
    T value = 0;
    std::from_chars_result result;
    if (d.comma) {
        // from_chars knows only "." as the decimal point: read a copy with the comma replaced.
        long const n = d.end - d.begin;
        char small[128];
        bool const fits = n <= static_cast<long>(sizeof small);
        std::unique_ptr<char[]> large(fits ? nullptr : new (std::nothrow) char[static_cast<size_t>(n)]);
        char* copy = fits ? small : large.get();
        if (!copy)
            return 0;
        std::memcpy(copy, text + d.begin, static_cast<size_t>(n));
        std::replace(copy, copy + n, ',', '.');
        result = std::from_chars(copy, copy + n, value);
    } else {
        result = std::from_chars(text + d.begin, text + d.end, value);
    }
    // Out of range leaves the value alone: beyond the largest value it is infinite, below the
    // smallest it is 0, as strtod gives them.
    if (result.ec == std::errc::result_out_of_range)
        value = d.magnitude > 0 ? std::numeric_limits<T>::infinity() : 0;
    return d.negative ? -value : value;
}

template <class T>
T parseHex(char const* text, long length, long index, int digits)
{
    if (index < 0)
        return 0;
    T value = 0;
    int nibble;
    for (long i = index; i < length && i - index < digits; ++i) {
        if (!GSIsHexNibble(static_cast<unsigned char>(text[i]), &nibble))
            break;
        value = static_cast<T>(value << 4 | static_cast<T>(nibble));
    }
    return value;
}

// The highest argument number of the format's placeholders ("%1" .. "%9", "%0" for 10); 0 when
// it has none.
int highestPlaceholder(char const* format, long length)
{
    int highest = 0;
    for (long i = 0; i + 1 < length; ++i) {
        if (format[i] == '%' && isDigitByte(format[i + 1]))
            highest = std::max(highest, format[i + 1] == '0' ? 10 : format[i + 1] - '0');
    }
    return highest;
}

} // namespace

// --- Formatting -----------------------------------------------------------------------------------

short GSString::addLong(int value, int width)
{
    return addLongLong(value, width);
}

short GSString::addLongLong(long value, int width)
{
    char digitText[kNumberBuffer];
    char* const end = digitText + kNumberBuffer;
    char* start = writeDigits(magnitudeOf(value), end);
    bool const negative = value < 0;
    long const minimum = width < 0 ? -static_cast<long>(width) : width;
    long const padding = std::max(0L, minimum - (end - start));
    // The common case: the whole text in the buffer, one append.
    if (padding < kNumberBuffer - 21) {
        if (width < 0) {
            start -= padding;
            std::memset(start, '0', static_cast<size_t>(padding));
        }
        if (negative)
            *--start = '-';
        if (width > 0) {
            start -= padding;
            std::memset(start, ' ', static_cast<size_t>(padding));
        }
        // Numbers mostly go into short names: an empty string starts inline (as createOwnData
        // sets it up), and inline room takes the text without the general append.
        long const n = end - start;
        if (mode == kShared && !buffer) {
            mode = kInline;
            area.in.used = 1;
        }
        if (mode == kInline && area.in.used + n <= kInlineBytes) {
            char* to = area.in.data + area.in.used - 1;
            std::memcpy(to, start, static_cast<size_t>(n));
            to[n] = 0;
            area.in.used = static_cast<unsigned char>(area.in.used + n);
            return 0;
        }
        return add(start, n);
    }
    if (width > 0 && addRepeated(*this, ' ', padding))
        return 1;
    if (negative && add('-'))
        return 1;
    if (width < 0 && addRepeated(*this, '0', padding))
        return 1;
    return add(start, end - start);
}

int GSString::getDigitCountForLong(long value) noexcept
{
    int count = 1;
    for (unsigned long m = magnitudeOf(value); m >= 10; m /= 10)
        ++count;
    return count;
}

short GSString::addHex(unsigned int value, int digits, short upper)
{
    return addHex64(value, digits, upper);
}

short GSString::addHex64(unsigned long value, int digits, short upper)
{
    if (digits < 1)
        return 0;
    // Digits beyond the value's 16 are zeros.
    if (digits > 16 && addRepeated(*this, '0', digits - 16))
        return 1;
    int const n = std::min(digits, 16);
    char digitText[16];
    for (int i = n - 1; i >= 0; --i, value >>= 4)
        digitText[i] = GSGetNibbleHexChar(static_cast<unsigned int>(value), upper);
    return add(digitText, n);
}

short GSString::addHexPointer(void const* pointer, int digits, short upper)
{
    return addHex64(reinterpret_cast<std::uintptr_t>(pointer), digits, upper);
}

short GSString::addDouble(double value, int width, int decimals)
{
    if (width >= 1 && decimals < 1) {
        double const rounded = std::floor(value + 0.49000000953674316);
        if (fitsLong(rounded))
            return addLongLong(static_cast<long>(rounded), width);
        return addFixed(*this, rounded, 0, 0);
    }
    if (decimals >= 1)
        return addFixed(*this, value, decimals, width >= 1 ? static_cast<long>(width) + decimals + 1 : 0);
    return addFixed(*this, value, 6, 0);
}

short GSString::addFloat(float value, int width, int decimals)
{
    return addDouble(value, width, decimals);
}

// The digits after the point are gathered in a long: 18 decimals at most. (The loop also stops
// once the fraction has grown past 2^52, where a double has no fraction left.)
short GSString::addCompactDouble(double value, int decimals, int* shift)
{
    if (shift)
        *shift = 0;
    decimals = std::clamp(decimals, 0, 18);
    if (value < 0) {
        if (add('-'))
            return 1;
        value = -value;
    }
    double rounding = 0.49;
    double limit = 1;
    for (int i = 0; i < decimals; ++i) {
        rounding *= 0.1;
        limit *= 0.1;
    }
    value += rounding;
    if (!fitsLong(value))
        return addFixed(*this, value, 0, 0);
    long const whole = static_cast<long>(value);
    if (addLongLong(whole))
        return 1;
    double fraction = value - static_cast<double>(whole);
    int k = 0;
    while (k < decimals) {
        fraction *= 10;
        ++k;
        if (fraction - std::floor(fraction) <= limit)
            break;
    }
    auto const digits = static_cast<unsigned long>(fraction);
    if (digits == 0)
        return 0;
    char digitText[kNumberBuffer];
    char* end = digitText + kNumberBuffer;
    char* start = writeDigits(digits, end);
    while (end - start < k)
        *--start = '0';
    while (end[-1] == '0')
        --end;
    *--start = '.';
    if (shift)
        *shift = -k;
    return add(start, end - start);
}

short GSString::addCompactFloat(float value, int decimals, int* shift)
{
    return addCompactDouble(value, decimals, shift);
}

short GSString::addStringWithNumberedFormat(GSString const* format, ...)
{
    if (!format)
        return 0;
    // Copies first: the format or an argument may be this string, which is converted below.
    GSString text(*format);
    int const needed = highestPlaceholder(text.c_str(), text.getLength());
    int target = text.getEncoding() > 99 ? static_cast<int>(kUTF8) : encoding;
    GSFixArray<GSString, 4> arguments;
    va_list list;
    va_start(list, format);
    for (int i = 0; i < needed; ++i) {
        auto const* argument = va_arg(list, GSString const*);
        GSString value;
        if (argument) {
            value = *argument;
            if (value.getEncoding() > 99)
                target = kUTF8;
        }
        if (arguments.add(value))
            break;
    }
    va_end(list);

    (void)text.convertEncoding(target);
    for (GSString& argument : arguments)
        (void)argument.convertEncoding(target);
    (void)convertEncoding(target);

    char const* f = text.c_str();
    long const length = text.getLength();
    long run = 0; // the start of the bytes not yet appended
    for (long i = 0; i + 1 < length; ++i) {
        if (f[i] != '%' || !isDigitByte(f[i + 1]))
            continue;
        (void)add(f + run, i - run);
        long const number = f[i + 1] == '0' ? 10 : f[i + 1] - '0';
        if (number <= arguments.getCount())
            (void)add(arguments[number - 1]);
        ++i;
        run = i + 1;
    }
    (void)add(f + run, length - run);
    return 0;
}

// --- Parsing --------------------------------------------------------------------------------------

int GSString::getLongValue() const noexcept
{
    return getBasicLongValue(skipWhiteSpace(c_str(), getLength(), 0), nullptr, nullptr);
}

// getBasicLongValue's rules with 64 bits.
long GSString::getLongLongValue() const noexcept
{
    long const length = getLength();
    char const* text = c_str();
    long i = skipWhiteSpace(text, length, 0);
    bool const negative = i < length && text[i] == '-';
    if (negative)
        ++i;
    if (i < length && text[i] == '+')
        ++i;
    long value = 0;
    for (; i < length && isDigitByte(text[i]); ++i) {
        if (value < 922337203685477580L)
            value = value * 10 + (text[i] - '0');
    }
    return negative ? -value : value;
}

double GSString::getDoubleValue() const noexcept
{
    return parseDecimal<double>(c_str(), getLength());
}

float GSString::getFloatValue() const noexcept
{
    return parseDecimal<float>(c_str(), getLength());
}

unsigned int GSString::getHexValue(long index, int digits) const noexcept
{
    return parseHex<unsigned int>(c_str(), getLength(), index, digits);
}

unsigned long GSString::getHex64Value(long index, int digits) const noexcept
{
    return parseHex<unsigned long>(c_str(), getLength(), index, digits);
}

bool GSString::isNumber() const noexcept
{
    long const length = getLength();
    char const* text = c_str();
    long end = 0;
    (void)getBasicLongValue(skipWhiteSpace(text, length, 0), &end, nullptr);
    // Without digits the end is the scan position: behind white space or a sign.
    return end > 0 && isDigitByte(text[end - 1]) && skipWhiteSpace(text, length, end) == length;
}

bool GSString::isFloatNumber() const noexcept
{
    long const length = getLength();
    char const* text = c_str();
    DecimalText const d = scanDecimal(text, length, skipWhiteSpace(text, length, 0));
    return d.end > d.begin && skipWhiteSpace(text, length, d.end) == length;
}

// --- Number suffixes ------------------------------------------------------------------------------

long GSString::findNumberSuffix(char divider) const noexcept
{
    long const length = getLength();
    char const* text = c_str();
    long start = length;
    while (start > 0 && isDigitByte(text[start - 1]))
        --start;
    if (start == length)
        return -1;
    if (divider == 0)
        return start;
    return start > 0 && text[start - 1] == divider ? start - 1 : -1;
}

int GSString::getNumberSuffix(char divider) const noexcept
{
    long const start = findNumberSuffix(divider);
    if (start < 0)
        return -1;
    return getBasicLongValue(start + (divider != 0), nullptr, nullptr);
}

short GSString::setNumberSuffix(int n, char divider)
{
    long const start = findNumberSuffix(divider);
    int digits = 0;
    if (start >= 0) {
        digits = static_cast<int>(getLength() - start - (divider != 0));
        if (createOwnData(start + 1, start + 1, 1))
            return 1;
        setUsed(start + 1);
    }
    if (n < 0)
        return 0;
    if (divider != 0 && add(divider))
        return 1;
    return addLong(n, -digits);
}

// --- Binary payloads ------------------------------------------------------------------------------

bool GSString::isBinaryData() const noexcept
{
    long const length = getLength();
    if (length % 2)
        return false;
    char const* text = c_str();
    return std::all_of(text, text + length, [](char c) { return GSIsHexNibble(static_cast<unsigned char>(c)); });
}

short GSString::initFromBinaryData(GSDynaArray<unsigned char> const& data)
{
    encoding = kUTF8;
    long const count = data.getCount();
    if (count == 0) {
        releaseData();
        return 0;
    }
    long const used = 2 * count + 1;
    if (createOwnData(used, used, 0))
        return 1;
    char* out = ownData();
    unsigned char const* bytes = data.getPointer();
    for (long i = 0; i < count; ++i) {
        out[2 * i] = kLowerDigits[bytes[i] >> 4];
        out[2 * i + 1] = kLowerDigits[bytes[i] & 15];
    }
    setUsed(used);
    return 0;
}

short GSString::decodeBinaryData(GSDynaArray<unsigned char>* data) const
{
    if (!data || !isBinaryData())
        return 1;
    long const n = getLength() / 2;
    if (n == 0)
        return 0;
    if (data->reserve(data->getCount() + n))
        return 1;
    for (long i = 0; i < n; ++i) {
        if (data->add(static_cast<unsigned char>(getHexValue(2 * i, 2))))
            return 1;
    }
    return 0;
}

// --- Hexadecimal digits ---------------------------------------------------------------------------

bool GSIsHexNibble(unsigned int c, int* value) noexcept
{
    int v;
    if (c >= '0' && c <= '9')
        v = static_cast<int>(c - '0');
    else if (c >= 'a' && c <= 'f')
        v = static_cast<int>(c - 'a') + 10;
    else if (c >= 'A' && c <= 'F')
        v = static_cast<int>(c - 'A') + 10;
    else
        return false;
    if (value)
        *value = v;
    return true;
}

char GSGetNibbleHexChar(unsigned int nibble, short upper) noexcept
{
    return (upper ? kUpperDigits : kLowerDigits)[nibble & 15];
}
