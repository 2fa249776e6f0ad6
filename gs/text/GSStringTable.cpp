// String tables and their binary and text forms (formats in GSStringTable.h).
#include "gs/text/GSStringTable.h"

#include "gs/file/GSFile.h"
#include "gs/file/GSTagRead.h"
#include "gs/file/GSTagWrite.h"
#include "gs/filespec/GSFileSpec.h"
#include "gs/object/GSExceptions.h"

#include <algorithm>
#include <numeric>
#include <utility>

GSStringTable const GSStringTable::null;
GSNumericStringTable const GSNumericStringTable::null;

namespace {

constexpr short kTableVersion = 256;
constexpr int kEntriesTag = 0;
// The smallest pair of the binary form: two empty strings of 2 bytes each, in either framing.
constexpr long kMinimumPairBytes = 4;

template <class Entry>
Entry const& entryAt(GSDynaArray<Entry> const& entries, long index)
{
    if (index < 0 || index >= entries.getCount())
        throw bad_index();
    return entries[index];
}

template <class Entry, class Key>
void copyEntry(GSDynaArray<Entry> const& entries, long index, Key* key, GSString* value)
{
    Entry const& entry = entryAt(entries, index);
    if (key)
        *key = entry.key;
    if (value)
        *value = entry.value;
}

// The index of the entry equal to `probe`, or -(insertion index) - 1.
template <class Entry>
long binarySearch(GSDynaArray<Entry> const& entries, Entry const& probe, int (*compare)(Entry const*, Entry const*))
{
    long low = 0;
    long high = entries.getCount();
    while (low < high) {
        long const middle = low + (high - low) / 2;
        int const order = compare(&entries[middle], &probe);
        if (order == 0)
            return middle;
        if (order < 0)
            low = middle + 1;
        else
            high = middle;
    }
    return -low - 1;
}

} // namespace

// --- GSStringTable -------------------------------------------------------------------------------

GSStringTable::GSStringTable(long initialSize, long growth) : entries(initialSize, growth) {}

int GSStringTable::compareAscending(_StringTableEntry const* a, _StringTableEntry const* b)
{
    return a->key.compareValue(b->key);
}

int GSStringTable::compareAscendingCaseless(_StringTableEntry const* a, _StringTableEntry const* b)
{
    return a->key.compareValueCaseless(b->key);
}

int GSStringTable::compareSimple(_StringTableEntry const* a, _StringTableEntry const* b)
{
    return a->key.compareValueSimple(b->key);
}

int GSStringTable::compareSimpleCaseless(_StringTableEntry const* a, _StringTableEntry const* b)
{
    return a->key.compareValueCaselessSimple(b->key);
}

void GSStringTable::setSortCaseless(short caseless)
{
    sortCompare = caseless ? compareAscendingCaseless : compareAscending;
    simpleCompare = caseless ? compareSimpleCaseless : compareSimple;
}

_StringTableEntry const& GSStringTable::getEntry(long index) const { return entryAt(entries, index); }

void GSStringTable::get(long index, GSString* key, GSString* value) const { copyEntry(entries, index, key, value); }

long GSStringTable::search(GSString const& key, Compare compare) const
{
    return binarySearch(entries, _StringTableEntry{key, GSString()}, compare);
}

long GSStringTable::searchUnsorted(GSString const& key, int (GSString::*compare)(GSString const&) const) const
{
    for (long i = 0, n = entries.getCount(); i < n; ++i) {
        if ((entries[i].key.*compare)(key) == 0)
            return i;
    }
    return -1;
}

long GSStringTable::setValue(GSString const& key, GSString const& value)
{
    // A copy first: key or value may lie in this table's storage, which the insertion moves.
    _StringTableEntry const entry{key, value};
    long const count = entries.getCount();
    long at = count;
    // Keys that arrive in order (a file this table wrote) are appended without a search and
    // without moving anything, so that reading n sorted entries stays linear.
    if (sorted && count > 0 && sortCompare(&entries[count - 1], &entry) >= 0) {
        at = search(key, sortCompare);
        if (at >= 0) {
            _StringTableEntry* writable = entries.getWritablePointer();
            if (!writable)
                return -1;
            writable[at].value = entry.value;
            return at;
        }
        at = -at - 1;
    }
    return entries.insertAt(at, &entry, 1) ? -1 : at;
}

