// The fixed character data of the text subsystem and the UTF-8 character reader.
//
// Tables to Unicode: 256 entries per code page, indexed by byte (Windows-1252, Mac OS Roman and the
// PostScript code page, each with the deliberate rows noted in GSCodePages.cpp).
// Tables from Unicode: (Unicode, byte) pairs sorted by Unicode for binary search. Byte 0 means
// "not representable"; 0xFFFF and 0xFFFE (negative as int16) index the replacement strings by
// their complement: 0 "fi", 1 "fl". PostScript text is written through the Windows pairs.
// Combining table: one record per combining mark (sorted by mark, ended by mark 0), each with its
// (ASCII base letter, precomposed letter) pairs sorted by base letter.
#pragma once

struct GSCombiningEntry {
    unsigned short base;
    unsigned short precomposed;
};

struct GSCombiningRecord {
    unsigned short mark;
    GSCombiningEntry const* entries;
    int count;
};

struct GSCodePages {
    static unsigned short const _winToUnicode[256];
    static unsigned short const _macToUnicode[256];
    static unsigned short const _psToUnicode[256];
    static int const kUnicodeToWinCount = 29;
    static int const kUnicodeToMacCount = 126;
    static unsigned short const _unicodeToWin[kUnicodeToWinCount * 2];
    static unsigned short const _unicodeToMac[kUnicodeToMacCount * 2];
    static char const* const _replacementStrings[2];
    static int const kCombiningMarks = 15;
    static GSCombiningRecord const _combineToUnicode[kCombiningMarks + 1];

    // The (base letter, mark) of a precomposed letter below U+2000 that the combining table makes;
    // false for any other character. The table behind it is built once per process, on first use.
    static bool getDecomposition(unsigned int c, unsigned short* base, unsigned short* mark) noexcept;
};

// Reads one UTF-8 character at p into *out and returns the position after it, or null on failure.
// `available` is the number of bytes from the lead byte to the end of the text; it is compared with
// the number of continuation bytes the lead byte asks for. Strict mode fails on a stray lead byte,
// a missing or malformed continuation byte; lenient mode takes a stray byte as itself, reads only
// the available continuation bytes, and takes the low six bits of whatever byte stands there.
// Neither mode checks overlong forms, surrogates or values above 0x10FFFF.
unsigned char const* GSUTF8ReadChar(unsigned char const* p, long available, short lenient, unsigned int* out) noexcept;

// One raw character of a string's text at *index, before `end`: code-page text (a table given) is
// read byte by byte through the table, skipping bytes whose value is 0; text without a table is read
// as lenient UTF-8 with end - *index bytes available. *index moves behind the character. False when
// the walk reaches `end` without a character (or *index is negative).
bool GSReadRawUniChar(unsigned char const* text, unsigned short const* table, long* index, long end,
                      unsigned int* c) noexcept;
