#include "thumbnailer/FileSafety.h"

#include "tests/support/DocumentBuilder.h"
#include "tests/support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <climits>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

using Bytes = std::vector<unsigned char>;

std::vector<std::string> ourTemporaries(std::string const& folder)
{
    std::vector<std::string> names;
    for (auto const& entry : fs::directory_iterator(folder))
        if (entry.path().filename().string().rfind(".qm-", 0) == 0)
            names.push_back(entry.path().filename().string());
    return names;
}

TEST(FileSafetyWhole, WritesRegularFilesAndRefusesEverythingElse)
{
    qmtest::ScratchFolder folder;
    std::string const dir = folder.path();
    std::ofstream(dir + "/old.jpg") << "old content";
    std::ofstream(dir + "/linked.jpg") << "the link's file";
    fs::create_symlink(dir + "/linked.jpg", dir + "/link.jpg");
    ASSERT_EQ(::mkfifo((dir + "/fifo").c_str(), 0600), 0);
    fs::create_symlink(dir + "/fifo", dir + "/link-to-fifo");
    fs::create_directory(dir + "/folder");
    // A name as long as the file system allows: the temporary name must not be longer.
    std::string const longest = dir + "/" + std::string(size_t(::pathconf(dir.c_str(), _PC_NAME_MAX)), 'n');

    struct Case {
        std::string path;
        bool written;
    };
    fs::path const cwd = fs::current_path();
    fs::current_path(dir); // a name without a folder is written in the current one
    for (Case const& c : {Case{dir + "/new.jpg", true}, Case{dir + "/old.jpg", true}, Case{dir + "/link.jpg", true},
                          Case{longest, true}, Case{"relative.jpg", true}, Case{dir + "/fifo", false},
                          Case{dir + "/link-to-fifo", false}, Case{dir + "/folder", false}}) {
        Bytes const bytes = {1, 2, 3};
        std::string error = qm::writeFileWhole(c.path, bytes.data(), bytes.size());
        EXPECT_EQ(error.empty(), c.written) << c.path << ": " << error;
        if (c.written) {
            EXPECT_EQ(qmtest::readFile(c.path), bytes) << c.path;
        }
        EXPECT_EQ(ourTemporaries(dir), std::vector<std::string>{}) << c.path;
    }
    fs::current_path(cwd);
    // The link was replaced by the file; what it pointed to is unchanged. The special files stay.
    // No device is among the cases: run as root, a fault that let the write through replaced it.
    EXPECT_FALSE(fs::is_symlink(dir + "/link.jpg"));
    std::string const linked = "the link's file";
    EXPECT_EQ(qmtest::readFile(dir + "/linked.jpg"), Bytes(linked.begin(), linked.end()));
    EXPECT_TRUE(fs::is_fifo(dir + "/fifo"));
    // Permission bits as a new file gets them, or as asked.
    ASSERT_EQ(qm::writeFileWhole(dir + "/private", nullptr, 0, 0600), "");
    EXPECT_EQ(fs::status(dir + "/private").permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_NE(qm::writeFileWhole(dir + "/no such folder/x", nullptr, 0), "");
}

TEST(FileSafetyInPlace, RewritesTheSameFileSeenThroughAnEarlierDescriptor)
{
    qmtest::ScratchFolder folder;
    std::string path = folder.path() + "/inplace.png";
    std::ofstream(path) << "an older and much longer content than the new one";
    // A desktop service opens the output first and later reads through that descriptor.
    FILE* early = std::fopen(path.c_str(), "rb");
    ASSERT_NE(early, nullptr);
    struct stat before{};
    ASSERT_EQ(stat(path.c_str(), &before), 0);

    uint8_t const bytes[] = {0x89, 'P', 'N', 'G'};
    ASSERT_EQ(qm::writeFileInPlace(path, bytes, sizeof bytes), "");
    struct stat after{};
    ASSERT_EQ(stat(path.c_str(), &after), 0);
    EXPECT_EQ(before.st_ino, after.st_ino);
    uint8_t seen[64] = {};
    size_t n = std::fread(seen, 1, sizeof seen, early);
    std::fclose(early);
    EXPECT_EQ(Bytes(seen, seen + n), Bytes(bytes, bytes + sizeof bytes));

    qm::emptyExistingFile(path);
    EXPECT_TRUE(qmtest::readFile(path).empty());
    fs::remove(path);
    qm::emptyExistingFile(path);
    EXPECT_FALSE(fs::exists(path));
    // A FIFO without a reader is left alone at once, never waited on.
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    qm::emptyExistingFile(path);
    EXPECT_TRUE(fs::is_fifo(path));
    fs::remove(path);

    // Created when missing.
    ASSERT_EQ(qm::writeFileInPlace(path, bytes, sizeof bytes), "");
    EXPECT_EQ(qmtest::readFile(path).size(), sizeof bytes);
    // A FIFO with a reader gets the bytes written in order (it has no position to write at).
    std::string const fifo = folder.path() + "/fifo.png";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    Bytes received;
    std::thread reader([&] {
        std::ifstream in(fifo, std::ios::binary);
        received.assign(std::istreambuf_iterator<char>(in), {});
    });
    EXPECT_EQ(qm::writeFileInPlace(fifo, bytes, sizeof bytes), "");
    reader.join();
    EXPECT_EQ(received, Bytes(bytes, bytes + sizeof bytes));
    // A folder cannot be written.
    EXPECT_NE(qm::writeFileInPlace(folder.path(), bytes, sizeof bytes), "");
}

TEST(FileSafetyLeftovers, OnlyOurOwnOlderThanAMinuteAreRemoved)
{
    qmtest::ScratchFolder folder;
    std::string const dir = folder.path();
    struct Case {
        char const* name;
        bool folder;
        bool old;
        bool removed;
    };
    Case const cases[] = {{".qm-z1Z2c3", false, true, true},  {".qm-a1B2c4", false, false, false},
                          {".qm-a1B2c", false, true, false},  {".qm-a1B2c3x", false, true, false},
                          {".qm-a1-2c3", false, true, false}, {".other-a1B2c3", false, true, false},
                          {".qm-d1r2c3", true, true, false},  {"qm-a1B2c3", false, true, false}};
    for (Case const& c : cases) {
        std::string path = dir + "/" + c.name;
        if (c.folder)
            fs::create_directory(path);
        else
            std::ofstream(path) << "x";
        if (c.old) {
            timeval old[2] = {{std::time(nullptr) - 120, 0}, {std::time(nullptr) - 120, 0}};
            ASSERT_EQ(::utimes(path.c_str(), old), 0);
        }
    }
    qm::removeStaleTemporaries(dir);
    for (Case const& c : cases)
        EXPECT_EQ(fs::exists(dir + "/" + c.name), !c.removed) << c.name;
}

// In a child process, so that the signal ends it and not the tests.
int exitOfChild(void (*body)(std::string const&), std::string const& argument)
{
    pid_t pid = ::fork();
    if (pid == 0) {
        body(argument);
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    return WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
}

TEST(FileSafetySignals, TerminationRemovesTemporariesAndEmptiesTheOutput)
{
    qmtest::ScratchFolder folder;
    std::string const output = folder.path() + "/out.png";
    std::ofstream(output) << "an old thumbnail";
    int ended = exitOfChild(
        [](std::string const& out) {
            qm::installSignalCleanup();
            qm::emptyOnSignal(out);
            // More temporaries than there are slots: the one without a slot takes none from the others.
            std::vector<std::unique_ptr<qm::TemporaryFile>> temporaries;
            for (int i = 0; i < 258; ++i)
                temporaries.push_back(std::make_unique<qm::TemporaryFile>(out));
            temporaries.pop_back();
            ::close(0); // started without standard input: the output is opened as descriptor 0
            ::raise(SIGTERM);
        },
        output);
    EXPECT_EQ(ended, -SIGTERM);
    EXPECT_EQ(ourTemporaries(folder.path()), std::vector<std::string>{});
    EXPECT_TRUE(qmtest::readFile(output).empty());

    // Once the result is written the output is no longer emptied.
    std::ofstream(output) << "a new thumbnail";
    ended = exitOfChild(
        [](std::string const& out) {
            qm::installSignalCleanup();
            qm::emptyOnSignal(out);
            qm::emptyOnSignal("");
            ::raise(SIGINT);
        },
        output);
    EXPECT_EQ(ended, -SIGINT);
    EXPECT_EQ(qmtest::readFile(output).size(), 15u);
}

// The time-out is armed for the time asked and can be disarmed; less than a microsecond still
// fires, at once, with the whole message however long (in a child, which it ends).
TEST(FileSafetySignals, TheTimeOutIsArmedForTheTimeAskedAndDisarmed)
{
    qmtest::ScratchFolder folder;
    std::string const messages = folder.path() + "/stderr";
    int ended = exitOfChild(
        [](std::string const& path) {
            for (double seconds : {1.5, 0.75}) {
                qm::armTimeout(seconds, "", 1);
                itimerval t{};
                ::getitimer(ITIMER_REAL, &t);
                double const left = double(t.it_value.tv_sec) + double(t.it_value.tv_usec) / 1e6;
                qm::disarmTimeout();
                ::getitimer(ITIMER_REAL, &t);
                if (left > seconds + 0.01 || left < seconds - 0.5 || t.it_value.tv_sec || t.it_value.tv_usec)
                    ::_exit(1);
            }
            ::dup2(::open(path.c_str(), O_WRONLY | O_CREAT, 0600), 2);
            qm::armTimeout(1e-9, std::string(PATH_MAX + 100, 'm'), 9);
            ::sleep(10);
        },
        messages);
    EXPECT_EQ(ended, 9);
    EXPECT_EQ(qmtest::readText(messages), std::string(PATH_MAX + 100, 'm'));
}

// Writes past 10 bytes fail (EFBIG), as on a full disk: a whole write leaves the old content and no
// temporary file, a write in place an empty file, never a partial one (in a child, for the limit).
TEST(FileSafetyFull, AFailedWriteLeavesNoPartialFile)
{
    qmtest::ScratchFolder folder;
    std::string const dir = folder.path();
    std::ofstream(dir + "/whole.png") << "old";
    int ended = exitOfChild(
        [](std::string const& in) {
            rlimit limit{10, 10};
            ::signal(SIGXFSZ, SIG_IGN);
            Bytes const bytes(100, 1);
            ::_exit(::setrlimit(RLIMIT_FSIZE, &limit) == 0 &&
                            !qm::writeFileWhole(in + "/whole.png", bytes.data(), bytes.size()).empty() &&
                            !qm::writeFileInPlace(in + "/in-place.png", bytes.data(), bytes.size()).empty()
                        ? 0
                        : 1);
        },
        dir);
    EXPECT_EQ(ended, 0);
    EXPECT_EQ(qmtest::readText(dir + "/whole.png"), "old");
    EXPECT_EQ(qmtest::readText(dir + "/in-place.png"), "");
    EXPECT_EQ(ourTemporaries(dir), std::vector<std::string>{});
}

TEST(FileSafetyDocument, OpensOnlyRegularFilesWithoutBlocking)
{
    qmtest::ScratchFolder folder;
    std::string const dir = folder.path();
    ASSERT_EQ(::mkfifo((dir + "/fifo").c_str(), 0600), 0);
    fs::create_directory(dir + "/folder");
    std::string const doc = dir + "/doc.qmd";
    {
        Bytes bytes = qmtest::simpleDocument(qmtest::kPicturePNG, qmtest::fakePNG(40), 8, 4);
        std::ofstream(doc, std::ios::binary).write(reinterpret_cast<char const*>(bytes.data()), long(bytes.size()));
    }
    struct Case {
        std::string path;
        qm::DocumentFile::Failure failure;
        char const* text;
    };
    for (Case const& c : {Case{dir + "/fifo", qm::DocumentFile::Failure::notRegular, "not a regular file"},
                          Case{"/dev/zero", qm::DocumentFile::Failure::notRegular, "not a regular file"},
                          Case{dir + "/folder", qm::DocumentFile::Failure::folder, "a folder, not a document"},
                          Case{dir + "/absent", qm::DocumentFile::Failure::cannotOpen, "No such file or directory"},
                          Case{doc, qm::DocumentFile::Failure::none, ""}}) {
        qm::DocumentFile file;
        EXPECT_EQ(file.open(c.path), c.failure == qm::DocumentFile::Failure::none) << c.path;
        EXPECT_EQ(file.failure(), c.failure) << c.path;
        EXPECT_EQ(file.failureText(), c.text) << c.path;
    }
    qm::DocumentFile file;
    ASSERT_TRUE(file.open(doc));
    EXPECT_EQ(file.state().st_size, long(fs::file_size(doc)));
    GSDynaArray<unsigned char> bytes(8, -100);
    GSThumbnailResult r = file.walk(&bytes, GSThumbnailLimits());
    EXPECT_TRUE(r.hasPicture());
    EXPECT_EQ(bytes.getCount(), 40);
    // A second walk over the same descriptor starts again from the first byte.
    EXPECT_TRUE(file.walk(nullptr, GSThumbnailLimits()).hasPicture());
}

TEST(FileSafetyNames, ControlCharactersAreEscaped)
{
    struct Case {
        std::string name, printed;
    };
    for (Case const& c : {Case{"plain name.qmd", "plain name.qmd"}, Case{"a\nb", "a\\nb"}, Case{"t\tr\r", "t\\tr\\r"},
                          Case{std::string("e\x1b[31m\x7f", 7), "e\\x1B[31m\\x7F"}, Case{"caf\xc3\xa9", "caf\xc3\xa9"},
                          Case{"back\\slash", "back\\slash"}})
        EXPECT_EQ(qm::printable(c.name), c.printed) << c.printed;
}

} // namespace
