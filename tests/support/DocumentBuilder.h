// DocumentBuilder: writes Quillmoor document bytes for tests, benchmarks, examples and fuzz seeds.
//
// It writes every byte itself with its own big-endian writers and never calls the library, so a
// reader test checks the reader against an independent writer rather than against itself.
//
// Three layers, each usable on its own:
//   ByteWriter       big-endian integers, raw bytes, the compact signed encoding, patching
//   RecordWriter     tagged-record sequences: versions, headers, records, end tags, array counts,
//                    in classic or compact framing (switchable at any point, as a document switches
//                    when its object table of the newer kind starts)
//   DocumentBuilder  documents: IDs, the document version, top-level records, the thumbnail record
//                    (ThumbnailRecord describes its data) and deliberately damaged shapes
// Shapes that need more (object tables, see ObjectDocuments.h) plug in through
// ThumbnailRecord::custom, which hands out the RecordWriter in the framing in force.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace qmtest {

using Bytes = std::vector<unsigned char>;

class ByteWriter {
public:
    ByteWriter& u8(unsigned value);
    ByteWriter& u16(unsigned value);
    ByteWriter& u32(uint32_t value);
    ByteWriter& u64(uint64_t value);
    ByteWriter& i16(int value) { return u16(static_cast<unsigned>(value) & 0xFFFFu); }
    ByteWriter& i32(int32_t value) { return u32(static_cast<uint32_t>(value)); }
    ByteWriter& i64(int64_t value) { return u64(static_cast<uint64_t>(value)); }
    ByteWriter& raw(Bytes const& bytes);
    ByteWriter& raw(std::string const& text);
    // The compact signed encoding: X = v or ~v; first byte X & 63, bit 6 negative, bit 7 more;
    // then 7 bits of X per byte, bit 7 more.
    ByteWriter& compact(int64_t value);
    void patchU32(size_t at, uint32_t value);

    size_t size() const { return out.size(); }
    Bytes const& bytes() const { return out; }

private:
    Bytes out;
};

enum class Framing { kClassic, kCompact };

class RecordWriter {
public:
    RecordWriter(ByteWriter& out, Framing framing) : sink(out), mode(framing) {}

    Framing framing() const { return mode; }
    ByteWriter& out() { return sink; }

    // Classic: one 16-bit value. Compact: one byte, major << 4 | minor.
    RecordWriter& version(int version);
    // Classic two-short form: the major number as a short, then a short whose low byte is the minor.
    RecordWriter& versionTwoShort(int major, int minor);
    // A header announcing `size` data bytes, true or not. Compact: a short header for 0..255,
    // else the 9-byte form.
    RecordWriter& header(int tag, int64_t size);
    RecordWriter& record(int tag, Bytes const& data);
    // A record whose data `body` writes in the same framing (nested sequences included).
    RecordWriter& record(int tag, std::function<void(RecordWriter&)> const& body);
    RecordWriter& endTag();
    // Classic: int32. Compact: the compact signed encoding.
    RecordWriter& arrayCount(int64_t count);

private:
    ByteWriter& sink;
    Framing mode;
};

// The data of top-level record 13: a nested sequence with its own version (default 1.0) and end tag.
class ThumbnailRecord {
public:
    using Step = std::function<void(RecordWriter&)>;

    ThumbnailRecord& version(int version);
    ThumbnailRecord& versionTwoShort(int major, int minor);
    // Inner record 0: variant, width, height and the ignored value, 14 bytes.
    ThumbnailRecord& description(int variant, int width, int height, int ignored = 0);
    // Inner record 6: picture type, byte count, the bytes. `storedCount`, when given, is written in
    // place of the true count; the record's size is always that of what is written.
    ThumbnailRecord& inlinePicture(int type, Bytes const& picture, std::optional<int64_t> storedCount = {});
    // Inner record 4 without an object table: writePictureObject's object, in the framing in force.
    ThumbnailRecord& objectPicture(std::string const& className, int type, Bytes const& picture, int width,
                                   int height, int variant = 0);
    // Any other inner record (the reader skips it by size).
    ThumbnailRecord& record(int tag, Bytes const& data);
    // Anything else, written in the framing in force (object-form pictures and the like).
    ThumbnailRecord& custom(Step step);
    // Leaves out the end tag of the nested sequence.
    ThumbnailRecord& withoutEndTag();

    void writeTo(RecordWriter& writer) const;

private:
    int versionValue = 0x0100;
    int twoShortMajor = -1, twoShortMinor = 0;
    std::vector<Step> steps;
    bool endTag = true;
};

class DocumentBuilder {
public:
    DocumentBuilder() : writer(out, Framing::kClassic) {}
    DocumentBuilder(DocumentBuilder const&) = delete;
    DocumentBuilder& operator=(DocumentBuilder const&) = delete;

    // "Quillmoor Document" 0 / "Quillmoor Selection" 0 / any text, with or without its 0 byte.
    DocumentBuilder& documentID();
    DocumentBuilder& selectionID();
    DocumentBuilder& id(std::string const& text, bool terminator = true);
    DocumentBuilder& version(int version);
    DocumentBuilder& versionTwoShort(int major, int minor);
    DocumentBuilder& record(int tag, Bytes const& data);
    // A header announcing `size` bytes; nothing else is written (sizes past the end, negative sizes).
    DocumentBuilder& header(int tag, int64_t size);
    DocumentBuilder& standardFloats();  // record 14, no data
    DocumentBuilder& standardDoubles(); // record 15, no data
    // Record 13 with the thumbnail's data; `recordSize`, when given, replaces the true size.
    DocumentBuilder& thumbnail(ThumbnailRecord const& thumbnail, std::optional<int64_t> recordSize = {});
    DocumentBuilder& endTag();
    DocumentBuilder& raw(Bytes const& bytes);

    size_t size() const { return out.size(); }
    Bytes const& bytes() const { return out.bytes(); }

private:
    ByteWriter out;
    RecordWriter writer;
};

// Strings: classic  int16 ~encoding, int32 count, the bytes and a 0 (count includes the 0; an
//                   empty string is the int16 0 alone);
//          compact  encoding byte, compact count, the bytes and a 0.
void writeString(ByteWriter& out, Framing framing, std::string const& text, unsigned encoding = 100);

// A picture description object (GSMemPicData's form): marker 0, the class name, then version 1.0,
// record 0 (variant, width, height, 0), record 3 (type, byte count as an array count, the picture
// bytes) and the end tag. The picture bytes thus follow the description at once.
void writePictureObject(ByteWriter& out, Framing framing, std::string const& className, int type,
                        Bytes const& picture, int width, int height, int variant = 1);

// Picture types as stored.
enum : int { kPictureJPEG = 2, kPicturePNG = 3, kPicturePNGAlternative = 5 };

// Recognisable stand-ins for picture bytes: a JPEG or PNG signature, then a counting pattern.
Bytes fakeJPEG(size_t size);
Bytes fakePNG(size_t size);

// A classic version-2.0 document: records 14 and 15, a content record, the thumbnail with
// inner records 0 (variant 1, width x height) and 6, another content record, the end tag.
Bytes simpleDocument(int pictureType, Bytes const& picture, int width = 64, int height = 48);

// The first `length` bytes.
Bytes cut(Bytes const& bytes, size_t length);

} // namespace qmtest
