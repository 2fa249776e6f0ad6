// GSString editing: insertion, removal, replacement, trimming, escapes, case mapping and copy names
// (rules in GSString.h).
//
// Insertion and removal move the bytes in the string's own storage (copied first when shared).
// Every edit that replaces pieces all over the text goes through one engine, `rebuild`: a matcher
// names the next piece to replace and its new bytes, and the engine copies the text around the
// pieces into a new string in a single pass, starting only when the first piece is found.
#include "gs/text/GSCodePages.h"
#include "gs/text/GSString.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstring>
#include <string_view>
#include <utility>

namespace {

bool isUTF8(GSString const& s)
{
    return s.getEncoding() > 99;
}

bool isASCII(char c)
{
    return static_cast<unsigned char>(c) < 0x80;
}

std::string_view view(GSString const& s)
{
    return std::string_view(s.c_str(), static_cast<size_t>(s.getLength()));
}

// Collects the new text of a one-pass edit in the source's encoding. After the first failed append
// the rest is skipped and finish() reports the failure.
class Builder {
public:
    explicit Builder(GSString const& source)
        : failed(out.createOwnData(source.getLength() + 1, source.getLength() + 1, 0) != 0)
    {
        out.setEncoding(source.getEncoding());
    }

    void put(char const* bytes, long n)
    {
        if (!failed)
            failed = out.add(bytes, n) != 0;
    }

    // The text into `target`; 1 and an empty target when an append failed.
    short finish(GSString* target)
    {
        if (failed) {
            target->releaseData();
            return 1;
        }
        *target = std::move(out);
        return 0;
    }

private:
    GSString out;
    bool failed;
};

// The one-pass engine. `next(from, &end, &with)` gives the start of the next piece at or after
// `from` (and behind it `end`, past the start, and `with`, its new bytes), or -1 when none is left.
// `with` is put before next is asked again, so it may point into the matcher's own buffer. The
// text of s stays untouched until the end, so pieces and replacements may be views into s.
template <class Next>
short rebuild(GSString& s, Next next)
{
    long end = 0;
    std::string_view with;
    long at = next(0, &end, &with);
    if (at < 0)
        return 0;
    char const* text = s.c_str();
    Builder out(s);
    long done = 0;
    while (at >= 0) {
        out.put(text + done, at - done);
        out.put(with.data(), static_cast<long>(with.size()));
        done = end;
        at = next(end, &end, &with);
    }
    out.put(text + done, s.getLength() - done);
    return out.finish(&s);
}

// The pairs of a replacement list "character;replacement;...", the last separator optional; a
// character without a replacement has an empty one.
class PairReader {
public:
    PairReader(GSString const& list, char sep) : text(view(list)), separator(sep) {}

    bool next(std::string_view* character, std::string_view* replacement)
    {
        if (position >= text.size())
            return false;
        *character = item();
        *replacement = item();
        return true;
    }

private:
    // The text up to the next separator (or the end), stepping over the separator.
    std::string_view item()
    {
        if (position >= text.size())
            return {};
        size_t const stop = std::min(text.find(separator, position), text.size());
        std::string_view const piece = text.substr(position, stop - position);
        position = stop + 1;
        return piece;
    }

    std::string_view text;
    char separator;
    size_t position = 0;
};

// One whole character: one byte in a code page, one strictly read character in UTF-8.
bool isOneCharacter(std::string_view item, bool utf8)
{
    if (!utf8)
        return item.size() == 1;
    if (item.empty())
        return false;
    auto const* p = reinterpret_cast<unsigned char const*>(item.data());
    unsigned int c;
    return GSUTF8ReadChar(p, static_cast<long>(item.size()), 0, &c) == p + item.size();
}

// Replacement by a list in either direction: pieces are the list's characters (forward) or its
// non-empty replacements (reverse); the first pair in list order whose piece stands at an index
// wins. `starts` filters the indices by the first byte of every piece.
class ListMatcher {
public:
    ListMatcher(GSString const& s, GSString const& pairList, char sep, bool backwards)
        : text(view(s)), list(pairList), separator(sep), reverse(backwards)
    {
        PairReader pairs(list, separator);
        std::string_view character, replacement;
        while (pairs.next(&character, &replacement)) {
            valid = valid && isOneCharacter(character, isUTF8(s));
            std::string_view const piece = reverse ? replacement : character;
            if (!piece.empty())
                starts[static_cast<unsigned char>(piece[0])] = true;
        }
    }

    bool isValid() const { return valid; }

