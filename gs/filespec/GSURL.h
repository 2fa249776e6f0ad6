// The GSURL functions: every file-system query and action of the library, on platform file URLs.
// GSFileSpec and GSFileSearch are built on them; nothing else of the library asks the file system.
//
// URLs are untyped references (void*, as GSIdPointer holds them). On POSIX systems a URL is a
// GSPlatformURL (gs/platform/GSPlatformURL.h): an absolute path plus a directory flag. Every
// function first checks that its reference is such an object; anything else, null included, is
// treated as null. Functions whose names contain Create return a new reference that the caller
// releases (or adopts into a GSIdPointer by assignment); the others return borrowed values or fill
// GSStrings.
//
// Statuses: 0 success, 1 failure (GSURLMoveToTrash also 2). An action on a null URL fails without
// text. Error texts: where an `error` argument is given (non-null) and the system reported a cause,
// a failure stores the system's description of it (strerror's text, as UTF-8); without a cause from
// the system, and on success, the text is left as it was.
//
// Path texts: a GSString tagged UTF-8 (or 2, "bytes without tables") is taken byte for byte; text
// in another code page is converted to UTF-8 first. Names and paths coming back are tagged UTF-8
// when their bytes are valid UTF-8 and 2 otherwise, so that a name in any bytes goes back to the
// file system unchanged.
//
// How the file manager's operations are done on POSIX (Linux):
//
//   file state       statx of the entry itself (a symbolic link is not followed: its state is the
//                    link's; GSURLResolveLinkOrAlias follows it). Dates to the millisecond:
//                    ms = floor(fraction * 1000 + 0.49), where 1000 carries into the next second.
//                    creation  = the birth time where the file system keeps one (ext4, btrfs, xfs,
//                                tmpfs), else the time of the last status change (ctime)
//                    modified  = mtime, accessed = atime
//                    A date the file system does not give takes the value of the date read before
//                    it (order: access, creation, modification).
//   locked (1)       the immutable or append-only attribute (FS_IOC_GETFLAGS; a file system
//                    without attributes has none), or, for an item that is not a folder, no write
//                    permission for anyone. A read-only folder is not locked: its permissions guard
//                    its entries, not itself.
//   hidden (2)       the name begins with "." (the convention of POSIX file managers).
//   folder (8)       a directory; there are no packages (16) on POSIX.
//   setting a state  access and modification dates with utimensat (a date that fails
//                    GSDate::checkForError is left as it is); the creation date cannot be set on
//                    Linux and is ignored. Locking removes every write permission bit; unlocking
//                    clears the immutable and append-only attributes when set (which needs the
//                    CAP_LINUX_IMMUTABLE capability; without it the call fails) and gives the owner
//                    write permission. A request to change the hidden flag fails (1, with a text):
//                    on POSIX only a rename can hide an item.
//   move             rename, never over an existing item; across file systems a copy followed by
//                    the removal of the source (files and folders).
//   copy             copy_file_range (the kernel copies, and reflinks where the file system can)
//                    for files, folders recursively, links as links; permission bits and the
//                    access and modification dates are kept. Never over an existing item.
//   replace          renameat2 RENAME_EXCHANGE puts the replacement in the existing item's place
//                    in one step (else hard links or renaming aside); the old content then stays
//                    under the backup name when one is given and is removed otherwise.
//   remove           folders with their content; a symbolic link is removed, never followed.
//   create folder    mkdir of the folder and every missing folder above it (mode 0777 & ~umask).
//   trash            the freedesktop.org Trash specification: see GSURLMoveToTrash.
//   enumeration      opendir/readdir, the direct entries only, "." and ".." skipped.
//   links            symbolic links (realpath); there are no aliases on POSIX.
//   names            the localised name and the name are the file name itself.
//   system version   uname: the kernel release, major << 16 | minor << 8 | patch.
//
// Standard folders (GSURLCreateForStandardDirectory), by kind and domain. Every result names the
// placeholder entry "a" inside the folder. "-" is null. XDG_DATA_HOME defaults to ~/.local/share,
// XDG_CONFIG_HOME to ~/.config; a user folder (documents, pictures, downloads) is read from
// $XDG_CONFIG_HOME/user-dirs.dirs as xdg-user-dir reads it, else it is ~/Documents, ~/Pictures,
// ~/Downloads.
//
//   kind                 user (0, and any other)       local (0x400)              system (0x800)
//   0 frameworks         ~/.local/lib *                 /usr/local/lib             /usr/lib
//   1 preferences        $XDG_CONFIG_HOME *             /usr/local/etc             /etc
//   2 temporary          $TMPDIR, else /tmp             the same                   the same
//   3 documents          XDG_DOCUMENTS_DIR *            -                          -
//   4 pictures           XDG_PICTURES_DIR *             -                          -
//   5 downloads          XDG_DOWNLOAD_DIR *             -                          -
//   6 applications       $XDG_DATA_HOME/applications    /usr/local/share/applications  /usr/share/applications
//   7, 8                 -                              -                          -
//   9 home               $HOME (else the password database's home folder), for every domain
//   * created (with the folders above it) when missing; the others are never created.
// The application domain (0xC00) gives, for kind 0, the folder that holds the running program;
// for the other kinds it counts as the user domain. A kind outside 0-9 gives null.
#pragma once

