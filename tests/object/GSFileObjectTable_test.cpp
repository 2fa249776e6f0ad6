#include "gs/object/GSFileObjectTable.h"

#include "gs/object/GSArrayMemory.h"
#include "tests/object/TestObjects.h"
#include "tests/support/DocumentBuilder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <utility>

using namespace qmtest;

namespace {

// "QMPoint" as a classic and as a compact string (count 8 with the terminating zero), and
// QMPoint{7}'s content in both framings.
std::string const kNameClassic = "FF 9B 00 00 00 08 51 4D 50 6F 69 6E 74 00";
std::string const kNameCompact = "64 08 51 4D 50 6F 69 6E 74 00";
std::string const kPointClassic = "01 00 00 00 00 01 00 00 00 04 00 00 00 07 FF FF FF FF";
std::string const kPointCompact = "10 01 04 00 00 00 07 7F";
// A full QMPoint{7}: 33 bytes classic, 19 compact.
std::string const kObjectClassic = "00 " + kNameClassic + " " + kPointClassic;
std::string const kObjectCompact = "00 " + kNameCompact + " " + kPointCompact;
// QMPoint{7} written twice under a table of each kind: the second time as a reference.
std::string const kTableClassic = "01 00 00 00 00 26 " + kObjectClassic + " 02 00 00 00 00 00 00 00 01 00 00 00 06";
std::string const kTableCompact = "02 00 00 00 00 00 00 00 00 18 " + kObjectCompact + " 02 00 00 00 00 00 00 00 01 0A";

// A full object of the named class with QMPoint{7}'s content (classic, no table).
std::string fullObject(std::string const& name)
{
    ByteWriter out;
    writeString(out.u8(0), Framing::kClassic, name);
    return toHex(out.bytes()) + " " + kPointClassic;
}

// The bytes of what `write(file)` writes under a table with 32- or 64-bit positions.
template <class Write>
std::vector<unsigned char> underTable(short longPositions, Write write)
{
    WriteFile w;
    EXPECT_EQ(w.f.startObjectMergingWrite(longPositions), 0);
    write(w.f);
    EXPECT_EQ(w.f.stopObjectMergingWrite(), 0);
    EXPECT_EQ(w.f.getUse64Bit(), 0);
    return fileBytes(w.f);
}

} // namespace

// Unknown and retired classes read as null with status 0; a failing read gives its status and
// deletes the object. Either way the rest of the object is skipped.
TEST(GSObjectEncoding, UnknownRetiredAndFailingClassesAreSkipped)
{
    int const before = QMPoint::live;
    for (auto [name, status] : {std::pair{"Nope", 0}, std::pair{"GifParameter", 0}, std::pair{"QMBroken", 7}}) {
        SCOPED_TRACE(name);
        ReadFile r(fullObject(name) + " " + kObjectClassic);
        GSObject* o = reinterpret_cast<GSObject*>(&r);
        EXPECT_EQ(r.f.readObject(&o), status);
        EXPECT_EQ(o, nullptr);
        EXPECT_EQ(QMPoint::live, before);
        ASSERT_EQ(r.f.readObject(&o), 0);
        ASSERT_NE(o, nullptr);
        EXPECT_EQ(xOf(o), 7);
        delete o;
    }
    EXPECT_TRUE(GSFile::isRetiredClassName(GSString("GifParameter")));
    EXPECT_FALSE(GSFile::isRetiredClassName(GSString("QMPoint")));
}

TEST(GSObjectEncoding, SkipPassesReferencesNullsAndFullObjectsButNotBadRecords)
{
    ReadFile r("02 00 00 00 05 01 " + kObjectClassic + " 09");
    for (long end : {5, 6, 39}) {
        EXPECT_EQ(r.f._skipObject(), 0);
        EXPECT_EQ(r.f.tell(), end);
    }
    // A record of size -8 would seek back onto its own header for ever.
    for (std::string size : {"FF FF FF F8", "00 00 10 00"}) {
        ReadFile bad("01 00 00 00 00 01 " + size + " 00 00 00 00 FF FF FF FF");
        EXPECT_EQ(bad.f.skipObject(), 1);
    }
}

