#include "tests/support/DictionaryBlocks.h"

#include <cstring>

namespace qmtest {

namespace {

// A record whose data `body` writes straight into `out`, its size filled in afterwards (the long
// header in the compact framing), so that positions inside it are file positions.
void patchedRecord(ByteWriter& out, Framing framing, int tag, std::function<void()> const& body)
{
    size_t sizeAt;
    if (framing == Framing::kClassic) {
        out.i32(tag);
        sizeAt = out.size();
        out.i32(0);
    } else {
        out.u8((static_cast<unsigned>(tag) & 127u) | 128u);
        sizeAt = out.size();
        out.i64(0);
    }
    size_t const start = out.size();
    body();
    uint64_t const size = out.size() - start;
    if (framing == Framing::kClassic) {
        out.patchU32(sizeAt, static_cast<uint32_t>(size));
    } else {
        out.patchU32(sizeAt, static_cast<uint32_t>(size >> 32));
        out.patchU32(sizeAt + 4, static_cast<uint32_t>(size));
    }
}

void writeItem(ByteWriter& out, Framing framing, ObjectTableWriter* table, DictionaryItem const& item)
{
    if (item.className.empty()) { // a reference: its field is the marker and the index
        item.field(out, framing);
        return;
    }
    if (table)
        table->add(static_cast<int64_t>(out.size()));
    out.u8(0);
    writeString(out, framing, item.className);
    RecordWriter w(out, framing);
    w.version(0x0100);
    if (item.className == "GSObjectDictionaryObject") {
        patchedRecord(out, framing, 1, [&] { writeDictionary(out, framing, table, item.nested); });
    } else {
        ByteWriter field;
        item.field(field, framing);
        w.record(1, field.bytes());
    }
    w.endTag();
}

DictionaryItem item(std::string const& className, std::function<void(ByteWriter&, Framing)> field)
{
    return DictionaryItem{className, std::move(field), {}};
}

} // namespace

DictionaryItem stringKey(std::string const& text)
{
    return item("GSStringDictionaryKey", [text](ByteWriter& out, Framing f) { writeString(out, f, text); });
}

DictionaryItem longKey(int32_t number)
{
    return item("GSLongDictionaryKey", [number](ByteWriter& out, Framing) { out.i32(number); });
}

DictionaryItem longValue(int32_t number)
{
    return item("GSLongObject", [number](ByteWriter& out, Framing) { out.i32(number); });
}

DictionaryItem stringValue(std::string const& text)
{
    return item("GSStringObject", [text](ByteWriter& out, Framing f) { writeString(out, f, text); });
}

DictionaryItem standardDoubleValue(double number)
{
    uint64_t bits;
    std::memcpy(&bits, &number, sizeof bits);
    return item("GSDoubleObject", [bits](ByteWriter& out, Framing) { out.u64(bits); });
}

DictionaryItem bufferValue(Bytes const& bytes)
{
    return item("GSBufferObject", [bytes](ByteWriter& out, Framing f) {
        RecordWriter(out, f).version(0x0100).arrayCount(static_cast<int64_t>(bytes.size()));
        out.raw(bytes);
    });
}

DictionaryItem dictionaryValue(std::vector<DictionaryEntry> entries)
{
    return DictionaryItem{"GSObjectDictionaryObject", {}, std::move(entries)};
}

DictionaryItem referenceItem(int32_t index)
{
    return item("", [index](ByteWriter& out, Framing) { out.u8(2).i32(index); });
}

DictionaryItem rawItem(std::string const& className, Bytes const& field)
{
    return item(className, [field](ByteWriter& out, Framing) { out.raw(field); });
}

void writeDictionary(ByteWriter& out, Framing framing, ObjectTableWriter* table, std::vector<DictionaryEntry> const& entries)
{
    RecordWriter w(out, framing);
    w.version(0x0100);
    for (int tag : {1, 2})
        patchedRecord(out, framing, tag, [&] {
            w.arrayCount(static_cast<int64_t>(entries.size()));
            for (DictionaryEntry const& e : entries)
                writeItem(out, framing, table, tag == 1 ? e.key : e.value);
        });
    w.endTag();
}

std::vector<std::pair<std::string, Bytes>> dictionarySeeds()
{
    // The mode (option bits 0-1) decides the framing and the table.
    auto input = [](unsigned options, std::vector<DictionaryEntry> const& entries) {
        ByteWriter block;
        unsigned const mode = options & 3;
        ObjectTableWriter table(mode == 2);
        if (mode != 0)
            table.writeHeader(block);
        writeDictionary(block, mode == 2 ? Framing::kCompact : Framing::kClassic, mode ? &table : nullptr, entries);
        if (mode != 0)
            table.writeDirectory(block);
        Bytes bytes{static_cast<unsigned char>(options)};
        bytes.insert(bytes.end(), block.bytes().begin(), block.bytes().end());
        return bytes;
    };
    std::vector<DictionaryEntry> const settings = {
        {stringKey("GSFileSafetyMode"), longValue(3)},
        {stringKey("GSFileDataName"), stringValue("Scan 7.qmd")},
        {longKey(7), bufferValue({1, 2, 3, 0xFF})},
        {stringKey("inner"), dictionaryValue({{stringKey("depth"), longValue(1)}, {longKey(-1), stringValue("")}})},
    };
    std::vector<DictionaryEntry> shared = settings;
    // Under a table, values may be references to objects written before: the five keys take the
    // indices 0-4, so 5 is the first value.
    shared.push_back({stringKey("again"), referenceItem(5)});
    std::vector<DictionaryEntry> deep = {{stringKey("leaf"), longValue(0)}};
    for (int level = 0; level < 12; ++level)
        deep = {{stringKey("level"), dictionaryValue(deep)}, {longKey(level), longValue(level)}};
    return {
        {"classic", input(0, settings)},
        {"classic-ieee", input(4, {{stringKey("scale"), standardDoubleValue(0.75)}, {stringKey("n"), longValue(-5)}})},
        {"classic-table", input(1, shared)},
        {"compact", input(2, shared)},
        {"compact-ieee", input(6, {{stringKey("x"), standardDoubleValue(-1e300)}})},
        {"compact-deep", input(2, deep)},
        {"key-not-a-key", input(0, {{longValue(1), longValue(2)}})},
        {"unknown-value-class", input(1, {{stringKey("a"), rawItem("NoSuchValue", {1, 2})}})},
        {"short-record", input(0, {{stringKey("a"), rawItem("GSLongObject", {0, 0})}})},
    };
}

} // namespace qmtest
