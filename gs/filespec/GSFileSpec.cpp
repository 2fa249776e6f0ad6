// GSFileSpec: construction, names and paths with their caches, folder chains, comparison, the
// file form and the save options. The file-system work is in GSFileSpecFiles.cpp.
#include "gs/filespec/GSFileSpec.h"

#include "gs/file/GSFile.h"
#include "gs/file/GSFileKeys.h"
#include "gs/filespec/GSURL.h"
#include "gs/object/GSBufferObject.h"
#include "gs/object/GSObjectDictionary.h"

#include <new>

GSFileSpec const gs_invalid_filespec;

// --- Construction ------------------------------------------------------------------------------

GSFileSpec::GSFileSpec(GSString const& path)
{
    (void)localSetPathname(path);
}

GSFileSpec::GSFileSpec(void* nsurl)
{
    (void)setNSURL(nsurl);
}

GSFileSpec::GSFileSpec(GSFileSpec const& other)
    : url(other.url), filename(other.filename), directoryPath(other.directoryPath), pathname(other.pathname)
{
    if (other.options)
        (void)setDictionary(other.options); // without memory the copy has no options
}

GSFileSpec::GSFileSpec(GSFileSpec&& other) noexcept
    : options(other.options), url(std::move(other.url)), filename(std::move(other.filename)),
      directoryPath(std::move(other.directoryPath)), pathname(std::move(other.pathname))
{
    other.options = nullptr;
}

GSFileSpec& GSFileSpec::operator=(GSFileSpec const& other)
{
    if (this != &other)
        (void)other.copyData(this, 1);
    return *this;
}

GSFileSpec& GSFileSpec::operator=(GSFileSpec&& other) noexcept
{
    if (this != &other) {
        url = std::move(other.url);
        filename = std::move(other.filename);
        directoryPath = std::move(other.directoryPath);
        pathname = std::move(other.pathname);
        std::swap(options, other.options); // the source takes the old options to its end
    }
    return *this;
}

GSFileSpec::~GSFileSpec()
{
    if (options)
        options->release();
}

void GSFileSpec::initVars()
{
    filename.releaseData();
    directoryPath.releaseData();
    pathname.releaseData();
    url = nullptr;
}

short GSFileSpec::copyData(GSFileSpec* target, short withOptions) const
{
    if (!target)
        return 1;
    if (target == this)
        return 0;
    target->url = url;
    target->filename = filename;
    target->directoryPath = directoryPath;
    target->pathname = pathname;
    if (withOptions && options)
        return target->setDictionary(options);
    return 0;
}

short GSFileSpec::localSetPathname(GSString const& path)
{
    initVars();
    GSString withName = path;
    if (GSFile::hasTrailingPathDivider(path) && withName.add('a') != 0)
        return 1;
    void* made = GSURLCreateWithFilePath(withName, 0, 1);
    if (made) {
        adoptURL(made);
        return 0;
    }
    pathname = path;
    filename = GSFile::getFilename(path);
    return 1;
}

void GSFileSpec::adoptURL(void* newURL)
{
    initVars();
    url = newURL;
    filename = GSURLGetLastPathComponent(newURL);
}

short GSFileSpec::setNSURL(void* newURL)
{
    if (!newURL) {
        *this = gs_invalid_filespec;
        return 0;
    }
    GSIdPointer held;
    held.attach(newURL); // the caller keeps its own reference
    initVars();
    url = std::move(held);
    filename = GSURLGetLastPathComponent(url.get());
    return 0;
}

GSFileSpec GSFileSpec::fromCreatedURL(void* newURL)
{
    GSFileSpec spec;
    if (newURL)
        spec.adoptURL(newURL);
    return spec;
}

void* GSFileSpec::createNSURL()
{
    if (url.isNull() && !pathname.isEmpty()) {
        GSString const kept = pathname;
        (void)localSetPathname(kept);
    }
    url.retain();
    return url.get();
}

bool GSFileSpec::isValid() const
{
    return !getOrMakeURL().isNull();
}

