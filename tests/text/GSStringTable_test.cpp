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
using namespace texttest;

namespace {

GSString str(std::string const& s) { return GSString(s.c_str()); }

std::vector<unsigned char> raw(std::string const& s) { return std::vector<unsigned char>(s.begin(), s.end()); }

short mergeText(std::string const& text, GSBasicStringTable* table)
{
    ReadFile r(raw(text));
    return table->merge(&r.f);
}

} // namespace

// Random edits of a sorted table and of a numeric table against std::map, with runs of keys in
// ascending order (the append path) and in random order (the insertion path).
TEST(GSStringTable, SortedTablesFollowAModel)
{
    std::mt19937 random(3);
    for (int round = 0; round < 40; ++round) {
        GSStringTable table(round % 3, round % 2 ? 1 : -100);
        GSNumericStringTable numbers;
        std::map<std::string, std::string> model;
        std::map<int, std::string> numberModel;
        int next = 0;
        for (int step = 0; step < 60; ++step) {
            std::string key(1 + random() % 3, 'a');
            for (char& c : key)
                c = static_cast<char>('a' + random() % 4);
            int number = 100 + next - static_cast<int>(random() % 8);
            if (random() % 2)
                key = "k" + std::to_string(1000 + next), number = 100 + next++; // ascending
            else if (random() % 4 == 0)
                key = "k" + std::to_string(999 + next); // the last ascending key again
            std::string const value = std::to_string(random() % 100);
            if (random() % 5 == 0) {
                auto const found = model.find(key);
                long const expected = found == model.end() ? -1 : std::distance(model.begin(), found);
                ASSERT_EQ(table.removeValue(str(key)), expected) << key;
                model.erase(key);
            } else {
                model[key] = value;
                ASSERT_EQ(table.setValue(str(key), str(value)), std::distance(model.begin(), model.find(key)));
            }
            numberModel[number] = value;
            ASSERT_EQ(numbers.setValue(number, str(value)), std::distance(numberModel.begin(), numberModel.find(number)));
            ASSERT_EQ(pairsOf(table), (Pairs(model.begin(), model.end())));
        }
        for (auto const& [key, value] : model)
            ASSERT_EQ(bytes(table.getValue(str(key))), value);
        for (int number = 90; number < 100 + next; ++number) {
            auto const found = numberModel.find(number);
            ASSERT_EQ(bytes(numbers.getValue(number)), found == numberModel.end() ? "" : found->second);
            ASSERT_EQ(numbers.find(number), found == numberModel.end() ? -1 : std::distance(numberModel.begin(), found));
        }
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
        for (int i = 0, n = static_cast<int>(random() % 8); i < n; ++i) {
            std::string const key = randomText("abcAB"), value = randomText("01234");
            ASSERT_GE(merged.setValue(str(key), str(value)) + expected.setValue(str(key), str(value)), 0);
        }
        std::vector<std::string> keys(random() % 40);
        for (std::string& key : keys)
            key = randomText("abcAB");
        // Every third file in the table's order, as a file the table wrote; some of those without
        // repeated keys.
        if (round % 3 == 1) {
            auto const compare = [&](std::string const& a, std::string const& b) {
                return caseless ? str(a).compareValueCaseless(str(b)) : str(a).compareValue(str(b));
            };
            std::stable_sort(keys.begin(), keys.end(), [&](auto const& a, auto const& b) { return compare(a, b) < 0; });
            if (round % 2)
                keys.erase(std::unique(keys.begin(), keys.end(), [&](auto const& a, auto const& b) { return compare(a, b) == 0; }),
                           keys.end());
        }
        std::string text;
        for (std::string const& key : keys) {
            std::string const value = randomText("56789");
            text += "\"" + key + "\" = \"" + value + "\";\n";
            ASSERT_GE(expected.setValue(str(key), str(value)), 0);
        }
        ASSERT_EQ(mergeText(text, &merged), 0);
        ASSERT_EQ(pairsOf(merged), pairsOf(expected)) << round << "\n" << text;
    }
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
        {"key", 1, 1, 0, 0}, {"KEY", -1, -1, 0, 0}, {precomposed, 2, 3, 2, 3}, {capital, -1, -1, 2, -1},
        {"ke", -1, -1, -1, -1}, {"", -1, -1, -1, -1}, // the unused room behind the last entry is not searched
    };
    auto valueAt = [](long i) { return i < 0 ? std::string() : "v" + std::to_string(i); };
    for (Case const& c : cases) {
        GSString const key = str(c.key);
        EXPECT_EQ(bytes(unsorted.getValue(key)), valueAt(c.find)) << c.key;
        EXPECT_EQ(bytes(unsorted.getValueSimple(key)), valueAt(c.simple)) << c.key;
        EXPECT_EQ(bytes(unsorted.getValueCaseless(key)), valueAt(c.caseless)) << c.key;
        EXPECT_EQ(bytes(unsorted.getValueCaselessSimple(key)), valueAt(c.caselessSimple)) << c.key;
    }
    EXPECT_EQ(&unsorted.getValue(str("none")), &GSString::null);
    GSString key, value;
    for (long index : {-1L, 4L})
        EXPECT_THROW(unsorted.get(index, &key, &value), bad_index) << index;
    unsorted.get(3, &key, &value);
    EXPECT_EQ(bytes(key) + bytes(value), precomposed + "v3");
    // An unsorted table appends without looking for the key: a key may stand twice, and the first
    // is found and removed.
    EXPECT_EQ(unsorted.setValue(str("key"), str("v4")), 4);
    EXPECT_EQ(unsorted.removeValue(str("key")) + unsorted.removeValue(str("x")), 0);
    EXPECT_EQ(unsorted.find(str("key")), 3);
    // A sorted table searches by halves, with the sort or the simple comparison, caseless or not.
    GSStringTable sorted = tableOf({{"a", "1"}, {precomposed, "2"}, {"z", "3"}});
    EXPECT_EQ(sorted.find(str(decomposed)), 1);
    EXPECT_EQ(sorted.findSimple(str(decomposed)), -1);
    EXPECT_EQ(sorted.findSimple(str(precomposed)), 1);
    GSStringTable caseless;
    caseless.setSortCaseless(1);
    for (char const* fruit : {"cherry", "Banana", "apple"})
        EXPECT_EQ(caseless.add(str(fruit), str(fruit)), 0);
    EXPECT_EQ(caseless.find(str("APPLE")) + caseless.findSimple(str("CHERRY")), 2);
    caseless.setSortCaseless(0);
    EXPECT_EQ(caseless.find(str("APPLE")) + caseless.findSimple(str("CHERRY")), -2);
}

