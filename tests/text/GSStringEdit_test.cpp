#include "gs/text/GSString.h"

#include "gs/object/GSArrayMemory.h"

#include "tests/text/TextTestSupport.h"

#include <gtest/gtest.h>

#include <climits>
#include <random>
#include <string>

using texttest::bytes;
using texttest::make;

namespace {

constexpr int kWin = GSString::kWindows;
constexpr int kMac = GSString::kMac;
constexpr int kUTF8 = GSString::kUTF8;

// A string of 60 bytes or more, so that it lives in a block that copies share.
GSString shared(std::string const& text)
{
    return GSString((text + std::string(60, '.')).c_str());
}

} // namespace

TEST(GSStringEdit, CopyNames)
{
    texttest::UTF8Locale locale;
    struct Case { char const* name; char const* copyWord; char const* suffix; short append; short space; char const* expected; } const cases[] = {
        {"Image", " (", ")", 1, 0, "Image (2)"},
        {"Image (2)", " (", ")", 1, 0, "Image (3)"},
        {"Image (9)", " (", ")", 1, 0, "Image (10)"},
        {"Image (0)", " (", ")", 1, 0, "Image (2)"},
        {"Image ()", " (", ")", 1, 0, "Image (2)"},
        {"Image (2", " (", ")", 1, 0, "Image (2 (2)"},          // suffix does not match
        {"Image [2)", " (", ")", 1, 0, "Image [2) (2)"},        // copy word does not match
        {"Image copy", " copy", "", 1, 1, "Image copy 2"},
        {"Image", " copy", "", 1, 1, "Image copy"},
        {"Image copy 2", " copy", "", 1, 1, "Image copy 3"},
        {"Image copy\xE2\x80\x8B" "2", " copy", "", 1, 1, "Image copy 3"}, // zero-width space
        {"Image copy2", " copy", "", 1, 1, "Image copy 3"},     // the space is not required
        {"Image copy 2", " copy", "", 1, 0, "Image copy 2 copy2"}, // without the flag it is text
        {"Image COPY", " copy", "", 1, 1, "Image COPY copy"},     // case-sensitive
        {"Image copy 7", " copy", "", 1, 1, "Image copy 8"},
        {"Image7", "", "", 1, 0, "Image8"},                      // empty copy word
        {"Image", "", "", 1, 0, "Image2"},
        {"Image (99999999999)", " (", ")", 1, 0, "Image (1000000000)"}, // leading digits only
        {"Image", "Copy of ", "", 0, 1, "Copy of Image"},        // in front
        {"Copy of Image", "Copy of ", "", 0, 1, "Copy of Copy of Image"},
        {"Image", "Copy ", "", 0, 0, "Copy 2Image"},
        {"Image (2)", " (", ")", 0, 0, " (2)Image (2)"},
        {"", " (", ")", 1, 0, " (2)"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.name + std::string(" / ") + c.copyWord);
        EXPECT_EQ(bytes(GSString(c.name).getNextCopyName(c.copyWord, c.suffix, c.append, c.space)), c.expected);
    }
    // A code page keeps its tag; U+200B is no space there.
    GSString const mac = make("Image copy\xE2\x80\x8B" "2", kMac).getNextCopyName(" copy", "", 1, 1);
    EXPECT_EQ(bytes(mac), "Image copy\xE2\x80\x8B" "2 copy");
    EXPECT_EQ(mac.getEncoding(), kMac);
}

