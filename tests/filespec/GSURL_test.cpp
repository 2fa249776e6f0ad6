#include "gs/filespec/GSURL.h"

#include "gs/object/GSIdPointer.h"
#include "gs/platform/GSPlatformURL.h"
#include "tests/support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <sys/stat.h>
#include <string>
#include <unistd.h>

using qmtest::ScratchFolder;

namespace {

std::string pathOf(void const* url) { return GSURLGetPathname(url).c_str(); }

// A platform object that is not a URL: every function takes it for null.
class NotAURL final : public GSPlatformObject {
public:
    static NotAURL* create() { return new NotAURL; }
};

GSString bytes(std::string const& s, int encoding = GSString::kUTF8)
{
    return GSString(s.data(), static_cast<long>(s.size()), encoding);
}

} // namespace

TEST(GSURLPaths, MakingURLsFromPathTexts)
{
    struct Case {
        char const* path;
        short isDirectory;
        char const* expected; // null: no URL
        bool folder;
    };
    Case const cases[] = {
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
        // The scheme is compared case-sensitively: this is a relative file path.
        {"FILE:///tmp/x", 0, "*relative", false},
        {"/", 0, "/", false},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.path);
        GSIdPointer url;
        url = GSURLCreateWithFilePath(GSString(c.path), c.isDirectory, 0);
        if (!c.expected) {
            EXPECT_TRUE(url.isNull());
            continue;
        }
        ASSERT_FALSE(url.isNull());
        if (std::string(c.expected) == "*relative") {
            char cwd[4096];
            ASSERT_NE(getcwd(cwd, sizeof cwd), nullptr);
            EXPECT_EQ(pathOf(url.get()), std::string(cwd) + "/FILE:/tmp/x");
            continue;
        }
        EXPECT_EQ(pathOf(url.get()), c.expected);
        EXPECT_EQ(static_cast<GSPlatformURL const*>(url.get())->isDirectory(), c.folder);
    }
}

// Parents, roots and last components walk up to the root and stop there; every step's last
// component is the text after the step's last divider.
TEST(GSURLPaths, WalkingUpToTheRoot)
{
    GSIdPointer url;
    url = GSURLCreateWithFilePath(GSString("/one/two/three.txt"), 0, 0);
    char const* const expected[] = {"/one/two/three.txt", "/one/two", "/one", "/"};
    for (char const* path : expected) {
        ASSERT_FALSE(url.isNull());
        std::string p = path;
        EXPECT_EQ(pathOf(url.get()), p);
        std::string last = p == "/" ? p : p.substr(p.rfind('/') + 1);
        EXPECT_EQ(GSURLGetLastPathComponent(url.get()), GSString(last.c_str()));
        EXPECT_EQ(GSURLIsRoot(url.get()), p == "/");
        GSIdPointer parent;
        parent = GSURLCreateParentURL(url.get());
        url = parent;
    }
    EXPECT_TRUE(url.isNull());

    GSIdPointer root;
    root = GSURLCreateWithFilePath(GSString("/"), 1, 0);
    GSIdPointer above;
    above = GSURLCreateByDeletingLastPathComponent(root.get());
    EXPECT_TRUE(GSURLIsEqual(above.get(), root.get()));
}

TEST(GSURLPaths, AppendingNames)
{
    ScratchFolder dir;
    ASSERT_EQ(mkdir((dir / "sub").c_str(), 0755), 0);
    ASSERT_EQ(symlink("sub", (dir / "link").c_str()), 0);
    GSIdPointer folder;
    folder = GSURLCreateWithFilePath(GSString(dir.path().c_str()), 1, 0);
    struct Case {
        char const* name;
        char const* path; // below the scratch folder; null: no URL
        bool folder;
    };
    Case const cases[] = {
        {"", nullptr, false},
        {"file.txt", "/file.txt", false},
        {"sub", "/sub", true},           // an existing folder gives a folder URL
        {"link", "/link", false},        // a link to one does not
        {"new/", "/new", true},          // a trailing divider asks for one
        {"sub/inner name", "/sub/inner name", false},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.name);
        GSIdPointer url;
        url = GSURLCreateByAppending(folder.get(), GSString(c.name));
        if (!c.path) {
            EXPECT_TRUE(url.isNull());
            continue;
        }
        ASSERT_FALSE(url.isNull());
        EXPECT_EQ(pathOf(url.get()), dir.path() + c.path);
        EXPECT_EQ(static_cast<GSPlatformURL const*>(url.get())->isDirectory(), c.folder);
    }
    EXPECT_EQ(GSURLCreateByAppending(nullptr, GSString("x")), nullptr);
}

