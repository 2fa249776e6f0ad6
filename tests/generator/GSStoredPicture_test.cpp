#include "generator/GSStoredPicture.h"

#include "tests/support/DocumentBuilder.h"
#include "tests/support/TempFile.h"

#include <gtest/gtest.h>

using qmtest::Bytes;

namespace {

struct KindCase {
    char const* name;
    int storedType;
    GSStoredPictureKind kind;
    short reportedType;
};

class StoredPictureKind : public testing::TestWithParam<KindCase> {};

TEST_P(StoredPictureKind, FollowsTheStoredType)
{
    KindCase const& c = GetParam();
    Bytes picture = c.storedType == qmtest::kPictureJPEG ? qmtest::fakeJPEG(40) : qmtest::fakePNG(40);
    qmtest::TempFile file(qmtest::simpleDocument(c.storedType, picture, 33, 22));
    GSDynaArray<unsigned char> bytes = GSMakePictureBuffer();
    GSStoredPicture stored;
    EXPECT_EQ(GSReadStoredPicture(GSFileSpec(GSString(file.path().c_str())), &bytes, &stored), 0);
    EXPECT_EQ(stored.kind, c.kind);
    EXPECT_EQ(stored.pictureType, c.reportedType);
    EXPECT_EQ(stored.variant, 1);
    EXPECT_EQ(stored.size, (GSTSize<int>{33, 22}));
    if (c.kind != GSStoredPictureKind::none) {
        EXPECT_EQ(Bytes(bytes.getPointer(), bytes.getPointer() + bytes.getCount()), picture);
    }
}

INSTANTIATE_TEST_SUITE_P(Types, StoredPictureKind, testing::Values(
    KindCase{"Jpeg", 2, GSStoredPictureKind::jpeg, 2},
    KindCase{"Png", 3, GSStoredPictureKind::png, 3},
    KindCase{"OlderPng", 5, GSStoredPictureKind::png, 3},
    KindCase{"Unknown", 4, GSStoredPictureKind::none, 0},  // refused: the type is not reported
    KindCase{"Zero", 0, GSStoredPictureKind::none, 0}
),
    [](testing::TestParamInfo<KindCase> const& p) { return std::string(p.param.name); });

TEST(StoredPicture, NothingWithoutAPictureButTheFileOpened)
{
    qmtest::DocumentBuilder selection;
    selection.selectionID().version(0x0200);
    selection.thumbnail(qmtest::ThumbnailRecord().inlinePicture(2, qmtest::fakeJPEG(40))).endTag();
    qmtest::DocumentBuilder empty;
    empty.documentID().version(0x0200).endTag();
    for (Bytes const& document : {selection.bytes(), empty.bytes(), qmtest::simpleDocument(2, Bytes{})}) {
        qmtest::TempFile file(document);
        GSDynaArray<unsigned char> bytes = GSMakePictureBuffer();
        GSStoredPicture stored;
        EXPECT_EQ(GSReadStoredPicture(GSFileSpec(GSString(file.path().c_str())), &bytes, &stored), 0);
        EXPECT_EQ(stored.kind, GSStoredPictureKind::none);
    }
}

TEST(StoredPicture, AMissingFileIsAnOpenFailure)
{
    qmtest::TempFolder folder;
    GSDynaArray<unsigned char> bytes = GSMakePictureBuffer();
    GSStoredPicture stored;
    stored.kind = GSStoredPictureKind::png;
    EXPECT_NE(GSReadStoredPicture(GSFileSpec(GSString((folder.path() + "/none.qmd").c_str())), &bytes, &stored), 0);
    EXPECT_EQ(stored.kind, GSStoredPictureKind::none);
    EXPECT_TRUE(bytes.isEmpty());
}

TEST(StoredPicture, BufferStartsWithRoomForEightAndDoubles)
{
    GSDynaArray<unsigned char> bytes = GSMakePictureBuffer();
    EXPECT_EQ(bytes.getCount(), 0);
    EXPECT_EQ(bytes.getCapacity(), 8);
    EXPECT_EQ(bytes.getGrowth(), -100);
}

} // namespace
