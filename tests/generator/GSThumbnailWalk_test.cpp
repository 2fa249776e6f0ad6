#include "generator/GSThumbnailWalk.h"

#include "tests/generator/ThumbnailTestSupport.h"
#include "tests/support/Hex.h"

#include <gtest/gtest.h>

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

std::string backendParamName(testing::TestParamInfo<Backend> const& info) { return backendName(info.param); }

Bytes documentWith(ThumbnailRecord const& thumbnail, int version = 0x0200)
{
    DocumentBuilder b;
    b.documentID().version(version).thumbnail(thumbnail).endTag();
    return b.bytes();
}

TEST_P(ThumbnailWalk, ReadsInlineJPEGWithItsDescription)
{
    Bytes jpeg = fakeJPEG(300);
    WalkRun run = walk(simpleDocument(kPictureJPEG, jpeg, 64, 48));
    EXPECT_EQ(run.result.reason, Reason::kOk);
    EXPECT_EQ(run.result.kind, GSThumbnailResult::kDocument);
    EXPECT_EQ(run.result.version, 0x0200);
    EXPECT_EQ(run.result.pictureType, 2);
    EXPECT_EQ(run.result.variant, 1);
    EXPECT_EQ(run.result.size, (GSTSize<int>{64, 48}));
    EXPECT_EQ(run.result.pictureBytes, 300);
    EXPECT_EQ(run.picture(), jpeg);
}

TEST_P(ThumbnailWalk, ReadsThePictureObjectWithoutATable)
{
    for (std::string name : {"GSMemPicData", "GSSystemPicData"}) {
        Bytes png = fakePNG(70);
        WalkRun run = walk(documentWith(ThumbnailRecord().description(3, 1, 1).objectPicture(name, kPicturePNGAlternative, png, 80, 60, 9)));
        EXPECT_EQ(run.result.reason, Reason::kOk) << name;
        EXPECT_EQ(run.result.pictureType, 3) << name;
        // Size from the object; the variant stays the description record's.
        EXPECT_EQ(run.result.size, (GSTSize<int>{80, 60})) << name;
        EXPECT_EQ(run.result.variant, 3) << name;
        EXPECT_EQ(run.picture(), png) << name;
    }
}

TEST_P(ThumbnailWalk, PictureObjectOfAnotherClassGivesNoPicture)
{
    for (std::string name : {"GSNoSuchClass", "GSObject", "GSFileWorkerMemory"}) {
        WalkRun run = walk(documentWith(ThumbnailRecord().objectPicture(name, kPictureJPEG, fakeJPEG(30), 8, 8)));
        EXPECT_EQ(run.result.reason, Reason::kInconsistent) << name;
        EXPECT_EQ(run.buffer.getCount(), 0) << name;
    }
    WalkRun run = walk(documentWith(ThumbnailRecord().objectPicture("GSMemPicData", 4, fakeJPEG(30), 8, 8)));
    EXPECT_NE(run.result.reason, Reason::kOk);
    EXPECT_EQ(run.buffer.getCount(), 0);
}

TEST_P(ThumbnailWalk, PictureTypeFiveIsReadAsPNG)
{
    for (int type : {kPicturePNG, kPicturePNGAlternative}) {
        WalkRun run = walk(simpleDocument(type, fakePNG(40)));
        EXPECT_EQ(run.result.reason, Reason::kOk) << type;
        EXPECT_EQ(run.result.pictureType, 3) << type;
        EXPECT_EQ(run.picture(), fakePNG(40)) << type;
    }
}

TEST_P(ThumbnailWalk, OtherPictureTypesGiveNoPicture)
{
    for (int type : {0, 1, 4, 6, 0x102}) {
        WalkRun run = walk(simpleDocument(type, fakeJPEG(40)));
        EXPECT_EQ(run.result.reason, Reason::kUnsupportedPictureType) << type;
        EXPECT_FALSE(run.result.written & GSThumbnailResult::kWrotePictureType) << type;
        EXPECT_EQ(run.buffer.getCount(), 0) << type;
    }
}