short GSFileSpec::initWithTempPath()
{
    void* folder = GSURLCreateForTemporaryDirectory();
    if (!folder)
        return 1;
    adoptURL(folder);
    // The placeholder name of the folder URL is replaced until a name is free (a bound far beyond
    // any real folder ends the search in a folder where every name seems taken).
    GSFileState state;
    for (int attempt = 0; attempt < 10000; ++attempt) {
        if (setFilename(getTemporaryFilename()) != 0)
            return 1;
        if (fillState(&state) != 0)
            return 0;
    }
    return 1;
}

short GSFileSpec::initWithStandardPath(int kind, short fallbackToCurrent)
{
    int const domainBits = kind & 0xC00;
    if (void* folder = GSURLCreateForStandardDirectory(kind & ~0xC00, domainBits)) {
        adoptURL(folder);
        return 0;
    }
    if (fallbackToCurrent) {
        GSString const current = GSFile::getCurrentDirectory();
        GSFileSpec spec;
        if (!current.isEmpty() && spec.localSetPathname(current) == 0) {
            *this = std::move(spec);
            return 0;
        }
    }
    return 1;
}

// --- Names and paths ---------------------------------------------------------------------------

GSString GSFileSpec::getFilename(short withExtender) const
{
    return withExtender ? filename : GSFile::changeFileExtender(filename, GSString());
}

short GSFileSpec::setFilename(GSString const& name)
{
    if (url.isNull()) {
        initVars();
        filename = name;
        return 1;
    }
    GSIdPointer folder;
    folder = GSURLCreateByDeletingLastPathComponent(url.get());
    void* named = GSURLCreateByAppending(folder.get(), name);
    if (!named) {
        initVars();
        filename = name;
        return 1;
    }
    adoptURL(named);
    return 0;
}

GSString GSFileSpec::getPathname(short full) const
{
    if (full) {
        if (pathname.isEmpty() && !url.isNull())
            pathname = GSURLGetPathname(url.get());
        return pathname;
    }
    if (directoryPath.isEmpty())
        directoryPath = GSFile::addPathDividerIfNeeded(getParent().getPathname(1));
    return directoryPath;
}

GSFileSpec GSFileSpec::getParent() const
{
    // Null for the root and for no URL.
    return fromCreatedURL(GSURLCreateParentURL(url.get()));
}

short GSFileSpec::leaveDirectory()
{
    // No grandparent: the parent is missing or is the root.
    GSFileSpec const moved = getParent().getParent();
    if (moved.url.isNull())
        return 1;
    // The parent's parent is a folder; the file spec keeps its own name in it.
    GSFileSpec named = fromCreatedURL(GSURLCreateByAppending(moved.url.get(), filename));
    if (named.url.isNull())
        return 1;
    url = std::move(named.url);
    filename = std::move(named.filename);
    directoryPath.releaseData();
    pathname.releaseData();
    return 0;
}

GSString GSFileSpec::getExtender() const
{
    return getExtenderForFilename(getPathname(1));
}

short GSFileSpec::setExtender(GSString const& extender)
{
    GSString name = filename;
    if (setExtenderOfFilename(extender, &name) != 0)
        return 1;
    return setFilename(name);
}

int GSFileSpec::getStringIDForExtender() const
{
    GSString const extender = getExtender();
    return extender.isEmpty() ? 0 : GSString::getStringID(extender);
}

GSString GSFileSpec::getDisplayName(short withExtender) const
{
    if (!isMemoryFileSpec(2)) {
        GSString name = GSURLGetLocalizedName(url.get(), nullptr);
        if (!name.isEmpty())
            return withExtender ? name : GSFile::changeFileExtender(name, GSString());
    }
    return getFilename(withExtender);
}

short GSFileSpec::setFileTypeAndExtender(GSString const& list)
{
    GSString const extender = getExtenderFromString(list);
    if (hasExtender(extender))
        return 0;
    return setExtender(extender);
}

// --- Descending and folder chains ----------------------------------------------------------------

