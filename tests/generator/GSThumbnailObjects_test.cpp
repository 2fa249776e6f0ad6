// The thumbnail walk over every object-shaped document: tables of both kinds right after the
// version (0x0302) or in record 11 (0x0200), descriptions as GSMemPicData or GSSystemPicData
// objects, by reference, missing from the table, of an unknown class, and a second table record.
#include "generator/GSGetThumbnail.h"
#include "generator/GSMemPicData.h"
#include "gs/object/GSExceptions.h"
#include "gs/object/GSRuntimeClass.h"
#include "tests/generator/ThumbnailTestSupport.h"
#include "tests/support/Hex.h"
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

TEST(ObjectDocumentGetThumbnail, SecondTableRecordThrowsBadFile)
{
    ObjectDocument twice = doc(0x0200, true, ObjectShape::kFull);
    twice.secondTable = true;
    TempFile temp(twice.build());
    GSDynaArray<unsigned char> bytes(8, -100);
    short type = 0, variant = 0;
    GSTSize<int> size;
    EXPECT_THROW(GSGetThumbnail(GSFileSpec(GSString(temp.path().c_str())), &bytes, &type, &variant, &size), bad_file);
}

TEST(ObjectDocumentGetThumbnail, ObjectFormMatchesTheInlineForm)
{
    TempFile temp(doc(0x0302, true, ObjectShape::kFull).build());
    GSDynaArray<unsigned char> bytes(8, -100);
    short type = 0, variant = 0;
    GSTSize<int> size;
    EXPECT_EQ(GSGetThumbnail(GSFileSpec(GSString(temp.path().c_str())), &bytes, &type, &variant, &size), 0);
    EXPECT_EQ(type, kPictureJPEG);
    EXPECT_EQ(variant, 1);
    EXPECT_EQ(bytes.getCount(), 300);
}

TEST(GSMemPicDataRegistration, BothPictureClassesAreCreatableByName)
{
    GSRuntimeClass* mem = GSRuntimeClass::getRuntimeClassForName(GSString("GSMemPicData"));
    GSRuntimeClass* system = GSRuntimeClass::getRuntimeClassForName(GSString("GSSystemPicData"));
    ASSERT_EQ(mem, &GSMemPicData::gsClassGSMemPicData);
    ASSERT_EQ(system, &GSSystemPicData::gsClassGSSystemPicData);
    EXPECT_EQ(mem->getParent(), &GSObject::gsClassGSObject);
    EXPECT_EQ(system->getParent(), mem);
    for (char const* name : {"GSMemPicData", "GSSystemPicData"}) {
        GSObject* o = GSRuntimeClass::createObjectForName(GSString(name));
        ASSERT_NE(o, nullptr);
        EXPECT_EQ(o->getRefCount(), 0);
        EXPECT_TRUE(o->isMemberOfRuntimeClass(GSMemPicData::gsClassGSMemPicData));
        EXPECT_EQ(o->isKindOfRuntimeClass(GSMemPicData::gsClassGSMemPicData), std::string(name) == "GSMemPicData");
        EXPECT_EQ(static_cast<GSMemPicData*>(o)->getByteCount(), 0);
        delete o;
    }
}

TEST(ObjectDocumentsBuilder, StringsAndTablesMatchGoldenBytes)
{
    ByteWriter classic, compact, empty;
    writeString(classic, Framing::kClassic, "GSMemPicData");
    writeString(compact, Framing::kCompact, "GSMemPicData");
    writeString(empty, Framing::kClassic, "");
    std::string name = "47 53 4D 65 6D 50 69 63 44 61 74 61 00";
    EXPECT_EQ(toHex(classic.bytes()), "FF 9B 00 00 00 0D " + name);
    EXPECT_EQ(toHex(compact.bytes()), "64 0D " + name);
    EXPECT_EQ(toHex(empty.bytes()), "00 00");

    for (bool wide : {false, true}) {
        ByteWriter out;
        ObjectTableWriter table(wide);
        out.u8(0xAA);
        table.writeHeader(out);
        table.add(static_cast<int64_t>(out.size()));
        out.u8(1);
        table.add(-1);
        table.writeDirectory(out);
        EXPECT_EQ(toHex(out.bytes()), wide ? "AA 02 00 00 00 00 00 00 00 00 01 01 00 00 00 02 0B 40"
                                           : "AA 01 00 00 00 00 01 01 00 00 00 02 00 00 00 07 FF FF FF FF");
    }
}
