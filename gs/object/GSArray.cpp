#include "gs/object/GSArray.h"

#include "gs/object/GSArrayMemory.h"

#include <algorithm>
#include <cstring>

GSArray::GSArray(long size, long initialSize, long growthValue) noexcept
{
    (void)init(size, initialSize, growthValue);
}

GSArray::~GSArray()
{
    freeStorage();
}

void GSArray::freeStorage() noexcept
{
    if (storage.owns)
        GSArrayFree(storage.pointer);
    storage = Storage();
}

short GSArray::reserveBytes(long bytes) noexcept
{
    if (bytes <= storage.bytes)
        return 0;
    void* grown = GSArrayReallocate(storage.owns ? storage.pointer : nullptr, static_cast<size_t>(bytes));
    if (!grown)
        return 1;
    if (!storage.owns && storage.pointer)
        std::memcpy(grown, storage.pointer, static_cast<size_t>(storage.bytes));
    // Counted slots that had no storage (left by a failed insertion) read as zeros once they have.
    std::memset(static_cast<unsigned char*>(grown) + storage.bytes, 0, static_cast<size_t>(bytes - storage.bytes));
    storage.pointer = static_cast<unsigned char*>(grown);
    storage.bytes = bytes;
    storage.owns = 1;
    return 0;
}

short GSArray::init(long size, long initialSize, long growthValue) noexcept
{
    freeStorage();
    elementSize = size;
    count = 0;
    capacity = initialSize;
    growth = growthValue;
    if (initialSize == 0)
        return 0;
    long bytes;
    if (initialSize < 0 || size < 1 || __builtin_mul_overflow(size, initialSize, &bytes) || reserveBytes(bytes)) {
        capacity = 0;
        return 1;
    }
    return 0;
}

void GSArray::exit() noexcept
{
    freeStorage();
    count = 0;
    capacity = 0;
}

long GSArray::getStoredCount() const noexcept
{
    return elementSize > 0 ? std::min(count, storage.bytes / elementSize) : 0;
}

void* GSArray::getElementPointer(long index) const noexcept
{
    if (index < 0 || index >= getStoredCount())
        return nullptr;
    return storage.pointer + index * elementSize;
}

short GSArray::enlarge() noexcept
{
    // After a failed insertion the count is past the capacity; growing from the count keeps the
    // storage ahead of it. There is always room for one more element afterwards.
    long base = std::max(capacity, count);
    long grown = GSGrowCapacity(base, growth);
    if (grown >= 0 && grown <= count)
        grown = count + 1;
    long bytes;
    if (grown < 0 || elementSize < 1 || __builtin_mul_overflow(grown, elementSize, &bytes) || reserveBytes(bytes)) {
        capacity = 0;
        return 1;
    }
    capacity = grown;
    return 0;
}

short GSArray::insertAt(long index, void const* element) noexcept
{
    if (index < 0)
        index = count;
    if (index > count)
        return 0;
    // An element taken from this array's own storage is found again after the storage moves.
    long offset = -1;
    auto const* source = static_cast<unsigned char const*>(element);
    if (storage.pointer && source >= storage.pointer && source < storage.pointer + storage.bytes)
        offset = source - storage.pointer;
    short status = 0;
    if (count >= capacity)
        status = enlarge();
    // The count goes up before the result of growing is looked at; a failed insertion keeps it.
    long previous = count++;
    if (status != 0)
        return 1;
    unsigned char* base = storage.pointer;
    std::memmove(base + (index + 1) * elementSize, base + index * elementSize,
                 static_cast<size_t>((previous - index) * elementSize));
    if (offset >= 0) {
        if (offset >= index * elementSize)
            offset += elementSize;
        std::memmove(base + index * elementSize, base + offset, static_cast<size_t>(elementSize));
    } else {
        std::memcpy(base + index * elementSize, element, static_cast<size_t>(elementSize));
    }
    return 0;
}

