#include "tests/support/DocumentBuilder.h"

#include <algorithm>
#include <stdexcept>

namespace qmtest {

// --- ByteWriter -------------------------------------------------------------------------------

ByteWriter& ByteWriter::u8(unsigned value)
{
    out.push_back(static_cast<unsigned char>(value & 0xFFu));
    return *this;
}

ByteWriter& ByteWriter::u16(unsigned value)
{
    return u8(value >> 8).u8(value);
}

ByteWriter& ByteWriter::u32(uint32_t value)
{
    return u16(value >> 16).u16(value & 0xFFFFu);
}

ByteWriter& ByteWriter::u64(uint64_t value)
{
    return u32(static_cast<uint32_t>(value >> 32)).u32(static_cast<uint32_t>(value));
}

ByteWriter& ByteWriter::raw(Bytes const& bytes)
{
    out.insert(out.end(), bytes.begin(), bytes.end());
    return *this;
}

ByteWriter& ByteWriter::raw(std::string const& text)
{
    out.insert(out.end(), text.begin(), text.end());
    return *this;
}

ByteWriter& ByteWriter::compact(int64_t value)
{
    bool negative = value < 0;
    uint64_t x = static_cast<uint64_t>(negative ? ~value : value);
    unsigned first = static_cast<unsigned>(x & 63u) | (negative ? 64u : 0u) | (x >= 64 ? 128u : 0u);
    u8(first);
    x >>= 6;
    while (x != 0) {
        u8(static_cast<unsigned>(x & 127u) | (x >= 128 ? 128u : 0u));
        x >>= 7;
    }
    return *this;
}

void ByteWriter::patchU32(size_t at, uint32_t value)
{
    if (at + 4 > out.size())
        throw std::out_of_range("patchU32 past the end");
    for (int i = 0; i < 4; ++i)
        out[at + static_cast<size_t>(i)] = static_cast<unsigned char>(value >> (24 - 8 * i));
}

// --- RecordWriter -----------------------------------------------------------------------------

RecordWriter& RecordWriter::version(int version)
{
    if (mode == Framing::kClassic)
        sink.i16(version);
    else
        sink.u8(static_cast<unsigned>(((version >> 8) & 15) << 4 | (version & 15)));
    return *this;
}

RecordWriter& RecordWriter::versionTwoShort(int major, int minor)
{
    sink.i16(major).i16(minor);
    return *this;
}

RecordWriter& RecordWriter::header(int tag, int64_t size)
{
    if (mode == Framing::kClassic) {
        sink.i32(tag).i32(static_cast<int32_t>(size));
    } else if (size >= 0 && size <= 255) {
        sink.u8(static_cast<unsigned>(tag) & 127u).u8(static_cast<unsigned>(size));
    } else {
        sink.u8((static_cast<unsigned>(tag) & 127u) | 128u).i64(size);
    }
    return *this;
}

RecordWriter& RecordWriter::record(int tag, Bytes const& data)
{
    header(tag, static_cast<int64_t>(data.size()));
    sink.raw(data);
    return *this;
}

RecordWriter& RecordWriter::record(int tag, std::function<void(RecordWriter&)> const& body)
{
    ByteWriter scratch;
    RecordWriter inner(scratch, mode);
    body(inner);
    return record(tag, scratch.bytes());
}

RecordWriter& RecordWriter::endTag()
{
    if (mode == Framing::kClassic)
        sink.u32(0xFFFFFFFFu);
    else
        sink.u8(0x7F);
    return *this;
}

RecordWriter& RecordWriter::arrayCount(int64_t count)
{
    if (mode == Framing::kClassic)
        sink.i32(static_cast<int32_t>(count));
    else
        sink.compact(count);
    return *this;
}

// --- ThumbnailRecord --------------------------------------------------------------------------

ThumbnailRecord& ThumbnailRecord::version(int version)
{
    versionValue = version;
    twoShortMajor = -1;
    return *this;
}

ThumbnailRecord& ThumbnailRecord::versionTwoShort(int major, int minor)
{
    twoShortMajor = major;
    twoShortMinor = minor;
    return *this;
}

ThumbnailRecord& ThumbnailRecord::description(int variant, int width, int height, int ignored)
{
    return custom([=](RecordWriter& w) {
        // The reader takes these 14 bytes as the whole record and reads the next header after them.
        w.header(0, 14);
        w.out().i16(variant).i32(width).i32(height).i32(ignored);
    });
}

ThumbnailRecord& ThumbnailRecord::inlinePicture(int type, Bytes const& picture, std::optional<int64_t> storedCount)
{
    int64_t count = storedCount.value_or(static_cast<int64_t>(picture.size()));
    return custom([=](RecordWriter& w) {
        w.record(6, [&](RecordWriter& body) {
            body.out().i16(type);
            body.arrayCount(count);
            body.out().raw(picture);
        });
    });
}

ThumbnailRecord& ThumbnailRecord::objectPicture(std::string const& className, int type, Bytes const& picture,
                                                int width, int height, int variant)
{
    return custom([=](RecordWriter& w) {
        w.record(4, [&](RecordWriter& object) {
            writePictureObject(object.out(), object.framing(), className, type, picture, width, height, variant);
        });
    });
}

ThumbnailRecord& ThumbnailRecord::record(int tag, Bytes const& data)
{
    return custom([=](RecordWriter& w) { w.record(tag, data); });
}

ThumbnailRecord& ThumbnailRecord::custom(Step step)
{
    steps.push_back(std::move(step));
    return *this;
}

ThumbnailRecord& ThumbnailRecord::withoutEndTag()
{
    endTag = false;
    return *this;
}

void ThumbnailRecord::writeTo(RecordWriter& writer) const
{
    if (twoShortMajor >= 0)
        writer.versionTwoShort(twoShortMajor, twoShortMinor);
    else
        writer.version(versionValue);
    for (Step const& step : steps)
        step(writer);
    if (endTag)
        writer.endTag();
}

// --- DocumentBuilder --------------------------------------------------------------------------

DocumentBuilder& DocumentBuilder::documentID() { return id("Quillmoor Document"); }
DocumentBuilder& DocumentBuilder::selectionID() { return id("Quillmoor Selection"); }

DocumentBuilder& DocumentBuilder::id(std::string const& text, bool terminator)
{
    out.raw(text);
    if (terminator)
        out.u8(0);
    return *this;
}

DocumentBuilder& DocumentBuilder::version(int version)
{
    writer.version(version);
    return *this;
}

DocumentBuilder& DocumentBuilder::versionTwoShort(int major, int minor)
{
    writer.versionTwoShort(major, minor);
    return *this;
}

DocumentBuilder& DocumentBuilder::record(int tag, Bytes const& data)
{
    writer.record(tag, data);
    return *this;
}

DocumentBuilder& DocumentBuilder::header(int tag, int64_t size)
{
    writer.header(tag, size);
    return *this;
}

DocumentBuilder& DocumentBuilder::standardFloats() { return record(14, {}); }
DocumentBuilder& DocumentBuilder::standardDoubles() { return record(15, {}); }

DocumentBuilder& DocumentBuilder::thumbnail(ThumbnailRecord const& thumbnail, std::optional<int64_t> recordSize)
{
    ByteWriter data;
    RecordWriter inner(data, writer.framing());
    thumbnail.writeTo(inner);
    writer.header(13, recordSize.value_or(static_cast<int64_t>(data.size())));
    out.raw(data.bytes());
    return *this;
}

DocumentBuilder& DocumentBuilder::endTag()
{
    writer.endTag();
    return *this;
}

DocumentBuilder& DocumentBuilder::raw(Bytes const& bytes)
{
    out.raw(bytes);
    return *this;
}

// --- Objects ----------------------------------------------------------------------------------

void writeString(ByteWriter& out, Framing framing, std::string const& text, unsigned encoding)
{
    int64_t count = text.empty() ? 0 : static_cast<int64_t>(text.size()) + 1;
    if (framing == Framing::kCompact) {
        out.u8(encoding).compact(count);
    } else {
        if (count == 0) {
            out.i16(0);
            return;
        }
        out.i16(~static_cast<int>(encoding)).i32(static_cast<int32_t>(count));
    }
    if (count)
        out.raw(text).u8(0);
}

void writePictureObject(ByteWriter& out, Framing framing, std::string const& className, int type,
                        Bytes const& picture, int width, int height, int variant)
{
    out.u8(0);
    writeString(out, framing, className);
    RecordWriter w(out, framing);
    w.version(0x0100);
    ByteWriter description;
    description.i16(variant).i32(width).i32(height).i32(0);
    w.record(0, description.bytes());
    ByteWriter data;
    RecordWriter d(data, framing);
    data.i16(type);
    d.arrayCount(static_cast<int64_t>(picture.size()));
    data.raw(picture);
    w.record(3, data.bytes());
    w.endTag();
}

// --- Helpers ----------------------------------------------------------------------------------

namespace {
Bytes fakePicture(Bytes signature, size_t size)
{
    Bytes bytes = std::move(signature);
    while (bytes.size() < size)
        bytes.push_back(static_cast<unsigned char>(bytes.size() * 7 + 3));
    bytes.resize(size);
    return bytes;
}
} // namespace

Bytes fakeJPEG(size_t size) { return fakePicture({0xFF, 0xD8, 0xFF, 0xE0}, size); }
Bytes fakePNG(size_t size) { return fakePicture({0x89, 'P', 'N', 'G', 0x0D, 0x0A, 0x1A, 0x0A}, size); }

Bytes simpleDocument(int pictureType, Bytes const& picture, int width, int height)
{
    DocumentBuilder b;
    b.documentID().version(0x0200).standardFloats().standardDoubles();
    b.record(20, Bytes{1, 2, 3, 4, 5});
    b.thumbnail(ThumbnailRecord().description(1, width, height).inlinePicture(pictureType, picture));
    b.record(21, Bytes(16, 0xAB));
    b.endTag();
    return b.bytes();
}

Bytes cut(Bytes const& bytes, size_t length)
{
    return Bytes(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(std::min(length, bytes.size())));
}

} // namespace qmtest
