// GSObjectDictionary: entries, lookup, removal, copying and the file block. The add... and get...
// calls are in GSObjectDictionaryValues.cpp.
#include "gs/object/GSObjectDictionary.h"

#include "gs/file/GSFile.h"
#include "gs/file/GSTagRead.h"
#include "gs/file/GSTagWrite.h"
#include "gs/object/GSStringDictionaryKey.h"

#include <new>

namespace {

constexpr short kVersion = 0x0100;
enum : int { kKeysTag = 1, kValuesTag = 2 };

} // namespace

// --- The key array -------------------------------------------------------------------------------

GSObjectDictionaryKey* _GSODKeyArray::getKeyAt(long index) const noexcept
{
    // Only keys get in: insertEntry takes keys, readKeys refuses anything else.
    return static_cast<GSObjectDictionaryKey*>(getElementAt(index));
}

GSObjectDictionaryKey* const* _GSODKeyArray::getKeys() const noexcept
{
    return static_cast<GSObjectDictionaryKey* const*>(getElementPointer(0));
}

short _GSODKeyArray::readKeys(GSFile* file)
{
    if (short status = read(file))
        return status;
    for (long i = 0, n = getCount(); i < n; ++i)
        if (!getElementAt(i)->isMemberOfRuntimeClass(GSObjectDictionaryKey::gsClassGSObjectDictionaryKey))
            return 1;
    return 0;
}

// --- Construction and copying --------------------------------------------------------------------

GSObjectDictionary::GSObjectDictionary() noexcept : values(16, 16) {}

GSObjectDictionary::GSObjectDictionary(GSObjectDictionary const& other) : GSObject(other), values(16, 16)
{
    copyEntries(other);
}

GSObjectDictionary& GSObjectDictionary::operator=(GSObjectDictionary const& other)
{
    if (this != &other)
        copyEntries(other);
    return *this;
}

GSObjectDictionary::~GSObjectDictionary() = default;

void GSObjectDictionary::copyEntries(GSObjectDictionary const& other)
{
    empty();
    caselessStringKeys = other.caselessStringKeys;
    // Pair by pair, so that a copy cut short by memory keeps keys and values in step.
    for (long i = 0, n = other.getCount(); i < n; ++i) {
        if (keys.add(other.keys.getElementAt(i)) != 0) {
            keys.removeAt(keys.getCount() - 1); // a failed insertion leaves an empty slot counted
            return;
        }
        if (values.add(other.values.getElementAt(i)) != 0) {
            values.removeAt(values.getCount() - 1);
            keys.removeAt(keys.getCount() - 1);
            return;
        }
    }
}

void GSObjectDictionary::empty()
{
    keys.empty();
    values.empty();
}

short GSObjectDictionary::add(GSObjectDictionary const& other)
{
    // Adding a dictionary to itself replaces every value by itself: nothing changes.
    for (long i = 0, n = other.getCount(); i < n; ++i)
        if (short status = insertEntry(other.keys.getKeyAt(i), other.values.getElementAt(i)))
            return status;
    return 0;
}

// --- Entries -------------------------------------------------------------------------------------

short GSObjectDictionary::insertEntry(GSObjectDictionaryKey* key, GSObject const* value)
{
    if (!key || !value)
        return 1;
    long const index = getIndexForKey(key);
    if (index >= 0)
        return values.replaceAt(index, const_cast<GSObject*>(value));
    if (keys.add(key) != 0) {
        keys.removeAt(keys.getCount() - 1); // a failed insertion leaves an empty slot counted
        return 1;
    }
    if (values.add(value) != 0) {
        values.removeAt(values.getCount() - 1);
        keys.removeAt(keys.getCount() - 1);
        return 1;
    }
    return 0;
}

short GSObjectDictionary::insertUnderText(GSString const& key, GSObject const* value)
{
    auto* k = new (std::nothrow) GSStringDictionaryKey(key);
    if (!k)
        return 1;
    // Held across the insertion, so that it is deleted here when it is not stored.
    k->retain();
    short const status = insertEntry(k, value);
    k->release();
    return status;
}

short GSObjectDictionary::addNew(GSString const& key, GSObject* value)
{
    if (!value)
        return 1;
    value->retain();
    short const status = insertUnderText(key, value);
    value->release();
    return status;
}

