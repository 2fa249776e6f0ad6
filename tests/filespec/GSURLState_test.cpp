#include "gs/filespec/GSFileState.h"
#include "gs/filespec/GSURL.h"
#include "gs/filespec/GSURLSupport.h"

#include "tests/filespec/URLTestSupport.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <random>
#include <string>

using qmtest::ScratchFolder;
using qmtest::urlFor;

namespace {

// The date for a file-system time computed apart from the library: gmtime of the second, the
// millisecond floor(fraction * 1000 + 0.49) in floating point, 1000 carried into the next second.
std::string expected(long long seconds, long nanoseconds)
{
    long ms = static_cast<long>(std::floor(nanoseconds / 1e6 + 0.49));
    time_t t = static_cast<time_t>(seconds + ms / 1000);
    tm p{};
    gmtime_r(&t, &p);
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%03ld", p.tm_year + 1900, p.tm_mon + 1, p.tm_mday,
                  p.tm_hour, p.tm_min, p.tm_sec, ms % 1000);
    return text;
}
std::string expected(timespec const& t) { return expected(t.tv_sec, t.tv_nsec); }

std::string show(GSDate const& d)
{
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%03d", d.year, d.month, d.day, d.hour, d.minute,
                  d.second, d.millisecond);
    return text;
}

GSFileState stateOf(std::string const& path)
{
    GSFileState state;
    EXPECT_EQ(GSURLFillFileState(urlFor(path).get(), &state), 0) << path;
    return state;
}

} // namespace

// Every kind of item against lstat and statx, which the test calls itself.
TEST(GSURLFileState, FlagsAndDatesAgainstStat)
{
    ScratchFolder dir;
    dir.write("file.txt", "12345");
    dir.write(".hidden", "");
    chmod(dir.write("readonly", "x").c_str(), 0444);
    chmod(dir.write("owneronly", "x").c_str(), 0200);
    mkdir((dir / "folder").c_str(), 0755);
    mkdir((dir / "rofolder").c_str(), 0555);
    symlink("folder", (dir / "link").c_str());
    mkfifo((dir / "pipe").c_str(), 0644);
    std::pair<char const*, unsigned char> const cases[] = {
        {"file.txt", 0}, {".hidden", GSFileState::kHidden}, {"readonly", GSFileState::kLocked}, {"owneronly", 0},
        {"folder", GSFileState::kFolder}, {"rofolder", GSFileState::kFolder}, // a read-only folder is not locked
        {"link", 0}, {"pipe", 0},                                             // the link itself
    };
    for (auto const& [name, flags] : cases) {
        SCOPED_TRACE(name);
        GSFileState state;
        state.flags = 0xE0; // bits a fill does not decide stay
        state.fileType = 77;
        ASSERT_EQ(GSURLFillFileState(urlFor(dir / name).get(), &state), 0);
        EXPECT_EQ(state.valid, 1);
        EXPECT_EQ(state.flags, flags | 0xE0);
        EXPECT_EQ(state.fileType, 0u);
        struct statx sx;
        ASSERT_EQ(statx(AT_FDCWD, (dir / name).c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS | STATX_BTIME, &sx), 0);
        EXPECT_EQ(show(state.modificationDate), expected(sx.stx_mtime.tv_sec, sx.stx_mtime.tv_nsec));
        EXPECT_EQ(show(state.accessDate), expected(sx.stx_atime.tv_sec, sx.stx_atime.tv_nsec));
        // The birth time where the file system keeps one, else the change time.
        statx_timestamp const& born = (sx.stx_mask & STATX_BTIME) ? sx.stx_btime : sx.stx_ctime;
        EXPECT_EQ(show(state.creationDate), expected(born.tv_sec, born.tv_nsec));
    }
    GSFileState state;
    state.valid = 1;
    EXPECT_EQ(GSURLFillFileState(urlFor(dir / "absent").get(), &state), 1);
    EXPECT_EQ(state.valid, 0);
    state.valid = 1;
    EXPECT_EQ(GSURLFillFileState(nullptr, &state), 1);
    EXPECT_EQ(state.valid, 0);

    EXPECT_EQ(GSURLGetFileSize(urlFor(dir / "file.txt").get()), 5u);
    EXPECT_EQ(GSURLGetFileSize(urlFor(dir / "link").get()), 6u); // the link's own size
    for (char const* none : {"folder", "pipe", "absent"})
        EXPECT_EQ(GSURLGetFileSize(urlFor(dir / none).get()), ~0ULL) << none;
    EXPECT_EQ(GSURLGetFileSize(nullptr), ~0ULL);
}

