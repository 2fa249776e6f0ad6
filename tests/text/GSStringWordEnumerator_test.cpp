#include "gs/text/GSStringWordEnumerator.h"

#include "gs/text/GSString.h"

#include "tests/text/TextTestSupport.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

using namespace texttest;

namespace {

std::vector<std::string> pieces(GSString const& s, GSRange const& range, std::vector<bool>* dividers = nullptr)
{
    GSStringWordEnumerator words(s, range);
    std::vector<std::string> out;
    GSRange piece;
    while (words.getNext(&piece)) {
        out.push_back(std::string(words.getWord().c_str()));
        if (dividers)
            dividers->push_back(words.isDivider());
    }
    return out;
}

std::vector<std::string> pieces(char const* text)
{
    GSString const s(text);
    return pieces(s, GSRange(0, s.getLength()));
}

using Pieces = std::vector<std::string>;

} // namespace

TEST(GSStringWordEnumerator, Pieces)
{
    std::vector<bool> dividers;
    GSString const s("ab, cd");
    EXPECT_EQ(pieces(s, GSRange(0, 6), &dividers), (Pieces{"ab", ",", " ", "cd"}));
    EXPECT_EQ(dividers, (std::vector<bool>{false, true, true, false}));
    EXPECT_EQ(pieces(s, GSRange(1, 4)), (Pieces{"b", ",", " ", "c"}));
    EXPECT_EQ(pieces(s, GSRange(3, 100)), (Pieces{" ", "cd"}));

    std::pair<char const*, Pieces> const cases[] = {
        {"a_b  x1\x01y", {"a_b", " ", " ", "x1\x01y"}}, // each white-space character is its own piece
        {"a.,;b\tc", {"a", ".,;", "b", "\t", "c"}},
        {"a\vb\u00A0c", {"a", "\v", "b", "\u00A0", "c"}}, // delimiters, not white space
        {"ab\u200Bcd", {"ab", "\u200B", "cd"}}, // a zero-width space: one piece of three bytes
        // An accent belongs to the character before it, also after a delimiter or a space.
        {",\u0300\u036F \u0301\u0302a", {",\u0300\u036F", " \u0301\u0302", "a"}},
        {"caf\u00E9 e\u0301t\u00E9", {"caf\u00E9", " ", "e\u0301t\u00E9"}},
        {"\u4E2D\u6587,x", {"\u4E2D\u6587", ",", "x"}},
        {"", {}},
    };
    for (auto const& [text, expected] : cases)
        EXPECT_EQ(pieces(text), expected) << text;

    // A code-page byte above 0x7F is classed by the locale as the code point of its value.
    GSString const latin("ab, \xE9t\xE9", 7, GSString::kWindows);
    EXPECT_EQ(latin.getWordRangeForIndex(5), GSRange(5, 1));
    EXPECT_EQ(latin.getWordRangeForIndex(2), GSRange(2, 1));
    UTF8Locale locale;
    EXPECT_EQ(latin.getWordRangeForIndex(5), GSRange(4, 3));
}

TEST(GSStringWordEnumerator, CharacterClasses)
{
    for (unsigned int c : {3u, 7u, 9u, 10u, 12u, 13u, 32u, 0x200Bu})
        EXPECT_TRUE(GSString::isWhiteSpace(c)) << c;
    for (unsigned int c : {0u, 11u, 0xA0u, 0x61u, 0x2028u})
        EXPECT_FALSE(GSString::isWhiteSpace(c)) << c;
    struct Ends { unsigned int c; bool ret, paragraph, visual; }; // isReturn, isParagraphEnd, isVisualParagraphEnd
    for (Ends const& e : {Ends{13, true, true, true}, Ends{10, true, true, true}, Ends{0x2029, false, true, true},
                          Ends{0x2028, false, false, true}, Ends{12, false, false, true}, Ends{3, false, false, true},
                          Ends{14, false, false, false}, Ends{32, false, false, false}}) {
        EXPECT_EQ(GSString::isReturn(e.c), e.ret) << e.c;
        EXPECT_EQ(GSString::isParagraphEnd(e.c), e.paragraph) << e.c;
        EXPECT_EQ(GSString::isVisualParagraphEnd(e.c), e.visual) << e.c;
    }
    for (unsigned int c : {1u, unsigned('_'), unsigned('a'), unsigned('Z'), unsigned('0'), 0xDFu, 0xE9u, 0x301u, 0x4E2Du})
        EXPECT_FALSE(GSString::isUniCharWordDelimiter(c)) << c;
    for (unsigned int c : {0u, unsigned(' '), unsigned(','), unsigned('-'), 0xA0u, 0xD7u})
        EXPECT_TRUE(GSString::isUniCharWordDelimiter(c)) << c;

    // By index: UTF-8 reads the character there, a code page the byte. Index 99 is outside the text.
    GSString const s("a,\u00E9 \u200B");
    GSString const page("a,\x0B", 3, GSString::kMac);
    struct At { GSString const* text; long index; bool delimiter, white; } const at[] = {
        {&s, 0, false, false}, {&s, 1, true, false}, {&s, 2, false, false}, {&s, 4, true, true}, {&s, 99, false, false},
        {&page, 0, false, false}, {&page, 1, true, false}, {&page, 2, true, false},
    };
    for (At const& a : at) {
        EXPECT_EQ(a.text->isWordDelimiter(a.index), a.delimiter) << a.text->c_str() << " " << a.index;
        EXPECT_EQ(a.text->isWhiteSpace(a.index), a.white) << a.text->c_str() << " " << a.index;
    }
    EXPECT_TRUE(s.isWhiteSpace(5L)); // the zero-width space

    UTF8Locale locale;
    EXPECT_EQ(GSString::toUpperUnicode(0xE9), 0xC9u);
    EXPECT_EQ(GSString::toLowerUnicode('Q'), unsigned('q'));
    EXPECT_EQ(GSString::getCharKind('7'), 2);
    EXPECT_EQ(GSString::getCharKind(0xE9), 3);
    EXPECT_EQ(GSString::getCharKind(0x200B), 1);
    EXPECT_EQ(GSString::getCharKind(','), 4);
}

