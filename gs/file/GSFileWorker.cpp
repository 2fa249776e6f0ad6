#include "gs/file/GSFileWorker.h"

#include "gs/object/GSRuntimeClass.h"
#include "gs/platform/GSPlatformFile.h"
#include "gs/util/GSLog.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>

// --- GSFileWorker ----------------------------------------------------------------------------------

GSRuntimeClass GSFileWorker::gsClassGSFileWorker(GSString("GSFileWorker"), &GSObject::gsClassGSObject, nullptr);

GSFileWorker::GSFileWorker() = default;
GSFileWorker::~GSFileWorker() = default;

GSRuntimeClass const& GSFileWorker::getRuntimeClass() const { return gsClassGSFileWorker; }

void GSFileWorker::setAccessMode(char const* mode)
{
    if (!mode || !mode[0])
        return;
    char const first = mode[0];
    bool const update = std::strchr(mode + 1, '+') != nullptr;
    unsigned f = first == 'r' ? kRead : kWrite;
    if (update)
        f |= kRead | kWrite;
    if (mode[1] == 'b')
        f |= kBinary;
    if (first == 'w')
        f |= kCreate;
    accessFlags = f;
    accessMode[0] = first;
    accessMode[1] = 'b';
    accessMode[2] = update ? '+' : '\0';
    accessMode[3] = '\0';
}

long GSFileWorker::getLength()
{
    long const saved = tell();
    if (saved < 0)
        return -1;
    long end = seek(0, 2) == 0 ? tell() : -1;
    if (seek(saved, 0) != 0)
        return -1;
    return end;
}

short GSFileWorker::open()
{
    if (opened)
        return 1;
    short status = _open();
    if (status == 0)
        opened = 1;
    return status;
}

short GSFileWorker::close(short abort)
{
    if (!opened)
        return 1;
    if (compressionActive) {
        (void)endCompression(); // the close's own status is the one reported
        compressionActive = 0;
    }
    short status = _close(abort);
    if (status == 0)
        opened = 0;
    return status;
}

int GSFileWorker::getChar()
{
    unsigned char c;
    if (readBytes(&c, 1) != 1)
        return -1;
    if ((accessFlags & kBinary) || (c != 13 && c != 10))
        return c;
    // CR LF and LF CR are one line end; the byte after a lone CR or LF is given back.
    unsigned char next;
    if (readBytes(&next, 1) == 1 && next != (c == 13 ? 10 : 13))
        (void)seek(-1, 1); // back over a byte just read: only a broken stream fails
    return 10;
}

short GSFileWorker::getString(GSString* s, int maximum)
{
    s->releaseData();
    short status = 0;
    // Raw bytes: a line end is kept as it is in the file.
    for (long taken = 0; taken < static_cast<long>(maximum) - 1; ++taken) {
        unsigned char c;
        if (readBytes(&c, 1) != 1) {
            status = 1;
            break;
        }
        if (c == 0)
            break;
        (void)s->add(static_cast<char>(c));
        if (c == 10)
            break;
    }
    if (s->isValidUTF8())
        s->setEncoding(GSString::kUTF8);
    return status;
}

short GSFileWorker::putString(GSString const& s, short addNewLine)
{
    long n = s.getLength();
    if (n > 0 && _write(s.c_str(), n) != n)
        return 1;
    if (addNewLine) {
        char const newLine = 10;
        if (_write(&newLine, 1) != 1)
            return 1;
    }
    return 0;
}

short GSFileWorker::putLong(int value, int width)
{
    char text[64];
    // A field wider than the buffer is not useful for text output; keep the buffer bounded.
    width = std::clamp(width, -40, 40);
    int n = std::snprintf(text, sizeof text, "%*d", width, value);
    if (n < 0)
        return 1;
    return _write(text, n) == n ? 0 : 1;
}

short GSFileWorker::putFloat(float value, int decimals)
{
    // The largest float has 39 integer digits; 60 decimals are more than a float carries.
    char text[128];
    decimals = std::clamp(decimals, 0, 60);
    int n = std::snprintf(text, sizeof text, "%.*f", decimals, static_cast<double>(value));
    if (n < 0 || n >= static_cast<int>(sizeof text))
        return 1;
    return _write(text, n) == n ? 0 : 1;
}

