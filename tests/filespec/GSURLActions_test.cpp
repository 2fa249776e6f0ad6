#include "gs/filespec/GSURL.h"

#include "tests/filespec/URLTestSupport.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <cstring>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

using qmtest::describeTree;
using qmtest::readText;
using qmtest::ScratchFolder;
using qmtest::setImmutable;
using qmtest::urlFor;

namespace {

// Names that must work everywhere: blanks, letters beyond ASCII, bytes that are not UTF-8.
std::string const kNames[] = {"plain.txt", "with blank", "caf\xC3\xA9 \xE6\x97\xA5", "latin1 \xE9\xFF"};

// A small tree of every kind of item, with chosen permissions and times.
void buildTree(std::string const& root)
{
    mkdir(root.c_str(), 0750);
    mkdir((root + "/sub").c_str(), 0700);
    mkdir((root + "/sub/deeper").c_str(), 0755);
    std::ofstream(root + "/a.txt") << "alpha";
    std::ofstream(root + "/sub/b \xE9") << std::string(200000, 'b'); // more than one read's worth
    std::ofstream(root + "/sub/deeper/c") << "";
    chmod((root + "/a.txt").c_str(), 0640);
    chmod((root + "/sub/deeper/c").c_str(), 0400);
    symlink("../a.txt", (root + "/sub/link").c_str());
    symlink(".", (root + "/sub/loop").c_str()); // copied as a link, never followed
    symlink("/", (root + "/outside").c_str());
    for (char const* p : {"/sub/deeper/c", "/a.txt", "/sub/deeper", "/sub", ""}) {
        timespec times[2] = {{1000000000, 123456789}, {1100000000, 987654321}};
        utimensat(AT_FDCWD, (root + p).c_str(), times, AT_SYMLINK_NOFOLLOW);
    }
}

// Makes a folder refuse new and removed entries, for root too: the immutable attribute for root
// (permissions do not stop root), write permission taken away for others. False when neither can be
// done here.
bool makeReadOnly(std::string const& folder)
{
    if (geteuid() == 0)
        return setImmutable(folder, true);
    return chmod(folder.c_str(), 0555) == 0;
}

void makeWritable(std::string const& folder)
{
    if (geteuid() == 0)
        setImmutable(folder, false);
    chmod(folder.c_str(), 0755);
}

std::string errorFor(int err) { return std::strerror(err); }

// A folder on another file system than the scratch folder, or empty.
std::string otherFileSystem(std::string const& scratch)
{
    struct stat here, there;
    if (stat(scratch.c_str(), &here) != 0)
        return std::string();
    for (char const* candidate : {"/dev/shm", "/run/user", "/run"}) {
        if (stat(candidate, &there) == 0 && there.st_dev != here.st_dev && access(candidate, W_OK) == 0)
            return candidate;
    }
    return std::string();
}

} // namespace

TEST(GSURLMove, FilesAndFoldersWithAnyNames)
{
    ScratchFolder dir;
    for (std::string const& name : kNames) {
        SCOPED_TRACE(name);
        dir.write(name, "content " + name);
        GSIdPointer from = urlFor(dir / name);
        GSIdPointer to = urlFor(dir / ("moved " + name));
        GSString error("untouched");
        ASSERT_EQ(GSURLMoveToURL(from.get(), to.get(), &error), 0);
        EXPECT_EQ(error, GSString("untouched"));
        EXPECT_EQ(readText(dir / ("moved " + name)), "content " + name);
        EXPECT_EQ(access((dir / name).c_str(), F_OK), -1);
    }
    buildTree(dir / "tree");
    std::string before = describeTree(dir / "tree");
    GSIdPointer tree = urlFor(dir / "tree", 1);
    GSIdPointer moved = urlFor(dir / "tree2", 1);
    ASSERT_EQ(GSURLMoveToURL(tree.get(), moved.get(), nullptr), 0);
    EXPECT_EQ(describeTree(dir / "tree2"), before);
}

