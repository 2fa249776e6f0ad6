// The array block of GSDynaArray<unsigned char>, <float> and <int> (layout in GSDynaArray.h).
#include "gs/file/GSFile.h"
#include "gs/file/GSTagRead.h"
#include "gs/file/GSTagWrite.h"
#include "gs/object/GSDynaArray.h"

namespace {

constexpr short kPlainVersion = 0x0100;
constexpr short kTableVersion = 0x0200;

short writeElements(GSFile* file, unsigned char const* elements, long n)
{
    return n > 0 ? file->write(elements, n) : 0;
}

short writeElements(GSFile* file, float const* elements, long n)
{
    for (long i = 0; i < n; ++i)
        if (short status = file->writeFloat(elements[i]))
            return status;
    return 0;
}

short writeElements(GSFile* file, int const* elements, long n)
{
    for (long i = 0; i < n; ++i)
        if (short status = file->writeLong(elements[i]))
            return status;
    return 0;
}

// The fewest bytes one element takes in a file: a count above remaining / this cannot be real.
template <class T>
constexpr long kMinimumElementBytes = sizeof(T) == 1 ? 1 : 4;

short readElement(GSFile* file, float* value)
{
    return file->readFloat(value);
}

short readElement(GSFile* file, int* value)
{
    return file->readLong(value);
}

template <class T>
short readElements(GSFile* file, GSDynaArray<T>* array, long count)
{
    long const previous = array->getCount();
    if constexpr (sizeof(T) == 1) {
        if (array->setCount(previous + count) != 0) {
            (void)array->setCount(previous);
            return 1;
        }
        if (short status = file->read(array->getWritablePointer() + previous, count)) {
            (void)array->setCount(previous);
            return status;
        }
        return 0;
    } else {
        if (array->makeRoom(previous + count) != 0)
            return 1;
        for (long i = 0; i < count; ++i) {
            T value;
            if (short status = readElement(file, &value))
                return status;
            if (array->add(value) != 0)
                return 1;
        }
        return 0;
    }
}

template <class T>
short writeBlock(GSDynaArray<T> const& array, GSFile* file, short withObjectTable, short longPositions)
{
    if (!file)
        return 1;
    GSTagWrite tags(file);
    if (short status = tags.writeVersion(withObjectTable ? kTableVersion : kPlainVersion))
        return status;
    short status = withObjectTable ? file->startObjectMergingWrite(longPositions) : 0;
    if (status == 0)
        status = file->writeArrayCount(array.getCount());
    if (status == 0)
        status = writeElements(file, array.getPointer(), array.getCount());
    if (withObjectTable && file->getObjectTable()) {
        short stopped = file->stopObjectMergingWrite();
        if (status == 0)
            status = stopped;
    }
    return status;
}

template <class T>
short readBlock(GSDynaArray<T>* array, GSFile* file)
{
    if (!file)
        return 1;
    GSTagRead tags(file);
    short version = 0;
    if (short status = tags.readVersion(kTableVersion, &version))
        return status;
    bool const withObjectTable = version >= kTableVersion;
    if (withObjectTable) {
        // A block of a file that is already being merged cannot start its own table: bad data.
        if (file->getObjectTable())
            return 1;
        if (short status = file->startObjectMergingRead())
            return status;
    }
    long count = 0;
    short status = file->readArrayCount(&count);
    if (status == 0 && count < 0)
        status = 1;
    if (status == 0) {
        long const left = file->getBytesLeft();
        if (left < 0 || count > left / kMinimumElementBytes<T>)
            status = 1;
    }
    if (status == 0 && count > 0)
        status = readElements(file, array, count);
    if (withObjectTable && file->getObjectTable()) {
        short stopped = file->stopObjectMergingRead();
        if (status == 0)
            status = stopped;
    }
    return status;
}

} // namespace

template <>
short GSDynaArray<unsigned char>::write(GSFile* file, short withObjectTable, short longPositions) const
{
    return writeBlock(*this, file, withObjectTable, longPositions);
}

template <>
short GSDynaArray<float>::write(GSFile* file, short withObjectTable, short longPositions) const
{
    return writeBlock(*this, file, withObjectTable, longPositions);
}

template <>
short GSDynaArray<int>::write(GSFile* file, short withObjectTable, short longPositions) const
{
    return writeBlock(*this, file, withObjectTable, longPositions);
}

template <>
short GSDynaArray<unsigned char>::read(GSFile* file)
{
    return readBlock(this, file);
}

template <>
short GSDynaArray<float>::read(GSFile* file)
{
    return readBlock(this, file);
}

template <>
short GSDynaArray<int>::read(GSFile* file)
{
    return readBlock(this, file);
}
