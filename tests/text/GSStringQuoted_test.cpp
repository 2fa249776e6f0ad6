#include "gs/text/GSString.h"

#include "gs/file/GSFile.h"
#include "gs/filespec/GSFileSpec.h"
#include "gs/util/GSByteOrder.h"
#include "tests/object/TestObjects.h"
#include "tests/support/ScratchFolder.h"
#include "tests/text/TextTestSupport.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

using namespace qmtest;
using texttest::bytes;
using texttest::make;

namespace {

std::vector<unsigned char> raw(std::string const& s) { return std::vector<unsigned char>(s.begin(), s.end()); }

std::string quoted(GSString const& s, int chunk)
{
    WriteFile w;
    EXPECT_EQ(s.writeString(&w.f, chunk), 0);
    std::vector<unsigned char> b = fileBytes(w.f);
    return std::string(b.begin(), b.end());
}

// What is left in the file, as text.
std::string rest(GSFile& f)
{
    std::string out;
    for (int c; (c = f.getChar()) >= 0;)
        out += static_cast<char>(c);
    return out;
}

} // namespace

TEST(GSStringQuoted, WriteStringEscapesAndChunks)
{
    struct Case { std::string text; int tag, chunk; std::string file; } const cases[] = {
        {"a\"b'c\\d", 100, 8192, R"("a\"b\'c\\d")"},
        {"\x07\x08\x09\x0A\x0B\x0C\x0D\x06", 100, 8192, "\"\\a\\b\\t\\n\\v\\f\\r\x06\""},
        {"abcdefghij", 100, 4, "\"abcd\"\n\"efgh\"\n\"ij\""}, {"abcdefgh", 100, 4, "\"abcd\"\n\"efgh\""},
        {"abc", 100, 0, "\"abc\""} /* 0 means 8192 */, {"", 100, 4, "\"\""},
        {"\x8E", 1, 8192, "\"\xE9\""}, // Mac e-acute is written in the Windows code page
    };
    for (Case const& c : cases) {
        GSString s = make(c.text, c.tag);
        EXPECT_EQ(quoted(s, c.chunk), c.file) << c.text;
        EXPECT_EQ(s.getEncoding(), c.tag);
    }
    std::string const longText(20000, 'x'); // sizes below 1 or above 8192 mean 8192
    EXPECT_EQ(quoted(make(longText, 100), 9000), quoted(make(longText, 100), -1));
    EXPECT_EQ(quoted(make(longText, 100), -1), "\"" + longText.substr(0, 8192) + "\"\n\"" + longText.substr(8192, 8192) +
                                                   "\"\n\"" + longText.substr(16384) + "\"");
}

// The text ends at the end of the file; a line end inside quotes or anything but a comment before
// the text fails. Code-page text is Windows text, kept in the Mac code page when every character
// fits there and in UTF-8 when not; UTF-8 is kept as read.
TEST(GSStringQuoted, ReadString)
{
    struct Case { std::string file; short status; std::string text, left; int tagBefore = 100, tag = 100; } const cases[] = {
        {R"("a\tb\v")", 0, "a\x0B" "b\x0B", ""}, // the tab's letter reads back as byte 11
        {R"("\a\b\f\n\r\"\'\\\q")", 0, "\x07\x08\x0C\x0A\x0D\"'\\q", ""},
        {"\"ab\"\n// note\n\t\"cd\" = x", 0, "abcd", "= x"}, {"/ a comment first\r\n  \"x\"", 0, "x", ""},
        {"x\"a\"", 1, "", "\"a\""}, {"\"a\nb\"", 1, "", "b\""}, {"\"a\tb\"", 1, "", "b\""},
        {"\"abc", 0, "abc", ""}, {"\"abc\\", 0, "abc", ""}, {"", 0, "", ""},
        {std::string("\"a\\\0b\"", 6), 0, std::string("a\0b", 3), ""}, // an escaped zero byte is a zero byte
        {"\"\xE9\"", 0, "\x8E", "", 1, 1}, {"\"\x8A\"", 0, "\xC5\xA0", "", 0, 100}, {"\"\xE9\"", 0, "\xE9", "", 100, 100},
    };
    for (Case const& c : cases) {
        ReadFile r(raw(c.file));
        GSString s = make("previous", c.tagBefore);
        EXPECT_EQ(s.readString(&r.f), c.status) << c.file;
        EXPECT_EQ(bytes(s), c.text) << c.file;
        EXPECT_EQ(s.getEncoding(), c.tag) << c.file;
        EXPECT_EQ(rest(r.f), c.left) << c.file;
    }
    ReadFile r(raw("(a) (b)x"));
    GSString s;
    EXPECT_EQ(s.readStringWithDelimiter(&r.f, '(', ')'), 0);
    EXPECT_EQ(bytes(s) + rest(r.f), "abx");
}

