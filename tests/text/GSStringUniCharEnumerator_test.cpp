#include "gs/text/GSCodePages.h"
#include "gs/text/GSString.h"
#include "gs/text/GSStringCombiningUniCharEnumerator.h"
#include "gs/text/GSStringUniCharEnumerator.h"

#include "tests/text/TextTestSupport.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <thread>
#include <vector>

using namespace texttest;

namespace {

using Chars = std::vector<unsigned int>;

// The characters an enumerator gives from where it stands to its end.
template <class Enumerator> Chars walk(Enumerator& e)
{
    Chars out;
    unsigned int c;
    while (e.getNext(&c))
        out.push_back(c);
    return out;
}

} // namespace

TEST(GSStringUniCharEnumerator, Walks)
{
    std::string const nul(1, '\0');
    struct Case { char const* what; std::string text; int tag; short decompose; GSRange range; Chars chars; };
    Case const cases[] = {
        {"a precomposed letter decomposed", "\xC3\xA9z", 100, 1, GSRange(), {'e', 0x0301, 'z'}},
        {"kept as it is without decomposition", "\xC3\xA9z", 100, 0, GSRange(), {0xE9, 'z'}},
        {"code-page text through its table", "\x8E\x14", 1, 0, GSRange(), {0xE9, 0xF8FF}},
        {"and decomposed", "\x8E", 1, 1, GSRange(), {'e', 0x0301}},
        {"a kept combining row decomposes too", "\xC4\xB1\xC4\x91", 100, 1, GSRange(), {'i', 0x0307, 'd', 0x0304}},
        {"letters the table does not make stay whole", "\xC3\x86\xE1\xB8\x80", 100, 1, GSRange(), {0xC6, 0x1E00}},
        {"characters from U+2000 on are never decomposed", "\xE2\x80\x98", 100, 1, GSRange(), {0x2018}},
        {"a zero byte in a code page gives no character", "a" + nul + nul + "b" + nul, 0, 0, GSRange(), {'a', 'b'}},
        {"a zero byte in UTF-8 is a character", "a" + nul + "b", 100, 0, GSRange(), {'a', 0, 'b'}},
        {"a code-page range", "abcdef", 1, 0, GSRange(2, 2), {'c', 'd'}},
        {"a range beyond the text is cut to it", "abcdef", 100, 0, GSRange(4, 100), {'e', 'f'}},
        {"a range before the text starts at 0", "abc", 100, 0, GSRange(-5, 6), {'a'}},
        {"a range that ends inside a character reads the byte at its end", "\xC3\xA9" "b", 100, 0, GSRange(0, 1),
         {0xE9}},
        {"a sequence cut by the end of the text takes the terminator", "a\xC3", 100, 0, GSRange(), {'a', 0xC0}},
        {"stray bytes read as themselves", "\x80\xFF", 100, 0, GSRange(), {0x80, 0xFF}},
        {"tag 2 has no table and reads as UTF-8", "\xC3\xA9", 2, 0, GSRange(), {0xE9}},
    };
    for (Case const& c : cases) {
        GSString s = make(c.text, c.tag);
        GSStringUniCharEnumerator e(s, c.decompose);
        if (c.range.isValid()) // else the whole string
            e.setRange(c.range);
        EXPECT_EQ(walk(e), c.chars) << c.what;
        EXPECT_EQ(walk(e), Chars{}) << c.what; // it stays at its end
    }
}

TEST(GSStringUniCharEnumerator, HeldBackAccent)
{
    GSString s("\xC3\xA9\xC3\xBC" "b");
    GSStringUniCharEnumerator e(s, 1);
    unsigned int c;
    ASSERT_TRUE(e.getNext(&c) && c == 'e');
    e.ignoreCombiningDiacreticalMark();
    ASSERT_TRUE(e.getNext(&c) && c == 'u');
    EXPECT_EQ(e.getIndex(), 4);
    e.setIndex(2); // the held-back accent still comes first
    EXPECT_EQ(walk(e), (Chars{0x0308, 'u', 0x0308, 'b'}));
    e.setIndex(-1); // an index before the text gives nothing
    EXPECT_EQ(walk(e), Chars{});
    e.setIndex(0);
    ASSERT_TRUE(e.getNext(&c));
    e.setRange(GSRange(4, 1)); // a new range drops the accent held back
    EXPECT_EQ(walk(e), Chars{'b'});
}