    long operator()(long from, long* end, std::string_view* with) const
    {
        for (auto i = static_cast<size_t>(from); i < text.size(); ++i) {
            if (!starts[static_cast<unsigned char>(text[i])])
                continue;
            PairReader pairs(list, separator);
            std::string_view character, replacement;
            while (pairs.next(&character, &replacement)) {
                std::string_view const piece = reverse ? replacement : character;
                if (!piece.empty() && text.substr(i, piece.size()) == piece) {
                    *end = static_cast<long>(i + piece.size());
                    *with = reverse ? character : replacement;
                    return static_cast<long>(i);
                }
            }
        }
        return -1;
    }

private:
    std::string_view text;
    GSString const& list;
    char separator;
    bool reverse;
    bool valid = true;
    bool starts[256] = {};
};

// The byte of each escape letter; 0 for a letter that is no escape.
char escapedByte(char letter)
{
    switch (letter) {
    case 'a': return 7;
    case 'b': return 8;
    case 't': return 9;
    case 'n': return 10;
    case 'v': return 11;
    case 'f': return 12;
    case 'r': return 13;
    case '\\':
    case '"':
    case '\'':
        return letter;
    default:
        return 0;
    }
}

// UTF-8 of a code point up to U+10FFFF into out; the byte count.
int encodeUTF8(unsigned int c, char* out)
{
    if (c < 0x80) {
        out[0] = static_cast<char>(c);
        return 1;
    }
    int const n = c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
    static unsigned char const kLead[5] = {0, 0, 0xC0, 0xE0, 0xF0};
    for (int i = n - 1; i > 0; --i, c >>= 6)
        out[i] = static_cast<char>(0x80 | (c & 0x3F));
    out[0] = static_cast<char>(kLead[n] | c);
    return n;
}

// The case matcher: every character whose case mapping changes it is a piece.
class CaseMatcher {
public:
    CaseMatcher(GSString const& string, GSString::CaseMode caseMode)
        : s(string), mode(caseMode), table(GSString::getToUnicodeTableForEncoding(s.getEncoding()))
    {
        std::fill(&byteCache[0][0], &byteCache[0][0] + 2 * 256, kUnknown);
    }

    long operator()(long from, long* end, std::string_view* with)
    {
        auto const* text = reinterpret_cast<unsigned char const*>(s.c_str());
        long const length = s.getLength();
        for (long i = from; i < length;) {
            bool const upper = takesUpperCase(i);
            int const n = isUTF8(s) ? mapUTF8(text, i, length, upper, end) : mapByte(text, i, upper, end);
            if (n > 0) {
                *with = std::string_view(buffer, static_cast<size_t>(n));
                return i;
            }
            i = *end;
        }
        return -1;
    }

private:
    static constexpr short kUnknown = -2;

    // Words mode keeps its place: the character at i starts a word when the one before did not
    // belong to one. The matcher sees every character once, in order.
    bool takesUpperCase(long i)
    {
        if (mode != GSString::kCaseWords)
            return mode == GSString::kCaseUpper;
        bool const wordCharacter = !s.isWhiteSpace(i) && !s.isWordDelimiter(i);
        bool const starts = wordCharacter && !inWord;
        inWord = wordCharacter;
        return starts;
    }

    static unsigned int mapped(unsigned int c, bool upper)
    {
        return upper ? GSString::toUpperUnicode(c) : GSString::toLowerUnicode(c);
    }

    // The character at i read strictly; bytes that are not UTF-8 stay as they are, one by one.
    int mapUTF8(unsigned char const* text, long i, long length, bool upper, long* end)
    {
        unsigned int c = text[i];
        unsigned char const* after = GSUTF8ReadChar(text + i, length - i, 0, &c);
        *end = after ? after - text : i + 1;
        unsigned int const m = after ? mapped(c, upper) : c;
        if (m == c || m > 0x10FFFF)
            return 0;
        return encodeUTF8(m, buffer);
    }

    int mapByte(unsigned char const* text, long i, bool upper, long* end)
    {
        *end = i + 1;
        short& b = byteCache[upper][text[i]];
        if (b == kUnknown)
            b = byteInOtherCase(text[i], upper);
        buffer[0] = static_cast<char>(b);
        return b >= 0 ? 1 : 0;
    }

    // The byte that reads back as b's character mapped, or -1 when b stays. The table is searched
    // itself: the PostScript page is written through the Windows pairs, which do not read back.
    short byteInOtherCase(unsigned char b, bool upper) const
    {
        if (!table) {
            unsigned int const m = b < 0x80 ? mapped(b, upper) : b;
            return m != b && m < 0x80 ? static_cast<short>(m) : -1;
        }
        unsigned int const m = mapped(table[b], upper);
        if (m == table[b])
            return -1;
        for (int k = 0; k < 256; ++k) {
            if (table[k] == m)
                return static_cast<short>(k);
        }
        return -1;
    }

