#include "gs/filespec/GSURL.h"

#include "tests/filespec/URLTestSupport.h"

#include <gtest/gtest.h>

#include <string>
#include <sys/stat.h>
#include <unistd.h>

using qmtest::isFolderURL;
using qmtest::pathOf;
using qmtest::ScratchFolder;

namespace {

// A platform object that is not a URL: every function takes it for null.
class NotAURL final : public GSPlatformObject {};

GSString bytes(std::string const& s, int encoding = GSString::kUTF8)
{
    return GSString(s.data(), static_cast<long>(s.size()), encoding);
}

} // namespace

TEST(GSURLPaths, MakingURLsFromPathTexts)
{
    std::string const cwd = std::filesystem::current_path().string();
    struct Case {
        std::string path;
        short isDirectory;
        char const* expected; // null: no URL
        bool folder;
    } const cases[] = {
        {"", 0, nullptr, false},
        {"/usr/share/doc", 0, "/usr/share/doc", false},
        {"/usr/share/doc", 1, "/usr/share/doc", true},
        {"/usr/share/doc", 2, "/usr/share/doc", false}, // only 1 asks for a folder
        {"/a//b/./c/../d/", 0, "/a/b/d", false},
        {"file:///tmp/x%20y", 0, "/tmp/x y", false},
        {"file://localhost/tmp/caf%C3%A9/", 0, "/tmp/caf\xC3\xA9", true},
        {"file:///tmp/q?query#fragment", 0, "/tmp/q", false},
        {"file:///tmp/bad%2", 0, nullptr, false},
        {"file:///tmp/bad%zz", 0, nullptr, false},
        {"file:///tmp/nul%00byte", 0, nullptr, false},
        {"file://server/share", 0, nullptr, false},
        {"file://", 0, nullptr, false},
        {"FILE:///x", 0, "", false}, // the scheme is case-sensitive: a relative path
        {std::string("/tmp/a\0b", 8), 0, nullptr, false},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.path);
        GSIdPointer url;
        url = GSURLCreateWithFilePath(bytes(c.path), c.isDirectory, 0);
        ASSERT_EQ(url.isNull(), c.expected == nullptr);
        if (c.expected) {
            EXPECT_EQ(pathOf(url.get()), *c.expected ? c.expected : cwd + "/FILE:/x");
            EXPECT_EQ(isFolderURL(url.get()), c.folder);
        }
    }
    // Code-page text reaches the file system as UTF-8 ("é" is 0x8E in the Mac code page).
    GSIdPointer mac;
    mac = GSURLCreateWithFilePath(bytes("/tmp/caf\x8E", GSString::kMac), 0, 0);
    EXPECT_EQ(pathOf(mac.get()), "/tmp/caf\xC3\xA9");
}

// Parents and last components up to the root, which has no parent.
TEST(GSURLPaths, WalkingUpToTheRoot)
{
    GSIdPointer url = qmtest::urlFor("/one/two/three.txt");
    for (std::string p : {"/one/two/three.txt", "/one/two", "/one", "/"}) {
        ASSERT_EQ(pathOf(url.get()), p);
        EXPECT_EQ(GSURLGetLastPathComponent(url.get()), GSString(p == "/" ? "/" : p.substr(p.rfind('/') + 1).c_str()));
        EXPECT_EQ(GSURLIsRoot(url.get()), p == "/");
        GSIdPointer above;
        above = GSURLCreateByDeletingLastPathComponent(url.get());
        EXPECT_TRUE(isFolderURL(above.get()));
        url = GSURLCreateParentURL(url.get());
    }
    EXPECT_TRUE(url.isNull());
}

