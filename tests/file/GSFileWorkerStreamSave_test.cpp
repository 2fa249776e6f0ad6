// Safe saving as a user depends on it: whatever happens during a save, the target holds either its
// complete old or its complete new content, and a failed or abandoned save leaves nothing behind.
#include "gs/file/GSFile.h"
#include "gs/file/GSFileWorker.h"

#include "tests/filespec/MessageLog.h"
#include "tests/support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <random>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <tuple>
#include <unistd.h>
#include <vector>

using namespace qmtest;

namespace {

// Content that tells its own length and cannot be confused with a prefix of another: a header
// with the size and a byte pattern seeded by `tag`.
std::string content(char tag, size_t size)
{
    std::string s = std::string("QMTEST ") + tag + " " + std::to_string(size) + "\n";
    s.reserve(size);
    unsigned v = static_cast<unsigned char>(tag);
    while (s.size() < size) {
        v = v * 1103515245u + 12345u;
        s.push_back(static_cast<char>('a' + (v >> 16) % 26));
    }
    s.resize(size);
    return s;
}

struct SaveOutcome {
    short open = 0;
    short write = 0;
    short close = 0;
};

// Writes `text` to `path` through GSFile with mode "wb" and the given safety mode, in chunks of
// 64 KiB; a failed write is remembered and the rest still attempted. The file is closed with
// `abort`, abandoned (destroyed without closing) when abort is -1, or closed with abort 1 after a
// failed write when abort is -2.
SaveOutcome save(std::string const& path, std::string const& text, int safety, short abort = 0)
{
    SaveOutcome out;
    auto* worker = new GSFileWorkerStream();
    worker->retain();
    worker->setFileSpec(specFor(path));
    worker->setAccessMode("wb");
    worker->setSafetyMode(safety);
    out.open = worker->open();
    if (out.open == 0) {
        for (size_t at = 0; at < text.size(); at += 65536) {
            long n = static_cast<long>(std::min<size_t>(65536, text.size() - at));
            if (worker->writeData(text.data() + at, n) != n)
                out.write = 1;
        }
        if (abort != -1)
            out.close = worker->close(abort == -2 ? out.write : abort);
    }
    worker->release();
    return out;
}

int waitFor(pid_t child)
{
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return status;
}

} // namespace