TEST(GSURLMove, Failures)
{
    ScratchFolder dir;
    dir.write("a", "A");
    dir.write("b", "B");
    struct Case {
        char const* from;
        char const* to;
        int err;
    };
    Case const cases[] = {
        {"a", "b", EEXIST},            // never over an existing item
        {"absent", "c", ENOENT},
        {"a", "no/such/folder", ENOENT},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.from + std::string(" -> ") + c.to);
        GSString error;
        EXPECT_EQ(GSURLMoveToURL(urlFor(dir / c.from).get(), urlFor(dir / c.to).get(), &error), 1);
        EXPECT_EQ(std::string(error.c_str()), errorFor(c.err));
    }
    EXPECT_EQ(readText(dir / "a"), "A");
    EXPECT_EQ(readText(dir / "b"), "B");
    GSString error("untouched");
    EXPECT_EQ(GSURLMoveToURL(nullptr, urlFor(dir / "c").get(), &error), 1);
    EXPECT_EQ(GSURLMoveToURL(urlFor(dir / "a").get(), nullptr, &error), 1);
    EXPECT_EQ(error, GSString("untouched"));

    // Out of a folder that refuses changes.
    mkdir((dir / "ro").c_str(), 0755);
    dir.write("ro/inside", "x");
    if (!makeReadOnly(dir / "ro"))
        GTEST_SKIP() << "cannot make a folder read-only here";
    EXPECT_EQ(GSURLMoveToURL(urlFor(dir / "ro/inside").get(), urlFor(dir / "out").get(), &error), 1);
    makeWritable(dir / "ro");
    EXPECT_FALSE(error.isEmpty());
    EXPECT_EQ(readText(dir / "ro/inside"), "x");
}

// Through a second file system the item is copied whole, then the source removed.
TEST(GSURLMove, AcrossFileSystems)
{
    ScratchFolder dir;
    std::string other = otherFileSystem(dir.path());
    if (other.empty())
        GTEST_SKIP() << "no writable folder on a second file system (tried /dev/shm, /run/user, /run)";
    ScratchFolder there(other);
    std::string file = dir.write("caf\xC3\xA9 file", "bytes");
    chmod(file.c_str(), 0604);
    std::string fileBefore = describeTree(file);
    ASSERT_EQ(GSURLMoveToURL(urlFor(file).get(), urlFor(there / "file").get(), nullptr), 0);
    EXPECT_EQ(describeTree(there / "file"), fileBefore);
    EXPECT_EQ(access(file.c_str(), F_OK), -1);

    buildTree(dir / "tree");
    std::string treeBefore = describeTree(dir / "tree");
    ASSERT_EQ(GSURLMoveToURL(urlFor(dir / "tree", 1).get(), urlFor(there / "tree", 1).get(), nullptr), 0);
    EXPECT_EQ(describeTree(there / "tree"), treeBefore);
    EXPECT_EQ(access((dir / "tree").c_str(), F_OK), -1);

    // An item in the way: nothing moves, nothing is left behind.
    dir.write("again", "again");
    GSString error;
    EXPECT_EQ(GSURLMoveToURL(urlFor(dir / "again").get(), urlFor(there / "file").get(), &error), 1);
    EXPECT_EQ(std::string(error.c_str()), errorFor(EEXIST));
    EXPECT_EQ(readText(dir / "again"), "again");
    EXPECT_EQ(readText(there / "file"), "bytes");
}

TEST(GSURLCopy, TreesKeepKindsPermissionsAndTimes)
{
    ScratchFolder dir;
    buildTree(dir / "tree");
    std::string before = describeTree(dir / "tree");
    GSString error("untouched");
    ASSERT_EQ(GSURLCopyToURL(urlFor(dir / "tree", 1).get(), urlFor(dir / "copy", 1).get(), &error), 0);
    EXPECT_EQ(describeTree(dir / "copy"), before);
    EXPECT_EQ(describeTree(dir / "tree"), before);
    EXPECT_EQ(error, GSString("untouched"));

    for (std::string const& name : kNames) {
        SCOPED_TRACE(name);
        std::string file = dir.write(name, name);
        ASSERT_EQ(GSURLCopyToURL(urlFor(file).get(), urlFor(dir / ("copy of " + name)).get(), nullptr), 0);
        EXPECT_EQ(describeTree(dir / ("copy of " + name)), describeTree(file));
    }
}

