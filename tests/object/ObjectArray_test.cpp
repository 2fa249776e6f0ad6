#include "gs/object/ObjectArray.h"

#include "TestObjects.h"

#include <gtest/gtest.h>

#include <vector>

using namespace qmtest;

namespace {

// A full QMPoint{7} without a table: marker, class name, content.
std::string const kPoint7 = "00 FF 9B 00 00 00 08 51 4D 50 6F 69 6E 74 00 "
                            "01 00 00 00 00 01 00 00 00 04 00 00 00 07 FF FF FF FF";

std::vector<int>& destroyed()
{
    static std::vector<int> order;
    return order;
}

// Records its destruction; not creatable, so copyObject gives null.
class Tracked : public GSObject {
public:
    explicit Tracked(int i = 0) : id(i) {}
    ~Tracked() override { destroyed().push_back(id); }
    GSRuntimeClass const& getRuntimeClass() const override { return gsClassTracked; }
    int id;
    static inline GSRuntimeClass gsClassTracked{GSString("ArrayTestTracked"), &GSObject::gsClassGSObject, nullptr};
};

void fill(ObjectArray& a, std::vector<GSObject*> const& objects)
{
    for (GSObject* o : objects)
        ASSERT_EQ(a.add(o), 0);
}

} // namespace

TEST(ObjectArrayFile, WritesTheCountThenEachObjectAndANullDoesNotReadBack)
{
    ObjectArray a;
    fill(a, {new QMPoint(7), nullptr});
    WriteFile w;
    ASSERT_EQ(a.write(&w.f), 0);
    EXPECT_EQ(fileHex(w.f), "00 00 00 02 " + kPoint7 + " 01");

    // The read empties the array first, then fails at the null element keeping the first.
    ReadFile r(w.f);
    ObjectArray back;
    fill(back, {new QMPoint(1)});
    EXPECT_EQ(back.read(&r.f), 1);
    ASSERT_EQ(back.getCount(), 1);
    EXPECT_EQ(xOf(back.getElementAt(0)), 7);
    EXPECT_EQ(back.getElementAt(0)->getRefCount(), 1);
}

TEST(ObjectArrayFile, ReadRetainsEachObjectAndReleasesThemWithTheArray)
{
    int const liveBefore = QMPoint::live;
    {
        ReadFile r("00 00 00 02 " + kPoint7 + " " + kPoint7);
        ObjectArray a;
        ASSERT_EQ(a.read(&r.f), 0);
        ASSERT_EQ(a.getCount(), 2);
        EXPECT_EQ(QMPoint::live, liveBefore + 2);
        EXPECT_NE(a.getElementAt(0), a.getElementAt(1));
        EXPECT_EQ(a.getElementAt(1)->getRefCount(), 1);
    }
    EXPECT_EQ(QMPoint::live, liveBefore);
}

TEST(ObjectArrayFile, UnderATableTheSameObjectReadsBackOnce)
{
    auto* p = new QMPoint(3);
    ObjectArray a;
    fill(a, {p, p});
    WriteFile w;
    ASSERT_EQ(w.f.startObjectMergingWrite(0), 0);
    ASSERT_EQ(a.write(&w.f), 0);
    ASSERT_EQ(w.f.stopObjectMergingWrite(), 0);

    ReadFile r(w.f);
    ASSERT_EQ(r.f.startObjectMergingRead(), 0);
    ObjectArray back;
    ASSERT_EQ(back.read(&r.f), 0);
    ASSERT_EQ(r.f.stopObjectMergingRead(), 0);
    ASSERT_EQ(back.getCount(), 2);
    EXPECT_EQ(back.getElementAt(0), back.getElementAt(1));
    EXPECT_EQ(back.getElementAt(0)->getRefCount(), 2);
    EXPECT_EQ(xOf(back.getElementAt(1)), 3);
}

TEST(ObjectArrayFile, CountsTheFileCannotHoldFailBeforeAllocating)
{
    for (char const* hex : {"00 00 00 03 01 01", "7F FF FF FF 01", "FF FF FF FF"}) {
        ReadFile r(hex);
        ObjectArray a;
        ArrayAllocationFailures failures(1000);
        EXPECT_EQ(a.read(&r.f), 1) << hex;
        EXPECT_EQ(ArrayAllocationFailures::attemptCount(), 0) << hex;
    }
}

