// GSDynaArray<T>: an array whose storage is a shared, reference-counted block (GSArrayData<T>),
// copied on write. Copies share the block until one of them changes it.
//
// Growth rule: when room for n elements is needed, the new capacity is n + step, where the step is
// the growth value g when g >= 0, and otherwise n * |g| / 100, or 8 when that product is below 100.
// So (8, -100) starts with room for 8 and doubles; percentage growth never steps by less than 8.
//
// Allocation failures are statuses (1), never exceptions; an index out of range for insertAt
// throws bad_index.
#pragma once

#include "gs/object/GSExceptions.h"
#include "gs/object/GSObject.h"

#include <algorithm>
#include <new>
#include <type_traits>

template <class T>
class GSArrayData : public GSObject {
public:
    // A block with room for `capacity` elements and count 0; check getData() (or capacity 0) for
    // an allocation failure.
    explicit GSArrayData(long cap)
    {
        if (cap > 0) {
            data = new (std::nothrow) T[static_cast<size_t>(cap)]();
            capacity = data ? cap : 0;
        }
    }
    ~GSArrayData() override { delete[] data; }

    long capacity = 0;
    long count = 0;
    T* data = nullptr;
};

template <class T>
class GSDynaArray {
public:
    explicit GSDynaArray(long initialSize = 0, long growthValue = -100) : growth(growthValue)
    {
        if (initialSize > 0) {
            auto* block = new (std::nothrow) GSArrayData<T>(initialSize);
            if (block) {
                block->retain();
                data = block;
            }
        }
    }
    GSDynaArray(GSDynaArray const& other) : growth(other.growth), data(other.data)
    {
        if (data)
            data->retain();
    }
    GSDynaArray& operator=(GSDynaArray const& other)
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
    virtual ~GSDynaArray()
    {
        if (data)
            data->release();
    }

    long getCount() const { return data ? data->count : 0; }
    long getCapacity() const { return data ? data->capacity : 0; }
    long getGrowth() const { return growth; }
    bool isEmpty() const { return getCount() == 0; }
    bool isShared() const { return data && data->getRefCount() > 1; }

    // Read access; null for an array without storage.
    T const* getPointer() const { return data ? data->data : nullptr; }
    T const& operator[](long index) const { return data->data[index]; }
    // Write access: makes the storage private first. Null when there is none or copying failed.
    T* getWritablePointer()
    {
        if (!data || makeRoom(data->count, false) != 0)
            return nullptr;
        return data->data;
    }

    // Capacity for n elements by the growth rule; -1 when it cannot be represented.
    long capacityFor(long n) const
    {
        long step;
        if (growth >= 0) {
            step = growth;
        } else {
            long x;
            if (__builtin_mul_overflow(n, -growth, &x))
                return -1;
            step = x >= 100 ? x / 100 : 8;
        }
        long c;
        if (__builtin_add_overflow(n, step, &c))
            return -1;
        return c;
    }

    // Makes room for n elements, private to this array. With `extraReference` the caller holds one
    // more reference to the current block, so a count of 2 still counts as unshared. 0 on success.
    short makeRoom(long n, bool extraReference = false)
    {
        if (n < 0)
            return 1;
        if (!data) {
            if (n == 0)
                return 0;
            long cap = capacityFor(n);
            if (cap < n)
                return 1;
            auto* block = new (std::nothrow) GSArrayData<T>(cap);
            if (!block || block->capacity != cap) {
                delete block;
                return 1;
            }
            block->retain();
            data = block;
            return 0;
        }
        int unshared = extraReference ? 2 : 1;
        if (data->getRefCount() <= unshared) {
            if (n <= data->capacity)
                return 0;
            long cap = capacityFor(n);
            if (cap < n)
                return 1;
            return reallocate(cap);
        }
        long cap = std::max(n, data->count);
        if (cap > data->capacity && (cap = capacityFor(cap)) < n)
            return 1;
        cap = std::max(cap, data->capacity);
        auto* block = new (std::nothrow) GSArrayData<T>(cap);
        if (!block || block->capacity != cap) {
            delete block;
            return 1;
        }
        std::copy(data->data, data->data + data->count, block->data);
        block->count = data->count;
        block->retain();
        data->release();
        data = block;
        return 0;
    }

    // Sets the element count to n, making room first; new elements are value-initialised.
    // On failure the count is capped at the storage's capacity and 1 is returned.
    short setCount(long n)
    {
        short status = makeRoom(n);
        if (!data)
            return n == 0 ? 0 : 1;
        long newCount = std::min(n, data->capacity);
        if (newCount > data->count && data->getRefCount() == 1)
            std::fill(data->data + data->count, data->data + newCount, T());
        if (data->getRefCount() == 1)
            data->count = newCount;
        return status;
    }

    // Inserts n elements taken from `elements` at `index` (-1 or getCount() appends).
    // Throws bad_index for an index below -1 or above the count.
    short insertAt(long index, T const* elements, long n)
    {
        long count = getCount();
        if (index == -1)
            index = count;
        if (index < 0 || index > count)
            throw bad_index();
        if (n <= 0)
            return 0;
        long needed;
        if (__builtin_add_overflow(count, n, &needed))
            return 1;
        // The source may lie inside our own storage, which making room may move: copy it first.
        T const* source = elements;
        T* scratch = nullptr;
        if (data && elements >= data->data && elements < data->data + data->capacity) {
            scratch = new (std::nothrow) T[static_cast<size_t>(n)];
            if (!scratch)
                return 1;
            std::copy(elements, elements + n, scratch);
            source = scratch;
        }
        short status = makeRoom(needed);
        if (status == 0) {
            std::move_backward(data->data + index, data->data + count, data->data + needed);
            std::copy(source, source + n, data->data + index);
            data->count = needed;
        }
        delete[] scratch;
        return status;
    }
    short append(T const* elements, long n) { return insertAt(-1, elements, n); }
    short add(T const& element) { return insertAt(-1, &element, 1); }

    // Removes n elements from index on (clamped to the count).
    void removeAt(long index, long n = 1)
    {
        long count = getCount();
        if (index < 0 || index >= count || n <= 0 || makeRoom(count) != 0)
            return;
        n = std::min(n, count - index);
        std::move(data->data + index + n, data->data + count, data->data + index);
        data->count = count - n;
    }

    // Drops the storage.
    void empty()
    {
        if (data)
            data->release();
        data = nullptr;
    }
    // Count 0, storage kept when it is private.
    void clear()
    {
        if (data && data->getRefCount() == 1)
            data->count = 0;
        else
            empty();
    }

    GSArrayData<T>* getData() const { return data; }

private:
    short reallocate(long cap)
    {
        T* fresh = new (std::nothrow) T[static_cast<size_t>(cap)]();
        if (!fresh)
            return 1;
        std::move(data->data, data->data + data->count, fresh);
        delete[] data->data;
        data->data = fresh;
        data->capacity = cap;
        return 0;
    }

    long growth;
    GSArrayData<T>* data = nullptr;
};
