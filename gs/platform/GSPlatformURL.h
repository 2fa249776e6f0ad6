// Reference-counted platform objects, as the POSIX platform layer has them: GSPlatformObject is
// the base (a retain count that starts at 1 for its creator), GSPlatformURL a file URL: an
// absolute path and whether it names a directory. GSIdPointer (gs/object/GSIdPointer.h) holds
// these objects and retains and releases them; on Apple systems it holds Foundation objects
// instead and this header is not used.
//
// Functions whose names contain create return a new reference (retain count 1) that the caller
// releases, or adopts into a GSIdPointer by assignment.
#pragma once

#include "gs/text/GSString.h"

#include <atomic>

class GSPlatformObject {
public:
    GSPlatformObject(GSPlatformObject const&) = delete;
    GSPlatformObject& operator=(GSPlatformObject const&) = delete;

    void retain() const noexcept { retainCount.fetch_add(1, std::memory_order_relaxed); }
    // Deletes the object when the count falls from 1 to 0.
    void release() const noexcept;
    int getRetainCount() const noexcept { return retainCount.load(std::memory_order_acquire); }
    // Identity unless a subclass knows better.
    virtual bool isEqual(GSPlatformObject const& other) const noexcept { return this == &other; }

protected:
    GSPlatformObject() noexcept = default;
    virtual ~GSPlatformObject();

private:
    mutable std::atomic<int> retainCount{1};
};

class GSPlatformURL final : public GSPlatformObject {
public:
    // A URL for `path`: a relative path is taken relative to the current folder, "." and ".."
    // components and doubled or trailing dividers are folded away. Null for an empty path, when
    // the current folder cannot be found, or when memory runs out.
    static GSPlatformURL* create(GSString const& path, bool isDirectory);
    // The URL of `component` inside this URL's path (a component with dividers adds several).
    GSPlatformURL* createByAppendingPathComponent(GSString const& component, bool isDirectory) const;
    // The folder that holds this entry (a directory URL); the root's is the root.
    GSPlatformURL* createByDeletingLastPathComponent() const;

    // The absolute path, without a trailing divider except for the root "/".
    GSString const& getPath() const { return path; }
    // The last component of the path; "/" for the root.
    GSString getLastPathComponent() const;
    bool isDirectory() const { return directory; }
    // Same path and same directory flag.
    bool isEqual(GSPlatformObject const& other) const noexcept override;

private:
    GSPlatformURL(GSString absolutePath, bool isDirectory);
    ~GSPlatformURL() override;

    GSString path;
    bool directory;
};