short GSFileWorker::putChar(char c)
{
    return _write(&c, 1) == 1 ? 0 : 1;
}

// --- GSFileWorkerStream ------------------------------------------------------------------------------

GSFileWorkerStream::GSFileWorkerStream(FILE* existing) : stream(existing)
{
    if (stream)
        opened = 1;
}

GSFileWorkerStream::~GSFileWorkerStream()
{
    if (stream)
        abandon();
    delete[] buffer;
}

void GSFileWorkerStream::resetBuffer()
{
    dropReadWindow();
    lastOperation = kNone;
}

short GSFileWorkerStream::prepareWrite()
{
    if (lastOperation == kLastRead) {
        // stdio needs a positioning call between input and output; it also discards the window.
        long position = tell();
        dropReadWindow();
        lastOperation = kNone;
        if (position < 0 || GSPlatformFileSeek(stream, position, SEEK_SET) != 0)
            return 1;
    }
    lastOperation = kLastWrite;
    return 0;
}

long GSFileWorkerStream::refill(unsigned char* destination, long length)
{
    // Large reads go straight into the caller's buffer; so does everything when no buffer exists.
    if (length >= kBufferSize / 2 || (!buffer && !(buffer = new (std::nothrow) unsigned char[kBufferSize]))) {
        dropReadWindow();
        return static_cast<long>(std::fread(destination, 1, static_cast<size_t>(length), stream));
    }
    long start = GSPlatformFileTell(stream);
    if (start < 0) {
        // Not seekable: the window could not give positions back; read unbuffered.
        dropReadWindow();
        return static_cast<long>(std::fread(destination, 1, static_cast<size_t>(length), stream));
    }
    long got = static_cast<long>(std::fread(buffer, 1, kBufferSize, stream));
    bufferStart = start;
    readNext = buffer;
    readEnd = buffer + got;
    long n = std::min(got, length);
    std::memcpy(destination, buffer, static_cast<size_t>(n));
    readNext += n;
    return n;
}

long GSFileWorkerStream::readData(void* destination, long length)
{
    if (!stream || length <= 0)
        return 0;
    if (lastOperation == kLastWrite && std::fflush(stream) != 0)
        return 0;
    lastOperation = kLastRead;
    auto* out = static_cast<unsigned char*>(destination);
    long done = 0;
    if (readEnd) {
        done = std::min(static_cast<long>(readEnd - readNext), length);
        std::memcpy(out, readNext, static_cast<size_t>(done));
        readNext += done;
    }
    if (done < length)
        done += refill(out + done, length - done);
    return done;
}

short GSFileWorkerStream::seek(long offset, short whence)
{
    if (!stream)
        return 1;
    std::clearerr(stream);
    long target = offset;
    if (whence == 1) {
        long position = tell();
        if (position < 0 || __builtin_add_overflow(position, offset, &target))
            return 1;
        whence = 0;
    }
    if (whence == 0 && readEnd && target >= bufferStart && target - bufferStart <= readEnd - buffer) {
        readNext = buffer + (target - bufferStart);
        return 0;
    }
    if (whence != 0 && whence != 2)
        return 1;
    dropReadWindow();
    lastOperation = kNone;
    return GSPlatformFileSeek(stream, target, whence == 0 ? SEEK_SET : SEEK_END);
}

long GSFileWorkerStream::tell()
{
    if (!stream)
        return -1;
    if (readEnd)
        return bufferStart + (readNext - buffer);
    return GSPlatformFileTell(stream);
}

long GSFileWorkerStream::getLength()
{
    if (!stream)
        return -1;
    // The stream itself stands at the end of the read-ahead window (or at the logical position
    // without one): measuring from there and returning there keeps the window valid.
    long const here = GSPlatformFileTell(stream);
    if (here < 0)
        return -1;
    long end = GSPlatformFileSeek(stream, 0, SEEK_END) == 0 ? GSPlatformFileTell(stream) : -1;
    if (GSPlatformFileSeek(stream, here, SEEK_SET) != 0) {
        resetBuffer();
        return -1;
    }
    return end;
}

