// GSFile: the file's settings dictionary and the base file spec kept in it.
#include "gs/file/GSFile.h"

#include "gs/file/GSFileKeys.h"
#include "gs/object/GSObjectDictionary.h"

#include <new>

namespace {

// Applies `change` to the file's dictionary, created when missing; 1 when memory runs out.
template <class Change>
short changeDictionary(GSFile* file, Change change)
{
    GSObjectDictionary* d = file->getOrCreateDictionary();
    return d ? change(d) : 1;
}

} // namespace

short GSFile::setDictionary(GSObjectDictionary const& source)
{
    if (&source == dictionary)
        return 0;
    if (source.getCount() == 0) {
        if (dictionary)
            dictionary->release();
        dictionary = nullptr;
        return 0;
    }
    auto* copy = new (std::nothrow) GSObjectDictionary();
    if (!copy)
        return 1;
    copy->retain();
    if (copy->add(source) != 0) {
        copy->release();
        return 1;
    }
    if (dictionary)
        dictionary->release();
    dictionary = copy;
    return 0;
}

GSObjectDictionary* GSFile::getOrCreateDictionary()
{
    if (!dictionary) {
        dictionary = new (std::nothrow) GSObjectDictionary();
        if (dictionary)
            dictionary->retain();
    }
    return dictionary;
}

int GSFile::getDictionaryLong(GSString const& key, int defaultValue) const
{
    return dictionary ? dictionary->getLongValue(key, defaultValue) : defaultValue;
}

GSString GSFile::getDictionaryString(GSString const& key, GSString const& defaultValue) const
{
    return dictionary ? dictionary->getStringValue(key, defaultValue) : defaultValue;
}

void* GSFile::getDictionaryPointer(GSString const& key, void* defaultValue) const
{
    return dictionary ? dictionary->getPointerValue(key, defaultValue) : defaultValue;
}

GSDynaArray<unsigned char> GSFile::getDictionaryBuffer(GSString const& key) const
{
    return dictionary ? dictionary->getBufferValue(key) : GSDynaArray<unsigned char>();
}

short GSFile::setDictionaryLong(GSString const& key, int value)
{
    return changeDictionary(this, [&](GSObjectDictionary* d) { return d->addLongValue(key, value); });
}

short GSFile::setDictionaryString(GSString const& key, GSString const& value)
{
    return changeDictionary(this, [&](GSObjectDictionary* d) { return d->addStringValue(key, value); });
}

short GSFile::setDictionaryPointer(GSString const& key, void* value)
{
    return changeDictionary(this, [&](GSObjectDictionary* d) { return d->addPointerValue(key, value); });
}

short GSFile::setDictionaryBuffer(GSString const& key, GSDynaArray<unsigned char> const& value)
{
    return changeDictionary(this, [&](GSObjectDictionary* d) { return d->addBufferValue(key, value); });
}

void GSFile::removeDictionary(GSString const& key)
{
    if (dictionary)
        (void)dictionary->removeStringKey(key);
}

short GSFile::setBaseFileSpec(GSFileSpec const& base)
{
    if (!base.isValid() || base.isMemoryFileSpec(2)) {
        removeDictionary(GSFileBaseFileSpecKey);
        return 0;
    }
    return changeDictionary(this,
                            [&](GSObjectDictionary* d) { return d->addFileSpecValue(GSFileBaseFileSpecKey, base); });
}

GSFileSpec GSFile::getBaseFileSpec() const
{
    if (dictionary) {
        GSFileSpec base = dictionary->getFileSpecValue(GSFileBaseFileSpecKey, gs_invalid_filespec);
        if (base.isValid())
            return base;
    }
    return getFileSpec();
}
