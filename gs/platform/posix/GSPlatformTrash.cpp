// The freedesktop.org trash: finding the item's trash, naming it there, writing its info file.
#include "gs/platform/GSPlatformTrash.h"

#include "gs/platform/GSPlatformFolders.h"
#include "gs/platform/GSPlatformPath.h"
#include "gs/platform/posix/GSPlatformErrors.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

GSPlatformTrashResult failed(int err, std::string* error)
{
    gsposix::fail(err, error);
    return kGSPlatformTrashFailed;
}

std::string parentOf(std::string const& path)
{
    size_t slash = path.rfind('/');
    return slash == 0 || slash == std::string::npos ? std::string("/") : path.substr(0, slash);
}

std::string join(std::string const& folder, std::string const& name)
{
    return folder == "/" ? folder + name : folder + "/" + name;
}

// The device of the path, or of its nearest existing folder above when it does not exist yet.
bool deviceOf(std::string path, dev_t* device)
{
    struct stat st;
    for (;;) {
        if (::stat(path.c_str(), &st) == 0) {
            *device = st.st_dev;
            return true;
        }
        if (path == "/")
            return false;
        path = parentOf(path);
    }
}

// The folder exists as a folder of ours (not a link), or was made with mode 0700 along with the
// missing folders above it.
bool ensureFolder(std::string const& path)
{
    struct stat st;
    if (::lstat(path.c_str(), &st) == 0)
        return S_ISDIR(st.st_mode) && st.st_uid == ::getuid();
    if (errno != ENOENT || path == "/")
        return false;
    // Making the folders above may fail; mkdir then says so.
    std::string const parent = parentOf(path);
    if (::lstat(parent.c_str(), &st) != 0)
        ensureFolder(parent);
    return ::mkdir(path.c_str(), 0700) == 0 || (errno == EEXIST && ::lstat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode));
}

bool ensureTrash(std::string const& trash)
{
    return ensureFolder(trash) && ensureFolder(trash + "/files") && ensureFolder(trash + "/info");
}

// The top folder of the mount that holds `folder` (resolved, absolute): the highest folder above
// it on the same device.
std::string topFolderOf(std::string folder, dev_t device)
{
    struct stat st;
    while (folder != "/") {
        std::string parent = parentOf(folder);
        if (::stat(parent.c_str(), &st) != 0 || st.st_dev != device)
            break;
        folder = parent;
    }
    return folder;
}

std::string deletionDate()
{
    std::time_t now = std::time(nullptr);
    std::tm local{};
    char text[32] = {};
    if (::localtime_r(&now, &local))
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &local);
    return text;
}

} // namespace

std::string GSPlatformEscapeTrashPath(std::string const& path)
{
    static char const hex[] = "0123456789ABCDEF";
    std::string out;
    for (unsigned char c : path) {
        bool const plain = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-'
            || c == '.' || c == '_' || c == '~' || c == '/';
        if (plain) {
            out += static_cast<char>(c);
        } else {
            out += '%';
            out += hex[c >> 4];
            out += hex[c & 15];
        }
    }
    return out;
}

std::string GSPlatformTrashName(std::string const& name, int attempt)
{
    if (attempt <= 1)
        return name;
    size_t dot = name.rfind('.');
    if (dot == 0 || dot == std::string::npos)
        dot = name.size();
    return name.substr(0, dot) + "." + std::to_string(attempt) + name.substr(dot);
}

GSPlatformTrashResult GSPlatformMoveToTrash(char const* path, std::string* trashedPath, std::string* error)
{
    std::string const original = path ? path : "";
    struct stat item;
    if (original.empty() || original[0] != '/')
        return failed(EINVAL, error);
    if (::lstat(original.c_str(), &item) != 0)
        return failed(errno, error);
    if (original == "/")
        return failed(EBUSY, error);
    std::string const name = original.substr(original.rfind('/') + 1);
    std::string const uid = std::to_string(::getuid());

    std::string trash;
    std::string pathInInfo;
    std::string const dataHome = GSPlatformGetDataHome();
    dev_t homeDevice = 0;
    if (!dataHome.empty() && deviceOf(dataHome + "/Trash", &homeDevice) && homeDevice == item.st_dev) {
        trash = dataHome + "/Trash";
        if (!ensureTrash(trash))
            return kGSPlatformNoTrash;
        pathInInfo = original;
    } else {
        std::string resolved;
        if (GSPlatformResolveLinks(parentOf(original).c_str(), &resolved) != 0)
            return failed(errno, error);
        std::string const full = join(resolved, name);
        std::string const top = topFolderOf(parentOf(full), item.st_dev);
        std::string const shared = join(top, ".Trash");
        struct stat st {};
        if (::lstat(shared.c_str(), &st) == 0 && S_ISDIR(st.st_mode) && (st.st_mode & S_ISVTX)
            && ensureTrash(shared + "/" + uid))
            trash = shared + "/" + uid;
        else if (ensureTrash(join(top, ".Trash-" + uid)))
            trash = join(top, ".Trash-" + uid);
        else
            return kGSPlatformNoTrash;
        pathInInfo = top == "/" ? full.substr(1) : full.substr(top.size() + 1);
    }

    std::string const info = "[Trash Info]\nPath=" + GSPlatformEscapeTrashPath(pathInInfo)
        + "\nDeletionDate=" + deletionDate() + "\n";
    for (int attempt = 1; attempt <= 10000; ++attempt) {
        std::string const trashName = GSPlatformTrashName(name, attempt);
        std::string const infoPath = trash + "/info/" + trashName + ".trashinfo";
        int fd = ::open(infoPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (fd < 0) {
            if (errno == EEXIST)
                continue;
            return failed(errno, error);
        }
        std::string const filesPath = trash + "/files/" + trashName;
        struct stat st;
        if (::lstat(filesPath.c_str(), &st) == 0) {
            // An item left without its info file: its name stays taken.
            ::close(fd);
            ::unlink(infoPath.c_str());
            continue;
        }
        // A few hundred bytes into a new file: a short write means a full disk.
        bool const written = ::write(fd, info.data(), info.size()) == static_cast<ssize_t>(info.size());
        int const writeError = written ? 0 : errno ? errno : ENOSPC;
        ::close(fd);
        if (!written) {
            ::unlink(infoPath.c_str());
            return failed(writeError, error);
        }
        if (::rename(original.c_str(), filesPath.c_str()) != 0) {
            int const err = errno;
            ::unlink(infoPath.c_str());
            return failed(err, error);
        }
        if (trashedPath)
            *trashedPath = filesPath;
        return kGSPlatformTrashed;
    }
    return failed(EEXIST, error);
}
