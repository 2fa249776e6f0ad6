// Documents whose thumbnails are serialised objects, and the object encoding they need, written
// byte by byte (never through the library) on top of DocumentBuilder's writers.
//
// Object encoding: marker 0, the class name as a string, the object's tagged block (a full
// object); marker 1 (null); marker 2 and an int32 index into the object table (a reference).
// Strings: see writeString in DocumentBuilder.h.
// Object table: int16 version (256: int32 positions, classic framing; 512: int64 table offset,
// compact positions, compact framing), the table offset (from the end of the field to the
// directory), the objects, then the directory: int32 count and the absolute marker positions.
#pragma once

#include "tests/support/DocumentBuilder.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace qmtest {

// An object table being written: the header where it is written, positions added as objects are
// placed, the directory at the end.
class ObjectTableWriter {
public:
    explicit ObjectTableWriter(bool longPositions) : wide(longPositions) {}

    Framing framing() const { return wide ? Framing::kCompact : Framing::kClassic; }
    // Version and a placeholder offset; `version` 0 gives 512 or 256.
    void writeHeader(ByteWriter& out, int version = 0);
    // A new entry; its index.
    int add(int64_t position);
    // Fills in the table offset and writes the count and positions.
    void writeDirectory(ByteWriter& out);

private:
    bool wide;
    size_t offsetField = 0;
    std::vector<int64_t> positions;
};

enum class ObjectShape {
    kFull,          // the description in the thumbnail record, listed in the table
    kSystemPicData, // the same under the class name "GSSystemPicData"
    kByReference,   // the description in an earlier record, the thumbnail record refers to it
    kNotListed,     // the description in the thumbnail record, missing from the table
    kUnknownClass,  // a class the library does not know in the description's place
};

struct ObjectDocument {
    // 0x0302 (or any version from 0x0300): the table header right after the version.
    // 0x0200: records 14 and 15, then record 11 whose data is the table header.
    int version = 0x0302;
    // A table of the newer kind: compact framing from the table on.
    bool longPositions = true;
    ObjectShape shape = ObjectShape::kFull;
    int pictureType = kPictureJPEG;
    Bytes picture = fakeJPEG(300);
    int width = 64, height = 48;
    // Version 0x0200 only: a second record 11 right after the first.
    bool secondTable = false;

    Bytes build() const;
};

// Seeds of the object-table fuzz target (fuzz/corpus/objecttable/), by file name: object-table
// blocks of both kinds holding objects of the classes that target registers (FuzzPoint: record 1
// an int32; FuzzText: record 1 a string; FuzzNode: records 1 and 2, children in full and by
// reference), a picture description, an unknown class, references and nulls, then the option
// byte the target reads last; raw objects without a table; a whole document.
std::vector<std::pair<std::string, Bytes>> objectTableSeeds();

} // namespace qmtest
