// How quillmoor-thumbnailer touches files, in one place for every command: documents are opened
// once, without blocking, and only when they are regular files; results are written whole
// (temporary file beside the target, written, flushed to disk, renamed) or in place (the same inode,
// for desktop services that read through a descriptor they opened first); temporary files are
// removed on SIGTERM and SIGINT, and those a killed run left behind are removed by the next one.
//
// Temporary files are named ".qm-XXXXXX" (X: letters and digits) in the target's folder: short,
// so that a target name up to the file system's limit still fits, and recognisable, so that only
// our own leftovers are ever removed.
#pragma once

#include "generator/GSThumbnailWalk.h"

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace qm {

// A document open for reading: one descriptor that the walk, the state (modification time and
// size) and the picture's bytes all come from, so that a file renamed over the path meanwhile
// can never mix two files.
class DocumentFile {
public:
    enum class Failure { none, cannotOpen, folder, notRegular };

    DocumentFile() = default;
    DocumentFile(DocumentFile const&) = delete;
    DocumentFile& operator=(DocumentFile const&) = delete;
    ~DocumentFile();

    // Refuses a folder and anything else that is not a regular file (a FIFO, a device) before
    // reading a byte; the open itself does not block (a FIFO's would wait for a writer). True
    // when open; else failure() and error() (errno of a failed open) say why.
    bool open(std::string const& path);
    Failure failure() const { return failure_; }
    int error() const { return errno_; }
    // "No such file or directory", "a folder, not a document", "not a regular file".
    std::string failureText() const;

    int fd() const { return fd_; }
    struct stat const& state() const { return state_; }

    // The thumbnail walk over this descriptor (GSFindThumbnail), from the first byte.
    GSThumbnailResult walk(GSDynaArray<unsigned char>* bytes, GSThumbnailLimits const& limits) const;

private:
    int fd_ = -1;
    struct stat state_ {};
    Failure failure_ = Failure::none;
    int errno_ = 0;
};

// A temporary file beside `target` (".qm-XXXXXX" in its folder), open for writing. While it
// exists the SIGTERM and SIGINT handlers remove it; destroying it removes it unless commit()
// renamed it over the target.
class TemporaryFile {
public:
    explicit TemporaryFile(std::string const& target);
    TemporaryFile(TemporaryFile const&) = delete;
    TemporaryFile& operator=(TemporaryFile const&) = delete;
    ~TemporaryFile();

    // -1 when it could not be made (error() says why).
    int fd() const { return fd_; }
    int error() const { return errno_; }
    std::string const& path() const { return path_; }
    // Closes it and renames it over the target. "" on success, else the reason (the file is
    // then removed).
    std::string commit();

private:
    std::string target_;
    std::string path_;
    int fd_ = -1;
    int errno_ = 0;
    int slot_ = -1;
};

// Writes `size` bytes to `path` whole or not at all: into a temporary file beside it, flushed to
// disk when `flush`, then renamed over it (a symbolic link at `path` is replaced, the file it
// points to stays as it is). A path that is, or links to, anything but a regular file (a device, a
// FIFO, a folder) is refused before anything is written. `mode` is the new file's permission bits
// (kDefaultMode: what a new file gets under the umask, which is read by changing it, so
// not from several threads at once). On failure nothing is left behind.
// Returns "" on success, else the reason ("not a regular file", or the system's error text).
inline constexpr int kDefaultMode = -1;
std::string writeFileWhole(std::string const& path, std::uint8_t const* bytes, std::size_t size,
                           int mode = kDefaultMode, bool flush = true);

// Writes `bytes` into the file at `path` through one descriptor: created when missing (0644),
// otherwise truncated and rewritten in place, so that a reader holding a descriptor opened
// earlier on the same file sees the new contents. On failure the file is left empty. Returns ""
// on success, else the reason.
std::string writeFileInPlace(std::string const& path, std::uint8_t const* bytes, std::size_t size);

// Leaves an existing regular file at `path` empty (a failed thumbnail must not leave an old PNG
// behind). A missing file stays missing; a FIFO or device is not touched. Never blocks.
void emptyExistingFile(std::string const& path);

// Removes the temporary files of ours (".qm-XXXXXX" regular files) in `folder` whose last change
// is more than a minute old: what a run killed with SIGKILL left behind. A younger one may belong
// to a run still going.
void removeStaleTemporaries(std::string const& folder);

// After `seconds` (> 0) the process writes `message` (a whole line) on stderr, empties the
// emptyOnSignal file, removes its temporary files and ends with `exitCode`, wherever it is. Nothing
// in that path can block. disarmTimeout() stops the clock.
void armTimeout(double seconds, std::string const& message, int exitCode);
void disarmTimeout();

// From now on SIGTERM and SIGINT remove the temporary files being written, empty the file given
// to emptyOnSignal (if any), and end the process by the same signal.
void installSignalCleanup();
// The `thumbnail` command's OUTPUT: emptied on SIGTERM, SIGINT and the time-out while set; "" to
// stop (once the result is written). The path is copied for the signal handler.
void emptyOnSignal(std::string const& path);

// The name as it may be printed: control characters become \n, \t, \r or \xNN, so that a crafted
// name cannot forge a line of output. Other bytes are kept.
std::string printable(std::string const& name);

} // namespace qm