// A node that reads its children and ignores their failures, as a lenient reader may.
class QMLenientNode : public GSObject {
public:
    GSRuntimeClass const& getRuntimeClass() const override { return gsClassQMLenientNode; }
    short read(GSFile* f) override
    {
        ++reads;
        GSTagRead r(f);
        if (short st = r.readVersion(0x0100, nullptr))
            return st;
        for (int records = 0; records < 100; ++records) {
            int t = r.read();
            if (t == GSTagRead::kEndTag || t == GSTagRead::kReadFailure)
                return t == GSTagRead::kEndTag ? 0 : 1;
            if (t == 1) {
                // The child's data is the whole record: go on right after it.
                GSObject* c = nullptr;
                (void)f->readObject(&c);
                delete c;
            } else {
                (void)r.skip(); // a record that cannot be skipped is read on from its data
            }
        }
        return 1;
    }
    static GSObject* _createFunction() { return new (std::nothrow) QMLenientNode; }
    static inline long reads = 0;
    static inline GSRuntimeClass gsClassQMLenientNode{GSString("QMLenientNode"), &GSObject::gsClassGSObject,
                                                      &QMLenientNode::_createFunction};
};

// Nodes nested 16 deep, each with a record of negative size in front of its child, so that no
// failed child can be skipped by its records. Reading never reads a failed child's content again:
// no node is read more than once (a parent going on inside a failed child would read every node
// twice as often as its parent).
TEST(GSObjectEncoding, AFailedChildIsNeverReadAgain)
{
    Bytes node;
    for (int level = 0; level <= 16; ++level) {
        ByteWriter out;
        writeString(out.u8(0), Framing::kClassic, "QMLenientNode");
        RecordWriter records(out, Framing::kClassic);
        records.version(0x0100).header(7, -0x2000000);
        if (!node.empty())
            records.record(1, node);
        node = out.bytes();
    }
    node.push_back(0);
    ReadFile r(node);
    QMLenientNode::reads = 0;
    GSObject* o = nullptr;
    (void)r.f.readObject(&o);
    delete o;
    EXPECT_GE(QMLenientNode::reads, 1);
    EXPECT_LE(QMLenientNode::reads, 17);
}

// Long positions also switch the file to compact encodings while the table is attached. (Reading
// back is GSFileObjectTableRoundTrip's.)
TEST(GSFileObjectTable, SharedObjectsAreWrittenOnce)
{
    for (short longPositions : {short(0), short(1)}) {
        QMPoint p(7);
        std::vector<unsigned char> bytes = underTable(longPositions, [&](GSFile& f) {
            EXPECT_EQ(f.getUse64Bit(), longPositions);
            EXPECT_EQ(f.getFlags() & 0xC0u, longPositions ? 0xC0u : 0u);
            EXPECT_EQ(f.writeObject(&p), 0);
            EXPECT_EQ(f.writeObject(&p), 0);
        });
        EXPECT_EQ(toHex(bytes), longPositions ? kTableCompact : kTableClassic);
    }
}

TEST(GSFileObjectTable, ReferencesBeforeTheFullWriteAndNeverWritten)
{
    QMPoint a(7), b(8);
    std::vector<unsigned char> bytes = underTable(0, [&](GSFile& f) {
        EXPECT_EQ(f.writeObjectReference(&a), 0);
        EXPECT_EQ(f.writeObject(&a), 0);
        EXPECT_EQ(f.writeObjectReference(&b), 0);
        EXPECT_EQ(f.writeObject(nullptr), 0);
    });
    EXPECT_EQ(toHex(bytes), "01 00 00 00 00 2C 02 00 00 00 00 " + kObjectClassic +
                                " 02 00 00 00 01 01 00 00 00 02 00 00 00 0B FF FF FF FF");

    ReadFile r(bytes);
    ASSERT_EQ(r.f.startObjectMergingRead(), 0);
    EXPECT_EQ(r.f.getObjectTable()->getCount(), 2);
    EXPECT_EQ(r.f.tell(), 6);
    GSObject* viaReference = r.f.readObjectReference();
    ASSERT_NE(viaReference, nullptr);
    EXPECT_EQ(xOf(viaReference), 7);
    EXPECT_EQ(r.f.tell(), 11);
    GSObject* o = nullptr;
    ASSERT_EQ(r.f.readObject(&o), 0);
    EXPECT_EQ(o, viaReference);
    EXPECT_EQ(r.f.tell(), 44);
    EXPECT_EQ(r.f.readObjectReference(&o), 0); // b: listed, never written
    EXPECT_EQ(o, nullptr);
    o = viaReference;
    EXPECT_EQ(r.f.readObject(&o), 0);
    EXPECT_EQ(o, nullptr);
    int before = QMPoint::live;
    ASSERT_EQ(r.f.stopObjectMergingRead(), 0);
    EXPECT_EQ(QMPoint::live, before - 1); // the table held the only reference
    EXPECT_EQ(r.f.tell(), 62);

    // Position 0 is a position like any other (a directory may list it): a first full write
    // there is recorded.
    WriteFile w;
    ASSERT_EQ(w.f.startObjectMergingWrite(0), 0);
    ASSERT_EQ(w.f.writeObjectReference(&a), 0);
    ASSERT_EQ(w.f.seek(0, 0), 0);
    EXPECT_EQ(w.f.writeObject(&a), 0);
    EXPECT_EQ(w.f.getObjectTable()->getEntry(0).position, 0);
    ASSERT_EQ(w.f.seek(0, 2), 0);
    EXPECT_EQ(w.f.stopObjectMergingWrite(), 0);
}

