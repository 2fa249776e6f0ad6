// GSValueObject<T>: the base of the dictionary's value objects (GSLongObject, GSStringObject, ...):
// a GSObject with one field, `value`, of type T. Each concrete class adds only its runtime class,
// registered under its own name with a create function that makes it with a zero or empty value.
//
// Values and dictionary keys share one content layout (a tagged block, framing as the file's):
//   version   256
//   record 1  the value in its type's form:
//               int, unsigned int    int32 (GSFile::writeLong)
//               void*                int64 (GSFile::writePointer)
//               float, double        GSFile::writeFloat / writeDouble (IEEE or mantissa form by the
//                                    file's flags 64 / 128)
//               GSString             GSString::write
//               GSFileSpec           its path as GSString::write writes it (empty: no file)
//               GSObjectDictionary   a nested dictionary block (GSObjectDictionary.h)
//               GSDynaArray<E>       an array block (GSDynaArray.h), written without an object table
//                                    of its own (version 256); one with a table (512) is read too
//   end tag
//
// Reading accepts versions up to 1.15, reads record 1, steps over records it does not know, and
// fails (1, or the failing reader's status) on a header that cannot be read or does not fit, and on
// a record 1 too short for its value. A block without record 1 reads as the zero value.
#pragma once

#include "gs/object/GSObject.h"

class GSFile;

// The value block of one field; keys use them for their own field.
template <class T>
[[nodiscard]] short GSWriteValueBlock(GSFile* file, T const& value);
// Arrays are emptied first (an array block appends); on failure the value is whatever was read.
template <class T>
[[nodiscard]] short GSReadValueBlock(GSFile* file, T* value);

template <class T>
class GSValueObject : public GSObject {
public:
    GSValueObject() = default;
    explicit GSValueObject(T const& v) : value(v) {}

    [[nodiscard]] short read(GSFile* file) override { return GSReadValueBlock(file, &value); }
    [[nodiscard]] short write(GSFile* file) const override { return GSWriteValueBlock(file, value); }

    T value{};
};
