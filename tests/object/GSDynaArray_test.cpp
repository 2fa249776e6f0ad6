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

#include "ArrayAllocationFailures.h"
#include "gs/text/GSString.h"

#include <climits>
#include <vector>

namespace {

template <class T>
std::vector<T> contents(GSDynaArray<T> const& a)
{
    return std::vector<T>(a.getPointer(), a.getPointer() + a.getCount());
}

GSDynaArray<int> intArray(std::vector<int> const& values, long capacity = 0)
{
    GSDynaArray<int> a(capacity, -100);
    EXPECT_EQ(a.append(values.data(), static_cast<long>(values.size())), 0);
    return a;
}

} // namespace

struct GrowthCase {
    long base;
    long growth;
    long capacity;
    friend void PrintTo(GrowthCase const& c, std::ostream* os)
    {
        *os << "base " << c.base << " growth " << c.growth;
    }
};

class GSGrowCapacityRule : public testing::TestWithParam<GrowthCase> {};

TEST_P(GSGrowCapacityRule, GivesBasePlusStep)
{
    EXPECT_EQ(GSGrowCapacity(GetParam().base, GetParam().growth), GetParam().capacity);
}

INSTANTIATE_TEST_SUITE_P(Cases, GSGrowCapacityRule,
                         testing::Values(GrowthCase{8, -100, 16}, GrowthCase{0, -100, 8}, GrowthCase{50, -1, 58},
                                         GrowthCase{99, -1, 107}, GrowthCase{100, -1, 101},
                                         GrowthCase{200, -50, 300}, GrowthCase{7, -33, 9},
                                         GrowthCase{10, 5, 15}, GrowthCase{10, 0, 10},
                                         GrowthCase{LONG_MAX / 2, -300, -1}, GrowthCase{LONG_MAX, 1, -1},
                                         GrowthCase{5, LONG_MIN, -1}));

TEST(GSDynaArrayGrowth, FirstBlockIsSizedByTheRuleFromTheRequiredCount)
{
    GSDynaArray<int> percent(0, -100);
    ASSERT_EQ(percent.add(1), 0);
    EXPECT_EQ(percent.getCapacity(), 2); // 1 * 100 reaches 100: the step is 1
    int many[4] = {};
    ASSERT_EQ(percent.append(many, 4), 0);
    EXPECT_EQ(percent.getCapacity(), 10);
    GSDynaArray<int> fixed(0, 5);
    int values[3] = {1, 2, 3};
    ASSERT_EQ(fixed.append(values, 3), 0);
    EXPECT_EQ(fixed.getCapacity(), 8);
    ASSERT_EQ(fixed.append(values, 3), 0);
    ASSERT_EQ(fixed.append(values, 3), 0);
    EXPECT_EQ(fixed.getCapacity(), 14);
}

TEST(GSDynaArrayGrowth, ReserveGivesExactRoomAndZeroDropsTheBlock)
{
    GSDynaArray<int> a(0, -100);
    ASSERT_EQ(a.reserve(100), 0);
    EXPECT_EQ(a.getCapacity(), 100);
    ASSERT_EQ(a.reserve(50), 0);
    EXPECT_EQ(a.getCapacity(), 100);
    ASSERT_EQ(a.reserve(0), 0);
    EXPECT_EQ(a.getData(), nullptr);
}

TEST(GSDynaArrayGrowth, SetCountValueInitialisesNewElements)
{
    GSDynaArray<unsigned char> a(4, -100);
    unsigned char bytes[2] = {7, 7};
    ASSERT_EQ(a.append(bytes, 2), 0);
    ASSERT_EQ(a.setCount(1), 0);
    ASSERT_EQ(a.setCount(6), 0);
    EXPECT_EQ(contents(a), (std::vector<unsigned char>{7, 0, 0, 0, 0, 0}));
    EXPECT_EQ(a.setCount(-1), 1);
}

