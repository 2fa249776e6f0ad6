// GSDynaArray<T>: an array whose storage is a shared, reference-counted block (GSArrayData<T>),
// copied on write. Copies share the block until one of them changes it; the block's count is
// atomic, so copies may live on different threads (one array is changed by one thread at a time).
//
// Growth rule: when room for n elements is needed, the new capacity is n + step, where the step is
// the growth value g when g >= 0, and otherwise n * -g / 100 (truncated), or 8 when that product is
// below 100. So (8, -100) starts with room for 8 and doubles; percentage growth never steps by less
// than 8.
//
// Allocation failures are statuses (1), never exceptions: the array is left as it was. The only
// exception is bad_index, thrown by insertAt for an index outside 0..count.
//
// Array block (read and write, for unsigned char, float and int elements):
//   version   256, or 512 when the block carries its own object table: the table starts right
//             after the version and stops after the elements (GSFile::startObjectMergingWrite)
//   count     GSFile::writeArrayCount (compact encoding in compact mode, else 4 bytes)
//   elements  bytes as they are; floats with GSFile::writeFloat, ints with GSFile::writeLong
// The version takes the framing of the file (2 bytes classic, 1 byte compact).
#pragma once

#include "gs/object/GSArrayMemory.h"
#include "gs/object/GSExceptions.h"
#include "gs/object/GSObject.h"

#include <algorithm>
#include <new>

class GSFile;

// The shared block: capacity, count and the elements. Created with the count 0 and the reference
// count 0; its holder retains it at once. Blocks and their elements come from the array allocator.
template <class T>
class GSArrayData : public GSObject {
public:
    // Room for `cap` elements; the capacity stays 0 (and data null) when the allocation fails.
    explicit GSArrayData(long cap) noexcept
    {
        if (cap > 0) {
            data = GSArrayElements<T>::create(cap);
            capacity = data ? cap : 0;
        }
    }
    GSArrayData(GSArrayData const&) = delete;
    GSArrayData& operator=(GSArrayData const&) = delete;
    ~GSArrayData() override { GSArrayElements<T>::destroy(data, capacity); }

    static void* operator new(size_t size, std::nothrow_t const&) noexcept { return GSArrayAllocate(size); }
    static void operator delete(void* block) noexcept { GSArrayFree(block); }
    static void operator delete(void* block, std::nothrow_t const&) noexcept { GSArrayFree(block); }

    // A block of `cap` elements, or null when either allocation fails.
    static GSArrayData* create(long cap) noexcept
    {
        if (cap > GSArrayElements<T>::kMaxCount)
            return nullptr;
        auto* block = new (std::nothrow) GSArrayData(cap);
        if (block && block->capacity != cap) {
            delete block;
            block = nullptr;
        }
        return block;
    }

    long capacity = 0;
    long count = 0;
    T* data = nullptr;
};

template <class T>
class GSDynaArray {
public:
    explicit GSDynaArray(long initialSize = 0, long growthValue = -100) noexcept : growth(growthValue)
    {
        if (initialSize > 0) {
            data = GSArrayData<T>::create(initialSize);
            if (data)
                data->retain();
        }
    }
    // Shares the other array's block.
    GSDynaArray(GSDynaArray const& other) noexcept : growth(other.growth), data(other.data)
    {
        if (data)
            data->retain();
    }
    GSDynaArray(GSDynaArray&& other) noexcept : growth(other.growth), data(other.data) { other.data = nullptr; }
    GSDynaArray& operator=(GSDynaArray const& other) noexcept
    {
        if (data != other.data) {
            if (other.data)
                other.data->retain();
            if (data)
                data->release();
            data = other.data;
        }
        growth = other.growth;
        return *this;
    }
    GSDynaArray& operator=(GSDynaArray&& other) noexcept
    {
        if (this != &other) {
            if (data)
                data->release();
            data = other.data;
            growth = other.growth;
            other.data = nullptr;
        }
        return *this;
    }
    virtual ~GSDynaArray()
    {
        if (data)
            data->release();
    }

    long getCount() const { return data ? data->count : 0; }
    long getCapacity() const { return data ? data->capacity : 0; }
    long getGrowth() const { return growth; }
    void setGrowth(long g) { growth = g; }
    bool isEmpty() const { return getCount() == 0; }
    bool isShared() const { return data && data->getRefCount() > 1; }

