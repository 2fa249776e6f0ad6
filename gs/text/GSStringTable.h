// String tables: texts found by a key. GSStringTable maps a string key to a string value (localised
// texts, settings read from text files); GSNumericStringTable maps a 32-bit integer key to a string
// value (numbered texts such as the names of months). GSString keeps one of each as the process's
// current tables (GSString::setStringTable, GSString::setNumericStringTable).
//
// A table is sorted (the default: entries in ascending key order, found by binary search) or
// unsorted (entries in the order they were added, found by linear search; a key may then stand
// twice). Numeric tables are always sorted by key.
//
// Binary form, a tagged record sequence (GSTagWrite / GSTagRead, in the file's framing):
//   version   256
//   record 0  only when the table has entries: the entry count (GSFile::writeArrayCount), then
//             per entry in index order the key and the value (GSString::write); numeric keys are
//             written as decimal text
//   end tag
// On reading, records with other tags are skipped and each pair goes through the table's add.
//
// Text form, one pair per line as GSString::writeKeyValue writes it:
//     "key" = "value";
// Code-page text in these files is Windows text; it is read into the native encoding (the Mac code
// page, or UTF-8 for a character that does not fit there). A file that starts with the UTF-8
// byte-order mark is UTF-8 from the start; other leading bytes from 129 up are skipped. A pair with
// the key "StringEncoding" is a switch, not an entry: the value "UTF8" makes the following lines
// UTF-8, an empty value makes them code-page text again, any other value changes nothing. Tables
// keep what they read in UTF-8.
#pragma once

#include "gs/object/GSDynaArray.h"
#include "gs/text/GSString.h"

class GSFile;
class GSFileSpec;

struct _StringTableEntry {
    GSString key;
    GSString value;
};

struct _NumericStringTableEntry {
    int key = 0;
    GSString value;
    // By key: the order of GSDynaArray<_NumericStringTableEntry>::compareAscending.
    bool operator<(_NumericStringTableEntry const& other) const { return key < other.key; }
};

class GSBasicStringTable {
public:
    GSBasicStringTable() = default;
    GSBasicStringTable(GSBasicStringTable const&) = default;
    GSBasicStringTable& operator=(GSBasicStringTable const&) = default;
    virtual ~GSBasicStringTable() = default;

    // Removes every entry; the entry array (and its capacity) stays.
    virtual void clear() = 0;
    // Drops the entry array altogether.
    virtual void release() = 0;
    virtual long getCount() const = 0;
    // Copies out the entry at `index`; throws bad_index for an index below 0 or at least the count.
    virtual void get(long index, GSString* key, GSString* value) const = 0;
    // Adds or replaces one entry as the table's setValue does; 1 when memory lacks.
    [[nodiscard]] virtual short add(GSString const& key, GSString const& value) = 0;

    // 1: sorted (the default), 0: unsorted. setSorted does not reorder: call it while the table is
    // empty. Numeric tables keep their keys sorted whatever the flag says.
    short getSorted() const { return sorted; }
    void setSorted(short s) { sorted = s; }

    // The binary form. read adds the pairs of record 0 to the table and returns the first non-zero
    // status of the version, a string read or add; a header that cannot be read, or whose record
    // does not fit, gives 1, and so does an entry count that the record cannot hold (each pair
    // takes at least 4 bytes). write gives 0, or the status of the first failing write.
    [[nodiscard]] short read(GSFile* file);
    [[nodiscard]] short write(GSFile* file) const;

    // The text form. load empties the table (release), then merges. merge adds the pairs of the
    // file, converted to UTF-8, as add would one after the other (a key that comes again keeps its
    // first key text and takes its last value); the pairs read before a failing read are added
    // too. The status of the failing read or add, 0 at the end of the file or at a pair with an
    // empty key (1 when memory lacks; the table is then unchanged). The GSFile overload reads
    // from the file's position on; the other opens the file itself.
    [[nodiscard]] short load(GSFileSpec const& spec);
    [[nodiscard]] short merge(GSFileSpec const& spec);
    [[nodiscard]] short merge(GSFile* file);
    // Writes every entry in index order, replacing the file (access mode "w+"). Entries whose key
    // or value is UTF-8 are written in a "StringEncoding" = "UTF8" stretch, the others (code-page
    // text, written in the Windows code page) outside one. 0, or 1 when opening, a write (code-page
    // text with a character the Windows code page lacks is refused) or the closing fails; after a
    // failed write the old file stays as it was.
    [[nodiscard]] short save(GSFileSpec const& spec) const;

protected:
    // Adds the pairs one merge read, in file order, to the same effect as add for each in turn;
    // the pairs may be taken. This one calls add; a table may add the whole batch faster. The
    // first non-zero status.
    [[nodiscard]] virtual short addPairs(GSDynaArray<_StringTableEntry>& pairs);

    short sorted = 1;
};

class GSStringTable : public GSBasicStringTable {
public:
    using Compare = GSDynaArray<_StringTableEntry>::Compare;

