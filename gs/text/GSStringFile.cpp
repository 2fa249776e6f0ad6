// The binary file forms of GSString (layout in GSString.h) and the fixed-width fields.
#include "gs/text/GSString.h"

#include "gs/file/GSFile.h"
#include "gs/filespec/GSFileSpec.h"
#include "gs/util/GSByteOrder.h"

#include <bit>
#include <memory>
#include <new>

namespace {

// A count taken from the file must fit in what is left of its record before anything is
// allocated for it.
bool fitsInFile(GSFile* file, long bytes)
{
    long const left = file->getBytesLeft();
    return bytes >= 0 && left >= 0 && bytes <= left;
}

int machineByteOrder()
{
    return std::endian::native == std::endian::big ? GSByteOrderBig : GSByteOrderLittle;
}

} // namespace

short GSString::write(GSFile* file) const
{
    if (!file)
        return 1;
    long const count = isEmpty() ? 0 : getLength() + 1;
    if (file->getUse64Bit()) {
        if (short st = file->writeChar(static_cast<char>(encoding)))
            return st;
        if (short st = file->writeCompactLongLong(count))
            return st;
    } else {
        if (count == 0)
            return file->writeShort(0);
        // The classic count field is 32 bits wide.
        if (count > 0x7FFFFFFF)
            return 1;
        if (short st = file->writeShort(static_cast<short>(~static_cast<int>(encoding))))
            return st;
        if (short st = file->writeLong(static_cast<int>(count)))
            return st;
    }
    // The data and its terminating zero.
    return count ? file->write(c_str(), count) : 0;
}

short GSString::read(GSFile* file)
{
    releaseData();
    if (!file)
        return 1;
    int tag = kWindows;
    long count = 0;
    if (file->getUse64Bit()) {
        char t;
        if (short st = file->readChar(&t))
            return st;
        tag = static_cast<unsigned char>(t);
        if (short st = file->readCompactLongLong(&count))
            return st;
    } else {
        short first;
        if (short st = file->readShort(&first))
            return st;
        if (first == 0) {
            encoding = kUTF8;
            return 0;
        }
        if (first > 0) {
            count = first;
        } else {
            tag = static_cast<unsigned char>(~first);
            int n;
            if (short st = file->readLong(&n))
                return st;
            count = n;
        }
    }
    encoding = static_cast<unsigned char>(tag);
    if (count == 0) {
        if (encoding <= 99)
            encoding = kMac;
        return 0;
    }
    if (!fitsInFile(file, count))
        return 1;
    if (createOwnData(count, calcNewSize(count), 0))
        return 1;
    if (short st = file->read(ownData(), count)) {
        releaseData();
        return st;
    }
    // Data that does not end in its terminator is not taken, but the read itself succeeded.
    if (ownData()[count - 1] != 0) {
        releaseData();
        if (encoding <= 99)
            encoding = kMac;
        return 0;
    }
    setUsed(count);
    // Code-page text is kept in the Mac code page.
    if (encoding <= 99)
        (void)convertEncoding(kMac);
    return 0;
}

short GSString::readStringWithLength(GSFile* file, int n)
{
    if (!file || n < 0 || !fitsInFile(file, n))
        return 1;
    std::unique_ptr<char[]> bytes(new (std::nothrow) char[static_cast<size_t>(n)]);
    if (!bytes)
        return 1;
    long length = n;
    for (int i = 0; i < n; ++i) {
        if (short st = file->readChar(&bytes[i]))
            return st;
    }
    // The text ends at the last zero of the field, not the first: older writers padded with
    // zeros after a zero-terminated text that could itself hold zeros.
    for (long i = n - 1; i >= 0; --i) {
        if (bytes[i] == 0) {
            length = i;
            break;
        }
    }
    return init(bytes.get(), length, -2);
}