TEST(GSStringEdit, EditsNeverSplitAUTF8Character)
{
    struct Case { char const* what; GSString s; char const* expected; } cases[] = {
        {"insert before an accent", GSString("e\xCC\x81x"), "-e\xCC\x81x"},
        {"insert inside an accent", GSString("e\xCC\x81x"), "-e\xCC\x81x"},
        {"insert inside a character", GSString("a\xC3\xA9"), "a-\xC3\xA9"},
        {"remove part of a character", GSString("a\xC3\xA9" "b"), "ab"},
        {"remove a letter with its accent", GSString("e\xCC\x81x"), "x"},
        {"remove from an accent", GSString("e\xCC\x81x"), "x"},
        {"code-page bytes are characters", make("e\xCC\x81x", kWin), "e\x81x"},
    };
    EXPECT_EQ(cases[0].s.insert(1, "-"), 0);
    EXPECT_EQ(cases[1].s.insert(2, "-"), 0);
    EXPECT_EQ(cases[2].s.insert(2, "-"), 0);
    EXPECT_EQ(cases[3].s.remove(2, 1), 0);
    EXPECT_EQ(cases[4].s.remove(0, 1), 0);
    EXPECT_EQ(cases[5].s.remove(1, 1), 0);
    EXPECT_EQ(cases[6].s.remove(1, 1), 0);
    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(bytes(c.s), c.expected);
    }

    // Random insertions and removals at any byte keep the text valid UTF-8 with every accent on
    // its letter, and change exactly a range that covers the requested one.
    std::mt19937 random(3);
    static char const* const alphabet[] = {"a", " ", "\xC3\xA9", "e\xCC\x81", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"};
    std::string text;
    for (int i = 0; i < 12; ++i)
        text += alphabet[random() % 6];
    GSString s(text.c_str());
    auto accentAt = [](std::string const& t, size_t i) { return t.compare(i, 2, "\xCC\x81") == 0; };
    for (int step = 0; step < 2000; ++step) {
        std::string const before = bytes(s);
        long const at = static_cast<long>(random() % (before.size() + 1));
        if (random() % 2 || before.size() < 4) {
            std::string const piece = alphabet[random() % 6];
            ASSERT_EQ(s.insert(at, piece.c_str()), 0);
            std::string const after = bytes(s);
            bool placed = false;
            for (long p = std::max(0L, at - 3); p <= at && !placed; ++p)
                placed = !accentAt(before, static_cast<size_t>(p)) && after == before.substr(0, p) + piece + before.substr(p);
            ASSERT_TRUE(placed) << step;
        } else {
            long const n = static_cast<long>(random() % 6);
            ASSERT_EQ(s.remove(at, n), 0);
            std::string const after = bytes(s);
            long const removed = static_cast<long>(before.size() - after.size());
            long const end = std::min<long>(at + n, static_cast<long>(before.size()));
            bool covered = n == 0 && after == before;
            for (long a = std::max(0L, at - 3); n > 0 && a <= at && !covered; ++a) {
                long const b = a + removed;
                covered = b >= end && !accentAt(before, a) && !accentAt(before, b) &&
                          after == before.substr(0, a) + before.substr(b);
            }
            ASSERT_TRUE(covered) << step;
        }
        ASSERT_TRUE(s.isValidUTF8() || s.isEmpty()) << step;
        if (s.getLength() > 200 || s.getLength() < 4)
            s = text.c_str();
    }
}

TEST(GSStringEdit, ReplacementLists)
{
    struct Case { char const* what; GSString s; char const* list; short status; char const* expected; } cases[] = {
        {"the file names' list", GSString("a*b\"c?d<e>f|g:h"), "*; ;\"; ;?; ;<; ;>; ;|; ;:; ", 0, "a b c d e f g h"},
        {"texts and removal", GSString("R&D x"), "&; and ;x;;", 0, "R and D "},
        {"the first pair wins", GSString("aa"), "a;1;a;2;", 0, "11"},
        {"every character once", GSString("ab"), "a;b;b;c;", 0, "bc"},
        {"a UTF-8 character", GSString("caf\xC3\xA9"), "\xC3\xA9;e;", 0, "cafe"},
        {"a code-page byte", make("caf\xE9", kWin), "\xE9;e;", 0, "cafe"},
        {"two characters are no character", GSString("ab"), "ab;c;", 1, "ab"},
        {"a part of a UTF-8 character", GSString("caf\xC3\xA9"), "\xC3;e;", 1, "caf\xC3\xA9"},
        {"an empty character", GSString("ab"), ";c;", 1, "ab"},
        {"an empty list", GSString("ab"), "", 0, "ab"},
    };
    for (auto& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(c.s.replaceChar(GSString(c.list), ';'), c.status);
        EXPECT_EQ(bytes(c.s), c.expected);
    }

    // The reverse list puts every character back.
    GSString const list("*;%2A;?;%3F;/;;");
    GSString s("a*b?c*");
    EXPECT_EQ(s.replaceChar(list, ';'), 0);
    EXPECT_EQ(bytes(s), "a%2Ab%3Fc%2A");
    EXPECT_EQ(s.replaceReverseChar(list, ';'), 0);
    EXPECT_EQ(bytes(s), "a*b?c*");
    GSString first("x-y");
    EXPECT_EQ(first.replaceReverseChar("a|-|b|-", '|'), 0); // the first pair with that text
    EXPECT_EQ(bytes(first), "xay");
    EXPECT_EQ(first.replaceReverseChar("ab|-", '|'), 1);

    // Plain characters: in UTF-8 text only ASCII.
    GSString u("caf\xC3\xA9");
    EXPECT_EQ(u.replaceChar('\xA9', 'e'), 1);
    EXPECT_EQ(u.replaceChar('a', '\xE9'), 1);
    EXPECT_EQ(bytes(u), "caf\xC3\xA9");
    GSString w = make("caf\xE9", kWin);
    EXPECT_EQ(w.replaceChar('\xE9', 'e'), 0);
    EXPECT_EQ(bytes(w), "cafe");
}