TEST(GSURLCopy, Failures)
{
    ScratchFolder dir;
    buildTree(dir / "tree");
    dir.write("file", "old");
    struct Case {
        char const* from;
        char const* to;
        int err;
    };
    Case const cases[] = {
        {"tree/a.txt", "file", EEXIST},
        {"tree", "file", EEXIST},
        {"absent", "new", ENOENT},
        {"tree", "tree/sub/inside", EINVAL}, // into its own tree
        {"file", "no/folder/x", ENOENT},
    };
    // Failed copies may touch the times of the folders they were made in, nothing else.
    std::string const before = describeTree(dir.path(), false);
    for (Case const& c : cases) {
        SCOPED_TRACE(c.from + std::string(" -> ") + c.to);
        GSString error;
        EXPECT_EQ(GSURLCopyToURL(urlFor(dir / c.from).get(), urlFor(dir / c.to).get(), &error), 1);
        EXPECT_EQ(std::string(error.c_str()), errorFor(c.err));
        EXPECT_EQ(describeTree(dir.path(), false), before); // no partial copy is left
    }
}

TEST(GSURLRemove, TreesWithoutFollowingLinks)
{
    ScratchFolder dir;
    ScratchFolder outside;
    std::string kept = outside.write("kept", "kept");
    buildTree(dir / "tree");
    symlink(outside.path().c_str(), (dir / "tree/sub/to outside").c_str());
    chmod((dir / "tree/sub").c_str(), 0500); // permissions stop others, not root
    GSString error("untouched");
    EXPECT_EQ(GSURLRemove(urlFor(dir / "tree", 1).get(), &error), geteuid() == 0 ? 0 : 1);
    if (geteuid() == 0) {
        EXPECT_EQ(access((dir / "tree").c_str(), F_OK), -1);
        EXPECT_EQ(error, GSString("untouched"));
    }
    EXPECT_EQ(readText(kept), "kept");
    chmod((dir / "tree/sub").c_str(), 0700);

    for (std::string const& name : kNames) {
        std::string file = dir.write(name, "x");
        EXPECT_EQ(GSURLRemove(urlFor(file).get(), nullptr), 0);
        EXPECT_EQ(access(file.c_str(), F_OK), -1);
    }
    symlink(kept.c_str(), (dir / "link").c_str());
    EXPECT_EQ(GSURLRemove(urlFor(dir / "link").get(), nullptr), 0);
    EXPECT_EQ(readText(kept), "kept");

    EXPECT_EQ(GSURLRemove(urlFor(dir / "absent").get(), &error), 1);
    EXPECT_EQ(std::string(error.c_str()), errorFor(ENOENT));
    error = GSString("untouched");
    EXPECT_EQ(GSURLRemove(nullptr, &error), 1);
    EXPECT_EQ(error, GSString("untouched"));
}

// A locked item and the entries of a read-only folder stay, for root as well.
TEST(GSURLRemove, LockedItemsAndReadOnlyFolders)
{
    ScratchFolder dir;
    std::string locked = dir.write("locked", "x");
    if (!setImmutable(locked, true))
        GTEST_SKIP() << "cannot set the immutable attribute here: " << std::strerror(errno);
    GSString error;
    EXPECT_EQ(GSURLRemove(urlFor(locked).get(), &error), 1);
    EXPECT_EQ(std::string(error.c_str()), errorFor(EPERM));
    EXPECT_EQ(GSURLMoveToURL(urlFor(locked).get(), urlFor(dir / "moved").get(), &error), 1);
    setImmutable(locked, false);
    EXPECT_EQ(readText(locked), "x");

    mkdir((dir / "ro").c_str(), 0755);
    dir.write("ro/inside", "y");
    ASSERT_TRUE(makeReadOnly(dir / "ro"));
    EXPECT_EQ(GSURLRemove(urlFor(dir / "ro", 1).get(), &error), 1);
    EXPECT_FALSE(error.isEmpty());
    makeWritable(dir / "ro");
    EXPECT_EQ(readText(dir / "ro/inside"), "y");
}

