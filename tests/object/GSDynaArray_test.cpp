#include "gs/object/GSDynaArray.h"

#include "TestObjects.h"
#include "gs/text/GSString.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <vector>

using qmtest::arrayOf;
using qmtest::contents;

TEST(GSGrowCapacityRule, GivesBasePlusStepOrMinusOneWhenItOverflows)
{
    struct Case {
        long base, growth, capacity;
    } const cases[] = {{8, -100, 16},   {0, -100, 8},   {50, -1, 58}, {99, -1, 107},
                       {100, -1, 101},  {200, -50, 300}, {7, -33, 9},  {10, 5, 15},
                       {10, 0, 10},     {LONG_MAX / 2, -300, -1}, {LONG_MAX, 1, -1}, {5, LONG_MIN, -1}};
    for (Case const& c : cases)
        EXPECT_EQ(GSGrowCapacity(c.base, c.growth), c.capacity) << "base " << c.base << " growth " << c.growth;
}

TEST(GSDynaArrayGrowth, BlocksAreSizedByTheRuleFromTheRequiredCount)
{
    GSDynaArray<int> percent(0, -100);
    ASSERT_EQ(percent.add(1), 0);
    EXPECT_EQ(percent.getCapacity(), 2); // 1 * 100 reaches 100: the step is 1
    int many[4] = {};
    ASSERT_EQ(percent.append(many, 4), 0);
    EXPECT_EQ(percent.getCapacity(), 10);
    GSDynaArray<int> fixed = arrayOf<int>({1, 2, 3}, 0, 5);
    EXPECT_EQ(fixed.getCapacity(), 8);
    for (int i = 0; i < 6; ++i)
        ASSERT_EQ(fixed.add(i), 0);
    EXPECT_EQ(fixed.getCapacity(), 14);

    ASSERT_EQ(percent.reserve(100), 0); // exact room; less changes nothing; 0 drops the block
    EXPECT_EQ(percent.getCapacity(), 100);
    ASSERT_EQ(percent.reserve(50), 0);
    EXPECT_EQ(percent.getCapacity(), 100);
    ASSERT_EQ(percent.reserve(0), 0);
    EXPECT_EQ(percent.getData(), nullptr);

    GSDynaArray<unsigned char> bytes = arrayOf<unsigned char>({7, 7}, 4); // setCount value-initialises
    ASSERT_EQ(bytes.setCount(1), 0);
    ASSERT_EQ(bytes.setCount(6), 0);
    EXPECT_EQ(contents(bytes), (std::vector<unsigned char>{7, 0, 0, 0, 0, 0}));
    EXPECT_EQ(bytes.setCount(-1), 1);
}

