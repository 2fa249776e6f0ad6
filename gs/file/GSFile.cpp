#include "gs/file/GSFile.h"

#include "gs/file/GSFileKeys.h"
#include "gs/object/GSFileObjectTable.h"
#include "gs/object/GSObjectDictionary.h"

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>

namespace {

inline std::uint64_t littleU64(unsigned char const* b)
{
    return (std::uint64_t(GetLittleULong(b + 4)) << 32) | GetLittleULong(b);
}

template <class To, class From>
inline To bitCast(From from)
{
    static_assert(sizeof(To) == sizeof(From));
    To to;
    std::memcpy(&to, &from, sizeof to);
    return to;
}

// The mantissa/exponent pair: M * 2^-30 * 2^E.
inline double fromMantissa(int mantissa, short exponent)
{
    return std::ldexp(static_cast<double>(mantissa), exponent - 30);
}

// Every read goes through here: the worker's read-ahead window first, then its readData. A read
// that comes short gives its bytes back.
inline bool readExact(GSFileWorker* worker, void* buffer, long n)
{
    if (!worker)
        return false;
    long const got = worker->readBytes(buffer, n);
    if (got == n)
        return true;
    (void)GSFileUnread(worker, got); // always 1: the read failed
    return false;
}

} // namespace

short GSFileUnread(GSFileWorker* worker, long taken)
{
    if (taken > 0)
        (void)worker->seek(-taken, 1); // back over bytes just read: only a broken stream fails
    return 1;
}

// --- Construction and opening --------------------------------------------------------------------

GSFile::GSFile() = default;

GSFile::GSFile(GSString const& path)
{
    // Constructors report nothing: a file without a worker fails at open().
    (void)setFilename(path);
}

GSFile::GSFile(GSFileSpec const& spec, short followLink)
{
    (void)init(spec, followLink);
}

GSFile::GSFile(long growth, long capacity)
{
    (void)init(new (std::nothrow) GSFileWorkerMemory(growth, capacity), 1);
}

GSFile::GSFile(GSDynaArray<unsigned char> const& bytes)
{
    (void)init(new (std::nothrow) GSFileWorkerMemory(bytes), 1);
}

GSFile::~GSFile()
{
    // A table still attached (an exception passed a merging read or write) goes with the file.
    delete objectTable;
    objectTable = nullptr;
    if (dictionary)
        dictionary->release();
    dictionary = nullptr;
    if (worker) {
        flags &= ~static_cast<unsigned>(kDeleteOnClose);
        if (worker->isOpened())
            (void)close(0); // a destructor has nobody to report to; call close() to see the status
        freeFileWorker();
    }
}

short GSFile::init(GSFileSpec const& spec, short followLink)
{
    (void)followLink; // the file spec's URL already says which entry is meant
    GSDynaArray<unsigned char> const data = spec.getDictionaryBuffer(GSFileDataKey, GSDynaArray<unsigned char>());
    bool const inMemory = worker && worker->isMemberOfRuntimeClass(GSFileWorkerMemory::gsClassGSFileWorkerMemory);
    if (data.getCount() > 0) {
        if (short status = init(new (std::nothrow) GSFileWorkerMemory(data), 1))
            return status;
    } else if (inMemory) {
        freeFileWorker(); // setFileSpec creates the disk worker
    }
    return setFileSpec(spec);
}

short GSFile::init(GSFileWorker* newWorker, short owns)
{
    if (newWorker == worker)
        return worker ? 0 : 1;
    freeFileWorker();
    worker = newWorker;
    if (!worker)
        return 1;
    if (owns)
        flags |= kOwnsWorker;
    else
        flags &= ~static_cast<unsigned>(kOwnsWorker);
    worker->setSafetyMode(getSafetyMode());
    worker->retain();
    return 0;
}

void GSFile::freeFileWorker()
{
    if (worker) {
        if (flags & kOwnsWorker)
            worker->release();
        else
            worker->releaseNoDelete();
        worker = nullptr;
    }
    flags &= ~static_cast<unsigned>(kOwnsWorker);
    reserved = 0;
}

short GSFile::setFilename(GSString const& path)
{
    return setFileSpec(GSFileSpec(path));
}

