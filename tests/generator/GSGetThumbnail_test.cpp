#include "generator/GSGetThumbnail.h"

#include "generator/GSMemPicData.h"
#include "gs/file/GSFile.h"
#include "gs/file/GSTagRead.h"
#include "gs/object/GSExceptions.h"
#include "gs/object/GSRuntimeClass.h"
#include "tests/support/Hex.h"
#include "tests/support/ObjectDocuments.h"
#include "tests/support/TempFile.h"

#include <gtest/gtest.h>

#include <memory>

using namespace qmtest;

namespace {

// The walk's outcomes are tested in GSThumbnailWalk_test.cpp; these are the editor's contract on
// top of it: the open status as the result, outputs written only when their records were read.
struct Outputs {
    short status = -99;
    short type = -7, variant = -7;
    GSTSize<int> size{-7, -7};
    GSDynaArray<unsigned char> buffer{8, -100};
};

Outputs getThumbnail(Bytes const& document, char const* path = nullptr)
{
    TempFile temp(document);
    Outputs out;
    out.status = GSGetThumbnail(GSFileSpec(GSString(path ? path : temp.path().c_str())), &out.buffer, &out.type,
                                &out.variant, &out.size);
    return out;
}

TEST(GSGetThumbnail, WritesOutputsOnlyWhenTheirRecordsAreRead)
{
    Bytes png = fakePNG(123);
    Outputs out = getThumbnail(simpleDocument(kPicturePNGAlternative, png, 90, 30));
    EXPECT_EQ(out.status, 0);
    EXPECT_EQ(out.type, 3);
    EXPECT_EQ(out.variant, 1);
    EXPECT_EQ(out.size, (GSTSize<int>{90, 30}));
    EXPECT_EQ(Bytes(out.buffer.getPointer(), out.buffer.getPointer() + out.buffer.getCount()), png);

    // No description record: variant and size keep the caller's values.
    DocumentBuilder b;
    b.documentID().version(0x0200).thumbnail(ThumbnailRecord().inlinePicture(kPictureJPEG, fakeJPEG(10))).endTag();
    out = getThumbnail(b.bytes());
    EXPECT_EQ(out.type, 2);
    EXPECT_EQ(out.variant, -7);
    EXPECT_EQ(out.size, (GSTSize<int>{-7, -7}));

    // A count larger than the file: refused before the buffer is sized, after the type was read.
    DocumentBuilder huge;
    huge.documentID().version(0x0200);
    huge.thumbnail(ThumbnailRecord().description(0, 1, 1).inlinePicture(kPictureJPEG, fakeJPEG(500), 0x7FFFFFFF)).endTag();
    out = getThumbnail(huge.bytes());
    EXPECT_EQ(out.status, 0);
    EXPECT_EQ(out.type, 2);
    EXPECT_EQ(out.buffer.getCount(), 0);
    EXPECT_LE(out.buffer.getCapacity(), 8);

    // A thumbnail record cut inside its description is refused as a whole: nothing is written.
    out = getThumbnail(cut(simpleDocument(kPictureJPEG, fakeJPEG(10), 44, 55), 19 + 2 + 8 * 3 + 5 + 2 + 8 + 6));
    EXPECT_EQ(out.status, 0);
    EXPECT_EQ(out.variant, -7);
    EXPECT_EQ(out.size, (GSTSize<int>{-7, -7}));
    EXPECT_EQ(out.buffer.getCount(), 0);
}

TEST(GSGetThumbnail, ReturnsZeroForEveryFileThatOpensAndTheOpenStatusOtherwise)
{
    DocumentBuilder selection;
    selection.selectionID().version(0x0200).thumbnail(ThumbnailRecord().inlinePicture(kPictureJPEG, fakeJPEG(10))).endTag();
    for (Bytes const& document : {selection.bytes(), fromHex("00 01 02"), Bytes{},
                                  cut(simpleDocument(kPictureJPEG, fakeJPEG(100)), 90)}) {
        Outputs out = getThumbnail(document);
        EXPECT_EQ(out.status, 0) << toHex(cut(document, 24));
        EXPECT_EQ(out.buffer.getCount(), 0);
        EXPECT_EQ(out.type, -7);
    }
    Outputs out = getThumbnail({}, "/nonexistent/folder/x.qmd");
    EXPECT_NE(out.status, 0);
    EXPECT_EQ(out.type, -7);
    EXPECT_EQ(out.buffer.getCount(), 0);
}

TEST(GSGetThumbnail, SecondObjectTableThrowsBadFile)
{
    ObjectDocument twice;
    twice.version = 0x0200;
    twice.secondTable = true;
    EXPECT_THROW(getThumbnail(twice.build()), bad_file);
}

// --- Header and version -------------------------------------------------------------------------

std::unique_ptr<GSFile> memoryFile(Bytes const& bytes)
{
    GSDynaArray<unsigned char> array;
    EXPECT_EQ(array.append(bytes.data(), static_cast<long>(bytes.size())), 0);
    auto file = std::make_unique<GSFile>(array);
    EXPECT_EQ(file->open(), 0);
    return file;
}

TEST(QuillmoorDataReadHeader, AcceptsDocumentAndSelection)
{
    for (bool selection : {false, true}) {
        DocumentBuilder b;
        (selection ? b.selectionID() : b.documentID()).version(0x0201).endTag();
        auto file = memoryFile(b.bytes());
        short version = 0, merging = 7, isSelection = 7;
        EXPECT_EQ(QuillmoorDataReadHeader(file.get(), &version, &merging, &isSelection), 0);
        EXPECT_EQ(version, 0x0201);
        EXPECT_EQ(merging, 0);
        EXPECT_EQ(isSelection, selection ? 1 : 0);
        EXPECT_EQ(file->tell(), selection ? 22 : 21);
    }
}

TEST(QuillmoorDataReadHeader, FailureRestoresThePositionAndStillReportsTheKind)
{
    DocumentBuilder b;
    b.raw(fromHex("AA BB")).selectionID().version(0x0400).endTag();
    auto file = memoryFile(b.bytes());
    ASSERT_EQ(file->seek(2), 0);
    short version = 0, isSelection = 7;
    EXPECT_NE(QuillmoorDataReadHeader(file.get(), &version, nullptr, &isSelection), 0);
    EXPECT_EQ(version, 0x0400);
    EXPECT_EQ(isSelection, 1);
    EXPECT_EQ(file->tell(), 2);

    auto other = memoryFile(fromHex("51 75 69 6C 6C"));
    isSelection = 7;
    EXPECT_EQ(QuillmoorDataReadHeader(other.get(), &version, nullptr, &isSelection), 1);
    EXPECT_EQ(isSelection, 7);
    EXPECT_EQ(other->tell(), 0);
}

TEST(QuillmoorDataReadVersion, VersionThreeSwitchesToStandardFloats)
{
    // Without mergingStarted no object table is started: only the float formats change.
    for (char const* hex : {"03 00", "02 0F"}) {
        auto file = memoryFile(fromHex(hex));
        GSTagRead reader(file.get());
        short version = 0;
        EXPECT_EQ(QuillmoorDataReadVersion(&reader, &version, nullptr), 0);
        bool three = hex[1] == '3';
        EXPECT_EQ(version, three ? 0x0300 : 0x020F);
        EXPECT_EQ(file->getFlags() & 192u, three ? 192u : 0u);
        EXPECT_EQ(file->getObjectTable(), nullptr);
    }
}

// --- GSMemPicData --------------------------------------------------------------------------------

TEST(GSMemPicData, ReadDataReadsTypeAndCount)
{
    struct Case {
        char const* hex;
        short status;
        short type;
        int count;
    };
    for (Case c : {Case{"00 02 00 00 01 00", 0, 2, 256}, Case{"00 05 00 00 00 10", 0, 3, 16},
                   Case{"00 03 FF FF FF FF", 0, 3, -1}, Case{"00 04 00 00 00 10", 1, 4, 16},
                   Case{"00 02 00 00 00", 1, -1, 0}, Case{"00", 1, -1, 0}}) {
        auto file = memoryFile(fromHex(c.hex));
        GSMemPicData data;
        EXPECT_EQ(data.readData(file.get()), c.status) << c.hex;
        EXPECT_EQ(data.getPictureType(), c.type) << c.hex;
        EXPECT_EQ(data.getByteCount(), c.count) << c.hex;
    }
}

TEST(GSMemPicData, ReadTakesTheObjectFormAndStopsAtThePictureBytes)
{
    // version 1.0; record 0 (variant 2, 640 x 480, ignored); an unknown record; record 3 (PNG, 4 bytes)
    Bytes object = fromHex("01 00"
                           "00 00 00 00 00 00 00 0E 00 02 00 00 02 80 00 00 01 E0 00 00 00 00"
                           "00 00 00 09 00 00 00 02 AA BB"
                           "00 00 00 03 00 00 00 06 00 03 00 00 00 04");
    Bytes document = object;
    document.insert(document.end(), {0x89, 'P', 'N', 'G'});
    auto file = memoryFile(document);
    GSMemPicData data;
    EXPECT_EQ(data.read(file.get()), 0);
    EXPECT_EQ(data.getVariant(), 2);
    EXPECT_EQ(data.getSize(), (GSTSize<int>{640, 480}));
    EXPECT_EQ(data.getPictureType(), 3);
    EXPECT_EQ(data.getByteCount(), 4);
    EXPECT_EQ(file->tell(), static_cast<long>(object.size()));
}

TEST(GSMemPicData, ReadFailsOnDamage)
{
    for (char const* hex : {"02 00 FF FF FF FF",                       // too new
                            "01 00 00 00 00 07 FF FF FF F8 FF FF FF FF", // negative size
                            "01 00 00 00 00 07 00 00 10 00",             // size past the end
                            "01 00 00 00 00 00 00 00 00 0E 00 02 00",    // description cut short
                            "01 00 00 00"}) {                            // header cut short
        auto file = memoryFile(fromHex(hex));
        GSMemPicData data;
        EXPECT_NE(data.read(file.get()), 0) << hex;
    }
    // The end tag without record 3 is no failure; the count stays 0.
    auto file = memoryFile(fromHex("01 00 FF FF FF FF"));
    GSMemPicData data;
    EXPECT_EQ(data.read(file.get()), 0);
    EXPECT_EQ(data.getByteCount(), 0);
}

TEST(GSMemPicData, BothPictureClassesAreCreatableByName)
{
    EXPECT_EQ(GSSystemPicData::gsClassGSSystemPicData.getParent(), &GSMemPicData::gsClassGSMemPicData);
    EXPECT_EQ(GSMemPicData::gsClassGSMemPicData.getParent(), &GSObject::gsClassGSObject);
    for (char const* name : {"GSMemPicData", "GSSystemPicData"}) {
        GSObject* o = GSRuntimeClass::createObjectForName(GSString(name));
        ASSERT_NE(o, nullptr);
        EXPECT_EQ(o->getRefCount(), 0);
        EXPECT_TRUE(o->isMemberOfRuntimeClass(GSMemPicData::gsClassGSMemPicData));
        EXPECT_EQ(o->isKindOfRuntimeClass(GSMemPicData::gsClassGSMemPicData), std::string(name) == "GSMemPicData");
        EXPECT_EQ(static_cast<GSMemPicData*>(o)->getByteCount(), 0);
        o->retain();
        o->release();
    }
}

} // namespace
