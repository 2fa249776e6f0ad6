// ObjectArray: a PointerArray of GSObjects that holds one retain on every non-null element for as
// long as the element is in it: inserting retains, removing, replacing, emptying and destroying
// release (emptying and destruction from the last element to the first).
//
// On file: the element count (GSFile::writeArrayCount), then every element as an object
// (GSFile::writeObject; a null element is written as the null object). Reading fails on an element
// that reads as null, so an array with null elements does not read back.
#pragma once

#include "gs/object/GSArray.h"

class GSFile;
class GSObject;
class GSRuntimeClass;

class ObjectArray : public PointerArray {
public:
    explicit ObjectArray(long initialSize = 0, long growth = -100) noexcept;
    // Initial size 0, growth -100, then the other array's elements (retained).
    ObjectArray(ObjectArray const& other) noexcept;
    ObjectArray& operator=(ObjectArray const& other) noexcept;
    ~ObjectArray() override;

    // Null for an index outside 0..count-1.
    GSObject* getElementAt(long index) const noexcept;
    // Inserts (see GSArray::insertAt) and retains the object when the insertion succeeded.
    [[nodiscard]] short insertAt(long index, GSObject const* object) noexcept;
    [[nodiscard]] short add(GSObject const* object) noexcept { return insertAt(-1, object); }
    // Releases the element (when the index is in range and it is not null), then removes the slot.
    short removeAt(long index) noexcept;
    // Removes and releases the first equal pointer: its index, or -1.
    long remove(GSObject const* object) noexcept;
    // Releases the old element and stores the new one, retained. Only an index in 0..count-1
    // stores anything; 1 for any other index.
    [[nodiscard]] short replaceAt(long index, GSObject* object) noexcept;
    // Removes every element from the last to the first, then frees the storage.
    void empty() noexcept;
    // Removes every element from the last to the first; the storage stays.
    void clear() noexcept;
    // Removes the null elements, scanning from the end.
    void removeNULLObjects() noexcept;
    // First index >= start whose non-null element is exactly of class c, or -1.
    long findRuntimeClass(GSRuntimeClass const& c, long start) const noexcept;

    // The count, then each element as an object; the first failure stops and is returned.
    [[nodiscard]] short write(GSFile* file) const;
    // Empties the array, then reads a count and that many objects, each stored retained. 1 for a
    // count the file cannot hold, a failed allocation, or an element that is missing or null (the
    // elements read so far stay).
    [[nodiscard]] short read(GSFile* file);
    // Empties the target and fills it with copyObject() of every element (null stays null). 1 when
    // a copy fails; the target keeps the copies made so far.
    [[nodiscard]] short copyTo(ObjectArray* target) const;
};
