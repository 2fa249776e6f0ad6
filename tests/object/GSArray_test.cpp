#include "gs/object/GSArray.h"

#include "ArrayAllocationFailures.h"
#include "gs/object/GSObject.h"
#include "gs/object/GSRuntimeClass.h"
#include "gs/object/ObjectArray.h"

#include <gtest/gtest.h>

#include <vector>

namespace {

std::vector<int> contents(IntArray const& a)
{
    std::vector<int> v;
    for (long i = 0; i < a.getCount(); ++i)
        v.push_back(a.getElementAt(i));
    return v;
}

void fill(IntArray& a, std::vector<int> const& values)
{
    for (int v : values)
        EXPECT_EQ(a.add(v), 0);
}

} // namespace

struct ArrayGrowthCase {
    long initialSize;
    long growth;
    std::vector<long> capacities; // after each enlargement
    friend void PrintTo(ArrayGrowthCase const& c, std::ostream* os)
    {
        *os << "initial " << c.initialSize << " growth " << c.growth;
    }
};

class GSArrayGrowth : public testing::TestWithParam<ArrayGrowthCase> {};

TEST_P(GSArrayGrowth, StepsFromTheCurrentCapacity)
{
    IntArray a(GetParam().initialSize, GetParam().growth);
    std::vector<long> seen;
    long last = a.getCapacity();
    for (int i = 0; seen.size() < GetParam().capacities.size(); ++i) {
        ASSERT_EQ(a.add(i), 0);
        if (a.getCapacity() != last)
            seen.push_back(last = a.getCapacity());
    }
    EXPECT_EQ(seen, GetParam().capacities);
}

INSTANTIATE_TEST_SUITE_P(Cases, GSArrayGrowth,
                         testing::Values(ArrayGrowthCase{8, -100, {16, 32, 64}}, ArrayGrowthCase{0, -100, {8, 16}},
                                         ArrayGrowthCase{50, -1, {58}}, ArrayGrowthCase{3, 5, {8, 13}},
                                         ArrayGrowthCase{2, 0, {3, 4}}, ArrayGrowthCase{200, -50, {300}}));

TEST(GSArrayInsert, IndexesPlaceElementsAndAnIndexPastTheCountDoesNothing)
{
    IntArray a(8, -100);
    fill(a, {1, 2});
    EXPECT_EQ(a.insertAt(0, 0), 0);
    EXPECT_EQ(a.insertAt(-5, 3), 0);
    EXPECT_EQ(a.insertAt(2, 9), 0);
    EXPECT_EQ(a.insertAt(6, 7), 0);
    EXPECT_EQ(contents(a), (std::vector<int>{0, 1, 9, 2, 3}));
    EXPECT_EQ(a.removeAt(5), 0);
    EXPECT_EQ(a.removeAt(-1), 0);
    EXPECT_EQ(a.removeAt(1), 0);
    EXPECT_EQ(contents(a), (std::vector<int>{0, 9, 2, 3}));
    EXPECT_EQ(a.remove(2), 2);
    EXPECT_EQ(a.remove(2), -1);
    EXPECT_EQ(a.find(3), 2);
}

TEST(GSArrayInsert, ElementOfItsOwnStorageSurvivesGrowth)
{
    PointerArray a(1, -100);
    int x = 0, y = 0;
    ASSERT_EQ(a.add(&x), 0);
    ASSERT_EQ(a.GSArray::insertAt(0, a.getElementPointer(0)), 0); // full: the storage moves
    ASSERT_EQ(a.add(&y), 0);
    ASSERT_EQ(a.GSArray::insertAt(0, a.getElementPointer(2)), 0); // the source moves up first
    ASSERT_EQ(a.getCount(), 4);
    EXPECT_EQ(a.getElementAt(0), &y);
    EXPECT_EQ(a.getElementAt(1), &x);
    EXPECT_EQ(a.getElementAt(2), &x);
    EXPECT_EQ(a.getElementAt(3), &y);
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
    ASSERT_EQ(a.add(4), 0);
    EXPECT_EQ(contents(a), (std::vector<int>{1, 2, 0, 4}));
    EXPECT_GE(a.getCapacity(), 4);
}

TEST(GSArrayInsert, RemovingBeforeAFailedSlotMovesItDownAsZero)
{
    PointerArray a(1, -100);
    int x = 0;
    ASSERT_EQ(a.add(&x), 0);
    {
        ArrayAllocationFailures failures;
        EXPECT_EQ(a.add(&x), 1);
    }
    EXPECT_EQ(a.getElementAt(1), nullptr);
    a.removeAt(0);
    ASSERT_EQ(a.getCount(), 1);
    EXPECT_EQ(a.getElementAt(0), nullptr);
}

