#include "generator/GSThumbnailWalk.h"

#include "generator/GSMemPicData.h"
#include "gs/object/GSArrayMemory.h"
#include "gs/object/GSRuntimeClass.h"

#include "tests/support/ThumbnailWalkRun.h"
#include "tests/support/Hex.h"

#include <gtest/gtest.h>

#include <new>
#include <optional>
#include <set>

using namespace qmtest;
using Reason = GSThumbnailReason;

namespace {

class ThumbnailWalk : public testing::TestWithParam<Backend> {
protected:
    WalkRun walk(Bytes const& document, GSThumbnailLimits const& limits = GSThumbnailLimits())
    {
        return runWalk(document, GetParam(), true, limits);
    }
};

Bytes documentWith(ThumbnailRecord const& thumbnail, int version = 0x0200)
{
    return DocumentBuilder().documentID().version(version).thumbnail(thumbnail).endTag().bytes();
}

TEST_P(ThumbnailWalk, PictureTypesTwoThreeAndFiveOnly)
{
    for (int type : {2, 3, 5, 0, 1, 4, 6, 0x102}) {
        WalkRun run = walk(simpleDocument(type, fakePNG(40)));
        if (type == 2 || type == 3 || type == 5) {
            EXPECT_EQ(run.result.reason, Reason::kOk) << type;
            EXPECT_EQ(run.result.pictureType, type == 5 ? 3 : type) << type;
            EXPECT_EQ(run.result.format, type == 2 ? GSPictureFormat::jpeg : GSPictureFormat::png) << type;
            EXPECT_EQ(run.picture(), fakePNG(40)) << type;
        } else {
            EXPECT_EQ(run.result.reason, Reason::kUnsupportedPictureType) << type;
            EXPECT_EQ(run.result.format, GSPictureFormat::none) << type;
            EXPECT_FALSE(run.result.written & GSThumbnailResult::kWrotePictureType) << type;
            EXPECT_EQ(run.buffer.getCount(), 0) << type;
        }
    }
}

TEST_P(ThumbnailWalk, PictureObjectWithoutATableMustBeAPictureDescription)
{
    for (std::string name : {"GSMemPicData", "GSSystemPicData", "GSNoSuchClass", "GSObject", "GSFileWorkerMemory"}) {
        Bytes png = fakePNG(70);
        WalkRun run = walk(documentWith(
            ThumbnailRecord().description(3, 1, 1).objectPicture(name, kPicturePNGAlternative, png, 80, 60, 9)));
        if (name == "GSMemPicData" || name == "GSSystemPicData") {
            EXPECT_EQ(run.result.reason, Reason::kOk) << name;
            EXPECT_EQ(run.result.pictureType, 3) << name;
            // Size from the object; the variant stays the description record's.
            EXPECT_EQ(run.result.size, (GSTSize<int>{80, 60})) << name;
            EXPECT_EQ(run.result.variant, 3) << name;
            EXPECT_EQ(run.picture(), png) << name;
        } else {
            EXPECT_EQ(run.result.reason, Reason::kInconsistent) << name;
            EXPECT_EQ(run.buffer.getCount(), 0) << name;
        }
    }
    WalkRun run = walk(documentWith(ThumbnailRecord().objectPicture("GSMemPicData", 4, fakeJPEG(30), 8, 8)));
    EXPECT_NE(run.result.reason, Reason::kOk);
    EXPECT_EQ(run.buffer.getCount(), 0);
}

// Documents that give no picture: why, what kind of file, and which outputs were written.
TEST_P(ThumbnailWalk, NoPictureSaysWhy)
{
    using R = GSThumbnailResult;
    struct Case {
        char const* name;
        Bytes document;
        Reason reason;
        R::Kind kind;
        unsigned written;
    };
    unsigned const version = R::kWroteVersion, description = R::kWroteVariant | R::kWroteWidth | R::kWroteHeight;
    auto withVersion = [](int v) { return documentWith(ThumbnailRecord().inlinePicture(kPictureJPEG, fakeJPEG(8)), v); };
    ThumbnailRecord const withJpeg30 = ThumbnailRecord().inlinePicture(kPictureJPEG, fakeJPEG(30));
    Bytes body = simpleDocument(kPictureJPEG, fakeJPEG(10));
    Bytes rest(body.begin() + 19, body.end());
    std::vector<Case> cases = {
        {"zero count", documentWith(ThumbnailRecord().description(0, 10, 12).inlinePicture(kPictureJPEG, {})),
         Reason::kNoPicture, R::kDocument, version | description | R::kWrotePictureType},
        {"no picture record", documentWith(ThumbnailRecord().description(4, 8, 9)), Reason::kNoPicture, R::kDocument,
         version | description},
        {"no thumbnail record",
         DocumentBuilder().documentID().version(0x0200).standardFloats().record(20, Bytes(40, 1)).endTag().bytes(),
         Reason::kNoPicture, R::kDocument, version},
        // Minor numbers are not compared; major 2 is refused.
        {"thumbnail version 2.0", documentWith(ThumbnailRecord().version(0x0200).inlinePicture(kPictureJPEG, fakeJPEG(20))),
         Reason::kUnsupportedThumbnailVersion, R::kDocument, version},
        {"thumbnail version 1.16", documentWith(ThumbnailRecord().version(0x0110).inlinePicture(kPictureJPEG, fakeJPEG(20))),
         Reason::kInconsistent, R::kDocument, version},
        {"thumbnail record without its version", DocumentBuilder().documentID().version(0x0200).header(13, 0).bytes(),
         Reason::kTruncated, R::kDocument, version},
        {"selection", DocumentBuilder().selectionID().version(0x0200).thumbnail(withJpeg30).endTag().bytes(),
         Reason::kSelection, R::kSelection, version},
        // A refused version is read also when fewer than four bytes, or just four, follow the ID.
        {"version 4.0 at the end", DocumentBuilder().documentID().version(0x0400).bytes(), Reason::kUnsupportedVersion,
         R::kDocument, version},
        {"version 0.0 at the end", DocumentBuilder().documentID().versionTwoShort(0, 0).bytes(),
         Reason::kUnsupportedVersion, R::kDocument, version},
        {"version 2.16", withVersion(0x0210), Reason::kUnsupportedVersion, R::kDocument, version},
        {"version 0.255", withVersion(0x00FF), Reason::kUnsupportedVersion, R::kDocument, version},
        {"ID without its 0", DocumentBuilder().id("Quillmoor Document", false).raw(rest).bytes(), Reason::kNotADocument,
         R::kUnrecognised, 0},
        {"empty file", {}, Reason::kNotADocument, R::kUnrecognised, 0},
    };
    for (std::string id : {"Quillmoor Documenx", "quillmoor Document", "Quillmoor Selectio", "Quillmoor"})
        cases.push_back({"other ID", DocumentBuilder().id(id).raw(rest).bytes(), Reason::kNotADocument, R::kUnrecognised, 0});
    for (Case const& c : cases) {
        WalkRun run = walk(c.document);
        EXPECT_EQ(run.result.reason, c.reason) << c.name;
        EXPECT_EQ(run.result.kind, c.kind) << c.name;
        EXPECT_EQ(run.result.written, c.written) << c.name;
        EXPECT_EQ(run.buffer.getCount(), 0) << c.name;
    }
    WalkRun minor = walk(documentWith(ThumbnailRecord().version(0x010F).inlinePicture(kPictureJPEG, fakeJPEG(20))));
    EXPECT_EQ(minor.result.reason, Reason::kOk);
}

TEST_P(ThumbnailWalk, SkipsOtherRecordsBySizeWithoutLookingInside)
{
    // A record 12 and unknown records whose data look like a thumbnail record of their own: the
    // walk must not see them.
    Bytes const decoy = DocumentBuilder().thumbnail(ThumbnailRecord().inlinePicture(kPictureJPEG, fakeJPEG(12))).bytes();
    Bytes real = fakePNG(24);
    DocumentBuilder b;
    b.documentID().version(0x0200).record(12, decoy).record(99, decoy).record(-7, decoy);
    b.thumbnail(ThumbnailRecord().record(1, decoy).record(5, {}).inlinePicture(kPicturePNG, real)).endTag();
    WalkRun run = walk(b.bytes());
    EXPECT_EQ(run.result.reason, Reason::kOk);
    EXPECT_EQ(run.picture(), real);
}

TEST_P(ThumbnailWalk, InnerRecordsAreReadInFileOrder)
{
    // The last description before the picture wins; a description after it is never read.
    WalkRun run = walk(documentWith(ThumbnailRecord().description(1, 10, 20).description(2, 30, 40).inlinePicture(
        kPictureJPEG, fakeJPEG(20)).description(3, 50, 60)));
    EXPECT_EQ(run.result.reason, Reason::kOk);
    EXPECT_EQ(run.result.variant, 2);
    EXPECT_EQ(run.result.size, (GSTSize<int>{30, 40}));
}

TEST_P(ThumbnailWalk, HugeCountInASmallFileIsRefusedBeforeAllocating)
{
    for (int64_t count : {int64_t{0x7FFFFFFF}, int64_t{2000}}) {
        Bytes document = documentWith(ThumbnailRecord().inlinePicture(kPictureJPEG, fakeJPEG(600), count));
        ASSERT_LT(document.size(), 1024u);
        WalkRun run = walk(document);
        EXPECT_EQ(run.result.reason, Reason::kTruncated) << count;
        EXPECT_EQ(run.buffer.getCount(), 0);
        EXPECT_LE(run.buffer.getCapacity(), 8);
    }
    // 2^31 as a 32-bit count is negative: no picture can have it.
    WalkRun run = walk(documentWith(ThumbnailRecord().inlinePicture(kPictureJPEG, fakeJPEG(60), int64_t{1} << 31)));
    EXPECT_EQ(run.result.reason, Reason::kInconsistent);
    EXPECT_EQ(run.buffer.getCount(), 0);
}

TEST_P(ThumbnailWalk, RecordSizesAreCheckedAgainstFileAndRecord)
{
    ThumbnailRecord small = ThumbnailRecord().inlinePicture(kPictureJPEG, fakeJPEG(10));
    ThumbnailRecord countPast = ThumbnailRecord().inlinePicture(kPictureJPEG, fakeJPEG(50), 60);
    auto inner = [](int64_t size) {
        ThumbnailRecord t;
        t.custom([size](RecordWriter& w) { w.header(7, size); }).inlinePicture(kPictureJPEG, fakeJPEG(10));
        return Bytes(DocumentBuilder().documentID().version(0x0200).thumbnail(t).record(20, Bytes(400, 0)).endTag().bytes());
    };
    struct Case {
        char const* name;
        Bytes document;
        Reason reason;
    } const cases[] = {
        {"a content record announcing 1 GiB in a small file",
         DocumentBuilder().documentID().version(0x0200).header(20, int64_t{1} << 30).raw(Bytes(100, 0)).bytes(),
         Reason::kTruncated},
        {"a negative top-level size, which would seek back onto its own header for ever",
         DocumentBuilder().documentID().version(0x0200).header(20, -8).endTag().bytes(), Reason::kInconsistent},
        {"thumbnail size past the end", DocumentBuilder().documentID().version(0x0200).thumbnail(small, 5000).bytes(),
         Reason::kTruncated},
        {"negative thumbnail size", DocumentBuilder().documentID().version(0x0200).thumbnail(small, -1000).bytes(),
         Reason::kInconsistent},
        {"in the last record, the count past the end of the file",
         DocumentBuilder().documentID().version(0x0200).thumbnail(countPast).bytes(), Reason::kTruncated},
        {"the count inside the file (a record follows) but past the thumbnail record",
         DocumentBuilder().documentID().version(0x0200).thumbnail(countPast).record(20, Bytes(100, 0)).endTag().bytes(),
         Reason::kInconsistent},
        {"an inner record past the thumbnail record, inside the file", inner(200), Reason::kInconsistent},
        {"negative inner size", inner(-14), Reason::kInconsistent},
        {"the description's 14 bytes past a 10-byte thumbnail record",
         DocumentBuilder().documentID().version(0x0200).thumbnail(ThumbnailRecord().description(1, 2, 3).withoutEndTag(), 8)
             .raw(Bytes(40, 0)).bytes(),
         Reason::kInconsistent},
    };
    for (Case const& c : cases) {
        WalkRun run = walk(c.document);
        EXPECT_EQ(run.result.reason, c.reason) << c.name;
        EXPECT_EQ(run.buffer.getCount(), 0) << c.name;
    }
}

TEST_P(ThumbnailWalk, LimitsBoundPictureAndRecords)
{
    Bytes document = simpleDocument(kPictureJPEG, fakeJPEG(1000));
    GSThumbnailLimits limits;
    limits.maxPictureBytes = 999;
    WalkRun run = walk(document, limits);
    EXPECT_EQ(run.result.reason, Reason::kLimitExceeded);
    EXPECT_EQ(run.buffer.getCount(), 0);
    limits.maxPictureBytes = 1000;
    EXPECT_EQ(walk(document, limits).result.reason, Reason::kOk);

    DocumentBuilder many;
    many.documentID().version(0x0200);
    for (int i = 0; i < 50; ++i)
        many.record(20, {});
    many.thumbnail(ThumbnailRecord().inlinePicture(kPictureJPEG, fakeJPEG(10))).endTag();
    limits.maxRecords = 50;
    EXPECT_EQ(walk(many.bytes(), limits).result.reason, Reason::kLimitExceeded);
    limits.maxRecords = 52; // 50 records, the thumbnail and its picture record
    EXPECT_EQ(walk(many.bytes(), limits).result.reason, Reason::kOk);
}

// A thumbnail record whose inline picture claims `count` bytes and whose bytes right after the
// count are a second, valid thumbnail record. A walk that stops after a refused picture reads that
// record's header and ends; one that went on would take the second picture.
Bytes refusedPictureThenAThumbnail(int64_t count)
{
    Bytes const inner = DocumentBuilder().thumbnail(ThumbnailRecord().inlinePicture(kPictureJPEG, fakeJPEG(10))).bytes();
    ThumbnailRecord t;
    t.custom([&](RecordWriter& w) {
        w.record(6, [&](RecordWriter& r) {
            r.out().i16(kPictureJPEG);
            r.arrayCount(count);
            r.out().raw(inner);
        });
    });
    return documentWith(t);
}

// Refuses the first request after it is installed, and no other.
int requests = 0;
bool refuseTheFirstRequest(size_t)
{
    return requests++ > 0;
}

// A memory back end whose reads of 20 bytes and more fail, as an I/O error would.
class FailingLargeReads : public GSFileWorkerMemory {
public:
    using GSFileWorkerMemory::GSFileWorkerMemory;
    long readData(void* buffer, long length) override
    {
        return length >= 20 ? 0 : GSFileWorkerMemory::readData(buffer, length);
    }
};

TEST_P(ThumbnailWalk, ARefusedPictureEndsTheWalk)
{
    GSThumbnailLimits small;
    small.maxPictureBytes = 10;
    EXPECT_EQ(walk(refusedPictureThenAThumbnail(int64_t{1} << 30)).result.reason, Reason::kTruncated);
    EXPECT_EQ(walk(refusedPictureThenAThumbnail(20), small).result.reason, Reason::kLimitExceeded);
    // From a file on disk, whose reading allocates nothing but the picture buffer's growth.
    Bytes const document = refusedPictureThenAThumbnail(20);
    TempFile onDisk(document);
    GSFile diskFile(GSString(onDisk.path().c_str()));
    ASSERT_EQ(diskFile.open(), 0);
    GSDynaArray<unsigned char> buffer(8, -100);
    requests = 0;
    GSArrayAllocationHook previous = GSSetArrayAllocationHook(refuseTheFirstRequest);
    EXPECT_EQ(GSFindThumbnail(&diskFile, &buffer).reason, Reason::kOutOfMemory);
    GSSetArrayAllocationHook(previous);
    EXPECT_EQ(buffer.getCount(), 0);

    GSDynaArray<unsigned char> bytes;
    ASSERT_EQ(bytes.append(document.data(), static_cast<long>(document.size())), 0);
    GSFile file;
    ASSERT_EQ(file.init(new FailingLargeReads(bytes), 1), 0);
    ASSERT_EQ(file.open(), 0);
    GSDynaArray<unsigned char> picture(8, -100);
    EXPECT_EQ(GSFindThumbnail(&file, &picture).reason, Reason::kTruncated);
}

// The description is 14 bytes whatever its record's size says (here 0), but it must lie inside the
// thumbnail record; the picture may fill the thumbnail record to its last byte.
TEST_P(ThumbnailWalk, DescriptionAndPictureFitTheirRecordsExactly)
{
    unsigned const description = GSThumbnailResult::kWroteWidth | GSThumbnailResult::kWroteHeight;
    ThumbnailRecord t; // version 2 bytes, header 8, description 14: 24 bytes
    t.custom([](RecordWriter& w) { w.header(0, 0).out().i16(1).i32(2).i32(3).i32(0); }).withoutEndTag();
    for (int recordSize : {24, 23}) {
        WalkRun run = walk(DocumentBuilder().documentID().version(0x0200).thumbnail(t, recordSize).raw(Bytes(30, 0)).bytes());
        EXPECT_EQ((run.result.written & description) == description, recordSize == 24) << recordSize;
    }
    WalkRun filled = walk(documentWith(ThumbnailRecord().inlinePicture(kPictureJPEG, fakeJPEG(30)).withoutEndTag()));
    EXPECT_EQ(filled.result.reason, Reason::kOk);
    EXPECT_EQ(filled.picture(), fakeJPEG(30));
}

// A picture description that counts its instances.
class QMCountedPicData : public GSMemPicData {
public:
    QMCountedPicData() { ++live; }
    ~QMCountedPicData() override { --live; }
    GSRuntimeClass const& getRuntimeClass() const override { return gsClass; }
    static GSObject* create() { return new (std::nothrow) QMCountedPicData; }
    static inline int live = 0;
    static inline GSRuntimeClass gsClass{GSString("QMCountedPicData"), &GSMemPicData::gsClassGSMemPicData, &create};
};

// Without an object table nobody else holds the picture's description: the walk frees it.
TEST_P(ThumbnailWalk, ThePictureObjectIsFreedAfterTheWalk)
{
    WalkRun run = walk(documentWith(ThumbnailRecord().objectPicture("QMCountedPicData", kPictureJPEG, fakeJPEG(40), 8, 6)));
    EXPECT_EQ(run.result.reason, Reason::kOk);
    EXPECT_EQ(run.picture(), fakeJPEG(40));
    EXPECT_EQ(QMCountedPicData::live, 0);
}

TEST_P(ThumbnailWalk, ASecondThumbnailAfterThePictureContradictsIt)
{
    // The walk goes on right after the picture bytes, where normally the end tag is; a thumbnail
    // record there is read too, and the two pictures contradict each other. Other bytes there
    // leave the picture alone.
    Bytes const second = DocumentBuilder().thumbnail(ThumbnailRecord().inlinePicture(kPicturePNG, fakePNG(12))).bytes();
    for (Bytes after : {second, fromHex("00 00 00 14 7F 00 00 00")}) {
        WalkRun run = walk(documentWith(ThumbnailRecord().inlinePicture(kPictureJPEG, fakeJPEG(20)).custom(
            [&](RecordWriter& w) { w.out().raw(after); })));
        bool contradicts = after == second;
        EXPECT_EQ(run.result.reason, contradicts ? Reason::kInconsistent : Reason::kOk);
        EXPECT_EQ(run.picture(), contradicts ? fakePNG(12) : fakeJPEG(20));
    }
}

// Cutting a valid document anywhere: the walk always returns, reports a picture exactly when the
// cut keeps the whole thumbnail record, and never sizes the buffer beyond what the file holds.
TEST_P(ThumbnailWalk, CutAtEveryByte)
{
    Bytes jpeg = fakeJPEG(64);
    Bytes document = simpleDocument(kPictureJPEG, jpeg);
    WalkRun whole = walk(document);
    ASSERT_EQ(whole.result.reason, Reason::kOk);
    // The thumbnail record ends with its end tag, right after the picture.
    size_t thumbnailEnd = static_cast<size_t>(whole.result.pictureOffset) + jpeg.size() + 4;
    EXPECT_EQ(Bytes(document.begin() + whole.result.pictureOffset, document.begin() + long(thumbnailEnd) - 4), jpeg);
    for (size_t length = 0; length < document.size(); ++length) {
        WalkRun run = walk(cut(document, length));
        SCOPED_TRACE(length);
        EXPECT_LE(run.buffer.getCount(), static_cast<long>(length));
        if (length < 19) {
            EXPECT_EQ(run.result.reason, Reason::kNotADocument);
        } else if (length < thumbnailEnd) {
            EXPECT_EQ(run.result.reason, Reason::kTruncated);
            EXPECT_EQ(run.buffer.getCount(), 0);
        } else {
            EXPECT_EQ(run.result.reason, Reason::kOk);
            EXPECT_EQ(run.picture(), jpeg);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Backends, ThumbnailWalk, testing::Values(Backend::kMemory, Backend::kDisk),
                         [](auto const& p) { return backendName(p.param); });

TEST(ThumbnailWalkFlags, StandardFloatRecordsSetTheFileFlags)
{
    unsigned const both = GSFile::kStandardFloats | GSFile::kStandardDoubles;
    auto flags = [&](DocumentBuilder& b) { return runWalk(b.endTag().bytes(), Backend::kMemory).flags & both; };
    EXPECT_EQ(flags(DocumentBuilder().documentID().version(0x0200).standardDoubles()), unsigned(GSFile::kStandardDoubles));
    EXPECT_EQ(flags(DocumentBuilder().documentID().version(0x0200).standardFloats()), unsigned(GSFile::kStandardFloats));
    EXPECT_EQ(flags(DocumentBuilder().documentID().version(0x0200).record(16, {})), 0u);
}

TEST(ThumbnailWalkOpen, MissingFileCannotBeOpenedAndAFolderCannotBeRead)
{
    GSDynaArray<unsigned char> buffer(8, -100);
    GSThumbnailResult result = GSFindThumbnail(GSFileSpec(GSString("/nonexistent/folder/x.qmd")), &buffer);
    EXPECT_EQ(result.reason, Reason::kCannotOpen);
    EXPECT_NE(result.openStatus, 0);
    EXPECT_EQ(buffer.getCount(), 0);
    // A folder opens for reading but gives a read error at its first byte, not "not a document".
    result = GSFindThumbnail(GSFileSpec(GSString("/tmp")), &buffer);
    EXPECT_EQ(result.reason, Reason::kReadError);
    EXPECT_EQ(result.openStatus, 0);
}

TEST(ThumbnailReasonText, EveryReasonHasItsOwnText)
{
    std::set<std::string> texts;
    for (int i = 0; i <= 14; ++i)
        texts.insert(GSThumbnailReasonText(static_cast<Reason>(i)));
    EXPECT_EQ(texts.size(), 15u);
    EXPECT_STREQ(GSThumbnailReasonText(static_cast<Reason>(99)), "unknown reason");
}

// A document whose object table is of the older kind (version 1.0, 32-bit positions, no objects):
// the table header, then the top-level records in classic framing, then the table's directory,
// which the header's offset points at. `tableInRecord11` puts the header in a record 11 (documents
// below 3.0), otherwise it follows the version at once (3.0 and later).
Bytes documentWithTable(int version, bool tableInRecord11, int tableRecords, Bytes const& jpeg)
{
    DocumentBuilder records;
    for (int i = 1; i < tableRecords; ++i)
        records.header(11, 6).raw(fromHex("01 00 00 00 00 00"));
    records.record(20, Bytes(12, 3)).thumbnail(ThumbnailRecord().inlinePicture(kPictureJPEG, jpeg)).endTag();
    DocumentBuilder b;
    b.documentID().version(version);
    // Size 0: the walk must read the table header from the record's data rather than skip it.
    if (tableInRecord11)
        b.header(11, 0);
    ByteWriter table;
    table.i16(0x0100).i32(static_cast<int32_t>(records.size()));
    b.raw(table.bytes()).raw(records.bytes()).raw(fromHex("00 00 00 00"));
    return b.bytes();
}

// Shapes with objects in the table are in GSThumbnailObjects_test.cpp; these are the table's
// edges as the walk meets them.
TEST(ThumbnailWalkObjectTable, Edges)
{
    // The record announces no data: skipping it would land on the table header and find nothing.
    WalkRun run = runWalk(documentWithTable(0x0200, true, 1, fakeJPEG(40)), Backend::kMemory);
    EXPECT_EQ(run.result.reason, Reason::kOk);
    EXPECT_EQ(run.picture(), fakeJPEG(40));
    // From version 3.0 the table follows the version: any record 11 is a second table.
    run = runWalk(documentWithTable(0x0300, false, 2, fakeJPEG(8)), Backend::kMemory);
    EXPECT_EQ(run.result.reason, Reason::kDuplicateObjectTable);
    // ...and a version 3.0 document without its table is damaged.
    run = runWalk(DocumentBuilder().documentID().version(0x0300).raw(fromHex("FF")).bytes(), Backend::kMemory);
    EXPECT_EQ(run.result.reason, Reason::kObjectTableUnreadable);
    EXPECT_EQ(run.result.version, 0x0300);
    // The limits' bounds reach the object reader: no table at all, no object at all.
    GSThumbnailLimits none;
    none.maxTableObjects = -1;
    run = runWalk(documentWithTable(0x0300, false, 1, fakeJPEG(8)), Backend::kMemory, true, none);
    EXPECT_EQ(run.result.reason, Reason::kObjectTableUnreadable);
    none.maxObjectDepth = 0;
    Bytes const object = documentWith(ThumbnailRecord().objectPicture("GSMemPicData", kPictureJPEG, fakeJPEG(8), 4, 4));
    EXPECT_EQ(runWalk(object, Backend::kMemory).result.reason, Reason::kOk);
    EXPECT_EQ(runWalk(object, Backend::kMemory, true, none).result.reason, Reason::kInconsistent);
}

} // namespace
