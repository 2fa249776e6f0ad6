// GSString encodings: table selection, single characters in the code pages, conversion between the
// encoding tags, UTF-16 in and out, and the UTF-8 check (tags and table formats in GSString.h and
// GSCodePages.h).
#include "gs/text/GSCodePages.h"
#include "gs/text/GSString.h"
#include "gs/util/GSByteOrder.h"

#include <algorithm>
#include <bit>
#include <climits>
#include <cstdint>
#include <cstring>
#include <utility>

// Writes straight into a string's storage: one room check per piece, growth by doubling, the
// terminator and the byte count set once at the end. The string must be empty at the start.
class GSString::Appender {
public:
    explicit Appender(GSString& target) noexcept : s(target) {}

    // Room for n more bytes; false when the storage cannot grow (the string is then empty).
    bool reserve(long n)
    {
        if (used + n + 1 <= capacity)
            return true;
        long const needed = used + n + 1;
        if (data)
            s.setUsed(used + 1);
        // The first reservation is taken as asked (callers reserve what they know they need);
        // later ones double.
        if (s.createOwnData(needed, data ? calcNewSize(needed) : needed, 1)) {
            data = nullptr;
            used = capacity = 0;
            return false;
        }
        data = s.ownData();
        capacity = s.getSize();
        return true;
    }
    void put(char c) { data[used++] = c; }
    void put(char const* bytes, long n)
    {
        std::memcpy(data + used, bytes, static_cast<size_t>(n));
        used += n;
    }
    // Copies `room` bytes but keeps only n of them (room bytes must have been reserved).
    void putPadded(char const* bytes, long room, long n)
    {
        std::memcpy(data + used, bytes, static_cast<size_t>(room));
        used += n;
    }
    long size() const { return used; }
    // The last byte appended, or -1 when there is none.
    int last() const { return used ? static_cast<unsigned char>(data[used - 1]) : -1; }
    void dropLast() { --used; }
    void finish()
    {
        if (used)
            s.setUsed(used + 1);
        else
            s.releaseData();
    }

private:
    GSString& s;
    char* data = nullptr;
    long used = 0;
    long capacity = 0;
};

namespace {

bool isSurrogate(unsigned int c) { return c >= 0xD800 && c <= 0xDFFF; }
bool isCombiningRange(unsigned int c) { return c >= 0x0300 && c <= 0x036F; }

// The one-byte texts getCharForUnicode hands out.
struct ByteTexts {
    char text[256][2];
    constexpr ByteTexts() : text()
    {
        for (int i = 0; i < 256; ++i)
            text[i][0] = static_cast<char>(i);
    }
};
constexpr ByteTexts kByteTexts;

constexpr int kNotRepresentable = -1;

// The code-page byte of c by the pairs: 0-255, kNotRepresentable, or -2 - i for replacement
// string i.
int lookUp(unsigned short const* pairs, int count, unsigned int c) noexcept
{
    if (c > 0xFFFF)
        return kNotRepresentable;
    int low = 0;
    int high = pairs ? count - 1 : -1;
    while (low <= high) {
        int const mid = (low + high) / 2;
        unsigned int const u = pairs[2 * mid];
        if (u < c) {
            low = mid + 1;
        } else if (u > c) {
            high = mid - 1;
        } else {
            auto const value = static_cast<short>(pairs[2 * mid + 1]);
            if (value == 0)
                return kNotRepresentable;
            if (value > 0)
                return value & 0xFF;
            int const replacement = ~value;
            return replacement < 2 ? -2 - replacement : kNotRepresentable;
        }
    }
    // Latin-1 characters missing from the pairs are written as their own value.
    return c <= 0xFF ? static_cast<int>(c) : kNotRepresentable;
}

// Below this character the pairs of the library's own code pages are looked up in a direct table
// (Latin, Greek, Cyrillic and the typographic punctuation); above it they are searched.
constexpr unsigned int kDirectLimit = 0x2200;

struct DirectTable {
    short byte[kDirectLimit]; // as lookUp gives it
};

DirectTable makeDirectTable(unsigned short const* pairs, int count) noexcept
{
    DirectTable t{};
    for (unsigned int c = 0; c < kDirectLimit; ++c)
        t.byte[c] = static_cast<short>(lookUp(pairs, count, c));
    return t;
}

// Built once per code page on first use (a function-local static is initialised once, also under
// races). Null for pairs of any other origin.
short const* directTableFor(unsigned short const* pairs) noexcept
{
    if (pairs == GSCodePages::_unicodeToWin) {
        static DirectTable const win = makeDirectTable(pairs, GSCodePages::kUnicodeToWinCount);
        return win.byte;
    }
    if (pairs == GSCodePages::_unicodeToMac) {
        static DirectTable const mac = makeDirectTable(pairs, GSCodePages::kUnicodeToMacCount);
        return mac.byte;
    }
    return nullptr;
}

// Writes characters in one code page, as addCharForUnicode does.
struct CodePageEncoder {
    CodePageEncoder(unsigned short const* p, int n) noexcept : pairs(p), count(n), direct(directTableFor(p)) {}

