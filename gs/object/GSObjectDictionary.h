// GSObjectDictionary: the library's typed key/value store (save options, settings carried with files
// and file specifications, settings kept in documents).
//
// Entries are (key, value) pairs kept in two parallel arrays that retain what they hold, in the
// order in which their keys were first added. Keys are GSObjectDictionaryKey objects (every call
// that takes a key text builds a GSStringDictionaryKey); values are value objects, one class per
// type (GSLongObject, GSStringObject, ..., see GSValueObject.h). A value object is shared, never
// copied, by the dictionaries that hold it: copying or adding a dictionary shares its values.
//
// Rules:
//   - Adding under a key that is present replaces only the value: the entry keeps its place and
//     its first key object.
//   - Lookups scan from the last key to the first (a file may hold a key twice: the later one wins).
//     String keys match by GSString::compareValue (case-sensitive), or by compareValueCaseless once
//     setCaselessStringKeys(1) is called. The flag is not written to files; assignment copies it.
//   - Typed getters give the value only when it is exactly of their class, else the default.
//     Tolerant getters convert between the numeric classes (below).
//   - Nothing stores a null key or a null value (a null value could not be read back).
//   - Failures are statuses; an entry that cannot be stored for want of memory leaves the
//     dictionary as it was. The convenience constructors leave the dictionary empty then.
//
// On file (a tagged block in the file's framing, GSTagRead.h):
//   version   256
//   record 1  the keys: array count (GSFile::writeArrayCount), then each key as an object
//   record 2  the values, the same way, in the same order
//   end tag
// Keys and values are whole objects, so their class names stand in the file; under an object
// table an object held twice is written once. Reading replaces the content. It accepts versions
// up to 1.15 and steps over other records; it fails, leaving the dictionary empty, on a header that
// cannot be read or does not fit, on a key or value that is missing, null or of an unknown class,
// on a key that is not a key, and on key and value counts that differ. Every count is checked
// against what the enclosing record holds before anything is allocated, and dictionaries nested in
// dictionaries are bounded by GSFile::getMaxObjectDepth().
#pragma once

#include "gs/object/GSDynaArray.h"
#include "gs/object/ObjectArray.h"
#include "gs/text/GSString.h"

#include <cfloat>
#include <climits>

class GSFile;
class GSFileSpec;
class GSObjectDictionaryKey;

// The dictionary's key array (initial size 4, doubling): an ObjectArray that holds only keys.
class _GSODKeyArray : public ObjectArray {
public:
    _GSODKeyArray() noexcept : ObjectArray(4, -100) {}

    // Null for an index outside 0..count-1.
    GSObjectDictionaryKey* getKeyAt(long index) const noexcept;
    // The keys in order (null when there are none). Every counted slot holds a key: a slot that a
    // failed insertion counts is removed at once.
    GSObjectDictionaryKey* const* getKeys() const noexcept;
    // ObjectArray::read, then 1 when an element is not a key (of GSObjectDictionaryKey's class or
    // one derived from it).
    [[nodiscard]] short readKeys(GSFile* file);
};

class GSObjectDictionary : public GSObject {
public:
    // What the tolerant getters take for "no value of this kind".
    static constexpr int kMissingLong = INT_MIN;          // 0x80000000
    static constexpr double kMissingDouble = -DBL_MAX;    // the most negative double
    static constexpr float kMissingFloat = -FLT_MAX;      // the most negative float

    GSObjectDictionary() noexcept;
    // A dictionary with one entry under a string key.
    GSObjectDictionary(GSString const& key, int value);
    GSObjectDictionary(GSString const& key, float value);
    GSObjectDictionary(GSString const& key, double value);
    GSObjectDictionary(GSString const& key, GSString const& value);
    GSObjectDictionary(GSString const& key, GSFileSpec const& value);
    GSObjectDictionary(GSString const& key, GSObject const* value);
    // The same entries (sharing the key and value objects) and the same caseless flag. When memory
    // runs out the copy holds the first entries that could be stored.
    GSObjectDictionary(GSObjectDictionary const& other);
    GSObjectDictionary& operator=(GSObjectDictionary const& other);
    ~GSObjectDictionary() override;

