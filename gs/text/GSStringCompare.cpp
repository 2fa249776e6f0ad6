// GSString comparison: plain, caseless, natural (numbers by value) and wildcard matching.
//
// Results are negative, zero or positive. Plain comparison of UTF-8 text goes by character with
// precomposed letters split into letter and accent, so "é" as one character equals "e" followed by
// U+0301. Caseless comparison maps both characters with towupper() of the process locale.
#include "gs/text/GSString.h"
#include "gs/text/GSStringUniCharEnumerator.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <cwctype>

namespace {

unsigned char const* bytes(GSString const& s)
{
    return reinterpret_cast<unsigned char const*>(s.c_str());
}

int sign(long v)
{
    return (v > 0) - (v < 0);
}

int clampToInt(long v)
{
    return static_cast<int>(std::clamp(v, static_cast<long>(-INT_MAX), static_cast<long>(INT_MAX)));
}

unsigned int upper(unsigned int c)
{
    return static_cast<unsigned int>(std::towupper(static_cast<wint_t>(c)));
}

// What the caseless walk gives when a range runs out of characters before a difference.
enum WalkEnd {
    kShorterSmaller, // a range that ends first is smaller
    kFirstIsPrefix,  // 0 when a ends (a is a prefix of b), 1 when only b ends
    kEitherEnds      // 0 when either ends
};

// The caseless walk over a.[startA, endA) and b.[startB, endB), by character with decomposition.
// It stops with 0 when a's byte index reaches `limitA` (negative: no limit). Otherwise the first
// pair that differs in upper case gives its difference, and the end of a range gives what `rule`
// says.
//
// Between two UTF-8 texts, equal ASCII bytes are passed over without reading them as characters:
// they are equal characters in any locale. That is only done while neither enumerator holds back
// an accent, which is known when each last step read a single ASCII byte.
int caselessWalk(GSString const& a, long startA, long endA, long limitA, GSString const& b, long startB,
                 long endB, WalkEnd rule)
{
    GSStringUniCharEnumerator ea(a, 1);
    GSStringUniCharEnumerator eb(b, 1);
    ea.setRange(GSRange(startA, endA - startA));
    eb.setRange(GSRange(startB, endB - startB));
    unsigned char const* ta = bytes(a);
    unsigned char const* tb = bytes(b);
    long const stopA = limitA < 0 ? endA : std::min(limitA, endA);
    bool clean = a.getEncoding() > 99 && b.getEncoding() > 99;
    bool const ascii = clean;
    for (;;) {
        long ia = ea.getIndex();
        long ib = eb.getIndex();
        if (clean) {
            while (ia < stopA && ib < endB && ta[ia] == tb[ib] && ta[ia] < 0x80) {
                ++ia;
                ++ib;
            }
            ea.setIndex(ia);
            eb.setIndex(ib);
        }
        if (limitA >= 0 && ia >= limitA)
            return 0;
        unsigned int ca = 0, cb = 0;
        bool const hasA = ea.getNext(&ca);
        bool const hasB = eb.getNext(&cb);
        if (!hasA || !hasB) {
            if (rule == kEitherEnds || (!hasA && rule == kFirstIsPrefix))
                return 0;
            return hasA - hasB;
        }
        if (ca != cb) {
            unsigned int const ua = upper(ca);
            unsigned int const ub = upper(cb);
            if (ua != ub)
                return static_cast<int>(ua) - static_cast<int>(ub);
        }
        clean = ascii && ea.getIndex() == ia + 1 && ta[ia] < 0x80 && eb.getIndex() == ib + 1 && tb[ib] < 0x80;
    }
}

// The first index from `from` on that holds a "." or a digit, where a "." at the window start
// `window` does not count; `length` when there is none.
long numberStart(unsigned char const* text, long window, long from, long length)
{
    if (from == window && from < length && text[from] == '.')
        ++from;
    for (; from < length; ++from) {
        if (text[from] == '.' || GSString::isDigit(text[from]))
            return from;
    }
    return length;
}

// The end of the text before `number` (not before `window`) without the spaces (U+0020, U+200B)
// that stand right before the number.
long beforeSpaces(GSString const& s, long window, long number)
{
    while (number > window) {
        long const before = std::max(s.previousValidIndex(number), window);
        if (!GSString::isSpace(s.getUnicodeChar(before, nullptr)))
            break;
        number = before;
    }
    return number;
}

} // namespace

// --- Plain ------------------------------------------------------------------------------------------

int GSString::compareValue(GSString const& other) const
{
    return compareValueRanges(other, GSRange(0, getLength()), GSRange(0, other.getLength()));
}

