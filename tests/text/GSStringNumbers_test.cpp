#include "gs/object/GSDynaArray.h"
#include "gs/text/GSString.h"

#include "tests/text/TextTestSupport.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

using namespace texttest;

namespace {

// What snprintf writes for `format` and the values (the tests run in the "C" locale).
template <class... T>
std::string printed(char const* format, T... values)
{
    char buffer[512];
    std::snprintf(buffer, sizeof buffer, format, values...);
    return buffer;
}

// A random text over `alphabet`, up to `maximum` characters.
std::string randomText(std::mt19937& random, std::string const& alphabet, unsigned maximum)
{
    std::string text;
    for (auto n = random() % (maximum + 1); n > 0; --n)
        text += alphabet[random() % alphabet.size()];
    return text;
}

GSString formatted(GSString const& destination, char const* format, GSString const* a = nullptr,
                   GSString const* b = nullptr)
{
    GSString s(destination);
    GSString const f(format);
    EXPECT_EQ(s.addStringWithNumberedFormat(&f, a, b), 0);
    return s;
}

} // namespace

// Random values and widths: a positive width is printf's space padding of the digits (the sign
// comes between the spaces and the digits), a negative one its zero padding, both counting digits only.
TEST(GSStringNumbers, AddLongAndHexMatchPrintf)
{
    std::mt19937_64 random(1);
    long const extremes[] = {0, -1, 9, 10, LONG_MIN, LONG_MAX, INT_MIN, INT_MAX};
    for (int i = 0; i < 4000; ++i) {
        long const value = i < 8 ? extremes[i] : static_cast<long>(random()) >> (random() % 64);
        int const width = static_cast<int>(random() % 61) - 30;
        long const sign = value < 0;
        std::string const expected = width < 0 ? printed("%0*ld", -width + sign, value) : printed("%*ld", width + sign, value);
        GSString s("x");
        ASSERT_EQ(s.addLongLong(value, width), 0);
        EXPECT_EQ(bytes(s), "x" + expected) << value << " " << width;
        EXPECT_EQ(GSString::getDigitCountForLong(value), static_cast<int>(printed("%lu", sign ? 0UL - value : value).size()));
        if (value == static_cast<int>(value)) {
            GSString t;
            ASSERT_EQ(t.addLong(static_cast<int>(value), width), 0);
            EXPECT_EQ(bytes(t), expected);
        }

        int const digits = static_cast<int>(random() % 22) - 2;
        short const upper = random() % 2;
        unsigned long const mask = digits >= 16 ? ~0UL : (1UL << 4 * std::max(digits, 0)) - 1;
        std::string const hex = digits < 1 ? "" : printed(upper ? "%0*lX" : "%0*lx", digits, value & mask);
        GSString h;
        ASSERT_EQ(h.addHex64(static_cast<unsigned long>(value), digits, upper), 0);
        EXPECT_EQ(bytes(h), hex);
        EXPECT_EQ(h.getHex64Value(0, digits), value & mask);
        GSString h32;
        ASSERT_EQ(h32.addHex(static_cast<unsigned int>(value), digits, upper), 0);
        EXPECT_EQ(bytes(h32), digits < 1 ? "" : printed(upper ? "%0*lX" : "%0*lx", digits, value & mask & 0xFFFFFFFF));
    }
    GSString p;
    ASSERT_EQ(p.addHexPointer(reinterpret_cast<void const*>(0xABCL)), 0);
    EXPECT_EQ(bytes(p), "0000000000000abc");
}

