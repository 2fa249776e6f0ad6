// GSUnicodeData: character properties of every code point, as tables generated from the Unicode
// Character Database (gs/text/GSUnicodeData.cpp, written by tools/make_unicode_tables).
//
// Two-stage lookup: the code space is cut into 8,704 blocks of 128 code points.
//   gs_ucd_stage1[c / 128]                  block number (8 bits), one per block of the code space
//   gs_ucd_stage2[block * 128 + c % 128]    record number (16 bits); 227 distinct blocks
//   gs_ucd_records[record]                  720 distinct records of 8 bytes:
//     0  script            GSUCDScript
//     1  category          GSUCDCategory (general category)
//     2  graphemeBreak     GSUCDGraphemeBreak (grapheme-cluster-break property)
//     3  caselessSet       0 = none, else the index in gs_ucd_caseless_sets of the first member of the
//                          character's set
//     4  otherCase         signed 32 bits, added to the code point gives its other case; 0 = none
// Record 0 is the record of an unassigned code point (Common, Cn, Other, no set, no other case).
//
// gs_ucd_caseless_sets: sets of three or more characters that are all case variants of one another
// (S s U+017F; U+01C4 U+01C5 U+01C6; ...), for which one other-case offset is not enough. The table
// starts with kUCDSetEnd and each set's members, ascending, are followed by kUCDSetEnd.
//
// Unassigned code points (and surrogates and private use, which have no script) have script Common.
#pragma once

extern const char* const gs_unicode_version;  // "7.0.0"

struct GSUCDRecord {
    unsigned char script;
    unsigned char category;
    unsigned char graphemeBreak;
    unsigned char caselessSet;
    int otherCase;
};
static_assert(sizeof(GSUCDRecord) == 8);

inline constexpr int kUCDBlockSize = 128;
inline constexpr int kUCDStage1Count = 0x110000 / kUCDBlockSize;
inline constexpr int kUCDBlockCount = 227;
inline constexpr int kUCDRecordCount = 720;
inline constexpr int kUCDCaselessValueCount = 79;
inline constexpr unsigned int kUCDSetEnd = 0xFFFFFFFF;

extern const unsigned char gs_ucd_stage1[kUCDStage1Count];
extern const unsigned short gs_ucd_stage2[kUCDBlockCount * kUCDBlockSize];
extern const GSUCDRecord gs_ucd_records[kUCDRecordCount];
extern const unsigned int gs_ucd_caseless_sets[kUCDCaselessValueCount];

// The two-letter general categories in alphabetical order.
enum GSUCDCategory : unsigned char {
    kUCDCc, kUCDCf, kUCDCn, kUCDCo, kUCDCs,
    kUCDLl, kUCDLm, kUCDLo, kUCDLt, kUCDLu,
    kUCDMc, kUCDMe, kUCDMn,
    kUCDNd, kUCDNl, kUCDNo,
    kUCDPc, kUCDPd, kUCDPe, kUCDPf, kUCDPi, kUCDPo, kUCDPs,
    kUCDSc, kUCDSk, kUCDSm, kUCDSo,
    kUCDZl, kUCDZp, kUCDZs
};

enum GSUCDGraphemeBreak : unsigned char {
    kUCDBreakCR, kUCDBreakLF, kUCDBreakControl, kUCDBreakExtend, kUCDBreakPrepend,
    kUCDBreakSpacingMark, kUCDBreakL, kUCDBreakV, kUCDBreakT, kUCDBreakLV, kUCDBreakLVT,
    kUCDBreakRegionalIndicator, kUCDBreakOther
};

