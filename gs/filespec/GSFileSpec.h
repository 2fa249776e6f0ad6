// GSFileSpec: a copyable value naming one file entry.
//
// Content, in this order: the save options (an owning pointer to a GSObjectDictionary, null until
// used), the platform file URL (GSIdPointer; the authority for every file-system operation), the
// filename (the URL's last path component), and two caches filled on first use: the folder path
// with a trailing "/" and the full path. When no URL can be made from a path, the full-path field
// keeps the path as given (for display and for a later retry); such a file spec is invalid.
//
// Folders: a file spec always names a file entry. A folder is named by a file spec of the placeholder file
// "a" inside it: a path ending in "/" gives that spec, and so do the standard folders.
//
// Every file-system query and action goes through the GSURL* functions (GSURL.h); a file spec without
// a URL fails them quietly (false, -1 or status 1). Statuses are 0 success, 1 failure; error texts
// are the system's, passed to an `error` argument when one is given.
//
// Extensions ("extenders") include their dot: ".jpg". See getExtenderPositionForFilename.
//
// Numbered messages: user-visible failures of the file layer are string-table numbers (49703 a
// file could not be removed, 49705 a file could not be renamed, 49713 a file is locked), sent with
// sendErrorMessage. The library prints nothing itself; a host that shows messages installs a
// handler with setErrorMessageHandler and looks the number up in its string tables.
//
// The caches are filled by const members: one spec may be read by several threads only after its
// caches are filled (getPathname(1) and getPathname(0) called once); copies are independent.
#pragma once

#include "gs/filespec/GSFileState.h"
#include "gs/object/GSDynaArray.h"
#include "gs/object/GSIdPointer.h"
#include "gs/text/GSString.h"