// The bytes as unsigned values, a shorter text before a longer one that it begins.
int GSString::compareValueSimple(GSString const& other) const
{
    long const lengthA = getLength();
    long const lengthB = other.getLength();
    int const r = std::memcmp(c_str(), other.c_str(), static_cast<size_t>(std::min(lengthA, lengthB)));
    return r ? r : sign(lengthA - lengthB);
}

// The first n bytes of each (n < 0: the whole strings), by the rule of compareValueRanges.
int GSString::compareValueCount(GSString const& other, long n) const
{
    if (n < 0)
        return compareValue(other);
    return compareValueRanges(other, GSRange(0, std::min(n, getLength())),
                              GSRange(0, std::min(n, other.getLength())));
}

// The ranges are clamped to the strings. The same range of the same string gives 0; an empty
// range is smaller than a non-empty one. UTF-8 text, and text of two different tags, is compared by
// character with decomposition (the first differing pair gives its difference, a shorter range
// is smaller); two texts of the same code page by unsigned bytes, then by length.
int GSString::compareValueRanges(GSString const& other, GSRange const& rangeA, GSRange const& rangeB) const
{
    if (this == &other && rangeA == rangeB)
        return 0;
    long const lengthA = getLength();
    long const lengthB = other.getLength();
    long const startA = std::clamp(rangeA.start, 0L, lengthA);
    long const startB = std::clamp(rangeB.start, 0L, lengthB);
    long const endA = std::clamp(rangeA.getEnd(), startA, lengthA);
    long const endB = std::clamp(rangeB.getEnd(), startB, lengthB);
    if (endA == startA)
        return endB == startB ? 0 : -1;
    if (endB == startB)
        return 1;
    if (encoding > 99 || encoding != other.encoding) {
        GSStringUniCharEnumerator ea(*this, 1);
        GSStringUniCharEnumerator eb(other, 1);
        ea.setRange(GSRange(startA, endA - startA));
        eb.setRange(GSRange(startB, endB - startB));
        for (;;) {
            unsigned int ca = 0, cb = 0;
            bool const hasA = ea.getNext(&ca);
            bool const hasB = eb.getNext(&cb);
            if (!hasA)
                return hasB ? -1 : 0;
            if (!hasB)
                return 1;
            if (ca != cb)
                return static_cast<int>(ca) - static_cast<int>(cb);
        }
    }
    long const common = std::min(endA - startA, endB - startB);
    int const r = std::memcmp(c_str() + startA, other.c_str() + startB, static_cast<size_t>(common));
    return r ? r : clampToInt((endA - startA) - (endB - startB));
}

// --- Caseless -------------------------------------------------------------------------------------

// By character with decomposition, in upper case; stops with 0 when this string's byte index
// reaches n (n < 0: the whole strings).
int GSString::compareValueCountCaseless(GSString const& other, long n) const
{
    return caselessWalk(*this, 0, getLength(), n, other, 0, other.getLength(), kShorterSmaller);
}

// A quick caseless order on bytes: ASCII letters compare in upper case, every other byte as it
// is (no locale, no decomposition); a shorter text before a longer one that it begins.
int GSString::compareValueCaselessSimple(GSString const& other) const
{
    long const lengthA = getLength();
    long const lengthB = other.getLength();
    unsigned char const* a = bytes(*this);
    unsigned char const* b = bytes(other);
    long const common = std::min(lengthA, lengthB);
    for (long i = 0; i < common; ++i) {
        int const ua = a[i] >= 'a' && a[i] <= 'z' ? a[i] - 32 : a[i];
        int const ub = b[i] >= 'a' && b[i] <= 'z' ? b[i] - 32 : b[i];
        if (ua != ub)
            return ua - ub;
    }
    return sign(lengthA - lengthB);
}

// A total order for sorting: caseless first, then, for texts that differ only in case, the plain
// order, so that "a" and "A" do not compare equal and a sort gives the same result every time.
int GSString::compareStringCaseless(GSString const& other) const
{
    int const r = compareValueCaseless(other);
    return r ? r : compareValue(other);
}

// 0 when this string begins with `start`, caselessly (an empty start always matches). Otherwise
// the caseless order at the first difference; a string that ends inside `start` is smaller.
int GSString::compareValueStartingCaseless(GSString const& start) const
{
    return -caselessWalk(start, 0, start.getLength(), -1, *this, 0, getLength(), kFirstIsPrefix);
}

// --- Natural order --------------------------------------------------------------------------------

