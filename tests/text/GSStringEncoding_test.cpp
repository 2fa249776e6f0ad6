#include "gs/text/GSCodePages.h"
#include "gs/text/GSString.h"
#include "gs/util/GSByteOrder.h"

#include "tests/text/TextTestSupport.h"

#include <gtest/gtest.h>

#include <iconv.h>

#include <bit>
#include <initializer_list>
#include <map>
#include <random>
#include <string>
#include <vector>

using namespace texttest;

namespace {

std::string utf8Of(unsigned int c) { return bytes(GSString(&c, 1)); }
// UTF-16 units in the machine's byte order, as the bytes of a tag-101 string.
std::string u16(std::initializer_list<unsigned short> units)
{
    return std::string(reinterpret_cast<char const*>(units.begin()), 2 * units.size());
}
template <class T> std::vector<T> all(GSFixArrayPointer<T, 256> const& a) { return std::vector<T>(a->begin(), a->end()); }

// glibc's converter, the independent account of the public code pages. Empty when it cannot convert.
std::string iconvert(char const* to, char const* from, std::string in)
{
    iconv_t cd = iconv_open(to, from);
    if (cd == reinterpret_cast<iconv_t>(-1))
        return {};
    std::string out(16 + 4 * in.size(), '\0');
    char* src = in.data();
    char* dst = out.data();
    size_t srcLeft = in.size();
    size_t dstLeft = out.size();
    size_t const r = iconv(cd, &src, &srcLeft, &dst, &dstLeft);
    iconv_close(cd);
    out.resize(r == static_cast<size_t>(-1) ? 0 : out.size() - dstLeft);
    return out;
}

} // namespace

