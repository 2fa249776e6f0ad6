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
