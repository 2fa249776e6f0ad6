#include "gs/text/GSString.h"

#include "tests/text/TextTestSupport.h"

#include <gtest/gtest.h>

using texttest::make;

namespace {

constexpr int kWin = GSString::kWindows;
constexpr int kMac = GSString::kMac;
constexpr int kUTF8 = GSString::kUTF8;

} // namespace

TEST(GSStringSearch, Table)
{
    texttest::UTF8Locale locale; // caseless letters beyond ASCII
    GSString const abc("abcabc");
    GSString const euro("a\xE2\x82\xAC" "b\xE2\x82\xAC"); // a€b€
    GSString const words("cat concat cat_ cat");
    long end = -1;
    struct Case { char const* what; long got; long expected; } const cases[] = {
        {"findChar", abc.findChar('c'), 2},
        {"findChar from a start", abc.findChar('c', 3), 5},
        {"findChar from a negative start", abc.findChar('a', -5), 0},
        {"findChar missing", abc.findChar('z'), -1},

        {"findCharCaseless ASCII", GSString("abcABC").findCharCaseless('C', 0), 2},
        {"findCharCaseless from a start", GSString("abcABC").findCharCaseless('a', 1), 3},
        {"findCharCaseless Windows e acute", make("x\xC9", kWin).findCharCaseless('\xE9', 0), 1},
        {"findCharCaseless Mac e acute", make("x\x83", kMac).findCharCaseless('\x8E', 0), 1},
        {"findCharCaseless UTF-8 bytes have no case", make("\xC3\x89", kUTF8).findCharCaseless('\xA9', 0), -1},
        {"findCharCaseless tag 2 has no table", make("x\xC9", 2).findCharCaseless('\xE9', 0), -1},

        {"findCharInRange", abc.findCharInRange('a', GSRange(1, 3)), 3},
        {"findCharInRange end excluded", abc.findCharInRange('a', GSRange(1, 2)), -1},
        {"findCharInRange clamped", abc.findCharInRange('a', GSRange(-5, 100)), 0},
        {"findCharInRange negative length", abc.findCharInRange('b', GSRange(1, -3)), -1},

        {"findCharFromString", GSString("hello, world;").findCharFromString(";,", 0), 5},
        {"findCharFromString from a start", GSString("hello, world").findCharFromString(";,", 6), -1},
        {"findCharFromString UTF-8 character", euro.findCharFromString("\xE2\x82\xAC", 0), 1},
        {"findCharFromString start inside a character", euro.findCharFromString("\xE2\x82\xAC", 2), 5},
        {"findCharFromString no lead byte match", euro.findCharFromString("\xE2", 0), -1},
        {"findCharFromString across tags", make("caf\x8E", kMac).findCharFromString("\xC3\xA9", 0), 3},

        {"findString", abc.findString("ca"), 2},
        {"findString from a start", abc.findString("abc", 1), 3},
        {"findString after the last", abc.findString("ca", 3), -1},
        {"findString empty", abc.findString(""), -1},

        {"findStringCaseless", GSString("Hello WORLD").findStringCaseless("world"), 6},
        {"findStringCaseless beyond ASCII", GSString("\xC3\x89T\xC3\x89 \xC3\xA9t\xC3\xA9").findStringCaseless("\xC3\xA9t\xC3\xA9"), 0},
        {"findStringCaseless across tags", make("CAF\xC9", kWin).findStringCaseless("caf\xC3\xA9"), 0},
        {"findStringCaseless at the end of the text", GSString("Hel").findStringCaseless("help"), -1},
        {"findStringCaseless empty", GSString("Hello").findStringCaseless(""), -1},
        // U+017F (long s, two bytes) is "S" in upper case: the match ends after two bytes.
        {"findStringCaseless with end", GSString("a\xC5\xBFun").findStringCaseless("SUN", 0, &end), 1},
        {"  ... end", end, 5},
        {"findStringCaseless from inside a character", euro.findStringCaseless("b", 2), 4},

        {"findWord", words.findWord("cat"), 0},
        {"findWord skips a part of a word and one with _", words.findWord("cat", 1), 16},
        {"findWord between delimiters", GSString("(cat)").findWord("cat"), 1},
        {"findWord the text before the start counts", GSString("xcat").findWord("cat", 1), -1},
        {"findWord a letter beyond ASCII is a word letter", GSString("\xC3\xA9" "cat cat").findWord("cat"), 6},
        {"findWord an accent after it belongs to the word", GSString("cate\xCC\x81 cate").findWord("cate"), 7},
        {"findWord caseless", GSString("xTHE The").findWord("the", 0, 1, &end), 5},
        {"  ... end", end, 8},
        {"findWord empty", words.findWord(""), -1},
        {"findWord code page", make("\xE9" "cat cat", kWin).findWord("cat"), 5},

        {"findWhiteSpace tab", GSString("ab\tc d").findWhiteSpace(), 2},
        {"findWhiteSpace from a start", GSString("ab\tc d").findWhiteSpace(3), 4},
        {"findWhiteSpace zero-width space", GSString("\xC3\xA9\xE2\x80\x8B").findWhiteSpace(), 2},
        {"findWhiteSpace no-break space is none", GSString("a\xC2\xA0" "b\x0B").findWhiteSpace(), -1},

        {"findSequenceWithDelimiter last item", GSString("a;bc;b").findSequenceWithDelimiter("b", ';'), 5},
        {"findSequenceWithDelimiter middle item", GSString("a;bc;b").findSequenceWithDelimiter("bc", ';'), 2},
        {"findSequenceWithDelimiter first item", GSString("ab;a").findSequenceWithDelimiter("a", ';'), 3},
        {"findSequenceWithDelimiter item part", GSString("a;bc;b").findSequenceWithDelimiter("c", ';'), -1},
        {"findSequenceWithDelimiter from a start", GSString("a;bc;b").findSequenceWithDelimiter("bc", ';', 3), -1},

        {"countChar", GSString("banana").countChar('a'), 3},

        {"containsParagraphEnd line feed", GSString("a\nb").containsParagraphEnd(), 1},
        {"containsParagraphEnd U+2029", GSString("a\xE2\x80\xA9").containsParagraphEnd(), 1},
        {"containsParagraphEnd those bytes in a code page", make("a\xE2\x80\xA9", 99).containsParagraphEnd(), 0},
        {"containsParagraphEnd line separator", GSString("a\xE2\x80\xA8\x0B").containsParagraphEnd(), 0},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(c.got, c.expected);
    }
}