    long getCount() const { return keys.getCount(); }
    short getCaselessStringKeys() const { return caselessStringKeys; }
    void setCaselessStringKeys(short caseless) { caselessStringKeys = caseless; }

    // --- Adding --------------------------------------------------------------------------------
    // Absent key: appends the key and the value, both retained. Present at index i: the value at i
    // is replaced (the old one released) and the stored key stays. 1, storing nothing, for a null
    // key or value or when memory runs out.
    [[nodiscard]] short insertEntry(GSObjectDictionaryKey* key, GSObject const* value);
    // Each builds a string key and a new value object holding a copy of the value (arrays share
    // their storage until one side changes it), then insertEntry.
    [[nodiscard]] short addLongValue(GSString const& key, int value);
    [[nodiscard]] short addULongValue(GSString const& key, unsigned int value);
    [[nodiscard]] short addPointerValue(GSString const& key, void* value);
    [[nodiscard]] short addFloatValue(GSString const& key, float value);
    [[nodiscard]] short addDoubleValue(GSString const& key, double value);
    [[nodiscard]] short addStringValue(GSString const& key, GSString const& value);
    [[nodiscard]] short addFileSpecValue(GSString const& key, GSFileSpec const& value);
    [[nodiscard]] short addDictionaryValue(GSString const& key, GSObjectDictionary const& value);
    [[nodiscard]] short addBufferValue(GSString const& key, GSDynaArray<unsigned char> const& value);
    [[nodiscard]] short addFloatArrayValue(GSString const& key, GSDynaArray<float> const& value);
    // `count` elements from `values` (none for a count below 1).
    [[nodiscard]] short addFloatArrayValue(GSString const& key, long count, float const* values);
    [[nodiscard]] short addLongArrayValue(GSString const& key, GSDynaArray<int> const& value);
    [[nodiscard]] short addLongArrayValue(GSString const& key, long count, int const* values);
    // Stores the object itself, retained.
    [[nodiscard]] short addObjectValue(GSString const& key, GSObject const* value);

    // --- Lookup --------------------------------------------------------------------------------
    // The index of the entry (rules above), or -1; -1 for a null key.
    long getIndexForKey(GSObjectDictionaryKey const* key) const;
    // The value object under the key (not retained for the caller), or null.
    GSObject* getValue(GSObjectDictionaryKey const* key) const;
    // The key and value at an index (either pointer may be null); 1, setting both to null, for an
    // index outside 0..count-1.
    [[nodiscard]] short getKeyValue(long index, GSObjectDictionaryKey const** key, GSObject const** value) const;
    // The text of the key at an index when it is a string key (or of a class derived from it),
    // else the empty string.
    GSString getStringKey(long index) const;

    // Typed getters: the value when it is exactly of the class named, else the default.
    int getLongValue(GSString const& key, int defaultValue) const;                        // GSLongObject
    unsigned int getULongValue(GSString const& key, unsigned int defaultValue) const;     // GSULongObject
    float getFloatValue(GSString const& key, float defaultValue) const;                   // GSFloatObject
    double getDoubleValue(GSString const& key, double defaultValue) const;                // GSDoubleObject
    GSString getStringValue(GSString const& key, GSString const& defaultValue) const;     // GSStringObject
    void* getPointerValue(GSString const& key, void* defaultValue) const;                 // GSPointerObject
    GSFileSpec getFileSpecValue(GSString const& key, GSFileSpec const& defaultValue) const; // GSFileSpecObject
    GSObjectDictionary getDictionaryValue(GSString const& key, GSObjectDictionary const& defaultValue) const;
    // The value object of any class (not retained for the caller), else the default.
    GSObject* getObjectValue(GSString const& key, GSObject* defaultValue) const;
    // The array (sharing its storage) of a GSBufferObject / GSFloatArrayObject / GSLongArrayObject,
    // else an empty array.
    GSDynaArray<unsigned char> getBufferValue(GSString const& key) const;
    GSDynaArray<float> getFloatArrayValue(GSString const& key) const;
    GSDynaArray<int> getLongArrayValue(GSString const& key) const;

