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
    struct Case {
        std::string text;
        int tag, chunk;
        std::string file;
    } const cases[] = {
        {"a\"b'c\\d", 100, 8192, R"("a\"b\'c\\d")"},
        {"\x07\x08\x09\x0A\x0B\x0C\x0D\x06", 100, 8192, "\"\\a\\b\\t\\n\\v\\f\\r\x06\""},
        {"abcdefghij", 100, 4, "\"abcd\"\n\"efgh\"\n\"ij\""},
        {"abcdefgh", 100, 4, "\"abcd\"\n\"efgh\""},
        {"abc", 100, 0, "\"abc\""}, // 0 and sizes from 8192 up mean 8192
        {"abc", 100, 9000, "\"abc\""},
        {"", 100, 4, "\"\""},
        {"\x8E", 1, 8192, "\"\xE9\""}, // Mac e-acute is written in the Windows code page
    };
    for (Case const& c : cases) {
        GSString s = make(c.text, c.tag);
        EXPECT_EQ(quoted(s, c.chunk), c.file) << c.text;
        EXPECT_EQ(s.getEncoding(), c.tag);
    }
    std::string const longText(20000, 'x');
    EXPECT_EQ(quoted(make(longText, 100), -1), "\"" + longText.substr(0, 8192) + "\"\n\"" + longText.substr(8192, 8192) +
                                                   "\"\n\"" + longText.substr(16384) + "\"");
}

TEST(GSStringQuoted, ReadStringStates)
{
    struct Case {
        std::string file;
        short status;
        std::string text, left;
    } const cases[] = {
        {R"("a\tb\v")", 0, "a\x0B" "b\x0B", ""}, // the tab's letter reads back as byte 11
        {R"("\a\b\f\n\r\"\'\\\q")", 0, "\x07\x08\x0C\x0A\x0D\"'\\q", ""},
        {"\"ab\"\n  \"cd\";", 0, "abcd", ";"},
        {"\"ab\"\n// note\n\t\"cd\" = x", 0, "abcd", "= x"},
        {"/ a comment first\r\n  \"x\"", 0, "x", ""},
        {"x\"a\"", 1, "", "\"a\""},
        {"\"a\nb\"", 1, "", "b\""},
        {"\"a\tb\"", 1, "", "b\""},
        {"\"abc", 0, "abc", ""}, // the end of the file ends the text
        {"\"abc\\", 0, "abc", ""},
        {"", 0, "", ""},
    };
    for (Case const& c : cases) {
        ReadFile r(raw(c.file));
        GSString s("previous");
        EXPECT_EQ(s.readString(&r.f), c.status) << c.file;
        EXPECT_EQ(bytes(s), c.text) << c.file;
        EXPECT_EQ(rest(r.f), c.left) << c.file;
    }
    ReadFile r(raw("(a) (b)x"));
    GSString s;
    EXPECT_EQ(s.readStringWithDelimiter(&r.f, '(', ')'), 0);
    EXPECT_EQ(bytes(s), "ab");
    EXPECT_EQ(rest(r.f), "x");
}

TEST(GSStringQuoted, CodePageTextIsWindowsTextKeptAsMacOrElseUTF8)
{
    struct Case {
        int tagBefore;
        std::string file;
        int tag;
        std::string text;
    } const cases[] = {
        {1, "\"\xE9\"", 1, "\x8E"},         // e-acute fits the Mac code page
        {0, "\"\x8A\"", 100, "\xC5\xA0"},   // S-caron does not: UTF-8
        {100, "\"\xE9\"", 100, "\xE9"},     // UTF-8 is kept as read
    };
    for (Case const& c : cases) {
        ReadFile r(raw(c.file));
        GSString s = make("", c.tagBefore);
        s.setEncoding(c.tagBefore);
        EXPECT_EQ(s.readString(&r.f), 0);
        EXPECT_EQ(s.getEncoding(), c.tag) << c.file;
        EXPECT_EQ(bytes(s), c.text) << c.file;
    }
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
    EXPECT_EQ(make("a b\t\n", 100).writeKeyValue(&pageFile.f, make(std::string(9000, '\0'), 100)), 0);
    std::string hexZeros;
    for (int i = 0; i < 8192; ++i)
        hexZeros += "\\x00";
    EXPECT_EQ(fileBytes(pageFile.f), raw("\"\xE9\" = \"v\";\n\"a b\\x09\\n\" = \"" + hexZeros + "\"\n\"" +
                                         hexZeros.substr(0, 4 * 808) + "\";\n"));
}

