#include "gs/filespec/GSFileSpec.h"
#include "gs/util/GSRandom.h"

#include "tests/filespec/MessageLog.h"
#include "tests/filespec/URLTestSupport.h"
#include "tests/support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fcntl.h>
#include <sys/stat.h>

using namespace qmtest;
namespace fs = std::filesystem;

namespace {

std::string nameOf(GSFileSpec const& spec) { return spec.getFilename().c_str(); }
std::string full(GSFileSpec const& spec) { return spec.getPathname(1).c_str(); }

} // namespace

TEST(GSFileSpecTemporaryName, CreatedExclusivelyBesideTheSpec)
{
    ScratchFolder dir;
    GSFileSpec target = specFor(dir.write("doc.qmd", "old"));
    GSRandomSetSeed(0);
    GSFileSpec first(target);
    ASSERT_EQ(first.createTemporaryFilename(GSString(".qmd")), 0);
    EXPECT_EQ(nameOf(first), "tmpgf3u2th087.qmd");
    EXPECT_EQ(std::string(first.getPathname(0).c_str()), dir.path() + "/");
    EXPECT_EQ(readText(full(first)), ""); // created, empty

    // The same name sequence again (as in another process): the taken name is skipped.
    GSRandomSetSeed(0);
    GSFileSpec second(target);
    ASSERT_EQ(second.createTemporaryFilename(GSString(".qmd")), 0);
    EXPECT_NE(nameOf(second), nameOf(first));
    EXPECT_TRUE(second.exists());

    GSFileSpec plain(target);
    ASSERT_EQ(plain.createTemporaryFilename(GSString()), 0);
    EXPECT_EQ(plain.getExtender(), GSString());
    GSFileSpec nowhere = specFor(dir / "missing/doc.qmd");
    EXPECT_EQ(nowhere.createTemporaryFilename(GSString(".qmd")), 1);
    EXPECT_EQ(full(nowhere), dir / "missing/doc.qmd");
    EXPECT_EQ(GSFileSpec().createTemporaryFilename(GSString()), 1);

    // A free name in the temporary folder, not created.
    Environment tmp{{"TMPDIR", dir.path().c_str()}};
    GSFileSpec temporary;
    ASSERT_EQ(temporary.initWithTempPath(), 0);
    EXPECT_EQ(std::string(temporary.getPathname(0).c_str()), dir.path() + "/");
    EXPECT_EQ(nameOf(temporary).substr(0, 3), "tmp");
    EXPECT_EQ(nameOf(temporary).size(), 13u);
    EXPECT_FALSE(temporary.exists());
}

TEST(GSFileSpecUniqueName, CountsUpFromOneWithoutTheOldNumber)
{
    ScratchFolder dir;
    for (std::string name : {"pic.jpg", "pic-1.jpg", "pic-7.jpg", "pic7.jpg", "plain", "7.jpg"})
        dir.write(name, "x");
    struct Case {
        char const* name;
        char divider;
        char const* unique;
    } const cases[] = {
        {"pic.jpg", '-', "pic-2.jpg"}, // pic-1.jpg is taken too
        {"pic-7.jpg", '-', "pic-2.jpg"}, // the old number goes; the counter starts at 1
        {"pic7.jpg", 0, "pic1.jpg"},
        {"plain", '_', "plain_1"},
        {"free.jpg", '-', "free.jpg"},
        {"7.jpg", 0, "1.jpg"}, // a name that is all number
    };
    for (auto const& c : cases) {
        GSFileSpec s = specFor(dir / c.name);
        EXPECT_EQ(s.createUniqueFilename(c.divider), 0) << c.name;
        EXPECT_EQ(nameOf(s), c.unique) << c.name;
        EXPECT_EQ(std::string(s.getPathname(0).c_str()), dir.path() + "/");
    }
    EXPECT_EQ(GSFileSpec().createUniqueFilename('-'), 1);
}