TEST(GSStringTable, CommonKeysAndAddingTables)
{
    GSStringTable const mine = tableOf({{"x", "1"}, {"y", "2"}});
    struct Case {
        Pairs other;
        bool common;
    } const cases[] = {
        {{}, false}, {{{"y", ""}}, false}, /* an empty text is no translation */ {{{"y", ""}, {"x", "X"}}, true},
        {{{"z", "Z"}, {"y", "Y"}}, true},
    };
    for (Case const& c : cases)
        EXPECT_EQ(mine.hasCommonKeysWith(tableOf(c.other)), c.common) << c.other.size();

    GSStringTable target = tableOf({{"b", "0"}, {"a", "2"}}, 0);
    EXPECT_EQ(target.addStringTable(target), 0); // itself: each entry once more
    EXPECT_EQ(pairsOf(target), (Pairs{{"b", "0"}, {"a", "2"}, {"b", "0"}, {"a", "2"}}));
    // Copies share the entry array, so that a change of either needs memory.
    GSStringTable shared = target;
    GSNumericStringTable numbers = numbersOf({{1, "v"}});
    GSNumericStringTable const sharedNumbers = numbers;
    {
        AllocationFailures failures;
        GSStringTable empty;
        EXPECT_EQ(empty.addStringTable(target), 1);
        EXPECT_EQ(empty.setValue(str("k"), str("v")), -1);
        EXPECT_EQ(shared.setValue(str("a"), str("x")), -1);
        EXPECT_EQ(shared.removeValue(str("a")), -1);
        EXPECT_EQ(numbers.setValue(1, str("w")), -1);
        EXPECT_EQ(numbers.add(str("2"), str("v")), 1);
    }
    EXPECT_EQ(pairsOf(shared), pairsOf(target));
}

TEST(GSStringTable, BinaryFormGoldenBytes)
{
    GSStringTable const table = tableOf({{"b", ""}, {"a", "xy"}});
    GSNumericStringTable const numbers = numbersOf({{-3, "m"}});
    struct Case {
        GSBasicStringTable const* table;
        std::string hex;
    } const cases[] = {
        {&table, "01 00 00 00 00 00 00 00 00 1F 00 00 00 02 FF 9B 00 00 00 02 61 00 FF 9B 00 00 00 03 78 79 00 "
                 "FF 9B 00 00 00 02 62 00 00 00 FF FF FF FF"},
        {&numbers, "01 00 00 00 00 00 00 00 00 15 00 00 00 01 FF 9B 00 00 00 03 2D 33 00 FF 9B 00 00 00 02 6D 00 FF FF FF FF"},
        {&GSStringTable::null, "01 00 FF FF FF FF"},
    };
    for (Case const& c : cases) {
        WriteFile w;
        EXPECT_EQ(c.table->write(&w.f), 0);
        EXPECT_EQ(fileHex(w.f), c.hex);
        GSStringTable strings;
        GSNumericStringTable readNumbers;
        GSBasicStringTable* into = c.table == &numbers ? static_cast<GSBasicStringTable*>(&readNumbers) : &strings;
        ReadFile r(c.hex);
        EXPECT_EQ(into->read(&r.f), 0) << c.hex;
        EXPECT_EQ(pairsOf(*into), pairsOf(*c.table)) << c.hex;
        std::vector<unsigned char> const whole = fromHex(c.hex);
        for (size_t n = 0; n < whole.size(); ++n) {
            ReadFile cut(std::vector<unsigned char>(whole.begin(), whole.begin() + static_cast<long>(n)));
            EXPECT_NE(into->read(&cut.f), 0) << n << " bytes of " << c.hex;
        }
    }
}

