// GSTagRead: reads a tagged record sequence: a version, then records (tag, size, data) up to an
// end tag. A record that is not wanted is skipped with one seek.
//
// Classic framing (big-endian):
//   version      2 bytes: the version (> 255), or 4 bytes: major (<= 255), then minor in a short
//   header       tag (int32), size (int32, data bytes after the header)
//   end tag      int32 -1, no size
// Compact framing (while the file is in compact mode):
//   version      1 byte: major << 4 | minor
//   short header tag byte (bit 7 clear, tag 0..126), size byte (0..255)
//   long header  tag byte with bit 7 set, size as 8 bytes big-endian
//   end tag      a byte whose low 7 bits are 127
// A version is valid when >= 256 with a minor number of 0..15; versions compare by major only.
#pragma once

class GSFile;

class GSTagRead {
public:
    enum : int { kEndTag = -1, kReadFailure = static_cast<int>(0x80000000u) };

    // Data start = the file's current position.
    explicit GSTagRead(GSFile* file);

    // Reads and validates a version; a major number above maximum's skips to the end of the
    // sequence and gives 1. The version is stored also on failure.
    short readVersion(short maximum, short* version);
    short readShortVersion(short* version);
    short readByteVersion(short* version);
    // The next header: the tag, kEndTag at the end, kReadFailure when it cannot be read.
    int read();
    short readLongTag();
    short readByteTag();
    // Seeks to the end of the current record.
    short skip();

    int getTag() const { return tag; }
    long getSize() const { return size; }
    long getDataStart() const { return dataStart; }
    short getVersion() const { return version; }
    GSFile* getFile() const { return file; }

private:
    GSFile* file;
    int tag = 0;
    long size = 0;
    long dataStart = 0;
    short version = 256;
};
