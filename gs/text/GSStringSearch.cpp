// GSString search: bytes, characters, texts, whole words and list items (rules in GSString.h).
//
// Byte searches compare bytes. A text is found by its bytes, which in UTF-8 always land on
// character starts (a lead byte never stands inside a character). Caseless searches read both
// strings character by character, through their tags, and compare the characters in upper case.
#include "gs/text/GSString.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace {

bool isUTF8(GSString const& s)
{
    return s.getEncoding() > 99;
}

unsigned char const* bytes(GSString const& s)
{
    return reinterpret_cast<unsigned char const*>(s.c_str());
}

std::string_view view(GSString const& s)
{
    return std::string_view(s.c_str(), static_cast<size_t>(s.getLength()));
}

bool isContinuation(unsigned char b)
{
    return (b & 0xC0) == 0x80;
}

// The first index at or after i that starts a character (i itself in code-page text).
long characterStart(GSString const& s, long i)
{
    long const length = s.getLength();
    i = std::clamp(i, 0L, length);
    if (isUTF8(s)) {
        while (i < length && isContinuation(bytes(s)[i]))
            ++i;
    }
    return i;
}

// The index behind `what` when it stands at i in s by the caseless rule, else -1.
long matchCaseless(GSString const& s, long i, GSString const& what)
{
    long const length = s.getLength();
    long const n = what.getLength();
    for (long j = 0; j < n;) {
        if (i >= length)
            return -1;
        unsigned int const a = s.getUnicodeChar(i, &i);
        unsigned int const b = what.getUnicodeChar(j, &j);
        if (a != b && GSString::toUpperUnicode(a) != GSString::toUpperUnicode(b))
            return -1;
    }
    return i;
}

// The byte compared by findCharCaseless: upper case through the code page's table; without a
// table (UTF-8, tag 2) only ASCII has a case.
unsigned int caselessByte(unsigned short const* table, unsigned char b)
{
    if (table)
        return GSString::toUpperUnicode(table[b]);
    return b < 0x80 ? GSString::toUpperUnicode(b) : b;
}

// A character that belongs to a word: neither white space nor a word delimiter.
bool isWordCharacter(GSString const& s, long i)
{
    return i >= 0 && i < s.getLength() && !s.isWhiteSpace(i) && !s.isWordDelimiter(i);
}

} // namespace

long GSString::findChar(char c, long start) const noexcept
{
    size_t const at = view(*this).find(c, static_cast<size_t>(std::max(start, 0L)));
    return at == std::string_view::npos ? -1 : static_cast<long>(at);
}

long GSString::findCharCaseless(char c, long start) const noexcept
{
    unsigned short const* table = getToUnicodeTableForEncoding(encoding);
    unsigned int const wanted = caselessByte(table, static_cast<unsigned char>(c));
    unsigned char const* text = bytes(*this);
    long const length = getLength();
    for (long i = std::max(start, 0L); i < length; ++i) {
        if (caselessByte(table, text[i]) == wanted)
            return i;
    }
    return -1;
}

long GSString::findCharInRange(char c, GSRange const& range) const noexcept
{
    long const start = std::clamp(range.start, 0L, getLength());
    long const end = std::clamp(range.getEnd(), start, getLength());
    void const* at = std::memchr(c_str() + start, c, static_cast<size_t>(end - start));
    return at ? static_cast<char const*>(at) - c_str() : -1;
}

long GSString::findCharFromString(GSString const& chars, long start) const noexcept
{
    long const length = getLength();
    long const n = chars.getLength();
    for (long i = characterStart(*this, start); i < length;) {
        long next;
        unsigned int const c = getUnicodeChar(i, &next);
        for (long j = 0; j < n;) {
            if (chars.getUnicodeChar(j, &j) == c)
                return i;
        }
        i = next;
    }
    return -1;
}

long GSString::findString(GSString const& what, long start) const noexcept
{
    if (what.isEmpty())
        return -1;
    size_t const at = view(*this).find(view(what), static_cast<size_t>(std::max(start, 0L)));
    return at == std::string_view::npos ? -1 : static_cast<long>(at);
}

long GSString::findStringCaseless(GSString const& what, long start, long* end) const noexcept
{
    if (what.isEmpty())
        return -1;
    long const length = getLength();
    for (long i = characterStart(*this, start); i < length; i = characterStart(*this, i + 1)) {
        long const after = matchCaseless(*this, i, what);
        if (after >= 0) {
            if (end)
                *end = after;
            return i;
        }
    }
    return -1;
}

long GSString::findWord(GSString const& word, long start, short caseless, long* end) const noexcept
{
    for (long from = std::max(start, 0L);;) {
        long after = 0;
        long const at = caseless ? findStringCaseless(word, from, &after) : findString(word, from);
        if (at < 0)
            return -1;
        if (!caseless)
            after = at + word.getLength();
        bool const wordBefore = at > 0 && isWordCharacter(*this, getValidStartIndexForIndex(at - 1));
        if (!wordBefore && !isWordCharacter(*this, after)) {
            if (end)
                *end = after;
            return at;
        }
        from = at + 1;
    }
}

// A white-space character starts with a byte below 0x80 or with the lead byte of U+200B, never
// with a continuation byte, so every byte may be asked.
long GSString::findWhiteSpace(long start) const noexcept
{
    long const length = getLength();
    for (long i = std::max(start, 0L); i < length; ++i) {
        if (isWhiteSpace(i))
            return i;
    }
    return -1;
}

long GSString::findSequenceWithDelimiter(GSString const& sequence, char delimiter, long start) const noexcept
{
    char const* text = c_str();
    long const length = getLength();
    long const n = sequence.getLength();
    for (long at = findString(sequence, start); at >= 0; at = findString(sequence, at + 1)) {
        bool const startsItem = at == 0 || text[at - 1] == delimiter;
        bool const endsItem = at + n == length || text[at + n] == delimiter;
        if (startsItem && endsItem)
            return at;
    }
    return -1;
}

long GSString::countChar(char c) const noexcept
{
    std::string_view const text = view(*this);
    return static_cast<long>(std::count(text.begin(), text.end(), c));
}

bool GSString::containsParagraphEnd() const noexcept
{
    std::string_view const text = view(*this);
    if (text.find_first_of("\n\r") != std::string_view::npos)
        return true;
    // U+2029, the paragraph separator, has no byte in the code pages.
    return isUTF8(*this) && text.find("\xE2\x80\xA9") != std::string_view::npos;
}