short GSString::readUnicodeStringWithLength(GSFile* file, int n, short byteOrder)
{
    if (!file || n < 0 || !fitsInFile(file, 2L * n))
        return 1;
    std::unique_ptr<unsigned short[]> units(new (std::nothrow) unsigned short[static_cast<size_t>(n)]);
    if (!units)
        return 1;
    for (int i = 0; i < n; ++i) {
        if (short st = file->read(&units[i], 2))
            return st;
    }
    long length = n;
    for (long i = n - 1; i >= 0; --i) {
        if (units[i] == 0) {
            length = i;
            break;
        }
    }
    GSSwapUSHORTArray(units.get(), length, byteOrder, machineByteOrder());
    GSString text(units.get(), length);
    *this = std::move(text);
    return 0;
}

namespace {

// One UTF-16 unit in `byteOrder`.
short readUnit(GSFile* file, short byteOrder, unsigned short* unit)
{
    if (short st = file->read(unit, 2))
        return st;
    GSSwapUSHORTArray(unit, 1, byteOrder, machineByteOrder());
    return 0;
}

} // namespace

short GSString::readPascalStringAndLength(GSFile* file, long* length)
{
    if (!file)
        return 1;
    char n;
    if (short st = file->readChar(&n))
        return st;
    long const count = static_cast<unsigned char>(n);
    if (!fitsInFile(file, count))
        return 1;
    char bytes[255];
    if (short st = file->read(bytes, count))
        return st;
    if (short st = init(bytes, count, kMac))
        return st;
    encoding = kMac; // also when the text is empty
    if (length)
        *length = count + 1;
    return 0;
}

short GSString::readUnicodeStringAndLength(GSFile* file, short byteOrder, long* length)
{
    if (!file)
        return 1;
    unsigned short count;
    if (short st = readUnit(file, byteOrder, &count))
        return st;
    if (!fitsInFile(file, 2L * count))
        return 1;
    std::unique_ptr<unsigned short[]> units(new (std::nothrow) unsigned short[count + 1]);
    if (!units)
        return 1;
    for (long i = 0; i < count; ++i) {
        if (short st = readUnit(file, byteOrder, &units[i]))
            return st;
    }
    GSString text(units.get(), count);
    *this = std::move(text);
    if (length)
        *length = 2 + 2L * count;
    return 0;
}

short GSString::read0TerminatedUnicodeString(GSFile* file, short byteOrder)
{
    releaseData();
    encoding = kUTF8;
    if (!file)
        return 1;
    // The units go through in pieces; a high surrogate at the end of a piece waits for the next.
    unsigned short units[256];
    long n = 0;
    for (;;) {
        unsigned short unit;
        if (short st = readUnit(file, byteOrder, &unit)) {
            releaseData();
            return st; // no terminating zero before the end
        }
        if (unit == 0)
            break;
        units[n++] = unit;
        if (n == 256) {
            bool const high = unit >= 0xD800 && unit <= 0xDBFF;
            if (appendUTF16(units, high ? 255 : 256))
                return 1;
            n = 0;
            if (high)
                units[n++] = unit;
        }
    }
    return n ? appendUTF16(units, n) : 0;
}

short GSString::loadFromFile(GSFile* file)
{
    releaseData();
    if (!file)
        return 1;
    short const bom = file->isUTF8(); // a UTF-8 byte-order mark is skipped
    long const n = file->getBytesLeft();
    if (n < 0)
        return 1;
    if (n > 0) {
        if (createOwnData(n + 1, n + 1, 0))
            return 1;
        if (short st = file->read(ownData(), n)) {
            releaseData();
            return st;
        }
        setUsed(n + 1);
    }
    encoding = bom || n == 0 || isValidUTF8() ? kUTF8 : kMac;
    return 0;
}

short GSString::loadFromFileSpec(GSFileSpec const& spec)
{
    GSFile file(spec, 0);
    if (short st = file.setAccessMode("rb"))
        return st;
    if (short st = file.open()) {
        releaseData();
        return st;
    }
    short const status = loadFromFile(&file);
    short const closed = file.close();
    return status ? status : closed;
}

short GSString::saveToFileSpec(GSFileSpec const& spec) const
{
    GSFile file(spec, 0);
    if (short st = file.setAccessMode("wb"))
        return st;
    if (short st = file.open())
        return st;
    if (short st = file.write(c_str(), getLength())) {
        (void)file.close(1); // abandon: the old file stays as it was
        return st;
    }
    return file.close();
}
