// Dictionary blocks written byte by byte (never through the library) on top of DocumentBuilder's
// writers, for the dictionary's reader tests and the seeds of its fuzz target.
//
// Dictionary block: version 1.0, record 1 (array count, the keys as objects), record 2 (array
// count, the values as objects), end tag. Keys and values are full objects (marker 0, class name,
// version 1.0, record 1 holding the field, end tag); a nested dictionary's record 1 holds a
// dictionary block. Records that hold objects or a nested dictionary get the long header in the
// compact framing, as the library's writer gives those that hold objects (their positions are file
// positions).
#pragma once

#include "tests/support/DocumentBuilder.h"
#include "tests/support/ObjectDocuments.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace qmtest {

struct DictionaryEntry;

// A key or a value: an object of `className` whose record 1 holds `field` (written in the framing
// in force), or, for "GSObjectDictionaryObject", the block of `nested`.
struct DictionaryItem {
    std::string className;
    std::function<void(ByteWriter&, Framing)> field;
    std::vector<DictionaryEntry> nested;
};

struct DictionaryEntry {
    DictionaryItem key;
    DictionaryItem value;
};

DictionaryItem stringKey(std::string const& text);
DictionaryItem longKey(int32_t number);
DictionaryItem longValue(int32_t number);
DictionaryItem stringValue(std::string const& text);
DictionaryItem standardDoubleValue(double number); // IEEE bits: files with flag 128
DictionaryItem bufferValue(Bytes const& bytes);
DictionaryItem dictionaryValue(std::vector<DictionaryEntry> entries);
// A reference to the table entry `index` (marker 2 and the index) in a key's or a value's place.
DictionaryItem referenceItem(int32_t index);
// Any class with any record 1 data, true or not.
DictionaryItem rawItem(std::string const& className, Bytes const& field);

// A dictionary block at the end of `out`; with a table, every object is listed in it.
void writeDictionary(ByteWriter& out, Framing framing, ObjectTableWriter* table, std::vector<DictionaryEntry> const& entries);

// Seeds of the dictionary fuzz target (fuzz/corpus/dictionary/), by file name: an option byte
// (0 classic without a table, 1 classic in a table of 32-bit positions, 2 compact in a table of
// 64-bit positions; bit 2 IEEE floats and doubles), then the block, in a table block for 1 and 2.
std::vector<std::pair<std::string, Bytes>> dictionarySeeds();

} // namespace qmtest
