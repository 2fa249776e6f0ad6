#include "gs/platform/GSPlatformFile.h"
#include "gs/platform/posix/GSPlatformFilePosix.h"

#include "tests/support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <fcntl.h>
#include <filesystem>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

using qmtest::readText;
using qmtest::ScratchFolder;

namespace {

// Valid for the full expression that made `s`, as a call's arguments are.
char const* text(std::string const& s) { return s.c_str(); }

} // namespace

// Every way of putting the replacement in place exchanges both contents and leaves nothing else; a
// missing replacement leaves the target as it was. A way the volume does not support is passed.
TEST(GSPlatformInstallWays, ExchangeBothContentsOrLeaveTheTargetAlone)
{
    for (auto way : {gsposix::InstallWay::Exchange, gsposix::InstallWay::Link, gsposix::InstallWay::RenameAside}) {
        SCOPED_TRACE(static_cast<int>(way));
        ScratchFolder dir;
        std::string target = dir.write("doc.qmd", "old content");
        EXPECT_NE(gsposix::exchangeFiles((dir / "absent").c_str(), target.c_str(), way), 0);
        EXPECT_EQ(readText(target), "old content");
        EXPECT_EQ(dir.listing(), "doc.qmd");
        std::string fresh = dir.write("tmp.qmd", "new");
        int err = gsposix::exchangeFiles(fresh.c_str(), target.c_str(), way);
        if (err == EINVAL || err == ENOSYS || err == EPERM) {
            std::printf("install way %d not supported here: %s\n", static_cast<int>(way), std::strerror(err));
            continue;
        }
        ASSERT_EQ(err, 0) << std::strerror(err);
        EXPECT_EQ(readText(target), "new");
        EXPECT_EQ(readText(fresh), "old content");
        EXPECT_EQ(dir.listing(), "doc.qmd tmp.qmd");
    }
}

TEST(GSPlatformInstallFile, ReplacesKeepingOrDroppingTheOldContent)
{
    ScratchFolder dir;
    std::string target = dir.write("doc.qmd", "one");
    std::string fresh = dir.write("tmp.qmd", "two");
    std::string error;
    ASSERT_EQ(GSPlatformInstallFile(text(fresh), text(target), 1, &error), 0) << error.c_str();
    EXPECT_EQ(readText(target), "two");
    EXPECT_EQ(readText(fresh), "one");
    ASSERT_EQ(GSPlatformInstallFile(text(fresh), text(target), 0, &error), 0) << error.c_str();
    EXPECT_EQ(readText(target), "one");
    EXPECT_EQ(dir.listing(), "doc.qmd");

    // No target yet: the replacement simply takes the name, with or without keeping.
    std::string other = dir.write("tmp2", "three");
    ASSERT_EQ(GSPlatformInstallFile(text(other), text(dir / "new.qmd"), 1, &error), 0);
    EXPECT_EQ(readText(dir / "new.qmd"), "three");
    EXPECT_EQ(dir.listing(), "doc.qmd new.qmd");

    // Across volumes it fails and leaves both as they were.
    if (std::filesystem::exists("/dev/shm")) {
        std::string elsewhere = "/dev/shm/qm-install-" + std::to_string(getpid());
        { std::ofstream(elsewhere) << "far"; }
        struct stat a, b;
        if (stat(elsewhere.c_str(), &a) == 0 && stat(target.c_str(), &b) == 0 && a.st_dev != b.st_dev) {
            EXPECT_EQ(GSPlatformInstallFile(text(elsewhere), text(target), 1, &error), 1);
            EXPECT_FALSE(error.empty());
            EXPECT_EQ(readText(target), "one");
            EXPECT_EQ(readText(elsewhere), "far");
        }
        unlink(elsewhere.c_str());
    }
}

TEST(GSPlatformFileInfo, LockedHiddenFolderAndSize)
{
    ScratchFolder dir;
    GSPlatformFileInfo info;
    std::string file = dir.write("f", "12345");
    ASSERT_EQ(GSPlatformGetFileInfo(text(file), &info), 0);
    EXPECT_FALSE(info.isLocked);
    EXPECT_FALSE(info.isDirectory);
    EXPECT_EQ(info.size, 5);

    // Read-only for everyone counts as locked, whoever asks (also the superuser).
    chmod(file.c_str(), 0444);
    ASSERT_EQ(GSPlatformGetFileInfo(text(file), &info), 0);
    EXPECT_TRUE(info.isLocked);
    chmod(file.c_str(), 0200); // writable by its owner only: not locked
    ASSERT_EQ(GSPlatformGetFileInfo(text(file), &info), 0);
    EXPECT_FALSE(info.isLocked);

    // A read-only folder is not locked: its permissions guard its entries, not itself.
    chmod(dir.path().c_str(), 0555);
    ASSERT_EQ(GSPlatformGetFileInfo(text(dir.path()), &info), 0);
    EXPECT_TRUE(info.isDirectory);
    EXPECT_FALSE(info.isLocked);
    chmod(dir.path().c_str(), 0755);

    ASSERT_EQ(GSPlatformGetFileInfo(text(dir.write(".dot", "")), &info), 0);
    EXPECT_TRUE(info.isHidden);
    EXPECT_EQ(GSPlatformGetFileInfo(text(dir / "absent"), &info), 1);
}

