#include "gs/text/GSString.h"

#include "gs/object/GSArrayMemory.h"

#include "tests/text/TextTestSupport.h"

#include <gtest/gtest.h>

#include <climits>
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
        {"Image copy ", " copy", "", 1, 1, "Image copy  copy"}, // a space without digits is text
        {"Image copy 2", " copy", "", 1, 0, "Image copy 2 copy2"}, // without the flag it is text
        {"Image7", "", "", 1, 0, "Image8"},                      // empty copy word
        {"Image", "", "", 1, 0, "Image2"},
        {"Image (99999999999)", " (", ")", 1, 0, "Image (1000000000)"}, // leading digits only
        {"Image", "Copy of ", "", 0, 1, "Copy of Image"},        // in front
        {"Image", "Copy ", "", 0, 0, "Copy 2Image"},
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
    struct Case { char const* what; GSString s; Edit edit; short status; char const* expected; } cases[] = {
        // UTF-8 text is never split inside a character (with its accents); code-page bytes are characters.
        {"insert before an accent", GSString("e\xCC\x81x"), [](GSString& s) { return s.insert(1, "-"); }, 0, "-e\xCC\x81x"},
        {"insert inside an accent", GSString("e\xCC\x81x"), [](GSString& s) { return s.insert(2, "-"); }, 0, "-e\xCC\x81x"},
        {"insert inside a character", GSString("a\xC3\xA9"), [](GSString& s) { return s.insert(2, "-"); }, 0, "a-\xC3\xA9"},
        {"remove part of a character", GSString("a\xC3\xA9" "b"), [](GSString& s) { return s.remove(2, 1); }, 0, "ab"},
        {"remove a letter, its accent too", GSString("e\xCC\x81x"), [](GSString& s) { return s.remove(0, 1); }, 0, "x"},
        {"remove from an accent", GSString("e\xCC\x81x"), [](GSString& s) { return s.remove(1, 1); }, 0, "x"},
        {"remove nothing inside a character", GSString("a\xC3\xA9"), [](GSString& s) { return s.remove(2, 0); }, 0, "a\xC3\xA9"},
        {"code-page bytes", make("e\xCC\x81x", kWin), [](GSString& s) { return s.remove(1, 1); }, 0, "e\x81x"},
        {"no storage holds that much", GSString("ab"), [](GSString& s) { return s._insert(0, "x", LONG_MAX); }, 1, ""},
        // Plain characters: in UTF-8 text only ASCII.
        {"replaceChar UTF-8 byte", GSString("caf\xC3\xA9"), [](GSString& s) { return s.replaceChar('\xA9', 'e'); }, 1, "caf\xC3\xA9"},
        {"replaceChar into a UTF-8 byte", GSString("caf\xC3\xA9"), [](GSString& s) { return s.replaceChar('a', '\xE9'); }, 1, "caf\xC3\xA9"},
        {"replaceChar code-page byte", make("caf\xE9", kWin), [](GSString& s) { return s.replaceChar('\xE9', 'e'); }, 0, "cafe"},
        // Replacement lists; the reverse list puts every character back.
        {"the file names' list", GSString("a*b\"c?d<e>f|g:h"), [](GSString& s) { return s.replaceChar("*; ;\"; ;?; ;<; ;>; ;|; ;:; ", ';'); }, 0, "a b c d e f g h"},
        {"texts and removal", GSString("R&D x"), [](GSString& s) { return s.replaceChar("&; and ;x;;", ';'); }, 0, "R and D "},
        {"the first pair wins", GSString("aa"), [](GSString& s) { return s.replaceChar("a;1;a;2;", ';'); }, 0, "11"},
        {"every character once", GSString("ab"), [](GSString& s) { return s.replaceChar("a;b;b;c;", ';'); }, 0, "bc"},
        {"a UTF-8 character", GSString("caf\xC3\xA9"), [](GSString& s) { return s.replaceChar("\xC3\xA9;e;", ';'); }, 0, "cafe"},
        {"a code-page character", make("caf\xE9", kWin), [](GSString& s) { return s.replaceChar("\xE9|e", '|'); }, 0, "cafe"},
        {"two characters are none", GSString("ab"), [](GSString& s) { return s.replaceChar("ab;c;", ';'); }, 1, "ab"},
        {"part of a UTF-8 character", GSString("caf\xC3\xA9"), [](GSString& s) { return s.replaceChar("\xC3;e;", ';'); }, 1, "caf\xC3\xA9"},
        {"an empty character", GSString("ab"), [](GSString& s) { return s.replaceChar(";c;", ';'); }, 1, "ab"},
        {"an empty list", GSString("ab"), [](GSString& s) { return s.replaceChar("", ';'); }, 0, "ab"},
        {"forward", GSString("a*b?c*/"), [](GSString& s) { return s.replaceChar("*;%2A;?;%3F;/;;", ';'); }, 0, "a%2Ab%3Fc%2A"},
        {"reverse", GSString("a%2Ab%3Fc%2A"), [](GSString& s) { return s.replaceReverseChar("*;%2A;?;%3F;/;;", ';'); }, 0, "a*b?c*"},
        {"reverse: the first pair", GSString("x-y"), [](GSString& s) { return s.replaceReverseChar("a|-|b|-", '|'); }, 0, "xay"},
        {"reverse: invalid", GSString("x-y"), [](GSString& s) { return s.replaceReverseChar("ab|-", '|'); }, 1, "x-y"},
        // Words, trimming, appending, escapes.
        {"replaceWord from a start", GSString("cat concat cat"), [](GSString& s) { return s.replaceWord("cat", "dog", 1); }, 0, "cat concat dog"},
        {"replaceAllWords caseless", GSString("The cat THE"), [](GSString& s) { return s.replaceAllWords("the", "a", 1); }, 0, "a cat a"},
        {"byte 11 is no white space", GSString("\x0B a\t"), [](GSString& s) { return s.trim(); }, 0, "\x0B a"},
        {"zero-width spaces are", GSString("\xE2\x80\x8B" "a\xE2\x80\x8B"), [](GSString& s) { return s.trim(); }, 0, "a"},
        {"a UTF-8 byte is no character", GSString("\xC3\xA9"), [](GSString& s) { return s.trimChar('\xA9'); }, 0, "\xC3\xA9"},
        {"a code-page byte is", make("\xE9x\xE9", kWin), [](GSString& s) { return s.trimChar('\xE9'); }, 0, "x"},
        {"addWithQuotes itself", GSString("x"), [](GSString& s) { return s.addWithQuotes(s); }, 0, "x\"x\""},
        {"addIfNeeded", GSString("a/b"), [](GSString& s) { return s.addIfNeeded("/"); }, 0, "a/b/"},
        {"addIfNeeded not needed", GSString("a/"), [](GSString& s) { return s.addIfNeeded("/"); }, 0, "a/"},
        {"addIfNeeded to nothing", GSString(), [](GSString& s) { return s.addIfNeeded("/"); }, 0, "/"},
        {"escapes", GSString(R"(\a\b\t\n\v\f\r|\\|\"|\'|\q|\\n|\)"), [](GSString& s) { return s.convertEscapeChars(); }, 0, "\a\b\t\n\v\f\r|\\|\"|'|\\q|\\n|\\"},
    };
    for (auto& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(c.edit(c.s), c.status);
        EXPECT_EQ(bytes(c.s), c.expected);
    }
    long found = 5;
    GSString w("a cat");
    EXPECT_EQ(w.replaceWord("cat", "dog", 0, 0, &found), 0);
    EXPECT_EQ(found, 2);
    EXPECT_EQ(w.replaceWord("cat", "dog", 0, 0, &found), 0);
    EXPECT_EQ(found, -1);
    EXPECT_EQ(bytes(GSString(" x ").getTrimmedString()), "x");
    GSString const sum = GSString("ab", 2, kMac) + "c";
    EXPECT_EQ(bytes(sum), "abc");
    EXPECT_EQ(sum.getEncoding(), kMac);
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
    EXPECT_EQ(copy.replaceStringInString("xyz", "q"), 0);
    EXPECT_EQ(copy.replaceChar('#', '-'), 0);
    EXPECT_EQ(copy.replaceChar("#;-;", ';'), 0);
    EXPECT_EQ(copy.insert(3, ""), 0);
    EXPECT_EQ(copy.convertEscapeChars(), 0);
    EXPECT_EQ(copy.toLower(), 0);
    EXPECT_EQ(copy.getStorageMode(), GSString::kShared);
    EXPECT_EQ(copy.c_str(), original.c_str());

    // An allocation failure gives an empty copy name.
    GSSetArrayAllocationHook([](size_t) { return false; });
    GSString const name = original.getNextCopyName(" (", ")", 1, 0);
    GSSetArrayAllocationHook(nullptr);
    EXPECT_TRUE(name.isEmpty());
}
