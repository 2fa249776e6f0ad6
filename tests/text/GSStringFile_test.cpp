#include "gs/text/GSString.h"

#include "gs/file/GSFile.h"
#include "tests/object/TestObjects.h"
#include "tests/text/TextTestSupport.h"

#include <gtest/gtest.h>

#include <string>

using namespace qmtest;

namespace {

std::string written(GSString const& s, short compact)
{
    WriteFile w;
    GSFile& f = w.f;
    if (compact) {
        EXPECT_EQ(f.startObjectMergingWrite(1), 0);
    }
    long start = f.tell();
    EXPECT_EQ(s.write(&f), 0);
    std::vector<unsigned char> b = fileBytes(f);
    if (compact) {
        EXPECT_EQ(f.stopObjectMergingWrite(), 0);
    }
    return toHex(std::vector<unsigned char>(b.begin() + start, b.end()));
}

// Reads a string from `hex`; in compact mode the bytes follow an empty table of the newer kind.
short readBack(std::string const& hex, short compact, GSString* s, long* consumed = nullptr)
{
    std::string all = compact ? "02 00 00 00 00 00 00 00 00 00 00 00 00 00 " + hex : hex;
    ReadFile r(all);
    GSFile& f = r.f;
    if (compact) {
        // The directory (an empty one) is in front of the string here: read it, then step back.
        EXPECT_EQ(f.startObjectMergingRead(), 0);
        EXPECT_EQ(f.seek(14, 0), 0);
    }
    long start = f.tell();
    short st = s->read(&f);
    if (consumed)
        *consumed = f.tell() - start;
    if (compact) {
        EXPECT_EQ(f.stopObjectMergingRead(), 0);
    }
    return st;
}

} // namespace

TEST(GSStringFile, GoldenBytesInBothFramings)
{
    EXPECT_EQ(written(GSString("GSObject"), 0), "FF 9B 00 00 00 09 47 53 4F 62 6A 65 63 74 00");
    EXPECT_EQ(written(GSString("GSObject"), 1), "64 09 47 53 4F 62 6A 65 63 74 00");
    EXPECT_EQ(written(GSString(), 0), "00 00");
    EXPECT_EQ(written(GSString(), 1), "64 00");
    EXPECT_EQ(written(GSString("Ab", 2, GSString::kMac), 0), "FF FE 00 00 00 03 41 62 00");
    EXPECT_EQ(written(GSString("Ab", 2, GSString::kWindows), 1), "00 03 41 62 00");
}

TEST(GSStringFile, ReadsEveryForm)
{
    struct Case { char const* what; std::string hex; short compact; char const* text; unsigned char encoding; long consumed; };
    Case const cases[] = {
        {"classic UTF-8", "FF 9B 00 00 00 03 C3 A9 00", 0, "\xC3\xA9", 100, 9},
        {"older form: positive count, Windows", "00 03 41 42 00", 0, "AB", GSString::kMac, 5},
        {"Windows ASCII becomes Mac", "FF FF 00 00 00 02 5A 00", 0, "Z", GSString::kMac, 8},
        {"Windows text is kept in the Mac code page", "FF FF 00 00 00 03 E9 80 00", 0, "\x8E\xDB", GSString::kMac, 9},
        {"empty", "00 00", 0, "", 100, 2},
        {"compact", "64 04 61 62 63 00", 1, "abc", 100, 6},
        {"compact empty", "64 00", 1, "", 100, 2},
        {"not zero-terminated reads empty", "FF 9B 00 00 00 02 41 42", 0, "", 100, 8},
        {"... and a code page stays Mac", "FF 9C 00 00 00 02 41 42", 0, "", GSString::kMac, 8},
        {"the last code-page tag", "FF 9C 00 00 00 02 41 00", 0, "A", GSString::kMac, 8},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        GSString s("old");
        long consumed = 0;
        EXPECT_EQ(readBack(c.hex, c.compact, &s, &consumed), 0);
        EXPECT_STREQ(s.c_str(), c.text);
        if (*c.text || c.encoding != 100) {
            EXPECT_EQ(s.getEncoding(), c.encoding);
        }
        EXPECT_EQ(consumed, c.consumed);
    }
}

TEST(GSStringFile, CountsBeyondTheFileAreRefusedBeforeAllocating)
{
    for (std::string const& hex : {std::string("FF 9B 7F FF FF FF 41 00"), std::string("FF 9B 00 00 00 04 41 00"),
                                   std::string("FF 9B FF FF FF FF 41 00"), std::string("00 09 41 00")}) {
        SCOPED_TRACE(hex);
        GSString s("old");
        EXPECT_NE(readBack(hex, 0, &s), 0);
        EXPECT_TRUE(s.isEmpty());
    }
    GSString s;
    // Compact count 2^62 in a ten-byte file.
    EXPECT_NE(readBack("64 80 80 80 80 80 80 80 80 40 00", 1, &s), 0);
    EXPECT_NE(readBack("FF 9B 00 00", 0, &s), 0);
}

TEST(GSStringFile, RoundTripsLongAndBinaryText)
{
    std::string text(1000, 'x');
    text[500] = '\x01';
    for (short compact : {short(0), short(1)}) {
        GSString s;
        ASSERT_EQ(readBack(written(GSString(text.c_str()), compact), compact, &s), 0);
        EXPECT_EQ(std::string(s.c_str()), text);
    }
}

TEST(GSStringFile, FixedWidthFieldsEndAtTheirLastZero)
{
    // unicode 0: a field of bytes, else of units in byte order unicode - 1.
    struct Case { char const* what; std::string hex; int n; short unicode; std::string bytes; int encoding; };
    Case const cases[] = {
        {"bytes: the last zero ends it", "61 62 00 63 00", 5, 0, std::string("ab\0c", 4), 100},
        {"bytes: no zero", "61 62", 2, 0, "ab", 100},
        {"bytes: not UTF-8", "E9 00 00", 3, 0, std::string("\xE9\0", 2), 1},
        {"big-endian units; a broken surrogate pair loses its partner", "00 41 D8 00 00 42 00 00", 4,
         GSByteOrderBig + 1, "A ", 100},
        {"little-endian units", "41 00 E9 00", 2, GSByteOrderLittle + 1, "A\xC3\xA9", 100},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        ReadFile r(c.hex);
        GSString s("old");
        short const st = c.unicode ? s.readUnicodeStringWithLength(&r.f, c.n, short(c.unicode - 1))
                                   : s.readStringWithLength(&r.f, c.n);
        EXPECT_EQ(st, 0);
        EXPECT_EQ(texttest::bytes(s), c.bytes);
        EXPECT_EQ(s.getEncoding(), c.encoding);
    }
    ReadFile r("61 62");
    GSString s("kept");
    EXPECT_NE(s.readStringWithLength(&r.f, 3), 0);
    EXPECT_NE(s.readUnicodeStringWithLength(&r.f, 2, GSByteOrderBig), 0);
    EXPECT_NE(s.readStringWithLength(nullptr, 1), 0);
    EXPECT_NE(s.readUnicodeStringWithLength(nullptr, 1, GSByteOrderBig), 0);
    EXPECT_NE(s.write(nullptr), 0);
    EXPECT_STREQ(s.c_str(), "kept");
    EXPECT_NE(s.read(nullptr), 0);
}