TEST(GSPlatformFileInfo, ImmutableAttributeCountsAsLocked)
{
    ScratchFolder dir;
    std::string file = dir.write("f", "x");
    int fd = open(file.c_str(), O_RDONLY);
    ASSERT_GE(fd, 0);
    int flags = 0;
    bool set = ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0
        && (flags |= FS_IMMUTABLE_FL, ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0);
    if (!set) {
        close(fd);
        GTEST_SKIP() << "cannot set the immutable attribute here: " << std::strerror(errno);
    }
    GSPlatformFileInfo info;
    EXPECT_EQ(GSPlatformGetFileInfo(text(file), &info), 0);
    EXPECT_TRUE(info.isLocked);
    flags &= ~FS_IMMUTABLE_FL;
    ioctl(fd, FS_IOC_SETFLAGS, &flags);
    close(fd);
}

TEST(GSPlatformFileOps, ExclusiveCreateRemoveAndMove)
{
    ScratchFolder dir;
    std::string error;
    bool existed = true;
    ASSERT_EQ(GSPlatformCreateFileExclusively(text(dir / "a"), &existed, &error), 0);
    EXPECT_FALSE(existed);
    EXPECT_TRUE(error.empty());
    EXPECT_EQ(GSPlatformCreateFileExclusively(text(dir / "a"), &existed, &error), 1);
    EXPECT_TRUE(existed);
    EXPECT_EQ(GSPlatformCreateFileExclusively(text(dir / "no/a"), &existed, &error), 1);
    EXPECT_FALSE(existed);
    EXPECT_FALSE(error.empty());

    dir.write("b", "b");
    EXPECT_EQ(GSPlatformMoveFile(text(dir / "a"), text(dir / "b"), &error), 1);
    EXPECT_EQ(readText(dir / "b"), "b");
    ASSERT_EQ(GSPlatformMoveFile(text(dir / "a"), text(dir / "c"), &error), 0);
    EXPECT_EQ(dir.listing(), "b c");

    std::filesystem::create_directories(dir / "full/inner");
    std::filesystem::create_directories(dir / "empty");
    EXPECT_EQ(GSPlatformRemoveFile(text(dir / "full"), &error), 1);
    EXPECT_EQ(GSPlatformRemoveFile(text(dir / "empty"), &error), 0);
    EXPECT_EQ(GSPlatformRemoveFile(text(dir / "c"), &error), 0);
    EXPECT_EQ(GSPlatformRemoveFile(text(dir / "c"), &error), 1);
    EXPECT_EQ(dir.listing(), "b full");
}

// Positions past 4 GiB survive both ways (nothing is written there, so the file stays small); the
// end is found from SEEK_END; a pipe has no position.
TEST(GSPlatformFileSeek, LargeOffsetsEndsAndUnseekableStreams)
{
    std::FILE* f = std::tmpfile();
    ASSERT_NE(f, nullptr);
    ASSERT_GE(std::fputs("abc", f), 0);
    long const far = 5L * 1024 * 1024 * 1024 + 7;
    EXPECT_EQ(GSPlatformFileSeek(f, far, SEEK_SET), 0);
    EXPECT_EQ(GSPlatformFileTell(f), far);
    EXPECT_EQ(GSPlatformFileSeek(f, -1, SEEK_END), 0);
    EXPECT_EQ(GSPlatformFileTell(f), 2);
    EXPECT_EQ(std::fgetc(f), 'c');
    EXPECT_EQ(GSPlatformFileSeek(f, -10, SEEK_SET), 1);
    std::fclose(f);

    int fds[2];
    ASSERT_EQ(::pipe(fds), 0);
    std::FILE* pipe = ::fdopen(fds[0], "rb");
    ASSERT_NE(pipe, nullptr);
    EXPECT_EQ(GSPlatformFileTell(pipe), -1);
    EXPECT_EQ(GSPlatformFileSeek(pipe, 0, SEEK_SET), 1);
    std::fclose(pipe);
    ::close(fds[1]);
}
