#include "gs/file/GSFile.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

namespace {

std::string str(GSString const& s) { return s.c_str(); }

} // namespace

TEST(GSFilePath, ComponentsExtensionsAndDividers)
{
    struct Case {
        char const* path;
        char const* filename;
        char const* extender;
        char const* withoutExtender;
        bool trailing;
        char const* withDivider;
        char const* withoutDivider;
    } const cases[] = {
        {"/a/b.c/pic.jpg", "pic.jpg", ".jpg", "/a/b.c/pic", false, "/a/b.c/pic.jpg/", "/a/b.c/pic.jpg"},
        {"/a/b.c/", "", "", "/a/b.c/", true, "/a/b.c/", "/a/b.c"},
        {"/a/b//", "", "", "/a/b//", true, "/a/b//", "/a/b"},
        {"/", "", "", "/", true, "/", "/"},
        {"//", "", "", "//", true, "//", "/"},
        {"name", "name", "", "name", false, "name/", "name"},
        {"", "", "", "", false, "", ""},
    };
    for (auto const& c : cases) {
        GSString const path(c.path);
        EXPECT_EQ(str(GSFile::getFilename(path)), c.filename) << c.path;
        EXPECT_EQ(str(GSFile::getFileExtender(path)), c.extender) << c.path;
        EXPECT_EQ(str(GSFile::changeFileExtender(path, GSString())), c.withoutExtender) << c.path;
        EXPECT_EQ(GSFile::hasTrailingPathDivider(path), c.trailing) << c.path;
        EXPECT_EQ(str(GSFile::addPathDividerIfNeeded(path)), c.withDivider) << c.path;
        EXPECT_EQ(str(GSFile::removePathDividerIfNeeded(path)), c.withoutDivider) << c.path;
    }
    EXPECT_EQ(str(GSFile::changeFileExtender(GSString("/x/a.b"), GSString(".qmd"))), "/x/a.qmd");
    EXPECT_EQ(str(GSFile::changeFileExtender(GSString("/x.y/a"), GSString(".qmd"))), "/x.y/a.qmd");
}

TEST(GSFilePath, CurrentDirectoryEndsWithADivider)
{
    std::string const expected = std::filesystem::current_path().string();
    EXPECT_EQ(str(GSFile::getCurrentDirectory()), expected == "/" ? expected : expected + "/");
}

TEST(GSFilePath, FoldersSiblingsAndExtensionsOfWholePaths)
{
    struct Case {
        char const* path;
        char const* folder;          // getPathname
        char const* withoutExtender; // getPathnameWithoutExtender
        char const* fileAsPng;       // getFileWithExtender(path, ".png")
        char const* sibling;         // getPathnameWithFilename(path, "x.qmd")
    } const cases[] = {
        {"/a/b.c/pic.jpg", "/a/b.c/", "/a/b.c/pic", "pic.png", "/a/b.c/x.qmd"},
        {"/a/b.c/", "/a/b.c/", "/a/b.c/", ".png", "/a/b.c/x.qmd"},
        {"/a.b", "/", "/a", "a.png", "/x.qmd"},
        {"name.tar.gz", "", "name.tar", "name.tar.png", "x.qmd"},
        {"", "", "", ".png", "x.qmd"},
    };
    for (auto const& c : cases) {
        GSString const path(c.path);
        EXPECT_EQ(str(GSFile::getPathname(path)), c.folder) << c.path;
        EXPECT_EQ(str(GSFile::getPathnameWithoutExtender(path)), c.withoutExtender) << c.path;
        EXPECT_EQ(str(GSFile::getFileWithExtender(path, GSString(".png"))), c.fileAsPng) << c.path;
        EXPECT_EQ(str(GSFile::getPathnameWithFilename(path, GSString("x.qmd"))), c.sibling) << c.path;
    }
    for (char const* folder : {"/a", "/a/"})
        EXPECT_EQ(str(GSFile::addFilenameToPathname(GSString(folder), GSString("n"))), "/a/n") << folder;
    EXPECT_EQ(str(GSFile::addFilenameToPathname(GSString(), GSString("n"))), "n");
}

TEST(GSFilePath, SettingTheCurrentDirectoryIsSeenByGettingIt)
{
    std::filesystem::path const before = std::filesystem::current_path();
    std::filesystem::path const temp = std::filesystem::canonical(std::filesystem::temp_directory_path());
    ASSERT_EQ(GSFile::setCurrentDirectory(GSString(temp.c_str())), 0);
    EXPECT_EQ(str(GSFile::getCurrentDirectory()), temp.string() == "/" ? "/" : temp.string() + "/");
    EXPECT_EQ(GSFile::setCurrentDirectory(GSString((temp / "no such folder here").c_str())), 1);
    EXPECT_EQ(std::filesystem::current_path(), temp);
    ASSERT_EQ(GSFile::setCurrentDirectory(GSString(before.c_str())), 0);
}