    int byteFor(unsigned int c) const noexcept
    {
        return direct && c < kDirectLimit ? direct[c] : lookUp(pairs, count, c);
    }

    // The bytes of one character that is not a combining mark, into out[0..1]: their count, or
    // kNotRepresentable.
    int encodeChar(unsigned int c, char* out) const noexcept
    {
        if (c <= 0x7F) {
            out[0] = static_cast<char>(c);
            return 1;
        }
        int const b = byteFor(c);
        if (b == kNotRepresentable)
            return kNotRepresentable;
        if (b >= 0) {
            out[0] = static_cast<char>(b);
            return 1;
        }
        char const* text = GSCodePages::_replacementStrings[-2 - b];
        out[0] = text[0];
        out[1] = text[1];
        return 2;
    }

    // The bytes of one UTF-16 unit after the byte `last` (-1: none). A combining mark folds into
    // an ASCII letter before it: *replaceLast is then set and the bytes take that letter's place.
    int encodeUnit(unsigned int u, int last, char* out, bool* replaceLast) const noexcept
    {
        *replaceLast = false;
        if (!isCombiningRange(u))
            return encodeChar(u, out);
        unsigned int const combined = last < 0 ? 0 : GSString::getCombinationWithDiacriticalMark(static_cast<unsigned int>(last), u);
        if (!combined)
            return kNotRepresentable;
        int const n = encodeChar(combined, out);
        *replaceLast = n > 0;
        return n;
    }

    // Appends the bytes of one UTF-16 unit to `a`, a folded mark taking the place of the letter
    // before it; false when the unit is not representable.
    template <class Appender>
    bool append(Appender& a, unsigned int u) const
    {
        char bytes[2];
        bool replaceLast;
        int const k = encodeUnit(u, a.last(), bytes, &replaceLast);
        if (k == kNotRepresentable)
            return false;
        if (replaceLast)
            a.dropLast();
        a.put(bytes, k);
        return true;
    }

    unsigned short const* pairs;
    int count;
    short const* direct;
};

// UTF-8 of each byte of a code page: the bytes, then the count in the last of four bytes.
struct UTF8Bytes {
    char bytes[256][4];
};

UTF8Bytes makeUTF8Bytes(unsigned short const* table) noexcept
{
    UTF8Bytes t{};
    for (int b = 0; b < 256; ++b) {
        unsigned int const u = table[b];
        char* out = t.bytes[b];
        if (u < 0x80) {
            out[0] = static_cast<char>(u);
            out[3] = 1;
        } else if (u < 0x800) {
            out[0] = static_cast<char>(0xC0 | (u >> 6));
            out[1] = static_cast<char>(0x80 | (u & 0x3F));
            out[3] = 2;
        } else {
            out[0] = static_cast<char>(0xE0 | (u >> 12));
            out[1] = static_cast<char>(0x80 | ((u >> 6) & 0x3F));
            out[2] = static_cast<char>(0x80 | (u & 0x3F));
            out[3] = 3;
        }
    }
    return t;
}

// Built once per table on first use (a function-local static is initialised once, also under races).
UTF8Bytes const& utf8BytesFor(unsigned short const* table) noexcept
{
    static UTF8Bytes const win = makeUTF8Bytes(GSCodePages::_winToUnicode);
    static UTF8Bytes const mac = makeUTF8Bytes(GSCodePages::_macToUnicode);
    static UTF8Bytes const ps = makeUTF8Bytes(GSCodePages::_psToUnicode);
    return table == GSCodePages::_macToUnicode ? mac : table == GSCodePages::_psToUnicode ? ps : win;
}

constexpr std::uint64_t kHighBits = 0x8080808080808080ULL;

// The length of the run of ASCII bytes at p, at most n, tested eight bytes at a time.
long asciiRun(unsigned char const* p, long n) noexcept
{
    long i = 0;
    for (; i + 8 <= n; i += 8) {
        std::uint64_t word;
        std::memcpy(&word, p + i, 8);
        if (word & kHighBits)
            break;
    }
    while (i < n && p[i] < 0x80)
        ++i;
    return i;
}

int machineByteOrder()
{
    return std::endian::native == std::endian::big ? GSByteOrderBig : GSByteOrderLittle;
}

// The character at byte i of a text of n bytes (through the table, or as lenient UTF-8) and the
// index after it, which never passes n.
long readCharAt(unsigned char const* text, long n, unsigned short const* table, long i, unsigned int* c) noexcept
{
    if (table) {
        *c = table[text[i]];
        return i + 1;
    }
    unsigned char const* next = GSUTF8ReadChar(text + i, n - i, 1, c);
    return std::min(static_cast<long>(next - text), n);
}

} // namespace