// Creates the default worker (stdio, owned) when the file has none.
static short ensureWorker(GSFile* file)
{
    if (file->getFileWorker())
        return 0;
    auto* stream = new (std::nothrow) GSFileWorkerStream();
    if (!stream)
        return 1;
    return file->init(stream, 1);
}

short GSFile::setFileSpec(GSFileSpec const& spec)
{
    if (short status = ensureWorker(this))
        return status;
    worker->setFileSpec(spec);
    setSafetyMode(static_cast<int>(spec.getDictionaryLong(GSFileSafetyModeKey, getSafetyMode())));
    formatVersion = static_cast<int>(spec.getDictionaryLong(GSFileFormatVersionKey, formatVersion));
    return 0;
}

short GSFile::setAccessMode(char const* mode)
{
    if (short status = ensureWorker(this))
        return status;
    worker->setAccessMode(mode);
    return 0;
}

void GSFile::setSafetyMode(int mode)
{
    if (mode & 2)
        mode |= 1;
    flags = (flags & ~static_cast<unsigned>(kSafetyModeMask)) |
            ((static_cast<unsigned>(mode) << kSafetyModeShift) & kSafetyModeMask);
    if (worker)
        worker->setSafetyMode(getSafetyMode());
}

short GSFile::open()
{
    return worker ? worker->open() : 1;
}

short GSFile::initWithID(char const* id, short forWriting)
{
    if (forWriting) {
        if (short status = setAccessMode("wb"))
            return status;
        if (short status = open())
            return status;
        return id ? write(id, static_cast<long>(std::strlen(id)) + 1) : 0;
    }
    if (short status = open())
        return status;
    return id ? checkID(id) : 0;
}

short GSFile::initWithFileSpecAndID(GSFileSpec const& spec, char const* id, short forWriting)
{
    // A file spec that gives no worker leaves the file without one, and initWithID then fails.
    (void)init(spec, 0);
    return initWithID(id, forWriting);
}

short GSFile::close(short abort)
{
    compressionDepth = 0;
    short status = worker ? worker->close(abort) : 1;
    flags &= 0x3F;
    formatVersion = 0;
    reserved = 0;
    recordEnd = -1;
    if (flags & kDeleteOnClose) {
        GSFileSpec spec = getFileSpec();
        if (spec.isValid())
            std::remove(spec.getPathname(1).c_str());
        delete this;
    }
    return status;
}

GSFileSpec GSFile::getFileSpec() const
{
    return worker ? worker->getFileSpec() : GSFileSpec();
}

GSFileSpec GSFile::getWorkingFileSpec() const
{
    return worker ? worker->getWorkingFileSpec() : GSFileSpec();
}

GSString GSFile::getDisplayName() const
{
    GSFileSpec const spec = getFileSpec();
    GSString const name = spec.getDictionaryString(GSFileDataNameKey, GSString());
    return name.isEmpty() ? spec.getFilename(1) : name;
}

GSString GSFile::getExtender() const
{
    return getFileSpec().getExtender();
}

GSString GSFile::getAccessMode() const
{
    return worker ? GSString(worker->getAccessMode()) : GSString();
}

short GSFile::getState() const
{
    return worker && worker->isOpened() ? 1 : 0;
}

// --- Positioning ---------------------------------------------------------------------------------

long GSFile::tell() const
{
    if (!worker)
        return -1;
    long position = worker->tell();
    return position < 0 ? -1 : position - fileOffset;
}

short GSFile::seek(long position, int whence)
{
    if (!worker)
        return 1;
    switch (whence) {
    case 0: {
        long target;
        if (position < 0 || __builtin_add_overflow(position, fileOffset, &target))
            return 1;
        return worker->seek(target, 0);
    }
    case 1:
    case 2:
        return worker->seek(position, static_cast<short>(whence));
    default:
        return 1;
    }
}

long GSFile::getLength() const
{
    if (!worker)
        return -1;
    long const end = worker->getLength();
    return end < 0 ? -1 : end - fileOffset;
}

long GSFile::getBytesLeft() const
{
    long const end = recordEnd >= 0 ? recordEnd : getLength();
    long const position = tell();
    // An unknown end (-1) is below every known position.
    if (position < 0 || position > end)
        return -1;
    return end - position;
}

short GSFile::eof() const { return worker ? worker->eof() : 1; }
short GSFile::getError() const { return worker ? worker->getError() : 0; }
bool GSFile::isOpened() const { return worker && worker->isOpened(); }