TEST(GSURLPaths, AppendingNames)
{
    ScratchFolder dir;
    mkdir((dir / "sub").c_str(), 0755);
    symlink("sub", (dir / "link").c_str());
    GSIdPointer folder = qmtest::urlFor(dir.path(), 1);
    struct Case {
        char const* name;
        char const* path; // below the scratch folder; null: no URL
        bool folder;
    } const cases[] = {
        {"", nullptr, false},         {"file.txt", "/file.txt", false},
        {"sub", "/sub", true},        {"link", "/link", false}, // a link to a folder is none
        {"new/", "/new", true},       {"sub/in name", "/sub/in name", false},
    };
    for (auto const& c : cases) {
        GSIdPointer url;
        url = GSURLCreateByAppending(folder.get(), GSString(c.name));
        ASSERT_EQ(url.isNull(), c.path == nullptr) << c.name;
        if (c.path) {
            EXPECT_EQ(pathOf(url.get()), dir.path() + c.path);
            EXPECT_EQ(isFolderURL(url.get()), c.folder) << c.name;
        }
    }
}

// Names in any bytes go to the file system and come back unchanged, tagged UTF-8 when they are.
TEST(GSURLPaths, NamesInAnyBytes)
{
    std::pair<std::string, int> const names[] = {{"with space", GSString::kUTF8},
        {"caf\xC3\xA9 \xE6\x97\xA5", GSString::kUTF8}, {"latin1 \xE9\xFF", GSString::kNoTables}, {"\x80", GSString::kNoTables}};
    for (auto const& [name, encoding] : names) {
        SCOPED_TRACE(name);
        GSIdPointer url, again;
        url = GSURLCreateWithFilePath(bytes("/tmp/" + name), 0, 0);
        GSString last = GSURLGetLastPathComponent(url.get());
        EXPECT_EQ(std::string(last.c_str()), name);
        EXPECT_EQ(last.getEncoding(), encoding);
        again = GSURLCreateWithFilePath(GSURLGetPathname(url.get()), 0, 0);
        EXPECT_TRUE(GSURLIsEqual(url.get(), again.get()));
    }
}

// resolveParent resolves links in the folder part only: a link as the last component is kept.
TEST(GSURLPaths, ResolvingTheFolderPart)
{
    ScratchFolder dir;
    mkdir((dir / "real").c_str(), 0755);
    symlink("real", (dir / "via").c_str());
    std::string const real = std::filesystem::canonical(dir.path()).string();
    std::pair<std::string, std::string> const cases[] = {
        {dir / "via/file", real + "/real/file"}, {dir / "via", real + "/via"}, {dir / "missing/x", dir / "missing/x"}};
    for (auto const& [path, expected] : cases) {
        GSIdPointer resolved, kept;
        resolved = GSURLCreateWithFilePath(GSString(path.c_str()), 0, 1);
        kept = GSURLCreateWithFilePath(GSString(path.c_str()), 0, 0);
        EXPECT_EQ(pathOf(resolved.get()), expected);
        EXPECT_EQ(pathOf(kept.get()), path);
    }
}

TEST(GSURLPaths, EqualityAndReferencesThatAreNotURLs)
{
    GSIdPointer a = qmtest::urlFor("/x/y"), folder = qmtest::urlFor("/x/y", 1), other;
    GSIdPointer b;
    b = GSURLCreateWithFilePath(GSString("file:///x/y"), 0, 0);
    other = new NotAURL;
    EXPECT_TRUE(GSURLIsEqual(a.get(), b.get()));
    EXPECT_FALSE(GSURLIsEqual(a.get(), folder.get()));
    EXPECT_FALSE(GSURLIsEqual(a.get(), nullptr));
    EXPECT_FALSE(GSURLIsEqual(nullptr, a.get()));
    EXPECT_TRUE(GSURLIsEqual(nullptr, nullptr));
    EXPECT_TRUE(GSURLIsEqual(other.get(), nullptr));
    EXPECT_TRUE(GSURLGetPathname(other.get()).isEmpty());
    EXPECT_TRUE(GSURLGetLastPathComponent(other.get()).isEmpty());
    EXPECT_FALSE(GSURLIsRoot(other.get()));
    EXPECT_EQ(GSURLCreateParentURL(other.get()), nullptr);
    EXPECT_EQ(GSURLCreateByAppending(other.get(), GSString("x")), nullptr);
}