TEST(GSStringEncoding, ConversionCases)
{
    std::string const nul(1, '\0');
    struct Case { char const* what; std::string in; int from, to; std::string out; short result; };
    Case const cases[] = {
        {"e + acute folds into one Windows byte", "e\xCC\x81", 100, 0, "\xE9", 0},
        {"x + acute has no precomposed letter", "x\xCC\x81", 100, 0, "x", 1},
        {"an accent after a non-ASCII letter", "\xC3\xA9\xCC\x81", 100, 0, "\xE9", 1},
        {"an accent with nothing before it", "\xCC\x81z", 100, 0, "z", 1},
        {"c + acute exists but not in Windows-1252: the c stays", "c\xCC\x81", 100, 0, "c", 1},
        {"a mark the table lacks", "e\xCC\x85", 100, 0, "e", 1},
        {"fi ligature written as two letters", "\xEF\xAC\x81", 100, 0, "fi", 0},
        {"fl ligature in PostScript text, through the Windows pairs", "\xEF\xAC\x82", 100, 3, "fl", 0},
        {"plus-minus, superscript two and three are not Mac", "\xC2\xB1\xC2\xB2\xC2\xB3", 100, 1, "", 1},
        {"a Latin-1 character missing from the Mac pairs is its own byte", "\xC2\xA6", 100, 1, "\xA6", 0},
        {"Mac 0x14 reads as the Apple logo", "\x14", 1, 100, "\xEF\xA3\xBF", 0},
        {"Mac 0xBD reads as the ohm sign", "\xBD", 1, 100, "\xE2\x84\xA6", 0},
        {"capital omega is not Mac", "\xCE\xA9", 100, 1, "", 1},
        {"PostScript 0x60 reads as the left quote", "\x60'", 3, 100, "\xE2\x80\x98'", 0},
        {"PostScript 0x60 is written back as Windows 0x91", "\x60", 3, 0, "\x91", 0},
        {"Windows text written as PostScript stays Windows", "\x91\x80", 0, 3, "\x91\x80", 0},
        {"Windows to Mac", "\xE9\x80\x96", 0, 1, "\x8E\xDB\xD0", 0},
        {"Mac to Windows, the logo lost", "\x8E\xF0z", 1, 0, "\xE9z", 1},
        {"tag 2 text folds an accent", "e\xCC\x81", 2, 0, "\xE9", 0},
        {"a zero byte survives", "a" + nul + "b", 0, 100, "a" + nul + "b", 0},
        {"surrogate code points are dropped", "a\xED\xA0\x80" "b", 100, 0, "ab", 0},
        {"above U+FFFF: two unrepresentable units", "a\xF0\x9F\x98\x80", 100, 0, "a", 1},
        {"a stray byte in UTF-8 text is read as itself", "a\xA9" "b", 100, 0, "a\xA9" "b", 0},
        {"ASCII runs around other characters", "abcdefghijk\xC3\xA9lmnopqrstuvwxyz\xE2\x80\x9Cq", 100, 0,
         "abcdefghijk\xE9lmnopqrstuvwxyz\x93q", 0},
        {"a sequence cut by the end reads the terminator", "ab\xC3", 100, 0, "ab\xC0", 0},
        {"no tables on either side: bytes unchanged", "\xC3\xA9\xFF", 100, 2, "\xC3\xA9\xFF", 0},
        {"a code page to tag 2 writes UTF-8", "\x8E", 1, 2, "\xC3\xA9", 0},
        {"the same tag changes nothing", "\xFF\xFE", 1, 1, "\xFF\xFE", 0},
        {"an empty text", "", 0, 100, "", 0},
        {"UTF-16 units, unaligned in an inline string", u16({0x41, 0xE9, 0xD83D, 0xDE00, 0x2018}), 101, 100,
         "A\xC3\xA9\xF0\x9F\x98\x80\xE2\x80\x98", 0},
        {"UTF-16 units to Windows", u16({0x41, 0xE9, 0xD83D, 0xDE00, 0x2018}), 101, 0, "A\xE9\x91", 1},
        {"UTF-16 units to tag 2", u16({0xE9}), 101, 2, "\xC3\xA9", 0},
    };
    for (Case const& c : cases) {
        GSString s = make(c.in, c.from);
        EXPECT_EQ(s.convertEncoding(c.to), c.result) << c.what;
        EXPECT_EQ(bytes(s), c.out) << c.what;
        EXPECT_EQ(s.getEncoding(), c.to) << c.what;
        EXPECT_TRUE(!c.out.empty() || s.getSize() == 0) << c.what; // an empty result holds no storage
    }
    GSString s = make("a", 0);
    EXPECT_EQ(s.convertEncoding(GSString::kUTF16), 1); // only a source
    EXPECT_EQ(s.getEncoding(), 0);
}

// The reader's rules, the kept ones included: no check for overlong forms, surrogates or values
// above U+10FFFF, and a cut sequence reads as many continuation bytes as `available` allows.
TEST(GSStringEncoding, UTF8ReadChar)
{
    struct Case { char const* in; long available; short lenient; unsigned int value; long advance; }; // advance -1: fails
    Case const cases[] = {
        {"A", 0, 0, 0x41, 1}, {"\xC3\xA9", 1, 0, 0xE9, 2}, {"\xC3\x28", 1, 0, 3, -1}, {"\xC3\x28", 1, 1, 0xE8, 2},
        {"\x80", 5, 0, 0, -1}, {"\xBF", 5, 1, 0xBF, 1}, {"\xFE\x80", 5, 1, 0xFE, 1}, {"\xFF\x80", 5, 0, 0, -1},
        {"\xE2\x82\xAC", 2, 0, 0x20AC, 3}, {"\xF0\x9F\x98\x80", 3, 0, 0x1F600, 4},
        {"\xF8\x88\x80\x80\x80", 4, 0, 0x200000, 5}, {"\xFC\x84\x80\x80\x80\x80", 5, 0, 0x4000000, 6},
        {"\xC0\x80", 1, 0, 0, 2}, {"\xED\xA0\x80", 2, 0, 0xD800, 3}, {"\xF4\x90\x80\x80", 3, 0, 0x110000, 4},
        // Too few bytes: the lead byte's bits, or in lenient mode as many as there are (the terminator too).
        {"\xE2\x82\xAC", 1, 0, 2, -1}, {"\xE2\x82\xAC", 1, 1, 0x82, 2}, {"\xE2\x82\xAC", 0, 1, 2, 1},
        {"\xC3", 1, 1, 0xC0, 2}, {"\xE2\xC3\xAC", 2, 0, 2, -1}, {"\xE2\x82\xC3", 2, 0, 0x82, -1},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.in);
        auto const* p = reinterpret_cast<unsigned char const*>(c.in);
        unsigned int value = 0xDEAD;
        unsigned char const* next = GSUTF8ReadChar(p, c.available, c.lenient, &value);
        EXPECT_EQ(next ? next - p : -1, c.advance);
        EXPECT_EQ(value, c.value);
    }
}