bool GSFile::isMemoryBased() const
{
    return worker && worker->isMemberOfRuntimeClass(GSFileWorkerMemory::gsClassGSFileWorkerMemory);
}

void* GSFile::getMemoryAddress() const
{
    return worker ? worker->getMemoryAddress() : nullptr;
}

// --- Primitive reads -----------------------------------------------------------------------------

short GSFile::read(void* buffer, long length)
{
    if (length < 0)
        return 1;
    if (length == 0)
        return worker ? 0 : 1;
    return readExact(worker, buffer, length) ? 0 : 1;
}

long GSFile::read(void* buffer, long size, long count)
{
    long bytes;
    if (!worker || size <= 0 || count <= 0 || __builtin_mul_overflow(size, count, &bytes))
        return 0;
    return worker->readBytes(buffer, bytes) / size;
}

short GSFile::readBool(short* value)
{
    return GSFileReadDecoded<1>(worker, value, [](unsigned char const* b) { return short(b[0]); });
}

short GSFile::readLittleShort(short* value)
{
    return GSFileReadDecoded<2>(worker, value, [](unsigned char const* b) { return static_cast<short>(GetLittleUShort(b)); });
}

short GSFile::readBoolAsShort(short* value)
{
    return readShort(value);
}

short GSFile::readIntAsShort(int* value)
{
    short s;
    if (short status = readShort(&s))
        return status;
    *value = s;
    return 0;
}

short GSFile::readIntAsUShort(int* value)
{
    short s;
    if (short status = readShort(&s))
        return status;
    *value = static_cast<unsigned short>(s);
    return 0;
}

short GSFile::readLittleLong(int* value)
{
    return GSFileReadDecoded<4>(worker, value, [](unsigned char const* b) { return static_cast<int>(GetLittleULong(b)); });
}

short GSFile::readPointer(void** value)
{
    long v;
    if (short status = readLongLong(&v))
        return status;
    *value = reinterpret_cast<void*>(static_cast<std::uintptr_t>(v));
    return 0;
}

short GSFile::readLittleLongLong(long* value)
{
    return GSFileReadDecoded<8>(worker, value, [](unsigned char const* b) { return static_cast<long>(littleU64(b)); });
}

short GSFile::readStandardFloat(float* value)
{
    return GSFileReadDecoded<4>(worker, value, [](unsigned char const* b) { return bitCast<float>(GetBigULong(b)); });
}

short GSFile::readLittleStandardFloat(float* value)
{
    return GSFileReadDecoded<4>(worker, value, [](unsigned char const* b) { return bitCast<float>(GetLittleULong(b)); });
}

short GSFile::readStandardDouble(double* value)
{
    return GSFileReadDecoded<8>(worker, value, [](unsigned char const* b) { return bitCast<double>(static_cast<std::uint64_t>(GetBigLongLong(b))); });
}

short GSFile::readLittleStandardDouble(double* value)
{
    return GSFileReadDecoded<8>(worker, value, [](unsigned char const* b) { return bitCast<double>(littleU64(b)); });
}

short GSFile::readFloat(float* value)
{
    if (flags & kStandardFloats)
        return readStandardFloat(value);
    unsigned char b[6];
    if (!readExact(worker, b, 6))
        return 1;
    int const mantissa = GetBigLong(b);
    short const exponent = GetBigShort(b + 4);
    // Files depend on these clamps: a large exponent is the largest float whatever the sign.
    if (exponent >= 38)
        *value = FLT_MAX;
    else if (exponent < -36)
        *value = 0.0f;
    else
        *value = static_cast<float>(fromMantissa(mantissa, exponent));
    return 0;
}

short GSFile::readDouble(double* value)
{
    if (flags & kStandardDoubles)
        return readStandardDouble(value);
    unsigned char b[6];
    if (!readExact(worker, b, 6))
        return 1;
    *value = fromMantissa(GetBigLong(b), GetBigShort(b + 4));
    return 0;
}