// Names in any bytes reach the file system unchanged and come back unchanged; text in a code page
// is converted to UTF-8 on the way.
TEST(GSURLPaths, NamesInAnyBytes)
{
    std::string const names[] = {"plain", "with space", "caf\xC3\xA9", "\xE6\x97\xA5\xE6\x9C\xAC", "latin1 \xE9\xFF", "\x80"};
    for (std::string const& name : names) {
        SCOPED_TRACE(name);
        int encoding = GSString::isMemoryUTF8(reinterpret_cast<unsigned char const*>(name.data()), static_cast<long>(name.size()))
            ? GSString::kUTF8 : GSString::kNoTables;
        GSIdPointer url;
        url = GSURLCreateWithFilePath(bytes("/tmp/" + name), 0, 0);
        ASSERT_FALSE(url.isNull());
        GSString last = GSURLGetLastPathComponent(url.get());
        EXPECT_EQ(std::string(last.c_str()), name);
        EXPECT_EQ(last.getEncoding(), encoding);
        GSIdPointer again;
        again = GSURLCreateWithFilePath(GSURLGetPathname(url.get()), 0, 0);
        EXPECT_TRUE(GSURLIsEqual(url.get(), again.get()));
    }
    // "é" in the Mac code page is byte 0x8E; the file system gets its UTF-8 form.
    GSIdPointer mac;
    mac = GSURLCreateWithFilePath(bytes("/tmp/caf\x8E", GSString::kMac), 0, 0);
    EXPECT_EQ(pathOf(mac.get()), "/tmp/caf\xC3\xA9");
    // A zero byte inside a path is no path.
    EXPECT_EQ(GSURLCreateWithFilePath(bytes(std::string("/tmp/a\0b", 8)), 0, 0), nullptr);
}

// resolveParent resolves links in the folder part only: a link as the last component is kept.
TEST(GSURLPaths, ResolvingTheFolderPart)
{
    ScratchFolder dir;
    ASSERT_EQ(mkdir((dir / "real").c_str(), 0755), 0);
    ASSERT_EQ(symlink("real", (dir / "via").c_str()), 0);
    std::string real;
    {
        char* r = realpath(dir.path().c_str(), nullptr);
        real = r;
        free(r);
    }
    struct Case {
        std::string path;
        short resolve;
        std::string expected;
    };
    Case const cases[] = {
        {dir / "via/file", 1, real + "/real/file"},
        {dir / "via/file", 0, dir / "via/file"},
        {dir / "via", 1, real + "/via"},
        {dir / "missing/file", 1, dir / "missing/file"},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.path);
        GSIdPointer url;
        url = GSURLCreateWithFilePath(GSString(c.path.c_str()), 0, c.resolve);
        EXPECT_EQ(pathOf(url.get()), c.expected);
    }
}

TEST(GSURLPaths, EqualityAndReferencesThatAreNotURLs)
{
    GSIdPointer a, b, folder, other;
    a = GSURLCreateWithFilePath(GSString("/x/y"), 0, 0);
    b = GSURLCreateWithFilePath(GSString("file:///x/y"), 0, 0);
    folder = GSURLCreateWithFilePath(GSString("/x/y"), 1, 0);
    other = NotAURL::create();
    EXPECT_TRUE(GSURLIsEqual(a.get(), b.get()));
    EXPECT_FALSE(GSURLIsEqual(a.get(), folder.get()));
    EXPECT_FALSE(GSURLIsEqual(a.get(), nullptr));
    EXPECT_FALSE(GSURLIsEqual(nullptr, a.get()));
    EXPECT_TRUE(GSURLIsEqual(nullptr, nullptr));
    EXPECT_TRUE(GSURLIsEqual(other.get(), nullptr));
    EXPECT_FALSE(GSURLIsEqual(other.get(), a.get()));
    EXPECT_TRUE(GSURLGetPathname(other.get()).isEmpty());
    EXPECT_TRUE(GSURLGetLastPathComponent(other.get()).isEmpty());
    EXPECT_FALSE(GSURLIsRoot(other.get()));
    EXPECT_EQ(GSURLCreateParentURL(other.get()), nullptr);
    EXPECT_EQ(GSURLCreateByDeletingLastPathComponent(other.get()), nullptr);
    EXPECT_EQ(GSURLCreateByAppending(other.get(), GSString("x")), nullptr);
}
