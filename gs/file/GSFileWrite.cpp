// The write side of GSFile: each primitive write produces exactly the bytes that the read of the
// same name consumes.
#include "gs/file/GSFile.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <new>

namespace {

inline void putBig64(unsigned char* b, std::uint64_t v)
{
    SetBigLong(b, static_cast<int>(static_cast<std::uint32_t>(v >> 32)));
    SetBigLong(b + 4, static_cast<int>(static_cast<std::uint32_t>(v)));
}

template <class To, class From>
inline To bitCast(From from)
{
    static_assert(sizeof(To) == sizeof(From));
    To to;
    std::memcpy(&to, &from, sizeof to);
    return to;
}

// The mantissa/exponent pair of a finite value: frexp's fraction times 2^30 (truncated) and its
// exponent. Infinities become the largest fraction with an exponent no reader clamps away
// (a float reader gives the largest float, a double reader infinity); NaN becomes 0.
void toMantissa(double x, unsigned char* b)
{
    int exponent = 0;
    int mantissa = 0;
    if (std::isinf(x)) {
        mantissa = x > 0 ? 0x3FFFFFFF : -0x3FFFFFFF;
        exponent = SHRT_MAX;
    } else if (!std::isnan(x)) {
        double fraction = std::frexp(x, &exponent);
        mantissa = static_cast<int>(std::ldexp(fraction, 30));
    }
    SetBigLong(b, mantissa);
    SetBigShort(b + 4, static_cast<short>(exponent));
}

// Encodes into N bytes with encode(bytes) and writes them.
template <long N, class Encode>
inline short writeEncoded(GSFile* file, Encode encode)
{
    unsigned char b[N];
    encode(b);
    return file->write(b, N);
}

} // namespace

short GSFile::write(void const* buffer, long length)
{
    if (!worker || length < 0)
        return 1;
    if (length == 0)
        return 0;
    return worker->writeData(buffer, length) == length ? 0 : 1;
}

long GSFile::write(void const* buffer, long size, long count)
{
    long bytes;
    if (!worker || size <= 0 || count <= 0 || __builtin_mul_overflow(size, count, &bytes))
        return 0;
    return worker->writeData(buffer, bytes) / size;
}

short GSFile::writeChar(char value)
{
    return write(&value, 1);
}

short GSFile::writeBool(short value)
{
    return writeChar(static_cast<char>(value));
}

short GSFile::writeShort(short value)
{
    return writeEncoded<2>(this, [&](unsigned char* b) { SetBigShort(b, value); });
}

short GSFile::writeLittleShort(short value)
{
    return writeEncoded<2>(this, [&](unsigned char* b) { SetLittleShort(b, value); });
}

short GSFile::writeLong(int value)
{
    return writeEncoded<4>(this, [&](unsigned char* b) { SetBigLong(b, value); });
}

short GSFile::writeLittleLong(int value)
{
    return writeEncoded<4>(this, [&](unsigned char* b) { SetLittleLong(b, value); });
}

short GSFile::writeLongLong(long value)
{
    return writeEncoded<8>(this, [&](unsigned char* b) { putBig64(b, static_cast<std::uint64_t>(value)); });
}

short GSFile::writePointer(void* value)
{
    return writeLongLong(static_cast<long>(reinterpret_cast<std::uintptr_t>(value)));
}

short GSFile::writeStandardFloat(float value)
{
    return writeEncoded<4>(this, [&](unsigned char* b) { SetBigLong(b, bitCast<int>(value)); });
}

short GSFile::writeStandardDouble(double value)
{
    return writeEncoded<8>(this, [&](unsigned char* b) { putBig64(b, bitCast<std::uint64_t>(value)); });
}

short GSFile::writeFloat(float value)
{
    if (flags & kStandardFloats)
        return writeStandardFloat(value);
    unsigned char b[6];
    toMantissa(value, b);
    return write(b, 6);
}

short GSFile::writeDouble(double value)
{
    if (flags & kStandardDoubles)
        return writeStandardDouble(value);
    unsigned char b[6];
    toMantissa(value, b);
    return write(b, 6);
}

short GSFile::writeCompactLongLong(long value)
{
    unsigned char b[10];
    bool const negative = value < 0;
    std::uint64_t x = static_cast<std::uint64_t>(negative ? ~value : value);
    b[0] = static_cast<unsigned char>((x & 63) | (negative ? 64 : 0) | (x >= 64 ? 128 : 0));
    x >>= 6;
    long n = 1;
    while (x) {
        b[n] = static_cast<unsigned char>((x & 127) | (x >= 128 ? 128 : 0));
        x >>= 7;
        ++n;
    }
    return write(b, n);
}

