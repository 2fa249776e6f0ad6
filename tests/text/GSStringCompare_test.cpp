#include "gs/text/GSString.h"

#include "tests/text/TextTestSupport.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

using namespace texttest;

namespace {

// The wildcard codes that file search puts in place of "?" and "*".
GSString pattern(std::string p)
{
    for (char& c : p) {
        if (c == '?')
            c = 2;
        else if (c == '*')
            c = 1;
    }
    return GSString(p.c_str());
}

} // namespace

TEST(GSStringCompare, NaturalOrder)
{
    UTF8Locale locale;
    struct Case { char const* a; char const* b; short pathMode; int expected; }; // the sign of compare(a, b)
    Case const cases[] = {
        {"file9", "file10", 0, -1}, {"File2", "file2", 0, 0}, {"file 9", "file10", 0, -1},
        {"a007", "a7", 0, -1}, {"a7", "a07", 0, 1}, // equal values: the number texts decide
        {"", "a", 0, -1}, {"", "", 0, 0},
        // Texts count as far as both reach before their numbers; in path mode the shorter text is smaller.
        {"ab1", "abc1", 0, 0}, {"ab1", "abc1", 1, -1},
        {"IMG_1234.jpg", "img_1235.JPG", 0, -1}, {"IMG_1234.jpg", "img_1234.JPG", 0, 0},
        {"1.5", "1.10", 0, -1}, // behind a number its point is not a new number start
        {"x.b", "x.c", 0, -1}, {"a.txt", "a1.txt", 0, -1}, {"a2b", "a2c", 0, -1},
        {"layer10 copy 3", "layer10 copy 12", 0, -1},
        {"n2147483650", "n2147483649", 0, 1}, {"n99999999999", "n99999999990", 0, 1}, // long numbers keep their leading digits
        {"dir9/a", "dir10/a", 0, -1}, {"dir9/a", "dir10/a", 1, -1}, {"d/file9", "d/file10", 1, -1},
        {"d/file2", "d/File2", 1, 0}, {"x/.a2", "x/.a10", 1, -1},
        {"d 1/x", "d1/x", 1, 0}, {"d/a 1", "d/a1", 1, 0}, {"d/ab 1", "d/a1", 1, 1}, // spaces: the last component only
        // Spaces before a number do not count (in path mode also a zero-width space).
        {"Scan 7", "Scan7", 0, 0}, {"Scan 7", "Scan7", 1, 0}, {"Scan\u200B7", "Scan7", 1, 0},
        {"Scan 10", "Scan7", 1, 1}, {"Scan x7", "Scan7", 1, 1},
        {"\u00C9cole2", "\u00E9cole10", 0, -1}, {"\u00E9cole", "e\u0301cole", 0, 0},
    };
    for (Case const& c : cases) { // and compare(b, a) gives the opposite
        GSString const a(c.a);
        GSString const b(c.b);
        EXPECT_EQ(sign(a.compareValueWithNumberCaseless(b, c.pathMode)), c.expected) << c.a << " / " << c.b << " " << c.pathMode;
        EXPECT_EQ(sign(b.compareValueWithNumberCaseless(a, c.pathMode)), -c.expected) << c.b << " / " << c.a << " " << c.pathMode;
    }
}

// Random names from pieces that meet every step: digits, points, spaces, slashes, case, accents
// both precomposed and combining, and multi-byte letters.
TEST(GSStringCompare, NaturalOrderIsAntisymmetric)
{
    UTF8Locale locale;
    char const* const pieces[] = {"a", "B", "img", "IMG_", "0", "7", "10", "007", ".", " ", "/", "_",
                                  "\u00E9", "e\u0301", "\u00C9", "\u200B", "\u00DF", "\u4E2D", "-"};
    std::mt19937 random(7);
    auto name = [&] {
        std::string s;
        for (auto n = random() % 7; n > 0; --n)
            s += pieces[random() % std::size(pieces)];
        return GSString(s.c_str());
    };
    for (int i = 0; i < 4000; ++i) {
        GSString const a = name();
        GSString const b = name();
        GSString const copy(std::string(a.c_str()).c_str());
        short const pathMode = static_cast<short>(i & 1);
        ASSERT_EQ(a.compareValueWithNumberCaseless(copy, pathMode), 0) << a.c_str();
        ASSERT_EQ(sign(a.compareValueWithNumberCaseless(b, pathMode)),
                  -sign(b.compareValueWithNumberCaseless(a, pathMode)))
            << a.c_str() << " / " << b.c_str() << " path " << pathMode;
    }
}

