// Files and folders as whole jobs, for the file specification and the file layer's safe saving.
//
// Paths are absolute paths, as bytes the file system takes. Operations return 0 on success and 1
// on failure; where an `error` argument is given, a failure fills it with the system's description
// of the cause (and success leaves it empty). Nothing here throws.
#pragma once

#include <cstdio>
#include <string>

struct GSPlatformFileInfo {
    bool isDirectory = false;
    // The item may not be changed: it carries the system's immutable or append-only attribute, or
    // it is not a folder and no write permission is set for anyone (a read-only file). The
    // permission test ignores who asks, so a read-only file is locked for the superuser as well.
    bool isLocked = false;
    // The name begins with "." (the convention of POSIX file managers).
    bool isHidden = false;
    // A folder presented as one document; never on POSIX.
    bool isPackage = false;
    // Bytes, for files; 0 for other items.
    long size = 0;
};

// 0 and the item's information when the path names an existing item (links are followed);
// 1 when it does not exist or cannot be reached.
short GSPlatformGetFileInfo(char const* path, GSPlatformFileInfo* info);

// Creates an empty file at `path` only when no item of that name exists, atomically against every
// other process. On failure `*existed` (when given) says whether the name was taken.
short GSPlatformCreateFileExclusively(char const* path, bool* existed, std::string* error);

// Removes a file, a link or an empty folder (a folder with content is refused).
short GSPlatformRemoveFile(char const* path, std::string* error);

// Moves an item to a new path on the same volume; fails when an item exists there already.
short GSPlatformMoveFile(char const* from, char const* to, std::string* error);

// Puts the file `replacement` in the place of `target`, the core of a safe save:
// - the replacement's content is made durable first, then it takes the target's name in one atomic
//   step, so that at every moment `target` names either the complete old or the complete new
//   content (also across a crash of the process or of the machine);
// - keepOld 0: the old content is dropped and `replacement` no longer exists afterwards;
//   keepOld 1: the old content takes the name `replacement` (the two files exchange places).
// Both must be on one volume. On failure the target and the replacement are as they were.
// A missing target is not a failure: the replacement takes the name and, with keepOld, nothing is
// left under `replacement`.
short GSPlatformInstallFile(char const* replacement, char const* target, short keepOld, std::string* error);

// Gives `to` the permission bits (read, write, execute for owner, group and others) of `from`.
short GSPlatformCopyPermissions(char const* from, char const* to);

// Positions in a stdio stream as 64-bit offsets, which each system reaches through its own calls
// (fseeko and ftello on POSIX, where off_t may be wider than what fseek takes). Seek: `whence` is SEEK_SET, SEEK_CUR or SEEK_END; returns 0 on success, 1 on
// failure. Tell: the position, or -1 when the stream cannot tell one (a pipe).
short GSPlatformFileSeek(std::FILE* stream, long offset, int whence);
long GSPlatformFileTell(std::FILE* stream);