TEST(GSFileSpecBackupName, FirstUsableNameInTheStandardSequence)
{
    ScratchFolder dir;
    GSFileSpec target = specFor(dir.write("doc.qmd", "x"));
    GSFileSpec backup;
    specFor("/nowhere/doc.qmd").sendErrorMessage(49713); // no handler: dropped
    MessageLog log;
    ASSERT_TRUE(target.createStandardBackupSpec(&backup));
    EXPECT_EQ(nameOf(backup), "doc.qmdbak");
    ASSERT_TRUE(specFor(dir / "README").createStandardBackupSpec(&backup));
    EXPECT_EQ(nameOf(backup), "README.bak");

    // An old backup under the name is removed to make room.
    dir.write("doc.qmdbak", "older backup");
    ASSERT_TRUE(target.createBackupSpec(&backup));
    EXPECT_EQ(nameOf(backup), "doc.qmdbak");
    EXPECT_FALSE(backup.exists());
    EXPECT_TRUE(log.messages.empty());

    // A folder is never taken for an old backup, empty or not: passed over, with message 49703.
    fs::create_directories(dir / "doc.qmdbak");
    fs::create_directories(dir / "doc.qmdbak1/inner");
    ASSERT_TRUE(target.createBackupSpec(&backup));
    EXPECT_EQ(nameOf(backup), "doc.qmdbak2");
    EXPECT_EQ(log.messages, (std::vector<std::pair<int, std::string>>{{49703, "doc.qmdbak"}, {49703, "doc.qmdbak1"}}));
    EXPECT_TRUE(fs::is_directory(dir / "doc.qmdbak"));
    EXPECT_FALSE(GSFileSpec().createBackupSpec(&backup));
}

TEST(GSFileSpecBackupName, TildeNamesWhenAllStandardNamesAreTaken)
{
    // A thousand folders: in memory where possible, as that is many times faster than on disk.
    ScratchFolder dir(fs::is_directory("/dev/shm") ? "/dev/shm" : "");
    MessageLog log;
    GSFileSpec target = specFor(dir.write("doc.qmd", "x"));
    for (int i = 0; i < 1000; ++i)
        fs::create_directories(dir / ("doc.qmdbak" + (i ? std::to_string(i) : std::string())));
    fs::create_directories(dir / "doc~.qmd");

    GSFileSpec backup;
    EXPECT_FALSE(target.createStandardBackupSpec(&backup));
    log.messages.clear();
    ASSERT_TRUE(target.createBackupSpec(&backup));
    EXPECT_EQ(nameOf(backup), "doc~~.qmd");
    EXPECT_EQ(log.messages.size(), 1001u); // 1000 standard names and doc~.qmd
}