TEST(GSStringNumbers, AddDouble)
{
    struct Case { double value; int width, decimals; char const* expected; };
    Case const cases[] = {
        // Rounding adds 0.49 as a float widened: not 0.5 (2.5 gives 2), not the double 0.49.
        {2.5, 3, 0, "  2"}, {0.509999995, 1, 0, "1"}, {-2.5, 1, 0, "-3"}, {-7.0, 3, 0, "  -7"},
        {3.14159, 5, 2, "    3.14"}, // "%8.2f": width + decimals + 1
        {-1234.5678, 2, 1, "-1234.6"}, {3.14159, 0, 2, "3.14"}, {1.5, 0, 0, "1.500000"}, {1.5, -3, -1, "1.500000"},
        {1e20, 2, 0, "100000000000000000000"}, {-HUGE_VAL, 1, 0, "-inf"},
    };
    for (Case const& c : cases) {
        GSString s;
        ASSERT_EQ(s.addDouble(c.value, c.width, c.decimals), 0);
        EXPECT_EQ(bytes(s), c.expected) << c.value << " " << c.width << " " << c.decimals;
    }
    GSString f;
    ASSERT_EQ(f.addFloat(2.5f, 1, 0), 0);
    EXPECT_EQ(bytes(f), "2");
    GSString big; // printf into 256 bytes: the text is cut after 255 characters
    ASSERT_EQ(big.addDouble(1e300, 1, 2), 0);
    EXPECT_EQ(bytes(big), printed("%.2f", 1e300).substr(0, 255));
    ASSERT_EQ(big.addDouble(0.5, 400, 1), 0);
    EXPECT_EQ(big.getLength(), 255 + 255);

    std::mt19937_64 random(2);
    for (int i = 0; i < 3000; ++i) {
        double const value = std::ldexp(static_cast<double>(random() % 2000000) - 1e6, static_cast<int>(random() % 80) - 60);
        int const width = static_cast<int>(random() % 14) - 3;
        int const decimals = static_cast<int>(random() % 12) - 2;
        std::string expected = width >= 1 ? printed("%*.*f", width + decimals + 1, decimals, value) : printed("%.*f", decimals, value);
        if (decimals < 1) {
            auto const rounded = static_cast<long>(std::floor(value + 0.49000000953674316));
            expected = width >= 1 ? printed("%*ld", width + (rounded < 0), rounded) : printed("%f", value);
        }
        GSString s;
        ASSERT_EQ(s.addDouble(value, width, decimals), 0);
        EXPECT_EQ(bytes(s), expected) << value << " " << width << " " << decimals;
    }
}

TEST(GSStringNumbers, AddCompactDouble)
{
    struct Case { double value; int decimals; char const* expected; int shift; };
    Case const cases[] = {
        {1.05, 3, "1.05", -3}, {2.0, 3, "2", 0}, {1.09955, 3, "1.1", -1} /* stops when the rest is below 10^-3 */,
        {-0.5, 1, "-0.5", -1}, {0.004, 2, "0", 0}, {0.006, 2, "0.01", -2}, {0.125, 2, "0.12", -2},
        {1234.5, 0, "1234", 0}, {1234.6, -2, "1235", 0}, {0.5, 30, "0.5", -1}, {1.5e-18, 30, "0.000000000000000001", -18} /* at most 18 decimals */, {1e19, 2, "10000000000000000000", 0},
    };
    for (Case const& c : cases) {
        GSString s;
        int shift = 99;
        ASSERT_EQ(s.addCompactDouble(c.value, c.decimals, &shift), 0);
        EXPECT_EQ(bytes(s), c.expected) << c.value << " " << c.decimals;
        EXPECT_EQ(shift, c.shift) << c.value << " " << c.decimals;
    }
    GSString f;
    ASSERT_EQ(f.addCompactFloat(1.05f, 3), 0);
    EXPECT_EQ(bytes(f), "1.05");
}

TEST(GSStringNumbers, ParseIntegers)
{
    struct Case { char const* text; long value; long longValue; bool number; };
    Case const cases[] = {
        {"-+5", -5, -5, true}, {"+-5", 0, 0, false}, {" \t42abc", 42, 42, false}, {" 42 \r\n", 42, 42, true},
        {"", 0, 0, false}, {"-", 0, 0, false}, {"  ", 0, 0, false}, {"x1", 0, 0, false}, {"\v1", 0, 0, false},
        // Over-long numbers keep their leading digits.
        {"2147483648", 214748364, 2147483648, true}, {"-9223372036854775808", -922337203, -922337203685477580, true},
    };
    for (Case const& c : cases) {
        GSString const s(c.text);
        EXPECT_EQ(s.getLongValue(), c.value) << c.text;
        EXPECT_EQ(s.getLongLongValue(), c.longValue) << c.text;
        EXPECT_EQ(s.isNumber(), c.number) << c.text;
    }
    // Numbers that fit read as strtol and strtoll read them.
    std::mt19937 random(3);
    for (int i = 0; i < 3000; ++i) {
        std::string const text = randomText(random, " \t\n", 2) + randomText(random, "-+", 1) +
                                 randomText(random, "0123456789", i % 2 ? 8 : 17) + "x- ."[random() % 4] + randomText(random, "x- 5.", 2);
        GSString const s(text.c_str());
        if (i % 2) {
            EXPECT_EQ(s.getLongValue(), std::strtol(text.c_str(), nullptr, 10)) << text;
        }
        EXPECT_EQ(s.getLongLongValue(), std::strtoll(text.c_str(), nullptr, 10)) << text;
    }
}

