// GSFileSearch: the entries of a folder whose names match a wildcard pattern, one at a time,
// optionally with the entries of all sub-folders.
//
// The pattern is a GSFileSpec: its folder is searched, its filename is the pattern, in which "*"
// stands for any run of characters and "?" for one character, compared case-sensitively
// (GSString::compareValueWildcard); "*.*" means "*", so names without a dot match too.
//
// Order: a folder's entries in the order the system lists them. In a recursive search every
// sub-folder is reported (whether its name matches or not), and its entries follow at once, before
// the folder's next entry; a non-recursive search reports only matching entries. Calling
// skipCurrentDirectory right after a folder was reported leaves its entries out.
//
// Hostile trees: an entry's state is that of the entry itself (read from the listing without
// following links, as GSURLFillFileState reads it), so a symbolic link, also one to a folder, is
// an entry like a file: reported when its name matches, never entered. A link loop therefore
// cannot make a search endless, and a search never leaves the folder's own tree. A folder that
// cannot be read yields no entries and the walk goes on with the next entry. Entries whose state
// cannot be read count as files.
#pragma once

#include "gs/filespec/GSFileSpec.h"
#include "gs/filespec/GSFileState.h"
#include "gs/object/GSIdPointer.h"

#include <memory>

class GSFileSearch {
public:
    // Stores both; nothing is read until the first findNext.
    GSFileSearch(short recursive, GSFileSpec const& pattern);
    GSFileSearch(GSFileSearch const&) = delete;
    GSFileSearch& operator=(GSFileSearch const&) = delete;
    // closeSearch.
    ~GSFileSearch();

    // Starts (or restarts) the search for `pattern` and gives its first hit: findNext's status.
    [[nodiscard]] short findFirst(GSFileSpec const& pattern, GSFileSpec* result);
    // The next hit into *result: 0; 1 when there are no more (and again on every later call).
    [[nodiscard]] short findNext(GSFileSpec* result);
    // The entries of the folder reported last are not walked.
    void skipCurrentDirectory();
    // The state of the entry found last (that of the deepest active sub-search).
    GSFileState const& getState() const;
    void setState(GSFileState const& state);
    // Ends the search: the sub-searches and the folder listing go; the next findNext starts again.
    void closeSearch();

private:
    // Reports the entry `found` (its state read already) into *result; a folder of a recursive
    // search gets a sub-search. 0.
    short createFileSpecFromFindData(void* found, GSFileSpec* result);
    // The sub-search of the folder `folder` reported last.
    void startRecursiveSearch(GSFileSpec const& folder);
    // The last search of the chain (this one without sub-searches).
    GSFileSearch* deepest() const;

    std::unique_ptr<GSFileSearch> child;
    short started = 0;
    short recursive = 0;
    GSFileSpec pattern;
    GSFileState state;
    unsigned char skip = 0;
    GSIdPointer enumerator;
    GSIdPointer current;
    // The pattern's filename with its wildcards as the codes 1 (any run) and 2 (one character).
    GSString encodedName;
};
