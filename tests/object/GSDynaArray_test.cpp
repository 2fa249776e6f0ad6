#include "gs/object/GSDynaArray.h"

#include <gtest/gtest.h>

TEST(GSDynaArrayGrowth, PercentageGrowthStepsFromTheRequiredCount)
{
    GSDynaArray<unsigned char> a(8, -100);
    EXPECT_EQ(a.getCapacity(), 8);
    unsigned char bytes[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
    ASSERT_EQ(a.append(bytes, 8), 0);
    EXPECT_EQ(a.getCapacity(), 8);
    ASSERT_EQ(a.add(bytes[8]), 0);
    EXPECT_EQ(a.getCapacity(), 18);
    EXPECT_EQ(a.getCount(), 9);
    EXPECT_EQ(a[8], 9);
}

TEST(GSDynaArrayShare, CopiesShareUntilOneChanges)
{
    GSDynaArray<int> a(4, -100);
    int values[3] = {1, 2, 3};
    ASSERT_EQ(a.append(values, 3), 0);
    GSDynaArray<int> b(a);
    EXPECT_EQ(a.getPointer(), b.getPointer());
    b.getWritablePointer()[0] = 42;
    EXPECT_NE(a.getPointer(), b.getPointer());
    EXPECT_EQ(a[0], 1);
    EXPECT_EQ(b[0], 42);
}

TEST(GSDynaArrayInsert, IndexPastTheCountThrowsBadIndex)
{
    GSDynaArray<int> a;
    int v = 1;
    EXPECT_THROW(a.insertAt(1, &v, 1), bad_index);
    EXPECT_THROW(a.insertAt(-2, &v, 1), bad_index);
}

TEST(GSDynaArrayInsert, InsertingItsOwnElementsWhileGrowingIsSafe)
{
    GSDynaArray<int> a(2, -100);
    int values[2] = {7, 8};
    ASSERT_EQ(a.append(values, 2), 0);
    ASSERT_EQ(a.insertAt(0, a.getPointer(), 2), 0);
    ASSERT_EQ(a.getCount(), 4);
    EXPECT_EQ(a[0], 7);
    EXPECT_EQ(a[1], 8);
    EXPECT_EQ(a[2], 7);
    EXPECT_EQ(a[3], 8);
}
