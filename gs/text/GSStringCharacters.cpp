// GSString characters: the character classes, the UTF-8 index helpers, the word around an index,
// the reverse character search and the basic integer parser.
//
// Characters of a UTF-8 string are handled as clusters: a lead byte with the continuation bytes
// that follow it, together with every combining accent (U+0300 to U+036F) right behind it. The
// valid start of an index is the first byte of its cluster, nextValidIndex the first byte of the
// next cluster, so the two agree and a walk by clusters always moves forward. A cluster is read
// (classified) by its first character. Code-page strings use every byte as a character.
#include "gs/text/GSCodePages.h"
#include "gs/text/GSString.h"

#include <algorithm>
#include <cctype>
#include <cwctype>

namespace {

// The kinds getCharKind gives, by the locale's wide classes; white space is the library's own set.
enum GSCharKind {
    kGSCharOther = 0,       // none of the classes below (unassigned, symbols the locale leaves out)
    kGSCharWhiteSpace = 1,  // isWhiteSpace
    kGSCharDigit = 2,       // iswdigit
    kGSCharLetter = 3,      // iswalpha
    kGSCharPunctuation = 4, // iswpunct
    kGSCharControl = 5      // iswcntrl, other than white space
};

bool isContinuation(unsigned char b)
{
    return (b & 0xC0) == 0x80;
}

bool isAccent(unsigned int c)
{
    return c >= 0x300 && c <= 0x36F;
}

// The index after the character whose lead byte is at i: the lead and the continuation bytes
// that follow it.
long afterCharacter(unsigned char const* text, long i, long length)
{
    ++i;
    while (i < length && isContinuation(text[i]))
        ++i;
    return i;
}

// The character at i read leniently within its own bytes (see afterCharacter), so that the value
// and the byte structure agree.
unsigned int characterAt(unsigned char const* text, long i, long length)
{
    if (text[i] < 0x80)
        return text[i];
    unsigned int c = text[i];
    GSUTF8ReadChar(text + i, afterCharacter(text, i, length) - i, 1, &c);
    return c;
}

bool isUTF8(GSString const& s)
{
    return s.getEncoding() > 99;
}

unsigned char const* bytes(GSString const& s)
{
    return reinterpret_cast<unsigned char const*>(s.c_str());
}

// The three classes of word pieces: white space, delimiters and word characters.
enum PieceClass { kPieceWhiteSpace, kPieceDelimiter, kPieceWord };

PieceClass pieceClass(GSString const& s, long i)
{
    if (s.isWhiteSpace(i))
        return kPieceWhiteSpace;
    return s.isWordDelimiter(i) ? kPieceDelimiter : kPieceWord;
}

} // namespace

// --- Character classes ----------------------------------------------------------------------------

// The spaces that separate a number from the name before it: U+0020 and the zero-width space.
bool GSString::isSpace(unsigned int c) noexcept
{
    return c == 0x20 || c == 0x200B;
}

bool GSString::isTabulator(unsigned int c) noexcept
{
    return c == 9;
}

// Either line ending: carriage return or line feed.
bool GSString::isReturn(unsigned int c) noexcept
{
    return c == 13 || c == 10;
}

// Bytes 3, 7, 9, 10, 12, 13, 32 and U+200B. Byte 11 and the no-break space U+00A0 are not white
// space: a no-break space must keep its words together.
bool GSString::isWhiteSpace(unsigned int c) noexcept
{
    switch (c) {
    case 3:
    case 7:
    case 9:
    case 10:
    case 12:
    case 13:
    case 32:
    case 0x200B:
        return true;
    default:
        return false;
    }
}

// A line ending or the Unicode paragraph separator.
bool GSString::isParagraphEnd(unsigned int c) noexcept
{
    return isReturn(c) || c == 0x2029;
}

// Where a new line starts on screen: a paragraph end, or a forced break (byte 3, the end of a
// text column; byte 12, a page break; U+2028, the line separator).
bool GSString::isVisualParagraphEnd(unsigned int c) noexcept
{
    return isParagraphEnd(c) || c == 3 || c == 12 || c == 0x2028;
}

