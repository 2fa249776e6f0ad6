#include "gs/text/GSStringTable.h"

#include "gs/file/GSFile.h"
#include "gs/filespec/GSFileSpec.h"
#include "tests/object/TestObjects.h"
#include "tests/support/ScratchFolder.h"
#include "tests/text/TextTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

using namespace qmtest;
using texttest::bytes;
using texttest::make;

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

Pairs pairsOf(GSBasicStringTable const& table)
{
    Pairs out;
    GSString key, value;
    for (long i = 0; i < table.getCount(); ++i) {
        table.get(i, &key, &value);
        out.emplace_back(bytes(key), bytes(value));
    }
    return out;
}

GSStringTable tableOf(Pairs const& pairs, short sorted = 1)
{
    GSStringTable table;
    table.setSorted(sorted);
    for (auto const& [key, value] : pairs)
        EXPECT_EQ(table.add(GSString(key.c_str()), GSString(value.c_str())), 0);
    return table;
}

std::vector<unsigned char> raw(std::string const& s) { return std::vector<unsigned char>(s.begin(), s.end()); }

// The binary form of a table; in compact mode the file has an object table of the newer kind.
std::string written(GSBasicStringTable const& table, short compact)
{
    WriteFile w;
    if (compact) {
        EXPECT_EQ(w.f.startObjectMergingWrite(1), 0);
    }
    long const start = w.f.tell();
    EXPECT_EQ(table.write(&w.f), 0);
    std::vector<unsigned char> b = fileBytes(w.f);
    if (compact) {
        EXPECT_EQ(w.f.stopObjectMergingWrite(), 0);
    }
    return toHex(std::vector<unsigned char>(b.begin() + start, b.end()));
}

// Reads a table from `hex`; in compact mode the bytes follow an empty object table of the newer kind.
short readBack(std::string const& hex, short compact, GSBasicStringTable* table)
{
    ReadFile r(compact ? "02 00 00 00 00 00 00 00 00 00 00 00 00 00 " + hex : hex);
    if (compact) {
        EXPECT_EQ(r.f.startObjectMergingRead(), 0);
        EXPECT_EQ(r.f.seek(14, 0), 0);
    }
    short const status = table->read(&r.f);
    if (compact) {
        EXPECT_EQ(r.f.stopObjectMergingRead(), 0);
    }
    return status;
}

short mergeText(std::string const& text, GSBasicStringTable* table)
{
    ReadFile r(raw(text));
    return table->merge(&r.f);
}

} // namespace

TEST(GSStringTable, SortedAndUnsortedOrder)
{
    for (short sorted : {short(1), short(0)}) {
        GSStringTable table = tableOf({{"b", "1"}, {"a", "2"}, {"c", "3"}}, sorted);
        EXPECT_EQ(table.setValue(GSString("a"), GSString("4")), sorted ? 0 : 3);
        if (sorted) {
            EXPECT_EQ(pairsOf(table), (Pairs{{"a", "4"}, {"b", "1"}, {"c", "3"}}));
        } else {
            // Appended without a search: the key stands twice, and the first one is found.
            EXPECT_EQ(pairsOf(table), (Pairs{{"b", "1"}, {"a", "2"}, {"c", "3"}, {"a", "4"}}));
            EXPECT_EQ(table.find(GSString("a")), 1);
            EXPECT_EQ(table.removeValue(GSString("a")), 1);
            EXPECT_EQ(pairsOf(table), (Pairs{{"b", "1"}, {"c", "3"}, {"a", "4"}}));
        }
        EXPECT_EQ(table.removeValue(GSString("x")), -1);
        table.clear();
        EXPECT_EQ(table.getCount(), 0);
        EXPECT_EQ(table.add(GSString("z"), GSString("1")), 0);
        table.release();
        EXPECT_EQ(table.getCount(), 0);
    }
    GSNumericStringTable numbers;
    for (char const* key : {"20", "-5", " 7", "20"})
        EXPECT_EQ(numbers.add(GSString(key), GSString(("v" + std::to_string(std::stoi(key))).c_str())), 0);
    EXPECT_EQ(numbers.setValue(8, GSString("eight")), 2);
    EXPECT_EQ(numbers.setValue(-5, GSString("minus")), 0); // replaced, also at the first index
    EXPECT_EQ(pairsOf(numbers), (Pairs{{"-5", "minus"}, {"7", "v7"}, {"8", "eight"}, {"20", "v20"}}));
    EXPECT_EQ(bytes(numbers.getValue(7)) + bytes(numbers.getValue(9)), "v7");
    EXPECT_EQ(numbers.find(-5), 0);
    EXPECT_EQ(numbers.find(-6), -1);
    numbers.clear();
    EXPECT_EQ(numbers.getCount(), 0);
}