// --- Tables -------------------------------------------------------------------------------------

unsigned short const* GSString::getToUnicodeTableForEncoding(int tag) noexcept
{
    switch (tag) {
    case kWindows:
        return GSCodePages::_winToUnicode;
    case kMac:
        return GSCodePages::_macToUnicode;
    case kPostScript:
        return GSCodePages::_psToUnicode;
    default:
        return nullptr;
    }
}

unsigned short const* GSString::getFromUnicodeTableForEncoding(int tag, int* count) noexcept
{
    unsigned short const* pairs = nullptr;
    int n = 0;
    // PostScript text is written as Windows text.
    if (tag == kWindows || tag == kPostScript) {
        pairs = GSCodePages::_unicodeToWin;
        n = GSCodePages::kUnicodeToWinCount;
    } else if (tag == kMac) {
        pairs = GSCodePages::_unicodeToMac;
        n = GSCodePages::kUnicodeToMacCount;
    }
    if (count)
        *count = n;
    return pairs;
}

// --- Single characters --------------------------------------------------------------------------

char const* GSString::getCharForUnicode(unsigned short const* pairs, int count, unsigned int c) noexcept
{
    int const b = lookUp(pairs, count, c);
    if (b == kNotRepresentable)
        return nullptr;
    return b >= 0 ? kByteTexts.text[b] : GSCodePages::_replacementStrings[-2 - b];
}

unsigned int GSString::getCombinationWithDiacriticalMark(unsigned int base, unsigned int mark) noexcept
{
    if (!isCombiningRange(mark))
        return 0;
    GSCombiningRecord const* records = GSCodePages::_combineToUnicode;
    GSCombiningRecord const* record = std::lower_bound(records, records + GSCodePages::kCombiningMarks, mark,
        [](GSCombiningRecord const& r, unsigned int m) { return r.mark < m; });
    if (record == records + GSCodePages::kCombiningMarks || record->mark != mark || base > 0x7F)
        return 0;
    GSCombiningEntry const* entries = record->entries;
    GSCombiningEntry const* entry = std::lower_bound(entries, entries + record->count, base,
        [](GSCombiningEntry const& e, unsigned int b) { return e.base < b; });
    return entry != entries + record->count && entry->base == base ? entry->precomposed : 0;
}

bool GSString::isCombiningDiacriticalMark(unsigned int c) noexcept
{
    for (int i = 0; i < GSCodePages::kCombiningMarks; ++i)
        if (GSCodePages::_combineToUnicode[i].mark == c)
            return true;
    return false;
}

short GSString::addCharForUnicode(unsigned short const* pairs, int count, unsigned int u)
{
    long const length = getLength();
    int const last = length ? static_cast<unsigned char>(c_str()[length - 1]) : -1;
    char out[2];
    bool replaceLast;
    int const n = CodePageEncoder(pairs, count).encodeUnit(u, last, out, &replaceLast);
    if (n == kNotRepresentable)
        return 1;
    if (!replaceLast)
        return add(out, n);
    // The accent and the letter before it become the precomposed letter.
    long const used = length - 1 + n + 1;
    if (createOwnData(used, calcNewSize(used), 1))
        return 1;
    std::memcpy(ownData() + length - 1, out, static_cast<size_t>(n));
    setUsed(used);
    return 0;
}