short GSFile::writeArrayCount(long value)
{
    if (getUse64Bit())
        return writeCompactLongLong(value);
    return writeLong(static_cast<int>(static_cast<std::uint32_t>(value)));
}

short GSFile::writeUTF8BOM()
{
    static unsigned char const bom[3] = {0xEF, 0xBB, 0xBF};
    return write(bom, 3);
}

short GSFile::putChar(char c)
{
    return worker ? worker->putChar(c) : 1;
}

short GSFile::putString(GSString const& s, short addNewLine)
{
    return worker ? worker->putString(s, addNewLine) : 1;
}

short GSFile::putLong(int value, int width)
{
    return worker ? worker->putLong(value, width) : 1;
}

short GSFile::putFloat(float value, int decimals)
{
    return worker ? worker->putFloat(value, decimals) : 1;
}

short GSFile::flush()
{
    return worker ? worker->flush() : 1;
}

short GSFile::copySize(long n, GSFile* destination)
{
    if (n < 1)
        return 0;
    if (!worker || !destination || !destination->worker)
        return 1;
    unsigned char chunk[8192];
    while (n > 0) {
        long const size = std::min(n, static_cast<long>(sizeof chunk));
        if (worker->readBytes(chunk, size) != size)
            return 1;
        if (destination->worker->writeData(chunk, size) != size)
            return 1;
        n -= size;
    }
    return 0;
}

short GSFile::copyContent(GSFile* destination)
{
    long const position = tell();
    long const length = getLength();
    if (position < 0 || length < 0)
        return 1;
    return copySize(length - position, destination);
}

void GSFile::transferWorker(GSFile* destination)
{
    if (!destination || destination == this)
        return;
    // Closing must not destroy the destination here, whatever its delete-on-close flag says.
    unsigned const deleteOnClose = destination->flags & kDeleteOnClose;
    destination->flags &= ~static_cast<unsigned>(kDeleteOnClose);
    (void)destination->close(0); // whatever it held is replaced: its close status has no reader
    destination->flags |= deleteOnClose;
    unsigned const carried = kSafetyModeMask | kStandardFloats | kStandardDoubles;
    destination->flags = (destination->flags & ~carried) | (flags & carried);
    destination->formatVersion = formatVersion;
    destination->fileOffset = fileOffset;
    destination->reserved = reserved;
    if (worker)
        (void)destination->init(worker, (flags & kOwnsWorker) ? 1 : 0); // cannot fail: non-null
    freeFileWorker();
}

GSFile* GSFile::tmpFile(short named)
{
    auto* file = new (std::nothrow) GSFile();
    if (!file)
        return nullptr;
    file->flags = kDeleteOnClose | kOwnsWorker | (1u << kSafetyModeShift);
    short status = 1;
    if (named) {
        GSFileSpec spec;
        status = spec.initWithTempPath();
        if (status == 0)
            status = file->setFileSpec(spec);
        if (status == 0)
            status = file->setAccessMode("wb+");
        if (status == 0)
            status = file->open();
    } else if (FILE* stream = std::tmpfile()) {
        auto* worker = new (std::nothrow) GSFileWorkerStream(stream);
        if (worker)
            worker->setAccessMode("wb+");
        else
            std::fclose(stream);
        status = file->init(worker, 1);
    }
    if (status != 0) {
        delete file;
        return nullptr;
    }
    return file;
}

// --- Forwarding for templates --------------------------------------------------------------------

short GSFileWrite(GSFile* file, char value) { return file->writeChar(value); }
short GSFileWrite(GSFile* file, unsigned char value) { return file->writeChar(static_cast<char>(value)); }
short GSFileWrite(GSFile* file, short value) { return file->writeShort(value); }
short GSFileWrite(GSFile* file, unsigned short value) { return file->writeShort(static_cast<short>(value)); }
short GSFileWrite(GSFile* file, int value) { return file->writeLong(value); }
short GSFileWrite(GSFile* file, unsigned int value) { return file->writeLong(static_cast<int>(value)); }
short GSFileWrite(GSFile* file, long value) { return file->writeCompactLongLong(value); }
short GSFileWrite(GSFile* file, float value) { return file->writeFloat(value); }
short GSFileWrite(GSFile* file, double value) { return file->writeDouble(value); }