    GSString const& s;
    GSString::CaseMode mode;
    unsigned short const* table;
    bool inWord = false;
    char buffer[4] = {};
    short byteCache[2][256]; // by upper, then by byte: the result of byteInOtherCase
};

// Appends the decimal digits of a non-negative value.
short addNumber(GSString* s, long value)
{
    char digits[24];
    char const* stop = std::to_chars(digits, digits + sizeof digits, value).ptr;
    return s->add(digits, stop - digits);
}

bool endsWith(std::string_view text, std::string_view tail)
{
    return text.size() >= tail.size() && text.substr(text.size() - tail.size()) == tail;
}

} // namespace

// --- Insertion and removal ------------------------------------------------------------------------

short GSString::insert(long index, GSString const& text)
{
    return _insert(getValidStartIndexForIndex(index), text.c_str(), text.getLength());
}

short GSString::_insert(long index, char const* bytes, long count)
{
    if (!bytes || count <= 0)
        return 0;
    long const length = getLength();
    // No storage can hold that much; the sum below must not overflow.
    if (count > LONG_MAX / 4 - length) {
        releaseData();
        return 1;
    }
    index = std::clamp(index, 0L, length);
    char const* own = c_str();
    if (bytes >= own && bytes < own + length) {
        // A part of this string, which the storage change below may move or free: insert a copy.
        GSString const part(bytes, count, encoding);
        if (part.getLength() != count) {
            releaseData();
            return 1;
        }
        return _insert(index, part.c_str(), count);
    }
    long const used = length + count + 1;
    if (createOwnData(used, calcNewSize(used), 1))
        return 1;
    char* data = ownData();
    std::memmove(data + index + count, data + index, static_cast<size_t>(length - index));
    std::memcpy(data + index, bytes, static_cast<size_t>(count));
    setUsed(used);
    return 0;
}

short GSString::remove(long start, long length)
{
    long const total = getLength();
    start = std::clamp(start, 0L, total);
    long end = length < 0 ? total : start + std::min(length, total - start);
    if (end <= start)
        return 0;
    start = getValidStartIndexForIndex(start);
    if (end < total && getValidStartIndexForIndex(end) != end)
        end = nextValidIndex(end);
    if (createOwnData(total + 1, total + 1, 1))
        return 1;
    char* data = ownData();
    std::memmove(data + start, data + end, static_cast<size_t>(total - end));
    setUsed(total - (end - start) + 1);
    return 0;
}

// --- Replacement ----------------------------------------------------------------------------------

short GSString::replaceChar(char from, char to)
{
    if (isUTF8(*this) && (!isASCII(from) || !isASCII(to)))
        return 1;
    long const first = findChar(from);
    if (first < 0 || from == to)
        return 0;
    long const length = getLength();
    if (createOwnData(length + 1, length + 1, 1))
        return 1;
    char* data = ownData();
    std::replace(data + first, data + length, from, to);
    return 0;
}

short GSString::replaceChar(GSString const& list, char separator)
{
    ListMatcher const matcher(*this, list, separator, false);
    if (!matcher.isValid())
        return 1;
    return rebuild(*this, matcher);
}

short GSString::replaceReverseChar(GSString const& list, char separator)
{
    ListMatcher const matcher(*this, list, separator, true);
    if (!matcher.isValid())
        return 1;
    return rebuild(*this, matcher);
}

short GSString::replaceStringInString(GSString const& what, GSString const& with)
{
    return rebuild(*this, [&](long from, long* end, std::string_view* replacement) {
        long const at = findString(what, from);
        *end = at + what.getLength();
        *replacement = view(with);
        return at;
    });
}

short GSString::replaceWord(GSString const& word, GSString const& with, long start, short caseless, long* found)
{
    long at = -1;
    bool asked = false;
    short const st = rebuild(*this, [&](long, long* end, std::string_view* replacement) {
        *replacement = view(with);
        if (asked)
            return -1L;
        asked = true;
        at = findWord(word, start, caseless, end);
        return at;
    });
    if (found)
        *found = at;
    return st;
}

short GSString::replaceAllWords(GSString const& word, GSString const& with, short caseless)
{
    return rebuild(*this, [&](long from, long* end, std::string_view* replacement) {
        *replacement = view(with);
        return findWord(word, from, caseless, end);
    });
}

short GSString::convertEscapeChars()
{
    char byte = 0;
    return rebuild(*this, [&](long from, long* end, std::string_view* replacement) {
        std::string_view const text = view(*this);
        for (size_t at = text.find('\\', static_cast<size_t>(from));
             at != std::string_view::npos && at + 1 < text.size(); at = text.find('\\', at + 2)) {
            byte = escapedByte(text[at + 1]);
            if (byte) {
                *end = static_cast<long>(at + 2);
                *replacement = std::string_view(&byte, 1);
                return static_cast<long>(at);
            }
        }
        return -1L;
    });
}