// Every byte of the Windows and Mac code pages reads as glibc reads it and is written back as itself,
// but for the rows named here. PostScript bytes read as its table says and are written as glibc
// writes that character in Windows-1252.
TEST(GSStringEncoding, CodePagesAgainstIconv)
{
    if (iconvert("UTF-8", "CP1252", "a").empty() || iconvert("UTF-8", "MACINTOSH", "a").empty())
        GTEST_SKIP() << "glibc's CP1252 and MACINTOSH converters are not installed";
    std::map<std::pair<int, int>, std::string> const ownReading = {
        // glibc leaves these Windows bytes undefined; they keep their value.
        {{0, 0x81}, "\xC2\x81"}, {{0, 0x8D}, "\xC2\x8D"}, {{0, 0x8F}, "\xC2\x8F"}, {{0, 0x90}, "\xC2\x90"},
        {{0, 0x9D}, "\xC2\x9D"},
        // The Apple logo also at 0x14; the ohm sign; glibc follows the older mapping of 0xC6 (capital
        // delta) and puts the logo at U+E01E.
        {{1, 0x14}, "\xEF\xA3\xBF"}, {{1, 0xBD}, "\xE2\x84\xA6"}, {{1, 0xC6}, "\xE2\x88\x86"},
        {{1, 0xF0}, "\xEF\xA3\xBF"},
    };
    std::map<std::pair<int, int>, std::string> const ownWriting = {{{1, 0xB1}, ""}, {{1, 0xF0}, "\x14"}};
    for (int tag : {0, 1})
        for (int b = 1; b < 256; ++b) {
            std::string const byte(1, static_cast<char>(b));
            auto const r = ownReading.find({tag, b});
            auto const w = ownWriting.find({tag, b});
            std::string const reading = r != ownReading.end() ? r->second : iconvert("UTF-8", tag ? "MACINTOSH" : "CP1252", byte);
            std::string const writing = w != ownWriting.end() ? w->second : byte;
            GSString s = make(byte, tag);
            EXPECT_EQ(s.convertEncoding(100), 0);
            EXPECT_EQ(bytes(s), reading) << tag << " " << b;
            EXPECT_EQ(s.convertEncoding(tag), writing.empty() ? 1 : 0);
            EXPECT_EQ(bytes(s), writing) << tag << " " << b;
        }
    // ASCII but for the left quote at 0x60, the Windows row 0x80-0x9F, and from 0xA0 the byte's own
    // value but for the rows of the standard encoding kept here.
    std::map<int, unsigned int> const psRows = {
        {0xA4, 0x2044}, {0xA6, 0x0192}, {0xA8, 0x00A4}, {0xA9, 0x0027}, {0xAA, 0x201C}, {0xAC, 0x2039}, {0xAD, 0x203A},
        {0xAE, 0xFB01}, {0xAF, 0xFB02}, {0xB1, 0x2013}, {0xB2, 0x2020}, {0xB3, 0x2021}, {0xB4, 0x00B7}, {0xB7, 0x2022},
        {0xB8, 0x201A}, {0xB9, 0x201E}, {0xBA, 0x201D}, {0xBC, 0x2026}, {0xBD, 0x2030}, {0xC1, 0x0060}, {0xC2, 0x00B4},
        {0xC3, 0x02C6}, {0xC4, 0x02DC}, {0xC5, 0x00AF}, {0xC6, 0x02D8}, {0xC7, 0x02C6}, {0xC8, 0x00A8}, {0xCA, 0x00B0},
        {0xCB, 0x00B8}, {0xCD, 0x02DD}, {0xCE, 0x02DB}, {0xCF, 0x02C7}, {0xD0, 0x201C}, {0xE1, 0x00C6}, {0xE3, 0x00AA},
        {0xE8, 0x0141}, {0xE9, 0x00D8}, {0xEA, 0x0152}, {0xEB, 0x00BA}, {0xF1, 0x00E6}, {0xF5, 0x0131}, {0xF8, 0x0142},
        {0xF9, 0x00F8}, {0xFA, 0x0153}, {0xFB, 0x00DF},
    };
    for (int b = 1; b < 256; ++b) {
        std::string const byte(1, static_cast<char>(b));
        auto const row = psRows.find(b);
        std::string const windows = b >= 0x80 && b < 0xA0 ? iconvert("UTF-8", "CP1252", byte) : "";
        std::string const reading = row != psRows.end() ? utf8Of(row->second) : !windows.empty() ? windows : utf8Of(b == 0x60 ? 0x2018 : b);
        // Written through the Windows pairs: fi and fl as two letters, the five bytes Windows-1252
        // leaves undefined as themselves.
        std::string writing = iconvert("CP1252", "UTF-8", reading);
        if (reading == "\xEF\xAC\x81" || reading == "\xEF\xAC\x82")
            writing = reading == "\xEF\xAC\x81" ? "fi" : "fl";
        else if (b >= 0x80 && b < 0xA0 && windows.empty())
            writing = byte;
        GSString s = make(byte, 3);
        GSString w = make(byte, 3);
        EXPECT_EQ(s.convertEncoding(100), 0);
        EXPECT_EQ(bytes(s), reading) << b;
        EXPECT_EQ(w.convertEncoding(0), writing.empty() ? 1 : 0);
        EXPECT_EQ(bytes(w), writing) << b;
    }
}