TEST(GSStringEdit, ReplaceTrimAppendAndEscapes)
{
    GSString s("abc");
    EXPECT_EQ(s.replaceStringInString("b", s), 0); // with itself
    EXPECT_EQ(bytes(s), "aabcc");
    EXPECT_EQ(s.insert(1, s), 0);
    EXPECT_EQ(bytes(s), "aaabccabcc");
    EXPECT_EQ(s._insert(0, "x", LONG_MAX), 1); // no storage holds that much
    EXPECT_TRUE(s.isEmpty());

    long found = 0;
    GSString w("cat concat cat");
    EXPECT_EQ(w.replaceWord("cat", "dog", 1, 0, &found), 0);
    EXPECT_EQ(found, 11);
    EXPECT_EQ(bytes(w), "cat concat dog");
    EXPECT_EQ(w.replaceWord("bird", "dog", 0, 0, &found), 0);
    EXPECT_EQ(found, -1);
    GSString all("The cat THE");
    EXPECT_EQ(all.replaceAllWords("the", "a", 1), 0);
    EXPECT_EQ(bytes(all), "a cat a");

    struct Case { char const* what; GSString s; char const* expected; } trims[] = {
        {"trim", GSString("\t a b \r\n\f\3\7"), "a b"},
        {"byte 11 is no white space", GSString("\x0B a"), "\x0B a"},
        {"zero-width spaces", GSString("\xE2\x80\x8B" "a\xE2\x80\x8B"), "a"},
        {"trimChar", GSString("//a/b//"), "a/b"},
        {"removeLeadingChar", GSString("//a//"), "a//"},
        {"removeTrailingChar", GSString("//a//"), "//a"},
        {"removeLeadingWhiteSpace", GSString("  a  "), "a  "},
        {"removeTrailingWhiteSpace", GSString("  a  "), "  a"},
        {"only white space", GSString(" \t "), ""},
        {"a UTF-8 byte is no character", GSString("\xC3\xA9"), "\xC3\xA9"},
        {"a code-page byte is", make("\xE9x\xE9", kWin), "x"},
    };
    EXPECT_EQ(trims[0].s.trim(), 0);
    EXPECT_EQ(trims[1].s.trim(), 0);
    EXPECT_EQ(trims[2].s.trim(), 0);
    EXPECT_EQ(trims[3].s.trimChar('/'), 0);
    EXPECT_EQ(trims[4].s.removeLeadingChar('/'), 0);
    EXPECT_EQ(trims[5].s.removeTrailingChar('/'), 0);
    EXPECT_EQ(trims[6].s.removeLeadingWhiteSpace(), 0);
    EXPECT_EQ(trims[7].s.removeTrailingWhiteSpace(), 0);
    EXPECT_EQ(trims[8].s.trim(), 0);
    EXPECT_EQ(trims[9].s.trimChar('\xA9'), 0);
    EXPECT_EQ(trims[10].s.trimChar('\xE9'), 0);
    for (auto const& c : trims) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(bytes(c.s), c.expected);
    }
    EXPECT_EQ(bytes(GSString(" x ").getTrimmedString()), "x");

    GSString q("x");
    EXPECT_EQ(q.addWithQuotes(q), 0);
    EXPECT_EQ(bytes(q), "x\"x\"");
    GSString path("a/b");
    EXPECT_EQ(path.addIfNeeded("/"), 0);
    EXPECT_EQ(path.addIfNeeded("/"), 0);
    EXPECT_EQ(bytes(path), "a/b/");
    GSString none;
    EXPECT_EQ(none.addIfNeeded("/"), 0);
    EXPECT_EQ(bytes(none), "/");
    EXPECT_EQ(bytes(GSString("ab", 2, kMac) + "c"), "abc");
    EXPECT_EQ((GSString("ab", 2, kMac) + "c").getEncoding(), kMac);

    GSString e(R"(\a\b\t\n\v\f\r|\\|\"|\'|\q|\\n|\)");
    EXPECT_EQ(e.convertEscapeChars(), 0);
    EXPECT_EQ(bytes(e), "\a\b\t\n\v\f\r|\\|\"|'|\\q|\\n|\\");
}