TEST(GSArraySize, SetSizeSetsTheCapacityAndKeepsTheCount)
{
    IntArray a(8, -100);
    fill(a, {1, 2, 3});
    ASSERT_EQ(a.setSize(100), 0);
    EXPECT_EQ(a.getCapacity(), 100);
    ASSERT_EQ(a.setSize(1), 0);
    EXPECT_EQ(a.getCapacity(), 1);
    EXPECT_EQ(contents(a), (std::vector<int>{1, 2, 3}));
    ASSERT_EQ(a.add(4), 0); // grows from the count
    EXPECT_EQ(contents(a), (std::vector<int>{1, 2, 3, 4}));
    {
        ArrayAllocationFailures failures;
        EXPECT_EQ(a.setSize(1000), 1);
    }
    EXPECT_EQ(a.getCapacity(), 0);
    EXPECT_EQ(contents(a), (std::vector<int>{1, 2, 3, 4}));
    EXPECT_EQ(a.setSize(-1), 1);
    a.empty();
    EXPECT_EQ(a.getCount(), 0);
    EXPECT_EQ(a.getCapacity(), 0);
}

TEST(GSArraySize, InitFailureLeavesCapacityZero)
{
    ArrayAllocationFailures failures;
    IntArray a(10, -100);
    EXPECT_EQ(a.getCapacity(), 0);
    EXPECT_EQ(a.init(4, 10, 5), 1);
    EXPECT_EQ(a.init(4, -3, 5), 1);
    EXPECT_EQ(a.getCapacity(), 0);
    EXPECT_EQ(a.init(4, 0, 5), 0);
}

struct CopyContentCase {
    long count;
    long growth;
    long capacity;
    friend void PrintTo(CopyContentCase const& c, std::ostream* os)
    {
        *os << "count " << c.count << " growth " << c.growth;
    }
};

class GSArrayCopyContent : public testing::TestWithParam<CopyContentCase> {};

