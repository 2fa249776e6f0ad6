#include "gs/object/GSDynaArray.h"
#include "gs/text/GSString.h"

#include "tests/text/TextTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>

using namespace texttest;

namespace {

// What snprintf writes (the tests run in the "C" locale).
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

} // namespace

// A positive width is printf's space padding (the sign between the spaces and the digits), a
// negative one its zero padding; both count digits only.
TEST(GSStringNumbers, AddLongAndHexMatchPrintf)
{
    std::mt19937_64 random(1);
    long const extremes[] = {0, -1, 9, 10, LONG_MIN, LONG_MAX, INT_MIN, INT_MAX};
    for (int i = 0; i < 4000; ++i) {
        long const value = i < 8 ? extremes[i] : static_cast<long>(random()) >> (random() % 64);
        int const width = static_cast<int>(random() % 121) - 60, sign = value < 0;
        std::string const expected =
            width < 0 ? printed("%0*ld", sign - width, value) : printed("%*ld", sign + width, value);
        GSString s("x"), t;
        ASSERT_EQ(s.addLongLong(value, width), 0);
        EXPECT_EQ(bytes(s), "x" + expected) << value << " " << width;
        EXPECT_EQ(GSString::getDigitCountForLong(value), static_cast<int>(printed("%lu", sign ? 0UL - value : value).size()));
        if (value == static_cast<int>(value)) {
            ASSERT_EQ(t.addLong(static_cast<int>(value), width), 0);
            EXPECT_EQ(bytes(t), expected);
        }

        int const digits = static_cast<int>(random() % 22) - 2;
        short const upper = random() % 2;
        unsigned long const mask = digits >= 16 ? ~0UL : (1UL << 4 * std::max(digits, 0)) - 1;
        char const* format = upper ? "%0*lX" : "%0*lx";
        GSString h, h32;
        ASSERT_EQ(h.addHex64(static_cast<unsigned long>(value), digits, upper), 0);
        ASSERT_EQ(h32.addHex(static_cast<unsigned int>(value), digits, upper), 0);
        EXPECT_EQ(bytes(h), digits < 1 ? "" : printed(format, digits, value & mask));
        EXPECT_EQ(bytes(h32), digits < 1 ? "" : printed(format, digits, value & mask & 0xFFFFFFFF));
        EXPECT_EQ(h.getHex64Value(0, digits), value & mask);
        EXPECT_EQ(h.getHexValue(0, digits), value & mask & 0xFFFFFFFF); // the last 8 digits
    }
    GSString p;
    ASSERT_EQ(p.addHexPointer(reinterpret_cast<void const*>(0xABCL)), 0);
    EXPECT_EQ(bytes(p), "0000000000000abc");
}

TEST(GSStringNumbers, AddDouble)
{
    struct Case { double value; int width, decimals; std::string expected; };
    Case const cases[] = {
        // Rounding adds 0.49 as a float widened: not 0.5 (2.5 gives 2), not the double 0.49.
        {2.5, 3, 0, "  2"}, {0.509999995, 1, 0, "1"}, {-HUGE_VAL, 1, 0, "-inf"},
        {-9223372036854775808.0, 20, 0, " -9223372036854775808"}, {1e20, 2, 0, "100000000000000000000"},
        // printf into 256 bytes: the text is cut after 255 characters.
        {1e300, 1, 2, printed("%.2f", 1e300).substr(0, 255)}, {0.5, 400, 1, std::string(255, ' ')},
        {-DBL_MAX, 1, 2000, printed("%.2000f", -DBL_MAX).substr(0, 255)}, {0.5, 1, 2000, "0." + std::string(253, '0').replace(0, 1, "5")},
    };
    for (Case const& c : cases) {
        GSString s;
        ASSERT_EQ(s.addDouble(c.value, c.width, c.decimals), 0);
        EXPECT_EQ(bytes(s), c.expected) << c.value << " " << c.width << " " << c.decimals;
    }
    GSString f;
    ASSERT_EQ(f.addFloat(2.5f, 1, 0), 0);
    EXPECT_EQ(bytes(f), "2");

    // The model: "%*ld" of the rounded value without decimals; "%*.*f" with them, the width counting
    // digits only ("%8.2f" for width 5 and 2 decimals); "%f" or "%.*f" without a width.
    std::mt19937_64 random(2);
    for (int i = 0; i < 3000; ++i) {
        double const value =
            std::ldexp(static_cast<double>(random() % 2000000) - 1e6, static_cast<int>(random() % 80) - 60);
        int const width = static_cast<int>(random() % 14) - 3, decimals = static_cast<int>(random() % 12) - 2;
        auto const rounded = static_cast<long>(std::floor(value + 0.49000000953674316));
        std::string const expected =
            decimals < 1 ? (width < 1 ? printed("%f", value) : printed("%*ld", width + (rounded < 0), rounded))
                         : (width < 1 ? printed("%.*f", decimals, value)
                                      : printed("%*.*f", width + decimals + 1, decimals, value));
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
        {1234.6, -2, "1235", 0}, {1.5e-18, 30, "0.000000000000000001", -18} /* at most 18 decimals */,
        {1e19, 2, "10000000000000000000", 0},
    };
    for (Case const& c : cases) {
        GSString s;
        int shift = 99;
        ASSERT_EQ(s.addCompactDouble(c.value, c.decimals, &shift), 0);
        EXPECT_EQ(bytes(s) + " " + std::to_string(shift), c.expected + (" " + std::to_string(c.shift))) << c.value;
    }
    GSString f;
    ASSERT_EQ(f.addCompactFloat(1.05f, 3), 0);
    EXPECT_EQ(bytes(f), "1.05");
}