#include "gs/text/GSString.h"

class GSFileState;
class GSIdPointer;

// --- Making and taking apart URLs ---------------------------------------------------------------

// Null for an empty path. A path that begins with "file://" (case-sensitively) is read as a URL
// string: an empty host or "localhost", then an absolute path with %XX escapes decoded; a trailing
// "/" makes it a folder URL; another host or a bad escape gives null. Any other path is a file
// path (relative to the current folder when not absolute), a folder URL when isDirectory is 1.
// With resolveParent non-zero the folder part is resolved for symbolic links (where it exists) and
// the last component appended again, so that a link in the last component itself is kept.
void* GSURLCreateWithFilePath(GSString const& path, short isDirectory, short resolveParent);
// The URL of `name` inside the URL; null when the name is empty or the URL is null. The result is a
// folder URL when the name ends with "/" or names an existing folder (as the file manager does).
void* GSURLCreateByAppending(void const* url, GSString const& name);
// The folder that holds the entry, as a folder URL; the root's is the root. Null for null.
void* GSURLCreateByDeletingLastPathComponent(void* url);
// As GSURLCreateByDeletingLastPathComponent, but null for the root.
void* GSURLCreateParentURL(void* url);
// True when the URL names the root folder ("/"); false for null.
bool GSURLIsRoot(void const* url);
// The last component of the path ("/" for the root); empty for null.
GSString GSURLGetLastPathComponent(void const* url);
// The absolute path without a trailing divider (the root stays "/"); empty for null.
GSString GSURLGetPathname(void const* url);
// True when both are null, or both name the same path with the same folder flag.
bool GSURLIsEqual(void const* a, void const* b);

// --- Standard folders ----------------------------------------------------------------------------

// The process's temporary folder ($TMPDIR when set, else /tmp) with the placeholder "a" appended.
void* GSURLCreateForTemporaryDirectory();
// The standard folder of a kind (0-9) in a domain (0 user, 0x400 local, 0x800 system, 0xC00
// application), with the placeholder "a" appended; see the table at the top. Null when the
// folder does not exist on POSIX or (for the created ones) cannot be created.
void* GSURLCreateForStandardDirectory(int kind, int domain);

// --- Queries --------------------------------------------------------------------------------------

