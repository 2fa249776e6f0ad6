#include "gs/text/GSString.h"

#include "tests/text/TextTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <tuple>
#include <vector>

using namespace texttest;

// Before any table is installed (ctest runs each test in a process of its own; in a shared
// process an earlier test's tables hold none of these texts).
TEST(GSStringLocalizedFirst, NothingInstalled)
{
    GSString const text("not installed anywhere");
    int status = -1;
    EXPECT_EQ(GSString::getStringID(text), 0);
    EXPECT_EQ(&GSString::getUnlocalizedString(text), &text);
    EXPECT_EQ(bytes(GSString(GSString(text), &status)) + bytes(GSString(77)), bytes(text));
    EXPECT_EQ(status, 1);
}

// Numbered texts: ID 0 is no text whatever the table holds, an empty text is none; the installed
// table is a copy, which later changes of the original do not reach.
TEST(GSStringLocalized, NumericIDs)
{
    GSNumericStringTable table = numbersOf({{7, "Seven"}, {0, "Zero"}, {-2, "Minus"}, {3, ""}});
    ASSERT_EQ(GSString::setNumericStringTable(table), 0);
    EXPECT_GE(table.setValue(7, GSString("changed")), 0);
    EXPECT_EQ(bytes(GSString(7)) + bytes(GSString(7u)) + bytes(GSString(7L)) + bytes(GSString::getLocalizedString(7)),
              "SevenSevenSevenSeven");
    EXPECT_EQ(bytes(GSString(-2)) + bytes(GSString(0)), "Minus");
    GSString s("before");
    for (auto const& [id, status, text] : {std::tuple{0u, 0, ""}, {7u, 0, "Seven"}, {5u, 1, ""}, {3u, 1, ""}}) {
        EXPECT_EQ(s.load(id), status) << id;
        EXPECT_EQ(bytes(s), text) << id;
    }
    ASSERT_EQ(GSString::setNumericStringTable(GSNumericStringTable::null), 0);
    EXPECT_EQ(bytes(GSString(7)), "");
}

// Keyed texts: a key without a text, or with an empty one, stands for itself with status 1.
TEST(GSStringLocalized, KeysAndStatus)
{
    ASSERT_EQ(GSString::setStringTable(tableOf({{"k", "Text"}, {"blank", ""}}, 0)), 0);
    for (auto const& [key, text, status] :
         {std::tuple{"k", "Text", 0}, {"other", "other", 1}, {"blank", "blank", 1}, {"", "", 0}}) {
        int got = -1;
        EXPECT_EQ(bytes(GSString(GSString(key), &got)) + bytes(GSString(GSString(key), nullptr)), std::string(text) + text);
        EXPECT_EQ(got, status) << key;
    }
    GSString s("k");
    EXPECT_EQ(s.load(s), 0);
    EXPECT_EQ(bytes(s), "Text");
    ASSERT_EQ(GSString::setStringTable(GSStringTable::null), 0);
    EXPECT_EQ(s.load(GSString("k")), 1);
}

// The reverse lookups search from the last entry, case-sensitively; a key handed out stays valid
// after another table is installed.
TEST(GSStringLocalized, ReverseLookups)
{
    ASSERT_EQ(GSString::setNumericStringTable(numbersOf({{1, "First"}, {2, "Same"}, {3, "Other"}, {4, "Same"}})), 0);
    ASSERT_EQ(GSString::setStringTable(tableOf({{"k0", "First"}, {"k1", "Same"}, {"k2", "Same"}, {"k3", "Other"}}, 0)), 0);
    GSString const same("Same"), lower("same");
    EXPECT_EQ(GSString::getStringID(same), 4);
    EXPECT_EQ(GSString::getStringID(GSString("First")), 1);
    EXPECT_EQ(GSString::getStringID(lower), 0);
    EXPECT_EQ(bytes(GSString::getUnlocalizedString(GSString("First"))), "k0");
    EXPECT_EQ(&GSString::getUnlocalizedString(lower), &lower);
    GSString const& key = GSString::getUnlocalizedString(same);
    ASSERT_EQ(GSString::setStringTable(GSStringTable::null), 0);
    EXPECT_EQ(bytes(key), "k2");
}

// Lookups on several threads while tables are installed (the ThreadSanitizer run checks the rest).
TEST(GSStringLocalized, InstallingWhileLookingUp)
{
    GSNumericStringTable const a = numbersOf({{1, "A"}}), b = numbersOf({{1, "B"}});
    GSStringTable const keys = tableOf({{"k", "A"}}, 0);
    ASSERT_EQ(GSString::setNumericStringTable(a), 0);
    std::atomic<bool> wrong{false};
    std::vector<std::thread> readers;
    for (int t = 0; t < 2; ++t) {
        readers.emplace_back([&] {
            for (int i = 0; i < 2000; ++i) {
                std::string const text = bytes(GSString(1)), key = bytes(GSString::getUnlocalizedString(GSString("A")));
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