short GSFileWorkerStream::flush()
{
    if (!stream)
        return 1;
    return std::fflush(stream) == 0 ? 0 : 1;
}

short GSFileWorkerStream::eof()
{
    if (!stream)
        return 1;
    if (readNext != readEnd)
        return 0;
    return std::feof(stream) ? 1 : 0;
}

short GSFileWorkerStream::getError()
{
    return stream && std::ferror(stream) ? 1 : 0;
}

short GSFileWorkerStream::putChar(char c)
{
    if (!stream || prepareWrite() != 0)
        return 1;
    return std::fputc(static_cast<unsigned char>(c), stream) == EOF ? 1 : 0;
}

long GSFileWorkerStream::_write(void const* source, long length)
{
    if (!stream || length <= 0 || prepareWrite() != 0)
        return 0;
    return static_cast<long>(std::fwrite(source, 1, static_cast<size_t>(length), stream));
}

// _open and _close, with safe saving, are in GSFileWorkerStreamSave.cpp.

// --- GSFileWorkerMemory --------------------------------------------------------------------------------

GSRuntimeClass GSFileWorkerMemory::gsClassGSFileWorkerMemory(GSString("GSFileWorkerMemory"),
                                                             &GSFileWorker::gsClassGSFileWorker,
                                                             &GSFileWorkerMemory::_createFunction);

GSObject* GSFileWorkerMemory::_createFunction()
{
    return new (std::nothrow) GSFileWorkerMemory();
}

GSFileWorkerMemory::GSFileWorkerMemory() = default;

GSFileWorkerMemory::GSFileWorkerMemory(GSDynaArray<unsigned char> const& array) : bytes(array) {}

GSFileWorkerMemory::GSFileWorkerMemory(long growth, long capacity)
    : bytes(capacity > 0 ? capacity : (growth < 0 ? 8192 : growth), growth)
{
}

GSRuntimeClass const& GSFileWorkerMemory::getRuntimeClass() const { return gsClassGSFileWorkerMemory; }

void* GSFileWorkerMemory::getMemoryAddress() const
{
    return const_cast<unsigned char*>(bytes.getPointer());
}

long GSFileWorkerMemory::readData(void* buffer, long length)
{
    long available = bytes.getCount() - position;
    long n = std::min(length, available);
    if (n <= 0)
        return 0;
    std::memcpy(buffer, bytes.getPointer() + position, static_cast<size_t>(n));
    position += n;
    return n;
}

long GSFileWorkerMemory::_write(void const* buffer, long length)
{
    if (length <= 0)
        return 0;
    long end;
    if (__builtin_add_overflow(position, length, &end))
        return 0;
    if (end > bytes.getCount() && bytes.setCount(end) != 0)
        return 0;
    unsigned char* data = bytes.getWritablePointer();
    if (!data)
        return 0;
    std::memcpy(data + position, buffer, static_cast<size_t>(length));
    position = end;
    return length;
}

short GSFileWorkerMemory::seek(long offset, short whence)
{
    long base;
    switch (whence) {
    case 0: base = 0; break;
    case 1: base = position; break;
    case 2: base = bytes.getCount(); break;
    default: return 1;
    }
    long size = bytes.getCount();
    long target;
    if (__builtin_add_overflow(base, offset, &target)) {
        position = offset < 0 ? 0 : size;
        return 1;
    }
    if (target < 0) {
        position = 0;
        return 1;
    }
    if (target > size) {
        position = size;
        return 1;
    }
    position = target;
    return 0;
}

short GSFileWorkerMemory::_open()
{
    position = 0;
    if (accessFlags & kCreate)
        bytes.clear();
    return 0;
}

void GSFileWorkerMemory::setArray(GSDynaArray<unsigned char> const& array)
{
    bytes = array;
    position = 0;
}

void GSFileWorkerMemory::empty()
{
    bytes.empty();
    position = 0;
}

void GSFileWorkerMemory::clear()
{
    bytes.clear();
    position = 0;
}

short GSFileWorkerMemory::setSize(long size)
{
    position = 0;
    return bytes.setCount(size);
}
