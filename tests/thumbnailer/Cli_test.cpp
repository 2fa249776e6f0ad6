// The info and extract commands, run in-process through runCli.
#include "thumbnailer/Cli.h"

#include "tests/support/DocumentBuilder.h"
#include "tests/support/ScratchFolder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <regex>
#include <sstream>

using namespace qmtest;

namespace {

struct CliRun {
    int code;
    std::string out;
    std::string err;
};

CliRun cli(std::vector<std::string> args)
{
    args.insert(args.begin(), "quillmoor-thumbnailer");
    std::vector<char const*> argv;
    for (auto const& a : args)
        argv.push_back(a.c_str());
    std::ostringstream out, err;
    int code = qm::runCli(static_cast<int>(argv.size()), argv.data(), out, err);
    return {code, out.str(), err.str()};
}

std::vector<std::string> lines(std::string const& text)
{
    std::vector<std::string> result;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        result.push_back(line);
    return result;
}

// Documents of every kind the commands tell apart, in one folder.
class CliFiles : public testing::Test {
protected:
    void SetUp() override
    {
        jpegPath = folder.write("photo.qmd", simpleDocument(kPictureJPEG, jpeg, 64, 48));
        pngPath = folder.write("drawing.qmd", simpleDocument(kPicturePNGAlternative, png, 32, 16));
        selectionPath = folder.write("part.qmd", DocumentBuilder().selectionID().version(0x0201).thumbnail(
            ThumbnailRecord().inlinePicture(kPictureJPEG, jpeg)).endTag().bytes());
        nonePath = folder.write("plain.qmd", DocumentBuilder().documentID().version(0x0200).record(20, Bytes(10, 0)).endTag().bytes());
        textPath = folder.write("notes.txt", Bytes{'h', 'e', 'l', 'l', 'o'});
        tooNewPath = folder.write("future.qmd", DocumentBuilder().documentID().version(0x0400).endTag().bytes());
        // A stored count of 2^31 - 1 in a file of well under 1 KiB.
        hugePath = folder.write("huge-count.qmd", DocumentBuilder().documentID().version(0x0200).thumbnail(
            ThumbnailRecord().description(0, 8, 8).inlinePicture(kPictureJPEG, fakeJPEG(100), 0x7FFFFFFF)).endTag().bytes());
        cutPath = folder.write("cut.qmd", DocumentBuilder().documentID().raw({3}).bytes());
    }

