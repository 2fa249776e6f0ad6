#include "gs/filespec/GSFileSpec.h"
#include "gs/file/GSFile.h"
#include "gs/platform/GSPlatformObject.h"

#include "tests/support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

using namespace qmtest;
namespace fs = std::filesystem;

namespace {

std::string str(GSString const& s) { return s.c_str(); }
GSFileSpec spec(std::string const& path) { return GSFileSpec(GSString(path.c_str())); }
std::string full(GSFileSpec const& s) { return str(s.getPathname(1)); }

// Paths under a folder that does not exist: nothing on disk decides these cases.
std::string const kNone = "/nonexistent-qm-folder";

} // namespace

TEST(GSFileSpecNames, PathsBecomeSpecsWithTheirNamesAndFolders)
{
    std::string const cwd = fs::current_path().string();
    struct Case {
        std::string path;
        char const* filename;
        char const* stem;
        std::string pathname;
        std::string folder;
        char const* extender;
    } const cases[] = {
        {kNone + "/x/pic.jpg", "pic.jpg", "pic", kNone + "/x/pic.jpg", kNone + "/x/", ".jpg"},
        // A folder path names the placeholder entry "a" inside the folder.
        {kNone + "/x/", "a", "a", kNone + "/x/a", kNone + "/x/", ""},
        {kNone + "/x.y/z", "z", "z", kNone + "/x.y/z", kNone + "/x.y/", ""},
        {kNone + "//x/./y/../pic.tar.gz", "pic.tar.gz", "pic.tar", kNone + "/x/pic.tar.gz", kNone + "/x/", ".gz"},
        {"rel-qm/p.txt", "p.txt", "p", cwd + "/rel-qm/p.txt", cwd + "/rel-qm/", ".txt"},
        {"/", "a", "a", "/a", "/", ""},
    };
    for (auto const& c : cases) {
        GSFileSpec const s = spec(c.path);
        EXPECT_TRUE(s.isValid()) << c.path;
        EXPECT_EQ(str(s.getFilename()), c.filename) << c.path;
        EXPECT_EQ(str(s.getFilename(0)), c.stem) << c.path;
        EXPECT_EQ(full(s), c.pathname) << c.path;
        EXPECT_EQ(str(s.getPathname(0)), c.folder) << c.path;
        EXPECT_EQ(str(s.getExtender()), c.extender) << c.path;
        EXPECT_EQ(str(s.getDisplayName(1)), c.filename) << c.path; // missing items: the filename
        EXPECT_EQ(str(s.getDisplayName(0)), c.stem) << c.path;
    }

    GSFileSpec empty = spec("");
    EXPECT_FALSE(empty.isValid());
    EXPECT_EQ(full(empty), "");
    EXPECT_EQ(empty.getNSURL(), nullptr);
    EXPECT_EQ(empty.createNSURL(), nullptr);
    EXPECT_TRUE(empty == gs_invalid_filespec);
    EXPECT_FALSE(empty == spec("/"));
}

TEST(GSFileSpecNames, LinksInTheFolderPartAreResolvedButNotTheLastComponent)
{
    ScratchFolder dir;
    fs::create_directories(dir / "real/inner");
    fs::create_directory_symlink(dir / "real", dir / "link");
    EXPECT_EQ(full(spec(dir / "link/x.txt")), dir / "real/x.txt");
    EXPECT_EQ(full(spec(dir / "link/inner/")), dir / "real/inner/a");
    EXPECT_EQ(full(spec(dir / "link")), dir / "link");
    EXPECT_TRUE(spec(dir / "link/x.txt") == spec(dir / "real/x.txt"));
}