TEST(GSStringNumbers, ParseDecimals)
{
    struct Case { char const* text; double value; bool number; };
    Case const cases[] = {
        {"1,5", 1.5, true}, {" 2.5e3x", 2500, false}, {"-.5 ", -0.5, true}, {"5.", 5, true}, {"1e", 1, false},
        {".", 0, false}, {"0x10", 0, false}, {"inf", 0, false}, {"nan", 0, false}, {"1.2.3", 1.2, false}, {"", 0, false},
        {"1e400", HUGE_VAL, true}, {"-1e400", -HUGE_VAL, true}, {"1e-400", 0, true}, {"0.0000001e-400", 0, true},
        {"1000000000000000000000000000000000000000000e300", HUGE_VAL, true},
    };
    for (Case const& c : cases) {
        GSString const s(c.text);
        EXPECT_EQ(s.getDoubleValue(), c.value) << c.text;
        EXPECT_EQ(s.isFloatNumber(), c.number) << c.text;
    }
    EXPECT_EQ(GSString("1e39").getFloatValue(), HUGE_VALF);
    EXPECT_EQ(GSString("-1e-50").getFloatValue(), 0.0f);

    // Random texts read as strtod and strtof read them in the "C" locale (a comma is a point).
    std::mt19937 random(4);
    std::string const exponents[] = {"", "", "e", "E+", "e-", "e3", "e-30", "e39", "e-45", "e-320", "e308", "e-330", "e400"};
    for (int i = 0; i < 4000; ++i) {
        std::string text = i % 3 ? randomText(random, " \t", 2) + randomText(random, "-+", 1) + randomText(random, "0123456789", 12) +
                                       randomText(random, ".,", 1) + randomText(random, "0123456789", 25) + exponents[random() % std::size(exponents)]
                                 : randomText(random, "0123456789.,-+eE ", 14);
        GSString const s(text.c_str());
        for (char& c : text)
            c = c == ',' ? '.' : c;
        EXPECT_EQ(s.getDoubleValue(), std::strtod(text.c_str(), nullptr)) << text;
        EXPECT_EQ(s.getFloatValue(), std::strtof(text.c_str(), nullptr)) << text;
    }
}

TEST(GSStringNumbers, HexValues)
{
    struct Case { char const* text; long index; int digits; unsigned long value; };
    Case const cases[] = {
        {"ff", 0, 2, 255}, {"1A2b", 0, 4, 0x1A2B}, {"12zz", 0, 4, 0x12}, {"abc", 1, 8, 0xBC}, {"abc", 3, 2, 0},
        {"abc", -1, 2, 0}, {"abc", 0, 0, 0}, {"123456789", 0, 9, 0x23456789}, {"g1", 0, 2, 0},
    };
    for (Case const& c : cases)
        EXPECT_EQ(GSString(c.text).getHexValue(c.index, c.digits), c.value) << c.text;
    EXPECT_EQ(GSString("0123456789abcdef01").getHex64Value(0, 18), 0x23456789ABCDEF01UL);

    for (unsigned c = 0; c < 300; ++c) {
        int value = -1;
        bool const hex = c < 256 && std::strchr("0123456789abcdefABCDEF", static_cast<int>(c)) && c;
        EXPECT_EQ(GSIsHexNibble(c, &value), hex) << c;
        if (hex) {
            EXPECT_EQ(value, std::strtol(std::string(1, static_cast<char>(c)).c_str(), nullptr, 16));
        }
        EXPECT_EQ(GSGetNibbleHexChar(c, 0), printed("%x", c & 15)[0]);
        EXPECT_EQ(GSGetNibbleHexChar(c, 1), printed("%X", c & 15)[0]);
    }
}

TEST(GSStringNumbers, NumberSuffixes)
{
    struct Case { char const* text; char divider; long index; int value; int n; char const* result; };
    Case const cases[] = {
        {"Image_3", '_', 5, 3, 4, "Image_4"}, {"Image", '_', -1, -1, 2, "Image_2"}, {"Image_", '_', -1, -1, 1, "Image__1"},
        {"Image3", '_', -1, -1, 1, "Image3_1"}, {"Scan12", 0, 4, 12, 7, "Scan07"}, {"Scan", 0, -1, -1, 7, "Scan7"},
        {"42", 0, 0, 42, 43, "43"}, {"_9", '_', 0, 9, 10, "_10"}, {"frame_009", '_', 5, 9, 10, "frame_010"},
        {"a_99999999999", '_', 1, 999999999, 1, "a_00000000001"}, {"Image_3", '_', 5, 3, -1, "Image"}, {"", 0, -1, -1, 5, "5"},
    };
    for (Case const& c : cases) {
        GSString s(c.text);
        EXPECT_EQ(s.findNumberSuffix(c.divider), c.index) << c.text;
        EXPECT_EQ(s.getNumberSuffix(c.divider), c.value) << c.text;
        ASSERT_EQ(s.setNumberSuffix(c.n, c.divider), 0);
        EXPECT_EQ(bytes(s), c.result) << c.text;
    }
}

