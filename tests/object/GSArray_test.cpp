#include "gs/object/GSArray.h"

#include "TestObjects.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

std::vector<int> contents(IntArray const& a)
{
    std::vector<int> v;
    for (long i = 0; i < a.getCount(); ++i)
        v.push_back(a.getElementAt(i));
    return v;
}

IntArray& fill(IntArray& a, std::vector<int> const& values)
{
    for (int v : values)
        EXPECT_EQ(a.add(v), 0);
    return a;
}

} // namespace

// Enlarging applies the growth rule to the current capacity, and always makes room for one more.
TEST(GSArrayGrowth, StepsFromTheCurrentCapacity)
{
    struct Case {
        long initialSize, growth;
        std::vector<long> capacities; // after each enlargement
    };
    for (Case const& c : {Case{8, -100, {16, 32, 64}}, Case{0, -100, {8, 16}}, Case{3, 5, {8, 13}}, Case{2, 0, {3, 4}}}) {
        IntArray a(c.initialSize, c.growth);
        std::vector<long> seen;
        for (int i = 0; seen.size() < c.capacities.size(); ++i) {
            ASSERT_EQ(a.add(i), 0);
            if (a.getCapacity() != (seen.empty() ? c.initialSize : seen.back()))
                seen.push_back(a.getCapacity());
        }
        EXPECT_EQ(seen, c.capacities) << "initial " << c.initialSize << " growth " << c.growth;
    }
}

TEST(GSArrayInsert, IndexesPlaceElementsAndAnIndexPastTheCountDoesNothing)
{
    IntArray a(8, -100);
    fill(a, {1, 2});
    std::pair<long, int> const inserts[] = {{0, 0}, {-5, 3}, {2, 9}, {6, 7}};
    for (auto [index, value] : inserts)
        EXPECT_EQ(a.insertAt(index, value), 0);
    EXPECT_EQ(contents(a), (std::vector<int>{0, 1, 9, 2, 3}));
    for (long index : {5L, -1L, 1L})
        EXPECT_EQ(a.removeAt(index), 0);
    EXPECT_EQ(contents(a), (std::vector<int>{0, 9, 2, 3}));
    EXPECT_EQ(a.remove(2), 2);
    EXPECT_EQ(a.remove(2), -1);
    EXPECT_EQ(a.find(3), 2);

    PointerArray p(0, -100);
    int x = 0, y = 0;
    for (int* e : {&x, &y, &x})
        EXPECT_EQ(p.addIfAbsent(e), 0);
    EXPECT_EQ(p.getCount(), 2);
    EXPECT_EQ(p.getElementAt(2), nullptr);
    EXPECT_EQ(p.getElementAt(-1), nullptr);
    EXPECT_EQ(p.remove(&x), 0);
    EXPECT_EQ(p.getElementAt(0), &y);
}

TEST(GSArrayInsert, ElementOfItsOwnStorageSurvivesGrowth)
{
    PointerArray a(1, -100);
    int x = 0, y = 0;
    ASSERT_EQ(a.add(&x), 0);
    ASSERT_EQ(a.GSArray::insertAt(0, a.getElementPointer(0)), 0); // full: the storage moves
    ASSERT_EQ(a.add(&y), 0);
    ASSERT_EQ(a.GSArray::insertAt(0, a.getElementPointer(2)), 0); // the source moves up first
    std::vector<void*> got;
    for (long i = 0; i < a.getCount(); ++i)
        got.push_back(a.getElementAt(i));
    EXPECT_EQ(got, (std::vector<void*>{&y, &x, &x, &y}));
}

// The count goes up before the failure of enlarge() is looked at.
TEST(GSArrayInsert, FailedEnlargeReturnsOneAndKeepsTheRaisedCount)
{
    IntArray a(2, -100);
    fill(a, {1, 2});
    {
        ArrayAllocationFailures failures;
        EXPECT_EQ(a.add(3), 1);
    }
    EXPECT_EQ(a.getCount(), 3);
    EXPECT_EQ(a.getCapacity(), 0);
    EXPECT_EQ(contents(a), (std::vector<int>{1, 2, 0})); // the slot past the storage reads as 0
    a.removeAt(0); // moves the failed slot down, still 0
    ASSERT_EQ(a.add(4), 0);
    EXPECT_EQ(contents(a), (std::vector<int>{2, 0, 4}));
    EXPECT_GE(a.getCapacity(), 3);
}

TEST(GSArraySize, SetSizeSetsTheCapacityAndKeepsTheCount)
{
    IntArray a(8, -100);
    fill(a, {1, 2, 3});
    ASSERT_EQ(a.setSize(1), 0);
    EXPECT_EQ(a.getCapacity(), 1);
    fill(a, {4}); // grows from the count
    EXPECT_EQ(contents(a), (std::vector<int>{1, 2, 3, 4}));
    {
        ArrayAllocationFailures failures;
        EXPECT_EQ(a.setSize(1000), 1);
        EXPECT_EQ(a.getCapacity(), 0);
        EXPECT_EQ(contents(a), (std::vector<int>{1, 2, 3, 4}));
        EXPECT_EQ(a.setSize(-1), 1);
        IntArray failed(10, -100);
        EXPECT_EQ(failed.getCapacity(), 0);
        EXPECT_EQ(failed.init(4, -3, 5), 1);
        EXPECT_EQ(failed.init(4, 0, 5), 0);
    }
    a.empty();
    EXPECT_EQ(a.getCount(), 0);
    EXPECT_EQ(a.getCapacity(), 0);
}

// The target is sized count + growth / 2, and never below the count.
TEST(GSArrayCopyContent, SizesTheTargetFromTheGrowth)
{
    struct Case {
        long count, growth, capacity;
    };
    for (Case c : {Case{10, 6, 13}, Case{10, 7, 13}, Case{3, 40, 23}, Case{10, -100, 10}, Case{10, -4, 10}, Case{0, -100, 0}}) {
        SCOPED_TRACE(testing::Message() << "count " << c.count << " growth " << c.growth);
        IntArray source(0, c.growth), target(8, -100);
        std::vector<int> expected;
        for (int i = 0; i < c.count; ++i)
            expected.push_back(i * 3);
        ASSERT_EQ(fill(source, expected).copyContent(&fill(target, {5, 6, 7})), 0);
        EXPECT_EQ(target.getCapacity(), c.capacity);
        EXPECT_EQ(target.getGrowth(), c.growth);
        EXPECT_EQ(contents(target), expected);
    }
    IntArray source(8, -100), target(8, -100);
    fill(source, {1, 2, 3});
    fill(target, {4});
    ArrayAllocationFailures failures;
    EXPECT_EQ(source.copyContent(&target), 1);
    EXPECT_EQ(target.getCount(), 0);
}