TEST_P(ThumbnailWalk, ZeroCountGivesNoPictureButKeepsTheDescription)
{
    WalkRun run = walk(documentWith(ThumbnailRecord().description(0, 10, 12).inlinePicture(kPictureJPEG, {})));
    EXPECT_EQ(run.result.reason, Reason::kNoPicture);
    EXPECT_EQ(run.buffer.getCount(), 0);
    EXPECT_EQ(run.result.size, (GSTSize<int>{10, 12}));
}

TEST_P(ThumbnailWalk, ThumbnailVersionMajorOneOnly)
{
    WalkRun run = walk(documentWith(ThumbnailRecord().version(0x0200).inlinePicture(kPictureJPEG, fakeJPEG(20))));
    EXPECT_EQ(run.result.reason, Reason::kUnsupportedThumbnailVersion);
    EXPECT_EQ(run.buffer.getCount(), 0);
    // Minor numbers are not compared.
    run = walk(documentWith(ThumbnailRecord().version(0x010F).inlinePicture(kPictureJPEG, fakeJPEG(20))));
    EXPECT_EQ(run.result.reason, Reason::kOk);
}

TEST_P(ThumbnailWalk, ReadsTheTwoShortVersionForm)
{
    DocumentBuilder b;
    b.documentID().versionTwoShort(2, 5);
    b.thumbnail(ThumbnailRecord().versionTwoShort(1, 0).inlinePicture(kPictureJPEG, fakeJPEG(16))).endTag();
    ASSERT_EQ(toHex(Bytes(b.bytes().begin() + 19, b.bytes().begin() + 23)), "00 02 00 05");
    WalkRun run = walk(b.bytes());
    EXPECT_EQ(run.result.reason, Reason::kOk);
    EXPECT_EQ(run.result.version, 0x0205);
    EXPECT_EQ(run.picture(), fakeJPEG(16));
}

TEST_P(ThumbnailWalk, RefusesDocumentVersionsItDoesNotRead)
{
    struct Case {
        int version;
        Reason reason;
    };
    for (Case c : {Case{0x0400, Reason::kUnsupportedVersion}, Case{0x0210, Reason::kUnsupportedVersion},
                   Case{0x00FF0000 >> 16, Reason::kUnsupportedVersion}}) {
        DocumentBuilder b;
        b.documentID().version(c.version).thumbnail(ThumbnailRecord().inlinePicture(kPictureJPEG, fakeJPEG(8))).endTag();
        WalkRun run = walk(b.bytes());
        EXPECT_EQ(run.result.reason, c.reason) << std::hex << c.version;
        EXPECT_EQ(run.result.kind, GSThumbnailResult::kDocument);
        EXPECT_EQ(run.buffer.getCount(), 0);
    }
    DocumentBuilder tooNew;
    tooNew.documentID().version(0x0400).endTag();
    WalkRun run = walk(tooNew.bytes());
    EXPECT_EQ(run.result.version, 0x0400);
    EXPECT_TRUE(run.result.written & GSThumbnailResult::kWroteVersion);
}

TEST_P(ThumbnailWalk, SelectionFilesNeverGiveAPicture)
{
    DocumentBuilder b;
    b.selectionID().version(0x0200).thumbnail(ThumbnailRecord().inlinePicture(kPictureJPEG, fakeJPEG(30))).endTag();
    WalkRun run = walk(b.bytes());
    EXPECT_EQ(run.result.reason, Reason::kSelection);
    EXPECT_EQ(run.result.kind, GSThumbnailResult::kSelection);
    EXPECT_EQ(run.result.version, 0x0200);
    EXPECT_EQ(run.buffer.getCount(), 0);
}

TEST_P(ThumbnailWalk, RecognisesOnlyTheTwoIDsWithTheirZeroByte)
{
    Bytes body = cut(simpleDocument(kPictureJPEG, fakeJPEG(10)), 1000);
    Bytes rest(body.begin() + 19, body.end());
    for (std::string id : {"Quillmoor Documenx", "quillmoor Document", "Quillmoor Selectio", "Quillmoor"}) {
        DocumentBuilder b;
        b.id(id).raw(rest);
        EXPECT_EQ(walk(b.bytes()).result.reason, Reason::kNotADocument) << id;
        EXPECT_EQ(walk(b.bytes()).result.kind, GSThumbnailResult::kUnrecognised) << id;
    }
    DocumentBuilder missingZero;
    missingZero.id("Quillmoor Document", false).raw(rest);
    EXPECT_EQ(walk(missingZero.bytes()).result.reason, Reason::kNotADocument);
    EXPECT_EQ(walk({}).result.reason, Reason::kNotADocument);
}

