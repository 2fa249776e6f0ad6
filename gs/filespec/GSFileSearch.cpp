// GSFileSearch: a folder listing filtered by a wildcard pattern, walked depth first through a
// chain of sub-searches, one per folder level.
#include "gs/filespec/GSFileSearch.h"

#include "gs/filespec/GSURL.h"
#include "gs/filespec/GSURLSupport.h"

#include <new>

namespace {

// The wildcard codes of GSString::compareValueWildcard as file search uses them.
constexpr char kAnyRun = 1;
constexpr char kAnyChar = 2;

// True for a folder URL. The enumerator gives every folder as a folder URL (its type from the
// listing, links not followed), so that a non-matching entry of a recursive search that is no
// folder can be passed over without reading its state: the state would only say "not a folder".
// GSURL.h has no query for the flag, hence the look at the POSIX URL object itself.
bool isFolderURL(void const* url)
{
    GSPlatformURL const* u = GSURLCast(url);
    return u && u->isDirectory();
}

} // namespace

GSFileSearch::GSFileSearch(short recursiveSearch, GSFileSpec const& searchPattern)
    : recursive(recursiveSearch), pattern(searchPattern)
{
}

GSFileSearch::~GSFileSearch()
{
    closeSearch();
}

void GSFileSearch::closeSearch()
{
    child.reset();
    enumerator = nullptr;
    current = nullptr;
    skip = 0;
    started = 0;
}

short GSFileSearch::findFirst(GSFileSpec const& searchPattern, GSFileSpec* result)
{
    closeSearch();
    state.valid = 0;
    if (&searchPattern != &pattern)
        pattern = searchPattern;

    encodedName = pattern.getFilename();
    if (encodedName == GSString("*.*"))
        encodedName = GSString("*");
    if (encodedName.replaceChar('*', kAnyRun) != 0 || encodedName.replaceChar('?', kAnyChar) != 0)
        encodedName.releaseData(); // a name that cannot be encoded matches only empty names
    (void)pattern.setFilename(encodedName);

    GSFileSpec folder = pattern.getParent();
    GSIdPointer folderURL;
    folderURL = folder.createNSURL();
    if (!folderURL.isNull())
        enumerator = GSURLCreateDirectoryEnumerator(folderURL.get());
    started = 1;
    return findNext(result);
}

short GSFileSearch::findNext(GSFileSpec* result)
{
    state.valid = 0;
    if (!started)
        return findFirst(pattern, result);

    if (child) {
        if (skip && !child->child) {
            skip = 0;
        } else {
            short const status = child->findNext(result);
            skip = 0;
            if (status != 1)
                return status;
        }
        child.reset();
    }

    if (enumerator.isNull())
        return 1;
    while (void* found = GSDirectoryEnumeratorGetNextURL(enumerator.get())) {
        current.attach(found);
        // The entry was just listed: its name is the URL's last component. (GSURLGetName would
        // read the item's state once more only to confirm that it exists.)
        GSString const name = GSURLGetLastPathComponent(found);
        bool const matches = GSString::compareValueWildcard(name, encodedName, kAnyChar, kAnyRun, 0) == 0;
        if (!matches && (!recursive || !isFolderURL(found)))
            continue;
        // An entry whose state cannot be read counts as a file. The state is read relative to the
        // listed folder: the same as GSURLFillFileState(found) without the walk along the path.
        state.flags = 0;
        (void)GSDirectoryEnumeratorFillFileState(enumerator.get(), &state);
        if (matches || state.isFolder())
            return createFileSpecFromFindData(found, result);
    }
    return 1;
}

short GSFileSearch::createFileSpecFromFindData(void* found, GSFileSpec* result)
{
    short const status = result->setNSURL(found);
    if (recursive && state.isFolder())
        startRecursiveSearch(*result);
    return status;
}

void GSFileSearch::startRecursiveSearch(GSFileSpec const& folder)
{
    // A file spec inside the folder: its own name appended, as descending keeps the filename.
    GSFileSpec inside(folder);
    if (inside.addDirectory(folder.getFilename(), 0, 0) != 0)
        return;
    if (inside.setFilename(encodedName) != 0)
        return;
    std::unique_ptr<GSFileSearch> sub(new (std::nothrow) GSFileSearch(recursive, inside));
    if (!sub)
        return; // without memory the folder is reported but not walked
    sub->state = state;
    child = std::move(sub);
}

GSFileSearch* GSFileSearch::deepest() const
{
    GSFileSearch const* search = this;
    while (search->child)
        search = search->child.get();
    return const_cast<GSFileSearch*>(search);
}

void GSFileSearch::skipCurrentDirectory()
{
    if (!child)
        return;
    GSFileSearch* parent = this;
    while (parent->child->child)
        parent = parent->child.get();
    parent->skip = 1;
}

GSFileState const& GSFileSearch::getState() const
{
    return deepest()->state;
}

void GSFileSearch::setState(GSFileState const& newState)
{
    deepest()->state = newState;
}