// --- Trimming and appending -----------------------------------------------------------------------

short GSString::trim()
{
    if (short st = removeTrailingWhiteSpace())
        return st;
    return removeLeadingWhiteSpace();
}

short GSString::trimChar(char c)
{
    if (short st = removeTrailingChar(c))
        return st;
    return removeLeadingChar(c);
}

short GSString::removeLeadingChar(char c)
{
    if (isUTF8(*this) && !isASCII(c))
        return 0;
    std::string_view const text = view(*this);
    return remove(0, static_cast<long>(std::min(text.find_first_not_of(c), text.size())));
}

short GSString::removeTrailingChar(char c)
{
    if (isUTF8(*this) && !isASCII(c))
        return 0;
    std::string_view const text = view(*this);
    size_t const last = text.find_last_not_of(c);
    return remove(last == std::string_view::npos ? 0 : static_cast<long>(last + 1), -1);
}

short GSString::removeLeadingWhiteSpace()
{
    long const length = getLength();
    long end = 0;
    while (end < length && isWhiteSpace(end))
        end = nextValidIndex(end);
    return remove(0, end);
}

short GSString::removeTrailingWhiteSpace()
{
    long start = getLength();
    while (start > 0) {
        long const before = getValidStartIndexForIndex(start - 1);
        if (!isWhiteSpace(before))
            break;
        start = before;
    }
    return remove(start, -1);
}

short GSString::addWithQuotes(GSString const& text)
{
    GSString const quoted(text); // text may be this string, which the first quote changes
    if (add('"') || add(quoted))
        return 1;
    return add('"');
}

short GSString::addIfNeeded(GSString const& text)
{
    if (endsWith(view(*this), view(text)))
        return 0;
    return add(text);
}

GSString GSString::getTrimmedString() const
{
    GSString trimmed(*this);
    (void)trimmed.trim(); // a failure leaves it empty, which is the documented result
    return trimmed;
}

// --- Case -----------------------------------------------------------------------------------------

short GSString::toUpper()
{
    return rebuild(*this, CaseMatcher(*this, kCaseUpper));
}

short GSString::toLower()
{
    return rebuild(*this, CaseMatcher(*this, kCaseLower));
}

GSString GSString::getUpperString() const
{
    return getStringWithCase(kCaseUpper);
}

GSString GSString::getStringWithCase(CaseMode caseMode) const
{
    GSString result(*this);
    if (caseMode != kCaseKeep)
        (void)rebuild(result, CaseMatcher(result, caseMode)); // a failure leaves it empty, as documented
    return result;
}

// --- Copy names -----------------------------------------------------------------------------------

GSString GSString::getNextCopyName(GSString const& copyWord, GSString const& suffix, short append,
                                   short spaceBeforeNumber) const
{
    std::string_view const name = view(*this);
    std::string_view base = name;
    long n = -1;
    if (append && endsWith(name, view(suffix))) {
        std::string_view before = name.substr(0, name.size() - suffix.getLength());
        size_t const digits = before.size() - std::min(before.find_last_not_of("0123456789") + 1, before.size());
        long const numberStart = static_cast<long>(before.size() - digits);
        before.remove_suffix(digits);
        if (spaceBeforeNumber && digits > 0) {
            if (endsWith(before, " "))
                before.remove_suffix(1);
            else if (isUTF8(*this) && endsWith(before, "\xE2\x80\x8B"))
                before.remove_suffix(3);
        }
        if (endsWith(before, view(copyWord))) {
            base = before.substr(0, before.size() - copyWord.getLength());
            n = digits ? getBasicLongValue(numberStart, nullptr, nullptr) : 0;
        }
    }

    GSString tail(copyWord);
    short failed = 0;
    if (n >= 0 && spaceBeforeNumber)
        failed |= tail.add(' ');
    if (n >= 0)
        failed |= addNumber(&tail, n == 0 ? 2 : n + 1);
    else if (!spaceBeforeNumber)
        failed |= addNumber(&tail, 2);
    failed |= tail.add(suffix);

    GSString result(base.data(), static_cast<long>(base.size()), encoding);
    if (result.getLength() != static_cast<long>(base.size()))
        failed = 1;
    if (append)
        failed |= result.add(tail);
    else
        failed |= result._insert(0, tail.c_str(), tail.getLength());
    if (failed)
        result.releaseData();
    return result;
}

GSString operator+(GSString const& a, GSString const& b)
{
    GSString sum(a);
    (void)sum.add(b); // a failure leaves it empty, which is the documented result
    return sum;
}