TEST(GSStringCompare, PlainAndCaseless)
{
    UTF8Locale locale;
    GSString const mac("\x8E", 1, GSString::kMac); // é in the Mac code page
    GSString const latin("\xE9", 1, GSString::kWindows);
    GSString const upperLatin("\xC9", 1, GSString::kWindows);
    using Compare = int (GSString::*)(GSString const&) const;
    Compare const value = &GSString::compareValue, simple = &GSString::compareValueSimple;
    Compare const caseless = &GSString::compareValueCaseless, caselessSimple = &GSString::compareValueCaselessSimple;
    Compare const string = &GSString::compareStringCaseless, starting = &GSString::compareValueStartingCaseless;
    struct Case { Compare f; GSString a, b; int sign; } const cases[] = {
        // Characters, not bytes: é equals e + U+0301 and the same letter in any code page.
        {value, "\u00E9", "e\u0301", 0}, {value, mac, "\u00E9", 0}, {value, mac, latin, 0},
        {value, "ab", "abc", -1}, {value, "a", "", 1},
        {caseless, "ABC", "abc", 0}, {caseless, "abc", "AB", 1}, {caseless, "\u00C9COLE", "e\u0301cole", 0},
        {caseless, upperLatin, mac, 0}, {caseless, "\u00E9", "e", 1},
        // The byte forms: unsigned bytes, ASCII case only.
        {simple, "\u00E9", "e\u0301", 1}, {simple, "\xC3", "a", 1}, {simple, "ab", "abc", -1},
        {caselessSimple, "aBcz", "AbCZ", 0}, {caselessSimple, "[", "a", 1}, {caselessSimple, "abc", "AB", 1},
        {caselessSimple, "\u00E9", "\u00C9", 1},
        // Caseless, then plain as the tie break.
        {string, "a", "A", 1}, {string, "a", "B", -1}, {string, "ab", "ab", 0},
        {starting, "Image copy 2", "image", 0}, {starting, "x", "", 0}, {starting, "Im", "image", -1},
        {starting, "Imagf", "image", 1},
    };
    for (Case const& c : cases)
        EXPECT_EQ(sign((c.a.*c.f)(c.b)), c.sign) << c.a.c_str() << " / " << c.b.c_str();
    EXPECT_EQ(GSString("b").compareValue(GSString("a")), 1);
    EXPECT_EQ(GSString("a").compareValueCaseless(GSString("C")), 'A' - 'C');
    EXPECT_EQ(GSString("abcX").compareValueCountCaseless(GSString("ABCY"), 3), 0);
    EXPECT_LT(GSString("abcX").compareValueCountCaseless(GSString("ABCY"), 4), 0);
    EXPECT_TRUE(GSString("abcX").isEqualCountCaseless(GSString("ABCY"), 3));
    EXPECT_EQ(GSString("\u00E9a").compareValueCountCaseless(GSString("\u00C9B"), 2), 0);

    GSString const a("a");
    GSString const b("B");
    EXPECT_LT(GSStringCompareAscendingCaseless(&a, &b), 0);
    EXPECT_GT(GSStringCompareDescendingCaseless(&a, &b), 0);
}

TEST(GSStringCompare, RangesAndCounts)
{
    GSString const s("abcdef");
    EXPECT_EQ(s.compareValueRanges(s, GSRange(1, 2), GSRange(1, 2)), 0);
    EXPECT_GT(s.compareValueRanges(s, GSRange(1, 2), GSRange(0, 2)), 0);
    EXPECT_EQ(s.compareValueRanges(GSString("xbcx"), GSRange(1, 2), GSRange(1, 2)), 0);
    EXPECT_EQ(s.compareValueRanges(GSString("xbcx"), GSRange(4, 0), GSRange(9, 3)), 0); // both empty
    EXPECT_EQ(s.compareValueRanges(GSString("x"), GSRange(4, 0), GSRange(0, 1)), -1);
    EXPECT_EQ(s.compareValueRanges(GSString("x"), GSRange(4, 1), GSRange(1, 1)), 1);
    EXPECT_EQ(s.compareValueRanges(GSString("cdefgh"), GSRange(2, 10), GSRange(0, 4)), 0); // clamped
    EXPECT_EQ(s.compareValueRanges(GSString("b"), GSRange(0, 1), GSRange(0, 1)), 'a' - 'b');

    // Two texts of one code page: bytes, then the length difference.
    GSString const w1("abc", 3, GSString::kWindows);
    GSString const w2("a", 1, GSString::kWindows);
    GSString const w3("\xE9", 1, GSString::kWindows);
    EXPECT_EQ(w1.compareValue(w2), 2);
    EXPECT_EQ(w2.compareValue(w1), -2);
    EXPECT_GT(w3.compareValue(w1), 0);
    EXPECT_EQ(w1.compareValueRanges(GSString("xab", 3, GSString::kWindows), GSRange(0, 2), GSRange(1, 2)), 0);

    EXPECT_EQ(GSString("abcd").compareValueCount(GSString("abce"), 3), 0);
    EXPECT_LT(GSString("abcd").compareValueCount(GSString("abce"), 4), 0);
    EXPECT_LT(GSString("abcd").compareValueCount(GSString("abce"), -1), 0);
    EXPECT_GT(GSString("abcd").compareValueCount(GSString("ab"), 3), 0);
    EXPECT_TRUE(GSString("abcd").isEqualCount(GSString("abc"), 3));
}

