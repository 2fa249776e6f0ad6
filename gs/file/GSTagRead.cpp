#include "gs/file/GSTagRead.h"

#include "gs/file/GSFile.h"

GSTagRead::GSTagRead(GSFile* f) : file(f), dataStart(f ? f->tell() : -1)
{
    if (!file)
        return;
    outerEnd = file->getRecordEnd();
    end = outerEnd >= 0 ? outerEnd : file->getLength();
    // Readers of nested blocks at this level share the length read here.
    file->setRecordEnd(end);
}

GSTagRead::~GSTagRead()
{
    if (file)
        file->setRecordEnd(outerEnd);
}

short GSTagRead::readShortVersion(short* v)
{
    short first;
    if (short status = file->readShort(&first))
        return status;
    if (first > 255) {
        *v = first;
        return 0;
    }
    // Two-short form: the major number alone, then a short whose low byte is the minor number.
    short second;
    if (short status = file->readShort(&second))
        return status;
    *v = static_cast<short>((static_cast<unsigned short>(first) << 8) | static_cast<unsigned short>(second));
    return 0;
}

short GSTagRead::readByteVersion(short* v)
{
    char c;
    if (short status = file->readChar(&c))
        return status;
    auto const b = static_cast<unsigned char>(c);
    *v = static_cast<short>(((b >> 4) << 8) | (b & 15));
    return 0;
}

short GSTagRead::readVersion(short maximum, short* result)
{
    short v = 0;
    short status = file->getUse64Bit() ? readByteVersion(&v) : readShortVersion(&v);
    if (status)
        return status;
    version = v;
    if (result)
        *result = v;
    if (maximum > 0 && (v >> 8) > (maximum >> 8)) {
        // Too new to understand: step over the whole sequence so that the caller can go on.
        for (;;) {
            int t = read();
            if (t == kEndTag || t == kReadFailure || skip() != 0)
                break;
        }
        return 1;
    }
    return v < 256 || (v & 0xF0) ? 1 : 0;
}

short GSTagRead::readLongTag()
{
    int t;
    if (short status = file->readLong(&t))
        return status;
    tag = t;
    if (t == kEndTag)
        return 0;
    int s;
    if (short status = file->readLong(&s))
        return status;
    size = s;
    return 0;
}

short GSTagRead::readByteTag()
{
    char c;
    if (short status = file->readChar(&c))
        return status;
    auto const b = static_cast<unsigned char>(c);
    if ((b & 127) == 127) {
        tag = kEndTag;
        return 0;
    }
    tag = b & 127;
    if (b & 128)
        return file->readLongLong(&size);
    char s;
    if (short status = file->readChar(&s))
        return status;
    size = static_cast<unsigned char>(s);
    return 0;
}

int GSTagRead::read()
{
    size = 0;
    pastEnd = false;
    // The header belongs to this sequence, not to the record before it.
    file->setRecordEnd(end);
    short status = file->getUse64Bit() ? readByteTag() : readLongTag();
    dataStart = file->tell();
    if (status) {
        tag = kReadFailure;
        size = 0;
        return tag;
    }
    if (end >= 0) {
        // Checked as `size > end - dataStart`, never `dataStart + size > end`, which can wrap.
        bool const headerInside = dataStart >= 0 && dataStart <= end;
        if (!headerInside || (tag != kEndTag && (size < 0 || size > end - dataStart))) {
            pastEnd = true;
            tag = kReadFailure;
            return tag;
        }
        if (tag != kEndTag)
            file->setRecordEnd(dataStart + size);
    }
    return tag;
}

short GSTagRead::skip()
{
    // A damaged size must never move the walk backwards (it would loop), wrap around, or leave
    // the enclosing record.
    long target;
    if (size < 0 || dataStart < 0 || __builtin_add_overflow(dataStart, size, &target) || (end >= 0 && target > end))
        return 1;
    return file->seek(target, 0);
}
