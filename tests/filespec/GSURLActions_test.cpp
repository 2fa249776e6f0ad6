#include "gs/filespec/GSURL.h"

#include "tests/filespec/URLTestSupport.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <fstream>
#include <functional>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

using qmtest::describeTree;
using qmtest::errorFor;
using qmtest::readText;
using qmtest::ScratchFolder;
using qmtest::urlFor;

namespace {

// A tree of every kind of item with chosen permissions and times, and names with blanks, letters
// beyond ASCII and bytes that are not UTF-8.
void buildTree(std::string const& root)
{
    for (char const* folder : {"", "/sub \xC3\xA9", "/sub \xC3\xA9/deeper"})
        mkdir((root + folder).c_str(), 0750);
    std::ofstream(root + "/a.txt") << "alpha";
    std::ofstream(root + "/sub \xC3\xA9/b \xE9\xFF") << std::string(200000, 'b'); // more than one read
    std::ofstream(root + "/sub \xC3\xA9/deeper/c") << "";
    chmod((root + "/sub \xC3\xA9/deeper/c").c_str(), 0400);
    symlink("../a.txt", (root + "/sub \xC3\xA9/link").c_str());
    symlink(".", (root + "/loop").c_str()); // copied as a link, never followed
    symlink("/", (root + "/outside").c_str());
    timespec const times[2] = {{1000000000, 123456789}, {1100000000, 987654321}};
    for (char const* p : {"/sub \xC3\xA9/deeper/c", "/a.txt", "/sub \xC3\xA9/deeper", "/sub \xC3\xA9", ""})
        utimensat(AT_FDCWD, (root + p).c_str(), times, AT_SYMLINK_NOFOLLOW);
}

// Makes a folder refuse changes to its entries, for root too: the immutable attribute for root,
// no write permission for others. False when it cannot be done here.
bool makeReadOnly(std::string const& folder, bool on)
{
    if (geteuid() == 0)
        return qmtest::setImmutable(folder, on);
    return chmod(folder.c_str(), on ? 0555 : 0755) == 0;
}

// A writable folder on another file system than `scratch`, or empty.
std::string otherFileSystem(std::string const& scratch)
{
    struct stat here, there;
    bool const other = stat(scratch.c_str(), &here) == 0 && stat("/dev/shm", &there) == 0 && here.st_dev != there.st_dev;
    return other && access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "";
}

using TwoURLAction = short (*)(void*, void*, GSString*);

} // namespace

// Moves and copies keep every kind, name, permission and time, within a file system and across
// one (through /dev/shm where it is another file system); a move leaves nothing behind.
TEST(GSURLMoveAndCopy, TreesAndFiles)
{
    ScratchFolder dir;
    std::string const other = otherFileSystem(dir.path());
    ScratchFolder there(other);
    long const descriptors = qmtest::openDescriptors();
    if (other.empty())
        std::printf("no writable /dev/shm on a second file system: moves across file systems are not tested\n");
    for (std::string const& to : {dir / "moved", there / "moved"}) {
        if (to.rfind(dir.path(), 0) != 0 && other.empty())
            continue;
        for (std::string const& name : {std::string("tree"), std::string("file \xC3\xA9\xFF")}) {
            SCOPED_TRACE(to + " " + name);
            std::string const from = dir / name;
            name == "tree" ? buildTree(from) : (void)(std::ofstream(from) << "content", chmod(from.c_str(), 0604));
            std::string const before = describeTree(from);
            GSString error("untouched");
            ASSERT_EQ(GSURLCopyToURL(urlFor(from).get(), urlFor(to + " copy").get(), &error), 0);
            ASSERT_EQ(GSURLMoveToURL(urlFor(from).get(), urlFor(to).get(), &error), 0);
            EXPECT_EQ(error, GSString("untouched"));
            EXPECT_EQ(describeTree(to), before);
            EXPECT_EQ(describeTree(to + " copy"), before);
            EXPECT_EQ(access(from.c_str(), F_OK), -1);
            ASSERT_EQ(GSURLRemove(urlFor(to).get(), &error), 0);
            ASSERT_EQ(GSURLRemove(urlFor(to + " copy").get(), &error), 0);
            EXPECT_EQ(describeTree(to), ". missing\n");
        }
    }
    EXPECT_EQ(qmtest::openDescriptors(), descriptors);
}