// The GSURL tests cover how items are examined, removed and moved; these cover what a file spec
// adds: which way the old content goes in an exchange, the name the file spec takes after a rename,
// and specs without a URL.
TEST(GSFileSpecItem, ExchangeStateRemoveAndRename)
{
    ScratchFolder dir;
    GSFileSpec target = specFor(dir.write("doc.qmd", "old"));
    GSFileSpec spec = specFor(dir.write("tmp1.qmd", "new"));
    // The new file's dates go with it, to the nanosecond: nothing rewrites the target's state.
    timespec const times[2] = {{1000000000, 123456789}, {1100000000, 987654321}};
    ASSERT_EQ(utimensat(AT_FDCWD, (dir / "tmp1.qmd").c_str(), times, 0), 0);
    GSString error;
    ASSERT_EQ(spec.exchangeWith(target, 0, &error), 0) << error.c_str();
    EXPECT_EQ(readText(dir / "doc.qmd"), "new");
    struct stat st;
    ASSERT_EQ(stat((dir / "doc.qmd").c_str(), &st), 0);
    EXPECT_EQ(st.st_mtim.tv_sec, 1100000000);
    EXPECT_EQ(st.st_mtim.tv_nsec, 987654321);
    EXPECT_EQ(readText(dir / "tmp1.qmd"), "old");
    EXPECT_EQ(dir.listing(), "doc.qmd tmp1.qmd"); // no backup name left behind
    ASSERT_EQ(spec.exchangeWith(target, 1, &error), 0) << error.c_str();
    EXPECT_EQ(readText(dir / "doc.qmd"), "old");
    EXPECT_FALSE(spec.exists());
    EXPECT_EQ(GSFileSpec().exchangeWith(target, 0, &error), 1);
    // A replacement that is not there: the target stays, and so does nothing else.
    EXPECT_EQ(spec.exchangeWith(target, 0, &error), 1);
    EXPECT_EQ(readText(dir / "doc.qmd"), "old");
    EXPECT_EQ(dir.listing(), "doc.qmd");

    GSFileState state;
    chmod(full(target).c_str(), 0444);
    ASSERT_EQ(target.fillState(&state), 0);
    EXPECT_EQ(state.flags, GSFileState::kLocked);
    EXPECT_TRUE(specFor(dir.path()).isDirectory());
    EXPECT_FALSE(target.isDirectory());

    ASSERT_EQ(target.rename(GSString("c.txt"), &error), 0);
    EXPECT_EQ(nameOf(target), "c.txt");
    EXPECT_EQ(full(target), dir / "c.txt");
    dir.write("taken", "");
    error = GSString("untouched");
    EXPECT_EQ(target.rename(GSString("taken"), &error), 1);
    EXPECT_FALSE(error.isEmpty());
    EXPECT_NE(error, GSString("untouched"));
    EXPECT_EQ(nameOf(target), "c.txt");
    EXPECT_EQ(target.rename(GSString(), &error), 1); // no name: no place to move to
    EXPECT_EQ(full(target), dir / "c.txt");
    ASSERT_EQ(target.remove(&error), 0);
    EXPECT_EQ(target.fillState(&state), 1);
    EXPECT_FALSE(state.isValid());
    EXPECT_EQ(GSFileSpec().fillState(&state), 1);
    EXPECT_EQ(GSFileSpec().remove(&error), 1);
    EXPECT_EQ(GSFileSpec().rename(GSString("x"), &error), 1);
    EXPECT_EQ(GSFileSpec().setState(state, &error), 1);
}

