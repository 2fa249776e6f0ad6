#include "gs/object/ObjectArray.h"

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
    for (long i = 0, n = other.getCount(); i < n; ++i)
        add(other.getElementAt(i));
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