bool GSString::isDigit(unsigned int c) noexcept
{
    return c >= '0' && c <= '9';
}

// The decimal separators of the languages we write: point and comma.
bool GSString::isDecimalPoint(unsigned int c) noexcept
{
    return c == '.' || c == ',';
}

// A character that belongs to a word: 1 (an object placeholder in text) and "_"; ASCII letters and
// digits by the locale's byte classes; beyond ASCII U+00DF, the locale's wide letters and digits,
// and the precomposed letters the combining table knows (so that they stay word letters in the
// "C" locale too).
bool GSString::isUniCharWordLetter(unsigned int c) noexcept
{
    if (c == 1 || c == '_')
        return true;
    if (c < 0x80)
        return std::isalnum(static_cast<int>(c)) != 0;
    if (c == 0xDF || std::iswalnum(static_cast<wint_t>(c)))
        return true;
    unsigned short base = 0, mark = 0;
    return GSCodePages::getDecomposition(c, &base, &mark);
}

// Only Latin-1 characters can be delimiters: beyond 0xFF every character counts as part of a word
// (scripts without spaces, accents, symbols alike).
bool GSString::isUniCharWordDelimiter(unsigned int c) noexcept
{
    return c <= 0xFF && !isUniCharWordLetter(c);
}

unsigned int GSString::toUpperUnicode(unsigned int c) noexcept
{
    return static_cast<unsigned int>(std::towupper(static_cast<wint_t>(c)));
}

unsigned int GSString::toLowerUnicode(unsigned int c) noexcept
{
    return static_cast<unsigned int>(std::towlower(static_cast<wint_t>(c)));
}

int GSString::getCharKind(unsigned int c) noexcept
{
    auto const w = static_cast<wint_t>(c);
    if (isWhiteSpace(c))
        return kGSCharWhiteSpace;
    if (std::iswdigit(w))
        return kGSCharDigit;
    if (std::iswalpha(w))
        return kGSCharLetter;
    if (std::iswpunct(w))
        return kGSCharPunctuation;
    if (std::iswcntrl(w))
        return kGSCharControl;
    return kGSCharOther;
}

// --- Classes at an index --------------------------------------------------------------------------

bool GSString::isWhiteSpace(long index) const noexcept
{
    long const length = getLength();
    if (index < 0 || index >= length)
        return false;
    unsigned char const* text = bytes(*this);
    return isWhiteSpace(isUTF8(*this) ? characterAt(text, index, length) : text[index]);
}

// Code pages: 1, "_", letters and digits are word characters, by the locale's classes (a byte
// above 0x7F taken as the code point of the same value). UTF-8: the character's own rule.
bool GSString::isWordDelimiter(long index) const noexcept
{
    long const length = getLength();
    if (index < 0 || index >= length)
        return false;
    unsigned char const* text = bytes(*this);
    if (isUTF8(*this))
        return isUniCharWordDelimiter(characterAt(text, index, length));
    unsigned int const b = text[index];
    if (b == 1 || b == '_')
        return false;
    if (b < 0x80)
        return !std::isalnum(static_cast<int>(b));
    return !std::iswalnum(static_cast<wint_t>(b));
}

// --- UTF-8 indices --------------------------------------------------------------------------------

// Back to the lead byte of the character holding the index, then back over accents to the
// character they belong to.
long GSString::getValidStartIndexForIndex(long index) const noexcept
{
    long const length = getLength();
    index = std::clamp(index, 0L, length);
    if (!isUTF8(*this) || index == length)
        return index;
    unsigned char const* text = bytes(*this);
    for (;;) {
        while (index > 0 && isContinuation(text[index]))
            --index;
        if (index == 0 || !isAccent(characterAt(text, index, length)))
            return index;
        --index;
    }
}

