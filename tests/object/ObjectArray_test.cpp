// ObjectArray on file: the count, then each element as an object.
#include "gs/object/ObjectArray.h"

#include "ArrayAllocationFailures.h"
#include "TestObjects.h"

#include <gtest/gtest.h>

using namespace qmtest;

namespace {

// A full QMPoint{7} without a table: marker, class name, content.
std::string const kPoint7 = "00 FF 9B 00 00 00 08 51 4D 50 6F 69 6E 74 00 "
                            "01 00 00 00 00 01 00 00 00 04 00 00 00 07 FF FF FF FF";

struct WriteFile {
    WriteFile() : f(-100, 64) { openForWriting(f); }
    GSFile f;
};

GSFile* readFile(std::vector<unsigned char> const& bytes)
{
    auto* f = new GSFile(toArray(bytes));
    f->open();
    return f;
}

int xOf(GSObject const* o)
{
    return static_cast<QMPoint const*>(o)->x;
}

} // namespace

TEST(ObjectArrayFile, WritesTheCountThenEachObjectWithNullAsTheNullObject)
{
    auto* p = new QMPoint(7);
    ObjectArray a;
    ASSERT_EQ(a.add(p), 0);
    ASSERT_EQ(a.add(nullptr), 0);
    WriteFile w;
    ASSERT_EQ(a.write(&w.f), 0);
    EXPECT_EQ(fileHex(w.f), "00 00 00 02 " + kPoint7 + " 01");

    // The null element does not read back: the read fails after the first element.
    std::unique_ptr<GSFile> r(readFile(fileBytes(w.f)));
    ObjectArray back;
    EXPECT_EQ(back.read(r.get()), 1);
    ASSERT_EQ(back.getCount(), 1);
    EXPECT_EQ(xOf(back.getElementAt(0)), 7);
    EXPECT_EQ(back.getElementAt(0)->getRefCount(), 1);
}

TEST(ObjectArrayFile, ReadEmptiesFirstAndRetainsEachObject)
{
    int const liveBefore = QMPoint::live;
    {
        std::unique_ptr<GSFile> r(readFile(fromHex("00 00 00 02 " + kPoint7 + " " + kPoint7)));
        ObjectArray a;
        ASSERT_EQ(a.add(new QMPoint(1)), 0);
        ASSERT_EQ(a.read(r.get()), 0);
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
    ASSERT_EQ(a.add(p), 0);
    ASSERT_EQ(a.add(p), 0);
    WriteFile w;
    ASSERT_EQ(w.f.startObjectMergingWrite(0), 0);
    ASSERT_EQ(a.write(&w.f), 0);
    ASSERT_EQ(w.f.stopObjectMergingWrite(), 0);

    std::unique_ptr<GSFile> r(readFile(fileBytes(w.f)));
    ASSERT_EQ(r->startObjectMergingRead(), 0);
    ObjectArray back;
    ASSERT_EQ(back.read(r.get()), 0);
    ASSERT_EQ(r->stopObjectMergingRead(), 0);
    ASSERT_EQ(back.getCount(), 2);
    EXPECT_EQ(back.getElementAt(0), back.getElementAt(1));
    EXPECT_EQ(back.getElementAt(0)->getRefCount(), 2);
    EXPECT_EQ(xOf(back.getElementAt(1)), 3);
}

TEST(ObjectArrayFile, CountsTheFileCannotHoldFailBeforeAllocating)
{
    for (char const* hex : {"00 00 00 03 01 01", "7F FF FF FF 01", "FF FF FF FF"}) {
        std::unique_ptr<GSFile> r(readFile(fromHex(hex)));
        ObjectArray a;
        ArrayAllocationFailures failures(1000);
        EXPECT_EQ(a.read(r.get()), 1) << hex;
        EXPECT_EQ(ArrayAllocationFailures::attemptCount(), 0) << hex;
    }
}

TEST(ObjectArrayFile, AnEmptyArrayIsJustItsCount)
{
    ObjectArray a;
    WriteFile w;
    ASSERT_EQ(a.write(&w.f), 0);
    EXPECT_EQ(fileHex(w.f), "00 00 00 00");
    std::unique_ptr<GSFile> r(readFile(fileBytes(w.f)));
    ObjectArray back;
    ASSERT_EQ(back.add(new QMPoint(1)), 0);
    EXPECT_EQ(back.read(r.get()), 0);
    EXPECT_EQ(back.getCount(), 0);
}

namespace {

// Not creatable: copyObject gives null.
class Uncopyable : public GSObject {
public:
    GSRuntimeClass const& getRuntimeClass() const override { return gsClassUncopyable; }
    static inline GSRuntimeClass gsClassUncopyable{GSString("ArrayTestUncopyable"), &GSObject::gsClassGSObject,
                                                   nullptr};
};

} // namespace

TEST(ObjectArrayCopy, CopiesEveryElementAndKeepsNulls)
{
    ObjectArray a(0, 12);
    ASSERT_EQ(a.add(new QMPoint(4)), 0);
    ASSERT_EQ(a.add(nullptr), 0);
    ASSERT_EQ(a.add(new QMPoint(5)), 0);
    ObjectArray target;
    ASSERT_EQ(target.add(new QMPoint(9)), 0);
    ASSERT_EQ(a.copyTo(&target), 0);
    ASSERT_EQ(target.getCount(), 3);
    EXPECT_EQ(target.getGrowth(), 12);
    EXPECT_NE(target.getElementAt(0), a.getElementAt(0));
    EXPECT_EQ(xOf(target.getElementAt(0)), 4);
    EXPECT_EQ(target.getElementAt(1), nullptr);
    EXPECT_EQ(xOf(target.getElementAt(2)), 5);
    EXPECT_EQ(target.getElementAt(2)->getRefCount(), 1);
}

TEST(ObjectArrayCopy, AFailedCopyStopsWithTheCopiesMadeSoFar)
{
    ObjectArray a;
    ASSERT_EQ(a.add(new QMPoint(4)), 0);
    ASSERT_EQ(a.add(new Uncopyable), 0);
    ASSERT_EQ(a.add(new QMPoint(5)), 0);
    ObjectArray target;
    EXPECT_EQ(a.copyTo(&target), 1);
    ASSERT_EQ(target.getCount(), 1);
    EXPECT_EQ(xOf(target.getElementAt(0)), 4);
}
