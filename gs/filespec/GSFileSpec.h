// GSFileSpec: a copyable value naming one file entry. Two specs are equal when they name the same
// absolute path.
//
// The core of the type is a path and its parts. On it stand the operations that the file layer's
// safe saving needs: the item's state, temporary and backup names, removing, renaming, exchanging
// with another file, and the numbered error messages.
//
// Numbered messages: user-visible failures of the file layer are string-table numbers (49703 a
// file could not be removed, 49705 a file could not be renamed, 49713 a file is locked), sent with
// sendErrorMessage. The library prints nothing itself; a host that shows messages installs a
// handler with setErrorMessageHandler and looks the number up in its string tables.
#pragma once

#include "gs/filespec/GSFileState.h"
#include "gs/text/GSString.h"

// Names of the messages a host application posts about file events; each text equals its name.
// Nothing in the library posts them.
extern GSString const GSFileSpecDidCreateFile;
extern GSString const GSFileSpecDidCreateFolder;
extern GSString const GSFileSpecDidRemoveFile;
extern GSString const GSFileSpecDidRemoveFolder;
extern GSString const GSFileSpecDidRenameFile;
extern GSString const GSFileSpecDidRenameFolder;
extern GSString const GSFileSpecIsFileSpecLocked;

class GSFileSpec {
public:
    GSFileSpec() = default;
    // A relative path is taken relative to the current folder.
    explicit GSFileSpec(GSString const& path);

    bool isValid() const { return !path.isEmpty(); }
    GSString const& getPath() const { return path; }
    // The last component of the path.
    GSString getFilename() const;
    // The extension without its dot, or empty.
    GSString getExtension() const;
    // The folder part of the path, without a trailing slash (except for the root).
    GSString getFolderPath() const;
    bool isMemoryFileSpec() const { return false; }
    // Replaces the last component of the path (nothing for an invalid spec).
    void setFilename(GSString const& name);

    // --- The item on disk ---------------------------------------------------------------------
    // Clears state->valid, then fills the state; 0 on success, 1 when this file spec is invalid or the
    // item does not exist or cannot be reached.
    [[nodiscard]] short fillState(GSFileState* state) const;
    bool exists() const;
    bool isDirectory() const;
    // Removes the file (or empty folder). The system's error text goes to `error` when given.
    [[nodiscard]] short remove(GSString* error);
    // Moves the item to `newName` in the same folder, never over an existing item; on success the
    // spec names it there.
    [[nodiscard]] short rename(GSString const& newName, GSString* error);
    // Carries over to this file what a save must keep of the file it replaces: on POSIX the
    // permission bits of `source`. Nothing for a null source. 0 on success.
    [[nodiscard]] short writeAdditionalInfo(GSFileSpec const* source) const;

    // --- Names (static: no file is touched) ----------------------------------------------------
    // The extension ("extender") of a name or path is its part from the last "." that stands
    // behind the last "/", the dot included: ".jpg" for "a/pic.jpg", ".profile" for ".profile",
    // empty for "a.b/pic". Extension lists name one extension per item, separated by ";", each
    // optionally after a "*" and followed by a ":" part (a file type on systems that have them):
    // "*.jpg:JPEG;*.png".
    //
    // The index of that last ".", or the name's length when it has no extension.
    static long getExtenderPositionForFilename(GSString const& name);
    static GSString getExtenderForFilename(GSString const& name);
    // Replaces the extension of *name by `extender` (which brings its own dot; empty removes it).
    [[nodiscard]] static short setExtenderOfFilename(GSString const& extender, GSString* name);
    // The list without its ":" parts: each ":" and what follows it up to the next ";" go (to the
    // end when no ";" follows).
    static GSString getExtenderListFromString(GSString const& list);
    // The list's first extension: the list without ":" parts, a leading "*" dropped, cut at the
    // first ";". "*.jpg;*.jpeg" gives ".jpg".
    static GSString getExtenderFromString(GSString const& list);
    // A leading "*" of either is dropped; then equal when the lengths (in bytes) are equal and the
    // texts are equal ignoring case.
    static bool extendersAreEqual(char const* a, long lengthA, char const* b, long lengthB);
    static bool extendersAreEqual(GSString const& a, GSString const& b)
    {
        return extendersAreEqual(a.c_str(), a.getLength(), b.c_str(), b.getLength());
    }
    // True when an item of the list (its ":" parts removed) equals `extender` by
    // extendersAreEqual; empty items never match.
    static bool isExtenderInList(GSString const& extender, GSString const& list);
    // The divider of path components, "/"; *length (when given) receives its length in bytes, 1.
    static char getPathDividerChar(int* length = nullptr);
    // Natural order of two names: GSString::compareValueWithNumberCaseless in path mode ("pic2"
    // before "pic10").
    static int compareFilenameWithNumberCaseless(GSString const& a, GSString const& b);
    // Every character of * " ? < > | : becomes a blank, and "/" too unless bit 0 of `flags` is set
    // (the name may then hold sub-folders). The status of GSString::replaceChar.
    [[nodiscard]] static short correctFilename(GSString* name, int flags);

    // --- Temporary and backup names -----------------------------------------------------------
    // "tmp" and 10 characters, each from one GSRandom32() value v: v % 36 (the remainder with the
    // sign of v) written as "0"-"9" for 0-9 and "a"-"z" for 10-35.
    static GSString getTemporaryFilename();
    // Gives this spec a fresh temporary name in its own folder (with `extension` after a dot when it
    // is not empty) and creates that file, empty and exclusively, so that no other process or thread
    // can take the name. 0 on success; 1 when the folder does not allow it (read-only, missing).
    [[nodiscard]] short createTemporaryFilename(GSString const& extension);
    // For this spec as a target: the first usable backup name, name.extbak, then name.extbak1 up to
    // name.extbak999 ("ext" the target's extension; name.bak... without one). A name is usable
    // when it is free or the old backup under it could be removed (removeBackupSpec). True when
    // one was found; `backup` then names it.
    bool createStandardBackupSpec(GSFileSpec* backup) const;
    // The standard search; when it finds nothing, names with "~" added to the target's name (the
    // extension kept), one more in each of up to 999 rounds, with the same rule. False when none
    // is usable; `backup` then holds the last name tried.
    bool createBackupSpec(GSFileSpec* backup) const;
    // True when no item has this spec's name or it could be removed; on a failed removal message
    // 49703 is sent for this spec.
    bool removeBackupSpec() const;
    // This spec names a newly written file, `target` the file it replaces: the new file takes the
    // target's name in one atomic step (the target is never half-written). With noBackup 0 the
    // target's old content takes this spec's name (the files exchange places); with noBackup 1 it
    // is dropped. 0 on success; on failure both files are as they were and `error` gets the
    // system's text.
    [[nodiscard]] short exchangeWith(GSFileSpec const& target, short noBackup, GSString* error) const;

    // --- Numbered messages ---------------------------------------------------------------------
    using ErrorMessageHandler = void (*)(int messageID, GSFileSpec const& spec, void* context);
    // Installs the process-wide handler (null: messages are dropped, the default). Thread-safe.
    static void setErrorMessageHandler(ErrorMessageHandler handler, void* context);
    // Passes the message number and this spec to the handler, if one is installed.
    void sendErrorMessage(int messageID) const;

    bool operator==(GSFileSpec const& other) const { return path == other.path; }
    bool operator!=(GSFileSpec const& other) const { return !(*this == other); }

private:
    GSString path;
};
