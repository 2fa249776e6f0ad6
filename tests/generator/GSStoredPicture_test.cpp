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

TEST(StoredPicture, NoneWithoutAPictureAndAnOpenFailureWithoutAFile)
{
    // A zero count: the type was read, but there are no bytes to decode.
    qmtest::TempFile file(qmtest::simpleDocument(2, Bytes{}));
    for (std::string path : {file.path(), file.path() + ".missing"}) {
        GSDynaArray<unsigned char> bytes = GSMakePictureBuffer();
        GSStoredPicture stored;
        stored.kind = GSStoredPictureKind::png;
        short status = GSReadStoredPicture(GSFileSpec(GSString(path.c_str())), &bytes, &stored);
        EXPECT_EQ(status != 0, path != file.path());
        EXPECT_EQ(stored.kind, GSStoredPictureKind::none);
        EXPECT_TRUE(bytes.isEmpty());
    }
}

} // namespace