TEST(GSSafeSave, WritesBesideAnExistingTargetAndExchangesAtClose)
{
    ScratchFolder dir;
    std::string target = dir.write("doc.qmd", "old");
    chmod(target.c_str(), 0640);

    GSFile file(specFor(target), 0);
    file.setSafetyMode(1);
    ASSERT_EQ(file.setAccessMode("wb"), 0);
    ASSERT_EQ(file.open(), 0);
    GSFileSpec working = file.getWorkingFileSpec();
    EXPECT_NE(working, specFor(target));
    EXPECT_EQ(working.getPathname(0), GSString((dir.path() + "/").c_str()));
    EXPECT_EQ(working.getExtender(), GSString(".qmd"));
    ASSERT_EQ(file.write("new content", 11), 0);
    ASSERT_EQ(file.flush(), 0);
    EXPECT_EQ(readText(target), "old"); // untouched until close
    EXPECT_EQ(readText(working.getPathname(1).c_str()), "new content");

    ASSERT_EQ(file.close(), 0);
    EXPECT_EQ(readText(target), "new content");
    EXPECT_EQ(dir.listing(), "doc.qmd");
    struct stat st;
    ASSERT_EQ(stat(target.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0640u); // the replaced file's permissions carry over

    // A new file, and any file with safety mode 0, is written in place (truncated at once).
    for (auto [name, safety] : {std::pair{"new.qmd", 1}, std::pair{"doc.qmd", 0}}) {
        GSFile direct(specFor(dir / name), 0);
        direct.setSafetyMode(safety);
        EXPECT_EQ(direct.setAccessMode("wb"), 0);
        ASSERT_EQ(direct.open(), 0);
        EXPECT_EQ(direct.getWorkingFileSpec(), specFor(dir / name));
        EXPECT_EQ(readText(dir / name), "");
        ASSERT_EQ(direct.write("x", 1), 0);
        ASSERT_EQ(direct.close(), 0);
        EXPECT_EQ(readText(dir / name), "x");
    }
    EXPECT_EQ(dir.listing(), "doc.qmd new.qmd");
}

TEST(GSSafeSave, SafetyModeThreeKeepsTheOldContentAsBackup)
{
    ScratchFolder dir;
    MessageLog log;
    std::string target = dir.write("doc.qmd", "first");
    // Each save replaces the backup of the one before; safety mode 1 leaves it alone.
    for (auto [safety, text, backup] : {std::tuple{3, "second", "first"}, std::tuple{3, "third", "second"},
                                        std::tuple{1, "fourth", "second"}}) {
        ASSERT_EQ(save(target, text, safety).close, 0) << text;
        EXPECT_EQ(readText(target), text);
        EXPECT_EQ(readText(dir / "doc.qmdbak"), backup) << text;
        EXPECT_EQ(dir.listing(), "doc.qmd doc.qmdbak");
    }
    EXPECT_TRUE(log.messages.empty());
}

TEST(GSSafeSave, AbortOrAbandonRemovesTheTemporaryFile)
{
    ScratchFolder dir;
    std::string target = dir.write("doc.qmd", "old");
    auto openFiles = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    auto const filesBefore = openFiles();
    for (short abort : {short(1), short(-1)}) {
        SaveOutcome r = save(target, content('N', 200000), 3, abort);
        EXPECT_EQ(r.open, 0);
        EXPECT_EQ(r.close, 0);
        EXPECT_EQ(readText(target), "old") << "abort " << abort;
        EXPECT_EQ(dir.listing(), "doc.qmd") << "abort " << abort;
        EXPECT_EQ(openFiles(), filesBefore) << "abort " << abort; // an abandoned save closes its stream
    }
    // An aborted new file is removed: the folder is as it was.
    EXPECT_EQ(save(dir / "new.qmd", "partial", 1, 1).close, 0);
    EXPECT_EQ(dir.listing(), "doc.qmd");
    // An abandoned save in place (a new file, then safety mode 0) keeps the file it wrote.
    for (int safety : {1, 0}) {
        EXPECT_EQ(save(dir / "new.qmd", "partial", safety, -1).open, 0);
        EXPECT_EQ(dir.listing(), "doc.qmd new.qmd") << safety;
    }

    // Aborting a file opened for reading or updating never deletes it. The stream's own open and
    // close are idempotent (the worker's open and close refuse the second call).
    for (char const* mode : {"rb", "rb+"}) {
        GSFileWorkerStream* worker = new GSFileWorkerStream();
        worker->retain();
        worker->setFileSpec(specFor(target));
        worker->setAccessMode(mode);
        EXPECT_EQ(worker->_close(1), 0) << mode;
        ASSERT_EQ(worker->open(), 0) << mode;
        EXPECT_EQ(worker->_open(), 0) << mode;
        EXPECT_EQ(worker->open(), 1) << mode;
        EXPECT_EQ(worker->close(1), 0) << mode;
        EXPECT_EQ(worker->_close(1), 0) << mode;
        EXPECT_EQ(worker->close(1), 1) << mode;
        worker->release();
        EXPECT_EQ(readText(target), "old") << mode;
    }
}

TEST(GSSafeSave, LockedTargetIsRefusedWithMessage49713)
{
    ScratchFolder dir;
    MessageLog log;
    std::string target = dir.write("doc.qmd", "old");
    chmod(target.c_str(), 0444);
    for (char const* mode : {"wb", "rb+", "ab"}) {
        GSFile file(specFor(target), 0);
        EXPECT_EQ(file.setAccessMode(mode), 0);
        EXPECT_EQ(file.open(), 1) << mode;
    }
    ASSERT_EQ(log.messages.size(), 3u);
    EXPECT_EQ(log.messages[0], std::make_pair(49713, std::string("doc.qmd")));
    EXPECT_EQ(readText(target), "old");
    EXPECT_EQ(dir.listing(), "doc.qmd");

    // Reading a locked file is fine.
    GSFile reader(specFor(target), 0);
    EXPECT_EQ(reader.open(), 0);
    EXPECT_EQ(log.messages.size(), 3u);

    // A folder in the target's place is refused, with or without safety.
    std::filesystem::create_directories(dir / "folder.qmd");
    for (int safety : {0, 1})
        EXPECT_EQ(save(dir / "folder.qmd", "new", safety).open, 1);
    // So is a target in a folder that does not exist.
    EXPECT_EQ(save(dir / "none/doc.qmd", "new", 1).open, 1);
    EXPECT_TRUE(std::filesystem::is_directory(dir / "folder.qmd"));
    EXPECT_EQ(dir.listing(), "doc.qmd folder.qmd");
}

// Saves that fail: into a read-only folder (the superuser writes there anyway, so the child gives
// up its privileges first, as the user owning the folder and the target); against a full disk met
// as a file-size limit (writes beyond 64 KiB fail with EFBIG, SIGXFSZ ignored), with a writer that
// notices and aborts or one that carries on and closes normally; on a real full volume, a 256 KiB
// tmpfs (mounting needs root with CAP_SYS_ADMIN). The save runs in a child; its exit status is 0
// when the save failed as it should.
TEST(GSSafeSave, AFailedSaveLeavesTheTargetUntouched)
{
    enum Failure { readOnlyFolder, sizeLimitThenClose, sizeLimitThenAbort, fullVolume };
    for (Failure failure : {readOnlyFolder, sizeLimitThenClose, sizeLimitThenAbort, fullVolume}) {
        SCOPED_TRACE(failure);
        ScratchFolder dir;
        chmod(dir.path().c_str(), 0755);
        std::string const folder = dir / "in";
        std::filesystem::create_directories(folder);
        if (failure == fullVolume && mount("tmpfs", folder.c_str(), "tmpfs", 0, "size=256k") != 0) {
            std::printf("no full volume: cannot mount a tmpfs here: %s\n", std::strerror(errno));
            continue;
        }
        struct Unmount {
            bool mounted;
            std::string at;
            ~Unmount()
            {
                if (mounted)
                    umount2(at.c_str(), MNT_DETACH);
            }
        } unmount{failure == fullVolume, folder};
        std::string const old = content('O', 100000);
        std::string const target = dir.write("in/doc.qmd", old);
        uid_t const nobody = 65534;
        bool const dropPrivileges = failure == readOnlyFolder && geteuid() == 0;
        if (dropPrivileges) {
            ASSERT_EQ(chown(folder.c_str(), nobody, nobody), 0);
            ASSERT_EQ(chown(target.c_str(), nobody, nobody), 0);
        }
        if (failure == readOnlyFolder)
            chmod(folder.c_str(), 0555);

        pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            if (dropPrivileges && (setgid(nobody) != 0 || setuid(nobody) != 0))
                _exit(90);
            rlimit limit{65536, 65536};
            std::signal(SIGXFSZ, SIG_IGN);
            if ((failure == sizeLimitThenClose || failure == sizeLimitThenAbort) && setrlimit(RLIMIT_FSIZE, &limit) != 0)
                _exit(91);
            if (failure == readOnlyFolder)
                _exit(save(target, "new", 1).open == 1 ? 0 : 92);
            SaveOutcome r = save(target, content('N', 1 << 20), 1, failure == sizeLimitThenAbort ? -2 : 0);
            _exit(r.open ? 93 : failure == sizeLimitThenAbort ? (r.write ? 0 : 94) : (r.close == 1 ? 0 : 95));
        }
        int status = waitFor(child);
        ASSERT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), 0);
        chmod(folder.c_str(), 0755);
        EXPECT_EQ(readText(target), old);
        EXPECT_EQ(ScratchFolder::listingOf(folder), "doc.qmd");
    }
}