TEST(ObjectArrayCopy, CopiesEveryElementKeepingNullsAndStopsAtAFailedCopy)
{
    ObjectArray a(0, 12);
    fill(a, {new QMPoint(4), nullptr, new QMPoint(5)});
    ObjectArray target;
    fill(target, {new QMPoint(9)});
    ASSERT_EQ(a.copyTo(&target), 0);
    ASSERT_EQ(target.getCount(), 3);
    EXPECT_EQ(target.getGrowth(), 12);
    EXPECT_NE(target.getElementAt(0), a.getElementAt(0));
    EXPECT_EQ(xOf(target.getElementAt(0)), 4);
    EXPECT_EQ(target.getElementAt(1), nullptr);
    EXPECT_EQ(xOf(target.getElementAt(2)), 5);
    EXPECT_EQ(target.getElementAt(2)->getRefCount(), 1);

    ASSERT_EQ(a.replaceAt(1, new Tracked), 0);
    EXPECT_EQ(a.copyTo(&target), 1);
    ASSERT_EQ(target.getCount(), 1); // the copies made so far
    EXPECT_EQ(xOf(target.getElementAt(0)), 4);
}

// Copies retain every element; the last holder releases them from the last to the first.
TEST(ObjectArrayOwnership, CopiesRetainAndTheLastHolderReleasesLastToFirst)
{
    destroyed().clear();
    {
        ObjectArray a(2, -100);
        fill(a, {new Tracked(1), new Tracked(2), new Tracked(3), new Tracked(4), nullptr});
        EXPECT_EQ(a.getElementAt(0)->getRefCount(), 1);
        EXPECT_EQ(a.getElementAt(5), nullptr);
        EXPECT_EQ(a.getElementAt(-1), nullptr);
        ObjectArray b(a);
        EXPECT_EQ(b.getGrowth(), -100);
        ObjectArray c(4, 16);
        c = b;
        ObjectArray& same = c;
        c = same; // self-assignment keeps the elements and their counts
        EXPECT_EQ(a.getElementAt(3)->getRefCount(), 3);
        c.removeNULLObjects();
        EXPECT_EQ(c.getCount(), 4);
        a.empty();
        b.empty();
        EXPECT_TRUE(destroyed().empty());
    }
    EXPECT_EQ(destroyed(), (std::vector<int>{4, 3, 2, 1}));
}

TEST(ObjectArrayOwnership, RemovalReplacementAndFailedInsertionsBalanceTheCounts)
{
    destroyed().clear();
    Tracked keep(0);
    keep.retain(); // a stack object must never reach 0
    ObjectArray a(1, -100);
    fill(a, {new Tracked(1), &keep, new Tracked(2)});
    EXPECT_EQ(keep.getRefCount(), 2);
    EXPECT_EQ(a.removeAt(0), 0);
    EXPECT_EQ(destroyed(), (std::vector<int>{1}));
    EXPECT_EQ(a.replaceAt(1, &keep), 0);
    EXPECT_EQ(destroyed(), (std::vector<int>{1, 2}));
    EXPECT_EQ(a.replaceAt(0, &keep), 0); // replacing an element by itself keeps it alive
    EXPECT_EQ(keep.getRefCount(), 3);
    EXPECT_EQ(a.replaceAt(2, &keep), 1);
    EXPECT_EQ(a.remove(&keep), 0);
    EXPECT_EQ(keep.getRefCount(), 2);
    a.clear();
    EXPECT_EQ(keep.getRefCount(), 1);
    EXPECT_GT(a.getCapacity(), 0);

    // Insertions that fail or are skipped retain nothing.
    ObjectArray b(1, -100);
    fill(b, {&keep});
    EXPECT_EQ(b.insertAt(5, &keep), 0); // past the count: nothing happens
    {
        ArrayAllocationFailures failures;
        EXPECT_EQ(b.add(&keep), 1);
    }
    EXPECT_EQ(keep.getRefCount(), 2);
    EXPECT_EQ(b.getCount(), 2); // the raised count of a failed insertion, holding null
    EXPECT_EQ(b.getElementAt(1), nullptr);
}

TEST(ObjectArrayClasses, FindRuntimeClassMatchesTheExactClassFromStart)
{
    Tracked t1(1), t2(2);
    GSObject plain;
    for (GSObject* o : {static_cast<GSObject*>(&t1), static_cast<GSObject*>(&t2), &plain})
        o->retain();
    ObjectArray a;
    fill(a, {&plain, nullptr, &t1, &t2});
    EXPECT_EQ(a.findRuntimeClass(Tracked::gsClassTracked, 0), 2);
    EXPECT_EQ(a.findRuntimeClass(Tracked::gsClassTracked, 3), 3);
    EXPECT_EQ(a.findRuntimeClass(Tracked::gsClassTracked, 4), -1);
    EXPECT_EQ(a.findRuntimeClass(GSObject::gsClassGSObject, -2), 0);
    EXPECT_EQ(a.findRuntimeClass(GSObject::gsClassGSObject, 1), -1); // exact class, not ancestors
    a.empty();
}
