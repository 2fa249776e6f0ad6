// An enumerator over the direct entries of one folder: a platform object, so that GSIdPointer can
// hold it like a URL. The entries come as URLs in the order the file system gives them, "." and
// ".." left out.
#pragma once

#include "gs/platform/GSPlatformItem.h"
#include "gs/platform/GSPlatformObject.h"

#include <string>

class GSPlatformURL;

class GSPlatformDirectoryEnumerator final : public GSPlatformObject {
public:
    // An enumerator over the folder at `path` (absolute and folded, as a URL holds it); null when it
    // cannot be opened (missing, not a folder, no permission to read it) or memory runs out.
    static GSPlatformDirectoryEnumerator* create(std::string const& path);

    // The next entry's URL, owned by the enumerator: valid until the next call or the enumerator's
    // release. A folder URL for a folder (a symbolic link is not followed). Null at the end and
    // from then on; a failed read also ends the enumeration.
    GSPlatformURL* nextURL();
    // The state of the entry nextURL gave last, as GSPlatformReadItemState gives it for that URL's
    // path, but read relative to the open folder (a search reads the state of every entry it
    // reports: the path walk would cost more than the read itself). 1 before the first entry,
    // after the end, or when the entry has gone.
    short readCurrentState(GSPlatformItemState* state) const;

private:
    struct Stream;
    explicit GSPlatformDirectoryEnumerator(std::string folderPath, Stream* openStream);
    ~GSPlatformDirectoryEnumerator() override;

    std::string path;
    Stream* stream;
    GSPlatformURL* current = nullptr;
};
