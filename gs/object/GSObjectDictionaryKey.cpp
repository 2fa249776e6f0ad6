// The dictionary's keys: the abstract base and the string and number keys. They are defined
// together so that a program that uses the dictionary links every key class a file may name.
#include "gs/object/GSObjectDictionaryKey.h"

#include "gs/object/GSLongDictionaryKey.h"
#include "gs/object/GSStringDictionaryKey.h"
#include "gs/object/GSValueObject.h"

#include <cstring>
#include <new>

GSRuntimeClass GSObjectDictionaryKey::gsClassGSObjectDictionaryKey(GSString("GSObjectDictionaryKey"),
                                                                   &GSObject::gsClassGSObject, nullptr);
GSRuntimeClass GSStringDictionaryKey::gsClassGSStringDictionaryKey(
    GSString("GSStringDictionaryKey"), &GSObjectDictionaryKey::gsClassGSObjectDictionaryKey,
    &GSStringDictionaryKey::_createFunction);
GSRuntimeClass GSLongDictionaryKey::gsClassGSLongDictionaryKey(GSString("GSLongDictionaryKey"),
                                                               &GSObjectDictionaryKey::gsClassGSObjectDictionaryKey,
                                                               &GSLongDictionaryKey::_createFunction);

GSRuntimeClass const& GSObjectDictionaryKey::getRuntimeClass() const { return gsClassGSObjectDictionaryKey; }

// --- GSStringDictionaryKey -----------------------------------------------------------------------

GSRuntimeClass const& GSStringDictionaryKey::getRuntimeClass() const { return gsClassGSStringDictionaryKey; }
GSObject* GSStringDictionaryKey::_createFunction() { return new (std::nothrow) GSStringDictionaryKey; }
short GSStringDictionaryKey::read(GSFile* file) { return GSReadValueBlock(file, &key); }
short GSStringDictionaryKey::write(GSFile* file) const { return GSWriteValueBlock(file, key); }

bool GSStringDictionaryKey::operator==(GSObjectDictionaryKey const& other) const
{
    return &other.getRuntimeClass() == &getRuntimeClass() &&
           isEqualText(key, static_cast<GSStringDictionaryKey const&>(other).key);
}

bool GSStringDictionaryKey::isEqualText(GSString const& a, GSString const& b)
{
    bool const utf8 = a.getEncoding() > 99 && b.getEncoding() > 99;
    if (!utf8 && a.getEncoding() != b.getEncoding())
        return a.compareValue(b) == 0;
    if (a == b)
        return true;
    if (!utf8)
        return false; // one code page: the bytes are the characters
    // UTF-8 texts are compared by character with decomposition, so different bytes may still be
    // equal texts; not when they first differ, behind ASCII alone, at ASCII bytes or an end.
    auto const* x = reinterpret_cast<unsigned char const*>(a.c_str());
    auto const* y = reinterpret_cast<unsigned char const*>(b.c_str());
    long const na = a.getLength();
    long const nb = b.getLength();
    long i = 0;
    while (i < na && i < nb && x[i] == y[i] && x[i] < 0x80)
        ++i;
    bool const asciiA = i == na || x[i] < 0x80;
    bool const asciiB = i == nb || y[i] < 0x80;
    if (asciiA && asciiB)
        return false;
    return a.compareValue(b) == 0;
}

// --- GSLongDictionaryKey -------------------------------------------------------------------------

GSRuntimeClass const& GSLongDictionaryKey::getRuntimeClass() const { return gsClassGSLongDictionaryKey; }
GSObject* GSLongDictionaryKey::_createFunction() { return new (std::nothrow) GSLongDictionaryKey; }
short GSLongDictionaryKey::read(GSFile* file) { return GSReadValueBlock(file, &key); }
short GSLongDictionaryKey::write(GSFile* file) const { return GSWriteValueBlock(file, key); }

bool GSLongDictionaryKey::operator==(GSObjectDictionaryKey const& other) const
{
    return &other.getRuntimeClass() == &getRuntimeClass() && key == static_cast<GSLongDictionaryKey const&>(other).key;
}