TEST(GSStringTable, DamagedBinaryForm)
{
    // Record 0 with 8 bytes behind its count: two pairs of empty strings fit, three cannot.
    std::string const record0 = "01 00 00 00 00 00 00 00 00 ", twoEmptyPairs = " 00 00 00 00 00 00 00 00 FF FF FF FF";
    struct Case {
        char const* what;
        std::string hex;
        short status;
        long count;
    } const cases[] = {
        {"count that fills the record", record0 + "0C 00 00 00 02" + twoEmptyPairs, 0, 1},
        {"count beyond the record", record0 + "0C 00 00 00 03" + twoEmptyPairs, 1, 0},
        {"zero count", record0 + "04 00 00 00 00 FF FF FF FF", 0, 0},
        // The pair would be taken from the next record, were the count not checked first.
        {"count without room", record0 + "04 00 00 00 01" + twoEmptyPairs, 1, 0},
        {"negative count", record0 + "04 FF FF FF FF FF FF FF FF", 1, 0},
        {"other tags skipped", "01 00 00 00 00 05 00 00 00 02 AA BB 00 00 00 00 00 00 00 0E 00 00 00 01 FF 9B 00 00 00 02 61 00 "
                               "00 00 00 00 00 07 00 00 00 00 FF FF FF FF", 0, 1},
    };
    for (Case const& c : cases) {
        GSStringTable table;
        ReadFile r(c.hex);
        EXPECT_EQ(table.read(&r.f), c.status) << c.what;
        EXPECT_EQ(table.getCount(), c.count) << c.what;
    }
    GSStringTable table;
    EXPECT_EQ(table.read(nullptr) + table.write(nullptr), 2);
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
    GSNumericStringTable numbers; // keys read as numbers, sorted
    EXPECT_EQ(mergeText("\"7\" = \"a\";\n\"-2\" = \"b\";", &numbers), 0);
    EXPECT_EQ(pairsOf(numbers), (Pairs{{"-2", "b"}, {"7", "a"}}));
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
    GSFileSpec const spec(str(folder / "table.strings"));
    GSStringTable table;
    table.setSorted(0);
    // Only the third entry's value and the fifth entry's key hold a character outside the Mac
    // code page (the first of each is code-page text); 99 is the last code-page tag.
    std::pair<GSString, GSString> const entries[] = {
        {make("a", GSString::kMac), make("\x8E", GSString::kMac)}, {make("b", GSString::kMac), make("2", 99)},
        {make("c", GSString::kMac), str("\xE6\x97\xA5")}, {make("d", 99), make("4", GSString::kMac)},
        {str("\xC5\x81"), make("5", GSString::kMac)},
    };
    for (auto const& [key, value] : entries)
        EXPECT_EQ(table.add(key, value), 0);
    ASSERT_EQ(table.save(spec), 0);
    EXPECT_EQ(readText(folder / "table.strings"),
              "\"a\" = \"\xE9\";\n\"b\" = \"2\";\n\"StringEncoding\" = \"UTF8\";\n\"c\" = \"\xE6\x97\xA5\";\n"
              "\"StringEncoding\" = \"\";\n\"d\" = \"4\";\n\"StringEncoding\" = \"UTF8\";\n\"\xC5\x81\" = \"5\";\n");
    GSStringTable back = tableOf({{"old", "gone"}});
    ASSERT_EQ(back.load(spec), 0);
    EXPECT_EQ(pairsOf(back), (Pairs{{"a", "\xC3\xA9"}, {"b", "2"}, {"c", "\xE6\x97\xA5"}, {"d", "4"}, {"\xC5\x81", "5"}}));

    // A Mac character that the Windows code page lacks is refused; the old file stays.
    GSStringTable refused;
    EXPECT_EQ(refused.add(make("k", GSString::kMac), make("\xF0", GSString::kMac)), 0);
    EXPECT_EQ(refused.save(spec), 1);
    EXPECT_EQ(readText(folder / "table.strings").substr(0, 4), "\"a\" ");
    EXPECT_EQ(table.save(GSFileSpec(str(folder / "absent/table.strings"))), 1);
    EXPECT_NE(back.load(GSFileSpec(str(folder / "absent.strings"))), 0);
    EXPECT_EQ(back.getCount(), 0);
}
