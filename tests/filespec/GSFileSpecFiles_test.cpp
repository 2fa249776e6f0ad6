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

// The platform layer's own tests cover how files are exchanged, examined, removed and moved;
// these cover what a file spec adds: which way the old content goes, the state's flags, the name the
// spec takes after a rename, and invalid specs.
TEST(GSFileSpecItem, ExchangeStateRemoveAndRename)
{
    ScratchFolder dir;
    GSFileSpec target = specFor(dir.write("doc.qmd", "old"));
    GSFileSpec spec = specFor(dir.write("tmp1.qmd", "new"));
    GSString error;
    ASSERT_EQ(spec.exchangeWith(target, 0, &error), 0) << error.c_str();
    EXPECT_EQ(readText(dir / "tmp1.qmd"), "old");
    ASSERT_EQ(spec.exchangeWith(target, 1, &error), 0) << error.c_str();
    EXPECT_EQ(readText(dir / "doc.qmd"), "old");
    EXPECT_FALSE(spec.exists());
    EXPECT_EQ(GSFileSpec().exchangeWith(target, 0, &error), 1);

    GSFileState state;
    chmod(target.getPath().c_str(), 0444);
    ASSERT_EQ(target.fillState(&state), 0);
    EXPECT_EQ(state.flags, GSFileState::kLocked);
    EXPECT_TRUE(state.isValid());
    EXPECT_EQ(specFor(dir.write(".hidden", "")).fillState(&state), 0);
    EXPECT_EQ(state.flags, GSFileState::kHidden);
    EXPECT_TRUE(specFor(dir.path()).isDirectory());
    EXPECT_FALSE(target.isDirectory());

    ASSERT_EQ(target.rename(GSString("c.txt"), &error), 0);
    EXPECT_EQ(nameOf(target), "c.txt");
    EXPECT_EQ(target.rename(GSString(".hidden"), &error), 1);
    EXPECT_EQ(nameOf(target), "c.txt");
    ASSERT_EQ(target.remove(&error), 0);
    EXPECT_EQ(target.fillState(&state), 1);
    EXPECT_FALSE(state.isValid());
    EXPECT_EQ(GSFileSpec().fillState(&state), 1);
    EXPECT_EQ(GSFileSpec().remove(&error), 1);
    EXPECT_EQ(GSFileSpec().rename(GSString("x"), &error), 1);
}