TEST(GSStringQuoted, KeyValueSyntax)
{
    struct Case {
        std::string file;
        short status;
        std::string key, value;
    } const cases[] = {
        {"// settings\n  \"a\"\t=  \"b\" ;\n", 0, "a", "b"},
        {"\"a\" = \"b\"", 0, "a", "b"}, // the end of the file stands in for ";"
        {"\"a\" = \"\\x41\\x0a\\x00\";", 0, "a", std::string("A\n\0", 3)},
        {"\"a\" = \"\\x4g\";", 1, "", ""},
        {"\"a\" \"b\";", 1, "", ""}, // the pieces join into one key, and no "=" follows
        {"\"a\" : \"b\";", 1, "", ""},
        {"\"a\" = \"b\" x", 1, "", ""},
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
    GSString s;
    long length = 0;
    {
        ReadFile r(std::string("03 41 42 8E 99"));
        EXPECT_EQ(s.readPascalStringAndLength(&r.f, &length), 0);
        EXPECT_EQ(bytes(s), "AB\x8E");
        EXPECT_EQ(s.getEncoding(), GSString::kMac);
        EXPECT_EQ(length, 4);
    }
    {
        ReadFile r(std::string("05 41 42"));
        EXPECT_NE(s.readPascalStringAndLength(&r.f, &length), 0);
    }
    for (short order : {GSByteOrderBig, GSByteOrderLittle}) {
        ReadFile r(std::string(order == GSByteOrderBig ? "00 02 00 41 00 E9" : "02 00 41 00 E9 00"));
        EXPECT_EQ(s.readUnicodeStringAndLength(&r.f, order, &length), 0);
        EXPECT_EQ(bytes(s), "A\xC3\xA9");
        EXPECT_EQ(length, 6);
    }
    {
        ReadFile r(std::string("00 09 00 41"));
        EXPECT_NE(s.readUnicodeStringAndLength(&r.f, GSByteOrderBig, &length), 0);
    }
    // A surrogate pair across the reader's pieces of 256 units stays one character, also when the
    // text goes on for further pieces; a text without its zero unit reads as nothing.
    std::string const as = [] {
        std::string units;
        for (int i = 0; i < 255; ++i)
            units += "41 00 ";
        return units;
    }();
    ReadFile r(as + "00 D8 00 DC " + as + "FF DB FF DF " + as + as + "00 00 " + as + as);
    EXPECT_EQ(s.read0TerminatedUnicodeString(&r.f, GSByteOrderLittle), 0);
    std::string const a255(255, 'A');
    EXPECT_EQ(bytes(s), a255 + "\xF0\x90\x80\x80" + a255 + "\xF4\x8F\xBF\xBF" + a255 + a255);
    EXPECT_NE(s.read0TerminatedUnicodeString(&r.f, GSByteOrderLittle), 0);
    EXPECT_TRUE(s.isEmpty());
}

TEST(GSStringQuoted, WholeFilesAsText)
{
    ScratchFolder folder;
    struct Case {
        std::string content;
        int tag;
        std::string text;
    } const cases[] = {
        {"\xEF\xBB\xBFZ\xC3\xA9", 100, "Z\xC3\xA9"},
        {"plain\n", 100, "plain\n"},
        {"caf\x8E", 1, "caf\x8E"},
        {"", 100, ""},
    };
    for (Case const& c : cases) {
        GSString s;
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
