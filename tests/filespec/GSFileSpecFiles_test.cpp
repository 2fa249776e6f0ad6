#include "gs/filespec/GSFileSpec.h"
#include "gs/util/GSRandom.h"

#include "tests/filespec/MessageLog.h"
#include "tests/support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sys/stat.h>

using namespace qmtest;

namespace {

std::string nameOf(GSFileSpec const& spec) { return spec.getFilename().c_str(); }

} // namespace

TEST(GSFileSpecTemporaryName, TenCharactersFromTheGeneratorCreatedExclusivelyBesideTheSpec)
{
    for (int i = 0; i < 100; ++i) {
        std::string name = GSFileSpec::getTemporaryFilename().c_str();
        ASSERT_EQ(name.size(), 13u);
        EXPECT_EQ(name.substr(0, 3), "tmp");
        for (char c : name.substr(3))
            ASSERT_TRUE((c >= '0' && c <= '9') || (c >= 'a' && c <= 'z')) << name;
    }
    ScratchFolder dir;
    GSFileSpec target = specFor(dir.write("doc.qmd", "old"));
    GSRandomSetSeed(0);
    GSFileSpec first(target);
    ASSERT_EQ(first.createTemporaryFilename(GSString("qmd")), 0);
    EXPECT_EQ(nameOf(first), "tmpgf3u2th087.qmd");
    EXPECT_EQ(std::string(first.getFolderPath().c_str()), dir.path());
    EXPECT_EQ(readText(first.getPath().c_str()), ""); // created, empty

    // The same name sequence again (as in another process): the taken name is skipped.
    GSRandomSetSeed(0);
    GSFileSpec second(target);
    ASSERT_EQ(second.createTemporaryFilename(GSString("qmd")), 0);
    EXPECT_NE(nameOf(second), nameOf(first));
    EXPECT_TRUE(second.exists());

    GSFileSpec plain(target);
    ASSERT_EQ(plain.createTemporaryFilename(GSString()), 0);
    EXPECT_EQ(plain.getExtension(), GSString());
    GSFileSpec nowhere = specFor(dir / "missing/doc.qmd");
    EXPECT_EQ(nowhere.createTemporaryFilename(GSString("qmd")), 1);
    EXPECT_EQ(std::string(nowhere.getPath().c_str()), dir / "missing/doc.qmd");
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

    // One that cannot be removed (a folder with content) is passed over, with message 49703.
    std::filesystem::create_directories(dir / "doc.qmdbak/inner");
    std::filesystem::create_directories(dir / "doc.qmdbak1/inner");
    ASSERT_TRUE(target.createBackupSpec(&backup));
    EXPECT_EQ(nameOf(backup), "doc.qmdbak2");
    EXPECT_EQ(log.messages, (std::vector<std::pair<int, std::string>>{{49703, "doc.qmdbak"}, {49703, "doc.qmdbak1"}}));
}

TEST(GSFileSpecBackupName, TildeNamesWhenAllStandardNamesAreTaken)
{
    // Two thousand folders: in memory where possible, as that is many times faster than on disk.
    ScratchFolder dir(std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : "");
    MessageLog log;
    GSFileSpec target = specFor(dir.write("doc.qmd", "x"));
    for (int i = 0; i < 1000; ++i)
        std::filesystem::create_directories(dir / ("doc.qmdbak" + (i ? std::to_string(i) : std::string()) + "/inner"));
    std::filesystem::create_directories(dir / "doc~.qmd/inner");

    GSFileSpec backup;
    EXPECT_FALSE(target.createStandardBackupSpec(&backup));
    log.messages.clear();
    ASSERT_TRUE(target.createBackupSpec(&backup));
    EXPECT_EQ(nameOf(backup), "doc~~.qmd");
    EXPECT_EQ(log.messages.size(), 1001u); // 1000 standard names and doc~.qmd
}

TEST(GSFileSpecExchange, KeepsOrDropsTheOldContent)
{
    ScratchFolder dir;
    GSFileSpec target = specFor(dir.write("doc.qmd", "old"));
    GSFileSpec fresh = specFor(dir.write("tmp1.qmd", "new"));
    GSString error;
    ASSERT_EQ(fresh.exchangeWith(target, 0, &error), 0) << error.c_str();
    EXPECT_EQ(readText(dir / "doc.qmd"), "new");
    EXPECT_EQ(readText(dir / "tmp1.qmd"), "old");
    ASSERT_EQ(fresh.exchangeWith(target, 1, &error), 0) << error.c_str();
    EXPECT_EQ(readText(dir / "doc.qmd"), "old");
    EXPECT_FALSE(fresh.exists());
    // A missing replacement fails with the system's text and leaves the target alone.
    EXPECT_EQ(fresh.exchangeWith(target, 0, &error), 1);
    EXPECT_FALSE(error.isEmpty());
    EXPECT_EQ(readText(dir / "doc.qmd"), "old");
}

TEST(GSFileSpecItem, StateRemoveAndRename)
{
    ScratchFolder dir;
    GSFileSpec spec = specFor(dir.write("a.txt", "a"));
    GSFileState state;
    ASSERT_EQ(spec.fillState(&state), 0);
    EXPECT_TRUE(state.isValid());
    EXPECT_EQ(state.flags, 0);
    chmod(spec.getPath().c_str(), 0444);
    ASSERT_EQ(spec.fillState(&state), 0);
    EXPECT_EQ(state.flags, GSFileState::kLocked);
    chmod(spec.getPath().c_str(), 0644);
    EXPECT_EQ(specFor(dir.write(".hidden", "")).fillState(&state), 0);
    EXPECT_EQ(state.flags, GSFileState::kHidden);
    EXPECT_TRUE(specFor(dir.path()).isDirectory());
    EXPECT_FALSE(spec.isDirectory());

    // Rename never replaces an existing item.
    dir.write("b.txt", "b");
    GSString error;
    EXPECT_EQ(spec.rename(GSString("b.txt"), &error), 1);
    EXPECT_FALSE(error.isEmpty());
    EXPECT_EQ(readText(dir / "b.txt"), "b");
    ASSERT_EQ(spec.rename(GSString("c.txt"), &error), 0);
    EXPECT_EQ(nameOf(spec), "c.txt");
    EXPECT_EQ(readText(dir / "c.txt"), "a");

    ASSERT_EQ(spec.remove(&error), 0);
    EXPECT_FALSE(spec.exists());
    EXPECT_EQ(spec.fillState(&state), 1);
    EXPECT_FALSE(state.isValid());
    EXPECT_EQ(spec.remove(&error), 1);
    EXPECT_EQ(GSFileSpec().fillState(&state), 1);
}
