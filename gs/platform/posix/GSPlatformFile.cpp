#include "gs/platform/GSPlatformFile.h"
#include "gs/platform/posix/GSPlatformFilePosix.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#ifdef __linux__
#include <linux/fs.h>
#include <sys/ioctl.h>
#endif

namespace {

// strerror_r comes in a GNU form (returns the text) and an XSI form (fills the buffer).
[[maybe_unused]] char const* pickText(int result, char const* buffer) { return result == 0 ? buffer : "Unknown error"; }
[[maybe_unused]] char const* pickText(char const* result, char const*) { return result; }

short fail(int err, std::string* error)
{
    if (error) {
        char buffer[256] = {};
        *error = pickText(strerror_r(err, buffer, sizeof buffer), buffer);
    }
    return 1;
}

short succeed(std::string* error)
{
    if (error)
        error->clear();
    return 0;
}

std::string folderOf(char const* path)
{
    char const* slash = std::strrchr(path, '/');
    if (!slash)
        return ".";
    if (slash == path)
        return "/";
    return std::string(path, static_cast<size_t>(slash - path));
}

char const* nameOf(char const* path)
{
    char const* slash = std::strrchr(path, '/');
    return slash ? slash + 1 : path;
}

// fsync through a descriptor of our own: any descriptor of a file flushes its data. Volumes that
// cannot sync (EINVAL) or are read-only are taken as they are.
int syncPath(char const* path, int extraFlags)
{
    int fd = ::open(path, O_RDONLY | O_CLOEXEC | extraFlags);
    if (fd < 0)
        return errno;
    int result = ::fsync(fd) == 0 || errno == EINVAL || errno == EROFS ? 0 : errno;
    ::close(fd);
    return result;
}

bool hasLockAttribute([[maybe_unused]] char const* path, [[maybe_unused]] struct stat const& st)
{
#ifdef __linux__
    if (!S_ISREG(st.st_mode) && !S_ISDIR(st.st_mode))
        return false;
    int fd = ::open(path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0)
        return false;
    int flags = 0;
    bool locked = ::ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0 && (flags & (FS_IMMUTABLE_FL | FS_APPEND_FL)) != 0;
    ::close(fd);
    return locked;
#elif defined(UF_IMMUTABLE)
    return (st.st_flags & (UF_IMMUTABLE | UF_APPEND | SF_IMMUTABLE | SF_APPEND)) != 0;
#else
    return false;
#endif
}

bool exists(char const* path)
{
    struct stat st;
    return ::lstat(path, &st) == 0;
}

} // namespace

namespace gsposix {

int exchangeFiles(char const* replacement, char const* target, InstallWay way)
{
    switch (way) {
    case InstallWay::Exchange:
#if defined(__linux__) && defined(RENAME_EXCHANGE)
        return ::renameat2(AT_FDCWD, replacement, AT_FDCWD, target, RENAME_EXCHANGE) == 0 ? 0 : errno;
#else
        return ENOSYS;
#endif
    case InstallWay::Link:
    case InstallWay::RenameAside: {
        // A free name beside the replacement holds the old content while the target is replaced.
        std::string aside;
        for (int i = 0;; ++i) {
            if (i == 1000)
                return EEXIST;
            aside = std::string(replacement) + ".old" + std::to_string(i);
            int result = 0;
            if (way == InstallWay::Link)
                result = ::link(target, aside.c_str());
            else if (exists(aside.c_str()))
                continue;
            else
                result = ::rename(target, aside.c_str());
            if (result == 0)
                break;
            if (errno != EEXIST)
                return errno;
        }
        if (::rename(replacement, target) != 0) {
            int err = errno;
            if (way == InstallWay::Link)
                ::unlink(aside.c_str());
            else
                ::rename(aside.c_str(), target);
            return err;
        }
        // The target is complete now. Should this last rename fail, the old content stays under the
        // aside name: the exchange of the target has happened all the same.
        ::rename(aside.c_str(), replacement);
        return 0;
    }
    }
    return EINVAL;
}

} // namespace gsposix

short GSPlatformGetFileInfo(char const* path, GSPlatformFileInfo* info)
{
    *info = GSPlatformFileInfo();
    struct stat st;
    if (!path || !path[0] || ::stat(path, &st) != 0)
        return 1;
    info->isDirectory = S_ISDIR(st.st_mode);
    info->isHidden = nameOf(path)[0] == '.';
    info->isLocked = (!info->isDirectory && (st.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0)
        || hasLockAttribute(path, st);
    info->size = S_ISREG(st.st_mode) ? static_cast<long>(st.st_size) : 0;
    return 0;
}

short GSPlatformCreateFileExclusively(char const* path, bool* existed, std::string* error)
{
    if (existed)
        *existed = false;
    int fd = ::open(path, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0) {
        if (existed)
            *existed = errno == EEXIST;
        return fail(errno, error);
    }
    ::close(fd);
    return succeed(error);
}

short GSPlatformRemoveFile(char const* path, std::string* error)
{
    if (::unlink(path) == 0)
        return succeed(error);
    int err = errno;
    if (err == EISDIR || err == EPERM) {
        // Linux reports EISDIR for a folder, POSIX allows EPERM; a folder goes only when empty.
        struct stat st;
        if (::lstat(path, &st) == 0 && S_ISDIR(st.st_mode))
            return ::rmdir(path) == 0 ? succeed(error) : fail(errno, error);
    }
    return fail(err, error);
}

short GSPlatformMoveFile(char const* from, char const* to, std::string* error)
{
#if defined(__linux__) && defined(RENAME_NOREPLACE)
    if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0)
        return succeed(error);
    if (errno != EINVAL && errno != ENOSYS)
        return fail(errno, error);
#endif
    // Volumes without the no-replace flag: a check first, which leaves a short race.
    if (exists(to))
        return fail(EEXIST, error);
    return ::rename(from, to) == 0 ? succeed(error) : fail(errno, error);
}

short GSPlatformInstallFile(char const* replacement, char const* target, short keepOld, std::string* error)
{
    char const* from = replacement;
    char const* to = target;
    if (int err = syncPath(from, 0))
        return fail(err, error);

    int err = 0;
    if (!keepOld || !exists(to)) {
        err = ::rename(from, to) == 0 ? 0 : errno;
    } else {
        err = gsposix::exchangeFiles(from, to, gsposix::InstallWay::Exchange);
        // Not supported by this kernel or volume: hard links, then renaming aside.
        if (err == EINVAL || err == ENOSYS || err == ENOTSUP || err == EOPNOTSUPP)
            err = gsposix::exchangeFiles(from, to, gsposix::InstallWay::Link);
        if (err == EPERM || err == ENOTSUP || err == EOPNOTSUPP || err == EMLINK || err == ENOSYS)
            err = gsposix::exchangeFiles(from, to, gsposix::InstallWay::RenameAside);
    }
    if (err)
        return fail(err, error);
    // Make the new name itself durable.
    syncPath(folderOf(to).c_str(), O_DIRECTORY);
    return succeed(error);
}

short GSPlatformCopyPermissions(char const* from, char const* to)
{
    struct stat st;
    if (::stat(from, &st) != 0)
        return 1;
    return ::chmod(to, st.st_mode & 0777) == 0 ? 0 : 1;
}

short GSPlatformFileSeek(std::FILE* stream, long offset, int whence)
{
    return ::fseeko(stream, static_cast<off_t>(offset), whence) == 0 ? 0 : 1;
}

long GSPlatformFileTell(std::FILE* stream)
{
    return static_cast<long>(::ftello(stream));
}