TEST(GSFileSpecNames, ChangingTheNameKeepsTheFolder)
{
    GSFileSpec s = spec(kNone + "/x/pic.jpg");
    ASSERT_EQ(s.getPathname(0), GSString((kNone + "/x/").c_str())); // fill the caches first
    ASSERT_EQ(s.setFilename(GSString("other.png")), 0);
    EXPECT_EQ(full(s), kNone + "/x/other.png");
    EXPECT_EQ(str(s.getPathname(0)), kNone + "/x/");
    ASSERT_EQ(s.setExtender(GSString(".qmd")), 0);
    EXPECT_EQ(str(s.getFilename()), "other.qmd");
    EXPECT_TRUE(s.hasExtender(GSString("*.QMD")));
    ASSERT_EQ(s.setFileTypeAndExtender(GSString("*.jpg:JPEG;*.png")), 0);
    EXPECT_EQ(full(s), kNone + "/x/other.jpg");
    ASSERT_EQ(s.setFileTypeAndExtender(GSString("*.JPG")), 0); // has it already (caseless): unchanged
    EXPECT_EQ(full(s), kNone + "/x/other.jpg");

    // Without a URL only the name is kept.
    GSFileSpec none;
    EXPECT_EQ(none.setFilename(GSString("n.txt")), 1);
    EXPECT_EQ(str(none.getFilename()), "n.txt");
    EXPECT_FALSE(none.isValid());

    // Setting a file spec anew drops both caches.
    ASSERT_EQ(s.localSetPathname(GSString((kNone + "/elsewhere/n.txt").c_str())), 0);
    EXPECT_EQ(str(s.getPathname(0)), kNone + "/elsewhere/");
    ASSERT_EQ(s.setNSURL(spec(kNone + "/x/other.jpg").getNSURL()), 0);
    EXPECT_EQ(str(s.getPathname(0)), kNone + "/x/");
    EXPECT_EQ(full(s), kNone + "/x/other.jpg");

    // A URL taken from another spec is shared, not adopted: both stay usable. createNSURL gives
    // the caller a reference of its own.
    GSFileSpec const from(s.getNSURL());
    EXPECT_TRUE(from == s);
    int const references = static_cast<GSPlatformObject*>(s.getNSURL())->getRetainCount();
    void* made = s.createNSURL();
    ASSERT_EQ(made, s.getNSURL());
    EXPECT_EQ(static_cast<GSPlatformObject*>(made)->getRetainCount(), references + 1);
    GSFileSpec adopted(made);
    EXPECT_EQ(static_cast<GSPlatformObject*>(made)->getRetainCount(), references + 2);
    GSIdPointer release;
    release = made;
    EXPECT_TRUE(adopted == s);
    GSFileSpec cleared(s);
    ASSERT_EQ(cleared.setNSURL(nullptr), 0);
    EXPECT_FALSE(cleared.isValid());
    EXPECT_EQ(str(cleared.getFilename()), "");
}

TEST(GSFileSpecNames, ParentsAndLeavingFolders)
{
    GSFileSpec s = spec(kNone + "/x/y/f.txt");
    GSFileSpec parent = s.getParent();
    EXPECT_EQ(full(parent), kNone + "/x/y");
    EXPECT_EQ(str(parent.getFilename()), "y");
    ASSERT_EQ(s.leaveDirectory(), 0);
    EXPECT_EQ(full(s), kNone + "/x/f.txt");
    ASSERT_EQ(s.leaveDirectory(), 0);
    EXPECT_EQ(full(s), kNone + "/f.txt");
    ASSERT_EQ(s.leaveDirectory(), 0);
    EXPECT_EQ(full(s), "/f.txt");
    EXPECT_EQ(s.leaveDirectory(), 1); // the parent is the root
    EXPECT_EQ(full(s), "/f.txt");

    GSFileSpec root = spec("/").getParent();
    EXPECT_EQ(full(root), "/");
    EXPECT_FALSE(root.getParent().isValid());
    EXPECT_EQ(GSFileSpec().leaveDirectory(), 1);
    EXPECT_FALSE(GSFileSpec().getParent().isValid());
}

