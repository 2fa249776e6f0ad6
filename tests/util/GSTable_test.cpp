#include "gs/util/GSTable.h"

#include <gtest/gtest.h>

TEST(GSTableInteger, FindGetAndCountStopAtTheTerminator)
{
    int const empty[] = {GSTableEnd};
    int const one[] = {5, GSTableEnd};
    // A value after the terminator must never be found or counted.
    int const table[] = {7, -1, 7, 0, GSTableEnd, 99};

    EXPECT_EQ(GSTableGetCount(empty), 0);
    EXPECT_EQ(GSTableGetCount(table), 4);
    EXPECT_EQ(GSTableGetEntry(0, one, 9), 5);
    EXPECT_EQ(GSTableGetEntry(1, one, 9), 9);
    EXPECT_EQ(GSTableGetEntry(-1, one, 9), 9);
    EXPECT_EQ(GSTableGetEntry(5, table, -3), -3);
    EXPECT_EQ(GSTableGetEntry(0, empty, 4), 4);

    EXPECT_EQ(GSTableFindValue(7, table, -1), 0);
    EXPECT_EQ(GSTableFindValue(0, table, -1), 3);
    EXPECT_EQ(GSTableFindValue(99, table, -1), -1);
    EXPECT_EQ(GSTableFindValue(GSTableEnd, table, -2), -2);
}

TEST(GSTableString, FindsTheFirstExactMatch)
{
    char const* list[] = {"jpg", "png", "PNG", "png", nullptr};
    EXPECT_EQ(GSTableFindString(GSString("jpg"), list, -1), 0);
    EXPECT_EQ(GSTableFindString(GSString("png"), list, -1), 1);
    EXPECT_EQ(GSTableFindString(GSString("PNG"), list, -1), 2);
    EXPECT_EQ(GSTableFindString(GSString("pn"), list, -1), -1);   // prefix only
    EXPECT_EQ(GSTableFindString(GSString("pngx"), list, -1), -1); // longer
    EXPECT_EQ(GSTableFindString(GSString(""), list, 7), 7);
    // A string with an embedded zero is not equal to its C prefix.
    EXPECT_EQ(GSTableFindString(GSString("jpg\0x", 5, GSString::kUTF8), list, -1), -1);
}