// Random modification times before and after 1970, and the rounding at its edges.
TEST(GSURLFileState, ModificationTimesToTheMillisecond)
{
    ScratchFolder dir;
    std::string const file = dir.write("f", "");
    std::mt19937_64 random(20240331);
    long const edges[] = {0, 509999, 510000, 999509999, 999510000, 999600000, 999999999};
    for (int i = 0; i < 200; ++i) {
        timespec t{static_cast<time_t>(random() % 6000000000LL) - 2000000000, i < 7 ? edges[i] : long(random() % 1000000000)};
        timespec const times[2] = {t, t};
        ASSERT_EQ(utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
        EXPECT_EQ(show(stateOf(file).modificationDate), expected(t)) << t.tv_sec << "." << t.tv_nsec;
    }
}

// A time the file system does not give takes the value of the one read before it (order: access,
// creation, modification).
TEST(GSURLFileState, MissingTimesTakeTheOneReadBefore)
{
    char const* const none = "0000-00-00 00:00:00.000";
    char const *const a = "1970-01-01 00:00:01.000", *const c = "1970-01-01 00:00:02.000", *const m = "1970-01-01 00:00:03.000";
    struct Case {
        bool access, creation, modification;
        char const* dates[3];
    } const cases[] = {
        {true, true, true, {a, c, m}},       {true, false, true, {a, a, m}},       {true, true, false, {a, c, c}},
        {false, true, false, {none, c, c}},  {false, false, true, {none, none, m}},
    };
    for (auto const& k : cases) {
        GSPlatformItemState item;
        item.access = {1, 0, k.access};
        item.creation = {2, 0, k.creation};
        item.modification = {3, 0, k.modification};
        GSFileState state;
        state.accessDate = state.creationDate = state.modificationDate = GSDate(5, 5, 2005);
        GSURLFillDates(item, &state);
        EXPECT_EQ(show(state.accessDate) + show(state.creationDate) + show(state.modificationDate),
                  std::string(k.dates[0]) + k.dates[1] + k.dates[2]);
    }
}

// Dates written are read back (years from 1902: some file systems keep 32-bit seconds); the
// creation date and invalid dates change nothing; the hidden flag cannot change.
TEST(GSURLSetFileState, DatesAndHidden)
{
    ScratchFolder dir;
    std::string const file = dir.write("f", "x");
    GSIdPointer url = urlFor(file);
    std::mt19937 r(7);
    auto randomDate = [&] { return GSDate(1 + r() % 28, 1 + r() % 12, 1902 + r() % 200, r() % 24, r() % 60, r() % 60, r() % 1000); };
    for (int i = 0; i < 50; ++i) {
        GSFileState state = stateOf(file);
        GSDate const created = state.creationDate;
        state.accessDate = randomDate();
        state.modificationDate = randomDate();
        state.creationDate = randomDate();
        GSString error("untouched");
        ASSERT_EQ(GSURLSetFileState(url.get(), state, &error), 0);
        EXPECT_EQ(error, GSString("untouched"));
        GSFileState const back = stateOf(file);
        EXPECT_EQ(show(back.accessDate), show(state.accessDate));
        EXPECT_EQ(show(back.modificationDate), show(state.modificationDate));
        EXPECT_EQ(show(back.creationDate), show(created));
    }
    GSFileState state = stateOf(file);
    GSDate const accessed = state.accessDate;
    state.accessDate = GSDate();
    state.modificationDate = GSDate(31, 12, 1999, 23, 59, 59, 999);
    ASSERT_EQ(GSURLSetFileState(url.get(), state, nullptr), 0);
    EXPECT_EQ(show(stateOf(file).accessDate), show(accessed));
    struct stat st;
    ASSERT_EQ(stat(file.c_str(), &st), 0);
    EXPECT_EQ(st.st_mtim.tv_sec * 1000000000LL + st.st_mtim.tv_nsec, 946684799999000000LL);

    for (std::string const& path : {file, dir.write(".hidden", "")}) {
        GSFileState request = stateOf(path);
        GSDate const modified = request.modificationDate;
        request.flags ^= GSFileState::kHidden;
        request.modificationDate = GSDate(1, 1, 2001);
        GSString error;
        EXPECT_EQ(GSURLSetFileState(urlFor(path).get(), request, &error), 1);
        EXPECT_FALSE(error.isEmpty());
        EXPECT_EQ(show(stateOf(path).modificationDate), show(modified)); // nothing changed
    }
    GSString error("untouched");
    EXPECT_EQ(GSURLSetFileState(nullptr, state, &error), 1);
    EXPECT_EQ(error, GSString("untouched"));
    EXPECT_EQ(GSURLSetFileState(urlFor(dir / "absent").get(), state, &error), 1);
    EXPECT_EQ(std::string(error.c_str()), qmtest::errorFor(ENOENT));
}

// Locking takes a file's write permission, unlocking gives the owner's back, each around the
// dates; the immutable attribute (where it can be set) counts as locked and goes with unlocking,
// and locks a folder.
TEST(GSURLSetFileState, Locking)
{
    ScratchFolder dir;
    std::string const file = dir.write("f", "x");
    chmod(file.c_str(), 0664);
    long const descriptors = qmtest::openDescriptors();
    struct stat st;
    for (bool lock : {true, false}) {
        GSFileState state = stateOf(file);
        state.flags = lock ? state.flags | GSFileState::kLocked : state.flags & ~GSFileState::kLocked;
        state.modificationDate = GSDate(2, 2, lock ? 2002 : 2003);
        ASSERT_EQ(GSURLSetFileState(urlFor(file).get(), state, nullptr), 0);
        ASSERT_EQ(stat(file.c_str(), &st), 0);
        EXPECT_EQ(st.st_mode & 0777, lock ? 0444u : 0644u);
        EXPECT_EQ(stateOf(file).isLocked(), lock);
        EXPECT_EQ(show(stateOf(file).modificationDate), show(state.modificationDate));
    }
    // A link cannot be locked.
    symlink("f", (dir / "link").c_str());
    GSFileState link = stateOf(dir / "link");
    link.flags |= GSFileState::kLocked;
    GSString error;
    EXPECT_EQ(GSURLSetFileState(urlFor(dir / "link").get(), link, &error), 1);
    EXPECT_EQ(std::string(error.c_str()), qmtest::errorFor(EOPNOTSUPP));
    if (!qmtest::setImmutable(file, true))
        GTEST_SKIP() << "cannot set the immutable attribute here: " << std::strerror(errno);
    GSFileState state = stateOf(file);
    EXPECT_TRUE(state.isLocked());
    state.flags &= ~GSFileState::kLocked;
    EXPECT_EQ(GSURLSetFileState(urlFor(file).get(), state, &error), 0) << error.c_str();
    EXPECT_FALSE(stateOf(file).isLocked());

    mkdir((dir / "folder").c_str(), 0755);
    state = stateOf(dir / "folder");
    state.flags |= GSFileState::kLocked;
    EXPECT_EQ(GSURLSetFileState(urlFor(dir / "folder").get(), state, &error), 0) << error.c_str();
    EXPECT_TRUE(stateOf(dir / "folder").isLocked());
    qmtest::setImmutable(dir / "folder", false);
    EXPECT_EQ(qmtest::openDescriptors(), descriptors);
}