TEST(GSDynaArrayShare, EveryKindOfChangeLeavesTheOtherCopyAlone)
{
    GSDynaArray<int> original = arrayOf<int>({1, 2, 3}, 3);
    GSDynaArray<int> inserted(original), removed(original), resized(original), cleared(original), replaced(original);
    EXPECT_EQ(original.getData()->getRefCount(), 6);

    int v = 9;
    ASSERT_EQ(inserted.insertAt(0, &v, 1), 0);
    removed.removeAt(1);
    ASSERT_EQ(resized.setCount(5), 0);
    cleared.clear();
    ASSERT_EQ(replaced.setAt(2, 7), 0);

    EXPECT_EQ(contents(original), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(contents(inserted), (std::vector<int>{9, 1, 2, 3}));
    EXPECT_EQ(contents(removed), (std::vector<int>{1, 3}));
    EXPECT_EQ(contents(resized), (std::vector<int>{1, 2, 3, 0, 0}));
    EXPECT_EQ(cleared.getCount(), 0);
    EXPECT_EQ(contents(replaced), (std::vector<int>{1, 2, 7}));
    EXPECT_EQ(original.getData()->getRefCount(), 1);
    EXPECT_FALSE(original.isShared());
}

TEST(GSDynaArrayShare, PrivateCopyKeepsTheCapacityAndAnExtraReferenceCountsAsShared)
{
    GSDynaArray<int> a = arrayOf<int>({1, 2}, 10);
    GSDynaArray<int> b(a);
    ASSERT_NE(b.getWritablePointer(), nullptr);
    EXPECT_NE(a.getData(), b.getData());
    EXPECT_EQ(b.getCapacity(), 10);

    GSArrayData<int>* block = a.getData();
    block->retain(); // the caller's extra reference
    ASSERT_EQ(a.makeRoom(5, true), 0);
    EXPECT_EQ(a.getData(), block); // room enough and the extra reference declared: nothing happens
    ASSERT_EQ(a.makeRoom(5, false), 0);
    EXPECT_NE(a.getData(), block); // without the flag the extra reference makes it shared
    EXPECT_EQ(block->getRefCount(), 1);
    block->release();
}

// Sources inside the array, with room to spare (no reallocation) and without: the elements that
// sit behind the insertion point have moved by the time they are copied.
TEST(GSDynaArrayInsert, OwnElementsInsertWhatTheSourceHeldBefore)
{
    struct Case {
        long index, from, n;
        std::vector<int> expected;
    } const cases[] = {{0, 3, 2, {4, 5, 1, 2, 3, 4, 5}},
                       {1, 0, 3, {1, 1, 2, 3, 2, 3, 4, 5}},
                       {5, 0, 5, {1, 2, 3, 4, 5, 1, 2, 3, 4, 5}},
                       {2, 2, 1, {1, 2, 3, 3, 4, 5}}};
    for (Case const& c : cases)
        for (long capacity : {5L, 64L}) {
            GSDynaArray<int> a = arrayOf<int>({1, 2, 3, 4, 5}, capacity);
            ASSERT_EQ(a.insertAt(c.index, a.getPointer() + c.from, c.n), 0);
            EXPECT_EQ(contents(a), c.expected) << "insert at " << c.index << " from " << c.from << " capacity " << capacity;
        }
    // A source in a copy that shares the block stays valid.
    GSDynaArray<int> a = arrayOf<int>({1, 2, 3}, 3);
    GSDynaArray<int> b(a);
    ASSERT_EQ(a.insertAt(1, b.getPointer(), 3), 0);
    EXPECT_EQ(contents(a), (std::vector<int>{1, 1, 2, 3, 2, 3}));
    EXPECT_EQ(contents(b), (std::vector<int>{1, 2, 3}));
    // The index may be the count (appending); beyond it or negative throws; nothing to insert is fine.
    int v = 3;
    EXPECT_THROW((void)a.insertAt(7, &v, 1), bad_index);
    EXPECT_THROW((void)a.insertAt(-1, &v, 1), bad_index);
    EXPECT_EQ(a.insertAt(1, &v, 0), 0);
    EXPECT_EQ(a.insertAt(6, &v, 1), 0);
    EXPECT_EQ(contents(a), (std::vector<int>{1, 1, 2, 3, 2, 3, 3}));
}

TEST(GSDynaArrayInsert, StringElementsKeepTheirValuesThroughGrowthAndSharing)
{
    std::string const longText = "a string too long to sit inside std::string itself";
    GSDynaArray<GSString> a = arrayOf<GSString>({GSString(longText.c_str()), GSString("b"), GSString("c")}, 1);
    GSDynaArray<GSString> b(a);
    ASSERT_EQ(a.insertAt(0, a.getPointer() + 2, 1), 0);
    ASSERT_EQ(a.insertAt(4, a.getPointer(), 4), 0);
    a.removeAt(1);
    std::vector<std::string> got;
    for (long i = 0; i < a.getCount(); ++i)
        got.push_back(a[i].c_str());
    EXPECT_EQ(got, (std::vector<std::string>{"c", "b", "c", "c", longText, "b", "c"}));
    EXPECT_EQ(b.getCount(), 3);
    EXPECT_EQ(b[0].c_str(), longText);
}

TEST(GSDynaArrayRemoveAndSort, RemovalClampsAndSortingLeavesSharedCopiesAlone)
{
    GSDynaArray<int> a = arrayOf<int>({1, 2, 3, 4});
    a.removeAt(4);
    a.removeAt(-1);
    EXPECT_EQ(a.getCount(), 4);
    a.removeAt(2, 10);
    EXPECT_EQ(contents(a), (std::vector<int>{1, 2}));

    GSDynaArray<float> f = arrayOf<float>({3.5f, -1.0f, 2.0f, 0.0f});
    GSDynaArray<float> shared(f);
    ASSERT_EQ(f.sort(), 0);
    EXPECT_EQ(contents(f), (std::vector<float>{-1.0f, 0.0f, 2.0f, 3.5f}));
    EXPECT_EQ(contents(shared), (std::vector<float>{3.5f, -1.0f, 2.0f, 0.0f}));
    EXPECT_EQ(f.find(2.0f), 2);
    EXPECT_EQ(f.find(9.0f), -1);
}

TEST(GSDynaArrayAllocation, FailuresLeaveTheArrayAsItWas)
{
    GSDynaArray<int> full = arrayOf<int>({1, 2}, 2);
    GSDynaArray<int> shared(full);
    GSDynaArray<int> empty(0, -100);
    for (long allowed : {0L, 1L}) { // the block object, then its elements
        ArrayAllocationFailures failures(allowed);
        EXPECT_EQ(empty.add(3), 1);
        EXPECT_EQ(empty.getData(), nullptr);
        EXPECT_EQ(full.add(3), 1);
        EXPECT_EQ(shared.getWritablePointer(), nullptr);
        EXPECT_EQ(shared.setAt(0, 5), 1);
    }
    EXPECT_EQ(contents(full), (std::vector<int>{1, 2}));
    EXPECT_EQ(full.getData(), shared.getData());
    EXPECT_EQ(full.getData()->getRefCount(), 2);

    GSDynaArray<GSString> strings = arrayOf<GSString>({GSString("x"), GSString("y")}, 2);
    GSDynaArray<unsigned char> bytes(8, -100);
    ArrayAllocationFailures failures;
    EXPECT_EQ(strings.add(GSString("z")), 1); // growing in place fails without losing elements
    EXPECT_GE(ArrayAllocationFailures::attemptCount(), 1);
    ASSERT_EQ(strings.getCount(), 2);
    EXPECT_STREQ(strings[1].c_str(), "y");
    EXPECT_EQ(bytes.setCount(100), 1);
    EXPECT_EQ(bytes.getCount(), 8); // capped at the capacity
}

TEST(GSDynaArrayAllocation, UnrepresentableSizesFailBeforeAllocating)
{
    GSDynaArray<int> a(0, -100);
    ArrayAllocationFailures failures(1000);
    EXPECT_EQ(a.setCount(LONG_MAX), 1);
    EXPECT_EQ(a.reserve(LONG_MAX / 2), 1);
    GSDynaArray<int> fixed(0, LONG_MAX);
    EXPECT_EQ(fixed.add(1), 1);
    EXPECT_EQ(ArrayAllocationFailures::attemptCount(), 0);
}