short GSFileSpec::addDirectory(GSString const& name, short create, short reserved)
{
    (void)reserved;
    GSFileSpec sibling(*this);
    short status = sibling.setFilename(name);
    if (status == 0) {
        GSFileState state;
        bool const exists = sibling.fillState(&state) == 0;
        if (exists && !state.isFolder())
            return 1; // a file of that name: the file spec stays as it was
        if (!exists && create)
            status = GSURLCreateDirectory(sibling.url.get(), nullptr);
        if (status == 0) {
            GSFileSpec inside = fromCreatedURL(GSURLCreateByAppending(sibling.url.get(), filename));
            if (!inside.url.isNull()) {
                url = std::move(inside.url);
                filename = std::move(inside.filename);
                directoryPath.releaseData();
                pathname.releaseData();
                return 0;
            }
            status = 1;
        }
    }
    initVars();
    return status;
}

short GSFileSpec::setSubDirectioriesAndFilename(GSString const& path, short create)
{
    char const* text = path.c_str();
    long const length = path.getLength();
    long start = 0;
    for (long slash = path.findChar('/'); slash >= 0; slash = path.findChar('/', start)) {
        GSString const folder = path.getSubstring(start, slash - start);
        start = slash + 1;
        if (folder.isEmpty() || folder == GSString("."))
            continue;
        if (folder == GSString("..")) {
            initVars();
            return 1;
        }
        if (short status = addDirectory(folder, create, 0))
            return status;
    }
    GSString const name(text + start, length - start, path.getEncoding());
    if (name.isEmpty() || name == GSString("..") || name == GSString(".")) {
        initVars();
        return 1;
    }
    return setFilename(name);
}

bool GSFileSpec::hasSameParent(GSFileSpec const& other) const
{
    GSFileSpec const a = getParent();
    GSFileSpec const b = other.getParent();
    return !a.url.isNull() && GSURLIsEqual(a.url.get(), b.url.get());
}

bool GSFileSpec::isDescendantOfDirectory(GSFileSpec const& folder, short includeDirect) const
{
    GSFileSpec current = includeDirect ? *this : getParent();
    while (!current.url.isNull()) {
        if (current.hasSameParent(folder))
            return true;
        current = current.getParent();
    }
    return false;
}

bool GSFileSpec::replaceAncestorDirectory(GSFileSpec const& oldAncestor, GSFileSpec const& newAncestor)
{
    // The names from the file spec up to the entry at oldAncestor's level.
    GSDynaArray<GSString> names;
    GSFileSpec current(*this);
    for (;;) {
        if (current.url.isNull())
            return false;
        if (names.add(current.filename) != 0)
            return false;
        if (current.hasSameParent(oldAncestor))
            break;
        current = current.getParent();
    }
    GSFileSpec result(newAncestor);
    for (long i = names.getCount() - 2; i >= 1; --i) {
        if (result.addDirectory(names[i], 0, 0) != 0)
            return false;
    }
    if (result.setFilename(names[0]) != 0)
        return false;
    url = std::move(result.url);
    filename = std::move(result.filename);
    directoryPath.releaseData();
    pathname.releaseData();
    return true;
}

// --- Comparison ------------------------------------------------------------------------------------

GSIdPointer GSFileSpec::getOrMakeURL() const
{
    GSIdPointer made;
    if (!url.isNull())
        made = url;
    else if (!pathname.isEmpty())
        made = GSURLCreateWithFilePath(pathname, 0, 1);
    return made;
}

bool GSFileSpec::operator==(GSFileSpec const& other) const
{
    if (!url.isNull() && !other.url.isNull())
        return GSURLIsEqual(url.get(), other.url.get());
    return GSURLIsEqual(getOrMakeURL().get(), other.getOrMakeURL().get());
}

int GSFileSpec::compareValue(GSFileSpec const& other) const
{
    return filename.compareValue(other.filename);
}

int GSFileSpec::compareValueCaseless(GSFileSpec const& other) const
{
    return getPathname(1).compareValueWithNumberCaseless(other.getPathname(1), 1);
}

// --- The file form ---------------------------------------------------------------------------------

short GSFileSpec::read(GSFile* file)
{
    GSString path;
    if (short status = path.read(file))
        return status;
    (void)localSetPathname(path);
    return 0;
}