// Script codes never change once given: the scripts of Unicode 4.1 in alphabetical order, then
// those of each later version, alphabetically within the version. New versions append.
enum GSUCDScript : unsigned char {
    // 4.1 and earlier
    kUCDScriptArabic, kUCDScriptArmenian, kUCDScriptBengali, kUCDScriptBopomofo, kUCDScriptBraille,
    kUCDScriptBuginese, kUCDScriptBuhid, kUCDScriptCanadianAboriginal, kUCDScriptCherokee,
    kUCDScriptCommon, kUCDScriptCoptic, kUCDScriptCypriot, kUCDScriptCyrillic, kUCDScriptDeseret,
    kUCDScriptDevanagari, kUCDScriptEthiopic, kUCDScriptGeorgian, kUCDScriptGlagolitic,
    kUCDScriptGothic, kUCDScriptGreek, kUCDScriptGujarati, kUCDScriptGurmukhi, kUCDScriptHan,
    kUCDScriptHangul, kUCDScriptHanunoo, kUCDScriptHebrew, kUCDScriptHiragana, kUCDScriptInherited,
    kUCDScriptKannada, kUCDScriptKatakana, kUCDScriptKharoshthi, kUCDScriptKhmer, kUCDScriptLao,
    kUCDScriptLatin, kUCDScriptLimbu, kUCDScriptLinearB, kUCDScriptMalayalam, kUCDScriptMongolian,
    kUCDScriptMyanmar, kUCDScriptNewTaiLue, kUCDScriptOgham, kUCDScriptOldItalic,
    kUCDScriptOldPersian, kUCDScriptOriya, kUCDScriptOsmanya, kUCDScriptRunic, kUCDScriptShavian,
    kUCDScriptSinhala, kUCDScriptSylotiNagri, kUCDScriptSyriac, kUCDScriptTagalog,
    kUCDScriptTagbanwa, kUCDScriptTaiLe, kUCDScriptTamil, kUCDScriptTelugu, kUCDScriptThaana,
    kUCDScriptThai, kUCDScriptTibetan, kUCDScriptTifinagh, kUCDScriptUgaritic, kUCDScriptYi,
    // 5.0
    kUCDScriptBalinese, kUCDScriptCuneiform, kUCDScriptNko, kUCDScriptPhagsPa, kUCDScriptPhoenician,
    // 5.1
    kUCDScriptCarian, kUCDScriptCham, kUCDScriptKayahLi, kUCDScriptLepcha, kUCDScriptLycian,
    kUCDScriptLydian, kUCDScriptOlChiki, kUCDScriptRejang, kUCDScriptSaurashtra,
    kUCDScriptSundanese, kUCDScriptVai,
    // 5.2
    kUCDScriptAvestan, kUCDScriptBamum, kUCDScriptEgyptianHieroglyphs, kUCDScriptImperialAramaic,
    kUCDScriptInscriptionalPahlavi, kUCDScriptInscriptionalParthian, kUCDScriptJavanese,
    kUCDScriptKaithi, kUCDScriptLisu, kUCDScriptMeeteiMayek, kUCDScriptOldSouthArabian,
    kUCDScriptOldTurkic, kUCDScriptSamaritan, kUCDScriptTaiTham, kUCDScriptTaiViet,
    // 6.0
    kUCDScriptBatak, kUCDScriptBrahmi, kUCDScriptMandaic,
    // 6.1
    kUCDScriptChakma, kUCDScriptMeroiticCursive, kUCDScriptMeroiticHieroglyphs, kUCDScriptMiao,
    kUCDScriptSharada, kUCDScriptSoraSompeng, kUCDScriptTakri,
    // 7.0
    kUCDScriptBassaVah, kUCDScriptCaucasianAlbanian, kUCDScriptDuployan, kUCDScriptElbasan,
    kUCDScriptGrantha, kUCDScriptKhojki, kUCDScriptKhudawadi, kUCDScriptLinearA,
    kUCDScriptMahajani, kUCDScriptManichaean, kUCDScriptMendeKikakui, kUCDScriptModi,
    kUCDScriptMro, kUCDScriptNabataean, kUCDScriptOldNorthArabian, kUCDScriptOldPermic,
    kUCDScriptPahawhHmong, kUCDScriptPalmyrene, kUCDScriptPauCinHau, kUCDScriptPsalterPahlavi,
    kUCDScriptSiddham, kUCDScriptTirhuta, kUCDScriptWarangCiti,
    kUCDScriptCount
};

// The properties of code point c; any c above U+10FFFF gets the record of an unassigned code point.
inline GSUCDRecord const& GSUCDGetRecord(unsigned int c)
{
    if (c > 0x10FFFF) {
        return gs_ucd_records[0];
    }
    return gs_ucd_records[gs_ucd_stage2[gs_ucd_stage1[c / kUCDBlockSize] * kUCDBlockSize + c % kUCDBlockSize]];
}
