// Fuzz target for the text readers and the string tables over arbitrary bytes in memory files.
//
// The first byte holds options: bit 0 reads quoted text and key/value lines into code-page
// strings (Windows text kept as Mac), else into UTF-8 ones; bit 1 reads the binary table form in
// the compact framing (behind an empty object table of the newer kind), else in the classic one;
// bit 2 makes the tables unsorted. The other bytes go, each time from the start, to
// GSString::readString (string after string), GSString::readKeyValue (pair after pair, until the
// end or a failure), GSStringTable::merge and GSStringTable::read. Invariants:
//   - every text read is zero-terminated and at most three times as long as the input (a Windows
//     byte becomes up to three UTF-8 bytes);
//   - a merged table holds UTF-8 text only, and every entry comes back unchanged through a
//     key/value line (writeKeyValue, then readKeyValue);
//   - an unsorted table read from the binary form is written and read back as the same entries.
#include "gs/file/GSFile.h"
#include "gs/text/GSString.h"
#include "gs/text/GSStringTable.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

// Enough for every reader to reach the end of any input that libFuzzer makes, and a bound all the
// same on a reader that would stop moving.
constexpr int kMaxReads = 100000;

// An empty object table of the newer kind: its header switches the file to compact mode.
unsigned char const compactTable[14] = {2};

GSDynaArray<unsigned char> arrayOf(std::vector<unsigned char> const& input)
{
    // Exactly the input's size (plus one, so that an empty input has storage), so that a sanitizer
    // sees any read past it.
    GSDynaArray<unsigned char> bytes(static_cast<long>(input.size()) + 1, 0);
    if (bytes.append(input.data(), static_cast<long>(input.size())) != 0)
        std::abort();
    return bytes;
}

void checkText(GSString const& s, size_t inputSize)
{
    long const length = s.getLength();
    if (length < 0 || static_cast<size_t>(length) > 3 * inputSize || s.c_str()[length] != 0)
        std::abort();
}

bool same(GSString const& a, GSString const& b)
{
    return a.getLength() == b.getLength() && std::memcmp(a.c_str(), b.c_str(), static_cast<size_t>(a.getLength())) == 0;
}

void readStrings(std::vector<unsigned char> const& input, int tag)
{
    GSFile file(arrayOf(input));
    (void)file.open(); // cannot fail for a memory file
    for (int i = 0; i < kMaxReads; ++i) {
        GSString s;
        s.setEncoding(tag);
        long const before = file.tell();
        if (s.readString(&file) != 0)
            break;
        checkText(s, input.size());
        if (file.tell() == before)
            break;
    }
}

void readPairs(std::vector<unsigned char> const& input, int tag)
{
    GSFile file(arrayOf(input));
    (void)file.open();
    for (int i = 0; i < kMaxReads; ++i) {
        GSString key, value;
        key.setEncoding(tag);
        value.setEncoding(tag);
        if (key.readKeyValue(&file, &value) != 0 || key.isEmpty())
            break;
        checkText(key, input.size());
        checkText(value, input.size());
    }
}

void mergeTable(std::vector<unsigned char> const& input, short sorted)
{
    GSFile file(arrayOf(input));
    (void)file.open();
    GSStringTable table;
    table.setSorted(sorted);
    (void)table.merge(&file);
    GSFile lines(-100, 64);
    if (lines.setAccessMode("wb+") || lines.open())
        std::abort();
    for (long i = 0; i < table.getCount(); ++i) {
        _StringTableEntry const& entry = table.getEntry(i);
        if (entry.key.getEncoding() != GSString::kUTF8 || entry.value.getEncoding() != GSString::kUTF8)
            std::abort();
        checkText(entry.key, input.size());
        checkText(entry.value, input.size());
        if (entry.key.writeKeyValue(&lines, entry.value) != 0)
            std::abort();
    }
    if (lines.seek(0, 0) != 0)
        std::abort();
    for (long i = 0; i < table.getCount(); ++i) {
        GSString key, value;
        if (key.readKeyValue(&lines, &value) != 0 || !same(key, table.getEntry(i).key) ||
            !same(value, table.getEntry(i).value))
            std::abort();
    }
}

void readTable(std::vector<unsigned char> const& input, bool compact, short sorted)
{
    std::vector<unsigned char> framed;
    if (compact)
        framed.assign(compactTable, compactTable + sizeof compactTable);
    framed.insert(framed.end(), input.begin(), input.end());
    GSFile file(arrayOf(framed));
    (void)file.open();
    if (compact && (file.startObjectMergingRead() != 0 || file.seek(sizeof compactTable, 0) != 0))
        return;
    GSStringTable table;
    table.setSorted(sorted);
    short const status = table.read(&file);
    if (compact)
        (void)file.stopObjectMergingRead();
    if (status != 0 || sorted)
        return;
    // Read, write, read: the same entries.
    GSFile copy(-100, 64);
    if (copy.setAccessMode("wb+") || copy.open())
        std::abort();
    if (compact && copy.startObjectMergingWrite(1) != 0)
        std::abort();
    long const start = copy.tell();
    if (table.write(&copy) != 0 || copy.seek(start, 0) != 0)
        std::abort();
    GSStringTable back;
    back.setSorted(0);
    if (back.read(&copy) != 0 || back.getCount() != table.getCount())
        std::abort();
    for (long i = 0; i < table.getCount(); ++i) {
        if (!same(back.getEntry(i).key, table.getEntry(i).key) || !same(back.getEntry(i).value, table.getEntry(i).value))
            std::abort();
    }
    if (compact)
        (void)copy.stopObjectMergingWrite();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    if (size < 1)
        return 0;
    int const options = data[0];
    int const tag = options & 1 ? GSString::kMac : GSString::kUTF8;
    bool const compact = options & 2;
    short const sorted = options & 4 ? 0 : 1;
    std::vector<unsigned char> const input(data + 1, data + size);
    readStrings(input, tag);
    readPairs(input, tag);
    mergeTable(input, sorted);
    readTable(input, compact, sorted);
    return 0;
}