// Random edits of a sorted table against std::map, with runs of keys in ascending order (the
// append path) and in random order (the insertion path).
TEST(GSStringTable, SortedTableFollowsAModel)
{
    std::mt19937 random(3);
    for (int round = 0; round < 40; ++round) {
        GSStringTable table(round % 3, round % 2 ? 1 : -100);
        std::map<std::string, std::string> model;
        int next = 0;
        for (int step = 0; step < 60; ++step) {
            std::string key;
            if (random() % 2) {
                key = "k" + std::to_string(1000 + next++); // ascending
            } else {
                key = std::string(1 + random() % 3, 'a');
                for (char& c : key)
                    c = static_cast<char>('a' + random() % 4);
            }
            std::string const value = std::to_string(random() % 100);
            if (random() % 5 == 0) {
                auto const found = model.find(key);
                long const expected = found == model.end() ? -1 : std::distance(model.begin(), found);
                ASSERT_EQ(table.removeValue(GSString(key.c_str())), expected) << key;
                model.erase(key);
            } else {
                model[key] = value;
                ASSERT_EQ(table.setValue(GSString(key.c_str()), GSString(value.c_str())),
                          std::distance(model.begin(), model.find(key)));
            }
            ASSERT_EQ(pairsOf(table), (Pairs(model.begin(), model.end())));
        }
        for (auto const& [key, value] : model)
            ASSERT_EQ(bytes(table.getValue(GSString(key.c_str()))), value);
    }
}

// A merged file gives the table that setValue of each of its pairs in turn gives: keys in random
// order, repeated, or differing in case only (the same key in a caseless table), into sorted,
// caseless and unsorted tables that already hold entries.
TEST(GSStringTable, MergeEqualsSequentialSetValue)
{
    std::mt19937 random(7);
    auto randomText = [&](char const* letters) {
        std::string t(1 + random() % 2, ' ');
        for (char& c : t)
            c = letters[random() % 5];
        return t;
    };
    for (int round = 0; round < 300; ++round) {
        short const sorted = round % 4 != 0, caseless = round % 3 == 0;
        GSStringTable merged, expected;
        for (GSStringTable* table : {&merged, &expected}) {
            table->setSorted(sorted);
            table->setSortCaseless(caseless);
        }
        auto compare = [&](std::string const& a, std::string const& b) {
            return caseless ? GSString(a.c_str()).compareValueCaseless(GSString(b.c_str()))
                            : GSString(a.c_str()).compareValue(GSString(b.c_str()));
        };
        for (int i = 0, n = static_cast<int>(random() % 8); i < n; ++i) {
            std::string const key = randomText("abcAB"), value = randomText("01234");
            ASSERT_GE(merged.setValue(GSString(key.c_str()), GSString(value.c_str())), 0);
            ASSERT_GE(expected.setValue(GSString(key.c_str()), GSString(value.c_str())), 0);
        }
        std::vector<std::string> keys(random() % 40);
        for (std::string& key : keys)
            key = randomText("abcAB");
        // Every third file in the table's order, as a file the table wrote; some of those without
        // repeated keys.
        if (round % 3 == 1) {
            auto const less = [&](auto const& a, auto const& b) { return compare(a, b) < 0; };
            auto const equal = [&](auto const& a, auto const& b) { return compare(a, b) == 0; };
            std::stable_sort(keys.begin(), keys.end(), less);
            if (round % 2)
                keys.erase(std::unique(keys.begin(), keys.end(), equal), keys.end());
        }
        std::string text;
        for (std::string const& key : keys) {
            std::string const value = randomText("56789");
            text += "\"" + key + "\" = \"" + value + "\";\n";
            ASSERT_GE(expected.setValue(GSString(key.c_str()), GSString(value.c_str())), 0);
        }
        ASSERT_EQ(mergeText(text, &merged), 0);
        ASSERT_EQ(pairsOf(merged), pairsOf(expected)) << round << "\n" << text;
    }
}

