#include "thumbnailer/FileSafety.h"

#include "gs/file/GSFile.h"
#include "gs/file/GSFileWorker.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <new>
#include <sys/time.h>
#include <unistd.h>

namespace qm {

namespace {

// ---- What the signal handlers clean up. Only async-signal-safe calls may touch it there. ----

// One slot per temporary file being written at the same moment (cache jobs are at most 256).
constexpr int kTemporarySlots = 257;
char gTemporaryPath[kTemporarySlots][PATH_MAX];
std::atomic<bool> gTemporaryClaimed[kTemporarySlots];  // the slot belongs to a writer
std::atomic<bool> gTemporaryUsed[kTemporarySlots];     // its path is complete: handlers remove it
char gEmptyOnSignal[PATH_MAX];
std::atomic<bool> gEmptyOnSignalSet{false};
char gTimeoutMessage[PATH_MAX + 200];
std::size_t gTimeoutMessageLength = 0;
int gTimeoutExitCode = 1;

// Registers a temporary file for the handlers; -1 when every slot is taken (it is then only
// removed by the next run).
int holdTemporary(char const* path)
{
    std::size_t length = std::strlen(path);
    if (length >= PATH_MAX)
        return -1;
    for (int i = 0; i < kTemporarySlots; ++i) {
        bool expected = false;
        if (!gTemporaryClaimed[i].compare_exchange_strong(expected, true))
            continue;
        std::memcpy(gTemporaryPath[i], path, length + 1);
        gTemporaryUsed[i].store(true);
        return i;
    }
    return -1;
}

void releaseTemporary(int slot)
{
    if (slot >= 0) {
        gTemporaryUsed[slot].store(false);
        gTemporaryClaimed[slot].store(false);
    }
}

// Async-signal-safe: empties the registered output (only a regular file; O_NONBLOCK so that a
// FIFO without a reader cannot hold the handler) and removes the temporary files.
void cleanUpForSignal()
{
    if (gEmptyOnSignalSet.load()) {
        int fd = ::open(gEmptyOnSignal, O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
        if (fd >= 0) {
            struct stat st;
            if (::fstat(fd, &st) == 0 && S_ISREG(st.st_mode))
                [[maybe_unused]] int r = ::ftruncate(fd, 0);
            ::close(fd);
        }
    }
    for (int i = 0; i < kTemporarySlots; ++i)
        if (gTemporaryUsed[i].load())
            ::unlink(gTemporaryPath[i]);
}

extern "C" void onTerminationSignal(int signal)
{
    cleanUpForSignal();
    ::signal(signal, SIG_DFL);
    ::raise(signal);
}

extern "C" void onTimeout(int)
{
    cleanUpForSignal();
    [[maybe_unused]] ssize_t w = ::write(2, gTimeoutMessage, gTimeoutMessageLength);
    ::_exit(gTimeoutExitCode);
}

std::string folderOf(std::string const& path)
{
    std::size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

bool isOurTemporaryName(char const* name)
{
    if (std::strncmp(name, ".qm-", 4) != 0 || std::strlen(name) != 10)
        return false;
    for (int i = 4; i < 10; ++i) {
        char c = name[i];
        if (!((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')))
            return false;
    }
    return true;
}

bool writeAll(int fd, std::uint8_t const* bytes, std::size_t size)
{
    std::size_t done = 0;
    while (done < size) {
        ssize_t n = ::write(fd, bytes + done, size - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            if (n == 0)
                errno = EIO;
            return false;
        }
        done += std::size_t(n);
    }
    return true;
}

} // namespace

// ---- Reading ----

DocumentFile::~DocumentFile()
{
    if (fd_ >= 0)
        ::close(fd_);
}

bool DocumentFile::open(std::string const& path)
{
    failure_ = Failure::cannotOpen;
    errno_ = 0;
    // Look before opening: opening a device can have effects of its own.
    struct stat st;
    if (::stat(path.c_str(), &st) != 0) {
        errno_ = errno;
        return false;
    }
    if (S_ISDIR(st.st_mode) || !S_ISREG(st.st_mode)) {
        failure_ = S_ISDIR(st.st_mode) ? Failure::folder : Failure::notRegular;
        return false;
    }
    fd_ = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd_ < 0) {
        errno_ = errno;
        return false;
    }
    // The path may have changed between the look and the open: what counts is what was opened.
    if (::fstat(fd_, &state_) != 0 || !S_ISREG(state_.st_mode)) {
        errno_ = errno;
        failure_ = S_ISDIR(state_.st_mode) ? Failure::folder : Failure::notRegular;
        ::close(fd_);
        fd_ = -1;
        return false;
    }
    int flags = ::fcntl(fd_, F_GETFL);
    if (flags >= 0)
        ::fcntl(fd_, F_SETFL, flags & ~O_NONBLOCK);
    failure_ = Failure::none;
    return true;
}

std::string DocumentFile::failureText() const
{
    switch (failure_) {
    case Failure::none: return "";
    case Failure::folder: return "a folder, not a document";
    case Failure::notRegular: return "not a regular file";
    case Failure::cannotOpen: break;
    }
    return std::strerror(errno_ ? errno_ : EIO);
}

GSThumbnailResult DocumentFile::walk(GSDynaArray<unsigned char>* bytes, GSThumbnailLimits const& limits) const
{
    GSThumbnailResult failed;
    failed.reason = GSThumbnailReason::kCannotOpen;
    failed.openStatus = 1;
    // A stream of its own over the same open file, read from the first byte.
    int copy = fd_ >= 0 ? ::dup(fd_) : -1;
    FILE* stream = copy >= 0 ? ::fdopen(copy, "rb") : nullptr;
    if (!stream) {
        failed.openErrno = errno;
        if (copy >= 0)
            ::close(copy);
        return failed;
    }
    if (std::fseek(stream, 0, SEEK_SET) != 0) {
        failed.openErrno = errno;
        std::fclose(stream);
        return failed;
    }
    auto* worker = new (std::nothrow) GSFileWorkerStream(stream);
    if (!worker) {
        std::fclose(stream);
        failed.reason = GSThumbnailReason::kOutOfMemory;
        return failed;
    }
    GSFile file;
    (void)file.init(worker, 1); // cannot fail: the worker is not null
    return GSFindThumbnail(&file, bytes, limits);
}

// ---- Writing ----

TemporaryFile::TemporaryFile(std::string const& target) : target_(target)
{
    std::string folder = folderOf(target);
    path_ = folder + (folder == "/" ? "" : "/") + ".qm-XXXXXX";
    fd_ = ::mkostemp(path_.data(), O_CLOEXEC);
    if (fd_ < 0)
        errno_ = errno;
    else
        slot_ = holdTemporary(path_.c_str());
}

TemporaryFile::~TemporaryFile()
{
    if (fd_ >= 0) {
        ::close(fd_);
        ::unlink(path_.c_str());
    }
    releaseTemporary(slot_);
}

std::string TemporaryFile::commit()
{
    if (fd_ < 0)
        return std::strerror(errno_ ? errno_ : EBADF);
    int fd = fd_;
    fd_ = -1;
    std::string error;
    if (::close(fd) != 0)
        error = std::strerror(errno);
    if (error.empty() && ::rename(path_.c_str(), target_.c_str()) != 0)
        error = std::strerror(errno);
    if (!error.empty())
        ::unlink(path_.c_str());
    releaseTemporary(slot_);
    slot_ = -1;
    return error;
}

std::string writeFileWhole(std::string const& path, std::uint8_t const* bytes, std::size_t size, int mode,
                           bool flush)
{
    struct stat st;
    // stat follows a link: a link to a device is as much a device as the device itself.
    if (::stat(path.c_str(), &st) == 0 && !S_ISREG(st.st_mode))
        return S_ISDIR(st.st_mode) ? "a folder" : "not a regular file";
    TemporaryFile temp(path);
    if (temp.fd() < 0)
        return std::strerror(temp.error());
    if (mode == kDefaultMode) {
        // mkstemp makes the file private; the result gets the permissions a new file normally has.
        mode_t mask = ::umask(0);
        ::umask(mask);
        mode = int(0666 & ~mask);
    }
    if (!writeAll(temp.fd(), bytes, size) || ::fchmod(temp.fd(), mode_t(mode)) != 0 ||
        (flush && ::fsync(temp.fd()) != 0))
        return std::strerror(errno);
    return temp.commit();
}

std::string writeFileInPlace(std::string const& path, std::uint8_t const* bytes, std::size_t size)
{
    // No O_TRUNC-and-rename: a desktop service may read the result through a descriptor it opened
    // on this very file beforehand, so the same inode is rewritten.
    int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_NOCTTY | O_CLOEXEC, 0644);
    if (fd < 0)
        return std::strerror(errno);
    struct stat st;
    bool const regular = ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
    std::string error;
    if (regular && ::ftruncate(fd, 0) != 0)
        error = std::strerror(errno);
    std::size_t done = 0;
    while (error.empty() && done < size) {
        ssize_t n = regular ? ::pwrite(fd, bytes + done, size - done, off_t(done))
                            : ::write(fd, bytes + done, size - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            error = std::strerror(n < 0 ? errno : EIO);
            break;
        }
        done += std::size_t(n);
    }
    // Never leave a partial PNG behind.
    if (!error.empty() && regular)
        [[maybe_unused]] int r = ::ftruncate(fd, 0);
    if (::close(fd) != 0 && error.empty()) {
        error = std::strerror(errno);
        emptyExistingFile(path);
    }
    return error;
}

void emptyExistingFile(std::string const& path)
{
    int fd = ::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0)
        return;
    struct stat st;
    if (::fstat(fd, &st) == 0 && S_ISREG(st.st_mode))
        [[maybe_unused]] int r = ::ftruncate(fd, 0);
    ::close(fd);
}

void removeStaleTemporaries(std::string const& folder)
{
    DIR* dir = ::opendir(folder.c_str());
    if (!dir)
        return;
    time_t const limit = ::time(nullptr) - 60;
    while (dirent* entry = ::readdir(dir)) {
        if (!isOurTemporaryName(entry->d_name))
            continue;
        struct stat st;
        if (::fstatat(::dirfd(dir), entry->d_name, &st, AT_SYMLINK_NOFOLLOW) == 0 && S_ISREG(st.st_mode) &&
            st.st_mtime < limit)
            ::unlinkat(::dirfd(dir), entry->d_name, 0);
    }
    ::closedir(dir);
}

// ---- Signals ----

void installSignalCleanup()
{
    struct sigaction sa{};
    sa.sa_handler = onTerminationSignal;
    sigemptyset(&sa.sa_mask);
    ::sigaction(SIGTERM, &sa, nullptr);
    ::sigaction(SIGINT, &sa, nullptr);
}

void emptyOnSignal(std::string const& path)
{
    gEmptyOnSignalSet.store(false);
    if (path.empty() || path.size() >= sizeof gEmptyOnSignal)
        return;
    std::memcpy(gEmptyOnSignal, path.c_str(), path.size() + 1);
    gEmptyOnSignalSet.store(true);
}

void armTimeout(double seconds, std::string const& message, int exitCode)
{
    if (!(seconds > 0))
        return;
    gTimeoutMessageLength = std::min(message.size(), sizeof gTimeoutMessage);
    std::memcpy(gTimeoutMessage, message.data(), gTimeoutMessageLength);
    gTimeoutExitCode = exitCode;
    struct sigaction sa{};
    sa.sa_handler = onTimeout;
    sigemptyset(&sa.sa_mask);
    ::sigaction(SIGALRM, &sa, nullptr);
    itimerval t{};
    double whole = double(long(seconds));
    t.it_value.tv_sec = long(whole);
    t.it_value.tv_usec = long((seconds - whole) * 1e6);
    if (t.it_value.tv_sec == 0 && t.it_value.tv_usec == 0)
        t.it_value.tv_usec = 1;
    ::setitimer(ITIMER_REAL, &t, nullptr);
}

void disarmTimeout()
{
    itimerval off{};
    ::setitimer(ITIMER_REAL, &off, nullptr);
}

std::string printable(std::string const& name)
{
    std::string out;
    out.reserve(name.size());
    for (unsigned char c : name) {
        if (c >= 0x20 && c != 0x7F) {
            out += char(c);
            continue;
        }
        switch (c) {
        case '\n': out += "\\n"; break;
        case '\t': out += "\\t"; break;
        case '\r': out += "\\r"; break;
        default: {
            char hex[5];
            std::snprintf(hex, sizeof hex, "\\x%02X", c);
            out += hex;
        }
        }
    }
    return out;
}

} // namespace qm
