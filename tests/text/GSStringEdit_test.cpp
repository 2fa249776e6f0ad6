#include "gs/text/GSString.h"

#include "gs/object/GSArrayMemory.h"

#include "tests/text/TextTestSupport.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

using texttest::bytes;
using texttest::make;

namespace {

constexpr int kWin = GSString::kWindows, kMac = GSString::kMac, kUTF8 = GSString::kUTF8;

// A string of 60 bytes or more, so that it lives in a block that copies share.
GSString shared(std::string const& text)
{
    return GSString((text + std::string(60, '.')).c_str());
}

// An edit of a table row.
#define EDIT(call) [](GSString& s) { return s.call; }

} // namespace

TEST(GSStringEdit, CopyNames)
{
    texttest::UTF8Locale locale;
    struct Case { char const* name; char const* copyWord; char const* suffix; short append; short space; char const* expected; } const cases[] = {
        {"Image", " (", ")", 1, 0, "Image (2)"}, {"Image (9)", " (", ")", 1, 0, "Image (10)"}, {"Image (0)", " (", ")", 1, 0, "Image (2)"},
        {"Image ()", " (", ")", 1, 0, "Image (2)"}, {"Image (99999999999)", " (", ")", 1, 0, "Image (1000000000)"}, // leading digits
        {"Image (2", " (", ")", 1, 0, "Image (2 (2)"}, {"Image [2)", " (", ")", 1, 0, "Image [2) (2)"}, // suffix, copy word differ
        // With the space flag "copy" alone is the first copy and the space (or a zero-width one) is optional.
        {"Image", " copy", "", 1, 1, "Image copy"}, {"Image copy", " copy", "", 1, 1, "Image copy 2"},
        {"Image copy 2", " copy", "", 1, 1, "Image copy 3"}, {"Image copy\xE2\x80\x8B" "2", " copy", "", 1, 1, "Image copy 3"},
        {"Image copy2", " copy", "", 1, 1, "Image copy 3"}, {"Image copy ", " copy", "", 1, 1, "Image copy  copy"},
        {"Image copy 2", " copy", "", 1, 0, "Image copy 2 copy2"}, {"Image7", "", "", 1, 0, "Image8"},
        {"Image", "Copy of ", "", 0, 1, "Copy of Image"}, {"Image", "Copy ", "", 0, 0, "Copy 2Image"}, // in front
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

TEST(GSStringEdit, Edits)
{
    using Edit = short (*)(GSString&);
    struct Case { GSString s; Edit edit; short status; char const* expected; } cases[] = {
        // UTF-8 text is never split inside a character (with its accents); code-page bytes are characters.
        {GSString("e\xCC\x81x"), EDIT(insert(1, "-")), 0, "-e\xCC\x81x"},
        {GSString("e\xCC\x81x"), EDIT(insert(2, "-")), 0, "-e\xCC\x81x"},
        {GSString("a\xC3\xA9"), EDIT(insert(2, "-")), 0, "a-\xC3\xA9"}, {GSString("a\xC3\xA9" "b"), EDIT(remove(2, 1)), 0, "ab"},
        {GSString("e\xCC\x81x"), EDIT(remove(0, 1)), 0, "x"}, {GSString("e\xCC\x81x"), EDIT(remove(1, 1)), 0, "x"},
        {GSString("a\xC3\xA9"), EDIT(remove(2, 0)), 0, "a\xC3\xA9"}, {make("e\xCC\x81x", kWin), EDIT(remove(1, 1)), 0, "e\x81x"},
        {GSString("ab"), EDIT(_insert(0, "x", LONG_MAX)), 1, ""},
        // Plain characters: in UTF-8 text only ASCII; a length no storage holds.
        {GSString("caf\xC3\xA9"), EDIT(replaceChar('\xA9', 'e')), 1, "caf\xC3\xA9"},
        {GSString("caf\xC3\xA9"), EDIT(replaceChar('a', '\xE9')), 1, "caf\xC3\xA9"},
        {make("caf\xE9", kWin), EDIT(replaceChar('\xE9', 'e')), 0, "cafe"},
        // Replacement lists: texts and removals, the first pair wins, every character is replaced once; an item
        // of two characters, part of a UTF-8 character or nothing is invalid. The reverse list puts them back.
        {GSString("a*b\"c?d<e>f|g:h"), EDIT(replaceChar("*; ;\"; ;?; ;<; ;>; ;|; ;:; ", ';')), 0, "a b c d e f g h"},
        {GSString("R&D x"), EDIT(replaceChar("&; and ;x;;", ';')), 0, "R and D "},
        {GSString("aa"), EDIT(replaceChar("a;1;a;2;", ';')), 0, "11"},
        {GSString("ab"), EDIT(replaceChar("a;b;b;c;", ';')), 0, "bc"},
        {GSString("caf\xC3\xA9"), EDIT(replaceChar("\xC3\xA9;e;", ';')), 0, "cafe"},
        {make("caf\xE9", kWin), EDIT(replaceChar("\xE9|e", '|')), 0, "cafe"},
        {GSString("ab"), EDIT(replaceChar("ab;c;", ';')), 1, "ab"},
        {GSString("caf\xC3\xA9"), EDIT(replaceChar("\xC3;e;", ';')), 1, "caf\xC3\xA9"},
        {GSString("ab"), EDIT(replaceChar(";c;", ';')), 1, "ab"}, {GSString("ab"), EDIT(replaceChar("", ';')), 0, "ab"},
        {GSString("a*b?c*/"), EDIT(replaceChar("*;%2A;?;%3F;/;;", ';')), 0, "a%2Ab%3Fc%2A"},
        {GSString("a%2Ab%3Fc%2A"), EDIT(replaceReverseChar("*;%2A;?;%3F;/;;", ';')), 0, "a*b?c*"},
        {GSString("x-y"), EDIT(replaceReverseChar("a|-|b|-", '|')), 0, "xay"},
        {GSString("x-y"), EDIT(replaceReverseChar("ab|-", '|')), 1, "x-y"},
        // Words, trimming (byte 11 is no white space, a zero-width space is), appending, escapes.
        {GSString("cat concat cat"), EDIT(replaceWord("cat", "dog", 1)), 0, "cat concat dog"},
        {GSString("The cat THE"), EDIT(replaceAllWords("the", "a", 1)), 0, "a cat a"},
        {GSString("\x0B a\t"), EDIT(trim()), 0, "\x0B a"}, {GSString("\xE2\x80\x8B" "a\xE2\x80\x8B"), EDIT(trim()), 0, "a"},
        {GSString("\xC3\xA9"), EDIT(trimChar('\xA9')), 0, "\xC3\xA9"}, {make("\xE9x\xE9", kWin), EDIT(trimChar('\xE9')), 0, "x"},
        {GSString("x"), EDIT(addWithQuotes(s)), 0, "x\"x\""}, {GSString("a/b"), EDIT(addIfNeeded("/")), 0, "a/b/"},
        {GSString("a/"), EDIT(addIfNeeded("/")), 0, "a/"}, {GSString(), EDIT(addIfNeeded("/")), 0, "/"},
        {GSString(R"(\a\b\t\n\v\f\r|\\|\"|\'|\q|\\n|\)"), EDIT(convertEscapeChars()), 0, "\a\b\t\n\v\f\r|\\|\"|'|\\q|\\n|\\"},
    };
    for (auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "row " << &c - cases);
        EXPECT_EQ(c.edit(c.s), c.status);
        EXPECT_EQ(bytes(c.s), c.expected);
    }
    long found = 5, again = 5;
    GSString w("a cat");
    EXPECT_EQ(w.replaceWord("cat", "dog", 0, 0, &found) + w.replaceWord("cat", "dog", 0, 0, &again), 0);
    EXPECT_EQ(found, 2);
    EXPECT_EQ(again, -1);
    EXPECT_EQ(bytes(GSString(" x ").getTrimmedString()), "x");
    EXPECT_EQ((GSString("ab", 2, kMac) + "c").getEncoding(), kMac); // the bytes: the property test
}

TEST(GSStringEdit, CaseMapping)
{
    texttest::UTF8Locale locale;
    struct Case { char const* what; GSString s; GSString::CaseMode mode; char const* expected; } const cases[] = {
        {"UTF-8 upper", GSString("stra\xC3\x9F" "e \xC3\xBCn\xC3\xAF"), GSString::kCaseUpper, "STRA\xC3\x9F" "E \xC3\x9CN\xC3\x8F"},
        {"UTF-8 lower", GSString("\xC3\x89T\xC3\x89 Ab"), GSString::kCaseLower, "\xC3\xA9t\xC3\xA9 ab"},
        {"a shorter upper case", GSString("\xC5\xBFun"), GSString::kCaseUpper, "SUN"},
        {"four bytes (Deseret)", GSString("\xF0\x90\x90\xA8"), GSString::kCaseUpper, "\xF0\x90\x90\x80"},
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
    EXPECT_EQ(bytes(GSString("a\xC3\xA9").getUpperString()), "A\xC3\x89");
}

TEST(GSStringEdit, SharedBlocksStayUnchanged)
{
    GSString const original = shared("hello world");
    GSString copy(original);
    // Edits that change nothing keep sharing the block.
    EXPECT_EQ(copy.replaceStringInString("xyz", "q") + copy.replaceChar('#', '-') + copy.replaceChar("#;-;", ';') +
                  copy.insert(3, "") + copy.convertEscapeChars() + copy.toLower(), 0);
    EXPECT_EQ(copy.c_str(), original.c_str());

    // An allocation failure gives an empty copy name.
    GSSetArrayAllocationHook([](size_t) { return false; });
    GSString const name = original.getNextCopyName(" (", ")", 1, 0);
    GSSetArrayAllocationHook(nullptr);
    EXPECT_TRUE(name.isEmpty());
}
