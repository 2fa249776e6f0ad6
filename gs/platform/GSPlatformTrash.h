// The trash of the freedesktop.org Trash specification, which the desktops' file managers share.
//
// An item goes to the home trash ($XDG_DATA_HOME/Trash) when it lies on the same file system as
// that folder, else to the trash at the top folder of its own mount: $topdir/.Trash/$UID when
// $topdir/.Trash is a folder (not a link) with the sticky bit, else $topdir/.Trash-$UID. Missing
// trash folders are made with mode 0700. Each trash holds files/ (the items) and info/ (one
// NAME.trashinfo per item):
//
//   [Trash Info]
//   Path=/home/me/My%20file.txt
//   DeletionDate=2024-03-31T12:05:09
//
// Path is the original path with every byte other than A-Z a-z 0-9 - . _ ~ / written as %XX:
// absolute for the home trash, relative to $topdir for a mount's trash. The date is local time.
// NAME is the item's own name, or "stem.2.ext", "stem.3.ext", ... when that is taken in the
// trash; the info file is created exclusively (O_EXCL) before the item is moved, so that two
// processes never pick the same name.
#pragma once

#include <string>

enum GSPlatformTrashResult : short {
    kGSPlatformTrashed = 0,
    // The item could not be moved (missing, no permission, ...): `error` says why.
    kGSPlatformTrashFailed = 1,
    // No trash can be used for this item (its mount's top folder is not writable and the home trash
    // lies on another file system, or the home trash cannot be made); `error` is left as it was.
    kGSPlatformNoTrash = 2,
};

// Moves the item at the absolute `path` (a link itself, not its target) to its trash. On success
// `trashedPath` (when given) receives the item's new path under files/.
GSPlatformTrashResult GSPlatformMoveToTrash(char const* path, std::string* trashedPath, std::string* error);

// The Path= value of an original path: the bytes outside A-Z a-z 0-9 - . _ ~ / as %XX.
std::string GSPlatformEscapeTrashPath(std::string const& path);
// The name tried in the `attempt`th round (1 the name itself, then stem.2.ext, ...), where the
// extension is the part from the last "." that is not the name's first byte.
std::string GSPlatformTrashName(std::string const& name, int attempt);