// The target is sized count + growth / 2, and never below the count.
TEST_P(GSArrayCopyContent, SizesTheTargetFromTheGrowth)
{
    IntArray source(0, GetParam().growth);
    std::vector<int> expected;
    for (int i = 0; i < GetParam().count; ++i) {
        ASSERT_EQ(source.add(i * 3), 0);
        expected.push_back(i * 3);
    }
    IntArray target(8, -100);
    fill(target, {5, 6, 7});
    ASSERT_EQ(source.copyContent(&target), 0);
    EXPECT_EQ(target.getCapacity(), GetParam().capacity);
    EXPECT_EQ(target.getGrowth(), GetParam().growth);
    EXPECT_EQ(contents(target), expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, GSArrayCopyContent,
                         testing::Values(CopyContentCase{10, 6, 13}, CopyContentCase{10, 7, 13},
                                         CopyContentCase{3, 40, 23}, CopyContentCase{10, -100, 10},
                                         CopyContentCase{10, -4, 10}, CopyContentCase{0, -100, 0}));

TEST(GSArrayCopyContent, FailureLeavesTheTargetEmpty)
{
    IntArray source(8, -100);
    fill(source, {1, 2, 3});
    IntArray target(8, -100);
    fill(target, {4});
    ArrayAllocationFailures failures;
    EXPECT_EQ(source.copyContent(&target), 1);
    EXPECT_EQ(target.getCount(), 0);
}

TEST(PointerArrayAccess, OutOfRangeGivesNullAndAddIfAbsentSkipsDuplicates)
{
    PointerArray a(0, -100);
    int x = 0, y = 0;
    EXPECT_EQ(a.addIfAbsent(&x), 0);
    EXPECT_EQ(a.addIfAbsent(&y), 0);
    EXPECT_EQ(a.addIfAbsent(&x), 0);
    EXPECT_EQ(a.getCount(), 2);
    EXPECT_EQ(a.getElementAt(2), nullptr);
    EXPECT_EQ(a.getElementAt(-1), nullptr);
    EXPECT_EQ(a.find(&y), 1);
    EXPECT_EQ(a.remove(&x), 0);
    EXPECT_EQ(a.getElementAt(0), &y);
}

// --- ObjectArray ----------------------------------------------------------------------------------

namespace {

std::vector<int>& destroyed()
{
    static std::vector<int> order;
    return order;
}

class Tracked : public GSObject {
public:
    explicit Tracked(int i) : id(i) {}
    ~Tracked() override { destroyed().push_back(id); }
    GSRuntimeClass const& getRuntimeClass() const override { return gsClassTracked; }
    int id;
    static GSRuntimeClass gsClassTracked;
};

GSRuntimeClass Tracked::gsClassTracked(GSString("ArrayTestTracked"), &GSObject::gsClassGSObject, nullptr);

} // namespace

TEST(ObjectArrayOwnership, RetainsWhileHeldAndReleasesLastToFirst)
{
    destroyed().clear();
    {
        ObjectArray a(2, -100);
        for (int i = 1; i <= 4; ++i)
            ASSERT_EQ(a.add(new Tracked(i)), 0);
        ASSERT_EQ(a.add(nullptr), 0);
        EXPECT_EQ(a.getElementAt(0)->getRefCount(), 1);
    }
    EXPECT_EQ(destroyed(), (std::vector<int>{4, 3, 2, 1}));
}

TEST(ObjectArrayOwnership, RemovalAndReplacementRelease)
{
    destroyed().clear();
    Tracked keep(0);
    keep.retain(); // a stack object must never reach 0
    ObjectArray a;
    ASSERT_EQ(a.add(new Tracked(1)), 0);
    ASSERT_EQ(a.add(&keep), 0);
    ASSERT_EQ(a.add(new Tracked(2)), 0);
    EXPECT_EQ(keep.getRefCount(), 2);
    EXPECT_EQ(a.removeAt(0), 0);
    EXPECT_EQ(destroyed(), (std::vector<int>{1}));
    EXPECT_EQ(a.replaceAt(1, &keep), 0);
    EXPECT_EQ(destroyed(), (std::vector<int>{1, 2}));
    EXPECT_EQ(keep.getRefCount(), 3);
    EXPECT_EQ(a.replaceAt(0, &keep), 0); // replacing an element by itself keeps it alive
    EXPECT_EQ(keep.getRefCount(), 3);
    EXPECT_EQ(a.replaceAt(2, &keep), 1);
    EXPECT_EQ(a.remove(&keep), 0);
    EXPECT_EQ(keep.getRefCount(), 2);
    a.clear();
    EXPECT_EQ(keep.getRefCount(), 1);
    EXPECT_EQ(a.getCapacity() > 0, true);
}

TEST(ObjectArrayOwnership, FailedOrSkippedInsertionRetainsNothing)
{
    Tracked keep(0);
    keep.retain();
    {
        ObjectArray a(1, -100);
        ASSERT_EQ(a.add(&keep), 0);
        EXPECT_EQ(a.insertAt(5, &keep), 0);
        EXPECT_EQ(keep.getRefCount(), 2);
        {
            ArrayAllocationFailures failures;
            EXPECT_EQ(a.add(&keep), 1);
        }
        EXPECT_EQ(keep.getRefCount(), 2);
        EXPECT_EQ(a.getCount(), 2); // the raised count of a failed insertion
        EXPECT_EQ(a.getElementAt(1), nullptr);
    }
    EXPECT_EQ(keep.getRefCount(), 1);
}

TEST(ObjectArrayOwnership, CopiesRetainEveryElement)
{
    Tracked keep(0);
    keep.retain();
    ObjectArray a;
    ASSERT_EQ(a.add(&keep), 0);
    ASSERT_EQ(a.add(nullptr), 0);
    ObjectArray b(a);
    EXPECT_EQ(keep.getRefCount(), 3);
    EXPECT_EQ(b.getGrowth(), -100);
    ObjectArray c(4, 16);
    c = b;
    ObjectArray& same = c;
    c = same; // self-assignment keeps the elements and their counts
    EXPECT_EQ(keep.getRefCount(), 4);
    EXPECT_EQ(c.getCount(), 2);
    EXPECT_EQ(c.getElementAt(1), nullptr);
    c.removeNULLObjects();
    EXPECT_EQ(c.getCount(), 1);
    c.empty();
    b.empty();
    a.empty();
    EXPECT_EQ(keep.getRefCount(), 1);
}

TEST(ObjectArrayClasses, FindRuntimeClassMatchesTheExactClassFromStart)
{
    Tracked t1(1), t2(2);
    GSObject plain;
    t1.retain();
    t2.retain();
    plain.retain();
    ObjectArray a;
    ASSERT_EQ(a.add(&plain), 0);
    ASSERT_EQ(a.add(nullptr), 0);
    ASSERT_EQ(a.add(&t1), 0);
    ASSERT_EQ(a.add(&t2), 0);
    EXPECT_EQ(a.findRuntimeClass(Tracked::gsClassTracked, 0), 2);
    EXPECT_EQ(a.findRuntimeClass(Tracked::gsClassTracked, 3), 3);
    EXPECT_EQ(a.findRuntimeClass(Tracked::gsClassTracked, 4), -1);
    EXPECT_EQ(a.findRuntimeClass(GSObject::gsClassGSObject, -2), 0);
    EXPECT_EQ(a.findRuntimeClass(GSObject::gsClassGSObject, 1), -1); // exact class, not ancestors
    a.empty();
}