TEST(GSStringNumbers, ParseIntegers)
{
    // A sign may follow another (the first one counts); over-long numbers keep their leading digits.
    struct Case { char const* text; long value; long longValue; bool number; };
    Case const cases[] = {
        {"-+5", -5, -5, true}, {"+-5", 0, 0, false}, {"\v1", 0, 0, false},
        {"2147483648", 214748364, 2147483648, true}, {"-9223372036854775808", -922337203, -922337203685477580, true},
    };
    for (Case const& c : cases) {
        GSString const s(c.text);
        EXPECT_EQ(s.getLongValue(), c.value) << c.text;
        EXPECT_EQ(s.getLongLongValue(), c.longValue) << c.text;
        EXPECT_EQ(s.isNumber(), c.number) << c.text;
    }
    // Numbers that fit read as strtol and strtoll read them; a number is all the text but white space.
    std::mt19937 random(3);
    for (int i = 0; i < 3000; ++i) {
        std::string const text = randomText(random, " \t\n", 2) + randomText(random, "-+", 1) +
                                 randomText(random, "0123456789", i % 2 ? 8 : 17) + randomText(random, "x- .", 2);
        GSString const s(text.c_str());
        char* end = nullptr;
        EXPECT_EQ(s.getLongLongValue(), std::strtoll(text.c_str(), &end, 10)) << text;
        EXPECT_EQ(s.isNumber(), end != text.c_str() && std::strspn(end, " \t\n") == std::strlen(end)) << text;
        if (i % 2) {
            EXPECT_EQ(s.getLongValue(), std::strtol(text.c_str(), nullptr, 10)) << text;
        }
    }
}

TEST(GSStringNumbers, ParseDecimals)
{
    // Large whatever the exponent's sign (1.1e349 and 1e350); a point or a comma; no "inf".
    std::string const huge = std::string(400, '1') + "e-50", huge2 = "1" + std::string(400, '0') + "1e-50";
    struct Case { std::string text; double value; bool number; };
    Case const cases[] = {
        {"inf", 0, false}, {huge, HUGE_VAL, true}, {huge2, HUGE_VAL, true}, {"0," + std::string(200, '0') + "1e201", 1, true},
    };
    for (Case const& c : cases) {
        GSString const s(c.text.c_str());
        EXPECT_EQ(s.getDoubleValue(), c.value) << c.text;
        EXPECT_EQ(s.isFloatNumber(), c.number) << c.text;
    }
    // Random texts read as strtod and strtof read them in the "C" locale (a comma is a point); a
    // number is all the text but white space.
    std::mt19937 random(4);
    std::string const exponents[] = {"", "", "e", "E+", "e-", "e3", "e-30", "e39", "e-45", "e-320", "e308", "e-330",
                                     "e400"};
    for (int i = 0; i < 4000; ++i) {
        std::string text = randomText(random, "0123456789.,-+eE ", 14);
        if (i % 3)
            text = randomText(random, " \t", 2) + randomText(random, "-+", 1) + randomText(random, "0123456789", 12) +
                   randomText(random, ".,", 1) + randomText(random, "0123456789", 25) +
                   exponents[random() % std::size(exponents)] + randomText(random, " x", 1);
        GSString const s(text.c_str());
        std::replace(text.begin(), text.end(), ',', '.');
        char* end = nullptr;
        EXPECT_EQ(s.getDoubleValue(), std::strtod(text.c_str(), &end)) << text;
        EXPECT_EQ(s.isFloatNumber(), end != text.c_str() && std::strspn(end, " \t") == std::strlen(end)) << text;
        EXPECT_EQ(s.getFloatValue(), std::strtof(text.c_str(), nullptr)) << text;
    }
}

