// The thumbnail walk over every object-shaped document: tables of both kinds right after the
// version (0x0302) or in record 11 (0x0200), descriptions as GSMemPicData or GSSystemPicData
// objects, by reference, missing from the table, of an unknown class, and a second table record.
#include "tests/support/ThumbnailWalkRun.h"
#include "tests/support/ObjectDocuments.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

using namespace qmtest;

namespace {

struct Shape {
    char const* name;
    ObjectDocument document;
    GSThumbnailReason reason;
};

ObjectDocument doc(int version, bool longPositions, ObjectShape shape)
{
    ObjectDocument d;
    d.version = version;
    d.longPositions = longPositions;
    d.shape = shape;
    return d;
}

std::vector<Shape> shapes()
{
    ObjectDocument png = doc(0x0302, true, ObjectShape::kFull);
    png.pictureType = kPicturePNGAlternative;
    png.picture = fakePNG(1000);
    ObjectDocument twice = doc(0x0200, true, ObjectShape::kFull);
    twice.secondTable = true;
    return {
        {"V0302Compact", doc(0x0302, true, ObjectShape::kFull), GSThumbnailReason::kOk},
        {"V0302Classic", doc(0x0302, false, ObjectShape::kFull), GSThumbnailReason::kOk},
        {"V0302SystemPicData", doc(0x0302, true, ObjectShape::kSystemPicData), GSThumbnailReason::kOk},
        {"V0302ByReference", doc(0x0302, true, ObjectShape::kByReference), GSThumbnailReason::kOk},
        {"V0302ClassicByReference", doc(0x0302, false, ObjectShape::kByReference), GSThumbnailReason::kOk},
        {"V0302Png5", png, GSThumbnailReason::kOk},
        {"V0200Record11Compact", doc(0x0200, true, ObjectShape::kFull), GSThumbnailReason::kOk},
        {"V0200Record11Classic", doc(0x0200, false, ObjectShape::kFull), GSThumbnailReason::kOk},
        {"V0200ByReference", doc(0x0200, true, ObjectShape::kByReference), GSThumbnailReason::kOk},
        {"NotListed", doc(0x0302, true, ObjectShape::kNotListed), GSThumbnailReason::kInconsistent},
        {"UnknownClass", doc(0x0302, true, ObjectShape::kUnknownClass), GSThumbnailReason::kInconsistent},
        {"SecondTableRecord", twice, GSThumbnailReason::kDuplicateObjectTable},
    };
}

class ObjectDocumentShapes : public ::testing::TestWithParam<std::tuple<Shape, Backend>> {};

} // namespace

TEST_P(ObjectDocumentShapes, WalkFindsThePictureOrSaysWhy)
{
    auto const& [shape, backend] = GetParam();
    WalkRun run = runWalk(shape.document.build(), backend);
    EXPECT_EQ(run.result.reason, shape.reason) << GSThumbnailReasonText(run.result.reason);
    if (shape.reason != GSThumbnailReason::kOk) {
        EXPECT_EQ(run.buffer.getCount(), 0);
        return;
    }
    EXPECT_EQ(run.picture(), shape.document.picture);
    EXPECT_EQ(run.result.pictureType, shape.document.pictureType == kPicturePNGAlternative ? kPicturePNG
                                                                                           : shape.document.pictureType);
    EXPECT_EQ(run.result.size.width, shape.document.width);
    EXPECT_EQ(run.result.size.height, shape.document.height);
    if (backend == Backend::kMemory && shape.document.longPositions) {
        // A table of the newer kind, or records 14 and 15, switch both float formats on.
        EXPECT_EQ(run.flags & 0xC0u, 0xC0u);
    }
}

INSTANTIATE_TEST_SUITE_P(Shapes, ObjectDocumentShapes,
                         ::testing::Combine(::testing::ValuesIn(shapes()),
                                            ::testing::Values(Backend::kMemory, Backend::kDisk)),
                         [](auto const& p) {
                             return std::string(std::get<0>(p.param).name) + backendName(std::get<1>(p.param));
                         });
