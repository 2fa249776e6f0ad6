// GSFileSpec: a copyable value naming one file entry. Two specs are equal when they name the same
// absolute path.
//
// This is the core of the type (a path and its parts); folders, states, temporary names and
// messages build on it.
#pragma once

#include "gs/text/GSString.h"

class GSFileSpec {
public:
    GSFileSpec() = default;
    // A relative path is taken relative to the current folder.
    explicit GSFileSpec(GSString const& path);

    bool isValid() const { return !path.isEmpty(); }
    GSString const& getPath() const { return path; }
    // The last component of the path.
    GSString getFilename() const;
    // The extension without its dot, or empty.
    GSString getExtension() const;
    // The folder part of the path, without a trailing slash (except for the root).
    GSString getFolderPath() const;
    bool isMemoryFileSpec() const { return false; }

    bool operator==(GSFileSpec const& other) const { return path == other.path; }
    bool operator!=(GSFileSpec const& other) const { return !(*this == other); }

private:
    GSString path;
};