// Hexadecimal reading stops at a byte that is no digit and at the end of the string, which for a
// fixed string is not the end of the bytes around it; the nibbles against strtol and printf.
TEST(GSStringNumbers, HexDigits)
{
    char const hexText[] = "fabc";
    EXPECT_EQ(GSString("12zz").getHexValue(0, 4), 0x12u);
    EXPECT_EQ(GSString("abc").getHexValue(1, 8), 0xBCu);
    EXPECT_EQ(GSString("abc").getHexValue(3, 2) + GSString::fixed(hexText + 1).getHexValue(-1, 2), 0u);
    for (unsigned c = 0; c < 300; ++c) {
        int value = -1;
        bool const hex = c && c < 256 && std::strchr("0123456789abcdefABCDEF", static_cast<int>(c));
        EXPECT_EQ(GSIsHexNibble(c, &value), hex) << c;
        EXPECT_EQ(value, hex ? std::strtol(std::string(1, static_cast<char>(c)).c_str(), nullptr, 16) : -1);
        EXPECT_EQ(std::string() + GSGetNibbleHexChar(c, 0) + GSGetNibbleHexChar(c, 1), printed("%x%X", c & 15, c & 15));
    }
}

TEST(GSStringNumbers, NumberSuffixes)
{
    std::string const longName(50, 'n');
    struct Case { std::string text; char divider; long index; int value; int n; std::string result; };
    Case const cases[] = {
        {"Image_3", '_', 5, 3, 4, "Image_4"}, {"Image_", '_', -1, -1, 1, "Image__1"}, {"Image3", '_', -1, -1, 1, "Image3_1"},
        {"Scan12", 0, 4, 12, 7, "Scan07"}, {"Scan", 0, -1, -1, 7, "Scan7"}, {"_9", '_', 0, 9, 10, "_10"},
        {"Image_3", '_', 5, 3, -1, "Image"}, {"Image_3", '_', 5, 3, 0, "Image_0"}, {"a_99999999999", '_', 1, 999999999, 1, "a_00000000001"},
        {longName + " 3", ' ', 50, 3, 12, longName + " 12"},
    };
    for (Case const& c : cases) {
        GSString s(c.text.c_str());
        GSString const copy(s); // shares a block with s when the text is long
        EXPECT_EQ(s.findNumberSuffix(c.divider), c.index) << c.text;
        EXPECT_EQ(s.getNumberSuffix(c.divider), c.value) << c.text;
        ASSERT_EQ(s.setNumberSuffix(c.n, c.divider), 0);
        EXPECT_EQ(bytes(s) + "|" + bytes(copy), c.result + "|" + c.text);
    }
    char const digits[] = "142"; // a fixed string over the last two: the digit before is not its own
    EXPECT_EQ(GSString::fixed(digits + 1).findNumberSuffix(0), 0);
}