TEST(GSStringEncoding, CharacterTables)
{
    EXPECT_STREQ(GSString::getCharForUnicode(GSCodePages::_unicodeToWin, 29, 0xFB01), "fi");
    EXPECT_STREQ(GSString::getCharForUnicode(nullptr, 0, 0xE9), "\xE9");
    EXPECT_EQ(GSString::getCharForUnicode(GSCodePages::_unicodeToMac, 126, 0xB3), nullptr);

    struct Combination { unsigned int base, mark, combined; };
    Combination const combinations[] = {
        {'A', 0x0300, 0x00C0}, {'y', 0x0300, 0x1EF3}, {'e', 0x0301, 0x00E9}, {'z', 0x0301, 0x017A},
        {'Z', 0x030C, 0x017D}, {'t', 0x0327, 0x0163}, {'O', 0x0338, 0x00D8}, {'o', 0x0337, 0x00F8},
        // Kept rows that are not the letter with that accent.
        {'d', 0x0304, 0x0111}, {'i', 0x0307, 0x0131}, {'L', 0x0307, 0x013F}, {'l', 0x0307, 0x0140},
        {'o', 0x0338, 0}, {'b', 0x0301, 0}, {'e', 0x0305, 0}, {'e', 0x0370, 0}, {'e', 0x02FF, 0},
        {0xE9, 0x0301, 0}, {0x165, 0x0301, 0}, {'z', 0x0300, 0}, {'a', 0x0338, 0},
    };
    for (Combination const& c : combinations)
        EXPECT_EQ(GSString::getCombinationWithDiacriticalMark(c.base, c.mark), c.combined) << c.base << " " << c.mark;
    for (unsigned int mark : {0x0300u, 0x0308u, 0x0338u, 0x0305u, 0x0309u, 0x0339u, 0u})
        EXPECT_EQ(GSString::isCombiningDiacriticalMark(mark), mark == 0x0300 || mark == 0x0308 || mark == 0x0338) << mark;

    // Appending: nothing to fold into, a fold, a ligature, an unrepresentable character; a fold in a block.
    GSString s;
    GSString longer(std::string(60, 'a').c_str());
    for (unsigned int u : {0x0301u, 0x6Eu, 0x0303u, 0xFB02u, 0x2260u, 0x20ACu})
        EXPECT_EQ(s.addCharForUnicode(GSCodePages::_unicodeToWin, 29, u), u == 0x0301 || u == 0x2260) << u;
    EXPECT_EQ(bytes(s), "\xF1" "fl\x80");
    EXPECT_EQ(longer.addCharForUnicode(GSCodePages::_unicodeToWin, 29, 0x0308), 0);
    EXPECT_EQ(bytes(longer), std::string(59, 'a') + "\xE4");
}

