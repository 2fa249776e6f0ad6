#include "tests/support/ObjectDocuments.h"

namespace qmtest {

void ObjectTableWriter::writeHeader(ByteWriter& out, int version)
{
    out.i16(version ? version : wide ? 512 : 256);
    offsetField = out.size();
    if (wide)
        out.i64(0);
    else
        out.i32(0);
}

int ObjectTableWriter::add(int64_t position)
{
    positions.push_back(position);
    return static_cast<int>(positions.size()) - 1;
}

void ObjectTableWriter::writeDirectory(ByteWriter& out)
{
    size_t width = wide ? 8 : 4;
    uint64_t offset = out.size() - (offsetField + width);
    if (wide) {
        out.patchU32(offsetField, static_cast<uint32_t>(offset >> 32));
        out.patchU32(offsetField + 4, static_cast<uint32_t>(offset));
    } else {
        out.patchU32(offsetField, static_cast<uint32_t>(offset));
    }
    out.i32(static_cast<int32_t>(positions.size()));
    for (int64_t p : positions) {
        if (wide)
            out.compact(p);
        else
            out.i32(static_cast<int32_t>(p));
    }
}

namespace {

// Writes record `tag` with the data `body` in the framing in force; returns where the data
// starts in `out`, so that positions inside the data can be made absolute.
size_t recordAt(ByteWriter& out, Framing framing, int tag, Bytes const& data)
{
    RecordWriter(out, framing).header(tag, static_cast<int64_t>(data.size()));
    size_t start = out.size();
    out.raw(data);
    return start;
}

} // namespace

Bytes ObjectDocument::build() const
{
    ByteWriter out;
    ObjectTableWriter table(longPositions);
    out.raw(std::string("Quillmoor Document")).u8(0);
    RecordWriter classic(out, Framing::kClassic);
    classic.version(version);
    if (version >= 0x0300) {
        table.writeHeader(out);
    } else {
        classic.header(14, 0).header(15, 0);
        classic.header(11, longPositions ? 10 : 6);
        table.writeHeader(out);
    }
    Framing framing = table.framing();
    RecordWriter top(out, framing);
    if (secondTable) {
        ObjectTableWriter second(longPositions);
        top.header(11, longPositions ? 10 : 6);
        second.writeHeader(out);
    }

    // A content record that the walk skips; it holds the description when the thumbnail refers to it.
    int referenced = -1;
    {
        ByteWriter content;
        content.u32(0xC0FFEE00u);
        size_t objectAt = content.size();
        if (shape == ObjectShape::kByReference)
            writePictureObject(content, framing, "GSMemPicData", pictureType, picture, width, height);
        size_t start = recordAt(out, framing, 12, content.bytes());
        if (shape == ObjectShape::kByReference)
            referenced = table.add(static_cast<int64_t>(start + objectAt));
    }

    // The thumbnail record: version 1.0, inner record 0, inner record 4 with the object (or the
    // reference) followed by the picture bytes, the end tag.
    ByteWriter thumb;
    RecordWriter inner(thumb, framing);
    inner.version(0x0100);
    ByteWriter description;
    description.i16(1).i32(width).i32(height).i32(0);
    inner.record(0, description.bytes());
    ByteWriter object;
    if (shape == ObjectShape::kByReference) {
        object.u8(2).i32(referenced).raw(picture);
    } else {
        char const* name = shape == ObjectShape::kSystemPicData ? "GSSystemPicData"
                           : shape == ObjectShape::kUnknownClass ? "QMRetiredPicture"
                                                                  : "GSMemPicData";
        writePictureObject(object, framing, name, pictureType, picture, width, height);
    }
    inner.header(4, static_cast<int64_t>(object.size()));
    size_t objectInThumb = thumb.size();
    thumb.raw(object.bytes());
    inner.endTag();
    size_t thumbStart = recordAt(out, framing, 13, thumb.bytes());
    if (shape != ObjectShape::kByReference && shape != ObjectShape::kNotListed)
        table.add(static_cast<int64_t>(thumbStart + objectInThumb));
    if (shape == ObjectShape::kNotListed)
        table.add(-1);
    top.endTag();
    table.writeDirectory(out);
    return out.bytes();
}

namespace {

// A full object: marker 0, the class name, version 1.0, then `body` writes its records; end tag.
void object(ByteWriter& out, Framing f, std::string const& className, std::function<void(RecordWriter&)> const& body)
{
    out.u8(0);
    writeString(out, f, className);
    RecordWriter w(out, f);
    w.version(0x0100);
    body(w);
    w.endTag();
}

// The classes the fuzz target registers: FuzzPoint (record 1: int32), FuzzText (record 1: a string),
// FuzzNode (records 2: a child by reference, 1: a byte); and a class nobody registers.
void fuzzPoint(ByteWriter& out, Framing f, int x)
{
    object(out, f, "FuzzPoint", [&](RecordWriter& w) { w.record(1, ByteWriter().i32(x).bytes()); });
}

void fuzzText(ByteWriter& out, Framing f, std::string const& text)
{
    object(out, f, "FuzzText", [&](RecordWriter& w) {
        ByteWriter d;
        writeString(d, f, text);
        w.record(1, d.bytes());
    });
}

void fuzzNode(ByteWriter& out, Framing f, std::vector<int> const& references)
{
    object(out, f, "FuzzNode", [&](RecordWriter& w) {
        for (int index : references)
            w.record(2, ByteWriter().u8(2).i32(index).bytes());
        w.record(1, Bytes{1});
    });
}

void unknownObject(ByteWriter& out, Framing f)
{
    object(out, f, "NoSuchClass", [](RecordWriter& w) { w.record(1, Bytes{1, 2, 3}); });
}

// A table block: point, node (referring back to the point and forward to the text), text, a
// picture description, an unknown class, a reference and a null at the top level.
Bytes tableSeed(bool longPositions, unsigned options)
{
    ByteWriter out;
    ObjectTableWriter table(longPositions);
    Framing f = table.framing();
    table.writeHeader(out);
    table.add(static_cast<int64_t>(out.size()));
    fuzzPoint(out, f, 7);
    table.add(static_cast<int64_t>(out.size()));
    fuzzNode(out, f, {0, 2, 5});
    table.add(static_cast<int64_t>(out.size()));
    fuzzText(out, f, "seed text");
    table.add(static_cast<int64_t>(out.size()));
    writePictureObject(out, f, "GSMemPicData", kPicturePNG, fakePNG(16), 8, 8);
    table.add(static_cast<int64_t>(out.size()));
    unknownObject(out, f);
    table.add(-1);
    out.u8(2).i32(1).u8(1);
    table.writeDirectory(out);
    out.u8(options);
    return out.bytes();
}

Bytes rawSeed()
{
    ByteWriter out;
    fuzzPoint(out, Framing::kClassic, -3);
    fuzzText(out, Framing::kClassic, "raw");
    unknownObject(out, Framing::kClassic);
    fuzzPoint(out, Framing::kClassic, 5);
    out.u8(0);
    return out.bytes();
}

} // namespace

std::vector<std::pair<std::string, Bytes>> objectTableSeeds()
{
    return {
        {"table-long-full", tableSeed(true, 0x01)},
        {"table-long-mixed", tableSeed(true, 0x07)},
        {"table-short-full", tableSeed(false, 0x01)},
        {"table-short-references", tableSeed(false, 0x03)},
        {"raw-objects", rawSeed()},
        {"document-0302", ObjectDocument{}.build()},
    };
}

} // namespace qmtest