short GSFileSpec::write(GSFile* file) const
{
    // A path whose bytes are not UTF-8 comes from the file system tagged "without tables"; a
    // code-page string would read back converted to the Mac code page and name another file, so
    // the bytes are written tagged UTF-8 and come back as they are.
    GSString path = getPathname(1);
    if (path.getEncoding() == GSString::kNoTables)
        path.setEncoding(GSString::kUTF8);
    return path.write(file);
}

// --- Save options ----------------------------------------------------------------------------------

GSObjectDictionary* GSFileSpec::getOrCreateDictionary()
{
    if (!options) {
        options = new (std::nothrow) GSObjectDictionary();
        if (options)
            options->retain();
    }
    return options;
}

short GSFileSpec::setDictionary(GSObjectDictionary const* dictionary)
{
    if (dictionary == options)
        return 0;
    if (!dictionary || dictionary->getCount() == 0) {
        if (options)
            options->release();
        options = nullptr;
        return 0;
    }
    auto* copy = new (std::nothrow) GSObjectDictionary();
    if (!copy)
        return 1;
    copy->retain();
    if (copy->add(*dictionary) != 0) {
        copy->release();
        return 1;
    }
    if (options)
        options->release();
    options = copy;
    return 0;
}

short GSFileSpec::removeDictionary(GSString const& key)
{
    if (options)
        (void)options->removeStringKey(key);
    return 0;
}

GSString GSFileSpec::getDictionaryString(GSString const& key, GSString const& defaultValue) const
{
    return options ? options->getStringValue(key, defaultValue) : defaultValue;
}

long GSFileSpec::getDictionaryLong(GSString const& key, long defaultValue) const
{
    return options ? options->getLongValue(key, static_cast<int>(defaultValue)) : defaultValue;
}

GSDynaArray<unsigned char> GSFileSpec::getDictionaryBuffer(GSString const& key,
                                                           GSDynaArray<unsigned char> const& defaultValue) const
{
    GSObject const* value = options ? options->getObjectValue(key, nullptr) : nullptr;
    if (!value || !value->isMemberOfRuntimeClass(GSBufferObject::gsClassGSBufferObject))
        return defaultValue;
    return static_cast<GSBufferObject const*>(value)->value;
}

short GSFileSpec::setDictionaryString(GSString const& key, GSString const& value)
{
    GSObjectDictionary* d = getOrCreateDictionary();
    return d ? d->addStringValue(key, value) : 1;
}

short GSFileSpec::setDictionaryLong(GSString const& key, long value)
{
    GSObjectDictionary* d = getOrCreateDictionary();
    return d ? d->addLongValue(key, static_cast<int>(value)) : 1;
}

short GSFileSpec::setDictionaryBuffer(GSString const& key, GSDynaArray<unsigned char> const& value)
{
    GSObjectDictionary* d = getOrCreateDictionary();
    return d ? d->addBufferValue(key, value) : 1;
}

bool GSFileSpec::isMemoryFileSpec(short mode) const
{
    if (!options)
        return false;
    bool const inMemory = getDictionaryBuffer(GSFileDataKey, GSDynaArray<unsigned char>()).getCount() > 0;
    if (mode == 1)
        return inMemory;
    // A save to memory: a file spec with a data identity asks for one unless the key says no, any
    // other spec only when the key says yes.
    bool const hasID = !getDictionaryString(GSFileDataIDKey, GSString()).isEmpty();
    bool const toMemory = getDictionaryLong(GSFileSaveToMemoryKey, hasID ? 1 : 0) != 0;
    return mode == 0 ? toMemory : inMemory || toMemory;
}

short GSFileSpec::setBaseFileSpec(GSFileSpec const& base)
{
    // Stored only for a base with a URL that is no memory spec; otherwise the key is removed.
    if (base.url.isNull() || base.isMemoryFileSpec(2))
        return removeDictionary(GSFileBaseFileSpecKey);
    GSObjectDictionary* d = getOrCreateDictionary();
    return d ? d->addFileSpecValue(GSFileBaseFileSpecKey, base) : 1;
}

GSFileSpec GSFileSpec::getBaseFileSpec() const
{
    if (options) {
        GSFileSpec base = options->getFileSpecValue(GSFileBaseFileSpecKey, gs_invalid_filespec);
        if (!base.url.isNull())
            return base;
    }
    return *this;
}