TEST(GSStringCombiningUniCharEnumerator, FoldsOneAccent)
{
    struct Case { char const* what; std::string text; int tag; Chars chars; std::vector<long> positions; };
    Case const cases[] = {
        {"a second accent comes out by itself", "e\xCC\x81\xCC\x81", 100, {0xE9, 0x0301}, {3, 5}},
        {"letters without an accent", "ab", 100, {'a', 'b'}, {1, 2}},
        {"an accent the letter does not take", "x\xCC\x81" "y", 100, {'x', 0x0301, 'y'}, {1, 3, 4}},
        {"an accent first", "\xCC\x88u\xCC\x88", 100, {0x0308, 0xFC}, {2, 5}},
        {"a precomposed letter takes no further accent", "\xC3\xA9\xCC\x81", 100, {0xE9, 0x0301}, {2, 4}},
        {"code-page text through its table", "\x8E" "a", 1, {0xE9, 'a'}, {1, 2}},
        {"a zero byte in a code page gives no character", std::string("a\0b", 3), 0, {'a', 'b'}, {1, 3}},
        {"a zero in UTF-8 ends the walk", std::string("a\0b", 3), 100, {'a'}, {1}},
        {"nothing", "", 100, {}, {}},
    };
    for (Case const& c : cases) {
        GSString s = make(c.text, c.tag);
        GSStringCombiningUniCharEnumerator e(s);
        Chars chars;
        std::vector<long> positions;
        for (unsigned int ch; e.getNext(&ch);) {
            chars.push_back(ch);
            positions.push_back(e.getPosition());
        }
        EXPECT_EQ(chars, c.chars) << c.what;
        EXPECT_EQ(positions, c.positions) << c.what;
    }
}

TEST(GSStringCombiningUniCharEnumerator, RangesAndRestarts)
{
    GSString s("ae\xCC\x81o\xCC\x88");
    GSStringCombiningUniCharEnumerator e(s);
    EXPECT_EQ(walk(e), (Chars{'a', 0xE9, 0xF6}));
    e.setIndex(1);
    EXPECT_EQ(e.getPosition(), 1);
    EXPECT_EQ(walk(e), (Chars{0xE9, 0xF6}));
    e.setRange(GSRange(1, 1)); // the accent lies outside the range
    EXPECT_EQ(walk(e), (Chars{'e'}));
    e.setRange(GSRange(4, 50));
    EXPECT_EQ(walk(e), (Chars{0xF6}));
    EXPECT_EQ(e.getPosition(), 7);
}

// Every decomposition below U+2100 is a letter the combining table makes from that base and mark, and
// all 175 of the table's letters decompose. Threads race to the first use: the table is built once.
TEST(GSStringUniCharEnumerator, DecompositionTable)
{
    std::vector<int> found(4, 0);
    std::vector<std::thread> threads;
    for (int& n : found)
        threads.emplace_back([&n] {
            for (unsigned int c = 0; c < 0x2100; ++c)
                n += GSCodePages::getDecomposition(c, nullptr, nullptr);
        });
    for (std::thread& t : threads)
        t.join();
    EXPECT_EQ(found, std::vector<int>(4, 175));
    for (unsigned int c = 0; c < 0x2100; ++c) {
        unsigned short base = 0, mark = 0;
        if (GSCodePages::getDecomposition(c, &base, &mark)) {
            EXPECT_EQ(GSString::getCombinationWithDiacriticalMark(base, mark), c) << c;
        }
    }
}

// Hostile text and ranges: every walk ends, and within the text.
TEST(GSStringUniCharEnumerator, RandomTextAndRanges)
{
    std::mt19937 random(3);
    for (int round = 0; round < 400; ++round) {
        std::string text(random() % 40, '\0');
        for (char& c : text)
            c = static_cast<char>(random() % 3 ? 0x80 + random() % 0x80 : random() % 0x80);
        GSString s = make(text, round % 2 ? 100 : static_cast<int>(random() % 4));
        long const n = s.getLength();
        GSRange const range(static_cast<long>(random() % 60) - 10, static_cast<long>(random() % 60) - 10);
        GSStringUniCharEnumerator plain(s, static_cast<short>(round % 3 == 0));
        GSStringCombiningUniCharEnumerator combining(s);
        if (round % 5) {
            plain.setRange(range);
            combining.setRange(range);
        }
        unsigned int c;
        for (long steps = 0; plain.getNext(&c);)
            ASSERT_LE(++steps, 2 * n);
        EXPECT_LE(plain.getIndex(), n + 1);
        for (long steps = 0; combining.getNext(&c);) {
            ASSERT_LE(++steps, n);
            EXPECT_LE(combining.getPosition(), n + 1);
        }
    }
}