TEST(GSStringWordEnumerator, IndicesAndNumbers)
{
    GSString const s("e\u0301\u0302x"); // e, two accents, x: one cluster of five bytes, then x
    GSString const page("\xE9\xE9", 2, GSString::kWindows);
    using Index = long (GSString::*)(long) const noexcept;
    Index const start = &GSString::getValidStartIndexForIndex, stop = &GSString::getValidEndIndexForIndex;
    Index const next = &GSString::nextValidIndex, previous = &GSString::previousValidIndex, count = &GSString::getCharCountForIndex;
    struct Case { GSString const* text; Index f; long index, expected; } const indices[] = {
        {&s, start, 4, 0}, {&s, start, 5, 5}, {&s, stop, 0, 2} /* one accent only */, {&s, stop, 5, 5},
        {&s, next, 0, 5}, {&s, next, 5, 6}, {&s, next, -3, 0}, {&s, previous, 5, 0}, {&s, previous, 6, 5},
        {&s, previous, 0, 0}, {&s, count, 5, 3}, {&s, count, 4, 3},
        {&page, start, 1, 1}, {&page, next, 0, 1}, {&page, count, 2, 2},
    };
    for (Case const& c : indices)
        EXPECT_EQ((c.text->*c.f)(c.index), c.expected) << c.text->c_str() << " " << c.index;

    GSString const path("a/b/c");
    EXPECT_EQ(path.findCharRev('/'), 3);
    EXPECT_EQ(path.findCharRev('/', 2), 1);
    EXPECT_EQ(path.findCharRev('a', 0), 0);
    EXPECT_EQ(path.findCharRev('x'), -1);

    struct Number { char const* text; long start; int value; long end, usedEnd; };
    Number const numbers[] = {
        {"123", 0, 123, 3, 3}, {"-+12x", 0, -12, 4, 4}, {"+-5", 0, 0, 1, 1}, {"--5", 0, 0, 1, 1}, {"x42", 1, 42, 3, 3},
        {"abc", 0, 0, 0, 0}, {"2147483647", 0, 214748364, 10, 9}, {"2147483639", 0, 2147483639, 10, 10},
        {"99999999999", 0, 999999999, 11, 9},
    };
    for (Number const& c : numbers) {
        long end = -1, usedEnd = -1;
        EXPECT_EQ(GSString(c.text).getBasicLongValue(c.start, &end, &usedEnd), c.value) << c.text;
        EXPECT_EQ(end, c.end) << c.text;
        EXPECT_EQ(usedEnd, c.usedEnd) << c.text;
    }
}

// Random UTF-8 text and random ranges: the pieces follow one another from the range's start to
// its end without gaps, each holds at least one byte, and the walk ends.
TEST(GSStringWordEnumerator, PiecesTileEveryRange)
{
    char const* const parts[] = {"a", "Z", "_", "7", " ", ",", ".", "\t", "\u200B", "\u0301", "\u00E9",
                                 "\u00DF", "\u4E2D", "\u00A0", "\xF0\x9F\x98\x80", "\x80", "\xC3"};
    std::mt19937 random(3);
    for (int i = 0; i < 3000; ++i) {
        std::string text;
        for (auto n = random() % 12; n > 0; --n)
            text += parts[random() % std::size(parts)];
        GSString const s(text.c_str());
        long const length = s.getLength();
        long start = 0;
        long end = length;
        if (i % 2 && length > 0) {
            start = static_cast<long>(random() % static_cast<unsigned>(length));
            end = start + static_cast<long>(random() % static_cast<unsigned>(length - start + 1));
        }
        GSStringWordEnumerator words(s, GSRange(start, end - start));
        long at = start;
        GSRange piece;
        int count = 0;
        while (words.getNext(&piece)) {
            ASSERT_EQ(piece.start, at) << text;
            ASSERT_GT(piece.length, 0) << text;
            at = piece.getEnd();
            ASSERT_LE(at, end) << text;
            ASSERT_LE(++count, length) << text;
        }
        ASSERT_EQ(at, end) << text;
        // Over the whole text the pieces are those of getWordRangeForIndex at each of their bytes.
        if (start == 0 && end == length) {
            GSStringWordEnumerator all(s);
            while (all.getNext(&piece)) {
                for (long j = piece.start; j < piece.getEnd(); ++j)
                    ASSERT_EQ(s.getWordRangeForIndex(j), piece) << text << " at " << j;
            }
        }
    }
}