TEST(GSURLReplace, WithAndWithoutABackup)
{
    struct Case {
        char const* backup;
        bool existingThere;
        bool backupInTheWay;
        char const* listing; // the folder afterwards
        char const* backupContent;
    };
    Case const cases[] = {
        {"", true, false, "doc", nullptr},
        {"doc backup \xE9", true, false, "doc doc backup \xE9", "old"},
        {"doc backup", true, true, "doc doc backup", "old"},
        {"", false, false, "doc", nullptr},
        {"doc backup", false, false, "doc", nullptr},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(std::string(c.backup) + (c.existingThere ? " existing" : " missing"));
        ScratchFolder dir;
        if (c.existingThere)
            dir.write("doc", "old");
        if (c.backupInTheWay)
            dir.write(c.backup, "older");
        std::string fresh = dir.write("fresh", "new");
        GSString backup(c.backup, -1, GSString::kNoTables);
        GSString error("untouched");
        ASSERT_EQ(GSURLReplaceWithURL(urlFor(dir / "doc").get(), urlFor(fresh).get(), backup, &error), 0);
        EXPECT_EQ(error, GSString("untouched"));
        EXPECT_EQ(readText(dir / "doc"), "new");
        EXPECT_EQ(dir.listing(), c.listing);
        if (c.backupContent) {
            EXPECT_EQ(readText(dir / c.backup), c.backupContent);
        }
    }
}

TEST(GSURLReplace, FoldersAndFailures)
{
    ScratchFolder dir;
    buildTree(dir / "old");
    buildTree(dir / "new");
    dir.write("new/marker", "new");
    std::string newTree = describeTree(dir / "new");
    std::string oldTree = describeTree(dir / "old");
    ASSERT_EQ(GSURLReplaceWithURL(urlFor(dir / "old", 1).get(), urlFor(dir / "new", 1).get(), GSString("kept"), nullptr), 0);
    EXPECT_EQ(describeTree(dir / "old"), newTree);
    EXPECT_EQ(describeTree(dir / "kept"), oldTree);

    GSString error;
    dir.write("doc", "doc");
    EXPECT_EQ(GSURLReplaceWithURL(urlFor(dir / "doc").get(), urlFor(dir / "absent").get(), GSString(), &error), 1);
    EXPECT_EQ(std::string(error.c_str()), errorFor(ENOENT));
    EXPECT_EQ(readText(dir / "doc"), "doc");

    std::string other = otherFileSystem(dir.path());
    if (!other.empty()) {
        ScratchFolder there(other);
        std::string fresh = there.write("fresh", "new");
        EXPECT_EQ(GSURLReplaceWithURL(urlFor(dir / "doc").get(), urlFor(fresh).get(), GSString(), &error), 1);
        EXPECT_EQ(std::string(error.c_str()), errorFor(EXDEV));
        EXPECT_EQ(readText(dir / "doc"), "doc");
        EXPECT_EQ(readText(fresh), "new");
    }
    error = GSString("untouched");
    EXPECT_EQ(GSURLReplaceWithURL(nullptr, urlFor(dir / "doc").get(), GSString(), &error), 1);
    EXPECT_EQ(error, GSString("untouched"));
}

TEST(GSURLCreateDirectory, WithTheFoldersAbove)
{
    ScratchFolder dir;
    dir.write("file", "");
    struct Case {
        char const* path;
        int err; // 0: success
    };
    Case const cases[] = {
        {"one/two/thr\xE9\xE9", 0},
        {"one/two", 0}, // exists already
        {"one", 0},
        {"file/sub", ENOTDIR},
        {"file", EEXIST},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.path);
        GSString error("untouched");
        EXPECT_EQ(GSURLCreateDirectory(urlFor(dir / c.path, 1).get(), &error), c.err ? 1 : 0);
        EXPECT_EQ(std::string(error.c_str()), c.err ? errorFor(c.err) : "untouched");
        if (!c.err) {
            struct stat st;
            EXPECT_TRUE(stat((dir / c.path).c_str(), &st) == 0 && S_ISDIR(st.st_mode));
        }
    }
    mkdir((dir / "ro").c_str(), 0755);
    if (!makeReadOnly(dir / "ro"))
        GTEST_SKIP() << "cannot make a folder read-only here";
    GSString error;
    EXPECT_EQ(GSURLCreateDirectory(urlFor(dir / "ro/new/deeper", 1).get(), &error), 1);
    makeWritable(dir / "ro");
    EXPECT_FALSE(error.isEmpty());
    EXPECT_EQ(qmtest::ScratchFolder::listingOf(dir / "ro"), "");
    EXPECT_EQ(GSURLCreateDirectory(nullptr, &error), 1);
}
