// The dictionary's keys: the abstract base and the string and number keys. They are defined
// together so that a program that uses the dictionary links every key class a file may name.
#include "gs/object/GSObjectDictionaryKey.h"

#include "gs/object/GSLongDictionaryKey.h"
#include "gs/object/GSStringDictionaryKey.h"
#include "gs/object/GSValueObject.h"

#include <algorithm>
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
    int const ea = a.getEncoding();
    int const eb = b.getEncoding();
    if (ea != eb && (ea <= 99 || eb <= 99))
        return a.compareValue(b) == 0; // two tags: by character
    // One tag, or UTF-8 on both sides. Behind a run of equal ASCII bytes, two ends, an end and an
    // ASCII byte, or two different ASCII bytes decide it, since an ASCII character is never part
    // of another character's decomposition.
    auto const* x = reinterpret_cast<unsigned char const*>(a.c_str());
    auto const* y = reinterpret_cast<unsigned char const*>(b.c_str());
    long const na = a.getLength();
    long const nb = b.getLength();
    long const n = std::min(na, nb);
    long i = 0;
    while (i < n && x[i] == y[i] && x[i] < 0x80)
        ++i;
    if ((i == na || x[i] < 0x80) && (i == nb || y[i] < 0x80))
        return i == na && i == nb;
    // In a code page every byte is a character; UTF-8 texts of different bytes may still be equal.
    return a == b || (ea > 99 && a.compareValue(b) == 0);
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
