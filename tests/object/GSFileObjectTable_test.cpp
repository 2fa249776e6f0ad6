#include "gs/object/GSFileObjectTable.h"

#include "gs/object/GSArrayMemory.h"
#include "gs/object/GSExceptions.h"
#include "tests/object/TestObjects.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

using qmtest::fileHex;
using qmtest::hexArray;
using qmtest::QMBroken;
using qmtest::QMNode;
using qmtest::QMPoint;

namespace {

// "QMPoint" as a classic and as a compact string (count 8 with the terminating zero).
std::string const kNameClassic = "FF 9B 00 00 00 08 51 4D 50 6F 69 6E 74 00";
std::string const kNameCompact = "64 08 51 4D 50 6F 69 6E 74 00";
// QMPoint{7}'s content in both framings.
std::string const kPointClassic = "01 00 00 00 00 01 00 00 00 04 00 00 00 07 FF FF FF FF";
std::string const kPointCompact = "10 01 04 00 00 00 07 7F";
// A full QMPoint{7}: 33 bytes classic, 19 compact.
std::string const kObjectClassic = "00 " + kNameClassic + " " + kPointClassic;
std::string const kObjectCompact = "00 " + kNameCompact + " " + kPointCompact;

struct WriteFile {
    WriteFile() : f(-100, 64) { qmtest::openForWriting(f); }
    GSFile f;
};

struct ReadFile {
    explicit ReadFile(std::string const& hex) : f(hexArray(hex)) { f.open(); }
    GSFile f;
};

} // namespace

TEST(GSObjectEncoding, FullObjectWithoutATable)
{
    WriteFile w;
    QMPoint p(7);
    ASSERT_EQ(w.f.writeObject(&p), 0);
    ASSERT_EQ(w.f.writeObject(nullptr), 0);
    ASSERT_EQ(w.f.writeObjectReference(&p), 0);
    EXPECT_EQ(fileHex(w.f), kObjectClassic + " 01 01");
}

TEST(GSObjectEncoding, ReadingWithoutATableTakesOnlyFullObjects)
{
    ReadFile r(kObjectClassic + " 01 02 00 00 00 00");
    GSObject* o = nullptr;
    ASSERT_EQ(r.f.readObject(&o), 0);
    ASSERT_NE(o, nullptr);
    EXPECT_EQ(static_cast<QMPoint*>(o)->x, 7);
    delete o;
    // The null marker that _writeObject writes does not read back without a table.
    EXPECT_EQ(r.f.readObject(&o), 1);
    EXPECT_EQ(o, nullptr);
    EXPECT_EQ(r.f.readObjectReference(&o), 1);
}

TEST(GSObjectEncoding, UnknownAndRetiredClassesReadAsNullAndAreSkipped)
{
    for (char const* name : {"Nope", "GifParameter"}) {
        SCOPED_TRACE(name);
        std::string n(name);
        char count[16];
        std::snprintf(count, sizeof count, "%02zX", n.size() + 1);
        std::string unknown = "00 FF 9B 00 00 00 " + std::string(count) + " " + qmtest::asciiHex(n) + " 00 " + kPointClassic;
        ReadFile r(unknown + " " + kObjectClassic);
        GSObject* o = reinterpret_cast<GSObject*>(&r);
        EXPECT_EQ(r.f.readObject(&o), 0);
        EXPECT_EQ(o, nullptr);
        ASSERT_EQ(r.f.readObject(&o), 0);
        ASSERT_NE(o, nullptr);
        EXPECT_EQ(static_cast<QMPoint*>(o)->x, 7);
        delete o;
    }
    EXPECT_TRUE(GSFile::isRetiredClassName(GSString("GifParameter")));
    EXPECT_FALSE(GSFile::isRetiredClassName(GSString("QMPoint")));
}

TEST(GSObjectEncoding, AFailedReadSkipsTheRestAndDeletesTheObject)
{
    std::string broken = "00 FF 9B 00 00 00 09 " + qmtest::asciiHex("QMBroken") + " 00 " + kPointClassic;
    ReadFile r(broken + " " + kObjectClassic);
    int before = QMPoint::live;
    GSObject* o = nullptr;
    EXPECT_EQ(r.f.readObject(&o), 7);
    EXPECT_EQ(o, nullptr);
    EXPECT_EQ(QMPoint::live, before);
    ASSERT_EQ(r.f.readObject(&o), 0);
    ASSERT_NE(o, nullptr);
    delete o;
}

