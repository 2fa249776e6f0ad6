#include "gs/text/GSString.h"

#include "tests/text/TextTestSupport.h"

#include <gtest/gtest.h>

#include <vector>

using texttest::make;

// One row per function: the results of a few calls and what they must be.
TEST(GSStringSearch, Table)
{
    texttest::UTF8Locale locale; // caseless letters beyond ASCII
    constexpr int kWin = GSString::kWindows, kMac = GSString::kMac;
    GSString const abc("abcabc"), hello("hello, world;"), items("a;bc;b");
    GSString const euro("a\xE2\x82\xAC" "b\xE2\x82\xAC"); // a€b€
    GSString const words("cat concat cat_ cat");
    long end = -1, end2 = -1;
    struct Case { char const* what; std::vector<long> got, expected; } const cases[] = {
        {"findChar", {abc.findChar('c'), abc.findChar('c', 3), abc.findChar('a', -5), abc.findChar('z')}, {2, 5, 0, -1}},
        // Windows and Mac e acute; UTF-8 bytes have no case, tag 2 has no table.
        {"findCharCaseless", {GSString("abcABC").findCharCaseless('C', 0), GSString("abcABC").findCharCaseless('a', 1),
                              make("x\xC9", kWin).findCharCaseless('\xE9', 0), make("x\x83", kMac).findCharCaseless('\x8E', 0),
                              make("\xC3\x89", 100).findCharCaseless('\xA9', 0), make("x\xC9", 2).findCharCaseless('\xE9', 0)},
         {2, 3, 1, 1, -1, -1}},
        // The end is excluded, the range clamped; a negative length is empty.
        {"findCharInRange", {abc.findCharInRange('a', GSRange(1, 3)), abc.findCharInRange('a', GSRange(1, 2)),
                             abc.findCharInRange('a', GSRange(-5, 100)), abc.findCharInRange('b', GSRange(1, -3))},
         {3, -1, 0, -1}},
        // Whole characters, a start inside one moves to the next, across tags.
        {"findCharFromString", {hello.findCharFromString(";,", 0), hello.findCharFromString(",", 6),
                                euro.findCharFromString("\xE2\x82\xAC", 0), euro.findCharFromString("\xE2\x82\xAC", 2),
                                euro.findCharFromString("\xE2", 0), make("caf\x8E", kMac).findCharFromString("\xC3\xA9", 0)},
         {5, -1, 1, 5, -1, 3}},
        {"findString", {abc.findString("ca"), abc.findString("abc", 1), abc.findString("ca", 3), abc.findString("")},
         {2, 3, -1, -1}},
        // U+017F (long s, two bytes) is "S" in upper case: the match ends after two bytes.
        {"findStringCaseless", {GSString("Hello WORLD").findStringCaseless("world"),
                                GSString("\xC3\x89T\xC3\x89 \xC3\xA9t\xC3\xA9").findStringCaseless("\xC3\xA9t\xC3\xA9"),
                                make("CAF\xC9", kWin).findStringCaseless("caf\xC3\xA9"), GSString("Hel").findStringCaseless("help"),
                                GSString("Hello").findStringCaseless(""), GSString("a\xC5\xBFun").findStringCaseless("SUN", 0, &end),
                                end, euro.findStringCaseless("b", 2)},
         {6, 0, 0, -1, -1, 1, 5, 4}},
        // Parts of words and words with "_" do not count, nor does a match glued to the text before
        // the start; letters beyond ASCII and accents belong to words.
        {"findWord", {words.findWord("cat"), words.findWord("cat", 1), GSString("(cat)").findWord("cat"),
                      GSString("xcat").findWord("cat", 1), GSString("\xC3\xA9" "cat cat").findWord("cat"),
                      GSString("cate\xCC\x81 cate").findWord("cate"), GSString("xTHE The").findWord("the", 0, 1, &end2), end2,
                      words.findWord(""), make("\xE9" "cat cat", kWin).findWord("cat")},
         {0, 16, 1, -1, 6, 7, 5, 8, -1, 5}},
        // A zero-width space is white space; a no-break space and byte 11 are not.
        {"findWhiteSpace", {GSString("ab\tc d").findWhiteSpace(), GSString("ab\tc d").findWhiteSpace(3),
                            GSString("\xC3\xA9\xE2\x80\x8B").findWhiteSpace(), GSString("a\xC2\xA0" "b\x0B").findWhiteSpace(),
                            GSString(" a").findWhiteSpace(-1)},
         {2, 4, 2, -1, 0}},
        {"findSequenceWithDelimiter", {items.findSequenceWithDelimiter("b", ';'), items.findSequenceWithDelimiter("bc", ';'),
                                       GSString("ab;a").findSequenceWithDelimiter("a", ';'), items.findSequenceWithDelimiter("c", ';'),
                                       items.findSequenceWithDelimiter("bc", ';', 3)},
         {5, 2, 3, -1, -1}},
        {"countChar", {GSString("banana").countChar('a')}, {3}},
        // U+2029 only in UTF-8; a line separator is no paragraph end.
        {"containsParagraphEnd", {GSString("a\nb").containsParagraphEnd(), GSString("a\xE2\x80\xA9").containsParagraphEnd(),
                                  make("a\xE2\x80\xA9", 99).containsParagraphEnd(), GSString("a\xE2\x80\xA8\x0B").containsParagraphEnd()},
         {1, 1, 0, 0}},
    };
    for (auto const& c : cases)
        EXPECT_EQ(c.got, c.expected) << c.what;
}
