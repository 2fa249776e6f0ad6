// End to end: quillmoor-thumbnailer on documents whose thumbnail is a serialised object.
#include "tests/support/ObjectDocuments.h"
#include "tests/support/RunProgram.h"
#include "tests/support/TempFile.h"

#include <gtest/gtest.h>

using namespace qmtest;

namespace {

std::string const kProgram = QM_THUMBNAILER_PROGRAM;

TEST(CliProgramObjects, CompactDocumentWithAnObjectThumbnail)
{
    TempFolder folder;
    ObjectDocument d;
    d.picture = fakePNG(500);
    d.pictureType = kPicturePNG;
    d.width = 30;
    d.height = 20;
    std::string doc = folder.write("objects.qmd", d.build());
    ProgramRun info = runProgram(kProgram, {"info", "--json", doc});
    EXPECT_EQ(info.exitCode, 0) << info.err;
    EXPECT_NE(info.out.find("\"version\":770"), std::string::npos) << info.out;
    EXPECT_NE(info.out.find("\"type\":\"png\",\"bytes\":500,\"width\":30,\"height\":20"), std::string::npos) << info.out;
    ProgramRun extract = runProgram(kProgram, {"extract", "objects.qmd"}, folder.path());
    EXPECT_EQ(extract.exitCode, 0) << extract.err;
    EXPECT_EQ(readFile(folder.path() + "/objects.png"), d.picture);
}

TEST(CliProgramObjects, SecondObjectTableIsReportedAsDamaged)
{
    TempFolder folder;
    ObjectDocument d;
    d.version = 0x0200;
    d.secondTable = true;
    std::string doc = folder.write("twice.qmd", d.build());
    // info describes the document (exit 0 unless it cannot be read); extract fails with exit 6.
    ProgramRun info = runProgram(kProgram, {"info", doc});
    EXPECT_EQ(info.exitCode, 0) << info.err;
    EXPECT_EQ(info.out, doc + ": document, version 2.0, no thumbnail (damaged: the document has two object tables)\n");
    ProgramRun extract = runProgram(kProgram, {"extract", doc}, folder.path());
    EXPECT_EQ(extract.exitCode, 6);
    EXPECT_EQ(extract.err, "quillmoor-thumbnailer: " + doc + ": damaged: the document has two object tables\n");
}

} // namespace
