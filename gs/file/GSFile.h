// GSFile: the binary file through which every document is read and written.
//
// All multi-byte values are big-endian unless the name says Little. Every read and write returns
// a 16-bit status: 0 on success, 1 when the worker is missing or moves fewer bytes than needed.
// A failed read leaves its output unchanged, except where noted.
//
// Encodings on disk:
//   readLongLong          8 bytes: high 32 bits, then low 32 bits
//   readFloat/readDouble  IEEE (flags 64 / 128 set), else a 32-bit mantissa M and a 16-bit
//                         exponent E: M * 2^-30 * 2^E (floats: E >= 38 gives FLT_MAX, E < -36 gives 0)
//   compact signed        1..10 bytes: X = V or ~V; first byte: X & 63, bit 6 = negative,
//                         bit 7 = more; each further byte 7 bits of X, bit 7 = more
//   readArrayCount        compact mode: compact signed; otherwise a 32-bit signed value
//   document ID           the ID's ASCII bytes and one 0 byte
//
// Flags: 1 delete on close, 2 owns the worker, bits 2-5 safety mode (initially 1),
// 64 IEEE floats, 128 IEEE doubles. A new file has flags 6. close() clears 64 and 128.
// Compact mode: an object table of the newer kind is attached (getUse64Bit()).
#pragma once

#include "gs/file/GSFileWorker.h"
#include "gs/filespec/GSFileSpec.h"
#include "gs/object/GSDynaArray.h"
#include "gs/text/GSString.h"
#include "gs/util/GSByteOrder.h"

class GSObject;
class GSFileObjectTable;
class GSObjectDictionary;

class GSFile {
public:
    enum : unsigned {
        kDeleteOnClose = 1,
        kOwnsWorker = 2,
        kSafetyModeShift = 2,
        kSafetyModeMask = 0x3C,
        kStandardFloats = 64,
        kStandardDoubles = 128,
    };

    GSFile();
    explicit GSFile(GSString const& path);
    GSFile(GSFileSpec const& spec, short followLink);
    GSFile(long growth, long capacity);
    explicit GSFile(GSDynaArray<unsigned char> const& bytes);
    GSFile(GSFile const&) = delete;
    GSFile& operator=(GSFile const&) = delete;
    // Closes the file if it is still open; never throws.
    virtual ~GSFile();

    // --- Construction and opening -------------------------------------------------------------
    // A file spec whose options hold a non-empty buffer under GSFileDataKey gives a memory worker
    // (owned) over those bytes; any other spec gives the disk worker (a memory worker is replaced).
    // Then setFileSpec(spec). `followLink` is not used: the file spec's URL decides.
    [[nodiscard]] short init(GSFileSpec const& spec, short followLink);
    // Attaches an existing worker (retained); `owns` decides whether freeing it deletes it.
    [[nodiscard]] short init(GSFileWorker* worker, short owns);
    [[nodiscard]] short setFilename(GSString const& path);
    // Gives the worker the file spec (creating the disk worker when there is none) and takes two
    // settings from the file spec's options: GSFileSafetyModeKey (default: the current safety mode) and
    // GSFileFormatVersionKey (default: the current format version).
    [[nodiscard]] short setFileSpec(GSFileSpec const& spec);
    [[nodiscard]] short setAccessMode(char const* mode);
    [[nodiscard]] short open();
    // Reading: open, then checkID(id) when an id is given. Writing: mode "wb", open, write the ID.
    [[nodiscard]] short initWithID(char const* id, short forWriting);
    [[nodiscard]] short initWithFileSpecAndID(GSFileSpec const& spec, char const* id, short forWriting);
    // Closes the worker (abort abandons a safe save). With flag 1 set the file is removed and this
    // object destroyed: the caller must not touch it afterwards.
    [[nodiscard]] short close(short abort = 0);
    void freeFileWorker();

    GSFileWorker* getFileWorker() const { return worker; }
    // The worker's spec; an empty spec without a worker.
    GSFileSpec getFileSpec() const;
    // The worker's working spec (the temporary file while a safe save is open); an empty spec
    // without a worker.
    GSFileSpec getWorkingFileSpec() const;
    // GSFileDataNameKey from the file spec's options when non-empty, else the file spec's file name.
    GSString getDisplayName() const;
    // The file spec's extension, with its dot.
    GSString getExtender() const;
    // The worker's access mode ("rb", "wb", ...); empty without a worker.
    GSString getAccessMode() const;
    // 1 while the worker is open, else 0 (also without a worker).
    short getState() const;
    unsigned getFlags() const { return flags; }
    void setFlags(unsigned f) { flags = f; }
    void addFlags(unsigned f) { flags |= f; }
    int getSafetyMode() const { return static_cast<int>((flags & kSafetyModeMask) >> kSafetyModeShift); }
    void setSafetyMode(int mode);
    int getFileFormatVersion(int defaultVersion) const { return formatVersion ? formatVersion : defaultVersion; }
    void setFileFormatVersion(int version) { formatVersion = version; }

