// GSFixArray<T, N>: an array that keeps up to N elements inside itself and moves them to a heap
// block beyond that, so that small scratch arrays and the runtime-class registry cost no heap
// allocation.
//
// Growth: when an insertion of n elements does not fit, the new capacity is 2 * (capacity + n),
// at least N. A capacity up to N stays inline; a larger one moves the elements to a heap block of
// that many elements. An allocation failure returns 1 and leaves the elements where they were.
//
// GSFixArrayPointer<T, N>: an owning pointer to a GSFixArray<T, N> made on demand, for functions
// that hand a scratch array to their callers.
#pragma once

#include "gs/object/GSArrayMemory.h"

#include <algorithm>

template <class T, long N>
class GSFixArray {
    static_assert(N > 0, "a fixed array holds at least one element inline");

public:
    // s < 1 leaves the array empty; s <= N uses the inline storage; s > N allocates s elements on
    // the heap (empty when that fails).
    explicit GSFixArray(long initialSize = 0) noexcept { (void)init(initialSize); }
    GSFixArray(GSFixArray const&) = delete;
    GSFixArray& operator=(GSFixArray const&) = delete;
    virtual ~GSFixArray() { freeHeap(); }

    // Drops the elements and sizes the array as the constructor does; 1 for a negative size or a
    // failed allocation (the array is then empty).
    [[nodiscard]] short init(long initialSize) noexcept
    {
        freeHeap();
        resetInline(0, count);
        count = 0;
        inlineCapacity = 0;
        elements = inlineData;
        if (initialSize < 1)
            return initialSize < 0 ? 1 : 0;
        if (initialSize <= N) {
            inlineCapacity = initialSize;
            return 0;
        }
        T* block = GSArrayElements<T>::create(initialSize);
        if (!block)
            return 1;
        heapData = block;
        heapCapacity = initialSize;
        ownsHeap = 1;
        elements = heapData;
        return 0;
    }

    // Inserts n elements taken from `items` at `index` (below 0: the end). The source may lie in
    // this array, also while it grows. 1 for an index above the count, a negative n or a failed
    // allocation (nothing changes then).
    [[nodiscard]] short insertAt(long index, T const* items, long n)
    {
        if (index < 0)
            index = count;
        if (index > count || n < 0)
            return 1;
        if (n == 0)
            return 0;
        if (!items)
            return 1;
        long needed;
        if (__builtin_add_overflow(count, n, &needed))
            return 1;
        long capacity = getCapacity();
        if (needed > capacity) {
            long grown;
            if (__builtin_add_overflow(capacity, n, &grown) || __builtin_mul_overflow(grown, 2, &grown))
                return 1;
            grown = std::max(grown, N);
            if (grown > N)
                return moveToHeap(grown, index, items, n);
            // Only an inline array can have a capacity below N: it stays inline, with more room.
            inlineCapacity = grown;
        }
        GSArrayElements<T>::insert(elements, count, index, items, n);
        count = needed;
        return 0;
    }
    [[nodiscard]] short add(T const& item) { return insertAt(-1, &item, 1); }

    // Removes n elements from index on (clamped to the count); nothing for an index out of range.
    void removeAt(long index, long n = 1)
    {
        if (index < 0 || index >= count || n <= 0)
            return;
        n = std::min(n, count - index);
        GSArrayElements<T>::remove(elements, count, index, n);
        count -= n;
    }
    // Count 0, storage kept.
    void clear()
    {
        if constexpr (!GSArrayElements<T>::kRaw)
            std::fill(elements, elements + count, T());
        count = 0;
    }

    long getCount() const { return count; }
    long getCapacity() const { return inlineCapacity ? inlineCapacity : heapCapacity; }
    bool isInline() const { return elements == inlineData; }
    T* getPointer() { return elements; }
    T const* getPointer() const { return elements; }
    T& operator[](long index) { return elements[index]; }
    T const& operator[](long index) const { return elements[index]; }
    T* begin() { return elements; }
    T* end() { return elements + count; }
    T const* begin() const { return elements; }
    T const* end() const { return elements + count; }

private:
    [[nodiscard]] short moveToHeap(long capacity, long index, T const* items, long n)
    {
        T* block = GSArrayElements<T>::create(capacity);
        if (!block)
            return 1;
        // The new elements first: the source may lie in the old storage, which is left intact
        // until everything is copied.
        GSArrayElements<T>::copy(block + index, items, n);
        if constexpr (GSArrayElements<T>::kRaw) {
            GSArrayElements<T>::copy(block, elements, index);
            GSArrayElements<T>::copy(block + index + n, elements + index, count - index);
        } else {
            for (long i = 0; i < index; ++i)
                block[i] = static_cast<T&&>(elements[i]);
            for (long i = index; i < count; ++i)
                block[i + n] = static_cast<T&&>(elements[i]);
        }
        long newCount = count + n;
        freeHeap();
        resetInline(0, count);
        heapData = block;
        heapCapacity = capacity;
        ownsHeap = 1;
        inlineCapacity = 0;
        elements = heapData;
        count = newCount;
        return 0;
    }

    void freeHeap() noexcept
    {
        if (ownsHeap)
            GSArrayElements<T>::destroy(heapData, heapCapacity);
        heapData = nullptr;
        heapCapacity = 0;
        ownsHeap = 0;
    }

    // Inline slots give up what they hold (strings, say) when the elements leave them.
    void resetInline(long from, long to) noexcept
    {
        if constexpr (!GSArrayElements<T>::kRaw) {
            if (elements == inlineData)
                for (long i = from; i < to && i < N; ++i)
                    inlineData[i] = T();
        } else {
            (void)from;
            (void)to;
        }
    }

    short ownsHeap = 0;
    long heapCapacity = 0;
    T* heapData = nullptr;
    T inlineData[N];
    long inlineCapacity = 0;
    T* elements = inlineData;
    long count = 0;
};

template <class T, long N>
class GSFixArrayPointer {
public:
    GSFixArrayPointer() noexcept = default;
    GSFixArrayPointer(GSFixArrayPointer const&) = delete;
    GSFixArrayPointer& operator=(GSFixArrayPointer const&) = delete;
    ~GSFixArrayPointer() { delete array; }

    // Makes a new, empty array with the given initial size, dropping any earlier one; 1 when it
    // cannot be made (the pointer is then null).
    [[nodiscard]] short create(long initialSize = 0)
    {
        delete array;
        array = new (std::nothrow) GSFixArray<T, N>(initialSize);
        if (array && initialSize > 0 && array->getCapacity() < initialSize) {
            delete array;
            array = nullptr;
        }
        return array ? 0 : 1;
    }
    GSFixArray<T, N>* get() const { return array; }
    GSFixArray<T, N>* operator->() const { return array; }
    GSFixArray<T, N>& operator*() const { return *array; }
    explicit operator bool() const { return array != nullptr; }

private:
    GSFixArray<T, N>* array = nullptr;
};