int GSString::convertUniChar32To16(unsigned int c, unsigned short* out) noexcept
{
    if (c <= 0xFFFF) {
        if (isSurrogate(c))
            return 0;
        out[0] = static_cast<unsigned short>(c);
        return 1;
    }
    if (c > 0x10FFFF)
        return 0;
    c -= 0x10000;
    out[0] = static_cast<unsigned short>(0xD800 | (c >> 10));
    out[1] = static_cast<unsigned short>(0xDC00 | (c & 0x3FF));
    return 2;
}

unsigned int GSString::getUnicodeChar(long index, long* next) const noexcept
{
    long const n = getLength();
    if (index < 0 || index >= n) {
        if (next)
            *next = index;
        return 0;
    }
    unsigned int c;
    long const after = readCharAt(reinterpret_cast<unsigned char const*>(c_str()), n, getToUnicodeTableForEncoding(encoding), index, &c);
    if (next)
        *next = after;
    return c;
}

// --- Conversion ---------------------------------------------------------------------------------

short GSString::convertEncoding(int target)
{
    if (target == encoding)
        return 0;
    if (target < 0 || target > 255 || target == kUTF16)
        return 1;
    auto const* text = reinterpret_cast<unsigned char const*>(c_str());
    long const n = getLength();
    unsigned short const* table = getToUnicodeTableForEncoding(encoding);
    int count;
    unsigned short const* pairs = getFromUnicodeTableForEncoding(target, &count);
    GSString out;
    Appender a(out);
    short result = 0;

    if (encoding == kUTF16) {
        // 16-bit units in the machine's byte order; the bytes need not be aligned for them.
        long const units = n / 2;
        GSFixArray<unsigned short, 256> aligned(units);
        if (aligned.getCapacity() < units)
            return 1;
        std::memcpy(aligned.getPointer(), text, static_cast<size_t>(units) * 2);
        if (out.appendUTF16(aligned.getPointer(), units))
            return 1;
        out.encoding = kUTF8;
        if (pairs) {
            result = out.convertEncoding(target);
            if (out.encoding != target)
                return 1;
        }
    } else if (table && pairs) {
        // Code page to code page, byte by byte through Unicode. A byte can become two ("fi").
        CodePageEncoder const encoder(pairs, count);
        if (!a.reserve(2 * n))
            return 1;
        for (long i = 0; i < n; ++i) {
            if (!encoder.append(a, table[text[i]]))
                result = 1;
        }
        a.finish();
    } else if (table) {
        // Code page to UTF-8: the exact size first, then four bytes stored per byte, of which the
        // table says how many count.
        UTF8Bytes const& utf8 = utf8BytesFor(table);
        long size = 0;
        for (long i = 0; i < n; ++i)
            size += utf8.bytes[text[i]][3];
        if (!a.reserve(size + 3))
            return 1;
        for (long i = 0; i < n; ++i) {
            char const* bytes = utf8.bytes[text[i]];
            a.putPadded(bytes, 4, bytes[3]);
        }
        a.finish();
    } else if (pairs) {
        // UTF-8 to code page. ASCII runs are copied as they are; the UTF-16 units of other
        // characters are gathered and written in batches (a code page never holds a character
        // above U+FFFF, but its surrogates still count as unrepresentable units).
        CodePageEncoder const encoder(pairs, count);
        GSFixArray<unsigned short, 256> unitBuffer(256);
        unsigned short* units = unitBuffer.getPointer();
        long pending = 0;
        auto flush = [&] {
            // At most two bytes per unit.
            if (!a.reserve(2 * pending))
                return false;
            for (long j = 0; j < pending; ++j) {
                if (!encoder.append(a, units[j]))
                    result = 1;
            }
            pending = 0;
            return true;
        };
        // The code-page text is never longer than the UTF-8 text.
        if (!a.reserve(n))
            return 1;
        long i = 0;
        while (i < n) {
            if (long const run = asciiRun(text + i, n - i)) {
                if (!flush() || !a.reserve(run))
                    return 1;
                a.put(reinterpret_cast<char const*>(text + i), run);
                i += run;
                continue;
            }
            // Two- and three-byte characters decoded here as GSUTF8ReadChar does leniently
            // (a continuation byte's low six bits, whatever it is; the terminator may be one).
            unsigned int const lead = text[i];
            if ((lead & 0xE0) == 0xC0) {
                units[pending++] = static_cast<unsigned short>(((lead & 0x1F) << 6) | (text[i + 1] & 0x3F));
                i += 2;
            } else if ((lead & 0xF0) == 0xE0 && n - i >= 2) {
                unsigned int const c = ((lead & 0x0F) << 12) | ((text[i + 1] & 0x3Fu) << 6) | (text[i + 2] & 0x3F);
                if (!isSurrogate(c))
                    units[pending++] = static_cast<unsigned short>(c);
                i += 3;
            } else {
                unsigned int c;
                unsigned char const* next = GSUTF8ReadChar(text + i, n - i, 1, &c);
                if (!next) {
                    result = 1;
                    break;
                }
                i = next - text;
                pending += convertUniChar32To16(c, units + pending);
            }
            if (pending >= 254 && !flush())
                return 1;
        }
        if (!flush())
            return 1;
        a.finish();
    } else if (n) {
        // Neither side has a table: the bytes stay as they are.
        if (!a.reserve(n))
            return 1;
        a.put(reinterpret_cast<char const*>(text), n);
        a.finish();
    }
    out.encoding = static_cast<unsigned char>(target);
    *this = std::move(out);
    return result;
}

