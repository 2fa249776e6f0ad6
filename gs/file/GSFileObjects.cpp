// GSFile's object entry points: the raw object encoding (_readObject, _writeObject, skipping) and
// the object-merging calls that attach and detach a GSFileObjectTable. The encoding and the table
// format are described in gs/object/GSFileObjectTable.h.
#include "gs/file/GSFile.h"

#include "gs/file/GSTagRead.h"
#include "gs/object/GSExceptions.h"
#include "gs/object/GSFileObjectTable.h"
#include "gs/object/GSRuntimeClass.h"

#include <new>

namespace {

// Names of classes that older versions wrote and that no longer exist. Their objects are skipped
// like those of any unknown class; the list tells them apart from damaged names.
char const* const kRetiredClassNames[] = {"GifParameter"};

constexpr unsigned kLongPositionFlags = GSFile::kStandardFloats | GSFile::kStandardDoubles;

} // namespace

// Objects nested inside objects being read from one file. A file decides how deep objects nest,
// so the depth is bounded (each level is a few stack frames).
class GSObjectDepthGuard {
public:
    explicit GSObjectDepthGuard(GSFile* f) : file(f), entered(f->objectDepth < f->maxObjectDepth)
    {
        if (entered)
            ++file->objectDepth;
    }
    ~GSObjectDepthGuard()
    {
        if (entered)
            --file->objectDepth;
    }
    GSObjectDepthGuard(GSObjectDepthGuard const&) = delete;
    GSObjectDepthGuard& operator=(GSObjectDepthGuard const&) = delete;
    bool ok() const { return entered; }

private:
    GSFile* file;
    bool entered;
};


bool GSFile::isRetiredClassName(GSString const& name)
{
    for (char const* retired : kRetiredClassNames)
        if (name == GSString(retired))
            return true;
    return false;
}

short GSFile::getUse64Bit() const
{
    return objectTable && objectTable->getLongPositions() ? 1 : 0;
}

// --- Reading -------------------------------------------------------------------------------------

short GSFile::readObject(GSObject** object)
{
    if (objectTable)
        return objectTable->readObject(object, 0);
    return _readObject(object);
}

GSObject* GSFile::readObject()
{
    GSObject* object = nullptr;
    return readObject(&object) == 0 ? object : nullptr;
}

short GSFile::readObjectReference(GSObject** object)
{
    if (objectTable)
        return objectTable->readObject(object, 1);
    *object = nullptr;
    return 1;
}

GSObject* GSFile::readObjectReference()
{
    GSObject* object = nullptr;
    return readObjectReference(&object) == 0 ? object : nullptr;
}

short GSFile::_readObject(GSObject** object)
{
    *object = nullptr;
    if (!worker)
        return 1;
    if (getChar() != 0)
        return 1;
    GSObjectDepthGuard depth(this);
    if (!depth.ok())
        return 1;
    GSString name;
    if (short st = name.read(this))
        return st;
    if (name.isEmpty())
        return 1;
    GSObject* created = GSRuntimeClass::createObjectForName(name);
    if (!created) {
        // Unknown, abstract or retired class: the object is dropped and the stream goes on
        // behind it, whichever it was.
        (void)isRetiredClassName(name);
        if (skipObject() != 0 && seek(recordEnd >= 0 ? recordEnd : getLength(), 0) != 0)
            return 1;
        return 0;
    }
    long start = tell();
    short status = created->read(this);
    if (status != 0) {
        delete created;
        // Step over the object by its records' sizes. When its block cannot be delimited either,
        // nothing inside it may be read again (a parent going on from there would read this
        // object's children once more for every level above them): go to the end of the record
        // that holds it.
        if (start < 0 || seek(start, 0) != 0 || skipObject() != 0)
            (void)seek(recordEnd >= 0 ? recordEnd : getLength(), 0); // the read has failed either way
        return status;
    }
    *object = created->objectAfterRead();
    return 0;
}

short GSFile::skipObject()
{
    GSTagRead reader(this);
    short version;
    if (short st = reader.readVersion(3840, &version))
        return st;
    for (;;) {
        int tag = reader.read();
        if (tag == -1 || tag == -2)
            return 0;
        if (tag == GSTagRead::kReadFailure || reader.skip() != 0)
            return 1;
    }
}

short GSFile::_skipObject()
{
    int marker = getChar();
    if (marker == 2) {
        int index;
        return readLong(&index);
    }
    if (marker != 0)
        return 0;
    GSString name;
    if (short st = name.read(this))
        return st;
    return skipObject();
}

// --- Writing -------------------------------------------------------------------------------------

short GSFile::writeObject(GSObject const* object)
{
    if (objectTable)
        return objectTable->writeObject(object, 0);
    return _writeObject(object);
}

short GSFile::writeObjectReference(GSObject const* object)
{
    if (objectTable)
        return objectTable->writeObject(object, 1);
    return worker ? worker->putChar(1) : 1;
}

short GSFile::_writeObject(GSObject const* object)
{
    if (!object)
        return worker ? worker->putChar(1) : 1;
    if (writeChar(0) != 0)
        return 1;
    if (object->getRuntimeClass().getName().write(this) != 0)
        return 1;
    return object->write(this) == 0 ? 0 : 1;
}

// --- Object merging ------------------------------------------------------------------------------

short GSFile::startObjectMergingWrite(short longPositions)
{
    if (objectTable)
        throw bad_file();
    auto* table = new (std::nothrow) GSFileObjectTable(64, -100);
    if (!table)
        return 1;
    objectTable = table;
    short status = table->startWriteObjectTable(this, longPositions);
    if (longPositions)
        flags |= kLongPositionFlags;
    return status;
}

short GSFile::stopObjectMergingWrite()
{
    if (!objectTable)
        throw bad_file();
    short status = objectTable->endWriteObjectTable();
    delete objectTable;
    objectTable = nullptr;
    return status;
}

short GSFile::startObjectMergingRead()
{
    if (objectTable)
        throw bad_file();
    auto* table = new (std::nothrow) GSFileObjectTable(64, -100);
    if (!table)
        return 1;
    objectTable = table;
    short status = table->startReadObjectTable(this);
    if (status != 0) {
        (void)stopObjectMergingRead(); // the table's own status is the one to report
        return status;
    }
    if (table->getLongPositions())
        flags |= kLongPositionFlags;
    return 0;
}

short GSFile::stopObjectMergingRead()
{
    if (!objectTable)
        throw bad_file();
    short status = objectTable->endReadObjectTable();
    delete objectTable;
    objectTable = nullptr;
    return status;
}

short GSFileRead(GSFile* file, GSObject** value)
{
    return file->readObject(value);
}

short GSFileWrite(GSFile* file, GSObject const* value)
{
    return file->writeObject(value);
}
