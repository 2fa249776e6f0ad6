// Item states through statx (birth times, attributes) with a stat fallback for kernels without it.
#include "gs/platform/GSPlatformItem.h"

#include "gs/platform/posix/GSPlatformErrors.h"
#include "gs/platform/posix/GSPlatformItemPosix.h"

#include <cerrno>
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

bool nameIsHidden(char const* path)
{
    char const* slash = std::strrchr(path, '/');
    return (slash ? slash[1] : path[0]) == '.';
}

// The descriptor of a file or folder for the attribute calls (`path` relative to the folder
// descriptor `at`, or AT_FDCWD); other items (devices, pipes) are never opened, so that opening
// cannot block or have effects. -1 when it cannot be opened.
int openForAttributes(int at, char const* path, bool isFileOrFolder)
{
    if (!isFileOrFolder)
        return -1;
    return ::openat(at, path, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_NOFOLLOW | O_CLOEXEC);
}

#ifdef __linux__
// The attribute flags of the item; 0 when the file system keeps none.
int readAttributes(int at, char const* path, bool isFileOrFolder)
{
    int fd = openForAttributes(at, path, isFileOrFolder);
    if (fd < 0)
        return 0;
    int flags = 0;
    if (::ioctl(fd, FS_IOC_GETFLAGS, &flags) != 0)
        flags = 0;
    ::close(fd);
    return flags;
}
#endif

bool noWritePermission(unsigned mode) { return (mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0; }

void setKind(GSPlatformItemState* state, unsigned mode)
{
    state->isFolder = S_ISDIR(mode);
    state->isLink = S_ISLNK(mode);
    state->isFile = S_ISREG(mode);
}

// The locked flag: a lock attribute, or no write permission for anyone on an item that is neither
// a folder (whose permissions guard its entries) nor a link (whose permissions mean nothing).
void setLocked(GSPlatformItemState* state, unsigned mode, bool attributeLock)
{
    state->isLocked = attributeLock || (!state->isFolder && !state->isLink && noWritePermission(mode));
}

#if defined(__linux__) && defined(STATX_BTIME)
GSPlatformTime timeOf(struct statx_timestamp const& t, bool given)
{
    return GSPlatformTime{t.tv_sec, static_cast<long>(t.tv_nsec), given};
}

// statx (Linux 4.11; glibc emulates it with fstatat on older kernels, without birth times).
short readState(int at, char const* path, GSPlatformItemState* state, std::string* error)
{
    struct statx sx;
    unsigned const wanted = STATX_TYPE | STATX_MODE | STATX_SIZE | STATX_ATIME | STATX_MTIME | STATX_CTIME | STATX_BTIME;
    if (::statx(at, path, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, wanted, &sx) != 0)
        return gsposix::fail(errno, error);
    setKind(state, sx.stx_mode);
    state->access = timeOf(sx.stx_atime, (sx.stx_mask & STATX_ATIME) != 0);
    state->modification = timeOf(sx.stx_mtime, (sx.stx_mask & STATX_MTIME) != 0);
    state->creationIsBirth = (sx.stx_mask & STATX_BTIME) != 0;
    state->creation = state->creationIsBirth ? timeOf(sx.stx_btime, true)
                                             : timeOf(sx.stx_ctime, (sx.stx_mask & STATX_CTIME) != 0);
    state->size = state->isFile || state->isLink ? sx.stx_size : 0;

    // The attributes come with statx where the file system reports them there (ext4, btrfs, xfs,
    // tmpfs), else through the attribute ioctl (one open more).
    unsigned long long const lockAttributes = STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND;
    bool attributeLock = false;
    if ((sx.stx_attributes_mask & lockAttributes) == lockAttributes)
        attributeLock = (sx.stx_attributes & lockAttributes) != 0;
    else
        attributeLock = (readAttributes(at, path, state->isFile || state->isFolder) & (FS_IMMUTABLE_FL | FS_APPEND_FL)) != 0;
    setLocked(state, sx.stx_mode, attributeLock);
    return 0;
}
#else
GSPlatformTime timeOf(struct timespec const& t) { return GSPlatformTime{t.tv_sec, t.tv_nsec, true}; }

// Other POSIX systems: fstatat, the status change time standing in for the birth time.
short readState(int at, char const* path, GSPlatformItemState* state, std::string* error)
{
    struct stat st;
    if (::fstatat(at, path, &st, AT_SYMLINK_NOFOLLOW) != 0)
        return gsposix::fail(errno, error);
    setKind(state, st.st_mode);
    state->access = timeOf(st.st_atim);
    state->modification = timeOf(st.st_mtim);
    state->creation = timeOf(st.st_ctim);
    state->size = state->isFile || state->isLink ? static_cast<unsigned long long>(st.st_size) : 0;
    setLocked(state, st.st_mode, false);
    return 0;
}
#endif

timespec timespecOf(GSPlatformTime const* t)
{
    timespec ts{};
    if (!t) {
        ts.tv_nsec = UTIME_OMIT;
        return ts;
    }
    ts.tv_sec = static_cast<time_t>(t->seconds);
    ts.tv_nsec = t->nanoseconds;
    return ts;
}

#ifdef __linux__
// Changes the attribute flags: clears `clear`, then sets `set`. 0 or the errno value.
int changeAttributes(char const* path, bool isFileOrFolder, int clear, int set)
{
    int fd = openForAttributes(AT_FDCWD, path, isFileOrFolder);
    if (fd < 0)
        return isFileOrFolder ? errno : EOPNOTSUPP;
    int flags = 0;
    int err = 0;
    if (::ioctl(fd, FS_IOC_GETFLAGS, &flags) != 0) {
        err = errno;
    } else {
        int wanted = (flags & ~clear) | set;
        if (wanted != flags && ::ioctl(fd, FS_IOC_SETFLAGS, &wanted) != 0)
            err = errno;
    }
    ::close(fd);
    // A file system without attributes has none to clear; an item we may not read cannot be asked.
    if (set == 0 && (err == ENOTTY || err == EOPNOTSUPP || err == EINVAL || err == EACCES))
        err = 0;
    return err;
}
#endif

} // namespace