TEST_P(ThumbnailWalk, NoThumbnailRecordGivesNoPicture)
{
    DocumentBuilder b;
    b.documentID().version(0x0200).standardFloats().record(20, Bytes(40, 1)).endTag();
    WalkRun run = walk(b.bytes());
    EXPECT_EQ(run.result.reason, Reason::kNoPicture);
    EXPECT_EQ(run.result.written & ~unsigned(GSThumbnailResult::kWroteVersion), 0u);
}

TEST_P(ThumbnailWalk, SkipsOtherRecordsBySizeWithoutLookingInside)
{
    // A record 12 and an unknown record whose data look like a thumbnail record of their own: the
    // walk must not see them.
    DocumentBuilder decoy;
    decoy.thumbnail(ThumbnailRecord().inlinePicture(kPictureJPEG, fakeJPEG(12)));
    Bytes real = fakePNG(24);
    DocumentBuilder b;
    b.documentID().version(0x0200).record(12, decoy.bytes()).record(99, decoy.bytes()).record(-7, decoy.bytes());
    b.thumbnail(ThumbnailRecord().record(1, decoy.bytes()).record(5, {}).inlinePicture(kPicturePNG, real)).endTag();
    WalkRun run = walk(b.bytes());
    EXPECT_EQ(run.result.reason, Reason::kOk);
    EXPECT_EQ(run.picture(), real);
}

TEST_P(ThumbnailWalk, InnerRecordsAreReadInFileOrder)
{
    // The last description before the picture wins; a description after it is never read.
    Bytes jpeg = fakeJPEG(20);
    WalkRun run = walk(documentWith(
        ThumbnailRecord().description(1, 10, 20).description(2, 30, 40).inlinePicture(kPictureJPEG, jpeg).description(3, 50, 60)));
    EXPECT_EQ(run.result.reason, Reason::kOk);
    EXPECT_EQ(run.result.variant, 2);
    EXPECT_EQ(run.result.size, (GSTSize<int>{30, 40}));
}

