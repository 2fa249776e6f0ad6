// A file URL as the POSIX platform layer has it: a reference-counted object (GSPlatformObject.h)
// holding an absolute path and whether it names a directory. GSIdPointer holds these objects; on
// Apple systems it holds Foundation URLs instead and this header is not used.
//
// Paths are bytes as the file system takes them (UTF-8 on every system we run on).
#pragma once

#include "gs/platform/GSPlatformObject.h"

#include <string>

class GSPlatformURL final : public GSPlatformObject {
public:
    // A URL for `path`: a relative path is taken relative to the current folder, "." and ".."
    // components and doubled or trailing dividers are folded away. Null for an empty path, when
    // the current folder cannot be found, or when memory runs out.
    static GSPlatformURL* create(std::string const& path, bool isDirectory);
    // A URL for a path that is absolute and folded already (as create leaves it), taken as it is:
    // the quick way for the entries of a folder being enumerated. Null when memory runs out.
    static GSPlatformURL* createWithFoldedPath(std::string absolutePath, bool isDirectory);
    // The URL of `component` inside this URL's path (a component with dividers adds several).
    GSPlatformURL* createByAppendingPathComponent(std::string const& component, bool isDirectory) const;
    // The folder that holds this entry (a directory URL); the root's is the root.
    GSPlatformURL* createByDeletingLastPathComponent() const;

    // The absolute path, without a trailing divider except for the root "/".
    std::string const& getPath() const { return path; }
    // The last component of the path; "/" for the root.
    std::string getLastPathComponent() const;
    bool isDirectory() const { return directory; }
    // Same path and same directory flag.
    bool isEqual(GSPlatformObject const& other) const noexcept override;

private:
    GSPlatformURL(std::string absolutePath, bool isDirectory);
    ~GSPlatformURL() override;

    std::string path;
    bool directory;
};