    // The entry array starts with room for `initialSize` entries (0: no storage until the first
    // entry) and grows by `growth` (GSDynaArray's rule; the default -100 doubles it, so that adding
    // n entries costs O(n) copies of entries).
    explicit GSStringTable(long initialSize = 0, long growth = -100);

    void clear() override { entries.clear(); }
    void release() override { entries.empty(); }
    long getCount() const override { return entries.getCount(); }
    void get(long index, GSString* key, GSString* value) const override;
    [[nodiscard]] short add(GSString const& key, GSString const& value) override;

    // The entry at `index`; throws bad_index outside 0..count-1. Valid until the table changes.
    _StringTableEntry const& getEntry(long index) const;

    // Sorted: binary search with the sort comparison; a key found gets the new value, another is
    // inserted at its place. Unsorted: appended without looking for the key (so a key may stand
    // twice). The entry's index, or -1 when memory lacks.
    long setValue(GSString const& key, GSString const& value);

    // Index of the key, or -1. find: sorted, binary search with the sort comparison; unsorted, the
    // first entry from the start equal by GSString::compareValue. findSimple: sorted, binary
    // search with the simple comparison; unsorted, findUnsortedSimple. The findUnsorted* searches
    // walk from the first entry whatever the flag, with compareValueSimple, compareValueCaseless
    // and compareValueCaselessSimple.
    long find(GSString const& key) const;
    long findSimple(GSString const& key) const;
    long findUnsortedSimple(GSString const& key) const;
    long findUnsortedCaseless(GSString const& key) const;
    long findUnsortedCaselessSimple(GSString const& key) const;

    // The value of the entry that find, findSimple, findUnsortedCaseless and
    // findUnsortedCaselessSimple give, or GSString::null. Valid until the table changes.
    GSString const& getValue(GSString const& key) const;
    GSString const& getValueSimple(GSString const& key) const;
    GSString const& getValueCaseless(GSString const& key) const;
    GSString const& getValueCaselessSimple(GSString const& key) const;

    // Removes the one entry that find gives; its former index, or -1.
    long removeValue(GSString const& key);
    // True when some key of this table has a non-empty value in `other` (other.getValue). A key
    // that `other` maps to an empty text does not count: an empty text is no translation.
    bool hasCommonKeysWith(GSStringTable const& other) const;
    // add for every entry of `other`, in its order; the first non-zero status of add.
    [[nodiscard]] short addStringTable(GSStringTable const& other);

    // 1: sort and search caselessly (compareAscendingCaseless, compareSimpleCaseless); 0: by
    // compareValue and compareValueSimple (the default). Existing entries are not re-sorted: call
    // it while the table is empty.
    void setSortCaseless(short caseless);

    // The comparisons of two entries by key.
    static int compareAscending(_StringTableEntry const* a, _StringTableEntry const* b);
    static int compareAscendingCaseless(_StringTableEntry const* a, _StringTableEntry const* b);
    static int compareSimple(_StringTableEntry const* a, _StringTableEntry const* b);
    static int compareSimpleCaseless(_StringTableEntry const* a, _StringTableEntry const* b);

    static GSStringTable const null;

protected:
    // Sorted: the pairs sorted once and merged with the entries in one pass, O(n log n) where
    // inserting each would move the entries behind it; unsorted, or already in key order:
    // appended. 1 when memory lacks, and the table is unchanged.
    [[nodiscard]] short addPairs(GSDynaArray<_StringTableEntry>& pairs) override;

private:
    // Binary search: the index of the key, or -(insertion index) - 1.
    long search(GSString const& key, Compare compare) const;
    // Linear search from the first entry; the first equal key wins.
    long searchUnsorted(GSString const& key, int (GSString::*compare)(GSString const&) const) const;
    GSString const& valueAt(long index) const;

    GSDynaArray<_StringTableEntry> entries;
    Compare sortCompare = compareAscending;
    Compare simpleCompare = compareSimple;
};

class GSNumericStringTable : public GSBasicStringTable {
public:
    // The entry array's initial size and growth, as for GSStringTable.
    explicit GSNumericStringTable(long initialSize = 0, long growth = -100);

    void clear() override { entries.clear(); }
    void release() override { entries.empty(); }
    long getCount() const override { return entries.getCount(); }
    // The key as decimal text.
    void get(long index, GSString* key, GSString* value) const override;
    void get(long index, int* key, GSString* value) const;
    // The key's number (GSString::getLongValue: leading white space and a sign allowed, a text
    // without a number gives 0), then setValue; 1 when memory lacks.
    [[nodiscard]] short add(GSString const& key, GSString const& value) override;

    // The entry at `index`; throws bad_index outside 0..count-1. Valid until the table changes.
    _NumericStringTableEntry const& getEntry(long index) const;

    // Binary search; a key found gets the new value, another is inserted at its place. The entry's
    // index, or -1 when memory lacks.
    long setValue(int key, GSString const& value);
    // Index of the key, or -1.
    long find(int key) const;
    // A copy of the key's value, or an empty string.
    GSString getValue(int key) const;

    static GSNumericStringTable const null;

private:
    // The index of the key, or -(insertion index) - 1.
    long search(int key) const;

    GSDynaArray<_NumericStringTableEntry> entries;
};
