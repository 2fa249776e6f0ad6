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
// Between two UTF-8 texts, ASCII bytes are compared as they stand: an ASCII byte is a whole
// character without decomposition, and equal bytes are equal characters in any locale. That is only
// done while neither enumerator holds back an accent, which is known when each last step read a
// single ASCII byte. The enumerators are only set up when a character beyond ASCII comes.
int endOfWalk(bool hasA, bool hasB, WalkEnd rule)
{
    if (rule == kEitherEnds || (!hasA && rule == kFirstIsPrefix))
        return 0;
    return hasA - hasB;
}

int caselessWalk(GSString const& a, long startA, long endA, long limitA, GSString const& b, long startB,
                 long endB, WalkEnd rule)
{
    unsigned char const* ta = bytes(a);
    unsigned char const* tb = bytes(b);
    bool const ascii = a.getEncoding() > 99 && b.getEncoding() > 99;
    long ia = startA;
    long ib = startB;
    // Returns true when the ASCII bytes decide (*result set), false at the first other byte.
    auto asciiStep = [&](int* result) {
        for (;; ++ia, ++ib) {
            if (limitA >= 0 && ia >= limitA) {
                *result = 0;
                return true;
            }
            if (ia == endA || ib == endB) {
                *result = endOfWalk(ia < endA, ib < endB, rule);
                return true;
            }
            unsigned int const ca = ta[ia];
            unsigned int const cb = tb[ib];
            if (ca >= 0x80 || cb >= 0x80)
                return false;
            if (ca != cb) {
                unsigned int const ua = upper(ca);
                unsigned int const ub = upper(cb);
                if (ua != ub) {
                    *result = static_cast<int>(ua) - static_cast<int>(ub);
                    return true;
                }
            }
        }
    };
    int result = 0;
    if (ascii && asciiStep(&result))
        return result;
    GSStringUniCharEnumerator ea(a, 1);
    GSStringUniCharEnumerator eb(b, 1);
    ea.setRange(GSRange(ia, endA - ia));
    eb.setRange(GSRange(ib, endB - ib));
    for (;;) {
        if (limitA >= 0 && ia >= limitA)
            return 0;
        unsigned int ca = 0, cb = 0;
        bool const hasA = ea.getNext(&ca);
        bool const hasB = eb.getNext(&cb);
        if (!hasA || !hasB)
            return endOfWalk(hasA, hasB, rule);
        if (ca != cb) {
            unsigned int const ua = upper(ca);
            unsigned int const ub = upper(cb);
            if (ua != ub)
                return static_cast<int>(ua) - static_cast<int>(ub);
        }
        bool const clean = ascii && ea.getIndex() == ia + 1 && ta[ia] < 0x80 && eb.getIndex() == ib + 1
                           && tb[ib] < 0x80;
        ia = ea.getIndex();
        ib = eb.getIndex();
        if (clean) {
            if (asciiStep(&result))
                return result;
            ea.setIndex(ia);
            eb.setIndex(ib);
        }
    }
}

// True when a number starts at i: a digit or a ".", where a "." at the window
// start `window` does not count.
bool isNumberStart(unsigned char const* text, long window, long i)
{
    return (text[i] >= '0' && text[i] <= '9') || (text[i] == '.' && i != window);
}

// The first index of the window where a number starts; `length` when there is none.
long numberStart(unsigned char const* text, long window, long length)
{
    for (long i = window; i < length; ++i) {
        if (isNumberStart(text, window, i))
            return i;
    }
    return length;
}