short GSStringTable::add(GSString const& key, GSString const& value) { return setValue(key, value) < 0 ? 1 : 0; }

long GSStringTable::find(GSString const& key) const
{
    if (!sorted)
        return searchUnsorted(key, &GSString::compareValue);
    long const index = search(key, sortCompare);
    return index >= 0 ? index : -1;
}

long GSStringTable::findSimple(GSString const& key) const
{
    if (!sorted)
        return findUnsortedSimple(key);
    long const index = search(key, simpleCompare);
    return index >= 0 ? index : -1;
}

long GSStringTable::findUnsortedSimple(GSString const& key) const
{
    return searchUnsorted(key, &GSString::compareValueSimple);
}

long GSStringTable::findUnsortedCaseless(GSString const& key) const
{
    return searchUnsorted(key, &GSString::compareValueCaseless);
}

long GSStringTable::findUnsortedCaselessSimple(GSString const& key) const
{
    return searchUnsorted(key, &GSString::compareValueCaselessSimple);
}

GSString const& GSStringTable::valueAt(long index) const { return index >= 0 ? entries[index].value : GSString::null; }

GSString const& GSStringTable::getValue(GSString const& key) const { return valueAt(find(key)); }

GSString const& GSStringTable::getValueSimple(GSString const& key) const { return valueAt(findSimple(key)); }

GSString const& GSStringTable::getValueCaseless(GSString const& key) const
{
    return valueAt(findUnsortedCaseless(key));
}

GSString const& GSStringTable::getValueCaselessSimple(GSString const& key) const
{
    return valueAt(findUnsortedCaselessSimple(key));
}

long GSStringTable::removeValue(GSString const& key)
{
    long const index = find(key);
    if (index < 0)
        return -1;
    long const count = entries.getCount();
    entries.removeAt(index);
    // A shared entry array that cannot be copied keeps its entry.
    return entries.getCount() < count ? index : -1;
}

bool GSStringTable::hasCommonKeysWith(GSStringTable const& other) const
{
    for (long i = entries.getCount() - 1; i >= 0; --i) {
        if (!other.getValue(entries[i].key).isEmpty())
            return true;
    }
    return false;
}

short GSStringTable::addStringTable(GSStringTable const& other)
{
    // The count first and each entry copied out: `other` may be this table, which add changes.
    long const count = other.getCount();
    for (long i = 0; i < count; ++i) {
        _StringTableEntry const entry = other.entries[i];
        if (short st = add(entry.key, entry.value))
            return st;
    }
    return 0;
}

short GSStringTable::addPairs(GSDynaArray<_StringTableEntry>& pairs)
{
    long const n = pairs.getCount();
    if (n == 0)
        return 0;
    _StringTableEntry* const p = pairs.getWritablePointer(); // private: merge made it
    long const count = entries.getCount();
    bool ascending = true;
    for (long i = 1; sorted && ascending && i < n; ++i)
        ascending = sortCompare(&p[i - 1], &p[i]) < 0;
    // Into an unsorted table, or in key order behind the last entry (a file this table wrote,
    // read into an empty table): appended. An empty table takes the pairs' storage as it stands.
    if (!sorted || (ascending && (count == 0 || sortCompare(&entries[count - 1], &p[0]) < 0))) {
        if (count > 0)
            return entries.append(pairs);
        long const growth = entries.getGrowth();
        entries = std::move(pairs);
        entries.setGrowth(growth);
        return 0;
    }
    // The pairs' order by key; stable, so that equal keys stay in file order.
    GSDynaArray<long> order;
    if (order.setCount(n))
        return 1;
    long* const o = order.getWritablePointer();
    std::iota(o, o + n, 0L);
    if (!ascending)
        std::stable_sort(o, o + n, [&](long a, long b) { return sortCompare(&p[a], &p[b]) < 0; });

    // One pass over both: as setValue would, a key already in the table keeps its key text, and
    // a key that comes several times keeps its first key text and takes its last value.
    _StringTableEntry const* const old = entries.getPointer();
    GSDynaArray<_StringTableEntry> merged(0, entries.getGrowth());
    if (merged.setCount(count + n))
        return 1;
    _StringTableEntry* const out = merged.getWritablePointer();
    long i = 0, m = 0;
    for (long j = 0; j < n; ++m) {
        _StringTableEntry& first = p[o[j]];
        long k = j + 1;
        while (k < n && sortCompare(&first, &p[o[k]]) == 0)
            ++k;
        int position = 1;
        while (i < count && (position = sortCompare(&old[i], &first)) < 0)
            out[m++] = old[i++];
        if (position == 0)
            out[m].key = old[i++].key;
        else
            out[m].key = std::move(first.key);
        out[m].value = std::move(p[o[k - 1]].value);
        j = k;
    }
    while (i < count)
        out[m++] = old[i++];
    (void)merged.setCount(m); // fewer: nothing to allocate
    entries = std::move(merged);
    return 0;
}