TEST(GSStringEdit, CaseMapping)
{
    texttest::UTF8Locale locale;
    struct Case { char const* what; GSString s; GSString::CaseMode mode; char const* expected; } const cases[] = {
        {"UTF-8 upper", GSString("stra\xC3\x9F" "e \xC3\xBCn\xC3\xAF"), GSString::kCaseUpper, "STRA\xC3\x9F" "E \xC3\x9CN\xC3\x8F"},
        {"UTF-8 lower", GSString("\xC3\x89T\xC3\x89 Ab"), GSString::kCaseLower, "\xC3\xA9t\xC3\xA9 ab"},
        {"a shorter upper case", GSString("\xC5\xBFun"), GSString::kCaseUpper, "SUN"},
        {"bytes that are not UTF-8 stay", make("a\xFF" "b\xC3", kUTF8), GSString::kCaseUpper, "A\xFF" "B\xC3"},
        {"words", GSString("hello wORLD-foo bar_baz \xC3\xA9t\xC3\xA9"), GSString::kCaseWords, "Hello World-Foo Bar_baz \xC3\x89t\xC3\xA9"},
        {"keep", GSString("aB"), GSString::kCaseKeep, "aB"},
        {"Windows", make("caf\xE9 \xFF", kWin), GSString::kCaseUpper, "CAF\xC9 \x9F"},
        {"Windows lower", make("\xC9\x9F", kWin), GSString::kCaseLower, "\xE9\xFF"},
        {"Mac", make("caf\x8E \xD8", kMac), GSString::kCaseUpper, "CAF\x83 \xD9"},
        {"no byte for the upper case", make("\xB5", kWin), GSString::kCaseUpper, "\xB5"},
        {"PostScript by its own table", make("\xF1", GSString::kPostScript), GSString::kCaseUpper, "\xE1"},
        {"no tables: ASCII only", make("caf\xE9", 2), GSString::kCaseUpper, "CAF\xE9"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        GSString const result = c.s.getStringWithCase(c.mode);
        EXPECT_EQ(bytes(result), c.expected);
        EXPECT_EQ(result.getEncoding(), c.s.getEncoding());
    }
    GSString up("a\xC3\xA9");
    EXPECT_EQ(up.toUpper(), 0);
    EXPECT_EQ(bytes(up), "A\xC3\x89");
    EXPECT_EQ(bytes(up.getUpperString()), "A\xC3\x89");
    EXPECT_EQ(up.toLower(), 0);
    EXPECT_EQ(bytes(up), "a\xC3\xA9");
}

TEST(GSStringEdit, SharedBlocksStayUnchanged)
{
    GSString const original = shared("hello world");
    std::string const text = bytes(original);
    GSString copy(original);
    // Edits that change nothing keep sharing the block.
    EXPECT_EQ(copy.replaceStringInString("xyz", "q"), 0);
    EXPECT_EQ(copy.replaceChar('#', '-'), 0);
    EXPECT_EQ(copy.replaceChar("#;-;", ';'), 0);
    EXPECT_EQ(copy.remove(3, 0), 0);
    EXPECT_EQ(copy.trim(), 0);
    EXPECT_EQ(copy.convertEscapeChars(), 0);
    EXPECT_EQ(copy.toLower(), 0);
    EXPECT_EQ(copy.getStorageMode(), GSString::kShared);
    EXPECT_EQ(copy.c_str(), original.c_str());

    EXPECT_EQ(copy.toUpper(), 0);
    EXPECT_EQ(copy.replaceChar('.', ','), 0);
    EXPECT_EQ(copy.remove(0, 1), 0);
    EXPECT_EQ(bytes(original), text);

    // An allocation failure empties the edited string, never the one it shared with.
    for (int edit = 0; edit < 4; ++edit) {
        SCOPED_TRACE(edit);
        GSString victim(original);
        GSSetArrayAllocationHook([](size_t) { return false; });
        short const status = edit == 0 ? victim.toUpper()
                           : edit == 1 ? victim.replaceStringInString("l", "L")
                           : edit == 2 ? victim.insert(0, "x")
                                       : victim.remove(0, 1);
        GSSetArrayAllocationHook(nullptr);
        EXPECT_EQ(status, 1);
        EXPECT_TRUE(victim.isEmpty());
        EXPECT_EQ(bytes(original), text);
    }
    GSSetArrayAllocationHook([](size_t) { return false; });
    GSString const name = original.getNextCopyName(" (", ")", 1, 0);
    GSSetArrayAllocationHook(nullptr);
    EXPECT_TRUE(name.isEmpty());
}