short GSString::convertRange(unsigned short const* units, long count, short byteOrder, short target,
                             GSRange const& range)
{
    long const start = std::clamp(range.start, 0L, std::max(count, 0L));
    long const end = std::clamp(range.getEnd(), start, std::max(count, 0L));
    GSFixArray<unsigned short, 256> swapped(end - start);
    if (end > start && (!units || swapped.getCapacity() < end - start))
        return 1;
    if (end > start)
        std::memcpy(swapped.getPointer(), units + start, static_cast<size_t>(end - start) * 2);
    GSSwapUSHORTArray(swapped.getPointer(), end - start, byteOrder, machineByteOrder());
    releaseData();
    encoding = kUTF8;
    if (appendUTF16(swapped.getPointer(), end - start))
        return 1;
    return target == kUTF8 ? 0 : convertEncoding(target);
}

// --- UTF-16 in ----------------------------------------------------------------------------------

namespace {

// A negative count runs to the first zero unit.
template <class Unit>
long unitCount(Unit const* units, long count)
{
    if (count < 0)
        for (count = 0; units[count]; ++count) {
        }
    return count;
}

} // namespace

GSString::GSString(unsigned short const* units, long count)
{
    if (!units)
        return;
    count = unitCount(units, count);
    (void)setSize(2 * count);
    (void)appendUTF16(units, count);
}

GSString::GSString(unsigned int const* units, long count)
{
    if (!units)
        return;
    count = unitCount(units, count);
    (void)setSize(2 * count);
    for (long i = 0; i < count; ++i)
        if (addUnicodeChar(units[i]))
            return;
}

short GSString::appendUTF16(unsigned short const* units, long count)
{
    for (long i = 0; i < count; ++i) {
        unsigned int c = units[i];
        if (c >= 0xD800 && c <= 0xDBFF) {
            // A high surrogate takes the next unit with it, whatever that is: a low surrogate
            // completes the character, anything else is lost with it and both become a space.
            if (i + 1 < count) {
                unsigned int const low = units[++i];
                c = low >= 0xDC00 && low <= 0xDFFF ? ((c * 1024) & 0xFFC00) + (low & 0x3FF) + 0x10000 : 0x20;
            } else {
                c = 0x20;
            }
        } else if (c >= 0xDC00 && c <= 0xDFFF) {
            c = 0x20;
        }
        if (addUnicodeChar(c))
            return 1;
    }
    return 0;
}

// --- UTF-16 out ---------------------------------------------------------------------------------

namespace {

// Calls take(unit, byte index) for the UTF-16 units of the characters that start in [start, end)
// of the text; stops early when take returns false. Characters that UTF-16 cannot hold (surrogate
// code points, values above U+10FFFF) give no unit.
template <class Take>
void forEachUnit(GSString const& s, long start, long end, Take take)
{
    auto const* text = reinterpret_cast<unsigned char const*>(s.c_str());
    long const n = s.getLength();
    unsigned short const* table = GSString::getToUnicodeTableForEncoding(s.getEncoding());
    for (long i = start; i < end;) {
        unsigned int c;
        long const next = readCharAt(text, n, table, i, &c);
        unsigned short pair[2];
        int const k = GSString::convertUniChar32To16(c, pair);
        if (!take(pair, k, i))
            return;
        i = next;
    }
}

} // namespace