class GSFileObjectTableRoundTrip : public ::testing::TestWithParam<short> {};

// Nodes sharing a child, by value and by reference, then more objects than the linear search is
// used for, read back to front through references; the block need not start at 0.
TEST_P(GSFileObjectTableRoundTrip, SharedObjectsComeBackShared)
{
    auto* shared = new QMPoint(11);
    QMNode byValue(shared, false), byReference(shared, true);
    byValue.retain();
    byReference.retain();
    std::vector<QMPoint> points(100);
    WriteFile w;
    ASSERT_EQ(w.f.writeLong(0x51515151), 0);
    ASSERT_EQ(w.f.startObjectMergingWrite(GetParam()), 0);
    for (QMNode* n : {&byReference, &byValue, &byReference})
        ASSERT_EQ(w.f.writeObject(n), 0);
    for (int i = 0; i < 200; ++i) {
        QMPoint& p = points[static_cast<size_t>(i < 100 ? i : 199 - i)];
        p.x = i < 100 ? i * 3 : p.x;
        ASSERT_EQ(w.f.writeObject(&p), 0);
    }
    ASSERT_EQ(w.f.stopObjectMergingWrite(), 0);
    ASSERT_EQ(w.f.writeLong(0x7E7E7E7E), 0);

    ReadFile r(w.f);
    ASSERT_EQ(r.f.seek(4, 0), 0);
    ASSERT_EQ(r.f.startObjectMergingRead(), 0);
    EXPECT_EQ(r.f.getUse64Bit(), GetParam());
    auto* a = static_cast<QMNode*>(r.f.readObject());
    auto* b = static_cast<QMNode*>(r.f.readObject());
    ASSERT_TRUE(a && b);
    EXPECT_EQ(r.f.readObject(), a);
    EXPECT_TRUE(a->byReference);
    EXPECT_FALSE(b->byReference);
    ASSERT_NE(a->child, nullptr);
    EXPECT_EQ(a->child, b->child);
    EXPECT_EQ(xOf(a->child), 11);
    std::vector<GSObject*> firsts;
    for (int i = 0; i < 100; ++i) {
        firsts.push_back(r.f.readObject());
        ASSERT_NE(firsts.back(), nullptr);
        EXPECT_EQ(xOf(firsts.back()), i * 3);
    }
    for (int i = 99; i >= 0; --i)
        EXPECT_EQ(r.f.readObject(), firsts[static_cast<size_t>(i)]);
    int before = QMPoint::live;
    ASSERT_EQ(r.f.stopObjectMergingRead(), 0);
    EXPECT_EQ(QMPoint::live, before - 101);
    int tail = 0;
    ASSERT_EQ(r.f.readLong(&tail), 0);
    EXPECT_EQ(tail, 0x7E7E7E7E);
    byValue.releaseNoDelete();
    byReference.releaseNoDelete();
}

INSTANTIATE_TEST_SUITE_P(PositionWidths, GSFileObjectTableRoundTrip, ::testing::Values(short(0), short(1)));

namespace {
size_t largestRequest = 0;
bool recordRequest(size_t bytes)
{
    largestRequest = std::max(largestRequest, bytes);
    return true;
}
} // namespace