TEST(GSStringEncoding, UTF16AndUTF32Construction)
{
    struct Case { std::vector<unsigned short> units; long count; std::string utf8; }; // count -1: to the zero unit
    Case const cases[] = {
        {{0xD800, 0x0041}, 2, " "}, {{0xD800, 0x0041, 0x0042}, 3, " B"}, // the A goes with the broken pair
        {{0xD83D, 0xDE00}, 2, "\xF0\x9F\x98\x80"}, {{0xDBFF, 0xDFFF}, 2, "\xF4\x8F\xBF\xBF"},
        {{0xDC00, 0x0041}, 2, " A"}, {{0x0041, 0xD800, 0xDC00}, 2, "A "},
        {{0x0041, 0x00E9, 0x0000, 0x0042}, -1, "A\xC3\xA9"}, {{0x0041}, 0, ""},
        {std::vector<unsigned short>(40, 'x'), 40, std::string(40, 'x')},
    };
    for (Case const& c : cases) {
        GSString s(c.units.data(), c.count);
        EXPECT_EQ(bytes(s), c.utf8) << c.units.size();
        EXPECT_EQ(s.getEncoding(), 100);
    }
    EXPECT_TRUE(GSString(static_cast<unsigned short const*>(nullptr), 3).isEmpty());
    unsigned int const wide[] = {0x1F600, 0xD800, 0x110000, 0x41, 0, 0x42};
    EXPECT_EQ(bytes(GSString(wide, 4)), "\xF0\x9F\x98\x80\xED\xA0\x80\xF4\x90\x80\x80" "A"); // unchecked
    EXPECT_EQ(bytes(GSString(wide + 3, -1)), "A");
    EXPECT_EQ(GSString(wide, 1).getEncoding(), 100);
}

TEST(GSStringEncoding, ValidUTF8)
{
    std::pair<std::string, bool> const cases[] = {
        {"plain", true}, {"abcdefghijklmnop\xC3\xA9", true}, {"abcdefghijklmnop\x80", false},
        {"abcdefgh\xE2\x82\xAC" "abcdefgh", true}, {"\xE2\x82", false}, {"\xC3\x28", false},
        {"\xC0\x80", true}, // overlong forms are not checked
        {"\xFE", false}, {std::string("a\0b", 3), true},
    };
    for (auto const& [text, valid] : cases) {
        EXPECT_EQ(GSString::isMemoryUTF8(reinterpret_cast<unsigned char const*>(text.data()), static_cast<long>(text.size())), valid) << text;
        EXPECT_EQ(make(text, 100).isValidUTF8(), valid) << text;
    }
    // Memory is not read past its length, even where a continuation byte follows.
    EXPECT_FALSE(GSString::isMemoryUTF8(reinterpret_cast<unsigned char const*>("\xC3\xA9"), 1));
    EXPECT_TRUE(GSString::isMemoryUTF8(reinterpret_cast<unsigned char const*>(""), 0));
    EXPECT_FALSE(GSString::isMemoryUTF8(nullptr, 0));
    EXPECT_FALSE(GSString().isValidUTF8()); // no storage at all
    EXPECT_TRUE(GSString::fixed("caf\xC3\xA9").isValidUTF8());
}