long GSString::fillUniChars(unsigned short* out, long maximum) const
{
    long count = 0;
    if (!out)
        return 0;
    forEachUnit(*this, 0, getLength(), [&](unsigned short const* pair, int k, long) {
        if (count + k > maximum)
            return false;
        for (int j = 0; j < k; ++j)
            out[count++] = pair[j];
        return true;
    });
    return count;
}

short GSString::fillUniCharArrayWithRange(GSFixArrayPointer<unsigned short, 256>* units,
                                          GSFixArrayPointer<int, 256>* indices, GSRange const& range) const
{
    long const n = getLength();
    if (!units || !indices || n > INT_MAX || units->create() || indices->create())
        return 1;
    long const start = std::clamp(range.start, 0L, n);
    long const end = std::clamp(range.getEnd(), start, n);
    short result = 0;
    forEachUnit(*this, start, end, [&](unsigned short const* pair, int k, long i) {
        int const index = static_cast<int>(i);
        int const both[2] = {index, index};
        if ((*units)->insertAt(-1, pair, k) || (*indices)->insertAt(-1, both, k)) {
            result = 1;
            return false;
        }
        return true;
    });
    return result;
}

short GSString::fillUniCharArray(GSFixArrayPointer<unsigned short, 256>* units,
                                 GSFixArrayPointer<int, 256>* indices) const
{
    return fillUniCharArrayWithRange(units, indices, GSRange(0, getLength()));
}

GSRange GSString::getUTF8RangeForUniCharArray(GSFixArrayPointer<int, 256> const& indices, GSRange const& unitRange) const
{
    long const count = indices ? indices->getCount() : 0;
    if (!count)
        return GSRange(0, 0);
    long const first = std::clamp(unitRange.start, 0L, count);
    long const last = std::clamp(unitRange.getEnd(), first, count);
    // A unit range ends behind the whole character of its last unit.
    auto endOf = [&](long unit) {
        long next;
        (void)getUnicodeChar((*indices)[unit], &next);
        return next;
    };
    long const start = first < count ? (*indices)[first] : endOf(count - 1);
    long const end = last > first ? endOf(last - 1) : start;
    return GSRange(start, end - start);
}

// --- Platform buffers ---------------------------------------------------------------------------

short GSString::fillStr255(unsigned char* pascal) const
{
    if (!pascal)
        return 1;
    GSString mac(*this);
    short result = mac.convertEncoding(kMac);
    long n = mac.getLength();
    if (n > 255) {
        n = 255;
        result = 1;
    }
    pascal[0] = static_cast<unsigned char>(n);
    std::memcpy(pascal + 1, mac.c_str(), static_cast<size_t>(n));
    return result;
}

short GSString::fillHFSUniStr255(GSHFSUniStr255* name) const
{
    if (!name)
        return 1;
    long const n = fillUniChars(name->unicode, 255);
    name->length = static_cast<unsigned short>(n);
    // Everything fitted when the text has no further unit.
    unsigned short rest[257];
    return fillUniChars(rest, 257) > n ? 1 : 0;
}

short GSString::fromPStr(unsigned char const* pascal)
{
    if (!pascal) {
        releaseData();
        return 0;
    }
    return init(reinterpret_cast<char const*>(pascal + 1), pascal[0], kMac);
}

short GSString::fromHFSUniStr255(GSHFSUniStr255 const& name)
{
    releaseData();
    encoding = kUTF8;
    return appendUTF16(name.unicode, std::min<long>(name.length, 255));
}

// --- UTF-8 check --------------------------------------------------------------------------------

bool GSString::isMemoryUTF8(unsigned char const* bytes, long length) noexcept
{
    if (!bytes || length < 0)
        return false;
    long i = 0;
    while (i < length) {
        i += asciiRun(bytes + i, length - i);
        if (i >= length)
            break;
        // Only the bytes after the lead byte are offered as continuation bytes, so that memory
        // without a terminator is never read past its end.
        unsigned int c;
        unsigned char const* next = GSUTF8ReadChar(bytes + i, length - i - 1, 0, &c);
        if (!next)
            return false;
        i = next - bytes;
    }
    return true;
}

bool GSString::isValidUTF8() const noexcept
{
    if (mode == kShared && !buffer)
        return false;
    return isMemoryUTF8(reinterpret_cast<unsigned char const*>(c_str()), getLength());
}