// Every action's failures: the system's text, nothing changed, no partial copy left.
TEST(GSURLActions, Failures)
{
    ScratchFolder dir;
    std::string const other = otherFileSystem(dir.path());
    ScratchFolder there(other.empty() ? dir.path() : other);
    buildTree(dir / "tree");
    dir.write("file", "old");
    std::string const fresh = other.empty() ? dir / "absent" : there.write("fresh", "x"); // on another file system
    auto replace = [](void* a, void* b, GSString* e) { return GSURLReplaceWithURL(a, b, GSString(), e); };
    struct Case {
        TwoURLAction action;
        std::string from, to;
        int err;
    } const cases[] = {
        {GSURLMoveToURL, "file", "tree", EEXIST}, // never over an existing item
        {GSURLMoveToURL, "absent", "new", ENOENT},
        {GSURLMoveToURL, "file", "no/folder", ENOENT},
        {GSURLCopyToURL, "tree/a.txt", "file", EEXIST},
        {GSURLCopyToURL, "tree", "file", EEXIST},
        {GSURLCopyToURL, "absent", "new", ENOENT},
        {GSURLCopyToURL, "tree", "tree/sub \xC3\xA9/inside", EINVAL}, // into its own tree
        {replace, "file", "absent", ENOENT},
        {replace, "file", fresh, other.empty() ? ENOENT : EXDEV},
    };
    std::string const before = describeTree(dir.path(), false); // failed copies touch folder times only
    for (auto const& c : cases) {
        SCOPED_TRACE(c.from + " -> " + c.to);
        GSString error;
        auto at = [&](std::string const& p) { return p[0] == '/' ? p : dir / p; };
        EXPECT_EQ(c.action(urlFor(at(c.from)).get(), urlFor(at(c.to)).get(), &error), 1);
        EXPECT_EQ(std::string(error.c_str()), errorFor(c.err));
        EXPECT_EQ(describeTree(dir.path(), false), before);
        error = GSString("untouched");
        EXPECT_EQ(c.action(nullptr, urlFor(dir / c.to).get(), &error), 1);
        EXPECT_EQ(c.action(urlFor(dir / c.from).get(), nullptr, &error), 1);
        EXPECT_EQ(error, GSString("untouched"));
    }
    for (auto action : {GSURLRemove, GSURLCreateDirectory}) {
        GSString error("untouched");
        EXPECT_EQ(action(nullptr, &error), 1);
        EXPECT_EQ(error, GSString("untouched"));
    }
    GSString error;
    EXPECT_EQ(GSURLRemove(urlFor(dir / "absent").get(), &error), 1);
    EXPECT_EQ(std::string(error.c_str()), errorFor(ENOENT));

    // The root is never removed, nor copied into itself. Asked in a child confined to a scratch
    // folder, so that a broken guard costs that folder and not the machine the tests run on.
    ScratchFolder jail;
    std::string const kept = jail.write("kept", "kept");
    pid_t const child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        if (chroot(jail.path().c_str()) != 0 || chdir("/") != 0)
            _exit(77);
        GSString removeError, copyError;
        bool const refused = GSURLRemove(urlFor("/").get(), &removeError) == 1 &&
                             GSURLCopyToURL(urlFor("/").get(), urlFor("/new").get(), &copyError) == 1;
        _exit(refused && std::string(removeError.c_str()) == errorFor(EBUSY) &&
                      std::string(copyError.c_str()) == errorFor(EINVAL) ? 0 : 1);
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == 77)
        std::printf("not asked of the root: this process cannot confine a child (chroot needs root)\n");
    else
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_EQ(readText(kept), "kept");
    EXPECT_EQ(ScratchFolder::listingOf(jail.path()), "kept");
}