TEST(GSFileObjectTableRead, RefusesBadHeadersAndDirectoriesWithoutAllocatingForThem)
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
        {"compact: 2^31 - 1 entries", "02 00 00 00 00 00 00 00 00 00 7F FF FF FF 0A 0A"},
        {"position at the length", "01 00 00 00 00 00 00 00 00 01 00 00 00 0E"},
        {"position below -1", "01 00 00 00 00 00 00 00 00 01 FF FF FF FE"},
        {"truncated directory", "01 00 00 00 00 00 00 00 00 02 00 00 00 06"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        ReadFile r(c.hex);
        largestRequest = 0;
        GSArrayAllocationHook old = GSSetArrayAllocationHook(recordRequest);
        EXPECT_NE(r.f.startObjectMergingRead(), 0);
        GSSetArrayAllocationHook(old);
        EXPECT_LT(largestRequest, 4096u);
        // A failed start leaves no table attached, so a new start is allowed.
        EXPECT_EQ(r.f.getObjectTable(), nullptr);
        EXPECT_EQ(r.f.getUse64Bit(), 0);
    }
    ReadFile r("01 00 00 00 00 00 00 00 00 01 FF FF FF FF"); // position -1 is accepted
    ASSERT_EQ(r.f.startObjectMergingRead(), 0);
    EXPECT_EQ(r.f.getObjectTable()->getEntry(0).position, -1);
    ASSERT_EQ(r.f.stopObjectMergingRead(), 0);
    EXPECT_EQ(r.f.tell(), 14);
}

TEST(GSFileObjectTableRead, CyclesAndDeepNestingFailInsteadOfRecursing)
{
    QMNode node;
    node.byReference = true;
    node.child = &node; // not retained: a cycle only for writing
    ReadFile cycle(underTable(0, [&](GSFile& f) {
        EXPECT_EQ(f.writeObject(&node), 0);
        EXPECT_EQ(f.writeObjectReference(&node), 0);
    }));
    node.child = nullptr;
    ASSERT_EQ(cycle.f.startObjectMergingRead(), 0);
    GSObject* o = nullptr;
    EXPECT_NE(cycle.f.readObject(&o), 0);
    EXPECT_EQ(o, nullptr);
    EXPECT_NE(cycle.f.readObject(&o), 0); // the failure is remembered for the reference
    ASSERT_EQ(cycle.f.stopObjectMergingRead(), 0);

    // The default bound, and a lower one set on the file.
    for (auto [limit, depth] : {std::pair{64, 63}, {64, 74}, {5, 4}, {5, 5}}) {
        SCOPED_TRACE(testing::Message() << "limit " << limit << ", depth " << depth);
        GSObject* chain = new QMPoint(1);
        for (int i = 0; i < depth; ++i)
            chain = new QMNode(chain, false);
        chain->retain();
        ReadFile r(underTable(1, [&](GSFile& f) { EXPECT_EQ(f.writeObject(chain), 0); }));
        chain->release();
        if (limit != 64)
            r.f.setMaxObjectDepth(limit);
        ASSERT_EQ(r.f.startObjectMergingRead(), 0);
        o = nullptr;
        EXPECT_EQ(r.f.readObject(&o) == 0 && o, depth < limit);
        ASSERT_EQ(r.f.stopObjectMergingRead(), 0);
    }
}

// An object of an unknown class under a table is skipped like one without a table; a file's bound
// on the entry count refuses a larger table.
TEST(GSFileObjectTableRead, UnknownClassesAndTheEntryBound)
{
    std::string const unknown = fullObject("QMNope"); // 32 bytes at 6
    ReadFile r("01 00 00 00 00 20 " + unknown + " 00 00 00 01 00 00 00 06");
    ASSERT_EQ(r.f.startObjectMergingRead(), 0);
    GSObject* o = reinterpret_cast<GSObject*>(&r);
    EXPECT_EQ(r.f.readObject(&o), 0);
    EXPECT_EQ(o, nullptr);
    EXPECT_EQ(r.f.tell(), 38);
    ASSERT_EQ(r.f.stopObjectMergingRead(), 0);

    ReadFile two(kTableClassic);
    two.f.setMaxTableObjects(0);
    EXPECT_EQ(two.f.startObjectMergingRead(), 1);
    two.f.setMaxTableObjects(1);
    ASSERT_EQ(two.f.seek(0, 0), 0);
    EXPECT_EQ(two.f.startObjectMergingRead(), 0);
    ASSERT_EQ(two.f.stopObjectMergingRead(), 0);
}

