#include "generator/GSGetThumbnail.h"

#include "generator/GSMemPicData.h"
#include "gs/file/GSFile.h"
#include "gs/file/GSTagRead.h"
#include "gs/object/GSExceptions.h"
#include "tests/support/Hex.h"
#include "tests/support/ObjectDocuments.h"
#include "tests/support/ScratchFolder.h"

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

    // A file that opens is status 0 even when it is no document; one that does not open gives
    // its open status. Neither writes anything.
    for (char const* path : {static_cast<char const*>(nullptr), "/nonexistent/folder/x.qmd"}) {
        out = getThumbnail(fromHex("00 01 02"), path);
        EXPECT_EQ(out.status != 0, path != nullptr);
        EXPECT_EQ(out.type, -7);
        EXPECT_EQ(out.buffer.getCount(), 0);
    }

    // Reading a second object table is the merging read's misuse.
    ObjectDocument twice;
    twice.version = 0x0200;
    twice.secondTable = true;
    EXPECT_THROW(getThumbnail(twice.build()), bad_file);
}

std::unique_ptr<GSFile> memoryFile(Bytes const& bytes)
{
    GSDynaArray<unsigned char> array;
    EXPECT_EQ(array.append(bytes.data(), static_cast<long>(bytes.size())), 0);
    auto file = std::make_unique<GSFile>(array);
    EXPECT_EQ(file->open(), 0);
    return file;
}

// From version 3.0 on both float formats are IEEE and the object table (here an empty one)
// follows the version. It is started only for a caller that asks, and said so; without that the
// version alone must switch the floats.
TEST(QuillmoorDataReadVersion, VersionThreeSwitchesToStandardFloatsAndStartsTheTable)
{
    for (char const* hex : {"03 00 01 00 00 00 00 00 00 00 00 00", "02 0F"})
        for (bool ask : {false, true}) {
            auto file = memoryFile(fromHex(hex));
            GSTagRead reader(file.get());
            short version = 0, started = -1;
            EXPECT_EQ(QuillmoorDataReadVersion(&reader, &version, ask ? &started : nullptr), 0);
            bool three = hex[1] == '3';
            EXPECT_EQ(version, three ? 0x0300 : 0x020F);
            EXPECT_EQ(file->getFlags() & 192u, three ? 192u : 0u);
            EXPECT_EQ(file->getObjectTable() != nullptr, three && ask);
            EXPECT_EQ(started, ask ? three : -1);
            if (three && ask) {
                EXPECT_EQ(file->stopObjectMergingRead(), 0);
            }
        }
}

TEST(GSMemPicData, ReadFailsOnDamage)
{
    for (char const* hex : {"02 00 FF FF FF FF",                       // too new
                            "01 00 00 00 00 07 FF FF FF F8 FF FF FF FF", // negative size
                            "01 00 00 00 00 07 00 00 10 00",             // size past the end
                            "01 00 00 00 00 00 00 00 00 0E 00 02 00",    // description cut short
                            "01 00 00 00 00 03 00 00 00 02 00 02",       // byte count cut short
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
    // The largest count the field holds is taken; whether its bytes follow is the walk's concern.
    file = memoryFile(fromHex("01 00 00 00 00 03 00 00 00 06 00 02 7F FF FF FF"));
    EXPECT_EQ(data.read(file.get()), 0);
    EXPECT_EQ(data.getByteCount(), 0x7FFFFFFF);
}

} // namespace