    // --- Settings --------------------------------------------------------------------------------
    // The file's own settings dictionary (keys in GSFileKeys.h), owned by the file, null until used.
    // A non-empty dictionary is copied (its entries, sharing the value objects) into a new one that
    // replaces the file's; an empty one removes it. 1 when memory runs out (nothing changes).
    [[nodiscard]] short setDictionary(GSObjectDictionary const& dictionary);
    // The file's dictionary, created empty when missing; null only when memory runs out.
    GSObjectDictionary* getOrCreateDictionary();
    GSObjectDictionary const* getDictionary() const { return dictionary; }
    // The value under the key when it is exactly of the getter's type, else the default (empty).
    int getDictionaryLong(GSString const& key, int defaultValue) const;
    GSString getDictionaryString(GSString const& key, GSString const& defaultValue = GSString()) const;
    void* getDictionaryPointer(GSString const& key, void* defaultValue = nullptr) const;
    GSDynaArray<unsigned char> getDictionaryBuffer(GSString const& key) const;
    // Add or replace one entry (creating the dictionary); 1 when memory runs out.
    [[nodiscard]] short setDictionaryLong(GSString const& key, int value);
    [[nodiscard]] short setDictionaryString(GSString const& key, GSString const& value);
    [[nodiscard]] short setDictionaryPointer(GSString const& key, void* value);
    [[nodiscard]] short setDictionaryBuffer(GSString const& key, GSDynaArray<unsigned char> const& value);
    // Removes the entry under the key, if any.
    void removeDictionary(GSString const& key);
    // Stores `base` under GSFileBaseFileSpecKey in the file's dictionary; an invalid spec or a
    // memory spec (mode 2) removes the key instead. 1 when memory runs out.
    [[nodiscard]] short setBaseFileSpec(GSFileSpec const& base);
    // The stored base spec when it is valid, else getFileSpec().
    GSFileSpec getBaseFileSpec() const;

    // --- Positioning ---------------------------------------------------------------------------
    // Position relative to the file offset; -1 without a worker.
    long tell() const;
    // whence 0: absolute from the file offset (a negative position fails, position unchanged);
    // 1: relative; 2: from the end.
    [[nodiscard]] short seek(long position, int whence = 0);
    // The length relative to the file offset; the position (and a read-ahead) is kept. -1 when
    // unknown.
    long getLength() const;
    // The end of the record being read, set by GSTagRead for its records and sequences (-1 outside
    // any). Every count a block reader takes from the file is checked against getBytesLeft().
    long getRecordEnd() const { return recordEnd; }
    // Returns the previous end, for the caller to give back.
    long setRecordEnd(long end)
    {
        long previous = recordEnd;
        recordEnd = end;
        return previous;
    }
    // Bytes between the position and the end of the enclosing record (the end of the file outside
    // any record); -1 when unknown.
    long getBytesLeft() const;
    void setFileOffset(long offset) { fileOffset = offset; }
    long getFileOffset() const { return fileOffset; }
    [[nodiscard]] short eof() const;
    [[nodiscard]] short getError() const;
    bool isOpened() const;
    bool isMemoryBased() const;
    void* getMemoryAddress() const;

