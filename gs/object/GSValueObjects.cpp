// The value block of GSValueObject.h for every value type, and the runtime classes of the eleven
// value classes. They are defined together, with the dictionary's getters referring to each, so
// that a program that uses the dictionary links every class a file may name.
#include "gs/object/GSValueObject.h"

#include "gs/file/GSFile.h"
#include "gs/file/GSTagRead.h"
#include "gs/file/GSTagWrite.h"
#include "gs/object/GSBufferObject.h"
#include "gs/object/GSDoubleObject.h"
#include "gs/object/GSFileSpecObject.h"
#include "gs/object/GSFloatArrayObject.h"
#include "gs/object/GSFloatObject.h"
#include "gs/object/GSLongArrayObject.h"
#include "gs/object/GSLongObject.h"
#include "gs/object/GSObjectDictionaryObject.h"
#include "gs/object/GSPointerObject.h"
#include "gs/object/GSStringObject.h"
#include "gs/object/GSULongObject.h"

#include <new>

namespace {

constexpr short kVersion = 0x0100;
constexpr int kValueTag = 1;

// --- The field of each type ----------------------------------------------------------------------

short writeField(GSFile* file, int value) { return file->writeLong(value); }
short writeField(GSFile* file, unsigned int value) { return file->writeLong(static_cast<int>(value)); }
short writeField(GSFile* file, void* value) { return file->writePointer(value); }
short writeField(GSFile* file, float value) { return file->writeFloat(value); }
short writeField(GSFile* file, double value) { return file->writeDouble(value); }
short writeField(GSFile* file, GSString const& value) { return value.write(file); }
short writeField(GSFile* file, GSObjectDictionary const& value) { return value.write(file); }

template <class E>
short writeField(GSFile* file, GSDynaArray<E> const& value)
{
    // No table of its own: the block may stand inside a file whose table is attached.
    return value.write(file);
}

short readField(GSFile* file, int* value) { return file->readLong(value); }
short readField(GSFile* file, void** value) { return file->readPointer(value); }
short readField(GSFile* file, float* value) { return file->readFloat(value); }
short readField(GSFile* file, double* value) { return file->readDouble(value); }
short readField(GSFile* file, GSString* value) { return value->read(file); }
short readField(GSFile* file, GSObjectDictionary* value) { return value->read(file); }

short readField(GSFile* file, unsigned int* value)
{
    int bits;
    if (short status = file->readLong(&bits))
        return status;
    *value = static_cast<unsigned int>(bits);
    return 0;
}

template <class E>
short readField(GSFile* file, GSDynaArray<E>* value)
{
    value->empty(); // an array block appends to what is there
    return value->read(file);
}

// A file specification travels as its full path (GSFileSpec's own file form); an empty path is no
// file.
short writeField(GSFile* file, GSFileSpec const& value) { return value.write(file); }

short readField(GSFile* file, GSFileSpec* value) { return value->read(file); }

} // namespace

// --- The block -----------------------------------------------------------------------------------

template <class T>
short GSWriteValueBlock(GSFile* file, T const& value)
{
    if (!file)
        return 1;
    GSTagWrite tags(file);
    if (tags.writeVersion(kVersion) || tags.writeStart(kValueTag) || writeField(file, value) || tags.writeEnd() ||
        tags.writeEndTag())
        return 1;
    return 0;
}

template <class T>
short GSReadValueBlock(GSFile* file, T* value)
{
    if (!file)
        return 1;
    GSTagRead tags(file);
    if (short status = tags.readVersion(kVersion, nullptr))
        return status;
    for (;;) {
        int const tag = tags.read();
        if (tag == GSTagRead::kEndTag)
            return 0;
        if (tag == GSTagRead::kReadFailure)
            return 1;
        if (tag == kValueTag) {
            if (short status = readField(file, value))
                return status;
            // The value must lie inside its record: a shorter record lent it bytes of what follows.
            if (file->tell() - tags.getDataStart() > tags.getSize())
                return 1;
        }
        if (short status = tags.skip())
            return status;
    }
}

#define GS_VALUE_BLOCK(T)                                     \
    template short GSWriteValueBlock<T>(GSFile*, T const&);  \
    template short GSReadValueBlock<T>(GSFile*, T*);

GS_VALUE_BLOCK(int)
GS_VALUE_BLOCK(unsigned int)
GS_VALUE_BLOCK(void*)
GS_VALUE_BLOCK(float)
GS_VALUE_BLOCK(double)
GS_VALUE_BLOCK(GSString)
GS_VALUE_BLOCK(GSFileSpec)
GS_VALUE_BLOCK(GSObjectDictionary)
GS_VALUE_BLOCK(GSDynaArray<unsigned char>)
GS_VALUE_BLOCK(GSDynaArray<float>)
GS_VALUE_BLOCK(GSDynaArray<int>)

// --- The classes ---------------------------------------------------------------------------------

#define GS_VALUE_CLASS(Name)                                                                            \
    GSRuntimeClass Name::gsClass##Name(GSString(#Name), &GSObject::gsClassGSObject, &Name::_createFunction); \
    GSRuntimeClass const& Name::getRuntimeClass() const { return gsClass##Name; }                        \
    GSObject* Name::_createFunction() { return new (std::nothrow) Name; }

GS_VALUE_CLASS(GSLongObject)
GS_VALUE_CLASS(GSULongObject)
GS_VALUE_CLASS(GSPointerObject)
GS_VALUE_CLASS(GSFloatObject)
GS_VALUE_CLASS(GSDoubleObject)
GS_VALUE_CLASS(GSStringObject)
GS_VALUE_CLASS(GSFileSpecObject)
GS_VALUE_CLASS(GSObjectDictionaryObject)
GS_VALUE_CLASS(GSBufferObject)
GS_VALUE_CLASS(GSFloatArrayObject)
GS_VALUE_CLASS(GSLongArrayObject)