// Sets state->valid to 0, then fills the state from the entry (see the top); 1 for a null URL or an
// entry that does not exist or cannot be reached. On success valid is 1 and the file type 0.
[[nodiscard]] short GSURLFillFileState(void const* url, GSFileState* state);
// The size of a file in bytes (of a symbolic link: of the link); the all-ones value for a null URL,
// a folder or any item that cannot be read.
unsigned long long GSURLGetFileSize(void const* url);
// When the URL's path leads through a symbolic link, `target` receives the URL of the fully
// resolved item (a folder URL when it is a folder) and *isFolder (when given) whether it is a
// folder; otherwise target is cleared (not a link, or the link cannot be resolved: broken, a
// loop). `flags` (bit 0 do not mount volumes, bit 1 no user interface) have nothing to do on
// POSIX. 1 only for a null URL; a null target is a failure too.
[[nodiscard]] short GSURLResolveLinkOrAlias(void const* url, int flags, GSIdPointer* target, short* isFolder);
// Items have no icons of their own on POSIX: always 1, `icon` cleared, no text.
[[nodiscard]] short GSURLGetIcon(void* url, GSIdPointer* icon, GSString* error);
// The name shown to the user: the file name ("/" for the root), when the item exists; else empty,
// with the system's text in `error`.
GSString GSURLGetLocalizedName(void* url, GSString* error);
// The item's name: the file name, when the item exists; else empty, with the text in `error`.
GSString GSURLGetName(void* url, GSString* error);
// The running system's version: major << 16 | minor << 8 | patch; on Linux the kernel release
// (uname), minor and patch each limited to 255; 0 when it cannot be found.
unsigned int GSNSGetOSVersion();

// --- Actions (0 success, 1 failure; the system's text in `error`) ------------------------------

// Writes the access and modification dates, the locked flag and checks the hidden flag (see the
// top). Fails for a null or missing item, and for a hidden flag other than the item's.
[[nodiscard]] short GSURLSetFileState(void* url, GSFileState const& state, GSString* error);
// Puts `replacement` in the place of `existing` (same file system) in one step. With a non-empty
// backupName the old item is kept under that name in the existing item's folder (an item of that
// name is overwritten); with an empty one it is removed. A missing existing item is not a failure:
// the replacement then simply takes the name. Afterwards `replacement` no longer exists.
[[nodiscard]] short GSURLReplaceWithURL(void* existing, void* replacement, GSString const& backupName, GSString* error);
// Moves a file or folder; fails when an item exists at `to`. Across file systems the item is
// copied (as GSURLCopyToURL) and the source removed; when the copy fails, the partial copy is
// removed and the source stays.
[[nodiscard]] short GSURLMoveToURL(void* from, void* to, GSString* error);
// Copies a file, a symbolic link (as a link) or a folder with its content; fails when an item
// exists at `to`. On failure the partial copy is removed.
[[nodiscard]] short GSURLCopyToURL(void* from, void* to, GSString* error);
// Removes a file, link or folder (with its content, never following links out of it).
[[nodiscard]] short GSURLRemove(void* url, GSString* error);
// Moves the item to the trash of the freedesktop.org Trash specification: the home trash
// ($XDG_DATA_HOME/Trash) when the item is on the same file system, else the trash at the top of
// the item's mount ($topdir/.Trash/$UID when that is a sticky folder, else $topdir/.Trash-$UID,
// made with mode 0700). The item goes to files/ under a free name (its own, else "name.2.ext",
// "name.3.ext", ...), with info/NAME.trashinfo holding the percent-escaped absolute original path
// and the local deletion time. 2, with the text untouched, when no trash can be used for it (the
// mount's top folder is not writable and the home trash lies on another file system); 1 on other
// failures.
[[nodiscard]] short GSURLMoveToTrash(void* url, GSString* error);
// Creates the folder and every missing folder above it; an existing folder is success.
[[nodiscard]] short GSURLCreateDirectory(void* url, GSString* error);

// --- Folder enumeration ---------------------------------------------------------------------------

// A new enumerator over the direct entries of the folder (not into sub-folders); null for a null
// URL or a folder that cannot be opened. The enumerator is a platform object: release it (or hold
// it in a GSIdPointer).
void* GSURLCreateDirectoryEnumerator(void* url);
// The next entry's URL, borrowed: it stays valid until the next call or the enumerator's release
// (retain it to keep it). A folder URL for a folder (a link is not followed). Null at the end, for
// a null enumerator or an object that is not one. Entries come in the order of the file system.
void* GSDirectoryEnumeratorGetNextURL(void* enumerator);
// GSURLFillFileState for the entry GSDirectoryEnumeratorGetNextURL gave last, read relative to the
// open folder: the same state for less work (no walk along the whole path). 1 (state->valid
// cleared) before the first entry, after the end, or when the entry has gone.
[[nodiscard]] short GSDirectoryEnumeratorFillFileState(void* enumerator, GSFileState* state);