TEST(GSStringTable, CaselessSorting)
{
    GSStringTable table;
    table.setSortCaseless(1);
    for (char const* key : {"cherry", "Banana", "apple"})
        EXPECT_EQ(table.add(GSString(key), GSString(key)), 0);
    EXPECT_EQ(pairsOf(table), (Pairs{{"apple", "apple"}, {"Banana", "Banana"}, {"cherry", "cherry"}}));
    EXPECT_EQ(table.find(GSString("APPLE")), 0);
    EXPECT_EQ(table.findSimple(GSString("CHERRY")), 2);
    EXPECT_EQ(table.setValue(GSString("BANANA"), GSString("new")), 1); // the same key: replaced
    EXPECT_EQ(bytes(table.getValue(GSString("banana"))), "new");
    table.setSortCaseless(0);
    EXPECT_EQ(table.find(GSString("APPLE")), -1);
    EXPECT_EQ(table.findSimple(GSString("CHERRY")), -1);
}

TEST(GSStringTable, EverySearch)
{
    texttest::UTF8Locale locale;
    // e-acute decomposed (e and U+0301) and precomposed (C3 A9): equal by character, not by byte.
    std::string const decomposed = "e\xCC\x81", precomposed = "\xC3\xA9", capital = "\xC3\x89";
    GSStringTable unsorted = tableOf({{"Key", "v0"}, {"key", "v1"}, {decomposed, "v2"}, {precomposed, "v3"}}, 0);
    struct Case {
        std::string key;
        long find, simple, caseless, caselessSimple;
    } const cases[] = {
        {"key", 1, 1, 0, 0},
        {"KEY", -1, -1, 0, 0},
        {precomposed, 2, 3, 2, 3},
        {capital, -1, -1, 2, -1},
        {"ke", -1, -1, -1, -1},
        {"", -1, -1, -1, -1}, // the unused room behind the last entry is not searched
    };
    auto valueAt = [](long i) { return i < 0 ? std::string() : "v" + std::to_string(i); };
    for (Case const& c : cases) {
        GSString const key(c.key.c_str());
        EXPECT_EQ(unsorted.find(key), c.find) << c.key;
        EXPECT_EQ(unsorted.findSimple(key), c.simple) << c.key;
        EXPECT_EQ(unsorted.findUnsortedSimple(key), c.simple) << c.key;
        EXPECT_EQ(unsorted.findUnsortedCaseless(key), c.caseless) << c.key;
        EXPECT_EQ(unsorted.findUnsortedCaselessSimple(key), c.caselessSimple) << c.key;
        EXPECT_EQ(bytes(unsorted.getValue(key)), valueAt(c.find)) << c.key;
        EXPECT_EQ(bytes(unsorted.getValueSimple(key)), valueAt(c.simple)) << c.key;
        EXPECT_EQ(bytes(unsorted.getValueCaseless(key)), valueAt(c.caseless)) << c.key;
        EXPECT_EQ(bytes(unsorted.getValueCaselessSimple(key)), valueAt(c.caselessSimple)) << c.key;
    }
    EXPECT_EQ(&unsorted.getValue(GSString("none")), &GSString::null);
    // A sorted table searches by halves, with the sort or the simple comparison.
    GSStringTable sorted = tableOf({{"a", "1"}, {precomposed, "2"}, {"z", "3"}});
    EXPECT_EQ(sorted.find(GSString(decomposed.c_str())), 1);
    EXPECT_EQ(sorted.findSimple(GSString(decomposed.c_str())), -1);
    EXPECT_EQ(sorted.findSimple(GSString(precomposed.c_str())), 1);
    EXPECT_EQ(sorted.findSimple(GSString("a")), 0);
    // Out of order, only the linear searches find the first key.
    GSStringTable reversed = tableOf({{"c", "1"}, {"b", "2"}, {"a", "3"}}, 0);
    EXPECT_EQ(reversed.find(GSString("a")), 2);
    EXPECT_EQ(reversed.findSimple(GSString("a")), 2);
}

