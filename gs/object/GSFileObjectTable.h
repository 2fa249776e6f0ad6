// GSFileObjectTable: the per-file table of objects, attached to a GSFile while objects are merged
// into it (writing) or out of it (reading). Every object written gets an index; its data is written
// once, at its first full write, and every later write of it, and every reference to it, is the
// index. At the end the table of file positions of all objects is written.
//
// Object encoding (one marker byte first):
//   0  class name (GSString), then the object's content (its own tagged block)   a full object
//   1  nothing                                                                    null
//   2  int32 index into the table (-1: null)                                      a reference
//
// An object-merging block on disk:
//   version       int16: 256 (32-bit positions) or 512 and later (64-bit positions)
//   table offset  int32, or int64 with 64-bit positions: bytes from the end of this field to the
//                 entry count
//   objects       what was written while the table was attached
//   entry count   int32 n
//   positions     n times int32, or compact signed with 64-bit positions: the absolute position of
//                 each object's marker byte, -1 for an object that was never written in full
//
// Reading is bounded: the entry count and every position are checked against the file length
// before anything is reserved or sought, the count is bounded by GSFile::getMaxTableObjects(),
// objects nest at most GSFile::getMaxObjectDepth() deep, and an object that refers to itself while
// it is being read fails instead of recursing.
#pragma once

#include "gs/object/GSArray.h"
#include "gs/object/GSDynaArray.h"
#include "gs/object/GSObject.h"
#include "gs/object/ObjectArray.h"

class GSFile;

// The entries are the array's elements, one Entry each.
class GSFileObjectTable : public GSArray {
public:
    struct Entry {
        GSObject* object = nullptr;   // null until known
        long position = -1;           // marker position, -1 when never written in full
        short readState = 0;          // reading: 0 not read yet, 1 being read, 2 read
        short readStatus = 0;         // reading: the status of the object's read
    };
    enum : short { kIdle = 0, kReading = 1, kWriting = 2 };

    GSFileObjectTable(long initialSize, long growthValue);
    // Releases the objects handed out while reading; never throws.
    ~GSFileObjectTable() override;
    GSFileObjectTable(GSFileObjectTable const&) = delete;
    GSFileObjectTable& operator=(GSFileObjectTable const&) = delete;

    // Writing ---------------------------------------------------------------------------------
    // Writes the version and a placeholder table offset at the file's position.
    [[nodiscard]] short startWriteObjectTable(GSFile* file, short longPositions);
    // A position: compact signed when `compact` is set, else int64 with long positions, else int32
    // (1 when it does not fit in 32 bits).
    [[nodiscard]] short writeFilePosition(long position, short compact);
    // Fills in the table offset and writes the entry count and positions behind the objects.
    [[nodiscard]] short endWriteObjectTable();
    // A null object writes marker 1. An object seen before writes marker 2 and its index, unless
    // it was only referred to so far and this is a full write. A reference to a new object gets
    // an entry with position -1 and writes its index.
    [[nodiscard]] short writeObject(GSObject const* object, short asReference);
    // The index of the object (pointer identity, searching from the last entry), or -1.
    long findObject(GSObject const* object) const;

    // Reading ---------------------------------------------------------------------------------
    // Reads the header and the directory, then returns to where the objects begin. 1 for a
    // version outside 256..4096, a directory that lies outside the file, a count that the file
    // cannot hold, or a position outside -1..length-1.
    [[nodiscard]] short startReadObjectTable(GSFile* file);
    [[nodiscard]] short readFilePosition(long* position, short compact);
    // Seeks behind the directory and releases every object handed out; state idle.
    [[nodiscard]] short endReadObjectTable();
    // One encoded object (marker 0, 1 or 2) at the file's position. Objects handed out are
    // retained by the table until it ends; a caller that keeps one retains it. `asReference` is
    // not used on reading.
    [[nodiscard]] short readObject(GSObject** object, short asReference);
    // The last entry with this position, or -1.
    long findObjectWithPosition(long position);

    [[nodiscard]] short getLongPositions() const { return longPositions; }
    [[nodiscard]] short getState() const { return state; }
    // The entry at an index in 0..getCount()-1.
    Entry const& getEntry(long index) const { return *entryAt(index); }
    long getTablePosition() const { return tablePosition; }
    long getReadObjectCount() const { return readObjects.getCount(); }
    GSFile* getFile() const { return file; }

    // When set, a full object at a position the table does not list is registered on the spot.
    bool registerUnknownPositions = false;

private:
    Entry* entryAt(long index) const { return static_cast<Entry*>(getElementPointer(index)); }
    [[nodiscard]] short appendEntry(GSObject* object, long position);
    [[nodiscard]] short handOut(GSObject* object);
    [[nodiscard]] short readEntry(long index, GSObject** object);
    [[nodiscard]] short buildPositionIndex();
    void releaseReadObjects();

    ObjectArray readObjects;
    // Entry indices sorted by (position, index), for finding objects by position in large tables.
    GSDynaArray<long> positionIndex;
    GSFile* file = nullptr;
    long tablePosition = -1;
    // The file's length when the table was read: objects reached through references lie inside it.
    long fileLength = -1;
    short longPositions = 0;
    short state = kIdle;
};