TEST(GSStringEncoding, UnicodeCharactersAndUnits)
{
    GSString const s("a\xC3\xA9\xF0\x9F\x98\x80" "b");
    struct Step { GSString text; long index; unsigned int c; long next; };
    for (Step const& st : {Step{s, 0, 'a', 1}, Step{s, 1, 0xE9, 3}, Step{s, 3, 0x1F600, 7}, Step{s, 8, 0, 8},
                           Step{s, -1, 0, -1}, Step{make("x\x8E", 1), 1, 0xE9, 2},
                           Step{GSString("\xC3"), 0, 0xC0, 1}}) { // the terminator read, the index kept in the text
        long next = -7;
        EXPECT_EQ(st.text.getUnicodeChar(st.index, &next), st.c) << st.index;
        EXPECT_EQ(next, st.next) << st.index;
    }
    for (auto const& [c, units] : std::map<unsigned int, std::vector<unsigned short>>{
             {0x41, {0x41}}, {0xFFFF, {0xFFFF}}, {0xD800, {}}, {0xDFFF, {}}, {0x10000, {0xD800, 0xDC00}},
             {0x10FFFF, {0xDBFF, 0xDFFF}}, {0x110000, {}}}) {
        unsigned short out[2] = {0, 0};
        int const n = GSString::convertUniChar32To16(c, out);
        EXPECT_EQ(std::vector<unsigned short>(out, out + n), units) << c;
    }
    unsigned short units[8] = {};
    EXPECT_EQ(s.fillUniChars(units, 8), 5);
    EXPECT_EQ(std::vector<unsigned short>(units, units + 5), (std::vector<unsigned short>{'a', 0xE9, 0xD83D, 0xDE00, 'b'}));
    EXPECT_EQ(s.fillUniChars(units, 3), 2); // a pair is never cut

    GSFixArrayPointer<unsigned short, 256> u;
    GSFixArrayPointer<int, 256> idx;
    ASSERT_EQ(s.fillUniCharArray(&u, &idx), 0);
    EXPECT_EQ(all(u), (std::vector<unsigned short>{'a', 0xE9, 0xD83D, 0xDE00, 'b'}));
    EXPECT_EQ(all(idx), (std::vector<int>{0, 1, 3, 3, 7}));
    std::pair<GSRange, GSRange> const unitsToBytes[] = {
        {{1, 3}, {1, 6}}, {{2, 1}, {3, 4}}, {{0, 5}, {0, 8}}, {{4, 9}, {7, 1}}, {{5, 0}, {8, 0}}, {{1, 0}, {1, 0}}, {{-3, 4}, {0, 1}},
    };
    for (auto const& [unitRange, byteRange] : unitsToBytes)
        EXPECT_EQ(s.getUTF8RangeForUniCharArray(idx, unitRange), byteRange) << unitRange.start << "," << unitRange.length;
    ASSERT_EQ(s.fillUniCharArrayWithRange(&u, &idx, GSRange(1, 6)), 0);
    EXPECT_EQ(all(u), (std::vector<unsigned short>{0xE9, 0xD83D, 0xDE00}));
    EXPECT_EQ(all(idx), (std::vector<int>{1, 3, 3}));
    ASSERT_EQ(make("\x8E" "a", 1).fillUniCharArrayWithRange(&u, &idx, GSRange(1, 50)), 0);
    EXPECT_EQ(all(u), (std::vector<unsigned short>{'a'}));
    EXPECT_EQ(s.fillUniCharArray(&u, nullptr), 1);
    EXPECT_EQ(s.fillUniCharArray(nullptr, &idx), 1);
    GSFixArrayPointer<int, 256> none;
    EXPECT_EQ(s.getUTF8RangeForUniCharArray(none, GSRange(0, 1)), GSRange(0, 0));
}