TEST(GSStringTable, IndexOutOfRangeThrows)
{
    GSStringTable table = tableOf({{"a", "1"}, {"b", "2"}});
    GSNumericStringTable numbers;
    EXPECT_EQ(numbers.setValue(5, GSString("five")), 0);
    GSString key, value;
    int number = 0;
    for (long index : {-1L, 2L})
        EXPECT_THROW(table.get(index, &key, &value), bad_index) << index;
    for (long index : {-1L, 1L}) {
        EXPECT_THROW(numbers.get(index, &key, &value), bad_index) << index;
        EXPECT_THROW(numbers.get(index, &number, &value), bad_index) << index;
    }
    table.get(1, &key, &value);
    EXPECT_EQ(bytes(key) + bytes(value), "b2");
    numbers.get(0, &key, nullptr);
    numbers.get(0, &number, nullptr);
    EXPECT_EQ(bytes(key) + std::to_string(number), "55");
}

TEST(GSStringTable, CommonKeysAndAddingTables)
{
    GSStringTable const mine = tableOf({{"x", "1"}, {"y", "2"}});
    struct Case {
        Pairs other;
        bool common;
    } const cases[] = {
        {{}, false},
        {{{"y", ""}}, false}, // an empty text is no translation
        {{{"y", ""}, {"x", "X"}}, true},
        {{{"z", "Z"}, {"y", "Y"}}, true},
    };
    for (Case const& c : cases)
        EXPECT_EQ(mine.hasCommonKeysWith(tableOf(c.other)), c.common) << c.other.size();

    GSStringTable target = tableOf({{"b", "0"}}, 0);
    EXPECT_EQ(target.addStringTable(tableOf({{"c", "1"}, {"a", "2"}}, 0)), 0);
    EXPECT_EQ(pairsOf(target), (Pairs{{"b", "0"}, {"c", "1"}, {"a", "2"}}));
    EXPECT_EQ(target.addStringTable(target), 0); // itself: each entry once more
    EXPECT_EQ(pairsOf(target).size(), 6u);
    GSStringTable sorted = tableOf({{"a", "old"}});
    EXPECT_EQ(sorted.addStringTable(tableOf({{"c", "1"}, {"a", "2"}}, 0)), 0);
    EXPECT_EQ(pairsOf(sorted), (Pairs{{"a", "2"}, {"c", "1"}}));
    // Copies share the entry array, so that a change of either needs memory.
    GSStringTable shared = sorted;
    GSNumericStringTable numbers, sharedNumbers;
    EXPECT_EQ(numbers.setValue(1, GSString("v")), 0);
    sharedNumbers = numbers;
    {
        AllocationFailures failures;
        GSStringTable empty;
        EXPECT_EQ(empty.addStringTable(sorted), 1);
        EXPECT_EQ(empty.setValue(GSString("k"), GSString("v")), -1);
        EXPECT_EQ(shared.setValue(GSString("a"), GSString("x")), -1);
        EXPECT_EQ(shared.removeValue(GSString("a")), -1);
        EXPECT_EQ(numbers.setValue(1, GSString("w")), -1);
        EXPECT_EQ(numbers.add(GSString("2"), GSString("v")), 1);
    }
    EXPECT_EQ(pairsOf(shared), pairsOf(sorted));
}