    // Read access; null for an array without storage.
    T const* getPointer() const { return data ? data->data : nullptr; }
    T const& operator[](long index) const { return data->data[index]; }
    // Write access: makes the storage private first. Null when there is none or copying failed.
    T* getWritablePointer()
    {
        if (!data || makeRoom(data->count) != 0)
            return nullptr;
        return data->data;
    }

    // Capacity for n elements by the growth rule; -1 when it cannot be represented.
    long capacityFor(long n) const { return GSGrowCapacity(n, growth); }

    // Makes room for n elements in storage private to this array, growing by the growth rule.
    // With `extraReference` the caller holds one more reference to the current block (to keep a
    // source inside it alive), so a count of 2 still counts as unshared. 0 on success; on failure
    // (1) the array is unchanged.
    [[nodiscard]] short makeRoom(long n, bool extraReference = false) { return _makeRoom(n, -1, extraReference); }
    // Room for exactly `capacity` elements (nothing when there already is room); 0 drops the storage.
    [[nodiscard]] short reserve(long capacity) { return _makeRoom(capacity, capacity, false); }

    // Sets the element count to n, making room first; new elements are value-initialised.
    // On failure the count is capped at the storage's capacity and 1 is returned.
    [[nodiscard]] short setCount(long n)
    {
        if (n < 0)
            return 1;
        short status = makeRoom(n);
        if (!data)
            return n == 0 ? 0 : 1;
        if (data->getRefCount() != 1)
            return 1;
        long newCount = std::min(n, data->capacity);
        if (newCount > data->count)
            std::fill(data->data + data->count, data->data + newCount, T());
        else if constexpr (!GSArrayElements<T>::kRaw)
            std::fill(data->data + newCount, data->data + data->count, T());
        data->count = newCount;
        return status;
    }

    // Inserts n elements taken from `elements` at `index` (0..count). The source may lie inside
    // this array's own storage. Throws bad_index for any other index; 1 when room cannot be made.
    [[nodiscard]] short insertAt(long index, T const* elements, long n)
    {
        long count = getCount();
        if (index < 0 || index > count)
            throw bad_index();
        if (n <= 0)
            return 0;
        if (!elements)
            return 1;
        long needed;
        if (__builtin_add_overflow(count, n, &needed))
            return 1;
        // A shared block, or a full one that the source lies in, is kept alive by an extra
        // reference until the elements are copied: making room then builds a new block and the
        // source stays where it is.
        GSArrayData<T>* hold = nullptr;
        if (data && (data->getRefCount() > 1 ||
                     (needed > data->capacity && GSArrayElements<T>::contains(data->data, data->capacity, elements)))) {
            hold = data;
            hold->retain();
        }
        short status = _makeRoom(needed, -1, hold != nullptr);
        if (status == 0) {
            GSArrayElements<T>::insert(data->data, count, index, elements, n);
            data->count = needed;
        }
        if (hold)
            hold->release();
        return status;
    }
    [[nodiscard]] short append(T const* elements, long n)
    {
        // Room at the end of a private block: a plain copy (a source inside the block stays put).
        if (GSArrayData<T>* block = data) {
            long count = block->count;
            if (n > 0 && elements && n <= block->capacity - count && block->getRefCount() == 1) {
                GSArrayElements<T>::copy(block->data + count, elements, n);
                block->count = count + n;
                return 0;
            }
        }
        return insertAt(getCount(), elements, n);
    }
    [[nodiscard]] short append(GSDynaArray const& other) { return append(other.getPointer(), other.getCount()); }
    [[nodiscard]] short add(T const& element)
    {
        // The common case stays inline: a private block with room at the end. The element is
        // copied first, as it may lie in the block.
        if (GSArrayData<T>* block = data) {
            long count = block->count;
            if (count < block->capacity && block->getRefCount() == 1) {
                T value = element;
                T* elements = block->data;
                block->count = count + 1;
                elements[count] = static_cast<T&&>(value);
                return 0;
            }
        }
        return insertAt(getCount(), &element, 1);
    }

    // Replaces the element at index (0..count-1); 1 for another index or when copying failed.
    [[nodiscard]] short setAt(long index, T const& element)
    {
        if (index < 0 || index >= getCount())
            return 1;
        if (GSArrayElements<T>::contains(data->data, data->count, &element) && isShared()) {
            T copy = element;
            return setAt(index, copy);
        }
        T* elements = getWritablePointer();
        if (!elements)
            return 1;
        elements[index] = element;
        return 0;
    }