    // --- Primitive reads -----------------------------------------------------------------------
    [[nodiscard]] short read(void* buffer, long length);
    // Whole items read.
    long read(void* buffer, long size, long count);
    [[nodiscard]] short readChar(char* value);
    [[nodiscard]] short readBool(short* value);
    [[nodiscard]] short readShort(short* value);
    [[nodiscard]] short readLittleShort(short* value);
    [[nodiscard]] short readBoolAsShort(short* value);
    [[nodiscard]] short readIntAsShort(int* value);
    [[nodiscard]] short readIntAsUShort(int* value);
    [[nodiscard]] short readLong(int* value);
    [[nodiscard]] short readInt(int* value) { return readLong(value); }
    [[nodiscard]] short readLittleLong(int* value);
    [[nodiscard]] short readLongLong(long* value);
    [[nodiscard]] short readPointer(void** value);
    [[nodiscard]] short readLittleLongLong(long* value);
    [[nodiscard]] short readStandardFloat(float* value);
    [[nodiscard]] short readLittleStandardFloat(float* value);
    [[nodiscard]] short readStandardDouble(double* value);
    [[nodiscard]] short readLittleStandardDouble(double* value);
    [[nodiscard]] short readFloat(float* value);
    [[nodiscard]] short readDouble(double* value);
    // Unsigned big-endian of `width` bytes (0 reads nothing and yields 0).
    [[nodiscard]] short readULongVariable(unsigned int* value, int width);
    [[nodiscard]] short readULongLongVariable(unsigned long* value, int width);
    [[nodiscard]] short readFileSizeVariable(long* value, int width);
    [[nodiscard]] short readIntXVariable(long* value, int width);
    // On a failure in the middle the partly assembled value is still stored.
    [[nodiscard]] short readCompactLongLong(long* value);
    [[nodiscard]] short readCompactInt(int* value);
    [[nodiscard]] short readCompactLong(int* value) { return readCompactInt(value); }
    [[nodiscard]] short readArrayCount(long* value);

    // --- IDs, tokens and text ------------------------------------------------------------------
    // 1 when the next strlen(token) bytes equal the token (0 without reading for tokens over 255).
    [[nodiscard]] short isToken(char const* token, short skipWhiteSpace);
    // 0 when the ID and a 0 byte follow; the position is not restored.
    [[nodiscard]] short checkID(char const* id);
    // 1 when the ID and a 0 byte follow; on failure with `restore` seeks back.
    [[nodiscard]] short hasID(char const* id, short restore);
    int getChar();
    [[nodiscard]] short getString(GSString* s, int maximum);
    [[nodiscard]] short readWhiteSpace();
    [[nodiscard]] short readToEndOfLine();
    [[nodiscard]] short isUTF8();

    // --- Primitive writes (each the exact inverse of the read of the same name) -----------------
    [[nodiscard]] short write(void const* buffer, long length);
    long write(void const* buffer, long size, long count);
    [[nodiscard]] short writeChar(char value);
    [[nodiscard]] short writeBool(short value);
    [[nodiscard]] short writeShort(short value);
    [[nodiscard]] short writeBoolAsShort(short value) { return writeShort(value); }
    [[nodiscard]] short writeIntAsShort(int value) { return writeShort(static_cast<short>(value)); }
    [[nodiscard]] short writeLittleShort(short value);
    [[nodiscard]] short writeLong(int value);
    [[nodiscard]] short writeInt(int value) { return writeLong(value); }
    [[nodiscard]] short writeLittleLong(int value);
    [[nodiscard]] short writeLongLong(long value);
    [[nodiscard]] short writePointer(void* value);
    [[nodiscard]] short writeStandardFloat(float value);
    [[nodiscard]] short writeStandardDouble(double value);
    [[nodiscard]] short writeFloat(float value);
    [[nodiscard]] short writeDouble(double value);
    [[nodiscard]] short writeCompactLongLong(long value);
    [[nodiscard]] short writeCompactInt(int value) { return writeCompactLongLong(value); }
    [[nodiscard]] short writeCompactLong(int value) { return writeCompactLongLong(value); }
    [[nodiscard]] short writeArrayCount(long value);
    [[nodiscard]] short writeUTF8BOM();
    [[nodiscard]] short putChar(char c);
    [[nodiscard]] short putString(GSString const& s, short addNewLine);
    [[nodiscard]] short putLong(int value, int width = 0);
    [[nodiscard]] short putFloat(float value, int decimals);
    [[nodiscard]] short flush();
    // Copies n bytes from the current position to the destination's worker in chunks of at most
    // 8192 bytes: 0 for n below 1 or when all were copied, 1 at the first short read or write.
    [[nodiscard]] short copySize(long n, GSFile* destination);
    // copySize of everything from the current position to the end.
    [[nodiscard]] short copyContent(GSFile* destination);
    // Nothing when the destination is null or this file. Otherwise closes the destination, gives
    // it the safety mode, flags 64 and 128, the format version, the file offset and the reserved
    // word, attaches this file's worker to it with this file's ownership, and frees the worker here.
    void transferWorker(GSFile* destination);
    // A new heap file with flags 7 (delete on close, owns its worker, safety mode 1), open for
    // reading and writing. Named: a free temporary path (GSFileSpec::initWithTempPath), mode "wb+";
    // unnamed: an anonymous stream from tmpfile(). close() removes the file and destroys the
    // object. Null on failure.
    static GSFile* tmpFile(short named);

