#include "gs/text/GSStringWordEnumerator.h"

#include "gs/text/GSString.h"

#include <gtest/gtest.h>

#include <clocale>
#include <random>
#include <string>
#include <vector>

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

    EXPECT_EQ(pieces("a_b"), (Pieces{"a_b"}));
    EXPECT_EQ(pieces("x1\x01y"), (Pieces{"x1\x01y"}));
    EXPECT_EQ(pieces("a  b"), (Pieces{"a", " ", " ", "b"}));
    EXPECT_EQ(pieces("a.,;b\tc"), (Pieces{"a", ".,;", "b", "\t", "c"}));
    EXPECT_EQ(pieces("a\vb\u00A0c"), (Pieces{"a", "\v", "b", "\u00A0", "c"})); // delimiters, not white space
    // A zero-width space is one piece of three bytes, and it separates words.
    EXPECT_EQ(pieces("ab\u200Bcd"), (Pieces{"ab", "\u200B", "cd"}));
    // An accent belongs to the character before it, also after a delimiter or a space.
    EXPECT_EQ(pieces(",\u0301a"), (Pieces{",\u0301", "a"}));
    EXPECT_EQ(pieces(" \u0301\u0302a"), (Pieces{" \u0301\u0302", "a"}));
    EXPECT_EQ(pieces(",\u0300\u036Fa"), (Pieces{",\u0300\u036F", "a"}));
    EXPECT_EQ(pieces("caf\u00E9 e\u0301t\u00E9"), (Pieces{"caf\u00E9", " ", "e\u0301t\u00E9"}));
    EXPECT_EQ(pieces("\u4E2D\u6587,x"), (Pieces{"\u4E2D\u6587", ",", "x"}));
    EXPECT_TRUE(pieces("").empty());

    // A code-page byte above 0x7F is classed by the locale as the code point of its value.
    GSString const latin("ab, \xE9t\xE9", 7, GSString::kWindows);
    EXPECT_EQ(latin.getWordRangeForIndex(5), GSRange(5, 1));
    EXPECT_EQ(latin.getWordRangeForIndex(2), GSRange(2, 1));
    std::setlocale(LC_CTYPE, "C.UTF-8");
    EXPECT_EQ(latin.getWordRangeForIndex(5), GSRange(4, 3));
    std::setlocale(LC_CTYPE, "C");
}

TEST(GSStringWordEnumerator, CharacterClasses)
{
    for (unsigned int c : {3u, 7u, 9u, 10u, 12u, 13u, 32u, 0x200Bu})
        EXPECT_TRUE(GSString::isWhiteSpace(c)) << c;
    for (unsigned int c : {0u, 11u, 0xA0u, 0x61u, 0x2028u})
        EXPECT_FALSE(GSString::isWhiteSpace(c)) << c;
    // Line and paragraph ends: c, isReturn, isParagraphEnd, isVisualParagraphEnd.
    struct Ends {
        unsigned int c;
        bool ret, paragraph, visual;
    };
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

    // By index: UTF-8 reads the character there, a code page the byte.
    GSString const s("a,\u00E9 \u200B");
    EXPECT_FALSE(s.isWordDelimiter(0));
    EXPECT_TRUE(s.isWordDelimiter(1));
    EXPECT_FALSE(s.isWordDelimiter(2));
    EXPECT_TRUE(s.isWhiteSpace(4L));
    EXPECT_TRUE(s.isWhiteSpace(5L));
    EXPECT_FALSE(s.isWhiteSpace(1L));
    EXPECT_FALSE(s.isWordDelimiter(99));
    GSString const page("a,\x0B", 3, GSString::kMac);
    EXPECT_FALSE(page.isWordDelimiter(0));
    EXPECT_TRUE(page.isWordDelimiter(1));
    EXPECT_FALSE(page.isWhiteSpace(2L));

    std::setlocale(LC_CTYPE, "C.UTF-8");
    EXPECT_EQ(GSString::toUpperUnicode(0xE9), 0xC9u);
    EXPECT_EQ(GSString::toLowerUnicode('Q'), unsigned('q'));
    EXPECT_EQ(GSString::getCharKind('7'), 2);
    EXPECT_EQ(GSString::getCharKind(0xE9), 3);
    EXPECT_EQ(GSString::getCharKind(0x200B), 1);
    EXPECT_EQ(GSString::getCharKind(','), 4);
    std::setlocale(LC_CTYPE, "C");
}

TEST(GSStringWordEnumerator, IndicesAndNumbers)
{
    // e, two accents, x: one cluster of five bytes, then x.
    GSString const s("e\u0301\u0302x");
    EXPECT_EQ(s.getValidStartIndexForIndex(4), 0);
    EXPECT_EQ(s.getValidStartIndexForIndex(5), 5);
    EXPECT_EQ(s.getValidEndIndexForIndex(0), 2); // one accent only
    EXPECT_EQ(s.getValidEndIndexForIndex(5), 5);
    EXPECT_EQ(s.nextValidIndex(0), 5);
    EXPECT_EQ(s.nextValidIndex(5), 6);
    EXPECT_EQ(s.previousValidIndex(5), 0);
    EXPECT_EQ(s.previousValidIndex(6), 5);
    EXPECT_EQ(s.previousValidIndex(0), 0);
    EXPECT_EQ(s.nextValidIndex(-3), 0);
    EXPECT_EQ(s.getCharCountForIndex(5), 3);
    EXPECT_EQ(s.getCharCountForIndex(4), 3);
    GSString const page("\xE9\xE9", 2, GSString::kWindows);
    EXPECT_EQ(page.getValidStartIndexForIndex(1), 1);
    EXPECT_EQ(page.nextValidIndex(0), 1);
    EXPECT_EQ(page.getCharCountForIndex(2), 2);

    GSString const path("a/b/c");
    EXPECT_EQ(path.findCharRev('/'), 3);
    EXPECT_EQ(path.findCharRev('/', 2), 1);
    EXPECT_EQ(path.findCharRev('a', 0), 0);
    EXPECT_EQ(path.findCharRev('x'), -1);

    struct Case {
        char const* text;
        long start;
        int value;
        long end;
        long usedEnd;
    };
    Case const cases[] = {
        {"123", 0, 123, 3, 3},
        {"-+12x", 0, -12, 4, 4},
        {"+-5", 0, 0, 1, 1},
        {"--5", 0, 0, 1, 1},
        {"x42", 1, 42, 3, 3},
        {"abc", 0, 0, 0, 0},
        {"2147483647", 0, 214748364, 10, 9},
        {"2147483639", 0, 2147483639, 10, 10},
        {"99999999999", 0, 999999999, 11, 9},
    };
    for (Case const& c : cases) {
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
