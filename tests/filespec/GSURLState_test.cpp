#include "gs/filespec/GSFileState.h"
#include "gs/filespec/GSURL.h"
#include "gs/filespec/GSURLSupport.h"

#include "gs/object/GSIdPointer.h"
#include "tests/filespec/URLTestSupport.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <linux/fs.h>
#include <random>
#include <string>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

using qmtest::ScratchFolder;
using qmtest::setImmutable;
using qmtest::urlFor;

namespace {

// The date the rule gives for a time, computed apart from the library: gmtime of the second,
// the millisecond rounded with 0.49 in floating point, 1000 carried.
GSDate expectedDate(long long seconds, long nanoseconds)
{
    double fraction = nanoseconds / 1e9;
    long ms = static_cast<long>(std::floor(fraction * 1000 + 0.49));
    if (ms == 1000) {
        ++seconds;
        ms = 0;
    }
    time_t t = static_cast<time_t>(seconds);
    tm parts{};
    gmtime_r(&t, &parts);
    return GSDate(parts.tm_mday, parts.tm_mon + 1, parts.tm_year + 1900, parts.tm_hour, parts.tm_min, parts.tm_sec,
                  static_cast<int>(ms));
}

std::string show(GSDate const& d)
{
    char text[64];
    std::snprintf(text, sizeof text, "%04d-%02d-%02d %02d:%02d:%02d.%03d", d.year, d.month, d.day, d.hour, d.minute,
                  d.second, d.millisecond);
    return text;
}

} // namespace

// Every kind of item against lstat, which the test reads itself.
TEST(GSURLFileState, FlagsAndDatesAgainstStat)
{
    ScratchFolder dir;
    dir.write("file.txt", "12345");
    dir.write(".hidden", "");
    dir.write("readonly", "x");
    chmod((dir / "readonly").c_str(), 0444);
    dir.write("owneronly", "x");
    chmod((dir / "owneronly").c_str(), 0200);
    mkdir((dir / "folder").c_str(), 0755);
    mkdir((dir / "rofolder").c_str(), 0555);
    symlink("folder", (dir / "link").c_str());
    symlink("missing", (dir / "broken").c_str());
    mkfifo((dir / "pipe").c_str(), 0644);
    struct Case {
        char const* name;
        unsigned char flags;
    };
    Case const cases[] = {
        {"file.txt", 0},
        {".hidden", GSFileState::kHidden},
        {"readonly", GSFileState::kLocked},
        {"owneronly", 0},
        {"folder", GSFileState::kFolder},
        {"rofolder", GSFileState::kFolder}, // a read-only folder is not locked
        {"link", 0},                        // the link itself, not the folder behind it
        {"broken", 0},
        {"pipe", 0},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.name);
        GSIdPointer url = urlFor(dir / c.name);
        GSFileState state;
        state.flags = 0xE0; // bits a fill does not decide stay
        state.fileType = 77;
        ASSERT_EQ(GSURLFillFileState(url.get(), &state), 0);
        EXPECT_EQ(state.valid, 1);
        EXPECT_EQ(state.flags, c.flags | 0xE0);
        EXPECT_EQ(state.fileType, 0u);
        struct stat st;
        ASSERT_EQ(lstat((dir / c.name).c_str(), &st), 0);
        EXPECT_EQ(show(state.modificationDate), show(expectedDate(st.st_mtim.tv_sec, st.st_mtim.tv_nsec)));
        EXPECT_EQ(show(state.accessDate), show(expectedDate(st.st_atim.tv_sec, st.st_atim.tv_nsec)));
        // The creation date is the birth time where the file system keeps one, else the ctime.
        struct statx sx;
        ASSERT_EQ(statx(AT_FDCWD, (dir / c.name).c_str(), AT_SYMLINK_NOFOLLOW, STATX_BTIME, &sx), 0);
        GSDate creation = (sx.stx_mask & STATX_BTIME) ? expectedDate(sx.stx_btime.tv_sec, sx.stx_btime.tv_nsec)
                                                      : expectedDate(st.st_ctim.tv_sec, st.st_ctim.tv_nsec);
        EXPECT_EQ(show(state.creationDate), show(creation));
    }

    GSFileState state;
    state.valid = 1;
    EXPECT_EQ(GSURLFillFileState(urlFor(dir / "absent").get(), &state), 1);
    EXPECT_EQ(state.valid, 0);
    state.valid = 1;
    EXPECT_EQ(GSURLFillFileState(nullptr, &state), 1);
    EXPECT_EQ(state.valid, 0);
}

