#include "gs/object/ObjectArray.h"

#include "gs/file/GSFile.h"
#include "gs/object/GSObject.h"

ObjectArray::ObjectArray(long initialSize, long growthValue) noexcept : PointerArray(initialSize, growthValue) {}

ObjectArray::ObjectArray(ObjectArray const& other) noexcept : PointerArray(0, -100)
{
    *this = other;
}

ObjectArray& ObjectArray::operator=(ObjectArray const& other) noexcept
{
    if (this == &other)
        return *this;
    empty();
    // Appending grows the storage anyway when this fails.
    (void)setSize(other.getCount());
    // A copy that runs out of memory keeps the objects it could take.
    for (long i = 0, n = other.getCount(); i < n && add(other.getElementAt(i)) == 0; ++i) {
    }
    return *this;
}

ObjectArray::~ObjectArray()
{
    empty();
}

GSObject* ObjectArray::getElementAt(long index) const noexcept
{
    return static_cast<GSObject*>(PointerArray::getElementAt(index));
}

short ObjectArray::insertAt(long index, GSObject const* object) noexcept
{
    // An index past the count inserts nothing (status 0): only a stored object is retained.
    long before = getCount();
    short status = PointerArray::insertAt(index, object);
    if (status == 0 && getCount() > before && object)
        object->retain();
    return status;
}

short ObjectArray::removeAt(long index) noexcept
{
    if (GSObject* object = getElementAt(index))
        object->release();
    return PointerArray::removeAt(index);
}

long ObjectArray::remove(GSObject const* object) noexcept
{
    long index = PointerArray::find(object);
    if (index >= 0)
        removeAt(index);
    return index;
}

short ObjectArray::replaceAt(long index, GSObject* object) noexcept
{
    void* slot = getElementPointer(index);
    if (!slot)
        return 1;
    // Retain first: replacing an element by itself must not delete it on the way.
    if (object)
        object->retain();
    if (GSObject* old = getElementAt(index))
        old->release();
    *static_cast<GSObject**>(slot) = object;
    return 0;
}

void ObjectArray::empty() noexcept
{
    clear();
    GSArray::empty();
}

void ObjectArray::clear() noexcept
{
    for (long i = getCount() - 1; i >= 0; --i)
        removeAt(i);
}

void ObjectArray::removeNULLObjects() noexcept
{
    for (long i = getCount() - 1; i >= 0; --i)
        if (!getElementAt(i))
            PointerArray::removeAt(i);
}

long ObjectArray::findRuntimeClass(GSRuntimeClass const& c, long start) const noexcept
{
    for (long i = start < 0 ? 0 : start, n = getCount(); i < n; ++i) {
        GSObject* object = getElementAt(i);
        if (object && object->isKindOfRuntimeClass(c))
            return i;
    }
    return -1;
}

short ObjectArray::write(GSFile* file) const
{
    if (!file)
        return 1;
    if (short status = file->writeArrayCount(getCount()))
        return status;
    for (long i = 0, n = getCount(); i < n; ++i)
        if (short status = file->writeObject(getElementAt(i)))
            return status;
    return 0;
}

short ObjectArray::read(GSFile* file)
{
    empty();
    if (!file)
        return 1;
    long n = 0;
    if (short status = file->readArrayCount(&n))
        return status;
    if (n < 1)
        return n < 0 ? 1 : 0;
    // Every object takes at least its marker byte: a count that the rest of its record cannot hold
    // is refused before anything is allocated.
    long const left = file->getBytesLeft();
    if (left < 0 || n > left)
        return 1;
    if (setSize(n) != 0)
        return 1;
    for (long i = 0; i < n; ++i) {
        GSObject* object = nullptr;
        if (file->readObject(&object) != 0 || !object)
            return 1;
        if (insertAt(i, object) != 0) {
            // Not stored: an object read without a table belongs to nobody else.
            if (object->getRefCount() == 0 && !file->getObjectTable())
                delete object;
            return 1;
        }
    }
    return 0;
}

short ObjectArray::copyTo(ObjectArray* target) const
{
    if (!target || target == this)
        return 1;
    target->empty();
    (void)target->GSArray::init(sizeof(GSObject*), getCount(), getGrowth());
    for (long i = 0, n = getCount(); i < n; ++i) {
        GSObject* element = getElementAt(i);
        GSObject* copy = element ? element->copyObject() : nullptr;
        if (element && !copy)
            return 1;
        if (target->add(copy) != 0) {
            delete copy;
            return 1;
        }
    }
    return 0;
}