// Removal never follows a link out of the tree; a locked item and the entries of a read-only folder
// stay, for root as well.
TEST(GSURLRemove, LinksLockedItemsAndReadOnlyFolders)
{
    ScratchFolder dir, outside;
    std::string const kept = outside.write("kept", "kept");
    buildTree(dir / "tree");
    symlink(outside.path().c_str(), (dir / "tree/to outside").c_str());
    symlink(kept.c_str(), (dir / "link").c_str());
    EXPECT_EQ(GSURLRemove(urlFor(dir / "tree", 1).get(), nullptr), 0);
    EXPECT_EQ(GSURLRemove(urlFor(dir / "link").get(), nullptr), 0);
    EXPECT_EQ(dir.listing(), "");
    EXPECT_EQ(readText(kept), "kept");

    mkdir((dir / "ro").c_str(), 0755);
    mkdir((dir / "ro/empty").c_str(), 0755);
    dir.write("ro/inside", "y");
    std::string const locked = dir.write("locked", "x");
    if (!makeReadOnly(dir / "ro", true) || !qmtest::setImmutable(locked, geteuid() == 0))
        GTEST_SKIP() << "cannot make a folder read-only or a file immutable here";
    GSString error;
    EXPECT_EQ(GSURLRemove(urlFor(dir / "ro", 1).get(), &error), 1);
    EXPECT_EQ(std::string(error.c_str()), errorFor(geteuid() == 0 ? EPERM : EACCES));
    EXPECT_EQ(GSURLRemove(urlFor(dir / "ro/empty", 1).get(), &error), 1); // the folder itself stays
    EXPECT_EQ(GSURLMoveToURL(urlFor(dir / "ro/inside").get(), urlFor(dir / "out").get(), &error), 1);
    EXPECT_EQ(GSURLCreateDirectory(urlFor(dir / "ro/new/deeper", 1).get(), &error), 1);
    if (geteuid() == 0) {
        EXPECT_EQ(GSURLRemove(urlFor(locked).get(), &error), 1);
        EXPECT_EQ(GSURLMoveToURL(urlFor(locked).get(), urlFor(dir / "moved").get(), &error), 1);
        EXPECT_EQ(std::string(error.c_str()), errorFor(EPERM));
        qmtest::setImmutable(locked, false);
    }
    makeReadOnly(dir / "ro", false);
    EXPECT_EQ(dir.listing(), "locked ro");
    EXPECT_EQ(qmtest::ScratchFolder::listingOf(dir / "ro"), "empty inside");
}

TEST(GSURLReplace, WithAndWithoutABackup)
{
    struct Case {
        char const* backup;
        bool existing, backupInTheWay, folders;
        char const* listing; // the folder afterwards
    } const cases[] = {
        {"", true, false, false, "doc"},
        {"old \xC3\xA9", true, false, false, "doc old \xC3\xA9"},
        {"old", true, true, false, "doc old"},
        {"old", true, true, true, "doc old"},
        {"", false, false, false, "doc"}, // a missing item is no failure
        {"old", false, false, true, "doc"},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(std::string(c.backup) + (c.existing ? " existing" : " missing") + (c.folders ? " folders" : ""));
        ScratchFolder dir;
        auto make = [&](std::string const& name, std::string const& content) {
            c.folders ? (void)(buildTree(dir / name), dir.write(name + "/marker", content)) : (void)dir.write(name, content);
            return describeTree(dir / name);
        };
        std::string const old = c.existing ? make("doc", "old") : "";
        if (c.backupInTheWay)
            make(c.backup, "older");
        std::string const fresh = make("fresh", "new");
        GSString error("untouched");
        ASSERT_EQ(GSURLReplaceWithURL(urlFor(dir / "doc").get(), urlFor(dir / "fresh").get(),
                                      GSString(c.backup, -1, GSString::kNoTables), &error), 0);
        EXPECT_EQ(error, GSString("untouched"));
        EXPECT_EQ(describeTree(dir / "doc"), fresh);
        EXPECT_EQ(dir.listing(), c.listing);
        if (c.existing && *c.backup) {
            EXPECT_EQ(describeTree(dir / c.backup), old);
        }
    }
}

TEST(GSURLCreateDirectory, WithTheFoldersAbove)
{
    ScratchFolder dir;
    dir.write("file", "");
    std::pair<char const*, int> const cases[] = {
        {"one/two/thr\xE9\xE9", 0}, {"one/two", 0}, {"one", 0}, {"file/sub", ENOTDIR}, {"file", EEXIST}};
    for (auto const& [path, err] : cases) {
        GSString error("untouched");
        EXPECT_EQ(GSURLCreateDirectory(urlFor(dir / path, 1).get(), &error), err ? 1 : 0) << path;
        EXPECT_EQ(std::string(error.c_str()), err ? errorFor(err) : "untouched");
        EXPECT_EQ(std::filesystem::is_directory(dir / path), err == 0) << path;
    }
}
