// Moving, copying, replacing, removing and creating items. Trees are walked through descriptors
// (openat, fdopendir, unlinkat) opened with O_NOFOLLOW, so that a link swapped in during a walk
// leads nowhere outside it.
#include "gs/platform/GSPlatformItem.h"

#include "gs/platform/posix/GSPlatformErrors.h"
#include "gs/platform/posix/GSPlatformFilePosix.h"

#include <cerrno>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>
#include <vector>
#ifdef __linux__
#include <linux/fs.h>
#include <sys/ioctl.h>
#endif

namespace {

// A descriptor closed with its owner.
class Descriptor {
public:
    explicit Descriptor(int descriptor = -1) : fd(descriptor) {}
    ~Descriptor()
    {
        if (fd >= 0)
            ::close(fd);
    }
    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;
    int get() const { return fd; }

private:
    int fd;
};

// A folder's entries (without "." and ".."), read through a descriptor of its own.
class Entries {
public:
    // Takes over fd.
    explicit Entries(int fd) : dir(fd >= 0 ? ::fdopendir(fd) : nullptr)
    {
        if (fd >= 0 && !dir)
            ::close(fd);
    }
    ~Entries()
    {
        if (dir)
            ::closedir(dir);
    }
    Entries(Entries const&) = delete;
    Entries& operator=(Entries const&) = delete;
    bool isOpen() const { return dir != nullptr; }
    // The next name, or null at the end; a failed read sets *err.
    char const* next(int* err)
    {
        for (;;) {
            errno = 0;
            dirent* entry = ::readdir(dir);
            if (!entry) {
                *err = errno;
                return nullptr;
            }
            char const* name = entry->d_name;
            if (std::strcmp(name, ".") != 0 && std::strcmp(name, "..") != 0)
                return name;
        }
    }

private:
    DIR* dir;
};

// The folder part and the name of an absolute path (as a URL holds it: no trailing divider);
// false for the root, which has no name.
bool splitPath(char const* path, std::string* folder, std::string* name)
{
    std::string const p = path;
    size_t const slash = p.rfind('/');
    if (slash == std::string::npos || slash + 1 == p.size())
        return false;
    *folder = slash == 0 ? std::string(1, '/') : p.substr(0, slash);
    *name = p.substr(slash + 1);
    return true;
}

int openFolder(int at, char const* name)
{
    return ::openat(at, name, O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

bool exists(char const* path)
{
    struct stat st;
    return ::lstat(path, &st) == 0;
}

// --- Removing ---------------------------------------------------------------------------------------

// Removes `name` in the folder `at`; folders on device `device` only. 0 or the errno value.
int removeEntry(int at, char const* name, dev_t device)
{
    struct stat st;
    if (::fstatat(at, name, &st, AT_SYMLINK_NOFOLLOW) != 0)
        return errno;
    if (!S_ISDIR(st.st_mode))
        return ::unlinkat(at, name, 0) == 0 ? 0 : errno;
    if (st.st_dev != device)
        return EXDEV; // a mount point inside the tree: its file system is not ours to empty
    {
        int fd = openFolder(at, name);
        if (fd < 0)
            return errno;
        Entries entries(fd);
        if (!entries.isOpen())
            return errno;
        int err = 0;
        while (char const* entry = entries.next(&err)) {
            if (int e = removeEntry(fd, entry, device))
                return e;
        }
        if (err)
            return err;
    }
    return ::unlinkat(at, name, AT_REMOVEDIR) == 0 ? 0 : errno;
}

int removePath(char const* path)
{
    std::string folder, name;
    if (!splitPath(path, &folder, &name))
        return EBUSY;
    struct stat st;
    if (::lstat(path, &st) != 0)
        return errno;
    Descriptor at(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (at.get() < 0)
        return errno;
    return removeEntry(at.get(), name.c_str(), st.st_dev);
}

// --- Copying ----------------------------------------------------------------------------------------

// The bytes of `in` into `out`: a reflink, else copy_file_range, else read and write.
int copyData(int in, int out)
{
#if defined(__linux__) && defined(FICLONE)
    if (::ioctl(out, FICLONE, in) == 0)
        return 0;
#endif
    bool kernelCopy = true;
    for (;;) {
        ssize_t n = -1;
#ifdef __linux__
        if (kernelCopy) {
            n = ::copy_file_range(in, nullptr, out, nullptr, 1 << 30, 0);
            if (n < 0 && (errno == EXDEV || errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP)) {
                kernelCopy = false;
                continue;
            }
        } else
#endif
        {
            kernelCopy = false;
            char buffer[65536];
            n = ::read(in, buffer, sizeof buffer);
            for (ssize_t done = 0; n > 0 && done < n;) {
                ssize_t w = ::write(out, buffer + done, static_cast<size_t>(n - done));
                if (w < 0 && errno != EINTR)
                    return errno;
                done += w > 0 ? w : 0;
            }
        }
        if (n == 0)
            return 0;
        if (n < 0 && errno != EINTR)
            return errno;
    }
}

struct CopyWalk {
    // The folders being copied, from the top down, by device and inode: meeting one again is a loop.
    std::vector<std::pair<dev_t, ino_t>> ancestors;
    // The copy's top folder, which the walk must not meet inside the source.
    dev_t topDevice = 0;
    ino_t topInode = 0;
    bool hasTop = false;
};

int copyEntry(int fromAt, char const* fromName, int toAt, char const* toName, CopyWalk* walk);

int copyFolder(int fromAt, char const* fromName, int toAt, char const* toName, struct stat const& st, CopyWalk* walk)
{
    for (auto const& a : walk->ancestors) {
        if (a.first == st.st_dev && a.second == st.st_ino)
            return ELOOP;
    }
    if (walk->hasTop && st.st_dev == walk->topDevice && st.st_ino == walk->topInode)
        return EINVAL;
    int from = openFolder(fromAt, fromName);
    if (from < 0)
        return errno;
    Entries entries(from);
    if (!entries.isOpen())
        return errno;
    if (::mkdirat(toAt, toName, 0700) != 0)
        return errno;
    Descriptor to(openFolder(toAt, toName));
    if (to.get() < 0)
        return errno;
    if (!walk->hasTop) {
        struct stat top;
        if (::fstat(to.get(), &top) != 0)
            return errno;
        walk->topDevice = top.st_dev;
        walk->topInode = top.st_ino;
        walk->hasTop = true;
    }
    walk->ancestors.emplace_back(st.st_dev, st.st_ino);
    int err = 0;
    while (char const* entry = entries.next(&err)) {
        if ((err = copyEntry(from, entry, to.get(), entry, walk)) != 0)
            break;
    }
    walk->ancestors.pop_back();
    if (err)
        return err;
    // Permissions and times last: adding the entries changed the folder's times.
    timespec const times[2] = {st.st_atim, st.st_mtim};
    if (::fchmod(to.get(), st.st_mode & 07777) != 0 || ::futimens(to.get(), times) != 0)
        return errno;
    return 0;
}

int copyFile(int fromAt, char const* fromName, int toAt, char const* toName, struct stat const& st)
{
    Descriptor in(::openat(fromAt, fromName, O_RDONLY | O_NOFOLLOW | O_NOCTTY | O_CLOEXEC));
    if (in.get() < 0)
        return errno;
    Descriptor out(::openat(toAt, toName, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
    if (out.get() < 0)
        return errno;
    if (int err = copyData(in.get(), out.get()))
        return err;
    timespec const times[2] = {st.st_atim, st.st_mtim};
    if (::fchmod(out.get(), st.st_mode & 07777) != 0 || ::futimens(out.get(), times) != 0)
        return errno;
    return 0;
}

int copyLink(int fromAt, char const* fromName, int toAt, char const* toName, struct stat const& st)
{
    std::string target(static_cast<size_t>(st.st_size > 0 ? st.st_size : 255) + 1, '\0');
    ssize_t n = ::readlinkat(fromAt, fromName, target.data(), target.size());
    if (n < 0)
        return errno;
    if (static_cast<size_t>(n) >= target.size())
        return ENAMETOOLONG; // the link changed while we read it
    target.resize(static_cast<size_t>(n));
    if (::symlinkat(target.c_str(), toAt, toName) != 0)
        return errno;
    timespec const times[2] = {st.st_atim, st.st_mtim};
    ::utimensat(toAt, toName, times, AT_SYMLINK_NOFOLLOW); // some file systems keep no link times
    return 0;
}

int copyEntry(int fromAt, char const* fromName, int toAt, char const* toName, CopyWalk* walk)
{
    struct stat st;
    if (::fstatat(fromAt, fromName, &st, AT_SYMLINK_NOFOLLOW) != 0)
        return errno;
    if (S_ISDIR(st.st_mode))
        return copyFolder(fromAt, fromName, toAt, toName, st, walk);
    if (S_ISREG(st.st_mode))
        return copyFile(fromAt, fromName, toAt, toName, st);
    if (S_ISLNK(st.st_mode))
        return copyLink(fromAt, fromName, toAt, toName, st);
    if (S_ISFIFO(st.st_mode))
        return ::mkfifoat(toAt, toName, st.st_mode & 07777) == 0 ? 0 : errno;
    return EOPNOTSUPP; // devices and sockets are not copied
}

int copyPath(char const* from, char const* to)
{
    std::string fromFolder, fromName, toFolder, toName;
    if (!splitPath(from, &fromFolder, &fromName) || !splitPath(to, &toFolder, &toName))
        return EINVAL;
    if (exists(to))
        return EEXIST;
    Descriptor fromAt(::open(fromFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (fromAt.get() < 0)
        return errno;
    Descriptor toAt(::open(toFolder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (toAt.get() < 0)
        return errno;
    CopyWalk walk;
    int err = copyEntry(fromAt.get(), fromName.c_str(), toAt.get(), toName.c_str(), &walk);
    if (err && err != EEXIST) {
        struct stat st;
        if (::fstatat(toAt.get(), toName.c_str(), &st, AT_SYMLINK_NOFOLLOW) == 0)
            removeEntry(toAt.get(), toName.c_str(), st.st_dev);
    }
    return err;
}

// --- Moving and replacing ---------------------------------------------------------------------------

// rename that never replaces; EXDEV when the two lie on different file systems.
int renameNoReplace(char const* from, char const* to)
{
#if defined(__linux__) && defined(RENAME_NOREPLACE)
    if (::renameat2(AT_FDCWD, from, AT_FDCWD, to, RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return errno;
#endif
    // File systems without the flag: a check first, which leaves a short race.
    if (exists(to))
        return EEXIST;
    return ::rename(from, to) == 0 ? 0 : errno;
}

// fsync of a file's data or a folder's entries through a descriptor of our own; file systems that
// cannot sync are taken as they are.
void syncPath(char const* path, int flags)
{
    int fd = ::open(path, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | flags);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

int exchange(char const* replacement, char const* existing)
{
    int err = gsposix::exchangeFiles(replacement, existing, gsposix::InstallWay::Exchange);
    if (err == EINVAL || err == ENOSYS || err == ENOTSUP || err == EOPNOTSUPP)
        err = gsposix::exchangeFiles(replacement, existing, gsposix::InstallWay::Link);
    if (err == EPERM || err == ENOTSUP || err == EOPNOTSUPP || err == EMLINK || err == ENOSYS)
        err = gsposix::exchangeFiles(replacement, existing, gsposix::InstallWay::RenameAside);
    return err;
}

} // namespace

short GSPlatformMoveItem(char const* from, char const* to, std::string* error)
{
    int err = renameNoReplace(from, to);
    if (err == EXDEV) {
        err = copyPath(from, to);
        if (!err)
            err = removePath(from);
    }
    return err ? gsposix::fail(err, error) : 0;
}

short GSPlatformCopyItem(char const* from, char const* to, std::string* error)
{
    int err = copyPath(from, to);
    return err ? gsposix::fail(err, error) : 0;
}

short GSPlatformRemoveItem(char const* path, std::string* error)
{
    int err = removePath(path);
    return err ? gsposix::fail(err, error) : 0;
}

short GSPlatformReplaceItem(char const* existing, char const* replacement, char const* backupName, std::string* error)
{
    std::string folder, name;
    if (!splitPath(existing, &folder, &name) || !exists(replacement))
        return gsposix::fail(exists(replacement) ? EINVAL : ENOENT, error);
    bool const hasBackup = backupName && backupName[0];
    if (hasBackup && std::strchr(backupName, '/'))
        return gsposix::fail(EINVAL, error);
    syncPath(replacement, 0);
    if (!exists(existing)) {
        if (::rename(replacement, existing) != 0)
            return gsposix::fail(errno, error);
        syncPath(folder.c_str(), O_DIRECTORY);
        return 0;
    }
    if (int err = exchange(replacement, existing))
        return gsposix::fail(err, error);
    syncPath(folder.c_str(), O_DIRECTORY);
    // The old item now lies under the replacement's name.
    int err = 0;
    if (hasBackup) {
        std::string backup = folder == "/" ? folder + backupName : folder + "/" + backupName;
        if (backup != replacement) {
            if (exists(backup.c_str()))
                err = removePath(backup.c_str());
            if (!err && ::rename(replacement, backup.c_str()) != 0)
                err = errno;
        }
    } else {
        err = removePath(replacement);
    }
    return err ? gsposix::fail(err, error) : 0;
}

short GSPlatformCreateFolder(char const* path, std::string* error)
{
    std::string p = path ? path : "";
    if (p.empty() || p[0] != '/')
        return gsposix::fail(EINVAL, error);
    // Every prefix ending before a divider, then the whole path.
    for (size_t i = 1; i <= p.size(); ++i) {
        if (i < p.size() && p[i] != '/')
            continue;
        std::string prefix = p.substr(0, i);
        if (::mkdir(prefix.c_str(), 0777) == 0)
            continue;
        int err = errno;
        struct stat st;
        if (err == EEXIST && ::stat(prefix.c_str(), &st) == 0 && S_ISDIR(st.st_mode))
            continue;
        if (err == EEXIST && i < p.size())
            err = ENOTDIR; // an item of another kind on the way
        // A folder we may not write in may still hold the next one already.
        if ((err == EACCES || err == EROFS) && ::stat(prefix.c_str(), &st) == 0 && S_ISDIR(st.st_mode))
            continue;
        return gsposix::fail(err, error);
    }
    return 0;
}