// --- Lookup --------------------------------------------------------------------------------------

long GSObjectDictionary::getIndexForKey(GSObjectDictionaryKey const* key) const
{
    if (!key)
        return -1;
    if (key->isKindOfRuntimeClass(GSStringDictionaryKey::gsClassGSStringDictionaryKey))
        return indexForText(static_cast<GSStringDictionaryKey const*>(key)->key);
    for (long i = keys.getCount() - 1; i >= 0; --i)
        if (*keys.getKeyAt(i) == *key)
            return i;
    return -1;
}

// A plain string key is equal only to a stored key of exactly its class with an equal text; in
// caseless mode any string key (derived classes too) with a caselessly equal text matches.
long GSObjectDictionary::indexForText(GSString const& key) const
{
    GSRuntimeClass const& stringKey = GSStringDictionaryKey::gsClassGSStringDictionaryKey;
    GSObjectDictionaryKey* const* k = keys.getKeys();
    for (long i = keys.getCount() - 1; i >= 0; --i) {
        if (!(caselessStringKeys ? k[i]->isMemberOfRuntimeClass(stringKey) : k[i]->isKindOfRuntimeClass(stringKey)))
            continue;
        GSString const& text = static_cast<GSStringDictionaryKey const*>(k[i])->key;
        if (caselessStringKeys ? text.compareValueCaseless(key) == 0 : GSStringDictionaryKey::isEqualText(text, key))
            return i;
    }
    return -1;
}

GSObject* GSObjectDictionary::getValue(GSObjectDictionaryKey const* key) const
{
    return values.getElementAt(getIndexForKey(key));
}

GSObject* GSObjectDictionary::valueForText(GSString const& key) const
{
    return values.getElementAt(indexForText(key));
}

short GSObjectDictionary::getKeyValue(long index, GSObjectDictionaryKey const** key, GSObject const** value) const
{
    bool const inside = index >= 0 && index < getCount();
    if (key)
        *key = inside ? keys.getKeyAt(index) : nullptr;
    if (value)
        *value = inside ? values.getElementAt(index) : nullptr;
    return inside ? 0 : 1;
}

GSString GSObjectDictionary::getStringKey(long index) const
{
    GSObjectDictionaryKey const* key = keys.getKeyAt(index);
    if (key && key->isMemberOfRuntimeClass(GSStringDictionaryKey::gsClassGSStringDictionaryKey))
        return static_cast<GSStringDictionaryKey const*>(key)->key;
    return GSString();
}

// --- Removal -------------------------------------------------------------------------------------

long GSObjectDictionary::removeKey(GSObjectDictionaryKey const& key)
{
    long const index = getIndexForKey(&key);
    if (index >= 0) {
        // The key given may be the stored one: it is not touched once removed.
        values.removeAt(index);
        keys.removeAt(index);
    }
    return index;
}

long GSObjectDictionary::removeStringKey(GSString const& key)
{
    long const index = indexForText(key);
    if (index >= 0) {
        values.removeAt(index);
        keys.removeAt(index);
    }
    return index;
}

// --- File block ----------------------------------------------------------------------------------

short GSObjectDictionary::write(GSFile* file) const
{
    if (!file)
        return 1;
    GSTagWrite tags(file);
    if (tags.writeVersion(kVersion) || tags.writeStart(kKeysTag) || keys.write(file) || tags.writeEnd() ||
        tags.writeStart(kValuesTag) || values.write(file) || tags.writeEnd() || tags.writeEndTag())
        return 1;
    return 0;
}

short GSObjectDictionary::read(GSFile* file)
{
    empty();
    if (!file)
        return 1;
    short status = 0;
    {
        GSTagRead tags(file);
        status = tags.readVersion(kVersion, nullptr);
        while (status == 0) {
            int const tag = tags.read();
            if (tag == GSTagRead::kEndTag)
                break;
            if (tag == GSTagRead::kReadFailure)
                status = 1;
            else if (tag == kKeysTag)
                status = keys.readKeys(file);
            else if (tag == kValuesTag)
                status = values.read(file);
            if (status == 0)
                status = tags.skip();
        }
    }
    if (status == 0 && keys.getCount() != values.getCount())
        status = 1;
    if (status != 0)
        empty();
    return status;
}