TEST(GSSafeSave, AWriterKilledAtAnyMomentLeavesTheOldOrTheNewContent)
{
    ScratchFolder dir;
    std::string const target = dir / "doc.qmd";
    std::string const old = content('O', 1 << 20);
    std::string const fresh = content('N', 3 << 20);

    // The child says when it starts the save through a pipe, so that forking costs no time of the
    // window in which kills land.
    auto writer = [&](int safety) {
        int ready[2];
        if (pipe(ready) != 0)
            return pid_t(-1);
        pid_t child = fork();
        if (child == 0) {
            close(ready[0]);
            char go = 1;
            if (write(ready[1], &go, 1) != 1)
                _exit(2);
            SaveOutcome r = save(target, fresh, safety);
            _exit(r.open || r.write || r.close ? 1 : 0);
        }
        close(ready[1]);
        char go = 0;
        if (child < 0 || read(ready[0], &go, 1) != 1)
            child = -1;
        close(ready[0]);
        return child;
    };
    auto reset = [&] {
        for (auto const& entry : std::filesystem::directory_iterator(dir.path()))
            std::filesystem::remove(entry.path());
        std::ofstream(target, std::ios::binary) << old;
    };
    auto now = [] {
        timespec t{};
        clock_gettime(CLOCK_MONOTONIC, &t);
        return t.tv_sec * 1000000000L + t.tv_nsec;
    };
    auto timedSave = [&] {
        reset();
        pid_t child = writer(1);
        long started = now();
        int status = child > 0 ? waitFor(child) : -1;
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0);
        EXPECT_EQ(readText(target), fresh);
        return now() - started;
    };

    // The kills land anywhere up to 130% of a whole safe save: the writing, making the data
    // durable and the exchange. The shortest of three runs: a busy machine only ever makes one
    // longer.
    long const whole = std::min({timedSave(), timedSave(), timedSave()});
    ASSERT_FALSE(HasFailure());

    std::mt19937 random(20261122);
    std::uniform_int_distribution<long> anywhere(0, whole * 13 / 10);
    int oldSeen = 0, newSeen = 0;
    for (int run = 0; run < 30; ++run) {
        reset();
        long wait = anywhere(random);
        pid_t child = writer(run % 4 < 2 ? 1 : 3);
        ASSERT_GT(child, 0);
        timespec pause{wait / 1000000000L, wait % 1000000000L};
        nanosleep(&pause, nullptr);
        kill(child, SIGKILL);
        waitFor(child);
        std::string found = readText(target);
        bool isOld = found == old, isNew = found == fresh;
        ASSERT_TRUE(isOld || isNew) << "run " << run << " killed after " << wait << " ns: target holds "
                                    << found.size() << " bytes beginning " << found.substr(0, 12);
        (isOld ? oldSeen : newSeen)++;
    }
    std::printf("30 killed saves: %d left the old content, %d the new (a whole save takes %ld us)\n", oldSeen,
                newSeen, whole / 1000);
}