TEST(GSObjectEncoding, SkipObjectPassesReferencesNullsAndFullObjects)
{
    ReadFile r("02 00 00 00 05 01 " + kObjectClassic + " 09");
    EXPECT_EQ(r.f._skipObject(), 0);
    EXPECT_EQ(r.f.tell(), 5);
    EXPECT_EQ(r.f._skipObject(), 0);
    EXPECT_EQ(r.f.tell(), 6);
    EXPECT_EQ(r.f._skipObject(), 0);
    EXPECT_EQ(r.f.tell(), 39);
}

TEST(GSObjectEncoding, SkipRefusesRecordsThatLeaveTheFileOrGoBack)
{
    // A record of size -8 would seek back onto its own header for ever.
    for (std::string size : {"FF FF FF F8", "00 00 10 00"}) {
        ReadFile r("01 00 00 00 00 01 " + size + " 00 00 00 00 FF FF FF FF");
        EXPECT_EQ(r.f.skipObject(), 1);
    }
}

TEST(GSFileObjectTableWrite, ShortPositionsWriteSharedObjectsOnce)
{
    WriteFile w;
    QMPoint p(7);
    ASSERT_EQ(w.f.startObjectMergingWrite(0), 0);
    EXPECT_EQ(w.f.getUse64Bit(), 0);
    ASSERT_EQ(w.f.writeObject(&p), 0);
    ASSERT_EQ(w.f.writeObject(&p), 0);
    ASSERT_EQ(w.f.stopObjectMergingWrite(), 0);
    EXPECT_EQ(fileHex(w.f), "01 00 00 00 00 26 " + kObjectClassic + " 02 00 00 00 00 00 00 00 01 00 00 00 06");
}

TEST(GSFileObjectTableWrite, LongPositionsSwitchToCompactEncodings)
{
    WriteFile w;
    QMPoint p(7);
    ASSERT_EQ(w.f.startObjectMergingWrite(1), 0);
    EXPECT_EQ(w.f.getUse64Bit(), 1);
    EXPECT_EQ(w.f.getFlags() & 0xC0u, 0xC0u);
    ASSERT_EQ(w.f.writeObject(&p), 0);
    ASSERT_EQ(w.f.writeObject(&p), 0);
    ASSERT_EQ(w.f.stopObjectMergingWrite(), 0);
    EXPECT_EQ(w.f.getUse64Bit(), 0);
    EXPECT_EQ(fileHex(w.f),
              "02 00 00 00 00 00 00 00 00 18 " + kObjectCompact + " 02 00 00 00 00 00 00 00 01 0A");
}

TEST(GSFileObjectTableWrite, ReferencesBeforeTheFullWriteAndNeverWritten)
{
    WriteFile w;
    QMPoint a(7), b(8);
    ASSERT_EQ(w.f.startObjectMergingWrite(0), 0);
    ASSERT_EQ(w.f.writeObjectReference(&a), 0);
    ASSERT_EQ(w.f.writeObject(&a), 0);
    ASSERT_EQ(w.f.writeObjectReference(&b), 0);
    ASSERT_EQ(w.f.writeObject(nullptr), 0);
    ASSERT_EQ(w.f.stopObjectMergingWrite(), 0);
    std::string expected = "01 00 00 00 00 2C 02 00 00 00 00 " + kObjectClassic +
                           " 02 00 00 00 01 01 00 00 00 02 00 00 00 0B FF FF FF FF";
    EXPECT_EQ(fileHex(w.f), expected);

    ReadFile r(expected);
    ASSERT_EQ(r.f.startObjectMergingRead(), 0);
    GSFileObjectTable const* table = r.f.getObjectTable();
    ASSERT_NE(table, nullptr);
    EXPECT_EQ(table->getCount(), 2);
    EXPECT_EQ(r.f.tell(), 6);
    GSObject* viaReference = r.f.readObjectReference();
    ASSERT_NE(viaReference, nullptr);
    EXPECT_EQ(static_cast<QMPoint*>(viaReference)->x, 7);
    EXPECT_EQ(r.f.tell(), 11);
    GSObject* full = nullptr;
    ASSERT_EQ(r.f.readObject(&full), 0);
    EXPECT_EQ(full, viaReference);
    EXPECT_EQ(r.f.tell(), 44);
    GSObject* never = viaReference;
    EXPECT_EQ(r.f.readObjectReference(&never), 0);
    EXPECT_EQ(never, nullptr);
    GSObject* null = viaReference;
    EXPECT_EQ(r.f.readObject(&null), 0);
    EXPECT_EQ(null, nullptr);
    int before = QMPoint::live;
    ASSERT_EQ(r.f.stopObjectMergingRead(), 0);
    // The table held the only reference: ending it deletes the object.
    EXPECT_EQ(QMPoint::live, before - 1);
    EXPECT_EQ(r.f.tell(), 62);
}