TEST(GSStringNumbers, BinaryPayloads)
{
    struct Case { char const* text; bool binary; };
    Case const cases[] = {{"", true}, {"00fF9a", true}, {"abc", false}, {"0g", false}, {"12 3", false}, {"1\xE9", false}};
    for (Case const& c : cases) {
        GSString const s(c.text);
        EXPECT_EQ(s.isBinaryData(), c.binary) << c.text;
        GSDynaArray<unsigned char> out;
        ASSERT_EQ(out.add(7), 0);
        EXPECT_EQ(s.decodeBinaryData(&out), c.binary ? 0 : 1) << c.text;
        EXPECT_EQ(out.getCount(), 1 + (c.binary ? s.getLength() / 2 : 0)); // appended; unchanged on failure
    }
    std::mt19937 random(5);
    for (int i = 0; i < 300; ++i) {
        GSDynaArray<unsigned char> data;
        std::string expected;
        for (auto n = random() % 80; n > 0; --n) {
            auto const b = static_cast<unsigned char>(random());
            ASSERT_EQ(data.add(b), 0);
            expected += printed("%02x", b);
        }
        GSString s("text", 4, GSString::kMac);
        ASSERT_EQ(s.initFromBinaryData(data), 0);
        EXPECT_EQ(bytes(s), expected);
        EXPECT_EQ(s.getEncoding(), GSString::kUTF8);
        GSDynaArray<unsigned char> back;
        ASSERT_EQ(s.decodeBinaryData(&back), 0);
        ASSERT_EQ(back.getCount(), data.getCount());
        EXPECT_EQ(std::memcmp(back.getPointer(), data.getPointer(), static_cast<size_t>(data.getCount())), 0);
    }
}

TEST(GSStringNumbers, NumberedFormat)
{
    GSString const a("A"), b("B");
    struct Case { char const* format; char const* expected; };
    Case const cases[] = {
        {"%1 and %2", "x: A and B"}, {"%2%1%1", "x: BAA"}, {"%%1", "x: %A"}, {"%%", "x: %%"} /* no escape */,
        {"100%", "x: 100%"}, {"%a%", "x: %a%"}, {"", "x: "},
    };
    for (Case const& c : cases)
        EXPECT_EQ(bytes(formatted(GSString("x: "), c.format, &a, &b)), c.expected) << c.format;

    // "%0" is the tenth argument; a null argument is empty.
    GSString const args[10] = {"1", "2", "3", "4", "5", "6", "7", "8", "9", "ten"};
    GSString s;
    GSString const tenth("%0,%9,%2,%1.");
    ASSERT_EQ(s.addStringWithNumberedFormat(&tenth, &args[0], nullptr, &args[2], &args[3], &args[4], &args[5],
                                            &args[6], &args[7], &args[8], &args[9]), 0);
    EXPECT_EQ(bytes(s), "ten,9,,1.");

    // One encoding: the destination's, unless the format or an argument taken is UTF-8; arguments
    // behind the highest placeholder are not taken.
    GSString const macE("\x8E", 1, GSString::kMac), utf8U("\u00FC");
    GSString const windows("\xE9", 1, GSString::kWindows);
    struct Encoded { GSString destination; char const* format; int formatTag; GSString const* first; GSString const* second;
                     char const* expected; int tag; };
    Encoded const encoded[] = {
        {GSString("", 0, GSString::kWindows), "\x8E%1", GSString::kMac, &windows, &utf8U, "\xE9\xE9", GSString::kWindows},
        {GSString("", 0, GSString::kWindows), "\x8E%2", GSString::kMac, &windows, &utf8U, "\u00E9\u00FC", GSString::kUTF8},
        {GSString("\x8E", 1, GSString::kMac), "%1\u00E9", GSString::kUTF8, &macE, nullptr, "\u00E9\u00E9\u00E9", GSString::kUTF8},
    };
    for (Encoded const& c : encoded) {
        GSString d(c.destination);
        GSString const format(c.format, static_cast<long>(std::strlen(c.format)), c.formatTag);
        ASSERT_EQ(d.addStringWithNumberedFormat(&format, c.first, c.second), 0);
        EXPECT_EQ(bytes(d), c.expected) << c.format;
        EXPECT_EQ(d.getEncoding(), c.tag) << c.format;
    }
}