// Each string is taken as text, number, text, number and so on. The texts before the numbers are
// compared caselessly by character, a text that ends first (a number that starts earlier) being
// smaller; then the smaller value; then the number texts (so "a007" comes before "a7"); then both
// go on behind their numbers. A number starts at a digit or at "." (a "." at the start of what is
// left does not count: it is the point after the previous number, or a hidden file's dot).
//
// In path mode numbers count only in the last path component: the number search starts behind the
// last "/". There the spaces (U+0020, U+200B) before a number do not count either: the texts are
// compared as far as both reach, then without those spaces, so "Scan 7" and "Scan7" put their
// numbers at the same place.
//
// The texts are compared by character, not over a count of bytes taken from one of them: such a
// count could end inside a character of the other string, or between a letter and its accent,
// and the order would depend on which string is asked. What is left of each string is a window
// [offset, length): nothing is copied.
int GSString::compareValueWithNumberCaseless(GSString const& other, short pathMode) const
{
    long const lengthA = getLength();
    long const lengthB = other.getLength();
    if (lengthA == 0 || lengthB == 0)
        return compareValueCaseless(other);
    unsigned char const* ta = bytes(*this);
    unsigned char const* tb = bytes(other);
    long const limitA = pathMode ? findCharRev('/') : lengthA;
    long const limitB = pathMode ? other.findCharRev('/') : lengthB;
    long offsetA = 0;
    long offsetB = 0;
    for (;;) {
        long const startA = numberStart(ta, offsetA, pathMode ? std::max(offsetA, limitA + 1) : offsetA, lengthA);
        long const startB = numberStart(tb, offsetB, pathMode ? std::max(offsetB, limitB + 1) : offsetB, lengthB);
        bool const lastComponent = startA > limitA && startB > limitB;
        int r = caselessWalk(*this, offsetA, startA, -1, other, offsetB, startB,
                             lastComponent ? kEitherEnds : kShorterSmaller);
        if (r)
            return r;
        if (lastComponent) {
            r = caselessWalk(*this, offsetA, beforeSpaces(*this, offsetA, startA), -1, other, offsetB,
                             beforeSpaces(other, offsetB, startB), kShorterSmaller);
            if (r)
                return r;
        }
        bool const emptyA = offsetA == lengthA;
        bool const emptyB = offsetB == lengthB;
        if (emptyA || emptyB)
            return emptyB - emptyA;
        // A number starts at a digit or a point, never at white space, so it is parsed from there.
        long endA = 0;
        long endB = 0;
        int const valueA = getBasicLongValue(startA, &endA, nullptr);
        int const valueB = other.getBasicLongValue(startB, &endB, nullptr);
        if (valueA != valueB)
            return valueA < valueB ? -1 : 1;
        // Equal values: the number texts decide, a shorter text being smaller.
        int const t = compareValueRanges(other, GSRange(startA, endA - startA), GSRange(startB, endB - startB));
        if (t)
            return t;
        offsetA = endA;
        offsetB = endB;
    }
}

// --- Wildcards ------------------------------------------------------------------------------------

// By character (a whole UTF-8 character for `anyChar`), without decomposition. The classic
// linear backtracking: remember the last `anyRun` and where the text stood; on a mismatch let
// that run take one more character and try again. Each text character is passed at most once per
// run, so the cost is at most text length times pattern length and linear in practice.
int GSString::compareValueWildcard(GSString const& text, GSString const& pattern, char anyChar, char anyRun,
                                   short caseless)
{
    auto const one = static_cast<unsigned int>(static_cast<unsigned char>(anyChar));
    auto const run = static_cast<unsigned int>(static_cast<unsigned char>(anyRun));
    GSStringUniCharEnumerator et(text, 0);
    GSStringUniCharEnumerator ep(pattern, 0);
    long t = 0;
    long p = 0;
    long runPattern = -1; // the pattern index behind the last anyRun
    long runText = 0;     // the text index that run has reached
    unsigned int tc = 0, pc = 0;
    for (;;) {
        et.setIndex(t);
        if (!et.getNext(&tc))
            break;
        long const nextT = et.getIndex();
        ep.setIndex(p);
        bool const hasP = ep.getNext(&pc);
        long const nextP = ep.getIndex();
        if (hasP && pc == run) {
            runPattern = nextP;
            runText = t;
            p = nextP;
            continue;
        }
        if (hasP && (pc == one || pc == tc || (caseless && upper(pc) == upper(tc)))) {
            t = nextT;
            p = nextP;
            continue;
        }
        if (runPattern < 0)
            return 1;
        et.setIndex(runText);
        et.getNext(&tc);
        runText = et.getIndex();
        t = runText;
        p = runPattern;
    }
    // The text is used up: what is left of the pattern may only be runs.
    ep.setIndex(p);
    while (ep.getNext(&pc)) {
        if (pc != run)
            return 1;
    }
    return 0;
}

// --- Sort callbacks -------------------------------------------------------------------------------

int GSStringCompareAscendingCaseless(void const* a, void const* b)
{
    return static_cast<GSString const*>(a)->compareValueCaseless(*static_cast<GSString const*>(b));
}

int GSStringCompareDescendingCaseless(void const* a, void const* b)
{
    return -GSStringCompareAscendingCaseless(a, b);
}