    // Tolerant numeric getters. Conversions to an integer round with floor(d + 0.49) (2.5 gives 2,
    // 2.51 gives 3); a result outside the signed 32-bit range, and NaN, gives 0x80000000. Text is
    // never taken for a number: a GSStringObject holding "12" gives the default.
    //
    // A GSDoubleObject's value unless it is kMissingDouble; else a GSFloatObject's, widened, unless
    // it is kMissingFloat; else a GSLongObject's, then a GSULongObject's, unless it is 0x80000000;
    // else the default.
    double getDoubleValueTolerant(GSString const& key, double defaultValue) const;
    // A GSLongObject's value, then a GSULongObject's (its bits), unless it is 0x80000000; else the
    // rounded getDoubleValueTolerant, or the default when that finds nothing.
    int getLongValueTolerant(GSString const& key, int defaultValue) const;
    // A GSULongObject's value, then a GSLongObject's, unless it is 0x80000000; else the rounded
    // getDoubleValueTolerant. The default is never consulted: without a numeric value the result is
    // 0x80000000 (the rounding of kMissingDouble).
    unsigned int getULongValueTolerant(GSString const& key, unsigned int defaultValue) const;
    // A GSFloatObject's value unless it is kMissingFloat; else getDoubleValueTolerant narrowed to
    // float, or the default when that finds nothing.
    float getFloatValueTolerant(GSString const& key, float defaultValue) const;
    // v = getLongValueTolerant(key, 2): v != 0 unless v is 2. Then a GSStringObject reading "true"
    // or "false" (ASCII letters in any case) gives 1 or 0; anything else, a stored 2 included, the
    // default.
    short getBoolValueTolerant(GSString const& key, short defaultValue) const;
    // Arrays from related classes; anything else gives an empty array:
    //   bytes   GSBufferObject; GSStringObject holding hexadecimal digits (GSString::isBinaryData),
    //           decoded
    //   floats  GSFloatArrayObject; GSLongArrayObject, each element converted; a single number that
    //           getFloatValueTolerant finds, as one element
    //   ints    GSLongArrayObject; GSFloatArrayObject, each element rounded as above; a single
    //           number that getLongValueTolerant finds, as one element
    GSDynaArray<unsigned char> getBufferValueTolerant(GSString const& key) const;
    GSDynaArray<float> getFloatArrayValueTolerant(GSString const& key) const;
    GSDynaArray<int> getLongArrayValueTolerant(GSString const& key) const;
    // A GSFileSpecObject's spec; a GSStringObject's non-empty text as a path; else the default.
    GSFileSpec getFileSpecValueTolerant(GSString const& key, GSFileSpec const& defaultValue) const;

    // --- Removal and the whole dictionary --------------------------------------------------------
    // Remove the entry from both arrays: its former index, or -1 when there was none.
    long removeKey(GSObjectDictionaryKey const& key);
    long removeStringKey(GSString const& key);
    // Removes every entry.
    void empty();
    // insertEntry of every entry of `other`, in order; the first failure stops and is returned.
    [[nodiscard]] short add(GSObjectDictionary const& other);

    [[nodiscard]] short read(GSFile* file) override;
    [[nodiscard]] short write(GSFile* file) const override;

private:
    long indexForText(GSString const& key) const;
    GSObject* valueForText(GSString const& key) const;
    // insertEntry under a new string key.
    [[nodiscard]] short insertUnderText(GSString const& key, GSObject const* value);
    // insertUnderText of a new value object (null: out of memory), deleted when it is not stored.
    [[nodiscard]] short addNew(GSString const& key, GSObject* value);
    void copyEntries(GSObjectDictionary const& other);

    _GSODKeyArray keys;
    ObjectArray values;
    short caselessStringKeys = 0;
};
