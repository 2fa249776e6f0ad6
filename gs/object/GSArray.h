// GSArray: an untyped array of elements of a fixed byte size in one owned block, and its plain
// subclasses PointerArray (pointers, not owned) and IntArray (32-bit integers). ObjectArray
// (ObjectArray.h) adds retained GSObjects.
//
// Growth: when the array is full, the capacity grows by g elements for a growth value g >= 0, or
// for g < 0 by capacity * -g / 100 (truncated), and by 8 when that product is below 100: (8, -100)
// holds 8, then 16, 32, 64, ...
//
// Failures are statuses. An allocation failure leaves the capacity 0 (the elements stay readable).
// insertAt raises the count before it looks at the result of growing, so a failed insertion
// leaves the count one higher than before: an extra slot, which reads as 0 / null.
// Callers that go on after a failed insertion must not rely on the count.
#pragma once

class GSArray {
public:
    GSArray(long elementSize, long initialSize, long growth) noexcept;
    GSArray(GSArray const&) = delete;
    GSArray& operator=(GSArray const&) = delete;
    virtual ~GSArray();

    // Frees any storage and starts over with count 0 and room for initialSize elements; 1 when
    // that room cannot be allocated (the capacity is then 0).
    [[nodiscard]] short init(long elementSize, long initialSize, long growth) noexcept;
    // Count 0, storage freed, capacity 0.
    void exit() noexcept;
    void empty() noexcept { exit(); }

    // Copies elementSize bytes from `element` to the end.
    [[nodiscard]] short add(void const* element) noexcept { return insertAt(-1, element); }
    // Index below 0: the end. An index above the count inserts nothing and returns 0. 1 when the
    // array could not grow (see above: the count is raised all the same).
    [[nodiscard]] short insertAt(long index, void const* element) noexcept;
    // Grows by the growth rule, keeping the bytes; on failure the capacity becomes 0 and 1.
    [[nodiscard]] short enlarge() noexcept;
    // Nothing for an index outside 0..count-1; always 0.
    short removeAt(long index) noexcept;
    long getCount() const { return count; }
    long getCapacity() const { return capacity; }
    long getGrowth() const { return growth; }
    long getElementSize() const { return elementSize; }
    // Room for n elements (the bytes are kept); the capacity becomes n, or 0 with 1 on failure.
    // The count does not change.
    [[nodiscard]] short setSize(long n) noexcept;
    // First index whose elementSize bytes equal the element's, or -1.
    long find(void const* element) const noexcept;
    // find, then removeAt: the index or -1.
    long remove(void* element) noexcept;
    // Makes the target a copy with this array's element size and growth, sized count + growth / 2
    // (never below the count). 1 when the target could not get room (it is then empty).
    [[nodiscard]] short copyContent(GSArray* target) const noexcept;

    // The element's bytes, or null outside 0..count-1 and outside the storage.
    void* getElementPointer(long index) const noexcept;

protected:
    // Elements that are both counted and stored (after a failed insertion the count is one more).
    long getStoredCount() const noexcept;

    struct Storage {
        short owns = 0;
        long bytes = 0;
        unsigned char* pointer = nullptr;
    };

    void freeStorage() noexcept;
    // Storage of at least `bytes` bytes, keeping its content; 1 on failure (storage unchanged).
    [[nodiscard]] short reserveBytes(long bytes) noexcept;

    Storage storage;
    long elementSize = 0;
    long count = 0;
    long capacity = 0;
    long growth = 0;
};

class PointerArray : public GSArray {
public:
    PointerArray(long initialSize, long growth) noexcept;
    ~PointerArray() override;

    [[nodiscard]] short init(long initialSize, long growth) noexcept;
    // Null for an index outside 0..count-1.
    void* getElementAt(long index) const noexcept;
    [[nodiscard]] short add(void const* pointer) noexcept { return insertAt(-1, pointer); }
    // Appends only when the pointer is not in the array yet.
    [[nodiscard]] short addIfAbsent(void const* pointer) noexcept;
    long find(void const* pointer) const noexcept;
    [[nodiscard]] short insertAt(long index, void const* pointer) noexcept;
    // Removes the first equal pointer: its index, or -1.
    long remove(void const* pointer) noexcept;
};

class IntArray : public GSArray {
public:
    IntArray(long initialSize, long growth) noexcept;
    ~IntArray() override;

    // 0 for an index outside the storage.
    int getElementAt(long index) const noexcept;
    [[nodiscard]] short add(int value) noexcept { return insertAt(-1, value); }
    long find(int value) const noexcept;
    [[nodiscard]] short insertAt(long index, int value) noexcept;
    long remove(int value) noexcept;
};