TEST(GSDynaArrayShare, EveryKindOfChangeLeavesTheOtherCopyAlone)
{
    GSDynaArray<int> original = intArray({1, 2, 3}, 3);
    GSDynaArray<int> inserted(original);
    GSDynaArray<int> removed(original);
    GSDynaArray<int> resized(original);
    GSDynaArray<int> cleared(original);
    GSDynaArray<int> replaced(original);
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

TEST(GSDynaArrayShare, PrivateCopyKeepsTheCapacityWhenItHoldsTheElements)
{
    GSDynaArray<int> a = intArray({1, 2}, 10);
    GSDynaArray<int> b(a);
    ASSERT_NE(b.getWritablePointer(), nullptr);
    EXPECT_NE(a.getData(), b.getData());
    EXPECT_EQ(b.getCapacity(), 10);
}

TEST(GSDynaArrayShare, ExtraReferenceCountsAsUnshared)
{
    GSDynaArray<int> a = intArray({1, 2}, 10);
    GSArrayData<int>* block = a.getData();
    block->retain(); // the caller's extra reference
    ASSERT_EQ(a.makeRoom(5, true), 0);
    EXPECT_EQ(a.getData(), block); // room enough and not shared: nothing happens
    ASSERT_EQ(a.makeRoom(5, false), 0);
    EXPECT_NE(a.getData(), block); // without the flag the extra reference makes it shared
    EXPECT_EQ(block->getRefCount(), 1);
    block->release();
}

TEST(GSDynaArrayInsert, IndexEqualToTheCountAppends)
{
    GSDynaArray<int> a = intArray({1, 2});
    int v = 3;
    EXPECT_EQ(a.insertAt(2, &v, 1), 0);
    EXPECT_THROW(a.insertAt(4, &v, 1), bad_index);
    EXPECT_THROW(a.insertAt(-1, &v, 1), bad_index);
    EXPECT_EQ(contents(a), (std::vector<int>{1, 2, 3}));
    EXPECT_EQ(a.insertAt(1, &v, 0), 0);
    EXPECT_EQ(a.getCount(), 3);
}

struct OwnSourceCase {
    long index;
    long from;
    long n;
    std::vector<int> expected;
    friend void PrintTo(OwnSourceCase const& c, std::ostream* os)
    {
        *os << "insert at " << c.index << " " << c.n << " from " << c.from;
    }
};

class GSDynaArrayOwnSource : public testing::TestWithParam<OwnSourceCase> {};

// Sources inside the array, with room to spare (no reallocation) and without: the elements that
// sit behind the insertion point have moved by the time they are copied.
TEST_P(GSDynaArrayOwnSource, InsertsWhatTheSourceHeldBefore)
{
    for (long capacity : {5L, 64L}) {
        GSDynaArray<int> a = intArray({1, 2, 3, 4, 5}, capacity);
        ASSERT_EQ(a.insertAt(GetParam().index, a.getPointer() + GetParam().from, GetParam().n), 0);
        EXPECT_EQ(contents(a), GetParam().expected) << "capacity " << capacity;
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, GSDynaArrayOwnSource,
                         testing::Values(OwnSourceCase{0, 3, 2, {4, 5, 1, 2, 3, 4, 5}},
                                         OwnSourceCase{1, 0, 3, {1, 1, 2, 3, 2, 3, 4, 5}},
                                         OwnSourceCase{5, 0, 5, {1, 2, 3, 4, 5, 1, 2, 3, 4, 5}},
                                         OwnSourceCase{2, 2, 1, {1, 2, 3, 3, 4, 5}}));

TEST(GSDynaArrayInsert, SourceInASharedCopyStaysValid)
{
    GSDynaArray<int> a = intArray({1, 2, 3}, 3);
    GSDynaArray<int> b(a);
    ASSERT_EQ(a.insertAt(1, b.getPointer(), 3), 0);
    EXPECT_EQ(contents(a), (std::vector<int>{1, 1, 2, 3, 2, 3}));
    EXPECT_EQ(contents(b), (std::vector<int>{1, 2, 3}));
}

TEST(GSDynaArrayInsert, StringElementsKeepTheirValuesThroughGrowthAndSharing)
{
    GSDynaArray<GSString> a(1, -100);
    GSString words[3] = {GSString("a string too long to sit inside std::string itself"), GSString("b"),
                         GSString("c")};
    ASSERT_EQ(a.append(words, 3), 0);
    GSDynaArray<GSString> b(a);
    ASSERT_EQ(a.insertAt(0, a.getPointer() + 2, 1), 0);
    ASSERT_EQ(a.insertAt(4, a.getPointer(), 4), 0);
    a.removeAt(1);
    std::vector<std::string> got;
    for (long i = 0; i < a.getCount(); ++i)
        got.push_back(a[i].c_str());
    EXPECT_EQ(got, (std::vector<std::string>{"c", "b", "c", "c", words[0].c_str(), "b", "c"}));
    EXPECT_EQ(b.getCount(), 3);
    EXPECT_STREQ(b[0].c_str(), words[0].c_str());
}

TEST(GSDynaArrayRemove, ClampsAndIgnoresIndexesOutOfRange)
{
    GSDynaArray<int> a = intArray({1, 2, 3, 4});
    a.removeAt(4);
    a.removeAt(-1);
    EXPECT_EQ(a.getCount(), 4);
    a.removeAt(2, 10);
    EXPECT_EQ(contents(a), (std::vector<int>{1, 2}));
}

TEST(GSDynaArraySort, SortsAscendingAndFinds)
{
    GSDynaArray<float> a;
    float values[4] = {3.5f, -1.0f, 2.0f, 0.0f};
    ASSERT_EQ(a.append(values, 4), 0);
    GSDynaArray<float> shared(a);
    ASSERT_EQ(a.sort(), 0);
    EXPECT_EQ(contents(a), (std::vector<float>{-1.0f, 0.0f, 2.0f, 3.5f}));
    EXPECT_EQ(contents(shared), (std::vector<float>{3.5f, -1.0f, 2.0f, 0.0f}));
    EXPECT_EQ(a.find(2.0f), 2);
    EXPECT_EQ(a.find(9.0f), -1);
}

TEST(GSDynaArrayAllocation, FailuresLeaveTheArrayAsItWas)
{
    GSDynaArray<int> full = intArray({1, 2}, 2);
    GSDynaArray<int> shared(full);
    GSDynaArray<int> empty(0, -100);
    for (long allowed : {0L, 1L}) { // the block object, then its elements
        ArrayAllocationFailures failures(allowed);
        int v = 3;
        EXPECT_EQ(empty.add(v), 1);
        EXPECT_EQ(empty.getData(), nullptr);
        EXPECT_EQ(full.add(v), 1);
        EXPECT_EQ(shared.getWritablePointer(), nullptr);
        EXPECT_EQ(shared.setAt(0, 5), 1);
    }
    EXPECT_EQ(contents(full), (std::vector<int>{1, 2}));
    EXPECT_EQ(full.getData(), shared.getData());
    EXPECT_EQ(full.getData()->getRefCount(), 2);
}

TEST(GSDynaArrayAllocation, GrowingInPlaceFailsWithoutLosingElements)
{
    GSDynaArray<GSString> a(2, -100);
    GSString s[2] = {GSString("x"), GSString("y")};
    ASSERT_EQ(a.append(s, 2), 0);
    ArrayAllocationFailures failures;
    EXPECT_EQ(a.add(GSString("z")), 1);
    EXPECT_GE(ArrayAllocationFailures::attemptCount(), 1);
    ASSERT_EQ(a.getCount(), 2);
    EXPECT_STREQ(a[1].c_str(), "y");
}

TEST(GSDynaArrayAllocation, SetCountCapsTheCountAtTheCapacity)
{
    GSDynaArray<unsigned char> a(8, -100);
    ArrayAllocationFailures failures;
    EXPECT_EQ(a.setCount(100), 1);
    EXPECT_EQ(a.getCount(), 8);
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
