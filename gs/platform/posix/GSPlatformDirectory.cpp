// Folder enumeration with opendir/readdir; the entry type comes from readdir where the file system
// gives it, else from fstatat.
#include "gs/platform/GSPlatformDirectory.h"

#include "gs/platform/GSPlatformURL.h"
#include "gs/platform/posix/GSPlatformItemPosix.h"

#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <new>
#include <string>
#include <sys/stat.h>
#include <utility>

struct GSPlatformDirectoryEnumerator::Stream {
    DIR* dir;
};

GSPlatformDirectoryEnumerator::GSPlatformDirectoryEnumerator(std::string folderPath, Stream* openStream)
    : path(std::move(folderPath)), stream(openStream)
{
}

GSPlatformDirectoryEnumerator::~GSPlatformDirectoryEnumerator()
{
    if (current)
        current->release();
    if (stream) {
        ::closedir(stream->dir);
        delete stream;
    }
}

GSPlatformDirectoryEnumerator* GSPlatformDirectoryEnumerator::create(std::string const& path)
{
    DIR* dir = ::opendir(path.c_str());
    if (!dir)
        return nullptr;
    Stream* stream = new (std::nothrow) Stream{dir};
    GSPlatformDirectoryEnumerator* enumerator = stream ? new (std::nothrow) GSPlatformDirectoryEnumerator(path, stream) : nullptr;
    if (!enumerator) {
        delete stream;
        ::closedir(dir);
    }
    return enumerator;
}

GSPlatformURL* GSPlatformDirectoryEnumerator::nextURL()
{
    if (current) {
        current->release();
        current = nullptr;
    }
    while (stream) {
        dirent* entry = ::readdir(stream->dir);
        if (!entry) {
            // The end, or a read error: either way there is nothing more to give.
            ::closedir(stream->dir);
            delete stream;
            stream = nullptr;
            break;
        }
        char const* name = entry->d_name;
        if (std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0)
            continue;
        bool isFolder = entry->d_type == DT_DIR;
        if (entry->d_type == DT_UNKNOWN) {
            struct stat st;
            isFolder = ::fstatat(::dirfd(stream->dir), name, &st, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(st.st_mode);
        }
        // A name from readdir holds no divider and is neither "." nor "..": the path stays folded.
        std::string entryPath = path;
        if (entryPath != "/")
            entryPath += '/';
        entryPath += name;
        current = GSPlatformURL::createWithFoldedPath(std::move(entryPath), isFolder);
        return current;
    }
    return nullptr;
}

short GSPlatformDirectoryEnumerator::readCurrentState(GSPlatformItemState* state) const
{
    if (!current || !stream)
        return 1;
    // The entry's name is the last component of its path (a name from readdir holds no divider).
    std::string const& entryPath = current->getPath();
    char const* name = entryPath.c_str() + entryPath.rfind('/') + 1;
    return gsposix::readItemStateAt(::dirfd(stream->dir), name, state, nullptr);
}
