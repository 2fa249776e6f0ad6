#include "gs/object/GSFileObjectTable.h"

#include "gs/file/GSFile.h"

#include <algorithm>
#include <climits>

namespace {

// Below this many entries a linear search by position is as fast as keeping an index.
constexpr long kIndexThreshold = 32;

// Returns the file to a noted position when it leaves scope, also when an exception passes.
// Reading an object elsewhere in the file (through a reference): its records are bounded by the
// file, not by the record the reference stands in; afterwards the reading goes on where it was.
class PositionRestorer {
public:
    PositionRestorer(GSFile* f, long p, long fileEnd) : file(f), position(p), recordEnd(f->setRecordEnd(fileEnd)) {}
    ~PositionRestorer()
    {
        file->setRecordEnd(recordEnd);
        if (position >= 0)
            (void)file->seek(position, 0); // a destructor cannot report a failure
    }
    PositionRestorer(PositionRestorer const&) = delete;
    PositionRestorer& operator=(PositionRestorer const&) = delete;

private:
    GSFile* file;
    long position;
    long recordEnd;
};

} // namespace

GSFileObjectTable::GSFileObjectTable(long initialSize, long growthValue)
    : GSArray(sizeof(Entry), initialSize, growthValue), readObjects(0, -100), positionIndex(0, -100)
{
}

// The objects handed out are released with readObjects.
GSFileObjectTable::~GSFileObjectTable() = default;

void GSFileObjectTable::releaseReadObjects()
{
    readObjects.empty();
}

short GSFileObjectTable::appendEntry(GSObject* object, long position)
{
    Entry e;
    e.object = object;
    e.position = position;
    if (add(&e) != 0) {
        // A failed insertion leaves a counted slot without storage: take it back.
        removeAt(getCount() - 1);
        return 1;
    }
    return 0;
}

short GSFileObjectTable::handOut(GSObject* object)
{
    if (!object)
        return 0;
    if (readObjects.add(object) != 0) {
        readObjects.removeAt(readObjects.getCount() - 1);
        return 1;
    }
    return 0;
}

// --- Writing ---------------------------------------------------------------------------------------

short GSFileObjectTable::startWriteObjectTable(GSFile* f, short lp)
{
    file = f;
    state = kWriting;
    longPositions = lp ? 1 : 0;
    if (!file)
        return 1;
    if (short st = file->writeShort(longPositions ? 512 : 256))
        return st;
    tablePosition = file->tell();
    if (tablePosition < 0)
        return 1;
    return writeFilePosition(0, 0);
}

short GSFileObjectTable::writeFilePosition(long position, short compact)
{
    if (compact)
        return file->writeCompactLongLong(position);
    if (longPositions)
        return file->writeLongLong(position);
    if (position < INT_MIN || position > INT_MAX)
        return 1;
    return file->writeLong(static_cast<int>(position));
}

short GSFileObjectTable::endWriteObjectTable()
{
    state = kIdle;
    if (!file)
        return 1;
    long n = getCount();
    long end = file->tell();
    // writeObject keeps the count below INT_MAX, so it fits the 32-bit field.
    if (end < 0 || tablePosition < 0)
        return 1;
    long width = longPositions ? 8 : 4;
    if (short st = file->seek(tablePosition, 0))
        return st;
    if (short st = writeFilePosition(end - (tablePosition + width), 0))
        return st;
    if (short st = file->seek(end, 0))
        return st;
    if (short st = file->writeLong(static_cast<int>(n)))
        return st;
    for (long i = 0; i < n; ++i)
        if (short st = writeFilePosition(entryAt(i)->position, longPositions))
            return st;
    return 0;
}

long GSFileObjectTable::findObject(GSObject const* object) const
{
    // Every object written asks this, so the scan walks the stored entries directly: checking each
    // index against the storage costs a division, which made writing n objects cost 25 times more
    // than the n^2 / 2 comparisons themselves.
    Entry const* entries = entryAt(0);
    for (long i = getStoredCount() - 1; i >= 0; --i)
        if (entries[i].object == object)
            return i;
    return -1;
}

short GSFileObjectTable::writeObject(GSObject const* object, short asReference)
{
    if (!file)
        return 1;
    if (!object)
        return file->_writeObject(nullptr);
    long index = findObject(object);
    if (index >= 0) {
        if (entryAt(index)->position == -1 && !asReference) {
            // The first full write of an object that was only referred to so far.
            long here = file->tell();
            if (here < 0)
                return 1;
            entryAt(index)->position = here;
            return file->_writeObject(object->objectToWrite(file));
        }
    } else {
        long here = -1;
        if (!asReference && (here = file->tell()) < 0)
            return 1;
        if (getCount() >= INT_MAX)
            return 1;
        if (appendEntry(const_cast<GSObject*>(object), here) != 0)
            return 1;
        if (!asReference)
            return file->_writeObject(object->objectToWrite(file));
        index = getCount() - 1;
    }
    if (short st = file->writeChar(2))
        return st;
    return file->writeLong(static_cast<int>(index));
}

// --- Reading ---------------------------------------------------------------------------------------

short GSFileObjectTable::readFilePosition(long* position, short compact)
{
    if (compact)
        return file->readCompactLongLong(position);
    if (longPositions)
        return file->readLongLong(position);
    int p;
    if (short st = file->readLong(&p))
        return st;
    *position = p;
    return 0;
}