// The last byte of the character at the index, or of the one accent that follows it; at most
// length - 1.
long GSString::getValidEndIndexForIndex(long index) const noexcept
{
    long const length = getLength();
    if (!isUTF8(*this) || length == 0)
        return index;
    index = std::clamp(index, 0L, length - 1);
    unsigned char const* text = bytes(*this);
    long const next = afterCharacter(text, index, length);
    if (next < length && isAccent(characterAt(text, next, length)))
        return afterCharacter(text, next, length) - 1;
    return next - 1;
}

// The start of the next cluster: behind the character at the index and every accent after it.
long GSString::nextValidIndex(long index) const noexcept
{
    long const length = getLength();
    if (index >= length)
        return length;
    if (index < 0)
        return 0;
    if (!isUTF8(*this))
        return index + 1;
    unsigned char const* text = bytes(*this);
    index = afterCharacter(text, index, length);
    while (index < length && isAccent(characterAt(text, index, length)))
        index = afterCharacter(text, index, length);
    return index;
}

// The start of the cluster before the one holding the index.
long GSString::previousValidIndex(long index) const noexcept
{
    if (index <= 0)
        return 0;
    return getValidStartIndexForIndex(getValidStartIndexForIndex(index) - 1);
}

// The number of characters (code points) before the byte index.
long GSString::getCharCountForIndex(long index) const noexcept
{
    index = std::clamp(index, 0L, getLength());
    if (!isUTF8(*this))
        return index;
    unsigned char const* text = bytes(*this);
    long count = 0;
    for (long i = 0; i < index; ++i)
        count += !isContinuation(text[i]);
    return count;
}

// --- Words ----------------------------------------------------------------------------------------

// The piece holding the index: a white-space cluster by itself, else the run of clusters of the
// same class (delimiters or word characters) around it. A zero-width space is white space, so it
// also separates words although it is not a delimiter; every index therefore lies in exactly one
// piece, and the pieces of a text follow one another without gaps.
GSRange GSString::getWordRangeForIndex(long index) const
{
    long const length = getLength();
    if (length == 0)
        return GSRange(0, 0);
    long const i = getValidStartIndexForIndex(std::clamp(index, 0L, length - 1));
    PieceClass const kind = pieceClass(*this, i);
    long end = nextValidIndex(i);
    if (kind == kPieceWhiteSpace)
        return GSRange(i, end - i);
    long start = i;
    while (start > 0) {
        long const before = previousValidIndex(start);
        if (pieceClass(*this, before) != kind)
            break;
        start = before;
    }
    while (end < length && pieceClass(*this, end) == kind)
        end = nextValidIndex(end);
    return GSRange(start, end - start);
}

long GSString::findCharRev(char c, long start) const noexcept
{
    long const length = getLength();
    if (start < 0 || start >= length)
        start = length - 1;
    char const* text = c_str();
    for (long i = start; i >= 0; --i) {
        if (text[i] == c)
            return i;
    }
    return -1;
}

// An optional "-", then an optional "+", then decimal digits. Digits are added only while the
// value is below 214748364, so the value never overflows: a longer number keeps its leading
// digits, and the rest are consumed without being added. `end` receives the index after the last
// digit consumed, `usedEnd` the index after the last digit added (both the scan position, behind
// the signs, when there are none).
int GSString::getBasicLongValue(long start, long* end, long* usedEnd) const noexcept
{
    long const length = getLength();
    char const* text = c_str();
    long i = std::clamp(start, 0L, length);
    bool const negative = i < length && text[i] == '-';
    if (negative)
        ++i;
    if (i < length && text[i] == '+')
        ++i;
    int value = 0;
    long used = i;
    for (; i < length && isDigit(static_cast<unsigned char>(text[i])); ++i) {
        if (value < 214748364) {
            value = value * 10 + (text[i] - '0');
            used = i + 1;
        }
    }
    if (end)
        *end = i;
    if (usedEnd)
        *usedEnd = used;
    return negative ? -value : value;
}