    // --- Objects -------------------------------------------------------------------------------
    [[nodiscard]] short readObject(GSObject** object);
    GSObject* readObject();
    [[nodiscard]] short readObjectReference(GSObject** object);
    GSObject* readObjectReference();
    [[nodiscard]] short _readObject(GSObject** object);
    [[nodiscard]] short skipObject();
    [[nodiscard]] short _skipObject();
    [[nodiscard]] short writeObject(GSObject const* object);
    [[nodiscard]] short writeObjectReference(GSObject const* object);
    [[nodiscard]] short _writeObject(GSObject const* object);
    // Bounds on reading objects, whatever the file says: how deep objects may nest inside objects
    // (64 by default) and how many entries an object table may list (2^22 by default).
    void setMaxObjectDepth(int depth) { maxObjectDepth = depth; }
    int getMaxObjectDepth() const { return maxObjectDepth; }
    void setMaxTableObjects(long count) { maxTableObjects = count; }
    long getMaxTableObjects() const { return maxTableObjects; }
    // Throws bad_file when a table is already attached.
    [[nodiscard]] short startObjectMergingRead();
    // Throws bad_file when no table is attached.
    [[nodiscard]] short stopObjectMergingRead();
    [[nodiscard]] short startObjectMergingWrite(short longPositions);
    [[nodiscard]] short stopObjectMergingWrite();
    GSFileObjectTable* getObjectTable() const { return objectTable; }
    // True in compact mode: an object table of the newer kind is attached.
    [[nodiscard]] short getUse64Bit() const;
    // True for the names of classes that no longer exist (their objects are skipped on reading).
    static bool isRetiredClassName(GSString const& name);

    // --- Path names ----------------------------------------------------------------------------
    // Static string operations on path names, with "/" as the divider; they touch no file. The
    // extension ("extender") of a name is its part from the last "." behind the last "/", the dot
    // included (GSFileSpec::getExtenderPositionForFilename); a name without one has an empty one.
    // The last component: the text behind the last "/" (all of it when there is none; empty for a
    // path that ends with "/").
    static GSString getFilename(GSString const& path);
    // The extension of the path, with its dot; empty when there is none.
    static GSString getFileExtender(GSString const& path);
    // The path with its extension replaced by `extender` (which brings its own dot; empty removes
    // the extension).
    static GSString changeFileExtender(GSString const& path, GSString const& extender);
    // True when the path ends with "/".
    static bool hasTrailingPathDivider(GSString const& path);
    // The path with a "/" appended unless it ends with one already; an empty path stays empty.
    static GSString addPathDividerIfNeeded(GSString const& path);
    // The path without its trailing dividers, but never shorter than one character: "/" stays the
    // root.
    static GSString removePathDividerIfNeeded(GSString const& path);
    // The process's current folder as an absolute path, with a trailing divider; empty when the
    // system cannot tell it.
    static GSString getCurrentDirectory();
    // Makes `path` the process's current folder; 1 when the system refuses.
    [[nodiscard]] static short setCurrentDirectory(GSString const& path);
    // The folder part: everything up to and including the last "/" (empty when there is none).
    static GSString getPathname(GSString const& path);
    // The path without the extension of its last component.
    static GSString getPathnameWithoutExtender(GSString const& path);
    // The last component with its extension replaced by `extender`.
    static GSString getFileWithExtender(GSString const& path, GSString const& extender);
    // The folder `folder` (a divider is added when missing) followed by `name`; just `name` for an
    // empty folder.
    static GSString addFilenameToPathname(GSString const& folder, GSString const& name);
    // The folder part of `path` followed by `name`: the sibling of `path` called `name`.
    static GSString getPathnameWithFilename(GSString const& path, GSString const& name);

private:
    // The compact signed encoding; `stored` tells whether a value was assembled (the first byte came).
    [[nodiscard]] short readCompact(long* value, bool* stored);

    unsigned flags = 6;
    int formatVersion = 0;
    GSObjectDictionary* dictionary = nullptr;
    int compressionDepth = 0;
    GSFileObjectTable* objectTable = nullptr;
    GSFileWorker* worker = nullptr;
    long fileOffset = 0;
    long reserved = 0;
    long recordEnd = -1;
    int objectDepth = 0;
    int maxObjectDepth = 64;
    long maxTableObjects = 1L << 22;

