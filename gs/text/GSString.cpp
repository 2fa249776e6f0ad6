// GSString storage: the three modes, copy on write, growth and appending (rules in GSString.h).
#include "gs/text/GSString.h"

#include "gs/object/GSArrayMemory.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <utility>

namespace {

char const kEmpty[1] = {0};

// A block is never smaller than the inline area.
constexpr long kMinimumBlock = GSString::kInlineBytes + 1;

} // namespace

GSStringBuffer* GSStringBuffer::create(long capacity) noexcept
{
    auto* block = new (std::nothrow) GSStringBuffer;
    if (!block)
        return nullptr;
    block->data = static_cast<char*>(GSArrayAllocate(static_cast<size_t>(capacity)));
    if (!block->data) {
        delete block;
        return nullptr;
    }
    block->capacity = capacity;
    block->used = 1;
    block->data[0] = 0;
    block->retain();
    return block;
}

GSStringBuffer::~GSStringBuffer()
{
    GSArrayFree(data);
}

// --- Construction -------------------------------------------------------------------------------

GSString::GSString(char const* text)
{
    (void)initFromCString(text, kUTF8);
}

GSString::GSString(char const* text, long length, int e)
{
    (void)init(text, length, e);
}

GSString GSString::fixed(char const* text, int e) noexcept
{
    GSString s;
    s.encoding = static_cast<unsigned char>(e);
    if (text && *text) {
        s.mode = kFixed;
        s.area.fix.text = text;
        s.area.fix.length = -1;
    }
    return s;
}

// A copy is the block pointer plus one atomic increment, or the 48-byte area: the inline bytes
// and the fixed pointer with its cached length both live there.
GSString::GSString(GSString const& other) noexcept
    : buffer(other.buffer), area(other.area), mode(other.mode), encoding(other.encoding)
{
    if (buffer)
        buffer->retain();
}

GSString::GSString(GSString&& other) noexcept
    : buffer(std::exchange(other.buffer, nullptr)), area(other.area), mode(other.mode), encoding(other.encoding)
{
    other.mode = kShared;
}

GSString& GSString::operator=(GSString const& other) noexcept
{
    if (this == &other)
        return *this;
    if (other.buffer)
        other.buffer->retain();
    if (buffer)
        buffer->release();
    buffer = other.buffer;
    area = other.area;
    mode = other.mode;
    encoding = other.encoding;
    return *this;
}

GSString& GSString::operator=(GSString&& other) noexcept
{
    if (this == &other)
        return *this;
    if (buffer)
        buffer->release();
    buffer = std::exchange(other.buffer, nullptr);
    area = other.area;
    mode = other.mode;
    encoding = other.encoding;
    other.mode = kShared;
    return *this;
}

GSString::~GSString()
{
    if (buffer)
        buffer->release();
}

short GSString::init(char const* text, long length, int e)
{
    bool const detect = e == -2;
    encoding = static_cast<unsigned char>(e < 0 ? kMac : e);
    if (!text || length == 0) {
        releaseData();
        return 0;
    }
    if (length < 0)
        return initFromCString(text, detect ? -2 : encoding);
    // The source may be this string's own text: copy through a temporary then.
    char const* own = c_str();
    if (text >= own && text <= own + getLength()) {
        GSString copy(text, length, encoding);
        *this = std::move(copy);
    } else {
        releaseData();
        if (add(text, length))
            return 1;
    }
    if (detect)
        encoding = isValidUTF8() ? kUTF8 : kMac;
    return 0;
}

short GSString::initFromCString(char const* text, int e)
{
    if (!text)
        return init(nullptr, 0, e);
    return init(text, static_cast<long>(std::strlen(text)), e);
}

// --- Storage ------------------------------------------------------------------------------------

char const* GSString::c_str() const noexcept
{
    switch (mode) {
    case kInline:
        return area.in.data;
    case kFixed:
        return area.fix.text;
    default:
        return buffer ? buffer->data : kEmpty;
    }
}

long GSString::getLength() const noexcept
{
    switch (mode) {
    case kInline:
        return area.in.used ? area.in.used - 1 : 0;
    case kFixed:
        if (area.fix.length < 0)
            area.fix.length = static_cast<long>(std::strlen(area.fix.text));
        return area.fix.length;
    default:
        return buffer ? buffer->used - 1 : 0;
    }
}

long GSString::getSize() const noexcept
{
    switch (mode) {
    case kInline:
        return kInlineBytes;
    case kFixed:
        return getLength() + 1;
    default:
        return buffer ? buffer->capacity : 0;
    }
}

void GSString::releaseData() noexcept
{
    if (buffer) {
        buffer->release();
        buffer = nullptr;
    }
    mode = kShared;
}

char* GSString::ownData() noexcept
{
    return mode == kInline ? area.in.data : buffer->data;
}

void GSString::setUsed(long used) noexcept
{
    if (used <= 0) {
        releaseData();
        return;
    }
    if (mode == kInline)
        area.in.used = static_cast<unsigned char>(used);
    else
        buffer->used = used;
    ownData()[used - 1] = 0;
}

short GSString::createNonFixData()
{
    if (mode != kFixed)
        return 0;
    char const* text = area.fix.text;
    long const used = getLength() + 1;
    mode = kShared;
    if (used <= kInlineBytes) {
        mode = kInline;
        std::memcpy(area.in.data, text, static_cast<size_t>(used));
        area.in.used = static_cast<unsigned char>(used);
        return 0;
    }
    GSStringBuffer* block = GSStringBuffer::create(std::max(calcNewSize(used), kMinimumBlock));
    if (!block)
        return 1;
    std::memcpy(block->data, text, static_cast<size_t>(used));
    block->used = used;
    buffer = block;
    return 0;
}