TEST_P(ThumbnailWalk, ThumbnailWithoutPictureRecordGivesNoPicture)
{
    WalkRun run = walk(documentWith(ThumbnailRecord().description(4, 8, 9)));
    EXPECT_EQ(run.result.reason, Reason::kNoPicture);
    EXPECT_EQ(run.result.variant, 4);
    EXPECT_FALSE(run.result.written & GSThumbnailResult::kWrotePictureType);
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

TEST_P(ThumbnailWalk, CountBeyondTheThumbnailRecordContradictsIt)
{
    // The count fits the file (a record follows) but not the thumbnail record.
    Bytes jpeg = fakeJPEG(50);
    DocumentBuilder b;
    b.documentID().version(0x0200).thumbnail(ThumbnailRecord().inlinePicture(kPictureJPEG, jpeg, 60));
    b.record(20, Bytes(100, 0)).endTag();
    EXPECT_EQ(walk(b.bytes()).result.reason, Reason::kInconsistent);
}

TEST_P(ThumbnailWalk, RecordSizesArecheckedAgainstFileAndRecord)
{
    struct Case {
        char const* name;
        Bytes document;
        Reason reason;
    };
    std::vector<Case> cases;
    {
        DocumentBuilder b; // a content record announcing 1 GiB in a small file
        b.documentID().version(0x0200).header(20, int64_t{1} << 30).raw(Bytes(100, 0));
        cases.push_back({"top-level size past the end", b.bytes(), Reason::kTruncated});
    }
    {
        DocumentBuilder b; // would seek back onto its own header for ever
        b.documentID().version(0x0200).header(20, -8).endTag();
        cases.push_back({"negative top-level size", b.bytes(), Reason::kInconsistent});
    }
    {
        DocumentBuilder b;
        b.documentID().version(0x0200).thumbnail(ThumbnailRecord().inlinePicture(kPictureJPEG, fakeJPEG(10)), 5000);
        cases.push_back({"thumbnail size past the end", b.bytes(), Reason::kTruncated});
    }
    {
        DocumentBuilder b;
        b.documentID().version(0x0200).thumbnail(ThumbnailRecord().inlinePicture(kPictureJPEG, fakeJPEG(10)), -1000);
        cases.push_back({"negative thumbnail size", b.bytes(), Reason::kInconsistent});
    }
    {
        DocumentBuilder b; // an inner record reaching past the thumbnail record, inside the file
        ThumbnailRecord t;
        t.custom([](RecordWriter& w) { w.header(7, 200); }).inlinePicture(kPictureJPEG, fakeJPEG(10));
        b.documentID().version(0x0200).thumbnail(t).record(20, Bytes(400, 0)).endTag();
        cases.push_back({"inner size past its record", b.bytes(), Reason::kInconsistent});
    }
    {
        DocumentBuilder b;
        ThumbnailRecord t;
        t.custom([](RecordWriter& w) { w.header(7, -14); }).inlinePicture(kPictureJPEG, fakeJPEG(10));
        b.documentID().version(0x0200).thumbnail(t).endTag();
        cases.push_back({"negative inner size", b.bytes(), Reason::kInconsistent});
    }
    {
        DocumentBuilder b; // the description's 14 bytes reach past a 10-byte thumbnail record
        ThumbnailRecord t;
        t.description(1, 2, 3).withoutEndTag();
        b.documentID().version(0x0200).thumbnail(t, 8).raw(Bytes(40, 0));
        cases.push_back({"description past its record", b.bytes(), Reason::kInconsistent});
    }
    for (Case const& c : cases) {
        WalkRun run = walk(c.document);
        EXPECT_EQ(run.result.reason, c.reason) << c.name;
        EXPECT_EQ(run.buffer.getCount(), 0) << c.name;
    }
}

TEST_P(ThumbnailWalk, GarbageAfterTheIDIsNeverAPicture)
{
    for (Bytes garbage : {fromHex("FF FF FF FF FF FF"), fromHex("00"), fromHex("41 42 43 44 45 46 47 48 49"),
                          fromHex("02 00 00 00 00 0D 7F FF FF FF")}) {
        DocumentBuilder b;
        b.documentID().raw(garbage);
        WalkRun run = walk(b.bytes());
        EXPECT_NE(run.result.reason, Reason::kOk) << toHex(garbage);
        EXPECT_EQ(run.result.kind, GSThumbnailResult::kDocument);
        EXPECT_EQ(run.buffer.getCount(), 0);
    }
}

TEST(ThumbnailWalkFlags, StandardFloatRecordsSetTheFileFlags)
{
    unsigned const both = GSFile::kStandardFloats | GSFile::kStandardDoubles;
    DocumentBuilder doubles;
    doubles.documentID().version(0x0200).standardDoubles().endTag();
    EXPECT_EQ(runWalk(doubles.bytes(), Backend::kMemory).flags & both, unsigned(GSFile::kStandardDoubles));
    DocumentBuilder floats;
    floats.documentID().version(0x0200).standardFloats().endTag();
    EXPECT_EQ(runWalk(floats.bytes(), Backend::kMemory).flags & both, unsigned(GSFile::kStandardFloats));
    DocumentBuilder none;
    none.documentID().version(0x0200).record(16, {}).endTag();
    EXPECT_EQ(runWalk(none.bytes(), Backend::kMemory).flags & both, 0u);
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

TEST_P(ThumbnailWalk, WithoutABufferLocatesThePictureOnly)
{
    Bytes jpeg = fakeJPEG(77);
    Bytes document = simpleDocument(kPictureJPEG, jpeg);
    WalkRun run = runWalk(document, GetParam(), false);
    EXPECT_EQ(run.result.reason, Reason::kOk);
    EXPECT_EQ(run.result.pictureBytes, 77);
    ASSERT_GT(run.result.pictureOffset, 0);
    EXPECT_EQ(Bytes(document.begin() + run.result.pictureOffset, document.begin() + run.result.pictureOffset + 77), jpeg);
    EXPECT_EQ(run.buffer.getCount(), 0);
}

TEST_P(ThumbnailWalk, ASecondThumbnailAfterThePictureContradictsIt)
{
    // The walk goes on right after the picture bytes, where normally the end tag is; a thumbnail
    // record there is read too, and the two pictures contradict each other.
    DocumentBuilder second;
    second.thumbnail(ThumbnailRecord().inlinePicture(kPicturePNG, fakePNG(12)));
    WalkRun run = walk(documentWith(ThumbnailRecord().inlinePicture(kPictureJPEG, fakeJPEG(20)).custom(
        [&](RecordWriter& w) { w.out().raw(second.bytes()); })));
    EXPECT_EQ(run.result.reason, Reason::kInconsistent);
    EXPECT_EQ(run.picture(), fakePNG(12));
}

TEST_P(ThumbnailWalk, AnythingElseAfterThePictureKeepsIt)
{
    Bytes jpeg = fakeJPEG(20);
    WalkRun run = walk(documentWith(ThumbnailRecord().inlinePicture(kPictureJPEG, jpeg).custom(
        [](RecordWriter& w) { w.out().raw(fromHex("00 00 00 14 7F 00 00 00")); })));
    EXPECT_EQ(run.result.reason, Reason::kOk);
    EXPECT_EQ(run.picture(), jpeg);
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

INSTANTIATE_TEST_SUITE_P(Backends, ThumbnailWalk, testing::Values(Backend::kMemory, Backend::kDisk), backendParamName);

TEST(ThumbnailWalkOpen, MissingFileCannotBeOpened)
{
    GSDynaArray<unsigned char> buffer(8, -100);
    GSThumbnailResult result = GSFindThumbnail(GSFileSpec(GSString("/nonexistent/folder/x.qmd")), &buffer);
    EXPECT_EQ(result.reason, Reason::kCannotOpen);
    EXPECT_NE(result.openStatus, 0);
    EXPECT_EQ(buffer.getCount(), 0);
}

TEST(ThumbnailReasonText, EveryReasonHasItsOwnText)
{
    std::set<std::string> texts;
    for (int i = 0; i <= 14; ++i)
        texts.insert(GSThumbnailReasonText(static_cast<Reason>(i)));
    EXPECT_EQ(texts.size(), 15u);
    EXPECT_STREQ(GSThumbnailReasonText(static_cast<Reason>(99)), "unknown reason");
}

} // namespace

namespace {

// A document whose object table is of the older kind (version 1.0, 32-bit positions, no objects):
// the table header, then the top-level records in classic framing, then the table's directory,
// which the header's offset points at. `tableInRecord11` puts the header in a record 11 (documents
// below 3.0), otherwise it follows the version at once (3.0 and later).
Bytes documentWithTable(int version, bool tableInRecord11, int tableRecords, ThumbnailRecord const& thumbnail)
{
    DocumentBuilder records;
    for (int i = 1; i < tableRecords; ++i)
        records.header(11, 6).raw(fromHex("01 00 00 00 00 00"));
    records.record(20, Bytes(12, 3)).thumbnail(thumbnail).endTag();
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
TEST(ThumbnailWalkObjectTable, RecordElevenIsReadNotSkipped)
{
    // The record announces no data: skipping it would land on the table header and find nothing.
    Bytes jpeg = fakeJPEG(40);
    WalkRun run = runWalk(documentWithTable(0x0200, true, 1, ThumbnailRecord().inlinePicture(kPictureJPEG, jpeg)),
                          Backend::kMemory);
    EXPECT_EQ(run.result.reason, Reason::kOk);
    EXPECT_EQ(run.picture(), jpeg);
}

TEST(ThumbnailWalkObjectTable, AVersionThreeDocumentWithoutItsTableIsDamaged)
{
    DocumentBuilder bare;
    bare.documentID().version(0x0300).raw(fromHex("FF"));
    WalkRun run = runWalk(bare.bytes(), Backend::kMemory);
    EXPECT_EQ(run.result.reason, Reason::kObjectTableUnreadable);
    EXPECT_EQ(run.result.version, 0x0300);
}

TEST(ThumbnailWalkObjectTable, AnyRecordElevenInAVersionThreeDocumentIsASecondTable)
{
    Bytes three = documentWithTable(0x0300, false, 2, ThumbnailRecord().inlinePicture(kPictureJPEG, fakeJPEG(8)));
    EXPECT_EQ(runWalk(three, Backend::kMemory).result.reason, Reason::kDuplicateObjectTable);
}

} // namespace
