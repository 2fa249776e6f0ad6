// Storage allocation for the library's arrays (GSDynaArray, GSFixArray, GSArray and its subclasses)
// and for the blocks of GSString.
//
// All such storage comes from the C allocator through these three functions, so that a test can
// make any allocation fail: an installed hook is asked before every allocation and reallocation
// and vetoes it by returning false. A vetoed or failed allocation returns null and leaves a block
// being reallocated untouched; the arrays turn that into status 1.
#pragma once

#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <type_traits>

// Returns true to let an allocation of `bytes` go ahead.
using GSArrayAllocationHook = bool (*)(size_t bytes);

// Installs `hook` (null removes it) and returns the hook it replaces. Install hooks while no other
// thread allocates array storage.
GSArrayAllocationHook GSSetArrayAllocationHook(GSArrayAllocationHook hook) noexcept;

// malloc/realloc/free behind the hook. Blocks of 0 bytes are never requested: a 0 size gives null.
void* GSArrayAllocate(size_t bytes) noexcept;
void* GSArrayReallocate(void* block, size_t bytes) noexcept;
void GSArrayFree(void* block) noexcept;

// The growth rule shared by all growing arrays: base + step, where the step is g for g >= 0, and
// base * -g / 100 (truncated) for g < 0, or 8 when that product is below 100. -1 when the result
// cannot be represented.
inline long GSGrowCapacity(long base, long growth) noexcept
{
    long step;
    if (growth >= 0) {
        step = growth;
    } else {
        long x;
        if (growth == LONG_MIN || __builtin_mul_overflow(base, -growth, &x))
            return -1;
        step = x >= 100 ? x / 100 : 8;
    }
    long capacity;
    if (__builtin_add_overflow(base, step, &capacity))
        return -1;
    return capacity;
}

// Element blocks of typed arrays. Trivially copyable elements live in raw memory (moved with
// memmove, grown with realloc); other element types have every slot of a block constructed, so
// that the arrays only ever assign, never construct, in the middle of a block.
template <class T>
struct GSArrayElements {
    static constexpr bool kRaw = std::is_trivially_copyable_v<T>;

    // The largest element count whose byte size can be requested.
    static constexpr long kMaxCount = static_cast<long>(PTRDIFF_MAX / sizeof(T));

    // A block of n elements (n >= 1), or null.
    static T* create(long n) noexcept
    {
        if (n < 1 || n > kMaxCount)
            return nullptr;
        void* block = GSArrayAllocate(static_cast<size_t>(n) * sizeof(T));
        if (!block)
            return nullptr;
        T* elements = static_cast<T*>(block);
        if constexpr (!kRaw) {
            for (long i = 0; i < n; ++i)
                new (elements + i) T();
        }
        return elements;
    }

    static void destroy(T* elements, long n) noexcept
    {
        if (!elements)
            return;
        if constexpr (!kRaw) {
            for (long i = 0; i < n; ++i)
                elements[i].~T();
        }
        GSArrayFree(elements);
    }

    // A block of newCapacity elements holding the first `count` elements of `elements` (which has
    // `oldCapacity`), moved over; the old block is gone afterwards. Null on failure, and then
    // `elements` is untouched.
    static T* grow(T* elements, long count, long oldCapacity, long newCapacity) noexcept
    {
        if (newCapacity < 1 || newCapacity > kMaxCount)
            return nullptr;
        if constexpr (kRaw) {
            (void)count;
            (void)oldCapacity;
            return static_cast<T*>(GSArrayReallocate(elements, static_cast<size_t>(newCapacity) * sizeof(T)));
        } else {
            T* fresh = create(newCapacity);
            if (!fresh)
                return nullptr;
            for (long i = 0; i < count; ++i)
                fresh[i] = static_cast<T&&>(elements[i]);
            destroy(elements, oldCapacity);
            return fresh;
        }
    }

    static void copy(T* target, T const* source, long n) noexcept(kRaw)
    {
        if (n < 1)
            return;
        if constexpr (kRaw)
            std::memcpy(static_cast<void*>(target), source, static_cast<size_t>(n) * sizeof(T));
        else
            for (long i = 0; i < n; ++i)
                target[i] = source[i];
    }

    // True when p points into the n elements at `block` (compared as addresses, so that pointers
    // into unrelated storage are fine).
    static bool contains(T const* block, long n, T const* p) noexcept
    {
        auto b = reinterpret_cast<std::uintptr_t>(block);
        auto q = reinterpret_cast<std::uintptr_t>(p);
        return block && q >= b && (q - b) / sizeof(T) < static_cast<std::uintptr_t>(n);
    }

    // Inserts n elements taken from `source` at `index` into a block holding `count` elements with
    // room for count + n. The source may lie anywhere, also inside the block: an element that sat
    // at or behind `index` is read from the place it was moved to, so the hole is never read.
    static void insert(T* block, long count, long index, T const* source, long n) noexcept(kRaw)
    {
        if (index == count) {
            // Appending: nothing moves, so a source inside the block is still where it was.
            copy(block + index, source, n);
            return;
        }
        bool inside = contains(block, count, source) || contains(block, count, source + n - 1);
        if constexpr (kRaw)
            std::memmove(static_cast<void*>(block + index + n), block + index,
                         static_cast<size_t>(count - index) * sizeof(T));
        else
            for (long i = count - 1; i >= index; --i)
                block[i + n] = static_cast<T&&>(block[i]);
        if (!inside) {
            copy(block + index, source, n);
            return;
        }
        for (long k = 0; k < n; ++k) {
            T const* from = source + k;
            if (contains(block + index, count - index, from))
                from += n;
            block[index + k] = *from;
        }
    }

    // Removes n elements at index from a block holding `count`; vacated slots are reset.
    static void remove(T* block, long count, long index, long n) noexcept(kRaw)
    {
        if constexpr (kRaw) {
            std::memmove(static_cast<void*>(block + index), block + index + n,
                         static_cast<size_t>(count - index - n) * sizeof(T));
        } else {
            for (long i = index; i + n < count; ++i)
                block[i] = static_cast<T&&>(block[i + n]);
            for (long i = count - n; i < count; ++i)
                block[i] = T();
        }
    }
};
