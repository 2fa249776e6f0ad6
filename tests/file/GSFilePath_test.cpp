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