TEST(GSStringEncoding, PlatformBuffersAndUnitRanges)
{
    unsigned char pascal[256] = {};
    auto pascalText = [&] { return std::string(reinterpret_cast<char*>(pascal) + 1, pascal[0]); };
    EXPECT_EQ(GSString("caf\xC3\xA9\xE2\x89\xA0").fillStr255(pascal), 0);
    EXPECT_EQ(pascalText(), "caf\x8E\xAD");
    EXPECT_EQ(GSString(std::string(300, 'q').c_str()).fillStr255(pascal), 1);
    EXPECT_EQ(pascalText(), std::string(255, 'q'));
    GSString back;
    EXPECT_EQ(back.fromPStr(reinterpret_cast<unsigned char const*>("\x03" "a\x8E" "bzz")), 0);
    EXPECT_EQ(bytes(back), "a\x8E" "b");
    EXPECT_EQ(back.getEncoding(), 1);
    EXPECT_EQ(back.fromPStr(nullptr), 0);
    EXPECT_TRUE(back.isEmpty());

    GSHFSUniStr255 name{};
    EXPECT_EQ(GSString("a\xF0\x9F\x98\x80").fillHFSUniStr255(&name), 0);
    EXPECT_EQ(std::vector<unsigned short>(name.unicode, name.unicode + name.length), (std::vector<unsigned short>{'a', 0xD83D, 0xDE00}));
    EXPECT_EQ(GSString(std::string(256, 'q').c_str()).fillHFSUniStr255(&name), 1);
    EXPECT_EQ(name.length, 255);
    name.length = 2;
    name.unicode[1] = 0xE9;
    EXPECT_EQ(back.fromHFSUniStr255(name), 0);
    EXPECT_EQ(bytes(back), "q\xC3\xA9");
    EXPECT_EQ(back.getEncoding(), 100);

    // Big-endian units of "AéB€" as a file stores them.
    unsigned short units[] = {0x0041, 0x00E9, 0x0042, 0x20AC};
    GSSwapUSHORTArray(units, 4, std::endian::native == std::endian::big ? GSByteOrderBig : GSByteOrderLittle, GSByteOrderBig);
    struct Range { GSRange range; short tag; std::string text; };
    for (Range const& r : {Range{{1, 3}, 0, "\xE9" "B\x80"}, Range{{2, 9}, 100, "B\xE2\x82\xAC"}, Range{{3, 1}, 1, "\xDB"},
                           Range{{-2, 3}, 100, "A"}}) {
        GSString s("old");
        EXPECT_EQ(s.convertRange(units, 4, GSByteOrderBig, r.tag, r.range), 0);
        EXPECT_EQ(bytes(s), r.text);
        EXPECT_EQ(s.getEncoding(), r.tag);
    }
    EXPECT_EQ(back.convertRange(nullptr, 4, GSByteOrderBig, 100, GSRange(0, 4)), 1);
    EXPECT_EQ(back.convertRange(nullptr, 4, GSByteOrderBig, 100, GSRange(1, 0)), 0);
    EXPECT_TRUE(back.isEmpty());
}

// Hostile bytes in every tag convert in every direction without reading outside the text; code-page
// text always becomes valid UTF-8.
TEST(GSStringEncoding, RandomBytesConvert)
{
    std::mt19937 random(7);
    int const tags[] = {0, 1, 2, 3, 100, 101};
    for (int round = 0; round < 300; ++round) {
        std::string text(random() % 70, '\0');
        for (char& c : text)
            c = static_cast<char>(random() % 4 ? 0x80 + random() % 0x80 : random() % 0x80);
        int const from = tags[random() % 6];
        int const to = tags[random() % 5];
        GSString s = make(text, from);
        EXPECT_LE(s.convertEncoding(to), 1);
        EXPECT_EQ(s.getEncoding(), to);
        EXPECT_TRUE(from == 2 || from > 3 || to != 100 || s.isEmpty() || s.isValidUTF8()) << round;
        EXPECT_TRUE((from != to && (to != 2 || from != 100)) || bytes(s) == text) << round;
    }
}