TEST(GSStringTable, BinaryFormGoldenBytes)
{
    GSStringTable const table = tableOf({{"b", ""}, {"a", "xy"}});
    GSNumericStringTable numbers;
    EXPECT_EQ(numbers.setValue(-3, GSString("m")), 0);
    struct Case {
        GSBasicStringTable const* table;
        short compact;
        std::string hex;
    } const cases[] = {
        {&table, 0,
         "01 00 00 00 00 00 00 00 00 1F 00 00 00 02 FF 9B 00 00 00 02 61 00 FF 9B 00 00 00 03 78 79 00 "
         "FF 9B 00 00 00 02 62 00 00 00 FF FF FF FF"},
        {&table, 1, "10 00 10 02 64 02 61 00 64 03 78 79 00 64 02 62 00 64 00 7F"},
        {&numbers, 0, "01 00 00 00 00 00 00 00 00 15 00 00 00 01 FF 9B 00 00 00 03 2D 33 00 FF 9B 00 00 00 02 6D 00 FF FF FF FF"},
        {&GSStringTable::null, 0, "01 00 FF FF FF FF"},
        {&GSNumericStringTable::null, 1, "10 7F"},
    };
    for (Case const& c : cases) {
        EXPECT_EQ(written(*c.table, c.compact), c.hex);
        GSStringTable strings;
        GSNumericStringTable read;
        GSBasicStringTable* into = dynamic_cast<GSNumericStringTable const*>(c.table) ? static_cast<GSBasicStringTable*>(&read)
                                                                                       : &strings;
        EXPECT_EQ(readBack(c.hex, c.compact, into), 0) << c.hex;
        EXPECT_EQ(pairsOf(*into), pairsOf(*c.table)) << c.hex;
    }
}

TEST(GSStringTable, DamagedBinaryForm)
{
    std::string const good = "01 00 00 00 00 00 00 00 00 1F 00 00 00 02 FF 9B 00 00 00 02 61 00 FF 9B 00 00 00 03 78 79 00 "
                             "FF 9B 00 00 00 02 62 00 00 00 FF FF FF FF";
    std::vector<unsigned char> const bytes = fromHex(good);
    for (size_t n = 0; n < bytes.size(); ++n) {
        GSStringTable table;
        EXPECT_NE(readBack(toHex(std::vector<unsigned char>(bytes.begin(), bytes.begin() + n)), 0, &table), 0) << n;
    }
    // Record 0 with 8 bytes behind its count: two pairs of empty strings fit, three cannot.
    std::string const twoEmptyPairs = "00 00 00 00 00 00 00 00";
    struct Case {
        char const* what;
        std::string hex;
        short status;
        long count;
    } const cases[] = {
        {"count that fills the record", "01 00 00 00 00 00 00 00 00 0C 00 00 00 02 " + twoEmptyPairs + " FF FF FF FF", 0, 1},
        {"count beyond the record", "01 00 00 00 00 00 00 00 00 0C 00 00 00 03 " + twoEmptyPairs + " FF FF FF FF", 1, 0},
        {"huge count", "01 00 00 00 00 00 00 00 00 0C 7F FF FF FF " + twoEmptyPairs + " FF FF FF FF", 1, 0},
        {"zero count", "01 00 00 00 00 00 00 00 00 04 00 00 00 00 FF FF FF FF", 0, 0},
        // The pair would be taken from the next record, were the count not checked first.
        {"count without room", "01 00 00 00 00 00 00 00 00 04 00 00 00 01 00 00 00 00 00 00 00 00 FF FF FF FF", 1, 0},
        {"negative count", "01 00 00 00 00 00 00 00 00 04 FF FF FF FF FF FF FF FF", 1, 0},
        {"tag 0x80000000", "01 00 80 00 00 00 00 00 00 00 FF FF FF FF", 1, 0},
        {"other tags skipped", "01 00 00 00 00 05 00 00 00 02 AA BB 00 00 00 00 00 00 00 0E 00 00 00 01 FF 9B 00 00 00 02 61 00 "
                               "00 00 00 00 00 07 00 00 00 00 FF FF FF FF", 0, 1},
        {"bytes behind the pairs", "01 00 00 00 00 00 00 00 00 0A 00 00 00 01 00 00 00 00 EE EE FF FF FF FF", 0, 1},
        {"version too new", "02 00 FF FF FF FF", 1, 0},
        {"value that fails", "01 00 00 00 00 00 00 00 00 0C 00 00 00 01 00 00 FF 9B 00 00 00 09 FF FF FF FF", 1, 0},
    };
    for (Case const& c : cases) {
        GSStringTable table;
        EXPECT_EQ(readBack(c.hex, 0, &table), c.status) << c.what;
        EXPECT_EQ(table.getCount(), c.count) << c.what;
    }
    GSStringTable table;
    EXPECT_EQ(table.read(nullptr), 1);
    EXPECT_EQ(table.write(nullptr), 1);
}

