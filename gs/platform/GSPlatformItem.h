// The state of one file-system item and the changes of it that a file manager offers: dates, the
// locked flag, the size. The GSURL functions (gs/filespec/) are built on these.
//
// Paths are absolute paths, as bytes the file system takes. A symbolic link is never followed: the
// state is the link's own. Operations return 0 on success and 1 on failure; a failure with a
// cause from the system puts its text (strerror) into `error` when given, and success leaves
// `error` as it was.
#pragma once

#include <string>

// A point in time as the file system keeps it: seconds since 1970-01-01 00:00 GMT (negative
// before) and nanoseconds 0-999999999 after them. `given` is false when the file system did not
// report the time.
struct GSPlatformTime {
    long long seconds = 0;
    long nanoseconds = 0;
    bool given = false;
};

struct GSPlatformItemState {
    GSPlatformTime access;
    GSPlatformTime modification;
    // The birth time where the file system keeps one, else the time of the last status change.
    GSPlatformTime creation;
    bool creationIsBirth = false;
    bool isFolder = false;
    bool isLink = false;
    // A regular file (not a folder, link, device, pipe or socket).
    bool isFile = false;
    // The immutable or append-only attribute, or, for an item that is not a folder, no write
    // permission for anyone (who asks does not matter: the superuser sees the same).
    bool isLocked = false;
    // The name begins with ".".
    bool isHidden = false;
    // Bytes of a file, of a link its target's length; 0 for other items.
    unsigned long long size = 0;
};

// 0 and the item's state when `path` names an existing item; 1 when it does not exist or cannot be
// reached (its folder cannot be searched).
short GSPlatformReadItemState(char const* path, GSPlatformItemState* state, std::string* error);

// Sets the access and the modification time; a null time is left as it is.
short GSPlatformSetItemTimes(char const* path, GSPlatformTime const* access, GSPlatformTime const* modification,
                             std::string* error);

// Locks the item: a file loses every write permission bit; a folder (whose permissions guard its
// entries, not itself) gets the immutable attribute, which needs the CAP_LINUX_IMMUTABLE
// capability. Unlocks it: the immutable and append-only attributes are cleared where set (with the
// same capability) and a file without any write permission gets the owner's. A symbolic link can
// be neither (it is never locked).
short GSPlatformSetItemLocked(char const* path, bool locked, std::string* error);

// --- Actions ---------------------------------------------------------------------------------------

// Moves a file, link or folder to `to`, never over an existing item. Across file systems the item
// is copied (as GSPlatformCopyItem) and then the source removed; a failed copy is removed again and
// the source stays; should the source's removal fail, the complete copy stays.
short GSPlatformMoveItem(char const* from, char const* to, std::string* error);

// Copies a file, symbolic link (as a link: links are never followed), named pipe or folder with
// everything in it to `to`, never over an existing item. Files are copied by the kernel
// (a reflink where the file system shares blocks, else copy_file_range, else read and write);
// permission bits and the access and modification times are kept. A folder loop (a bind mount
// of a folder inside itself) or a copy into the source's own tree fails with ELOOP / EINVAL. On
// failure the partial copy is removed.
short GSPlatformCopyItem(char const* from, char const* to, std::string* error);

// Removes a file, link or folder with everything in it. Links are removed, never followed, and no
// other file system is entered, so nothing outside the item's tree is touched.
short GSPlatformRemoveItem(char const* path, std::string* error);

// Puts `replacement` in the place of `existing` (both on one file system) in one step: the
// replacement's content is made durable first, then renameat2 RENAME_EXCHANGE swaps the two (where
// the kernel and file system offer it; else a hard link or a rename keeps the old one while the new
// one takes the name). The old item then goes to `backupName` in the existing item's folder (an
// item of that name is removed first), or is removed when backupName is empty. A missing `existing`
// is no failure: the replacement takes the name. Should the last step fail, the old item stays
// under the replacement's name and the status is 1, though the replacement is in place.
short GSPlatformReplaceItem(char const* existing, char const* replacement, char const* backupName, std::string* error);

// Creates the folder and the missing folders above it (mode 0777 less the umask). An existing
// folder (or link to one) is success; an existing item of another kind fails with EEXIST.
short GSPlatformCreateFolder(char const* path, std::string* error);
