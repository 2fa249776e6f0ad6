// Fuzz target for GSObjectDictionary::read over arbitrary bytes, in both framings.
//
// The first byte picks options; the rest is the file. Bits 0-1, the mode: 0 the dictionary block in
// the classic framing, without an object table (objects are read inline); 1 an object-table block
// of 32-bit positions (classic framing) whose objects begin with the dictionary block; 2 and 3 the
// same with 64-bit positions, which puts the file in the compact framing. Bit 2 sets the file's
// IEEE float and double flags (64, 128). The file is bounded by the limits struct's object depth
// and table size, as every front end bounds it (the struct is plain values: no link to the
// generator, whose picture descriptions have no write form for the round trip below).
//
// Invariants: a read that fails leaves the dictionary empty; one that succeeds has as many values
// as keys, and every key is a key. Written in the same mode and read back, the dictionary has the
// same keys in the same order with values of the same classes, and writes the same bytes again
// (the first write may differ from the input: float forms and code pages are normalised).
#include "generator/GSThumbnailLimits.h"
#include "gs/file/GSFile.h"
#include "gs/file/GSFileWorker.h"
#include "gs/object/GSObjectDictionary.h"
#include "gs/object/GSObjectDictionaryKey.h"

#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

void require(bool ok)
{
    if (!ok)
        std::abort();
}

struct Mode {
    bool table;
    short longPositions;
    unsigned flags;
};

// Reads the dictionary from `bytes` (an exact-size copy, so that a sanitizer sees any read past
// it); the status of the read, or of starting the table.
short readDictionary(Bytes const& bytes, Mode const& mode, GSObjectDictionary* dictionary)
{
    GSDynaArray<unsigned char> array(static_cast<long>(bytes.size()) + 1, 0);
    require(array.append(bytes.data(), static_cast<long>(bytes.size())) == 0);
    GSFile file(array);
    (void)file.open(); // cannot fail for a memory file
    file.addFlags(mode.flags);
    GSThumbnailLimits const limits;
    file.setMaxObjectDepth(limits.maxObjectDepth);
    file.setMaxTableObjects(limits.maxTableObjects);
    if (mode.table) {
        if (short status = file.startObjectMergingRead())
            return status;
    }
    short const status = dictionary->read(&file);
    if (mode.table)
        (void)file.stopObjectMergingRead(); // hostile input: the read's status is what counts
    return status;
}

Bytes writeDictionary(GSObjectDictionary const& dictionary, Mode const& mode)
{
    GSFile file(-100, 256);
    require(file.setAccessMode("wb+") == 0 && file.open() == 0);
    file.addFlags(mode.flags);
    if (mode.table)
        require(file.startObjectMergingWrite(mode.longPositions) == 0);
    require(dictionary.write(&file) == 0);
    if (mode.table)
        require(file.stopObjectMergingWrite() == 0);
    GSDynaArray<unsigned char> const& written = static_cast<GSFileWorkerMemory*>(file.getFileWorker())->getArray();
    return Bytes(written.getPointer(), written.getPointer() + written.getCount());
}

void checkShape(GSObjectDictionary const& d)
{
    for (long i = 0; i < d.getCount(); ++i) {
        GSObjectDictionaryKey const* key = nullptr;
        GSObject const* value = nullptr;
        require(d.getKeyValue(i, &key, &value) == 0 && key && value);
        require(key->isMemberOfRuntimeClass(GSObjectDictionaryKey::gsClassGSObjectDictionaryKey));
        require(d.getIndexForKey(key) >= i); // a later equal key may hide it, an earlier one never
    }
}

void checkSameEntries(GSObjectDictionary const& a, GSObjectDictionary const& b)
{
    require(a.getCount() == b.getCount());
    for (long i = 0; i < a.getCount(); ++i) {
        GSObjectDictionaryKey const *ka, *kb;
        GSObject const *va, *vb;
        require(a.getKeyValue(i, &ka, &va) == 0 && b.getKeyValue(i, &kb, &vb) == 0);
        require(*ka == *kb);
        require(&va->getRuntimeClass() == &vb->getRuntimeClass());
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    if (size < 1)
        return 0;
    unsigned const modeBits = data[0] & 3;
    Mode const mode{modeBits != 0, static_cast<short>(modeBits >= 2), (data[0] & 4) ? 192u : 0u};
    Bytes const input(data + 1, data + size);
    GSObjectDictionary read;
    if (readDictionary(input, mode, &read) != 0) {
        require(read.getCount() == 0);
        return 0;
    }
    checkShape(read);
    Bytes const first = writeDictionary(read, mode);
    GSObjectDictionary back;
    require(readDictionary(first, mode, &back) == 0);
    checkSameEntries(read, back);
    require(writeDictionary(back, mode) == first);
    return 0;
}