TEST(GSFileObjectTableRead, ReadsBothGoldenTables)
{
    for (std::string const& hex :
         {"01 00 00 00 00 26 " + kObjectClassic + " 02 00 00 00 00 00 00 00 01 00 00 00 06",
          "02 00 00 00 00 00 00 00 00 18 " + kObjectCompact + " 02 00 00 00 00 00 00 00 01 0A"}) {
        SCOPED_TRACE(hex);
        ReadFile r(hex);
        ASSERT_EQ(r.f.startObjectMergingRead(), 0);
        GSObject* first = r.f.readObject();
        GSObject* second = r.f.readObject();
        ASSERT_NE(first, nullptr);
        EXPECT_EQ(first, second);
        EXPECT_EQ(static_cast<QMPoint*>(first)->x, 7);
        first->retain();
        ASSERT_EQ(r.f.stopObjectMergingRead(), 0);
        EXPECT_EQ(first->getRefCount(), 1);
        first->release();
    }
}

class GSFileObjectTableRoundTrip : public ::testing::TestWithParam<short> {};

TEST_P(GSFileObjectTableRoundTrip, SharedChildrenComeBackShared)
{
    auto* shared = new QMPoint(11);
    auto* byValue = new QMNode(shared, false);
    auto* byReference = new QMNode(shared, true);
    byValue->retain();
    byReference->retain();
    WriteFile w;
    ASSERT_EQ(w.f.writeLong(0x51515151), 0); // the block need not start at 0
    ASSERT_EQ(w.f.startObjectMergingWrite(GetParam()), 0);
    ASSERT_EQ(w.f.writeObject(byReference), 0);
    ASSERT_EQ(w.f.writeObject(byValue), 0);
    ASSERT_EQ(w.f.writeObject(byReference), 0);
    ASSERT_EQ(w.f.stopObjectMergingWrite(), 0);
    ASSERT_EQ(w.f.writeLong(0x7E7E7E7E), 0);
    byValue->release();
    byReference->release();

    GSFile r(qmtest::toArray(qmtest::fileBytes(w.f)));
    ASSERT_EQ(r.open(), 0);
    ASSERT_EQ(r.seek(4, 0), 0);
    ASSERT_EQ(r.startObjectMergingRead(), 0);
    EXPECT_EQ(r.getUse64Bit(), GetParam() ? 1 : 0);
    auto* a = static_cast<QMNode*>(r.readObject());
    auto* b = static_cast<QMNode*>(r.readObject());
    auto* c = static_cast<QMNode*>(r.readObject());
    ASSERT_TRUE(a && b && c);
    EXPECT_EQ(a, c);
    EXPECT_TRUE(a->byReference);
    EXPECT_FALSE(b->byReference);
    ASSERT_NE(a->child, nullptr);
    EXPECT_EQ(a->child, b->child);
    EXPECT_EQ(static_cast<QMPoint*>(a->child)->x, 11);
    int before = QMPoint::live;
    ASSERT_EQ(r.stopObjectMergingRead(), 0);
    EXPECT_EQ(QMPoint::live, before - 1);
    int tail = 0;
    ASSERT_EQ(r.readLong(&tail), 0);
    EXPECT_EQ(tail, 0x7E7E7E7E);
}

TEST_P(GSFileObjectTableRoundTrip, ManyObjectsAreFoundByPosition)
{
    // More objects than the linear search is used for, read back to front through references.
    std::vector<QMPoint*> points;
    WriteFile w;
    ASSERT_EQ(w.f.startObjectMergingWrite(GetParam()), 0);
    for (int i = 0; i < 100; ++i) {
        points.push_back(new QMPoint(i * 3));
        ASSERT_EQ(w.f.writeObject(points.back()), 0);
    }
    for (int i = 99; i >= 0; --i)
        ASSERT_EQ(w.f.writeObject(points[i]), 0);
    ASSERT_EQ(w.f.stopObjectMergingWrite(), 0);
    for (auto* p : points)
        delete p;

    GSFile r(qmtest::toArray(qmtest::fileBytes(w.f)));
    ASSERT_EQ(r.open(), 0);
    ASSERT_EQ(r.startObjectMergingRead(), 0);
    std::vector<GSObject*> firsts;
    for (int i = 0; i < 100; ++i) {
        GSObject* o = r.readObject();
        ASSERT_NE(o, nullptr);
        EXPECT_EQ(static_cast<QMPoint*>(o)->x, i * 3);
        firsts.push_back(o);
    }
    for (int i = 99; i >= 0; --i)
        EXPECT_EQ(r.readObject(), firsts[i]);
    ASSERT_EQ(r.stopObjectMergingRead(), 0);
}

