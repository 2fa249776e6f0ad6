// The binary file form of GSString (layout in GSString.h).
#include "gs/text/GSString.h"

#include "gs/file/GSFile.h"

#include <new>

namespace {

bool isASCII(GSString const& s)
{
    char const* p = s.c_str();
    for (long i = 0; i < s.getLength(); ++i)
        if (static_cast<unsigned char>(p[i]) >= 0x80)
            return false;
    return true;
}

} // namespace

short GSString::write(GSFile* file) const
{
    if (!file)
        return 1;
    long count = bytes.empty() ? 0 : getLength() + 1;
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
    return count ? file->write(bytes.c_str(), count) : 0;
}

short GSString::read(GSFile* file)
{
    bytes.clear();
    if (!file)
        return 1;
    unsigned char tag = 0;
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
        if (first == 0)
            return 0;
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
    if (count == 0) {
        encoding = tag;
        return 0;
    }
    // The count comes from the file: it must fit in what is left of its record.
    long const left = file->getBytesLeft();
    if (count < 0 || left < 0 || count > left)
        return 1;
    char* data = new (std::nothrow) char[static_cast<size_t>(count)];
    if (!data)
        return 1;
    short st = file->read(data, count);
    if (st == 0 && data[count - 1] == 0) {
        bytes.assign(data, static_cast<size_t>(count - 1));
        encoding = tag;
        // Code-page text is kept in the Mac code page; for ASCII text that is the same bytes.
        if (encoding <= 99 && isASCII(*this))
            encoding = kMac;
    }
    delete[] data;
    return st;
}