short GSFileObjectTable::startReadObjectTable(GSFile* f)
{
    file = f;
    state = kReading;
    if (!file)
        return 1;
    short version;
    if (short st = file->readShort(&version))
        return st;
    if (version < 256 || version > 4096)
        return 1;
    longPositions = version >= 512 ? 1 : 0;
    long offset;
    if (short st = readFilePosition(&offset, 0))
        return st;
    if (registerUnknownPositions && offset < 1)
        return 0;

    // Everything below comes from the file: check it against the file before seeking or reserving.
    long length = file->getLength();
    long objectsStart = file->tell();
    if (length < 0 || objectsStart < 0 || objectsStart > length)
        return 1;
    if (offset < 0 || offset > length - objectsStart)
        return 1;
    if (short st = file->seek(offset, 1))
        return st;
    int entryCount;
    if (short st = file->readLong(&entryCount))
        return st;
    long here = file->tell();
    if (here < 0 || here > length)
        return 1;
    // Each position takes at least 4 bytes, or 1 in the compact form. A negative count is no
    // table at all.
    long smallest = longPositions ? 1 : 4;
    if (entryCount < 0 || entryCount > (length - here) / smallest || entryCount > file->getMaxTableObjects())
        return 1;
    if (entryCount > 0) {
        if (entryCount > getCapacity() && setSize(entryCount) != 0)
            return 1;
        if (entryCount > readObjects.getCapacity() && readObjects.setSize(entryCount) != 0)
            return 1;
    }
    for (long i = 0; i < entryCount; ++i) {
        long position;
        if (short st = readFilePosition(&position, longPositions))
            return st;
        (void)appendEntry(nullptr, position); // cannot fail: the storage was reserved above
        if (position >= length || position < -1)
            return 1;
    }
    tablePosition = file->tell();
    if (tablePosition < 0)
        return 1;
    fileLength = length;
    if (short st = file->seek(objectsStart, 0))
        return st;
    return buildPositionIndex();
}

short GSFileObjectTable::buildPositionIndex()
{
    long n = getCount();
    positionIndex.empty();
    if (n < kIndexThreshold)
        return 0;
    // Without the index, lookups fall back to the linear search: not a failure.
    if (positionIndex.setCount(n) != 0) {
        positionIndex.empty();
        return 0;
    }
    long* index = positionIndex.getWritablePointer();
    for (long i = 0; i < n; ++i)
        index[i] = i;
    Entry const* e = entryAt(0);
    std::sort(index, index + n, [e](long a, long b) {
        return e[a].position != e[b].position ? e[a].position < e[b].position : a < b;
    });
    return 0;
}

long GSFileObjectTable::findObjectWithPosition(long position)
{
    long n = getCount();
    if (n >= kIndexThreshold && positionIndex.getCount() == n) {
        Entry const* e = entryAt(0);
        long const* index = positionIndex.getPointer();
        // The last entry (highest index) among those with this position.
        long const* past = std::upper_bound(index, index + n, position,
                                            [e](long p, long i) { return p < e[i].position; });
        if (past != index && e[*(past - 1)].position == position)
            return *(past - 1);
        return -1;
    }
    for (long i = n - 1; i >= 0; --i)
        if (entryAt(i)->position == position)
            return i;
    return -1;
}

short GSFileObjectTable::endReadObjectTable()
{
    short status = 0;
    if (file && tablePosition >= 0)
        status = file->seek(tablePosition, 0);
    releaseReadObjects();
    state = kIdle;
    return status;
}

// Reads the object of entry `index` at the file's position; the entry remembers the outcome, so
// that an object is read once however often it is referred to.
short GSFileObjectTable::readEntry(long index, GSObject** object)
{
    entryAt(index)->readState = 1;
    GSObject* read = nullptr;
    short st = file->_readObject(&read);
    // The entries may have moved while nested objects were read: index again.
    Entry& e = *entryAt(index);
    e.object = read;
    e.readState = 2;
    e.readStatus = st;
    *object = read;
    if (short h = handOut(read))
        return h;
    return st;
}

short GSFileObjectTable::readObject(GSObject** object, short)
{
    *object = nullptr;
    if (!file)
        return 1;
    char marker;
    if (short st = file->readChar(&marker))
        return st;
    switch (marker) {
    case 0: {
        long p = file->tell() - 1;
        if (p < 0)
            return 1;
        long index = findObjectWithPosition(p);
        if (index < 0 && registerUnknownPositions) {
            if (appendEntry(nullptr, p) != 0)
                return 1;
            index = getCount() - 1;
        }
        if (index < 0)
            return 1;
        if (short st = file->seek(-1, 1))
            return st;
        Entry const& e = *entryAt(index);
        if (e.readState == 1)
            return 1; // the object contains itself
        if (e.readState == 2) {
            *object = e.object;
            short readStatus = e.readStatus;
            if (short h = handOut(e.object))
                return h;
            short st = file->_skipObject();
            return readStatus ? readStatus : st;
        }
        return readEntry(index, object);
    }
    case 1:
        return 0;
    case 2: {
        int index;
        if (short st = file->readLong(&index))
            return st;
        if (index == -1)
            return 0;
        if (index < 0 || index >= getCount())
            return 1;
        Entry const& e = *entryAt(index);
        if (e.readState == 1)
            return 1; // a reference to an object from inside that object
        if (e.readState == 2) {
            *object = e.object;
            if (short h = handOut(e.object))
                return h;
            return e.readStatus;
        }
        if (e.position < 0)
            return 0;
        long here = file->tell();
        if (here < 0)
            return 1;
        PositionRestorer restore(file, here, fileLength);
        if (short st = file->seek(e.position, 0))
            return st;
        return readEntry(index, object);
    }
    default:
        return 1;
    }
}