TEST(GSStringCompare, Wildcards)
{
    UTF8Locale locale;
    struct Case { char const* text; char const* pattern; short caseless; bool matches; };
    Case const cases[] = {
        {"photo.jpg", "*.jpg", 0, true}, {"photo.jpeg", "*.jpg", 0, false},
        {"README", "*.*", 0, false}, {"a.b.c", "*.*", 0, true},
        {"", "*", 0, true}, {"", "", 0, true}, {"", "?", 0, false},
        {"abc", "a?c", 0, true}, {"ac", "a?c", 0, false}, {"abc", "ab", 0, false},
        {"\u00E9\u00E9", "??", 0, true}, {"\u00E9\u00E9", "???", 0, false}, // one character, two bytes
        {"abcbcd", "*bcd", 0, true}, // the run must give back what it took
        {"mississippi", "*sip*", 0, true}, {"mississippi", "*ssx*", 0, false},
        {"aaa", "a*a*a", 0, true}, {"aa", "a*a*a", 0, false}, {"abc", "**c", 0, true},
        {"a*b", "a\\*b", 0, false},
        {"ABC", "a?c", 1, true}, {"\u00C9COLE.TXT", "\u00E9cole.*", 1, true}, {"\u00C9COLE.TXT", "\u00E9cole.*", 0, false},
    };
    for (Case const& c : cases) {
        EXPECT_EQ(GSString::compareValueWildcard(GSString(c.text), pattern(c.pattern), 2, 1, c.caseless) == 0,
                  c.matches)
            << c.text << " / " << c.pattern;
    }
    // Only the given codes are wildcards: "*" itself is an ordinary character.
    EXPECT_EQ(GSString::compareValueWildcard(GSString("a*b"), GSString("a*b"), 2, 1, 0), 0);
    EXPECT_NE(GSString::compareValueWildcard(GSString("axb"), GSString("a*b"), 2, 1, 0), 0);
    // A zero byte is a character in UTF-8 text but no character at all in code-page text.
    GSString const zeroUTF8("a\0b", 3, GSString::kUTF8);
    GSString const zeroMac("a\0b", 3, GSString::kMac);
    EXPECT_EQ(GSString::compareValueWildcard(zeroUTF8, pattern("a?b"), 2, 1, 0), 0);
    EXPECT_NE(GSString::compareValueWildcard(zeroUTF8, pattern("ab"), 2, 1, 0), 0);
    EXPECT_EQ(GSString::compareValueWildcard(zeroMac, pattern("ab"), 2, 1, 0), 0);
    EXPECT_NE(GSString::compareValueWildcard(zeroMac, pattern("a?b"), 2, 1, 0), 0);
}

// Random ASCII texts and patterns against a recursive matcher of our own, as UTF-8 and as code-page
// text; the same pairs with one non-ASCII character appended to both must match alike (that
// character can only meet its twin at the end), which sends them through the character walk
// instead of the byte walk of plain ASCII texts.
TEST(GSStringCompare, WildcardsAgreeWithAModelInBothWalks)
{
    struct Model {
        static bool matches(char const* t, char const* p)
        {
            if (*p == 0)
                return *t == 0;
            if (*p == '*')
                return matches(t, p + 1) || (*t != 0 && matches(t + 1, p));
            return *t != 0 && (*p == '?' || *p == *t) && matches(t + 1, p + 1);
        }
    };
    std::mt19937 random(71);
    char const textLetters[] = "ab.";
    char const patternLetters[] = "ab.*?";
    for (int round = 0; round < 20000; ++round) {
        std::string text, pat;
        for (int i = static_cast<int>(random() % 8); i > 0; --i)
            text += textLetters[random() % 3];
        for (int i = static_cast<int>(random() % 6); i > 0; --i)
            pat += patternLetters[random() % 5];
        bool const expected = Model::matches(text.c_str(), pat.c_str());
        ASSERT_EQ(GSString::compareValueWildcard(GSString(text.c_str()), pattern(pat), 2, 1, 0) == 0, expected)
            << '"' << text << "\" / \"" << pat << '"';
        GSString const windowsText(text.c_str(), static_cast<long>(text.size()), GSString::kWindows);
        ASSERT_EQ(GSString::compareValueWildcard(windowsText, pattern(pat), 2, 1, 0) == 0, expected)
            << '"' << text << "\" / \"" << pat << "\" as code-page text";
        ASSERT_EQ(GSString::compareValueWildcard(GSString((text + "\u00E9").c_str()), pattern(pat + "\u00E9"), 2, 1, 0) == 0,
                  expected)
            << '"' << text << "\" / \"" << pat << "\" with a non-ASCII end";
    }
}