TEST(GSStringTable, TextFormReading)
{
    std::string const eAcute = "\xC3\xA9";
    struct Case {
        char const* what;
        std::string text;
        short status;
        Pairs pairs;
    } const cases[] = {
        {"byte-order mark", "\xEF\xBB\xBF\"k\xC3\xA9\" = \"v\";", 0, {{"k" + eAcute, "v"}}},
        {"native text", "\"k\xE9\" = \"v\";", 0, {{"k" + eAcute, "v"}}},
        {"other leading bytes", "\xFF\xFE\x81/ note\n\"a\" = \"b\";", 0, {{"a", "b"}}},
        {"only high bytes", "\xFF\xFE", 0, {}},
        {"zero byte after a mark", std::string("\xFF\0\"a\" = \"b\";", 12), 1, {}},
        {"encoding switches",
         "\"1\" = \"\xE9\";\n\"StringEncoding\" = \"UTF8\";\n\"2\" = \"\xC3\xA9\";\n\"StringEncoding\" = \"\";\n"
         "\"3\" = \"\xE9\";\n\"StringEncoding\" = \"utf-8\";\n\"4\" = \"\xE9\";\n",
         0, {{"1", eAcute}, {"2", eAcute}, {"3", eAcute}, {"4", eAcute}}},
        {"empty key ends", "\"a\" = \"b\";\n\"\" = \"z\";\n\"c\" = \"d\";", 0, {{"a", "b"}}},
        {"failed read", "\"a\" = \"b\";\n\"c\" x", 1, {{"a", "b"}}},
    };
    for (Case const& c : cases) {
        GSStringTable table;
        EXPECT_EQ(mergeText(c.text, &table), c.status) << c.what;
        EXPECT_EQ(pairsOf(table), c.pairs) << c.what;
        for (long i = 0; i < table.getCount(); ++i)
            EXPECT_EQ(table.getEntry(i).value.getEncoding(), GSString::kUTF8) << c.what;
    }
    GSStringTable table;
    EXPECT_EQ(table.merge(static_cast<GSFile*>(nullptr)), 1);
    {
        ReadFile r(raw("\"a\" = \"b\";"));
        AllocationFailures failures; // add fails: the merge stops with its status
        EXPECT_EQ(table.merge(&r.f), 1);
    }
    EXPECT_EQ(table.getCount(), 0);
}