short GSArray::removeAt(long index) noexcept
{
    if (index < 0 || index >= count)
        return 0;
    long stored = getStoredCount();
    if (index < stored) {
        unsigned char* base = storage.pointer;
        std::memmove(base + index * elementSize, base + (index + 1) * elementSize,
                     static_cast<size_t>((stored - index - 1) * elementSize));
        // The vacated slot is cleared: storage past the count holds zeros, so that a slot that a
        // failed insertion counts reads as 0 also when it lies inside the storage.
        std::memset(base + (stored - 1) * elementSize, 0, static_cast<size_t>(elementSize));
    }
    --count;
    return 0;
}

short GSArray::setSize(long n) noexcept
{
    long bytes;
    if (n < 0 || (n > 0 && elementSize < 1) || __builtin_mul_overflow(n, elementSize, &bytes) ||
        reserveBytes(bytes)) {
        capacity = 0;
        return 1;
    }
    capacity = n;
    return 0;
}

long GSArray::find(void const* element) const noexcept
{
    for (long i = 0, n = getStoredCount(); i < n; ++i)
        if (std::memcmp(storage.pointer + i * elementSize, element, static_cast<size_t>(elementSize)) == 0)
            return i;
    return -1;
}

long GSArray::remove(void* element) noexcept
{
    long index = find(element);
    if (index >= 0)
        removeAt(index);
    return index;
}

short GSArray::copyContent(GSArray* target) const noexcept
{
    if (!target || target == this)
        return target ? 0 : 1;
    target->freeStorage();
    long size;
    if (__builtin_add_overflow(count, growth / 2, &size))
        size = count;
    (void)target->init(elementSize, size, growth);
    // With a negative growth value count + growth / 2 is below the count: the target still needs
    // room for every element.
    if (target->capacity < count && target->setSize(count) != 0) {
        target->exit();
        return 1;
    }
    // Slots without storage stay zeros in the target's fresh storage.
    long stored = getStoredCount();
    if (stored > 0)
        std::memcpy(target->storage.pointer, storage.pointer, static_cast<size_t>(stored * elementSize));
    target->count = count;
    return 0;
}

// --- PointerArray -------------------------------------------------------------------------------

PointerArray::PointerArray(long initialSize, long growthValue) noexcept
    : GSArray(sizeof(void*), initialSize, growthValue)
{
}

PointerArray::~PointerArray() = default;

short PointerArray::init(long initialSize, long growthValue) noexcept
{
    return GSArray::init(sizeof(void*), initialSize, growthValue);
}

void* PointerArray::getElementAt(long index) const noexcept
{
    void* pointer = nullptr;
    if (void const* slot = getElementPointer(index))
        std::memcpy(&pointer, slot, sizeof pointer);
    return pointer;
}

short PointerArray::addIfAbsent(void const* pointer) noexcept
{
    return find(pointer) >= 0 ? 0 : add(pointer);
}

long PointerArray::find(void const* pointer) const noexcept
{
    return GSArray::find(&pointer);
}

short PointerArray::insertAt(long index, void const* pointer) noexcept
{
    return GSArray::insertAt(index, &pointer);
}

long PointerArray::remove(void const* pointer) noexcept
{
    return GSArray::remove(&pointer);
}

// --- IntArray -----------------------------------------------------------------------------------

IntArray::IntArray(long initialSize, long growthValue) noexcept : GSArray(sizeof(int), initialSize, growthValue) {}

IntArray::~IntArray() = default;

int IntArray::getElementAt(long index) const noexcept
{
    int value = 0;
    if (void const* slot = getElementPointer(index))
        std::memcpy(&value, slot, sizeof value);
    return value;
}

long IntArray::find(int value) const noexcept
{
    return GSArray::find(&value);
}

short IntArray::insertAt(long index, int value) noexcept
{
    return GSArray::insertAt(index, &value);
}

long IntArray::remove(int value) noexcept
{
    return GSArray::remove(&value);
}