// --- GSNumericStringTable ------------------------------------------------------------------------

GSNumericStringTable::GSNumericStringTable(long initialSize, long growth) : entries(initialSize, growth) {}

_NumericStringTableEntry const& GSNumericStringTable::getEntry(long index) const { return entryAt(entries, index); }

void GSNumericStringTable::get(long index, int* key, GSString* value) const
{
    copyEntry(entries, index, key, value);
}

void GSNumericStringTable::get(long index, GSString* key, GSString* value) const
{
    int number = 0;
    get(index, &number, value);
    if (key) {
        *key = GSString();
        (void)key->addLong(number); // a few digits: room inside the string, nothing can fail
    }
}

long GSNumericStringTable::search(int key) const
{
    return binarySearch(entries, _NumericStringTableEntry{key, GSString()},
                        GSDynaArray<_NumericStringTableEntry>::compareAscending);
}

long GSNumericStringTable::find(int key) const
{
    long const index = search(key);
    return index >= 0 ? index : -1;
}

GSString GSNumericStringTable::getValue(int key) const
{
    long const index = search(key);
    return index >= 0 ? entries[index].value : GSString();
}

long GSNumericStringTable::setValue(int key, GSString const& value)
{
    _NumericStringTableEntry const entry{key, value};
    long const count = entries.getCount();
    long at = count;
    // As for GSStringTable: keys in ascending order are appended without a search.
    if (count > 0 && entries[count - 1].key >= key) {
        at = search(key);
        if (at >= 0) {
            _NumericStringTableEntry* writable = entries.getWritablePointer();
            if (!writable)
                return -1;
            writable[at].value = entry.value;
            return at;
        }
        at = -at - 1;
    }
    return entries.insertAt(at, &entry, 1) ? -1 : at;
}

short GSNumericStringTable::add(GSString const& key, GSString const& value)
{
    return setValue(key.getLongValue(), value) < 0 ? 1 : 0;
}

// --- Binary form ---------------------------------------------------------------------------------

short GSBasicStringTable::write(GSFile* file) const
{
    if (!file)
        return 1;
    GSTagWrite tags(file);
    if (short st = tags.writeVersion(kTableVersion))
        return st;
    long const count = getCount();
    if (count > 0) {
        if (short st = tags.writeStart(kEntriesTag))
            return st;
        if (short st = file->writeArrayCount(count))
            return st;
        GSString key, value;
        for (long i = 0; i < count; ++i) {
            get(i, &key, &value);
            if (short st = key.write(file))
                return st;
            if (short st = value.write(file))
                return st;
        }
        if (short st = tags.writeEnd())
            return st;
    }
    return tags.writeEndTag();
}