short GSPlatformReadItemState(char const* path, GSPlatformItemState* state, std::string* error)
{
    *state = GSPlatformItemState();
    state->isHidden = nameIsHidden(path);
    return readState(AT_FDCWD, path, state, error);
}

short gsposix::readItemStateAt(int folder, char const* name, GSPlatformItemState* state, std::string* error)
{
    *state = GSPlatformItemState();
    state->isHidden = nameIsHidden(name);
    return readState(folder, name, state, error);
}

short GSPlatformSetItemTimes(char const* path, GSPlatformTime const* access, GSPlatformTime const* modification,
                             std::string* error)
{
    timespec const times[2] = {timespecOf(access), timespecOf(modification)};
    if (::utimensat(AT_FDCWD, path, times, AT_SYMLINK_NOFOLLOW) != 0)
        return gsposix::fail(errno, error);
    return 0;
}

short GSPlatformSetItemLocked(char const* path, bool locked, std::string* error)
{
    struct stat st;
    if (::lstat(path, &st) != 0)
        return gsposix::fail(errno, error);
    if (S_ISLNK(st.st_mode))
        return gsposix::fail(EOPNOTSUPP, error); // a link is never locked, so never unlocked either
    bool const isFolder = S_ISDIR(st.st_mode);
    bool const isFileOrFolder = isFolder || S_ISREG(st.st_mode);
    int err = 0;
#ifdef __linux__
    if (locked && isFolder)
        err = changeAttributes(path, true, 0, FS_IMMUTABLE_FL);
    else if (!locked)
        err = changeAttributes(path, isFileOrFolder, FS_IMMUTABLE_FL | FS_APPEND_FL, 0);
#else
    if (locked && isFolder)
        err = EOPNOTSUPP;
#endif
    if (err)
        return gsposix::fail(err, error);
    if (isFolder)
        return 0;
    mode_t mode = st.st_mode & 07777;
    if (locked)
        mode &= ~static_cast<mode_t>(S_IWUSR | S_IWGRP | S_IWOTH);
    else if (noWritePermission(st.st_mode))
        mode |= S_IWUSR;
    if (mode != (st.st_mode & 07777) && ::chmod(path, mode) != 0)
        return gsposix::fail(errno, error);
    return 0;
}
