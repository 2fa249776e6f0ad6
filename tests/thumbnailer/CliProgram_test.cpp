// End to end: the built quillmoor-thumbnailer, run as a user would.
#include "tests/support/DocumentBuilder.h"
#include "tests/support/RunProgram.h"
#include "tests/support/ScratchFolder.h"
#include "tests/support/TempFile.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>

using namespace qmtest;

namespace {

std::string const kProgram = QM_THUMBNAILER_PROGRAM;

TEST(CliProgram, InfoAndExtractADocument)
{
    ScratchFolder folder;
    Bytes png = fakePNG(333);
    std::string doc = folder.write("picture.qmd", simpleDocument(kPicturePNG, png, 20, 10));
    ProgramRun info = runProgram(kProgram, {"info", "--json", doc});
    EXPECT_EQ(info.exitCode, 0) << info.err;
    EXPECT_EQ(info.out, "{\"file\":\"" + doc +
                            "\",\"kind\":\"document\",\"version\":512,\"thumbnail\":{\"type\":\"png\",\"bytes\":333,"
                            "\"width\":20,\"height\":10}}\n");
    // A relative name, from the document's folder.
    ProgramRun extract = runProgram(kProgram, {"extract", "picture.qmd"}, folder.path());
    EXPECT_EQ(extract.exitCode, 0) << extract.err;
    EXPECT_EQ(readFile(folder.path() + "/picture.png"), png);
}

TEST(CliProgram, FailuresGiveTheirExitCodeAndOneLine)
{
    ScratchFolder folder;
    DocumentBuilder huge;
    huge.documentID().version(0x0200).thumbnail(ThumbnailRecord().inlinePicture(kPictureJPEG, fakeJPEG(10), 0x7FFFFFFF)).endTag();
    std::string doc = folder.write("huge.qmd", huge.bytes());
    ProgramRun r = runProgram(kProgram, {"extract", doc});
    EXPECT_EQ(r.exitCode, 6);
    EXPECT_EQ(r.err, "quillmoor-thumbnailer: " + doc + ": damaged: the document is cut short\n");
    r = runProgram(kProgram, {"info", folder.path() + "/absent.qmd", doc});
    EXPECT_EQ(r.exitCode, 3);
    r = runProgram(kProgram, {"extract"});
    EXPECT_EQ(r.exitCode, 2);
    r = runProgram(kProgram, {"extract", "--help"});
    EXPECT_EQ(r.exitCode, 0);
}

// Hostile documents found so far (tests/crashers/thumbnail/): each must end cleanly, with a
// thumbnail or as damaged, never with a crash or an exhausted memory.
TEST(CliProgram, CrashersEndCleanly)
{
    ScratchFolder folder;
    std::filesystem::path crashers = std::filesystem::path(std::getenv("QM_SOURCE_DIR")) / "tests/crashers/thumbnail";
    int seen = 0;
    for (auto const& entry : std::filesystem::directory_iterator(crashers)) {
        ProgramRun r = runProgram(kProgram, {"thumbnail", entry.path().string(), folder.path() + "/out.png"});
        EXPECT_TRUE(r.exitCode == 0 || r.exitCode == 6) << entry.path() << ": " << r.exitCode << " " << r.err;
        ++seen;
    }
    EXPECT_GE(seen, 2);
}

} // namespace