short GSBasicStringTable::read(GSFile* file)
{
    if (!file)
        return 1;
    GSTagRead tags(file);
    if (short st = tags.readVersion(kTableVersion, nullptr))
        return st;
    for (;;) {
        int const tag = tags.read();
        if (tag == GSTagRead::kEndTag)
            return 0;
        // Also a header that cannot be read or whose record does not fit.
        if (tag == GSTagRead::kReadFailure)
            return 1;
        if (tag == kEntriesTag) {
            long count;
            if (short st = file->readArrayCount(&count))
                return st;
            // The count is the file's word: it must fit in the record before it is believed.
            long const left = file->getBytesLeft();
            if (count < 0 || (left >= 0 && count > left / kMinimumPairBytes))
                return 1;
            GSString key, value;
            for (long i = 0; i < count; ++i) {
                if (short st = key.read(file))
                    return st;
                if (short st = value.read(file))
                    return st;
                if (short st = add(key, value))
                    return st;
            }
        }
        // Whatever the record holds beyond the pairs is left out.
        if (short st = tags.skip())
            return st;
    }
}

// --- Text form -----------------------------------------------------------------------------------

short GSBasicStringTable::load(GSFileSpec const& spec)
{
    release();
    return merge(spec);
}

short GSBasicStringTable::merge(GSFileSpec const& spec)
{
    GSFile file(spec, 0);
    if (short st = file.setAccessMode("rb"))
        return st;
    if (short st = file.open())
        return st;
    short const status = merge(&file);
    short const closed = file.close();
    return status ? status : closed;
}

short GSBasicStringTable::merge(GSFile* file)
{
    if (!file)
        return 1;
    GSString const encodingKey = GSString::fixed("StringEncoding");
    GSString const utf8Value = GSString::fixed("UTF8");
    // The UTF-8 byte-order mark says UTF-8 (isUTF8 takes it); any other leading bytes from 129 up
    // are a mark of some other kind and are passed over.
    int current = file->isUTF8() ? GSString::kUTF8 : GSString::getNativeEncoding();
    int c;
    while ((c = file->getChar()) >= 129) {
    }
    if (c >= 0)
        (void)file->seek(-1, 1); // back over a byte just read: only a broken stream fails
    // The pairs are collected and added at the end, so that a table can add them in one batch.
    GSDynaArray<_StringTableEntry> pairs;
    GSString key, value;
    short status;
    for (;;) {
        // The tags before the read say how the text is to be taken.
        key.setEncoding(current);
        value.setEncoding(current);
        status = key.readKeyValue(file, &value);
        if (status != 0 || key.isEmpty())
            break;
        if (key == encodingKey) {
            if (value == utf8Value)
                current = GSString::kUTF8;
            else if (value.isEmpty())
                current = GSString::getNativeEncoding();
            continue;
        }
        // Into UTF-8, which holds every character: the conversion cannot lose one.
        (void)key.convertEncoding(GSString::getPreferredEncoding());
        (void)value.convertEncoding(GSString::getPreferredEncoding());
        if (pairs.add(_StringTableEntry{key, value}))
            return 1;
    }
    if (short st = addPairs(pairs))
        return st;
    return status;
}

short GSBasicStringTable::addPairs(GSDynaArray<_StringTableEntry>& pairs)
{
    for (long i = 0, n = pairs.getCount(); i < n; ++i) {
        if (short st = add(pairs[i].key, pairs[i].value))
            return st;
    }
    return 0;
}

short GSBasicStringTable::save(GSFileSpec const& spec) const
{
    GSFile file(spec, 0);
    if (file.setAccessMode("w+") || file.open())
        return 1;
    GSString const encodingKey = GSString::fixed("StringEncoding");
    GSString const utf8Value = GSString::fixed("UTF8");
    bool utf8 = false;
    GSString key, value;
    for (long i = 0, n = getCount(); i < n; ++i) {
        get(i, &key, &value);
        bool const unicode = key.getEncoding() > 99 || value.getEncoding() > 99;
        short status = 0;
        if (unicode && !utf8)
            status = encodingKey.writeKeyValue(&file, utf8Value);
        else if (!unicode && utf8)
            status = encodingKey.writeKeyValue(&file, GSString());
        utf8 = unicode;
        if (unicode) {
            (void)key.convertEncoding(GSString::kUTF8);
            (void)value.convertEncoding(GSString::kUTF8);
        }
        if (status || key.writeKeyValue(&file, value)) {
            (void)file.close(1); // abandon: the old file stays
            return 1;
        }
    }
    return file.close();
}