    ScratchFolder folder;
    Bytes jpeg = fakeJPEG(200);
    Bytes png = fakePNG(90);
    std::string jpegPath, pngPath, selectionPath, nonePath, textPath, tooNewPath, hugePath, cutPath;
};

TEST_F(CliFiles, InfoDescribesEveryKind)
{
    CliRun r = cli({"info", jpegPath, pngPath, selectionPath, nonePath, textPath, tooNewPath, hugePath, cutPath});
    EXPECT_EQ(r.code, 0);
    EXPECT_EQ(r.err, "");
    EXPECT_EQ(lines(r.out), (std::vector<std::string>{
                                jpegPath + ": document, version 2.0, jpeg thumbnail, 200 bytes, 64 x 48",
                                pngPath + ": document, version 2.0, png thumbnail, 90 bytes, 32 x 16",
                                selectionPath + ": selection, version 2.1, no thumbnail",
                                nonePath + ": document, version 2.0, no thumbnail",
                                textPath + ": unrecognised",
                                tooNewPath + ": document, version 4.0, no thumbnail (a document version this "
                                             "program does not read)",
                                hugePath + ": document, version 2.0, no thumbnail (damaged: the document is cut short)",
                                cutPath + ": document, no thumbnail (damaged: the document is cut short)",
                            }));
}

TEST_F(CliFiles, InfoJsonGivesOneObjectPerLine)
{
    CliRun r = cli({"info", "--json", jpegPath, selectionPath, textPath});
    EXPECT_EQ(r.code, 0);
    std::vector<std::string> out = lines(r.out);
    ASSERT_EQ(out.size(), 3u);
    EXPECT_EQ(out[0], "{\"file\":\"" + jpegPath +
                          "\",\"kind\":\"document\",\"version\":512,\"thumbnail\":{\"type\":\"jpeg\",\"bytes\":200,"
                          "\"width\":64,\"height\":48}}");
    auto selection = nlohmann::json::parse(out[1]);
    EXPECT_EQ(selection["kind"], "selection");
    EXPECT_EQ(selection["version"], 0x0201);
    EXPECT_TRUE(selection["thumbnail"].is_null());
    auto text = nlohmann::json::parse(out[2]);
    EXPECT_EQ(text["kind"], "unrecognised");
    EXPECT_TRUE(text["version"].is_null());
    EXPECT_TRUE(text["thumbnail"].is_null());
}

// Also a regular file that opens but cannot be read: the test's own memory, whose first page is
// never mapped.
TEST_F(CliFiles, InfoReportsFilesItCannotOpenOrReadAndGoesOn)
{
    std::string missing = folder.path() + "/missing.qmd";
    CliRun r = cli({"info", missing, jpegPath, folder.path(), "/proc/self/mem"});
    EXPECT_EQ(r.code, 3);
    EXPECT_EQ(lines(r.out).size(), 1u);
    std::vector<std::string> err = lines(r.err);
    ASSERT_EQ(err.size(), 3u);
    EXPECT_EQ(err[0], "quillmoor-thumbnailer: " + missing + ": cannot open: No such file or directory");
    EXPECT_EQ(err[1].rfind("quillmoor-thumbnailer: " + folder.path() + ": ", 0), 0u) << err[1];
    EXPECT_EQ(err[2].rfind("quillmoor-thumbnailer: /proc/self/mem: ", 0), 0u) << err[2];
}

TEST_F(CliFiles, ExtractWritesTheBytesUnchangedBesideTheDocument)
{
    CliRun r = cli({"extract", jpegPath});
    EXPECT_EQ(r.code, 0) << r.err;
    std::string expected = folder.path() + "/photo.jpg";
    EXPECT_EQ(r.out, jpegPath + ": jpeg thumbnail, 200 bytes, written to " + expected + "\n");
    EXPECT_EQ(readFile(expected), jpeg);

    r = cli({"extract", pngPath});
    EXPECT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(readFile(folder.path() + "/drawing.png"), png);

    std::string chosen = folder.path() + "/chosen.bin";
    r = cli({"extract", jpegPath, "-o", chosen});
    EXPECT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(readFile(chosen), jpeg);
    // Overwrites an existing output whole.
    r = cli({"extract", pngPath, "--output", chosen});
    EXPECT_EQ(readFile(chosen), png);
    // No temporary file is left behind.
    EXPECT_EQ((" " + folder.listing()).find(" ."), std::string::npos) << folder.listing();
}

TEST_F(CliFiles, ExtractFailuresWriteNothingAndExitByReason)
{
    struct Case {
        std::vector<std::string> args;
        int code;
        std::string file, reason;
    };
    std::string missing = folder.path() + "/missing.qmd", noFolder = folder.path() + "/no-such-folder/x.jpg";
    std::string before = folder.listing();
    // One document per exit code; which documents give which reason is the walk's business.
    for (Case const& c : {Case{{textPath}, 4, textPath, "not a Quillmoor document"},
                          Case{{selectionPath}, 5, selectionPath, "a selection file stores no picture"},
                          Case{{hugePath}, 6, hugePath, "damaged: the document is cut short"},
                          Case{{missing}, 3, missing, "cannot open: No such file or directory"},
                          Case{{jpegPath, "-o", noFolder}, 3, noFolder, "cannot write: No such file or directory"},
                          Case{{jpegPath, "-o", jpegPath}, 2, jpegPath, "the output " + jpegPath + " is the document itself"}}) {
        std::vector<std::string> args = c.args;
        args.insert(args.begin(), "extract");
        CliRun r = cli(args);
        EXPECT_EQ(r.code, c.code) << c.file;
        EXPECT_EQ(r.out, "");
        EXPECT_EQ(r.err, "quillmoor-thumbnailer: " + c.file + ": " + c.reason + "\n");
    }
    EXPECT_EQ(folder.listing(), before);
    EXPECT_EQ(readFile(jpegPath), simpleDocument(kPictureJPEG, jpeg, 64, 48));
}

TEST(CliUsage, WrongUsageExitsTwoAndHelpExitsZero)
{
    for (std::vector<std::string> args : {std::vector<std::string>{}, {"frobnicate"}, {"info"}, {"extract"},
                                          {"extract", "a", "b"}, {"info", "--jsn", "a"}, {"extract", "a", "-o"}}) {
        CliRun r = cli(args);
        EXPECT_EQ(r.code, 2) << testing::PrintToString(args);
        EXPECT_NE(r.err, "") << testing::PrintToString(args);
    }
    for (std::vector<std::string> args : {std::vector<std::string>{"--help"}, {"info", "--help"}, {"extract", "--help"}}) {
        CliRun r = cli(args);
        EXPECT_EQ(r.code, 0) << testing::PrintToString(args);
        EXPECT_NE(r.out.find("Usage"), std::string::npos) << r.out;
    }
}

// The version printed is the one the build declares in project(VERSION), read here from the
// source itself.
TEST(CliUsage, VersionIsTheProjectsVersion)
{
    std::string lists = readText(std::string(QM_SOURCE_DIR) + "/CMakeLists.txt");
    std::smatch m;
    ASSERT_TRUE(std::regex_search(lists, m, std::regex(R"(project\(quillmoor VERSION ([0-9.]+))")));
    for (std::vector<std::string> args : {std::vector<std::string>{"--version"}, {"--version", "info"}}) {
        CliRun r = cli(args);
        EXPECT_EQ(r.code, 0);
        EXPECT_EQ(r.out, "quillmoor-thumbnailer " + std::string(m[1]) + "\n");
        EXPECT_EQ(r.err, "");
    }
}

TEST(CliExitCodes, EveryReasonHasItsCode)
{
    using R = GSThumbnailReason;
    std::vector<std::pair<R, int>> table = {
        {R::kOk, 0},           {R::kCannotOpen, 3},        {R::kReadError, 3},
        {R::kNotADocument, 4}, {R::kUnsupportedVersion, 4}, {R::kSelection, 5},
        {R::kNoPicture, 5},    {R::kUnsupportedPictureType, 5}, {R::kUnsupportedThumbnailVersion, 4},
        {R::kTruncated, 6},    {R::kInconsistent, 6},      {R::kDuplicateObjectTable, 6},
        {R::kLimitExceeded, 6}, {R::kOutOfMemory, 3},      {R::kObjectTableUnreadable, 6}};
    for (auto [reason, code] : table)
        EXPECT_EQ(qm::exitCodeFor(reason), code) << static_cast<int>(reason);
}

} // namespace