// Random bytes as hexadecimal text and back; texts that are not such a payload leave the array alone.
TEST(GSStringNumbers, BinaryPayloads)
{
    for (char const* text : {"abc", "0g", "12 3", "1\xE9"}) {
        GSDynaArray<unsigned char> out;
        EXPECT_FALSE(GSString(text).isBinaryData()) << text;
        EXPECT_EQ(GSString(text).decodeBinaryData(&out) + out.getCount(), 1) << text;
    }
    std::mt19937 random(5);
    for (int i = 0; i < 300; ++i) {
        GSDynaArray<unsigned char> data, back;
        ASSERT_EQ(back.add(7), 0); // decoding appends
        std::string expected;
        for (auto n = random() % 80; n > 0; --n) {
            auto const b = static_cast<unsigned char>(random());
            ASSERT_EQ(data.add(b), 0);
            expected += printed(random() % 2 ? "%02x" : "%02X", b);
        }
        GSString s("text", 4, GSString::kMac);
        ASSERT_EQ(s.initFromBinaryData(data), 0);
        EXPECT_EQ(s.getEncoding(), GSString::kUTF8);
        GSString const mixedCase(expected.c_str());
        EXPECT_TRUE(mixedCase.isBinaryData());
        ASSERT_EQ(mixedCase.decodeBinaryData(&back), 0);
        std::transform(expected.begin(), expected.end(), expected.begin(), [](char c) { return std::tolower(c); });
        EXPECT_EQ(bytes(s), expected);
        EXPECT_EQ(std::string(back.getPointer(), back.getPointer() + back.getCount()),
                  "\x07" + std::string(data.getPointer(), data.getPointer() + data.getCount()));
    }
}

TEST(GSStringNumbers, NumberedFormat)
{
    // "%0" is the tenth argument; a null argument is empty, and so is a null format. A "%" before
    // anything but a digit stands for itself: there is no escape.
    GSString const args[10] = {"A", "B", "3", "4", "5", "6", "7", "8", "9", "ten"};
    for (auto const& [format, expected] : {std::pair{"%2%1%1", "x: BAA"}, {"%%1", "x: %A"}, {"%%", "x: %%"},
                                           {"100%", "x: 100%"}, {"%a%", "x: %a%"}, {"%0,%9,%3,%1.", "x: ten,9,,A."}}) {
        GSString s("x: ");
        GSString const f(format);
        ASSERT_EQ(s.addStringWithNumberedFormat(nullptr), 0);
        ASSERT_EQ(s.addStringWithNumberedFormat(&f, &args[0], &args[1], nullptr, &args[3], &args[4], &args[5], &args[6],
                                                &args[7], &args[8], &args[9]), 0);
        EXPECT_EQ(bytes(s), expected) << format;
    }

    // One encoding: the destination's, unless the format or an argument taken is UTF-8; arguments
    // behind the highest placeholder are not taken.
    GSString const macE("\x8E", 1, GSString::kMac), windowsE("\xE9", 1, GSString::kWindows), utf8U("\u00FC");
    GSString const windowsEmpty("", 0, GSString::kWindows), page99("e", 1, 99);
    struct Encoded { GSString destination, format; GSString const* first; char const* expected; int tag; };
    Encoded const encoded[] = {
        {windowsEmpty, GSString("\x8E%1", 3, GSString::kMac), &windowsE, "\xE9\xE9", GSString::kWindows},
        {windowsEmpty, GSString("\x8E%1", 3, GSString::kMac), &page99, "\xE9" "e", GSString::kWindows},
        {windowsEmpty, GSString("\x8E%2", 3, GSString::kMac), &windowsE, "\u00E9\u00FC", GSString::kUTF8},
        {macE, GSString("%1\u00E9"), &macE, "\u00E9\u00E9\u00E9", GSString::kUTF8},
    };
    for (Encoded const& c : encoded) {
        GSString d(c.destination);
        ASSERT_EQ(d.addStringWithNumberedFormat(&c.format, c.first, &utf8U), 0);
        EXPECT_EQ(bytes(d), c.expected) << c.expected;
        EXPECT_EQ(d.getEncoding(), c.tag) << c.expected;
    }
}

// Without storage every append fails with 1, and an array that cannot grow is left as it was.
TEST(GSStringNumbers, AllocationFailures)
{
    GSDynaArray<unsigned char> data(100), out;
    ASSERT_EQ(data.setCount(100), 0);
    GSString s, longName((std::string(50, 'n') + "_1").c_str()), copy(longName), hex("0a0b");
    GSSetArrayAllocationHook([](size_t) { return false; });
    short const statuses[] = {s.addLong(5, 100), s.addHex64(1, 100, 0), s.addDouble(0.5, 400, 1),
                              s.initFromBinaryData(data), longName.setNumberSuffix(2, '_'), hex.decodeBinaryData(&out)};
    GSSetArrayAllocationHook(nullptr);
    for (short status : statuses)
        EXPECT_EQ(status, 1);
    EXPECT_EQ(out.getCount(), 0);
    EXPECT_EQ(bytes(copy), std::string(50, 'n') + "_1");
}