INSTANTIATE_TEST_SUITE_P(PositionWidths, GSFileObjectTableRoundTrip, ::testing::Values(short(0), short(1)));

TEST(GSFileObjectTableRead, RefusesBadHeadersAndDirectories)
{
    struct Case {
        char const* what;
        std::string hex;
    } const cases[] = {
        {"version below 256", "00 FF 00 00 00 00 00 00 00 00"},
        {"version above 4096", "10 01 00 00 00 00 00 00 00 00"},
        {"offset past the end", "01 00 00 00 10 00 00 00 00 00"},
        {"negative offset", "01 00 FF FF FF FE 00 00 00 00"},
        {"2^31 - 1 entries", "01 00 00 00 00 00 7F FF FF FF 00 00 00 06"},
        {"2^31 entries", "01 00 00 00 00 00 80 00 00 00 00 00 00 06"},
        {"compact: more entries than bytes", "02 00 00 00 00 00 00 00 00 00 00 00 00 03 0A 0A"},
        {"position at the length", "01 00 00 00 00 00 00 00 00 01 00 00 00 0E"},
        {"position below -1", "01 00 00 00 00 00 00 00 00 01 FF FF FF FE"},
        {"truncated directory", "01 00 00 00 00 00 00 00 00 02 00 00 00 06"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        ReadFile r(c.hex);
        EXPECT_NE(r.f.startObjectMergingRead(), 0);
        // A failed start leaves no table attached, so a new start is allowed.
        EXPECT_EQ(r.f.getObjectTable(), nullptr);
        EXPECT_EQ(r.f.getUse64Bit(), 0);
    }
}

namespace {
size_t largestRequest = 0;
bool recordRequest(size_t bytes)
{
    largestRequest = std::max(largestRequest, bytes);
    return true;
}
} // namespace

TEST(GSFileObjectTableRead, HugeCountsAllocateNothingForTheirEntries)
{
    for (std::string const& hex : {std::string("01 00 00 00 00 00 7F FF FF FF 00 00 00 06"),
                                   std::string("02 00 00 00 00 00 00 00 00 00 7F FF FF FF 0A 0A")}) {
        ReadFile r(hex);
        largestRequest = 0;
        GSArrayAllocationHook old = GSSetArrayAllocationHook(recordRequest);
        EXPECT_NE(r.f.startObjectMergingRead(), 0);
        GSSetArrayAllocationHook(old);
        EXPECT_LT(largestRequest, 4096u);
    }
}

TEST(GSFileObjectTableRead, PositionMinusOneIsAccepted)
{
    ReadFile r("01 00 00 00 00 00 00 00 00 01 FF FF FF FF");
    ASSERT_EQ(r.f.startObjectMergingRead(), 0);
    EXPECT_EQ(r.f.getObjectTable()->getCount(), 1);
    EXPECT_EQ(r.f.getObjectTable()->getEntry(0).position, -1);
    ASSERT_EQ(r.f.stopObjectMergingRead(), 0);
    EXPECT_EQ(r.f.tell(), 14);
}

TEST(GSFileObjectTableRead, UnbalancedMergingCallsThrowBadFile)
{
    ReadFile r("01 00 00 00 00 00 00 00 00 00");
    EXPECT_THROW(r.f.stopObjectMergingRead(), bad_file);
    ASSERT_EQ(r.f.startObjectMergingRead(), 0);
    EXPECT_THROW(r.f.startObjectMergingRead(), bad_file);
    EXPECT_THROW(r.f.startObjectMergingWrite(0), bad_file);
    ASSERT_EQ(r.f.stopObjectMergingRead(), 0);
    EXPECT_THROW(r.f.stopObjectMergingRead(), bad_file);

    WriteFile w;
    EXPECT_THROW(w.f.stopObjectMergingWrite(), bad_file);
    ASSERT_EQ(w.f.startObjectMergingWrite(1), 0);
    EXPECT_THROW(w.f.startObjectMergingWrite(1), bad_file);
    ASSERT_EQ(w.f.stopObjectMergingWrite(), 0);
    EXPECT_THROW(w.f.stopObjectMergingWrite(), bad_file);
    try {
        w.f.stopObjectMergingWrite();
    } catch (std::exception const& e) {
        EXPECT_STREQ(e.what(), "Bad File");
    }
}

TEST(GSFileObjectTableRead, BadMarkersIndicesAndUnlistedObjectsFail)
{
    // One object listed at 6; then an index past the table, marker 3, and a full object at an
    // unlisted position.
    std::string hex = "01 00 00 00 00 48 " + kObjectClassic + " 02 00 00 00 05 03 " + kObjectClassic +
                      " 00 00 00 01 00 00 00 06";
    // Offsets: objects 6..38, reference 39..43, marker 44, second object 45..77, directory at 78.
    ReadFile r(hex);
    ASSERT_EQ(r.f.startObjectMergingRead(), 0);
    GSObject* o = nullptr;
    ASSERT_EQ(r.f.readObject(&o), 0);
    EXPECT_NE(o, nullptr);
    EXPECT_EQ(r.f.readObject(&o), 1);
    EXPECT_EQ(o, nullptr);
    EXPECT_EQ(r.f.readObject(&o), 1);
    EXPECT_EQ(r.f.readObject(&o), 1);
    EXPECT_EQ(o, nullptr);
    ASSERT_EQ(r.f.stopObjectMergingRead(), 0);
}

TEST(GSFileObjectTableRead, AnObjectContainingItselfFailsInsteadOfRecursing)
{
    auto* node = new QMNode();
    node->byReference = true;
    node->child = node; // not retained: a cycle only for writing
    WriteFile w;
    ASSERT_EQ(w.f.startObjectMergingWrite(0), 0);
    ASSERT_EQ(w.f.writeObject(node), 0);
    ASSERT_EQ(w.f.writeObjectReference(node), 0);
    ASSERT_EQ(w.f.stopObjectMergingWrite(), 0);
    node->child = nullptr;
    delete node;

    GSFile r(qmtest::toArray(qmtest::fileBytes(w.f)));
    ASSERT_EQ(r.open(), 0);
    ASSERT_EQ(r.startObjectMergingRead(), 0);
    GSObject* o = nullptr;
    EXPECT_NE(r.readObject(&o), 0);
    EXPECT_EQ(o, nullptr);
    // The failure is remembered: the reference fails the same way without reading again.
    EXPECT_NE(r.readObject(&o), 0);
    ASSERT_EQ(r.stopObjectMergingRead(), 0);
}

TEST(GSFileObjectTableRead, NestingDepthIsBounded)
{
    for (int depth : {GSFileObjectTable::kMaxObjectDepth - 1, GSFileObjectTable::kMaxObjectDepth + 10}) {
        SCOPED_TRACE(depth);
        GSObject* chain = new QMPoint(1);
        for (int i = 0; i < depth; ++i)
            chain = new QMNode(chain, false);
        chain->retain();
        WriteFile w;
        ASSERT_EQ(w.f.startObjectMergingWrite(1), 0);
        ASSERT_EQ(w.f.writeObject(chain), 0);
        ASSERT_EQ(w.f.stopObjectMergingWrite(), 0);
        chain->release();

        GSFile r(qmtest::toArray(qmtest::fileBytes(w.f)));
        ASSERT_EQ(r.open(), 0);
        ASSERT_EQ(r.startObjectMergingRead(), 0);
        GSObject* o = nullptr;
        short st = r.readObject(&o);
        if (depth < GSFileObjectTable::kMaxObjectDepth) {
            EXPECT_EQ(st, 0);
            EXPECT_NE(o, nullptr);
        } else {
            EXPECT_NE(st, 0);
        }
        ASSERT_EQ(r.stopObjectMergingRead(), 0);
    }
}

TEST(GSFileObjectTableRead, AFileDestroyedDuringAMergingReadReleasesItsObjects)
{
    int before = QMPoint::live;
    {
        ReadFile r("01 00 00 00 00 26 " + kObjectClassic + " 02 00 00 00 00 00 00 00 01 00 00 00 06");
        ASSERT_EQ(r.f.startObjectMergingRead(), 0);
        ASSERT_NE(r.f.readObject(), nullptr);
        EXPECT_EQ(QMPoint::live, before + 1);
    }
    EXPECT_EQ(QMPoint::live, before);
}