class GSFile;
class GSObjectDictionary;

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
    // --- Construction ---------------------------------------------------------------------------
    // Empty and invalid.
    GSFileSpec() noexcept = default;
    // localSetPathname(pathname).
    explicit GSFileSpec(GSString const& pathname);
    // Names the entry of a platform URL (a GSPlatformURL on POSIX), which the file spec retains; the
    // caller keeps its own reference. A null URL gives an empty spec.
    explicit GSFileSpec(void* nsurl);
    // Copies the strings and the URL reference, and the options when the source has them.
    GSFileSpec(GSFileSpec const& other);
    GSFileSpec(GSFileSpec&& other) noexcept;
    GSFileSpec& operator=(GSFileSpec const& other);
    GSFileSpec& operator=(GSFileSpec&& other) noexcept;
    ~GSFileSpec();

    // Empties the three strings and drops the URL; the options stay.
    void initVars();
    // Makes *target a copy of this spec: strings and URL, and with `withOptions` the options too
    // (a target without them keeps its own). 0; 1 when target is null.
    [[nodiscard]] short copyData(GSFileSpec* target, short withOptions) const;
    // 1. empty the file spec; 2. a path ending in "/" gets the placeholder name "a" appended (a folder
    // becomes the file spec of an entry inside it); 3. a URL is made of the path with the folder part's
    // symbolic links resolved (the last component is kept as it is). With a URL the file spec takes it
    // (0); otherwise the path is kept as text, its last component as the filename, and 1 returned.
    [[nodiscard]] short localSetPathname(GSString const& pathname);
    // The file spec takes the URL (retained): the strings are emptied and the filename becomes the
    // URL's last path component. A null URL makes the file spec gs_invalid_filespec's copy (its
    // options stay). Always 0.
    [[nodiscard]] short setNSURL(void* url);
    // A new reference to the URL (the caller releases it), or null. Without a URL but with a path
    // kept as text, a URL is first made from that text again.
    void* createNSURL();
    // The URL held (borrowed), or null.
    void* getNSURL() const { return url.get(); }
    // A URL exists, or one can be made from the path kept as text.
    bool isValid() const;

    // The temporary folder with a fresh name no item has (as getTemporaryFilename). 1 when the
    // system has no temporary folder (or, after 10,000 names, every name tried was taken).
    [[nodiscard]] short initWithTempPath();
    // The user's documents folder (standard folder 3), else the current folder.
    [[nodiscard]] short initWithDocumentPath() { return initWithStandardPath(3, 1); }
    // The standard folder of `kind` (0-9 as GSURLCreateForStandardDirectory numbers them; bits
    // 0x400 and 0x800 of `kind` select the domain); with `fallbackToCurrent` the current folder
    // when there is none. The file spec names the folder's placeholder entry "a". 1 when neither gave
    // a folder (the file spec is then as it was).
    [[nodiscard]] short initWithStandardPath(int kind, short fallbackToCurrent);

    // --- Names and paths ------------------------------------------------------------------------
    // The filename; with withExtender 0 without its extension.
    GSString getFilename(short withExtender = 1) const;
    // Replaces the last path component. A file spec without a URL is emptied and keeps only the name
    // (then 1).
    [[nodiscard]] short setFilename(GSString const& name);
    // full 1: the full path (without a trailing "/", except for the root). full 0: the folder's
    // path with a trailing "/". Both cached.
    GSString getPathname(short full = 1) const;
    // The folder that holds the entry; empty for the root or a file spec without a URL.
    GSFileSpec getParent() const;
    // The same filename one folder up. 1 (spec unchanged) when the parent is missing or the root.
    [[nodiscard]] short leaveDirectory();
    // The extension of the full path ("" when none).
    GSString getExtender() const;
    // Replaces the extension of the filename (setFilename's status).
    [[nodiscard]] short setExtender(GSString const& extender);
    bool hasExtender(GSString const& extender) const { return extendersAreEqual(getExtender(), extender); }
    // The ID of the numeric string table's text equal to the extension (GSString::getStringID);
    // 0 when there is none.
    int getStringIDForExtender() const;
    // The name to show: the system's localised name (on POSIX the filename), without its extension
    // for withExtender 0; the filename for a memory spec or when the system gives none.
    GSString getDisplayName(short withExtender) const;
    // Empty: POSIX file systems have no separate network name.
    GSString getNetworkName() const { return GSString(); }

    // Gives this spec a fresh temporary name in its own folder, `extender` appended (with its dot;
    // may be empty), and creates that file, empty and exclusively, so that no other process or
    // thread can take the name. 0 on success; 1 when the folder does not allow it (read-only,
    // missing) or this spec has no URL.
    [[nodiscard]] short createTemporaryFilename(GSString const& extender);
    // The first name not in use among: the filename itself, then the name without extension and
    // without a number suffix (GSString::findNumberSuffix with `divider`), the divider (unless 0),
    // 1, 2, 3 ... and the extension: pic.jpg, pic-1.jpg, pic-2.jpg; from pic-7.jpg too. 1 (spec
    // unchanged) when the names run out or there is no URL.
    [[nodiscard]] short createUniqueFilename(char divider);

    // Moves the file spec into the sub-folder `name` of its folder, keeping its filename:
    // 1. the sibling entry `name` is examined;
    // 2. a folder: the file spec moves into it (0); another item: 1 with the file spec unchanged;
    // 3. missing and `create` set: the folder is made (GSURLCreateDirectory), then as 2;
    // 4. missing without `create`: the file spec moves into the folder-to-be (0);
    // 5. any other failure empties the file spec (initVars) and returns its status.
    // `reserved` has no effect (kept for the callers' signature).
    [[nodiscard]] short addDirectory(GSString const& name, short create, short reserved);
    // `path` is a relative path "sub/sub2/name": each folder name is descended with addDirectory
    // (`create` as given), then the last component becomes the filename. Empty components are
    // skipped; a component ".." is refused (1). The file spec is emptied on failure.
    [[nodiscard]] short setSubDirectioriesAndFilename(GSString const& path, short create);

    // Folder chains (a folder is named by a file spec of an entry inside it).
    // The two specs' folders are the same (compared through their URLs).
    bool hasSameParent(GSFileSpec const& other) const;
    // True when the file spec lies in `folder`'s folder at any depth: from the file spec (includeDirect set)
    // or its parent upwards, until a file spec has the same parent as `folder`.
    bool isDescendantOfDirectory(GSFileSpec const& folder, short includeDirect) const;
    // Re-roots the file spec from oldAncestor's level to newAncestor: the folder names between the file spec
    // and oldAncestor's level are descended from newAncestor (addDirectory, not created), and the
    // filename kept. The entry at oldAncestor's level is dropped: newAncestor takes its place.
    // True (and the file spec changed) on success; false with the file spec unchanged when the file spec does not
    // lie below oldAncestor's folder or a descent fails.
    bool replaceAncestorDirectory(GSFileSpec const& oldAncestor, GSFileSpec const& newAncestor);

    // --- Comparison ----------------------------------------------------------------------------
    // The same URL (GSURLIsEqual), a file spec without one taking the URL made from its path kept as
    // text: a file spec without a URL equals no spec that has one, and all specs without one are equal.
    bool operator==(GSFileSpec const& other) const;
    bool operator!=(GSFileSpec const& other) const { return !(*this == other); }
    // The filenames, case-sensitive (specs in different folders may compare equal).
    int compareValue(GSFileSpec const& other) const;
    // The full paths in natural order (caseless, numbers by value: "b2" before "B10").
    int compareValueCaseless(GSFileSpec const& other) const;
    bool operator<(GSFileSpec const& other) const { return compareValueCaseless(other) < 0; }
    bool operator>(GSFileSpec const& other) const { return compareValueCaseless(other) > 0; }

    // --- The item on disk ----------------------------------------------------------------------
    // Clears state->valid, then GSURLFillFileState; 0 on success, 1 without a URL or when the item
    // cannot be reached.
    [[nodiscard]] short fillState(GSFileState* state) const;
    [[nodiscard]] short setState(GSFileState const& state, GSString* error) const;
    bool exists() const;
    bool isDirectory() const;
    // False for an empty name or one beginning with "."; otherwise true unless the state says
    // hidden (an item whose state cannot be read counts as visible).
    bool isVisible() const;
    // Bytes of the file; -1 without a URL or when unknown.
    long getLength() const;
    // True when the entry is a symbolic link that resolves; then *target (when given) names the
    // link's target (for a folder: its placeholder entry "a") and *isFolder (when given) says
    // whether the target is a folder. Bit 0 of dontResolveMounts is passed on as the resolver's
    // "do not mount" flag inverted (no volume is mounted on POSIX either way).
    bool isLink(GSFileSpec* target, int dontResolveMounts, short* isFolder) const;
    // Removes the item (folders with their content). On failure the error text goes to `error`.
    [[nodiscard]] short remove(GSString* error);
    // Moves the item to `newName` in the same folder, never over an existing item; on success the
    // spec names it there. The error text (possibly empty) goes to `error`.
    [[nodiscard]] short rename(GSString const& newName, GSString* error);
    // Creates the file spec's folder and the missing folders above it. 0 when it exists afterwards.
    [[nodiscard]] short ensureDirectory() const;
    // The number of entries in the file spec's folder (the folder of the placeholder entry), with
    // `recursive` counting the entries of its sub-folders too (symbolic links to folders are not
    // followed); -1 when the folder cannot be read.
    long countFiles(short recursive) const;
    // This spec names a newly written file, `target` the file it replaces:
    // 1. unless noBackup: a temporary name in this spec's folder is picked for the backup;
    // 2. target's state is read; 3. target is replaced by this file (GSURLReplaceWithURL), its old
    // content kept under the backup name; 4. a target that was hidden stays hidden and a visible
    // one visible; 5. unless noBackup: the backup takes this spec's name (the files exchanged
    // places). The replacement is atomic: target names either the old or the new content at every
    // moment. The status; the error text goes to `error`.
    [[nodiscard]] short exchangeWith(GSFileSpec const& target, short noBackup, GSString* error) const;
    // Copies the item to `target`, replacing what is there: 1 when both name the same item;
    // otherwise the system's copy (GSURLCopyToURL: folders with their content, permissions and
    // dates kept), and when that fails, or for memory specs, basicCopy. 0 on success.
    [[nodiscard]] short copy(GSFileSpec const& target) const;
    // Copies the bytes of this file into `target` through GSFile (target created or truncated).
    [[nodiscard]] short basicCopy(GSFileSpec const& target) const;

    // --- Files ---------------------------------------------------------------------------------
    // A file spec is written as its full path (GSString::write) and read back through localSetPathname.
    // A path whose bytes are not UTF-8 is written with the UTF-8 tag all the same, so that its
    // bytes come back unchanged (a code-page tag would be converted on reading). A read path is a
    // string like any other: its length is checked against the file before it is taken. The
    // string operation's status.
    [[nodiscard]] short read(GSFile* file);
    [[nodiscard]] short write(GSFile* file) const;

    // --- Save options --------------------------------------------------------------------------
    // A file spec may carry a dictionary of save options (keys in GSFileKeys.h), created on first use
    // and owned by the file spec; copies and assignments copy its entries (sharing the value objects).
    // The dictionary, created empty when missing; null only when memory runs out.
    GSObjectDictionary* getOrCreateDictionary();
    // The options become a copy of `dictionary`'s entries; a null or empty one removes them. 1
    // when memory runs out (the options are then unchanged).
    [[nodiscard]] short setDictionary(GSObjectDictionary const* dictionary);
    // Removes the entry under the key, if any. Always 0.
    [[nodiscard]] short removeDictionary(GSString const& key);
    // The value under the key when it is exactly of the getter's type (a GSStringObject, a
    // GSLongObject, a GSBufferObject), else the default.
    GSString getDictionaryString(GSString const& key, GSString const& defaultValue) const;
    long getDictionaryLong(GSString const& key, long defaultValue) const;
    GSDynaArray<unsigned char> getDictionaryBuffer(GSString const& key, GSDynaArray<unsigned char> const& defaultValue) const;
    // Adds or replaces one entry, creating the options when needed; 1 when memory runs out. A long
    // is stored as a 32-bit GSLongObject.
    [[nodiscard]] short setDictionaryString(GSString const& key, GSString const& value);
    [[nodiscard]] short setDictionaryLong(GSString const& key, long value);
    [[nodiscard]] short setDictionaryBuffer(GSString const& key, GSDynaArray<unsigned char> const& value);
    // False without options. Mode 1: the options hold a non-empty buffer under GSFileDataKey (the
    // content is in memory). Mode 0: the file spec asks for a save to memory: GSFileSaveToMemoryKey is
    // non-zero, its default 1 with a non-empty GSFileDataIDKey string, else 0. Mode 2: either.
    bool isMemoryFileSpec(short mode) const;
    bool shouldSaveToBuffer() const { return isMemoryFileSpec(0); }
    // Stores `base` under GSFileBaseFileSpecKey when it has a URL and is no memory spec (mode 2);
    // otherwise removes the key. 1 when memory runs out.
    [[nodiscard]] short setBaseFileSpec(GSFileSpec const& base);
    // The stored base spec when it has a URL, else this spec.
    GSFileSpec getBaseFileSpec() const;

    // --- File types ----------------------------------------------------------------------------
    // POSIX file systems keep no file types: the type is always 0 and setting one changes nothing.
    static unsigned int getFileTypeFromString(GSString const&) { return 0; }
    static bool fileTypesAreEqual(unsigned int a, unsigned int b) { return a == b; }
    [[nodiscard]] short setFileType(unsigned int) { return 0; }
    unsigned int getFileType() const { return 0; }
    bool hasFileType(unsigned int type) const { return type == getFileType(); }
    // Gives the file spec the first extension of `list` unless it has that extension already.
    [[nodiscard]] short setFileTypeAndExtender(GSString const& list);
    void adjustExtenderToFileType() {}
    void adjustFileTypeToExtender() {}

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
    // The system's description of an error number (errno on POSIX).
    static GSString getErrorTextForSystemError(int error);
    // Natural order of two names: GSString::compareValueWithNumberCaseless in path mode ("pic2"
    // before "pic10").
    static int compareFilenameWithNumberCaseless(GSString const& a, GSString const& b);
    // Every character of * " ? < > | : becomes a blank, and "/" too unless bit 0 of `flags` is set
    // (the name may then hold sub-folders). The status of GSString::replaceChar.
    [[nodiscard]] static short correctFilename(GSString* name, int flags);
    // "tmp" and 10 characters, each from one GSRandom32() value v: v % 36 (the remainder with the
    // sign of v) written as "0"-"9" for 0-9 and "a"-"z" for 10-35.
    static GSString getTemporaryFilename();

    // --- Backup names of safe saves -------------------------------------------------------------
    // For this spec as a target: the first usable backup name, the filename with "bak" appended
    // (name.extbak; name.bak without an extension), then name.extbak1 up to name.extbak999. A name
    // is usable when it is free or the old backup under it could be removed (removeBackupSpec).
    // True when one was found; `backup` then names it.
    bool createStandardBackupSpec(GSFileSpec* backup) const;
    // The standard search; when it finds nothing, names with "~" added before the extension, one
    // more in each of up to 999 rounds, with the same rule. False when none is usable; `backup`
    // then holds the last name tried.
    bool createBackupSpec(GSFileSpec* backup) const;
    // True when no item has this spec's name or it could be removed; on a failed removal message
    // 49703 is sent for this spec.
    bool removeBackupSpec() const;
    // Carries over to this file what a save must keep of the file it replaces: on POSIX the
    // permission bits of `source`. Nothing for a null source. 0 on success.
    [[nodiscard]] short writeAdditionalInfo(GSFileSpec const* source) const;

    // --- Numbered messages ---------------------------------------------------------------------
    using ErrorMessageHandler = void (*)(int messageID, GSFileSpec const& spec, void* context);
    // Installs the process-wide handler (null: messages are dropped, the default). Thread-safe.
    static void setErrorMessageHandler(ErrorMessageHandler handler, void* context);
    // Passes the message number and this spec to the handler, if one is installed.
    void sendErrorMessage(int messageID) const;
    // A message as two texts: nothing on this platform (hosts take the numbered form).
    void sendErrorMessage(GSString const& message, GSString const& detail) const;

private:
    // The URL held, or one made from the path kept as text (null when none can be made).
    GSIdPointer getOrMakeURL() const;
    // Adopts a new URL reference (no retain) and sets the filename from it.
    void adoptURL(void* newURL);
    // A copy of this spec whose URL is `newURL` (adopted); empty for null.
    static GSFileSpec fromCreatedURL(void* newURL);

    GSObjectDictionary* options = nullptr;
    GSIdPointer url;
    GSString filename;
    mutable GSString directoryPath;
    mutable GSString pathname;
};

// The value for "no file": an empty, invalid spec.
extern GSFileSpec const gs_invalid_filespec;