short GSString::createOwnData(long minSize, long newSize, short keep)
{
    if (mode == kFixed && createNonFixData()) {
        releaseData();
        return 1;
    }
    // Kept contents need their room, whatever the caller asks for.
    if (keep)
        minSize = std::max(minSize, getLength() + 1);
    if (mode == kShared && buffer && buffer->getRefCount() < 2) {
        if (buffer->capacity >= minSize)
            return 0;
        // Our own block, too small: grow it in place.
        long const capacity = std::max({newSize, minSize, kMinimumBlock});
        auto* data = static_cast<char*>(GSArrayReallocate(buffer->data, static_cast<size_t>(capacity)));
        if (!data) {
            releaseData();
            return 1;
        }
        if (!keep) {
            buffer->used = 1;
            data[0] = 0;
        }
        buffer->data = data;
        buffer->capacity = capacity;
        return 0;
    }
    if (mode == kInline && minSize <= kInlineBytes)
        return 0;
    if (!buffer && minSize < kMinimumBlock) {
        // Empty shared: the inline area is enough.
        mode = kInline;
        area.in.used = 1;
        area.in.data[0] = 0;
        return 0;
    }
    // A shared block, or inline text that has outgrown the area: a new block of our own.
    GSStringBuffer* block = GSStringBuffer::create(std::max({newSize, minSize, kMinimumBlock}));
    if (!block) {
        releaseData();
        return 1;
    }
    if (keep) {
        long const used = getLength() + 1;
        std::memcpy(block->data, c_str(), static_cast<size_t>(used));
        block->used = used;
    }
    if (buffer)
        buffer->release();
    buffer = block;
    mode = kShared;
    return 0;
}

short GSString::setSize(long n)
{
    if (n < kMinimumBlock)
        return 0;
    long const bytes = 2 * n + 2;
    // Inline text moves into a block of its own here: the reservation asks for one.
    if (mode == kInline) {
        GSStringBuffer* block = GSStringBuffer::create(bytes);
        if (!block) {
            releaseData();
            return 1;
        }
        block->used = area.in.used;
        std::memcpy(block->data, area.in.data, area.in.used);
        buffer = block;
        mode = kShared;
        return 0;
    }
    return createOwnData(bytes, bytes, 1);
}

// --- Appending ----------------------------------------------------------------------------------

short GSString::add(char const* bytes, long n)
{
    if (n <= 0 || !bytes)
        return 0;
    // The common case first: storage of our own with room for the bytes. memmove, because the
    // bytes may be a part of this string.
    if (mode == kInline && area.in.used + n <= kInlineBytes) {
        long const length = area.in.used - 1;
        std::memmove(area.in.data + length, bytes, static_cast<size_t>(n));
        area.in.used = static_cast<unsigned char>(length + n + 1);
        area.in.data[length + n] = 0;
        return 0;
    }
    if (mode == kShared && buffer && buffer->used + n <= buffer->capacity && buffer->getRefCount() < 2) {
        long const length = buffer->used - 1;
        std::memmove(buffer->data + length, bytes, static_cast<size_t>(n));
        buffer->used = length + n + 1;
        buffer->data[length + n] = 0;
        return 0;
    }
    long const length = getLength();
    char const* own = c_str();
    // Appending a part of this string to itself: the storage may move, so remember the offset.
    bool const inside = bytes >= own && bytes < own + length;
    long const offset = inside ? bytes - own : 0;
    long const used = length + n + 1;
    if (createOwnData(used, calcNewSize(used), 1))
        return 1;
    char* data = ownData();
    std::memmove(data + length, inside ? data + offset : bytes, static_cast<size_t>(n));
    setUsed(used);
    return 0;
}

GSString& GSString::operator+=(GSString const& other)
{
    (void)add(other);
    return *this;
}

short GSString::addUnicodeChar(unsigned int c)
{
    char out[6];
    int n;
    if (c < 0x80) {
        return add(static_cast<char>(c));
    } else if (c < 0x800) {
        out[0] = static_cast<char>(0xC0 | (c >> 6));
        n = 2;
    } else if (c < 0x10000) {
        out[0] = static_cast<char>(0xE0 | (c >> 12));
        n = 3;
    } else if (c < 0x200000) {
        out[0] = static_cast<char>(0xF0 | (c >> 18));
        n = 4;
    } else if (c < 0x4000000) {
        out[0] = static_cast<char>(0xF8 | (c >> 24));
        n = 5;
    } else {
        out[0] = static_cast<char>(0xFC | ((c >> 30) & 0x01));
        n = 6;
    }
    for (int i = n - 1; i > 0; --i, c >>= 6)
        out[i] = static_cast<char>(0x80 | (c & 0x3F));
    return add(out, n);
}

GSString GSString::getSubstring(long start, long length) const
{
    long const total = getLength();
    start = std::clamp(start, 0L, total);
    length = std::clamp(length, 0L, total - start);
    return GSString(c_str() + start, length, encoding);
}

bool GSString::operator==(GSString const& other) const noexcept
{
    long const n = getLength();
    return n == other.getLength() && std::memcmp(c_str(), other.c_str(), static_cast<size_t>(n)) == 0;
}
