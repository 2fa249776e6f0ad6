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
//
// Bounds: a reader knows where its sequence must end: the end of the record it was made inside of
// (the file's record end, which an enclosing reader sets while one of its records is current), or
// the end of the file, read once, for a reader at the top level. A record that claims to reach
// past that end, or whose size is negative, is refused by read() and skip() alike, whatever the
// back end; while one of its records is current the reader makes that record's end the file's
// record end, so that readers of nested blocks, and the counts they take from the file, are held
// inside it. The destructor gives the file back the end it had.
#pragma once

class GSFile;

class GSTagRead {
public:
    enum : int { kEndTag = -1, kReadFailure = static_cast<int>(0x80000000u) };

    // Data start = the file's current position.
    explicit GSTagRead(GSFile* file);
    ~GSTagRead();
    GSTagRead(GSTagRead const&) = delete;
    GSTagRead& operator=(GSTagRead const&) = delete;

    // Reads and validates a version; a major number above maximum's skips to the end of the
    // sequence and gives 1. The version is stored also on failure.
    [[nodiscard]] short readVersion(short maximum, short* version);
    [[nodiscard]] short readShortVersion(short* version);
    [[nodiscard]] short readByteVersion(short* version);
    // The next header: the tag, kEndTag at the end, kReadFailure when it cannot be read or when
    // its record does not fit (isPastEnd(); getSize() and getDataStart() then say what it claimed).
    int read();
    [[nodiscard]] short readLongTag();
    [[nodiscard]] short readByteTag();
    // Seeks to the end of the current record; 1 (nothing moves) when it lies outside the bound.
    [[nodiscard]] short skip();

    int getTag() const { return tag; }
    long getSize() const { return size; }
    long getDataStart() const { return dataStart; }
    [[nodiscard]] short getVersion() const { return version; }
    GSFile* getFile() const { return file; }
    // Where the sequence must end; -1 when the file's length is unknown (nothing is checked).
    long getEnd() const { return end; }
    // The last header was read but claimed a record outside the bound.
    bool isPastEnd() const { return pastEnd; }

private:
    GSFile* file;
    int tag = 0;
    long size = 0;
    long dataStart = 0;
    short version = 256;
    long end = -1;
    long outerEnd = -1;
    bool pastEnd = false;
};