// Unsigned big-endian of `width` bytes; on a short read the bytes that came are stored.
template <class T>
static short readVariable(GSFile* file, T* value, int width)
{
    // A width of 0 or less reads nothing and yields 0.
    T v = 0;
    for (int i = 0; i < width; ++i) {
        char c;
        if (file->readChar(&c) != 0) {
            *value = v;
            if (i > 0)
                (void)file->seek(-i, 1); // going back is best effort; the read fails either way
            return 1;
        }
        // Shifting by 8 in two steps keeps bytes beyond the type's width defined: they push out.
        v = static_cast<T>((v << 4) << 4) | static_cast<unsigned char>(c);
    }
    *value = v;
    return 0;
}

short GSFile::readULongVariable(unsigned int* value, int width)
{
    return readVariable(this, value, width);
}

short GSFile::readULongLongVariable(unsigned long* value, int width)
{
    return readVariable(this, value, width);
}

short GSFile::readFileSizeVariable(long* value, int width)
{
    unsigned long v = 0;
    short status = readVariable(this, &v, width);
    *value = static_cast<long>(v);
    return status;
}

short GSFile::readIntXVariable(long* value, int width)
{
    return readFileSizeVariable(value, width);
}

short GSFile::readCompactInt(int* value)
{
    long v = 0;
    bool stored;
    short status = readCompact(&v, &stored);
    if (stored)
        *value = static_cast<int>(v);
    return status;
}

short GSFile::readArrayCount(long* value)
{
    if (getUse64Bit())
        return readCompactLongLong(value);
    int v;
    if (short status = readLong(&v))
        return status;
    *value = v;
    return 0;
}

// --- IDs, tokens and text ------------------------------------------------------------------------

short GSFile::isToken(char const* token, short skipWhiteSpace)
{
    if (!token)
        return 0;
    size_t const length = std::strlen(token);
    if (length > 255)
        return 0;
    char bytes[256];
    if (read(bytes, static_cast<long>(length)) != 0 || std::memcmp(bytes, token, length) != 0)
        return 0;
    if (skipWhiteSpace)
        (void)readWhiteSpace(); // always 0
    return 1;
}

short GSFile::checkID(char const* id)
{
    return isToken(id, 0) && getChar() == 0 ? 0 : 1;
}

short GSFile::hasID(char const* id, short restore)
{
    long const start = tell();
    if (isToken(id, 0) && getChar() == 0)
        return 1;
    if (restore && start >= 0)
        (void)seek(start, 0); // best effort: the answer is 0 either way
    return 0;
}

int GSFile::getChar()
{
    return worker ? worker->getChar() : -1;
}

short GSFile::getString(GSString* s, int maximum)
{
    if (!worker) {
        s->releaseData();
        return 1;
    }
    return worker->getString(s, maximum);
}

short GSFile::readWhiteSpace()
{
    for (;;) {
        int c = getChar();
        if (c == -1)
            return 0;
        if (c != 9 && c != 10 && c != 13 && c != 32 && c != 0) {
            (void)seek(-1, 1); // one byte back over a byte just read: only a broken stream fails
            return 0;
        }
    }
}

short GSFile::readToEndOfLine()
{
    for (;;) {
        int c = getChar();
        if (c == -1 || c == 10 || c == 13)
            return 0;
    }
}

short GSFile::isUTF8()
{
    unsigned char b[3];
    long got = worker ? worker->readBytes(b, 3) : 0;
    if (got == 3 && b[0] == 0xEF && b[1] == 0xBB && b[2] == 0xBF)
        return 1;
    if (got > 0)
        (void)seek(-got, 1); // back over bytes just read: only a broken stream fails
    return 0;
}

// --- Forwarding for templates --------------------------------------------------------------------

short GSFileRead(GSFile* file, char* value) { return file->readChar(value); }
short GSFileRead(GSFile* file, unsigned char* value) { return file->readChar(reinterpret_cast<char*>(value)); }
short GSFileRead(GSFile* file, short* value) { return file->readShort(value); }
short GSFileRead(GSFile* file, unsigned short* value) { return file->readShort(reinterpret_cast<short*>(value)); }
short GSFileRead(GSFile* file, int* value) { return file->readLong(value); }
short GSFileRead(GSFile* file, unsigned int* value) { return file->readLong(reinterpret_cast<int*>(value)); }
short GSFileRead(GSFile* file, long* value) { return file->readCompactLongLong(value); }
short GSFileRead(GSFile* file, float* value) { return file->readFloat(value); }
short GSFileRead(GSFile* file, double* value) { return file->readDouble(value); }