TEST(GSFileSpecItem, QueriesOnFilesFoldersAndLinks)
{
    ScratchFolder dir;
    dir.write("five", "12345");
    fs::create_directories(dir / "folder/inner");
    dir.write("folder/inner/x", "");
    fs::create_symlink(dir / "five", dir / "to-file");
    fs::create_directory_symlink(dir / "folder", dir / "to-folder");
    fs::create_directory_symlink(dir.path(), dir / "folder/up"); // a loop for counting

    EXPECT_EQ(specFor(dir / "five").getLength(), 5);
    EXPECT_EQ(specFor(dir / "missing").getLength(), -1);
    EXPECT_EQ(GSFileSpec().getLength(), -1);

    struct Visible {
        std::string path;
        bool visible;
    } const visibles[] = {{dir / "five", true}, {dir / ".dot", false}, {dir / "missing", true}};
    for (auto const& v : visibles)
        EXPECT_EQ(specFor(v.path).isVisible(), v.visible) << v.path;
    EXPECT_FALSE(GSFileSpec().isVisible());

    GSFileSpec target;
    short isFolder = 7;
    EXPECT_TRUE(specFor(dir / "to-file").isLink(&target, 0, &isFolder));
    EXPECT_EQ(full(target), dir / "five");
    EXPECT_EQ(isFolder, 0);
    EXPECT_TRUE(specFor(dir / "to-folder").isLink(&target, 1, &isFolder));
    EXPECT_EQ(full(target), dir / "folder/a"); // a folder is named by its placeholder entry
    EXPECT_EQ(isFolder, 1);
    EXPECT_TRUE(specFor(dir / "to-folder").isLink(nullptr, 0, nullptr));
    EXPECT_FALSE(specFor(dir / "five").isLink(&target, 0, &isFolder));
    EXPECT_FALSE(GSFileSpec().isLink(&target, 0, &isFolder));

    // Entries of the file spec's folder; links are counted, never entered.
    EXPECT_EQ(specFor(dir / "a").countFiles(0), 4);
    EXPECT_EQ(specFor(dir / "a").countFiles(1), 7);
    EXPECT_EQ(specFor(dir / "folder/a").countFiles(1), 3);
    EXPECT_EQ(specFor(dir / "missing/a").countFiles(1), -1);

    GSFileSpec deep = specFor(dir / "p/q/r.txt");
    ASSERT_EQ(deep.ensureDirectory(), 0);
    EXPECT_TRUE(fs::is_directory(dir / "p/q"));
    EXPECT_EQ(deep.ensureDirectory(), 0);
    EXPECT_NE(specFor(dir / "five/sub/x").ensureDirectory(), 0);
    EXPECT_EQ(GSFileSpec().ensureDirectory(), 1);

    // What a save carries over from the file it replaces: the permission bits.
    GSFileSpec const five = specFor(dir / "five");
    GSFileSpec const other = specFor(dir.write("other", ""));
    chmod((dir / "five").c_str(), 0640);
    EXPECT_EQ(other.writeAdditionalInfo(nullptr), 0);
    EXPECT_EQ(other.writeAdditionalInfo(&five), 0);
    struct stat st;
    ASSERT_EQ(stat((dir / "other").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0640u);
    EXPECT_EQ(other.writeAdditionalInfo(&gs_invalid_filespec), 1);
    EXPECT_EQ(GSFileSpec().writeAdditionalInfo(&five), 1);
}

TEST(GSFileSpecItem, CopyReplacesTheTarget)
{
    ScratchFolder dir;
    GSFileSpec const source = specFor(dir.write("src.bin", std::string("a\0b", 3)));
    GSFileSpec const target = specFor(dir.write("dst.bin", "older and longer"));
    ASSERT_EQ(source.copy(target), 0);
    EXPECT_EQ(readText(dir / "dst.bin"), std::string("a\0b", 3));
    EXPECT_EQ(source.copy(source), 1);
    EXPECT_EQ(source.copy(specFor(dir / "new.bin")), 0);
    EXPECT_EQ(readText(dir / "new.bin"), std::string("a\0b", 3));

    // The system's copy: folders with their content, permission bits kept.
    fs::create_directories(dir / "tree/sub");
    dir.write("tree/sub/leaf", "leaf");
    chmod((dir / "tree/sub/leaf").c_str(), 0604);
    ASSERT_EQ(specFor(dir / "tree").copy(specFor(dir / "copied")), 0);
    EXPECT_EQ(readText(dir / "copied/sub/leaf"), "leaf");
    struct stat st;
    ASSERT_EQ(stat((dir / "copied/sub/leaf").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0604u);

    // The byte copy through files, as memory specs and failed system copies use it.
    std::string big(200000, 'z');
    big[123456] = 'y';
    GSFileSpec const large = specFor(dir.write("large", big));
    ASSERT_EQ(large.basicCopy(target), 0);
    EXPECT_EQ(readText(dir / "dst.bin"), big);
    EXPECT_EQ(specFor(dir / "missing").basicCopy(target), 1);
    EXPECT_EQ(readText(dir / "dst.bin"), big);
    EXPECT_EQ(large.basicCopy(specFor(dir / "none/x")), 1);
    EXPECT_EQ(specFor(dir / "missing").copy(specFor(dir / "x")), 1);
}

TEST(GSFileSpecItem, SystemErrorTexts)
{
    GSString const text = GSFileSpec::getErrorTextForSystemError(ENOENT);
    EXPECT_EQ(text, GSString("No such file or directory"));
    EXPECT_EQ(text.getEncoding(), GSString::kUTF8);
}

TEST(GSFileSpecItem, StandardFolders)
{
    ScratchFolder dir;
    Environment home{{"HOME", dir.path().c_str()}};
    GSFileSpec s;
    ASSERT_EQ(s.initWithStandardPath(9, 0), 0);
    EXPECT_EQ(full(s), dir / "a");
    // No folder of kind 7: with the fallback the current folder, without it nothing changes.
    EXPECT_EQ(s.initWithStandardPath(7, 0), 1);
    EXPECT_EQ(full(s), dir / "a");
    ASSERT_EQ(s.initWithStandardPath(7, 1), 0);
    EXPECT_EQ(full(s), (fs::current_path() / "a").string());
    // The domain bits go to the domain: local documents do not exist.
    EXPECT_EQ(s.initWithStandardPath(3 | 0x400, 0), 1);
}