    // Removes n elements from index on (clamped to the count); nothing for an index out of range.
    void removeAt(long index, long n = 1)
    {
        long count = getCount();
        if (index < 0 || index >= count || n <= 0 || makeRoom(count) != 0)
            return;
        n = std::min(n, count - index);
        GSArrayElements<T>::remove(data->data, count, index, n);
        data->count = count - n;
    }

    // Drops the storage.
    void empty()
    {
        if (data)
            data->release();
        data = nullptr;
    }
    // Count 0; the storage is kept when it is private.
    void clear()
    {
        if (data && data->getRefCount() == 1) {
            if constexpr (!GSArrayElements<T>::kRaw)
                std::fill(data->data, data->data + data->count, T());
            data->count = 0;
        } else {
            empty();
        }
    }

    // First index whose element equals `element`, or -1.
    long find(T const& element) const
    {
        for (long i = 0, n = getCount(); i < n; ++i)
            if (data->data[i] == element)
                return i;
        return -1;
    }

    // Sorting with a comparison returning negative, zero or positive; 1 when copying failed.
    using Compare = int (*)(T const*, T const*);
    static int compareAscending(T const* a, T const* b) { return *a < *b ? -1 : (*b < *a ? 1 : 0); }
    [[nodiscard]] short sort(Compare compare = compareAscending)
    {
        if (getCount() < 2)
            return 0;
        T* elements = getWritablePointer();
        if (!elements)
            return 1;
        std::sort(elements, elements + data->count,
                  [compare](T const& a, T const& b) { return compare(&a, &b) < 0; });
        return 0;
    }

    GSArrayData<T>* getData() const { return data; }

    // Writes the array block; with `withObjectTable` the block carries an object table with
    // 32-bit positions, or with 64-bit positions when `longPositions` is set (which puts the file
    // in compact mode for the count). Throws bad_file when a table is to be started while one is
    // attached. The first failing write's status is returned.
    [[nodiscard]] short write(GSFile* file, short withObjectTable = 0, short longPositions = 0) const;
    // Reads an array block and appends its elements. 1 for a version above 512, a negative count,
    // a count the file cannot hold, a table that cannot start (also when the file has one attached
    // already) or a failed allocation; a failed element read returns its status.
    [[nodiscard]] short read(GSFile* file);

private:
    // Room for n elements. `requested` < 0 asks for the growth rule, otherwise for that capacity
    // (0 with a block present drops it).
    [[nodiscard]] short _makeRoom(long n, long requested, bool extraReference)
    {
        if (n < 0)
            return 1;
        if (!data) {
            if (n == 0)
                return 0;
            long cap = requested < 0 ? capacityFor(n) : std::max(requested, n);
            if (cap < n)
                return 1;
            data = GSArrayData<T>::create(cap);
            if (!data)
                return 1;
            data->retain();
            return 0;
        }
        if (requested == 0) {
            data->release();
            data = nullptr;
            return 0;
        }
        bool unshared = data->getRefCount() <= (extraReference ? 2 : 1);
        if (unshared && n <= data->capacity)
            return 0;
        long cap = data->capacity;
        if (n > cap) {
            cap = requested < 0 ? capacityFor(n) : std::max(requested, n);
            if (cap < n)
                return 1;
        }
        if (unshared && !extraReference) {
            T* grown = GSArrayElements<T>::grow(data->data, data->count, data->capacity, cap);
            if (!grown)
                return 1;
            data->data = grown;
            data->capacity = cap;
            return 0;
        }
        // Copy on write; also when the caller keeps the block alive for a source inside it,
        // since growing in place would free that source.
        GSArrayData<T>* block = GSArrayData<T>::create(cap);
        if (!block)
            return 1;
        GSArrayElements<T>::copy(block->data, data->data, data->count);
        block->count = data->count;
        block->retain();
        data->release();
        data = block;
        return 0;
    }

    long growth;
    GSArrayData<T>* data = nullptr;
};

template <>
short GSDynaArray<unsigned char>::write(GSFile* file, short withObjectTable, short longPositions) const;
template <>
short GSDynaArray<float>::write(GSFile* file, short withObjectTable, short longPositions) const;
template <>
short GSDynaArray<int>::write(GSFile* file, short withObjectTable, short longPositions) const;
template <>
short GSDynaArray<unsigned char>::read(GSFile* file);
template <>
short GSDynaArray<float>::read(GSFile* file);
template <>
short GSDynaArray<int>::read(GSFile* file);