// The end of the text before `number` (not before `window`) without the spaces that stand right
// before the number: U+0020 (byte 32 in every code page) and, in UTF-8, U+200B (E2 80 8B).
long beforeSpaces(GSString const& s, long window, long number)
{
    unsigned char const* text = bytes(s);
    bool const utf8 = s.getEncoding() > 99;
    for (;;) {
        if (number > window && text[number - 1] == ' ')
            --number;
        else if (utf8 && number - 3 >= window && text[number - 3] == 0xE2 && text[number - 2] == 0x80
                 && text[number - 1] == 0x8B)
            number -= 3;
        else
            return number;
    }
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
        long ia = startA;
        long ib = startB;
        if (encoding > 99 && other.encoding > 99) {
            // Equal ASCII bytes are equal characters; the walk starts at the first other byte.
            unsigned char const* ta = bytes(*this);
            unsigned char const* tb = bytes(other);
            while (ia < endA && ib < endB && ta[ia] == tb[ib] && ta[ia] < 0x80) {
                ++ia;
                ++ib;
            }
        }
        GSStringUniCharEnumerator ea(*this, 1);
        GSStringUniCharEnumerator eb(other, 1);
        ea.setRange(GSRange(ia, endA - ia));
        eb.setRange(GSRange(ib, endB - ib));
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

// Each string is taken as text, number, text, number and so on. A number starts at a digit or at
// "." (a "." at the start of what is left does not count: it is the point after the previous
// number, or a hidden file's dot). For each pair:
//   1. the texts are compared caselessly as far as both reach before their numbers (so "file 9"
//      and "file10" go on to their numbers, 9 < 10);
//   2. in path mode, when both numbers lie in the last path component (behind the last "/"), the
//      spaces (U+0020, U+200B) before each number are left out and the shorter rest of the text is
//      smaller ("Scan 7" and "Scan7" put their numbers at the same place);
//   3. a string that has nothing left is smaller;
//   4. the smaller value is smaller; equal values are ordered by their number texts ("a007" before
//      "a7"), a shorter text being smaller;
//   5. both go on behind their numbers.
// The texts are walked by character, and step 1 stops as soon as either text ends, so the order
// does not depend on which string is asked, also when a character or an accent spans the point
// where the nearer number starts. What is left of each string is a window [offset, length):
// nothing is copied.
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
    bool const ascii = encoding > 99 && other.encoding > 99;
    long offsetA = 0;
    long offsetB = 0;
    for (;;) {
        long startA = -1;
        long startB = -1;
        if (ascii) {
            // The common cases, decided while finding the numbers: two texts that differ in an
            // ASCII character before either number starts (the walk below would give the same), or
            // two numbers at the same place behind texts that are the same ASCII but for case (the
            // walk below would find nothing).
            for (long ia = offsetA, ib = offsetB; ia < lengthA && ib < lengthB; ++ia, ++ib) {
                unsigned int const ca = ta[ia];
                unsigned int const cb = tb[ib];
                bool const numberA = isNumberStart(ta, offsetA, ia);
                bool const numberB = isNumberStart(tb, offsetB, ib);
                if (numberA && numberB) {
                    startA = ia;
                    startB = ib;
                    break;
                }
                if (ca >= 0x80 || cb >= 0x80 || numberA || numberB)
                    break;
                if (ca != cb && upper(ca) != upper(cb))
                    return static_cast<int>(upper(ca)) - static_cast<int>(upper(cb));
            }
        }
        if (startA < 0) {
            startA = numberStart(ta, offsetA, lengthA);
            startB = numberStart(tb, offsetB, lengthB);
            if (int r = caselessWalk(*this, offsetA, startA, -1, other, offsetB, startB, kEitherEnds))
                return r;
        }
        if (pathMode && startA > limitA && startB > limitB) {
            long const textA = beforeSpaces(*this, offsetA, startA) - offsetA;
            long const textB = beforeSpaces(other, offsetB, startB) - offsetB;
            if (textA != textB)
                return textA < textB ? -1 : 1;
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

namespace {

// True when every byte is a character of its own, the same in every encoding tag: bytes 1 to 0x7F.
// (A zero byte is a character in UTF-8 but no character in code-page text.)
bool isPlainASCII(GSString const& s) noexcept
{
    auto const* bytes = reinterpret_cast<unsigned char const*>(s.c_str());
    long const length = s.getLength();
    for (long i = 0; i < length; ++i) {
        if (bytes[i] == 0 || bytes[i] >= 0x80)
            return false;
    }
    return true;
}

// The character walk below on bytes, for texts whose characters are their bytes: file search
// compares every name it lists, and most names are plain ASCII.
int wildcardBytes(char const* text, long textLength, char const* pattern, long patternLength, char anyChar,
                  char anyRun) noexcept
{
    long t = 0;
    long p = 0;
    long runPattern = -1;
    long runText = 0;
    while (t < textLength) {
        if (p < patternLength && pattern[p] == anyRun) {
            runPattern = ++p;
            runText = t;
        } else if (p < patternLength && (pattern[p] == anyChar || pattern[p] == text[t])) {
            ++t;
            ++p;
        } else if (runPattern < 0) {
            return 1;
        } else {
            t = ++runText;
            p = runPattern;
        }
    }
    while (p < patternLength && pattern[p] == anyRun)
        ++p;
    return p == patternLength ? 0 : 1;
}

} // namespace

// By character (a whole UTF-8 character for `anyChar`), without decomposition. The classic
// linear backtracking: remember the last `anyRun` and where the text stood; on a mismatch let
// that run take one more character and try again. Each text character is passed at most once per
// run, so the cost is at most text length times pattern length and linear in practice.
int GSString::compareValueWildcard(GSString const& text, GSString const& pattern, char anyChar, char anyRun,
                                   short caseless)
{
    if (!caseless && isPlainASCII(text) && isPlainASCII(pattern))
        return wildcardBytes(text.c_str(), text.getLength(), pattern.c_str(), pattern.getLength(), anyChar, anyRun);
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