TEST(GSFileSpecNames, ComparisonOrdersPathsNaturallyAndNamesExactly)
{
    struct Case {
        std::string a, b;
        int caseless; // sign of compareValueCaseless
        int exact;    // sign of compareValue (filenames only)
        bool equal;
    } const cases[] = {
        {kNone + "/d/pic b2", kNone + "/d/pic B10", -1, 1, false},
        {kNone + "/d/Pic", kNone + "/d/pic", 0, -1, false},
        {kNone + "/a/same", kNone + "/b/same", -1, 0, false},
        {kNone + "/a/x", kNone + "/a/./x", 0, 0, true},
        {kNone + "/img10", kNone + "/img9", 1, -1, false},
        {kNone + "/d/ab1", kNone + "/d/abc1", -1, -1, false}, // natural order in path mode
    };
    auto sign = [](int v) { return (v > 0) - (v < 0); };
    for (auto const& c : cases) {
        GSFileSpec const a = spec(c.a), b = spec(c.b);
        EXPECT_EQ(sign(a.compareValueCaseless(b)), c.caseless) << c.a << " / " << c.b;
        EXPECT_EQ(sign(b.compareValueCaseless(a)), -c.caseless) << c.a << " / " << c.b;
        EXPECT_EQ(a < b, c.caseless < 0) << c.a;
        EXPECT_EQ(a > b, c.caseless > 0) << c.a;
        EXPECT_EQ(sign(a.compareValue(b)), c.exact) << c.a << " / " << c.b;
        EXPECT_EQ(a == b, c.equal) << c.a << " / " << c.b;
        EXPECT_EQ(a != b, !c.equal) << c.a << " / " << c.b;
    }
}

// Folder specs are placeholder entries: "/r/a/" names "/r/a/a".
TEST(GSFileSpecChains, DescendantsSiblingsAndReRooting)
{
    GSFileSpec const folder = spec(kNone + "/r/");
    GSFileSpec const deep = spec(kNone + "/r/s/t/f.txt");
    GSFileSpec const direct = spec(kNone + "/r/f.txt");
    EXPECT_TRUE(deep.isDescendantOfDirectory(folder, 0));
    EXPECT_TRUE(deep.isDescendantOfDirectory(folder, 1));
    EXPECT_TRUE(direct.isDescendantOfDirectory(folder, 1));
    EXPECT_FALSE(direct.isDescendantOfDirectory(folder, 0)); // the file spec itself only with includeDirect
    EXPECT_FALSE(spec(kNone + "/q/f.txt").isDescendantOfDirectory(folder, 1));
    EXPECT_FALSE(deep.isDescendantOfDirectory(GSFileSpec(), 1));
    EXPECT_TRUE(direct.hasSameParent(folder));
    EXPECT_FALSE(deep.hasSameParent(folder));
    EXPECT_FALSE(GSFileSpec().hasSameParent(GSFileSpec()));

    // The entry at the old ancestor's level (here the folder "s" itself) gives way to the new
    // folder; the names below it are kept.
    struct Case {
        std::string path;
        std::string result;
    } const cases[] = {
        {kNone + "/r/s/t/u/f.txt", kNone + "/n/t/u/f.txt"},
        {kNone + "/r/s/f.txt", kNone + "/n/f.txt"},
        {kNone + "/r/s", kNone + "/n/s"},
    };
    GSFileSpec const oldAncestor = spec(kNone + "/r/s");
    GSFileSpec const newAncestor = spec(kNone + "/n/");
    for (auto const& c : cases) {
        GSFileSpec s = spec(c.path);
        EXPECT_TRUE(s.replaceAncestorDirectory(oldAncestor, newAncestor)) << c.path;
        EXPECT_EQ(full(s), c.result) << c.path;
    }
    GSFileSpec outside = spec(kNone + "/elsewhere/f.txt");
    EXPECT_FALSE(outside.replaceAncestorDirectory(oldAncestor, newAncestor));
    EXPECT_EQ(full(outside), kNone + "/elsewhere/f.txt");
    GSFileSpec nowhere = spec(kNone + "/r/s/f.txt");
    EXPECT_FALSE(nowhere.replaceAncestorDirectory(oldAncestor, GSFileSpec()));
    EXPECT_EQ(full(nowhere), kNone + "/r/s/f.txt");

    // A descent that meets a file in the new place fails and leaves the file spec as it was.
    ScratchFolder dir;
    dir.write("t", "a file where a folder should be");
    GSFileSpec blocked = spec(kNone + "/r/s/t/u/f.txt");
    EXPECT_FALSE(blocked.replaceAncestorDirectory(oldAncestor, spec(dir.path() + "/")));
    EXPECT_EQ(full(blocked), kNone + "/r/s/t/u/f.txt");
}

