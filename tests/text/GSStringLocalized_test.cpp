#include "gs/text/GSString.h"

#include "gs/text/GSStringTable.h"
#include "tests/text/TextTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

using texttest::bytes;

namespace {

GSNumericStringTable numbersOf(std::vector<std::pair<int, char const*>> const& pairs)
{
    GSNumericStringTable table;
    for (auto const& [id, text] : pairs)
        EXPECT_GE(table.setValue(id, GSString(text)), 0);
    return table;
}

GSStringTable stringsOf(std::vector<std::pair<char const*, char const*>> const& pairs)
{
    GSStringTable table;
    table.setSorted(0);
    for (auto const& [key, text] : pairs)
        EXPECT_EQ(table.add(GSString(key), GSString(text)), 0);
    return table;
}

} // namespace

// Before any table is installed (ctest runs each test in a process of its own; in a shared
// process an earlier test's tables hold none of these texts).
TEST(GSStringLocalizedFirst, NothingInstalled)
{
    GSString const text("not installed anywhere");
    EXPECT_EQ(GSString::getStringID(text), 0);
    EXPECT_EQ(&GSString::getUnlocalizedString(text), &text);
    EXPECT_EQ(bytes(GSString(GSString(text), nullptr)), bytes(text));
    EXPECT_EQ(bytes(GSString(-77)), "");
}

namespace {

// Each test starts without texts.
class GSStringLocalized : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_EQ(GSString::setStringTable(GSStringTable::null), 0);
        ASSERT_EQ(GSString::setNumericStringTable(GSNumericStringTable::null), 0);
    }
};

} // namespace

TEST_F(GSStringLocalized, NumericIDs)
{
    EXPECT_EQ(bytes(GSString(7)), "");
    GSNumericStringTable table = numbersOf({{7, "Seven"}, {0, "Zero"}, {-2, "Minus"}, {3, ""}});
    ASSERT_EQ(GSString::setNumericStringTable(table), 0);
    // The installed table is a copy: later changes of the original do not reach it.
    EXPECT_GE(table.setValue(7, GSString("changed")), 0);
    EXPECT_EQ(bytes(GSString(7)), "Seven");
    EXPECT_EQ(bytes(GSString(7u)), "Seven");
    EXPECT_EQ(bytes(GSString(7L)), "Seven");
    EXPECT_EQ(bytes(GSString(-2)), "Minus");
    EXPECT_EQ(bytes(GSString::getLocalizedString(7)), "Seven");
    EXPECT_EQ(bytes(GSString(0)), ""); // ID 0 is no text, whatever the table holds
    GSString s("before");
    EXPECT_EQ(s.load(0u), 0);
    EXPECT_EQ(bytes(s), "");
    EXPECT_EQ(s.load(7u), 0);
    EXPECT_EQ(bytes(s), "Seven");
    for (unsigned int id : {5u, 3u}) {
        EXPECT_EQ(s.load(id), 1) << id;
        EXPECT_EQ(bytes(s), "") << id;
    }
}

TEST_F(GSStringLocalized, KeysAndStatus)
{
    GSString s;
    EXPECT_EQ(s.load(GSString("k")), 1); // no table: the key itself
    EXPECT_EQ(bytes(s), "k");
    ASSERT_EQ(GSString::setStringTable(stringsOf({{"k", "Text"}, {"blank", ""}})), 0);
    struct Case {
        char const* key;
        char const* text;
        int status;
    } const cases[] = {
        {"k", "Text", 0},
        {"other", "other", 1},
        {"blank", "blank", 1}, // an empty text is no translation
        {"", "", 0},
    };
    for (Case const& c : cases) {
        int status = -1;
        GSString const text(GSString(c.key), &status);
        EXPECT_EQ(bytes(text), c.text) << c.key;
        EXPECT_EQ(status, c.status) << c.key;
        EXPECT_EQ(bytes(GSString(GSString(c.key), nullptr)), c.text) << c.key;
    }
    s = GSString("k");
    EXPECT_EQ(s.load(s), 0);
    EXPECT_EQ(bytes(s), "Text");
}

TEST_F(GSStringLocalized, ReverseLookupsSearchFromTheLastEntry)
{
    GSString const same("Same");
    EXPECT_EQ(GSString::getStringID(same), 0);
    EXPECT_EQ(&GSString::getUnlocalizedString(same), &same);
    ASSERT_EQ(GSString::setNumericStringTable(numbersOf({{1, "First"}, {2, "Same"}, {3, "Other"}, {4, "Same"}})), 0);
    ASSERT_EQ(GSString::setStringTable(stringsOf({{"k0", "First"}, {"k1", "Same"}, {"k2", "Same"}, {"k3", "Other"}})), 0);
    EXPECT_EQ(GSString::getStringID(same), 4);
    EXPECT_EQ(GSString::getStringID(GSString("First")), 1);
    EXPECT_EQ(bytes(GSString::getUnlocalizedString(GSString("First"))), "k0");
    EXPECT_EQ(GSString::getStringID(GSString("Other")), 3);
    EXPECT_EQ(GSString::getStringID(GSString("same")), 0); // case-sensitive
    GSString const& key = GSString::getUnlocalizedString(same);
    EXPECT_EQ(bytes(key), "k2");
    GSString const lower("same");
    EXPECT_EQ(&GSString::getUnlocalizedString(lower), &lower);
    // The key stays valid after another table is installed.
    ASSERT_EQ(GSString::setStringTable(GSStringTable::null), 0);
    EXPECT_EQ(bytes(key), "k2");
    EXPECT_TRUE(GSString::null.isEmpty());
}

// Lookups on several threads while tables are installed (the ThreadSanitizer run checks the rest).
TEST_F(GSStringLocalized, InstallingWhileLookingUp)
{
    GSNumericStringTable const a = numbersOf({{1, "A"}});
    GSNumericStringTable const b = numbersOf({{1, "B"}});
    GSStringTable const keys = stringsOf({{"k", "A"}});
    ASSERT_EQ(GSString::setNumericStringTable(a), 0);
    std::atomic<bool> wrong{false};
    std::vector<std::thread> readers;
    for (int t = 0; t < 2; ++t) {
        readers.emplace_back([&] {
            for (int i = 0; i < 2000; ++i) {
                std::string const text = bytes(GSString(1));
                std::string const key = bytes(GSString::getUnlocalizedString(GSString("A")));
                if ((text != "A" && text != "B") || (key != "k" && key != "A"))
                    wrong = true;
            }
        });
    }
    for (int i = 0; i < 200; ++i) {
        EXPECT_EQ(GSString::setNumericStringTable(i % 2 ? a : b), 0);
        EXPECT_EQ(GSString::setStringTable(i % 2 ? keys : GSStringTable::null), 0);
    }
    for (std::thread& t : readers)
        t.join();
    EXPECT_FALSE(wrong);
}