TEST(GSStringQuoted, KeyValueLinesRoundTripEveryByte)
{
    std::mt19937 random(7);
    std::string const special = std::string("\"'\\\t\n\r\x0B\x7F=;/ ", 12) + std::string(1, '\0');
    auto randomText = [&] {
        std::string t(1 + random() % 40, ' ');
        for (char& c : t)
            c = random() % 3 ? special[random() % special.size()] : static_cast<char>(random() % 256);
        return make(t, GSString::kUTF8);
    };
    std::vector<std::pair<GSString, GSString>> pairs;
    WriteFile w;
    for (int i = 0; i < 300; ++i) {
        pairs.emplace_back(randomText(), randomText());
        ASSERT_EQ(pairs.back().first.writeKeyValue(&w.f, pairs.back().second), 0);
    }
    ReadFile r(w.f);
    for (auto const& [key, value] : pairs) {
        GSString k, v;
        ASSERT_EQ(k.readKeyValue(&r.f, &v), 0);
        ASSERT_EQ(bytes(k), bytes(key));
        ASSERT_EQ(bytes(v), bytes(value));
        ASSERT_EQ(k.getEncoding(), GSString::kUTF8);
    }
    GSString k("x"), v("y");
    EXPECT_EQ(k.readKeyValue(&r.f, &v), 0); // the end of the file: both empty
    EXPECT_TRUE(k.isEmpty() && v.isEmpty());
    // Code-page text travels as Windows text (read back as CodePageTextIsWindowsTextKeptAsMacOrElseUTF8
    // shows); a Mac character that the Windows code page lacks (the Apple logo) is refused, not dropped.
    WriteFile pageFile;
    EXPECT_EQ(GSString("k").writeKeyValue(&pageFile.f, make("\xF0", GSString::kMac)), 1);
    EXPECT_EQ(make("\x8E", GSString::kMac).writeKeyValue(&pageFile.f, GSString("v")), 0);
    EXPECT_EQ(make("a b\t\n\r", 100).writeKeyValue(&pageFile.f, make(std::string(9000, '\0'), 100)), 0);
    std::string hexZeros;
    for (int i = 0; i < 8192; ++i)
        hexZeros += "\\x00";
    EXPECT_EQ(fileBytes(pageFile.f), raw("\"\xE9\" = \"v\";\n\"a b\\x09\\n\\r\" = \"" + hexZeros + "\"\n\"" +
                                         hexZeros.substr(0, 4 * 808) + "\";\n"));
}

TEST(GSStringQuoted, KeyValueSyntax)
{
    struct Case { std::string file; short status; std::string key, value; } const cases[] = {
        {"// settings\n  \"a\"\t=  \"b\" ;\n", 0, "a", "b"}, {"\"a\" = \"b\"", 0, "a", "b"} /* the end stands in for ";" */,
        {"\"a\" = \"\\x41\\x0a\\x00\";", 0, "a", std::string("A\n\0", 3)}, {"\"a\" = \"\\x4g\";", 1, "", ""},
        {"\"a\" \"b\";", 1, "", ""} /* the pieces join into one key, and no "=" follows */, {"\"a\" = \"b\" x", 1, "", ""},
        {"\"a\" = \"b\"\n\"c\" = \"d\";", 1, "", ""}, // without ";" the next key joins the value
        {"   \n// only a comment\n", 0, "", ""},
        {std::string("\"\" \0", 4), 1, "", ""}, // an empty key ends the file only at its end
    };
    for (Case const& c : cases) {
        ReadFile r(raw(c.file));
        GSString k, v;
        EXPECT_EQ(k.readKeyValue(&r.f, &v), c.status) << c.file;
        EXPECT_EQ(k.readKeyValue(&r.f, nullptr), 1);
        EXPECT_EQ(bytes(k), c.key) << c.file;
        EXPECT_EQ(bytes(v), c.value) << c.file;
    }
}