    friend class GSObjectDepthGuard;
};

// A read that came short gives back what it took, so that a failed read leaves the position
// where it was. Out of line: it runs only on failure.
[[nodiscard]] short GSFileUnread(GSFileWorker* worker, long taken);

// Reads N bytes and stores decode(bytes) in *value; 1 (value untouched) when they are not there.
// Every fixed-width read of GSFile goes through here.
template <long N, class T, class Decode>
[[nodiscard]] inline short GSFileReadDecoded(GSFileWorker* worker, T* value, Decode decode)
{
    unsigned char b[N];
    if (!worker)
        return 1;
    long const got = worker->readBytes(b, N);
    if (got != N) {
        // GSFileUnread always answers 1; returning 1 here lets the compiler see that 0 comes only
        // with *value set (else g++ warns at -O3 in every caller that reads `value` after a 0).
        static_cast<void>(GSFileUnread(worker, got));
        return 1;
    }
    *value = decode(b);
    return 0;
}

// The most frequent reads are inline: with a buffering worker a value costs a bounds check and a
// load from the read-ahead window; everything else goes through the worker's readData.
inline short GSFile::readChar(char* value)
{
    return GSFileReadDecoded<1>(worker, value, [](unsigned char const* b) { return static_cast<char>(b[0]); });
}

inline short GSFile::readShort(short* value)
{
    return GSFileReadDecoded<2>(worker, value, [](unsigned char const* b) { return GetBigShort(b); });
}

inline short GSFile::readLong(int* value)
{
    return GSFileReadDecoded<4>(worker, value, [](unsigned char const* b) { return GetBigLong(b); });
}

inline short GSFile::readLongLong(long* value)
{
    return GSFileReadDecoded<8>(worker, value, [](unsigned char const* b) { return GetBigLongLong(b); });
}

inline short GSFile::readCompact(long* value, bool* stored)
{
    *stored = false;
    unsigned char b;
    if (!worker || worker->readBytes(&b, 1) != 1)
        return 1;
    bool const negative = b & 0x40;
    unsigned long x = b & 63;
    short status = 0;
    int count = 1;
    // At most 10 bytes carry a 64-bit value; a longer run is damaged data, not a longer number.
    for (int shift = 6; b & 0x80; shift += 7, ++count) {
        if (count == 10 || worker->readBytes(&b, 1) != 1) {
            status = GSFileUnread(worker, count);
            break;
        }
        x |= static_cast<unsigned long>(b & 127) << shift;
    }
    *value = static_cast<long>(negative ? ~x : x);
    *stored = true;
    return status;
}

inline short GSFile::readCompactLongLong(long* value)
{
    bool stored;
    return readCompact(value, &stored);
}

// Template-friendly forwarding: GSFileRead(file, &x) reads any primitive by its type.
[[nodiscard]] short GSFileRead(GSFile* file, char* value);
[[nodiscard]] short GSFileRead(GSFile* file, unsigned char* value);
[[nodiscard]] short GSFileRead(GSFile* file, short* value);
[[nodiscard]] short GSFileRead(GSFile* file, unsigned short* value);
[[nodiscard]] short GSFileRead(GSFile* file, int* value);
[[nodiscard]] short GSFileRead(GSFile* file, unsigned int* value);
[[nodiscard]] short GSFileRead(GSFile* file, long* value);
[[nodiscard]] short GSFileRead(GSFile* file, float* value);
[[nodiscard]] short GSFileRead(GSFile* file, double* value);
[[nodiscard]] short GSFileRead(GSFile* file, GSObject** value);
[[nodiscard]] short GSFileWrite(GSFile* file, char value);
[[nodiscard]] short GSFileWrite(GSFile* file, unsigned char value);
[[nodiscard]] short GSFileWrite(GSFile* file, short value);
[[nodiscard]] short GSFileWrite(GSFile* file, unsigned short value);
[[nodiscard]] short GSFileWrite(GSFile* file, int value);
[[nodiscard]] short GSFileWrite(GSFile* file, unsigned int value);
[[nodiscard]] short GSFileWrite(GSFile* file, long value);
[[nodiscard]] short GSFileWrite(GSFile* file, float value);
[[nodiscard]] short GSFileWrite(GSFile* file, double value);
[[nodiscard]] short GSFileWrite(GSFile* file, GSObject const* value);