TEST(GSStringTable, TextFormSaveGolden)
{
    ScratchFolder folder;
    GSFileSpec const spec(GSString((folder / "table.strings").c_str()));
    GSStringTable table(4, 4);
    table.setSorted(0);
    // Only the third entry's value and the fifth entry's key hold a character outside the Mac
    // code page (the first of each is code-page text).
    std::pair<GSString, GSString> const entries[] = {
        {make("a", GSString::kMac), make("\x8E", GSString::kMac)},
        {make("b", GSString::kMac), make("2", 99)}, // 99: the last code-page tag
        {make("c", GSString::kMac), GSString("\xE6\x97\xA5")},
        {make("d", 99), make("4", GSString::kMac)},
        {GSString("\xC5\x81"), make("5", GSString::kMac)},
    };
    for (auto const& [key, value] : entries)
        EXPECT_EQ(table.add(key, value), 0);
    ASSERT_EQ(table.save(spec), 0);
    EXPECT_EQ(readText(folder / "table.strings"),
              "\"a\" = \"\xE9\";\n\"b\" = \"2\";\n\"StringEncoding\" = \"UTF8\";\n\"c\" = \"\xE6\x97\xA5\";\n"
              "\"StringEncoding\" = \"\";\n\"d\" = \"4\";\n\"StringEncoding\" = \"UTF8\";\n\"\xC5\x81\" = \"5\";\n");
    GSStringTable back;
    back.setSorted(0);
    EXPECT_EQ(back.add(GSString("old"), GSString("gone")), 0);
    ASSERT_EQ(back.load(spec), 0);
    EXPECT_EQ(pairsOf(back), (Pairs{{"a", "\xC3\xA9"}, {"b", "2"}, {"c", "\xE6\x97\xA5"}, {"d", "4"}, {"\xC5\x81", "5"}}));
    EXPECT_EQ(back.merge(spec), 0); // merging adds (unsorted: a second copy of each)
    EXPECT_EQ(back.getCount(), 10);

    // A Mac character that the Windows code page lacks is refused; the old file stays.
    GSStringTable refused;
    EXPECT_EQ(refused.add(make("k", GSString::kMac), make("\xF0", GSString::kMac)), 0);
    EXPECT_EQ(refused.save(spec), 1);
    EXPECT_EQ(readText(folder / "table.strings").substr(0, 4), "\"a\" ");
    EXPECT_EQ(table.save(GSFileSpec(GSString((folder / "absent/table.strings").c_str()))), 1);
    EXPECT_NE(back.load(GSFileSpec(GSString((folder / "absent.strings").c_str()))), 0);
    EXPECT_EQ(back.getCount(), 0);
}

// Random tables of UTF-8 text (any bytes) and of Mac text that the Windows code page holds come
// back from their text file as the same entries in UTF-8.
TEST(GSStringTable, TextFormRoundTrip)
{
    ScratchFolder folder;
    GSFileSpec const spec(GSString((folder / "round.strings").c_str()));
    std::mt19937 random(11);
    std::string const special("\"\\\t\n\r\x0B\x7F=;/ \x01", 12);
    auto randomText = [&](bool allowEmpty, int tag) {
        std::string t(allowEmpty ? random() % 12 : 1 + random() % 12, ' ');
        for (char& c : t) {
            if (tag == GSString::kMac)
                c = static_cast<char>(random() % 2 ? 32 + random() % 95 : 0x80 + random() % 32);
            else
                c = random() % 3 ? special[random() % special.size()] : static_cast<char>(random() % 256);
        }
        return make(t, tag);
    };
    for (int round = 0; round < 30; ++round) {
        GSStringTable table;
        table.setSorted(0);
        for (int i = 0, n = static_cast<int>(random() % 20); i < n; ++i) {
            int const keyTag = random() % 2 ? GSString::kUTF8 : GSString::kMac;
            int const valueTag = random() % 2 ? GSString::kUTF8 : GSString::kMac;
            ASSERT_EQ(table.add(randomText(false, keyTag), randomText(true, valueTag)), 0);
        }
        ASSERT_EQ(table.save(spec), 0);
        GSStringTable back;
        back.setSorted(0);
        ASSERT_EQ(back.load(spec), 0);
        Pairs expected;
        for (long i = 0; i < table.getCount(); ++i) {
            GSString key, value;
            table.get(i, &key, &value);
            ASSERT_EQ(key.convertEncoding(GSString::kUTF8), 0);
            ASSERT_EQ(value.convertEncoding(GSString::kUTF8), 0);
            expected.emplace_back(bytes(key), bytes(value));
        }
        ASSERT_EQ(pairsOf(back), expected) << round;
    }
}
