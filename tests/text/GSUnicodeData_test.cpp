#include "gs/text/GSUnicodeData.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <set>

namespace {

struct Expected { unsigned c; GSUCDScript script; GSUCDCategory category; GSUCDGraphemeBreak graphemeBreak; unsigned char caselessSet; int otherCase; };

// Caseless-set indexes: S s U+017F at 1, Σ ς σ at 25, U+0345 ͅ Ι ι U+1FBE at 62, K k U+212A at 71.
constexpr Expected kExpected[] = {
    {0x0041, kUCDScriptLatin, kUCDLu, kUCDBreakOther, 0, 32},
    {0x0061, kUCDScriptLatin, kUCDLl, kUCDBreakOther, 0, -32},
    {0x0073, kUCDScriptLatin, kUCDLl, kUCDBreakOther, 1, -32},
    {0x017F, kUCDScriptLatin, kUCDLl, kUCDBreakOther, 1, -268},
    {0x00DF, kUCDScriptLatin, kUCDLl, kUCDBreakOther, 0, 7615},
    {0x1E9E, kUCDScriptLatin, kUCDLu, kUCDBreakOther, 0, -7615},
    {0x212A, kUCDScriptLatin, kUCDLu, kUCDBreakOther, 71, 0x6B - 0x212A},
    {0x0300, kUCDScriptInherited, kUCDMn, kUCDBreakExtend, 0, 0},
    {0x0345, kUCDScriptInherited, kUCDMn, kUCDBreakExtend, 62, 0x3B9 - 0x345},
    {0x1FBE, kUCDScriptGreek, kUCDLl, kUCDBreakOther, 62, 0x3B9 - 0x1FBE},
    {0x03A3, kUCDScriptGreek, kUCDLu, kUCDBreakOther, 25, 32},
    {0x03C2, kUCDScriptGreek, kUCDLl, kUCDBreakOther, 25, 1},
    {0x0378, kUCDScriptCommon, kUCDCn, kUCDBreakOther, 0, 0},
    {0x0416, kUCDScriptCyrillic, kUCDLu, kUCDBreakOther, 0, 32},
    {0x05D0, kUCDScriptHebrew, kUCDLo, kUCDBreakOther, 0, 0},
    {0x0627, kUCDScriptArabic, kUCDLo, kUCDBreakOther, 0, 0},
    {0x0903, kUCDScriptDevanagari, kUCDMc, kUCDBreakSpacingMark, 0, 0},
    {0x4E00, kUCDScriptHan, kUCDLo, kUCDBreakOther, 0, 0},
    {0x9FCC, kUCDScriptHan, kUCDLo, kUCDBreakOther, 0, 0},   // last of the CJK range in 7.0.0
    {0x9FCD, kUCDScriptCommon, kUCDCn, kUCDBreakOther, 0, 0},
    {0xAC00, kUCDScriptHangul, kUCDLo, kUCDBreakLV, 0, 0},
    {0xAC01, kUCDScriptHangul, kUCDLo, kUCDBreakLVT, 0, 0},
    {0x000D, kUCDScriptCommon, kUCDCc, kUCDBreakCR, 0, 0},
    {0x000A, kUCDScriptCommon, kUCDCc, kUCDBreakLF, 0, 0},
    {0x1F1E6, kUCDScriptCommon, kUCDSo, kUCDBreakRegionalIndicator, 0, 0},
    {0x16B00, kUCDScriptPahawhHmong, kUCDLo, kUCDBreakOther, 0, 0},
    {0xE0001, kUCDScriptCommon, kUCDCf, kUCDBreakControl, 0, 0},
    {0xD800, kUCDScriptCommon, kUCDCs, kUCDBreakControl, 0, 0},
    {0xE000, kUCDScriptCommon, kUCDCo, kUCDBreakOther, 0, 0},
    {0x10FFFF, kUCDScriptCommon, kUCDCn, kUCDBreakOther, 0, 0},
    {0x110000, kUCDScriptCommon, kUCDCn, kUCDBreakOther, 0, 0},
    {0xFFFFFFFF, kUCDScriptCommon, kUCDCn, kUCDBreakOther, 0, 0},
};

TEST(GSUnicodeData, RecordsOfSampleCodePoints)
{
    EXPECT_STREQ(gs_unicode_version, "7.0.0");
    for (Expected const& e : kExpected) {
        char name[16];
        std::snprintf(name, sizeof name, "U+%04X", e.c);
        SCOPED_TRACE(name);
        GSUCDRecord const& r = GSUCDGetRecord(e.c);
        EXPECT_EQ(r.script, e.script);
        EXPECT_EQ(r.category, e.category);
        EXPECT_EQ(r.graphemeBreak, e.graphemeBreak);
        EXPECT_EQ(r.caselessSet, e.caselessSet);
        EXPECT_EQ(r.otherCase, e.otherCase);
    }
}

// Each member of a caseless set points at the set's first member and its other case is in the set;
// outside sets, the other case of the other case is the character itself.
TEST(GSUnicodeData, CaselessSetsAndOtherCasesAgree)
{
    ASSERT_EQ(gs_ucd_caseless_sets[0], kUCDSetEnd);
    ASSERT_EQ(gs_ucd_caseless_sets[kUCDCaselessValueCount - 1], kUCDSetEnd);
    int sets = 0;
    int members = 0;
    for (int i = 1; i < kUCDCaselessValueCount; ++i) {
        int first = i;
        std::set<unsigned> set;
        for (; gs_ucd_caseless_sets[i] != kUCDSetEnd; ++i) {
            set.insert(gs_ucd_caseless_sets[i]);
        }
        EXPECT_GE(set.size(), 3u) << "set at " << first;
        for (unsigned c : set) {
            GSUCDRecord const& r = GSUCDGetRecord(c);
            EXPECT_EQ(r.caselessSet, first) << "U+" << std::hex << c;
            EXPECT_EQ(set.count(c + static_cast<unsigned>(r.otherCase)), 1u) << "U+" << std::hex << c;
        }
        ++sets;
        members += static_cast<int>(set.size());
    }
    EXPECT_EQ(sets, 19);
    EXPECT_EQ(members, 59);

    for (unsigned c = 0; c <= 0x10FFFF; ++c) {
        GSUCDRecord const& r = GSUCDGetRecord(c);
        if (r.otherCase != 0 && r.caselessSet == 0) {
            unsigned other = c + static_cast<unsigned>(r.otherCase);
            ASSERT_EQ(other + static_cast<unsigned>(GSUCDGetRecord(other).otherCase), c) << "U+" << std::hex << c;
        }
    }
}

}  // namespace