namespace {
int allocationsLeft = 0;
bool allowCountedAllocations(size_t)
{
    return allocationsLeft-- > 0;
}
} // namespace

// With 32 entries and more, positions are found through a sorted index: an unlisted position is
// still not found, also when there was no memory for the index (the table's entries and its list
// of handed-out objects take the first two allocations). With registerUnknownPositions set, it is
// registered instead (refused when the entry cannot be stored), and a table without a directory
// (offset 0) starts empty.
TEST(GSFileObjectTableRead, UnlistedPositionsInALargeTable)
{
    std::string directory = " 00 00 00 20";
    for (int i = 0; i < 32; ++i)
        directory += " 00 00 00 00"; // every entry at position 0, where no object starts
    GSObject* o = nullptr;
    for (int allocations : {1000, 2}) {
        SCOPED_TRACE(allocations);
        ReadFile r("01 00 00 00 00 21 " + kObjectClassic + directory);
        allocationsLeft = allocations;
        GSArrayAllocationHook old = GSSetArrayAllocationHook(allowCountedAllocations);
        short started = r.f.startObjectMergingRead();
        GSSetArrayAllocationHook(old);
        ASSERT_EQ(started, 0);
        EXPECT_EQ(r.f.readObject(&o), 1);
        EXPECT_EQ(o, nullptr);
        ASSERT_EQ(r.f.stopObjectMergingRead(), 0);
    }

    ReadFile open("01 00 00 00 00 00 " + kObjectClassic);
    GSFileObjectTable table(0, -100);
    table.registerUnknownPositions = true;
    ASSERT_EQ(table.startReadObjectTable(&open.f), 0);
    EXPECT_EQ(table.getCount(), 0);
    allocationsLeft = 0;
    GSArrayAllocationHook old = GSSetArrayAllocationHook(allowCountedAllocations);
    EXPECT_EQ(table.readObject(&o, 0), 1);
    GSSetArrayAllocationHook(old);
    EXPECT_EQ(table.getCount(), 0);
    ASSERT_EQ(open.f.seek(6, 0), 0);
    EXPECT_EQ(table.readObject(&o, 0), 0);
    ASSERT_NE(o, nullptr);
    EXPECT_EQ(xOf(o), 7);
    EXPECT_EQ(table.findObjectWithPosition(6), 0);
    EXPECT_EQ(table.endReadObjectTable(), 0);
}

// A reference followed to an object elsewhere in the file is read inside the file's bound, and the
// enclosing record's end holds again afterwards. An object handed out again whose place in the
// table's list cannot grow is refused, and the list keeps its count.
TEST(GSFileObjectTableRead, ReferencesKeepTheEnclosingBoundAndFailWithoutMemory)
{
    // The object at 6, then a record (tag 1, 5 bytes) holding a reference to it, then the directory.
    ReadFile r("01 00 00 00 00 32 " + kObjectClassic + " 00 00 00 01 00 00 00 05 02 00 00 00 00 FF FF FF FF"
               " 00 00 00 01 00 00 00 06");
    ASSERT_EQ(r.f.startObjectMergingRead(), 0);
    ASSERT_EQ(r.f.seek(39, 0), 0);
    GSTagRead records(&r.f);
    ASSERT_EQ(records.read(), 1);
    GSObject* o = nullptr;
    EXPECT_EQ(r.f.readObjectReference(&o), 0);
    ASSERT_NE(o, nullptr);
    EXPECT_EQ(r.f.getRecordEnd(), 52);
    EXPECT_EQ(r.f.getObjectTable()->getReadObjectCount(), 1);
    // Every hand-out takes a place in the list; once it must grow, it cannot.
    GSArrayAllocationHook old = GSSetArrayAllocationHook([](size_t) { return false; });
    long handedOut = 1;
    short status = 0;
    for (int i = 0; i < 100 && status == 0; ++i) {
        ASSERT_EQ(r.f.seek(47, 0), 0);
        status = r.f.readObjectReference(&o);
        handedOut += status == 0;
    }
    GSSetArrayAllocationHook(old);
    EXPECT_EQ(status, 1);
    EXPECT_EQ(r.f.getObjectTable()->getReadObjectCount(), handedOut);
    ASSERT_EQ(r.f.stopObjectMergingRead(), 0);
}