// Random modification times, before and after 1970, with the millisecond rounding at its edges.
TEST(GSURLFileState, ModificationTimesToTheMillisecond)
{
    ScratchFolder dir;
    std::string file = dir.write("f", "");
    GSIdPointer url = urlFor(file);
    std::mt19937_64 random(20240331);
    std::uniform_int_distribution<long long> anySecond(-2000000000LL, 4000000000LL);
    long const edges[] = {0, 509999, 510000, 999509999, 999510000, 999600000, 999999999};
    for (int i = 0; i < 200; ++i) {
        long long seconds = anySecond(random);
        long nanoseconds = i < 7 ? edges[i] : static_cast<long>(random() % 1000000000);
        timespec times[2] = {{static_cast<time_t>(seconds), nanoseconds}, {static_cast<time_t>(seconds), nanoseconds}};
        ASSERT_EQ(utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
        SCOPED_TRACE(std::to_string(seconds) + "." + std::to_string(nanoseconds));
        GSFileState state;
        ASSERT_EQ(GSURLFillFileState(url.get(), &state), 0);
        EXPECT_EQ(show(state.modificationDate), show(expectedDate(seconds, nanoseconds)));
    }
    // 0.9996 s after a whole second carries into the next one.
    EXPECT_EQ(show(GSURLDateFromTime(59, 999600000)), "1970-01-01 00:01:00.000");
    EXPECT_EQ(show(GSURLDateFromTime(-1, 700000000)), "1969-12-31 23:59:59.700");
}

// A time the file system does not give takes the value of the one read before it.
TEST(GSURLFileState, MissingTimesTakeTheOneReadBefore)
{
    struct Case {
        bool access, creation, modification;
        char const* expected[3]; // access, creation, modification
    };
    char const* const none = "0000-00-00 00:00:00.000";
    char const* const a = "1970-01-01 00:00:01.000";
    char const* const c = "1970-01-01 00:00:02.000";
    char const* const m = "1970-01-01 00:00:03.000";
    Case const cases[] = {
        {true, true, true, {a, c, m}},
        {true, false, true, {a, a, m}},
        {true, true, false, {a, c, c}},
        {true, false, false, {a, a, a}},
        {false, true, false, {none, c, c}},
        {false, false, true, {none, none, m}},
    };
    for (Case const& k : cases) {
        GSPlatformItemState item;
        item.access = {1, 0, k.access};
        item.creation = {2, 0, k.creation};
        item.modification = {3, 0, k.modification};
        GSFileState state;
        state.accessDate = state.creationDate = state.modificationDate = GSDate(5, 5, 2005);
        GSURLFillDates(item, &state);
        EXPECT_EQ(show(state.accessDate), k.expected[0]);
        EXPECT_EQ(show(state.creationDate), k.expected[1]);
        EXPECT_EQ(show(state.modificationDate), k.expected[2]);
    }
}

TEST(GSURLFileState, Sizes)
{
    ScratchFolder dir;
    dir.write("five", "12345");
    dir.write("empty", "");
    mkdir((dir / "folder").c_str(), 0755);
    symlink("0123456789", (dir / "link").c_str());
    EXPECT_EQ(GSURLGetFileSize(urlFor(dir / "five").get()), 5u);
    EXPECT_EQ(GSURLGetFileSize(urlFor(dir / "empty").get()), 0u);
    EXPECT_EQ(GSURLGetFileSize(urlFor(dir / "link").get()), 10u);
    EXPECT_EQ(GSURLGetFileSize(urlFor(dir / "folder").get()), ~0ULL);
    EXPECT_EQ(GSURLGetFileSize(urlFor(dir / "absent").get()), ~0ULL);
    EXPECT_EQ(GSURLGetFileSize(nullptr), ~0ULL);
}

// Dates written are read back to the millisecond (years 1902 on: file systems with 32-bit
// timestamps reach back to December 1901); the creation date and invalid dates change nothing.
TEST(GSURLSetFileState, DatesRoundTrip)
{
    ScratchFolder dir;
    std::string file = dir.write("f", "x");
    GSIdPointer url = urlFor(file);
    std::mt19937 random(7);
    for (int i = 0; i < 50; ++i) {
        GSFileState state;
        ASSERT_EQ(GSURLFillFileState(url.get(), &state), 0);
        GSDate const creation = state.creationDate;
        state.accessDate = GSDate(1 + random() % 28, 1 + random() % 12, 1902 + random() % 200, random() % 24,
                                  random() % 60, random() % 60, random() % 1000);
        state.modificationDate = GSDate(1 + random() % 28, 1 + random() % 12, 1902 + random() % 200, random() % 24,
                                        random() % 60, random() % 60, random() % 1000);
        state.creationDate = GSDate(1, 1, 2000);
        GSString error("untouched");
        ASSERT_EQ(GSURLSetFileState(url.get(), state, &error), 0) << error.c_str();
        EXPECT_EQ(error, GSString("untouched"));
        GSFileState back;
        ASSERT_EQ(GSURLFillFileState(url.get(), &back), 0);
        EXPECT_EQ(show(back.accessDate), show(state.accessDate));
        EXPECT_EQ(show(back.modificationDate), show(state.modificationDate));
        EXPECT_EQ(show(back.creationDate), show(creation));
    }
    // An invalid date leaves its time as it is.
    GSFileState before;
    ASSERT_EQ(GSURLFillFileState(url.get(), &before), 0);
    GSFileState change = before;
    change.accessDate = GSDate();
    change.modificationDate = GSDate(31, 12, 1999, 23, 59, 59, 999);
    ASSERT_EQ(GSURLSetFileState(url.get(), change, nullptr), 0);
    GSFileState after;
    ASSERT_EQ(GSURLFillFileState(url.get(), &after), 0);
    EXPECT_EQ(show(after.accessDate), show(before.accessDate));
    EXPECT_EQ(show(after.modificationDate), "1999-12-31 23:59:59.999");
    struct stat st;
    ASSERT_EQ(stat(file.c_str(), &st), 0);
    EXPECT_EQ(st.st_mtim.tv_sec, 946684799);
    EXPECT_EQ(st.st_mtim.tv_nsec, 999000000);
}

// The hidden flag follows the name: a request to change it fails with a text and changes nothing.
TEST(GSURLSetFileState, HiddenCannotBeChanged)
{
    ScratchFolder dir;
    for (char const* name : {"visible", ".hidden"}) {
        SCOPED_TRACE(name);
        GSIdPointer url = urlFor(dir.write(name, ""));
        GSFileState state;
        ASSERT_EQ(GSURLFillFileState(url.get(), &state), 0);
        GSFileState request = state;
        request.flags ^= GSFileState::kHidden;
        request.modificationDate = GSDate(1, 1, 2001);
        GSString error;
        EXPECT_EQ(GSURLSetFileState(url.get(), request, &error), 1);
        EXPECT_FALSE(error.isEmpty());
        GSFileState after;
        ASSERT_EQ(GSURLFillFileState(url.get(), &after), 0);
        EXPECT_EQ(show(after.modificationDate), show(state.modificationDate));
        EXPECT_EQ(GSURLSetFileState(url.get(), state, &error), 0);
    }
    GSString error("untouched");
    GSFileState state;
    EXPECT_EQ(GSURLSetFileState(nullptr, state, &error), 1);
    EXPECT_EQ(error, GSString("untouched"));
    EXPECT_EQ(GSURLSetFileState(urlFor(dir / "absent").get(), state, &error), 1);
    EXPECT_EQ(error, GSString(std::strerror(ENOENT)));
}

TEST(GSURLSetFileState, LockingAndUnlockingAFile)
{
    ScratchFolder dir;
    std::string file = dir.write("f", "x");
    chmod(file.c_str(), 0664);
    GSIdPointer url = urlFor(file);
    GSFileState state;
    ASSERT_EQ(GSURLFillFileState(url.get(), &state), 0);
    state.flags |= GSFileState::kLocked;
    state.modificationDate = GSDate(2, 2, 2002);
    ASSERT_EQ(GSURLSetFileState(url.get(), state, nullptr), 0);
    struct stat st;
    ASSERT_EQ(stat(file.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0444u);
    GSFileState locked;
    ASSERT_EQ(GSURLFillFileState(url.get(), &locked), 0);
    EXPECT_TRUE(locked.isLocked());
    EXPECT_EQ(show(locked.modificationDate), show(GSDate(2, 2, 2002)));

    // Unlocking gives the owner write permission back, then the new dates are written.
    locked.flags &= static_cast<unsigned char>(~GSFileState::kLocked);
    locked.modificationDate = GSDate(3, 3, 2003);
    ASSERT_EQ(GSURLSetFileState(url.get(), locked, nullptr), 0);
    ASSERT_EQ(stat(file.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0644u);
    GSFileState unlocked;
    ASSERT_EQ(GSURLFillFileState(url.get(), &unlocked), 0);
    EXPECT_FALSE(unlocked.isLocked());
    EXPECT_EQ(show(unlocked.modificationDate), show(GSDate(3, 3, 2003)));
}

// The immutable attribute counts as locked and unlocking clears it; both need a file system with
// attributes and the capability to set them (root in CI).
TEST(GSURLSetFileState, ImmutableAttribute)
{
    ScratchFolder dir;
    std::string file = dir.write("f", "x");
    if (!setImmutable(file, true))
        GTEST_SKIP() << "cannot set the immutable attribute here: " << std::strerror(errno);
    GSIdPointer url = urlFor(file);
    GSFileState state;
    ASSERT_EQ(GSURLFillFileState(url.get(), &state), 0);
    EXPECT_TRUE(state.isLocked());
    state.flags &= static_cast<unsigned char>(~GSFileState::kLocked);
    GSString error;
    EXPECT_EQ(GSURLSetFileState(url.get(), state, &error), 0) << error.c_str();
    ASSERT_EQ(GSURLFillFileState(url.get(), &state), 0);
    EXPECT_FALSE(state.isLocked());
    setImmutable(file, false);

    // A folder is locked by the attribute too.
    std::string folder = dir / "folder";
    mkdir(folder.c_str(), 0755);
    GSIdPointer folderURL = urlFor(folder);
    ASSERT_EQ(GSURLFillFileState(folderURL.get(), &state), 0);
    state.flags |= GSFileState::kLocked;
    EXPECT_EQ(GSURLSetFileState(folderURL.get(), state, &error), 0) << error.c_str();
    ASSERT_EQ(GSURLFillFileState(folderURL.get(), &state), 0);
    EXPECT_TRUE(state.isLocked());
    setImmutable(folder, false);
}