TEST(GSStringQuoted, LengthPrefixedAndTerminatedReaders)
{
    // A length byte (Mac text) or a length unit (UTF-16 in either byte order); too short a file fails.
    struct Case { char const* hex; short order; short status; std::string text; int tag; long length; } const cases[] = {
        {"03 41 42 8E 99", -1, 0, "AB\x8E", GSString::kMac, 4}, {"05 41 42", -1, 1, "", 0, 0},
        {"00 02 00 41 00 E9", GSByteOrderBig, 0, "A\xC3\xA9", GSString::kUTF8, 6}, {"00 09 00 41", GSByteOrderBig, 1, "", 0, 0},
        {"02 00 41 00 E9 00", GSByteOrderLittle, 0, "A\xC3\xA9", GSString::kUTF8, 6},
    };
    for (Case const& c : cases) {
        ReadFile r((std::string(c.hex)));
        GSString s;
        long length = 0;
        short const status = c.order < 0 ? s.readPascalStringAndLength(&r.f, &length)
                                         : s.readUnicodeStringAndLength(&r.f, c.order, &length);
        EXPECT_EQ(status != 0, c.status != 0) << c.hex;
        if (c.status == 0) {
            EXPECT_EQ(bytes(s), c.text) << c.hex;
            EXPECT_EQ(s.getEncoding(), c.tag) << c.hex;
            EXPECT_EQ(length, c.length) << c.hex;
        }
    }
    // A surrogate pair across the reader's pieces of 256 units (the lowest and the highest high unit)
    // stays one character, also when the text goes on for further pieces; a text without its zero
    // unit reads as nothing.
    auto as = [](int n) {
        std::string units;
        while (n-- > 0)
            units += "41 00 ";
        return units;
    };
    GSString s;
    ReadFile r(as(255) + "00 D8 00 DC " + as(253) + "FF DB FF DF " + as(510) + "00 00 " + as(510));
    EXPECT_EQ(s.read0TerminatedUnicodeString(&r.f, GSByteOrderLittle), 0);
    EXPECT_EQ(bytes(s), std::string(255, 'A') + "\xF0\x90\x80\x80" + std::string(253, 'A') + "\xF4\x8F\xBF\xBF" +
                            std::string(510, 'A'));
    EXPECT_NE(s.read0TerminatedUnicodeString(&r.f, GSByteOrderLittle), 0);
    EXPECT_TRUE(s.isEmpty());
}

TEST(GSStringQuoted, WholeFilesAsText)
{
    ScratchFolder folder;
    struct Case { std::string content; int tag; std::string text; } const cases[] = {
        {"\xEF\xBB\xBFZ\xC3\xA9", 100, "Z\xC3\xA9"}, {"plain\n", 100, "plain\n"}, {"caf\x8E", 1, "caf\x8E"}, {"", 100, ""},
    };
    for (Case const& c : cases) {
        GSString s("previous");
        EXPECT_EQ(s.loadFromFileSpec(GSFileSpec(GSString(folder.write("in", c.content).c_str()))), 0);
        EXPECT_EQ(s.getEncoding(), c.tag);
        EXPECT_EQ(bytes(s), c.text);
    }
    GSFileSpec const out(GSString((folder / "out").c_str()));
    GSString const text = make(std::string("one\0two\xFF", 8), 1);
    EXPECT_EQ(text.saveToFileSpec(out), 0);
    GSString back;
    EXPECT_EQ(back.loadFromFileSpec(out), 0);
    EXPECT_EQ(bytes(back), bytes(text));
    EXPECT_NE(back.loadFromFileSpec(GSFileSpec(GSString((folder / "missing").c_str()))), 0);
    EXPECT_TRUE(back.isEmpty());
}