TEST(GSFileSpecChains, DescendingIntoSubFolders)
{
    ScratchFolder dir;
    dir.write("file", "x");
    fs::create_directories(dir / "sub");
    GSFileSpec const start = spec(dir / "f.txt");
    struct Case {
        char const* name;
        short create;
        short status;
        std::string result; // "" for an emptied spec
    } const cases[] = {
        {"sub", 0, 0, dir / "sub/f.txt"},       // an existing folder
        {"new", 0, 0, dir / "new/f.txt"},       // a folder to be
        {"made", 1, 0, dir / "made/f.txt"},     // created
        {"file", 1, 1, dir / "f.txt"},          // a file of that name: unchanged
    };
    for (auto const& c : cases) {
        GSFileSpec s = start;
        EXPECT_EQ(s.addDirectory(GSString(c.name), c.create, 0), c.status) << c.name;
        EXPECT_EQ(full(s), c.result) << c.name;
    }
    EXPECT_TRUE(fs::is_directory(dir / "made"));
    EXPECT_FALSE(fs::exists(dir / "new"));

    // A folder that cannot be made empties the file spec.
    GSFileSpec inFile = spec(dir / "file/f.txt");
    EXPECT_NE(inFile.addDirectory(GSString("sub"), 1, 0), 0);
    EXPECT_FALSE(inFile.isValid());

    GSFileSpec nested = start;
    ASSERT_EQ(nested.setSubDirectioriesAndFilename(GSString("p/q//r.txt"), 1), 0);
    EXPECT_EQ(full(nested), dir / "p/q/r.txt");
    EXPECT_TRUE(fs::is_directory(dir / "p/q"));
    GSFileSpec leading = start;
    ASSERT_EQ(leading.setSubDirectioriesAndFilename(GSString("/lead/./x.txt"), 1), 0); // still relative
    EXPECT_EQ(full(leading), dir / "lead/x.txt");
    EXPECT_TRUE(fs::is_directory(dir / "lead"));
    for (char const* bad : {"p/../../x", "p/", "p/..", "p/.", ""}) {
        GSFileSpec refused = start;
        EXPECT_EQ(refused.setSubDirectioriesAndFilename(GSString(bad), 1), 1) << bad;
        EXPECT_FALSE(refused.isValid()) << bad;
    }
}

// A file spec in a document is its full path; a hostile document gets no further than its string.
TEST(GSFileSpecFileForm, WrittenAsThePathAndReadBack)
{
    // Also a name whose bytes are not UTF-8: it must come back as the same bytes.
    for (std::string path : {kNone + "/x/pic.jpg", kNone + "/folder/", std::string("/"), kNone + "/caf\xE9 \xFF.txt"}) {
        GSFile file(-100, 0);
        GSFileSpec const original = spec(path);
        ASSERT_EQ(original.write(&file), 0);
        ASSERT_EQ(file.seek(0), 0);
        GSString text;
        ASSERT_EQ(text.read(&file), 0);
        EXPECT_EQ(str(text), full(original)) << path;
        ASSERT_EQ(file.seek(0), 0);
        GSFileSpec back;
        ASSERT_EQ(back.read(&file), 0);
        EXPECT_TRUE(back == original) << path;
        EXPECT_EQ(full(back), full(original));
    }

    // A string that claims more bytes than the file holds: a failed read, the file spec untouched.
    unsigned char const claim[] = {0xFF, 0x9B, 0x7F, 0xFF, 0xFF, 0xFF, '/', 'x'};
    GSFile hostile(-100, 0);
    ASSERT_EQ(hostile.write(claim, sizeof claim), 0);
    ASSERT_EQ(hostile.seek(0), 0);
    GSFileSpec target = spec(kNone + "/kept");
    EXPECT_NE(target.read(&hostile), 0);
    EXPECT_EQ(full(target), kNone + "/kept");
}
