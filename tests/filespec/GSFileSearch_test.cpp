#include "gs/filespec/GSFileSearch.h"

#include "tests/support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <random>
#include <set>
#include <string>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace qmtest;
namespace fs = std::filesystem;

namespace {

// The search's hits as paths relative to the searched folder, in the order found. The state the
// search read for each hit must be the one the hit's own spec reads.
std::vector<std::string> searchAll(std::string const& folder, std::string const& pattern, short recursive)
{
    GSFileSearch search(recursive, GSFileSpec(GSString((folder + "/" + pattern).c_str())));
    std::vector<std::string> hits;
    GSFileSpec hit;
    for (int guard = 0; guard < 100000 && search.findNext(&hit) == 0; ++guard) {
        hits.push_back(std::string(hit.getPathname(1).c_str()).substr(folder.size() + 1));
        GSFileState direct;
        EXPECT_EQ(hit.fillState(&direct), 0) << hits.back();
        EXPECT_TRUE(search.getState().isValid()) << hits.back();
        EXPECT_EQ(search.getState().flags, direct.flags) << hits.back();
        EXPECT_TRUE(search.getState().modificationDate == direct.modificationDate) << hits.back();
    }
    return hits;
}

// An independent wildcard matcher: "*" any run of bytes, "?" one byte (the names here are ASCII).
bool matches(char const* name, char const* pattern)
{
    if (*pattern == 0)
        return *name == 0;
    if (*pattern == '*')
        return matches(name, pattern + 1) || (*name != 0 && matches(name + 1, pattern));
    return *name != 0 && (*pattern == '?' || *pattern == *name) && matches(name + 1, pattern + 1);
}

// What the search must find, by the standard library's own walk: in a recursive search every
// folder and every matching entry below `folder`, else the matching direct entries. Links are
// entries of their own and never entered.
std::set<std::string> expected(std::string const& folder, std::string pattern, short recursive)
{
    if (pattern == "*.*")
        pattern = "*";
    std::set<std::string> out;
    auto consider = [&](fs::directory_entry const& entry) {
        std::string const name = entry.path().filename().string();
        bool const folderEntry = entry.is_directory() && !entry.is_symlink();
        if (matches(name.c_str(), pattern.c_str()) || (recursive && folderEntry))
            out.insert(entry.path().lexically_relative(folder).string());
    };
    if (recursive) {
        for (auto const& entry : fs::recursive_directory_iterator(folder))
            consider(entry);
    } else {
        for (auto const& entry : fs::directory_iterator(folder))
            consider(entry);
    }
    return out;
}

// A random tree of folders and files whose names come from a small alphabet, so that patterns
// match some and miss others; a few symbolic links, one of them a loop back to the top.
void makeRandomTree(std::string const& root, std::mt19937& random)
{
    static char const* const stems[] = {"a", "ab", "abc", "b.c", "x", "readme", "a.b.c", "notes"};
    static char const* const extensions[] = {"", ".txt", ".TXT", ".c", ".tx", ".txt.bak"};
    std::vector<std::string> folders{root};
    std::uniform_int_distribution<int> pick(0, 99);
    for (int i = 0; i < 120; ++i) {
        std::string const& parent = folders[random() % folders.size()];
        std::string name = std::string(stems[random() % 8]) + extensions[random() % 6] + std::to_string(i % 3);
        if (i % 4 == 0)
            name = std::string(stems[random() % 8]) + extensions[random() % 6]; // no digit at the end
        std::string const path = parent + "/" + name;
        if (fs::exists(fs::symlink_status(path)))
            continue;
        int const kind = pick(random);
        if (kind < 25 && folders.size() < 30) {
            fs::create_directory(path);
            folders.push_back(path);
        } else if (kind < 28) {
            fs::create_directory_symlink(root, path);
        } else {
            std::ofstream(path) << name;
        }
    }
}

} // namespace

// The search against the standard library's walk on random trees, for patterns with and without
// wildcards, recursive and not: the same entries, each once, and every folder before its content.
TEST(GSFileSearch, FindsWhatAnIndependentWalkFinds)
{
    std::mt19937 random(5303);
    char const* const patterns[] = {"*.txt", "*", "*.*", "a?c*", "?", "*a*", "readme", "*.c?", "b.c*"};
    for (int tree = 0; tree < 6; ++tree) {
        ScratchFolder dir;
        makeRandomTree(dir.path(), random);
        for (char const* pattern : patterns) {
            for (short recursive : {short(0), short(1)}) {
                SCOPED_TRACE(std::string("tree ") + std::to_string(tree) + " pattern " + pattern +
                             (recursive ? " recursive" : ""));
                std::vector<std::string> const hits = searchAll(dir.path(), pattern, recursive);
                std::set<std::string> const found(hits.begin(), hits.end());
                EXPECT_EQ(found.size(), hits.size()) << "an entry was reported twice";
                EXPECT_EQ(found, expected(dir.path(), pattern, recursive));
                // A folder comes before everything inside it.
                std::map<std::string, size_t> position;
                for (size_t i = 0; i < hits.size(); ++i)
                    position[hits[i]] = i;
                for (auto const& [path, at] : position) {
                    for (fs::path up = fs::path(path).parent_path(); !up.empty(); up = up.parent_path()) {
                        auto folder = position.find(up.string());
                        ASSERT_NE(folder, position.end()) << path << " without its folder " << up;
                        EXPECT_LT(folder->second, at) << path;
                    }
                }
            }
        }
    }
}

TEST(GSFileSearch, SkippingAFolderLeavesItsContentOut)
{
    ScratchFolder dir;
    fs::create_directories(dir / "keep/deeper");
    fs::create_directories(dir / "skip/deeper");
    for (std::string name : {"top.txt", "keep/k.txt", "keep/deeper/d.txt", "skip/s.txt", "skip/deeper/d.txt"})
        dir.write(name, "x");

    GSFileSearch search(1, GSFileSpec(GSString((dir / "*.txt").c_str())));
    std::set<std::string> const everything{"top.txt",    "keep",       "keep/k.txt",  "keep/deeper", "keep/deeper/d.txt",
                                           "skip",       "skip/s.txt", "skip/deeper", "skip/deeper/d.txt"};
    std::set<std::string> found;
    GSFileSpec hit;
    while (search.findNext(&hit) == 0) {
        std::string const path = std::string(hit.getPathname(1).c_str()).substr(dir.path().size() + 1);
        found.insert(path);
        if (path == "skip" || path == "keep/deeper") {
            EXPECT_TRUE(search.getState().isFolder()) << path;
            search.skipCurrentDirectory();
        }
    }
    EXPECT_EQ(found, (std::set<std::string>{"top.txt", "keep", "keep/k.txt", "keep/deeper", "skip"}));
    // The end stays the end.
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(search.findNext(&hit), 1);
    // findFirst starts again with its pattern (a recursive search reports folders whatever their
    // names), and after closeSearch findNext starts again with the pattern kept.
    auto collect = [&](GSFileSearch& from, short first) {
        std::set<std::string> all;
        for (short status = first; status == 0; status = from.findNext(&hit))
            all.insert(std::string(hit.getPathname(1).c_str()).substr(dir.path().size() + 1));
        return all;
    };
    std::set<std::string> const restarted{"top.txt", "keep", "keep/deeper", "skip", "skip/deeper"};
    EXPECT_EQ(collect(search, search.findFirst(GSFileSpec(GSString((dir / "top.*").c_str())), &hit)), restarted);
    EXPECT_FALSE(search.getState().isValid()); // the end: no entry found last
    search.closeSearch();
    EXPECT_EQ(collect(search, search.findNext(&hit)), restarted);

    // Also from inside a sub-folder both start again from the top, and nothing is reported twice.
    GSFileSearch inner(1, GSFileSpec(GSString((dir / "*.txt").c_str())));
    auto allOnce = [&](short first) {
        std::multiset<std::string> all;
        for (short status = first; status == 0; status = inner.findNext(&hit))
            all.insert(std::string(hit.getPathname(1).c_str()).substr(dir.path().size() + 1));
        return std::set<std::string>(all.begin(), all.end()) == everything && all.size() == everything.size();
    };
    auto intoSubFolder = [&] {
        while (inner.findNext(&hit) == 0 && hit.getFilename() != GSString("deeper")) {
        }
    };
    intoSubFolder();
    inner.closeSearch();
    EXPECT_TRUE(allOnce(inner.findNext(&hit)));
    inner.closeSearch(); // the search is at its end: start it again to stop inside a sub-folder
    intoSubFolder();
    EXPECT_TRUE(allOnce(inner.findFirst(GSFileSpec(GSString((dir / "*.txt").c_str())), &hit)));

    // Without recursion folders are reported only when their names match.
    GSFileSearch flat(0, GSFileSpec(GSString((dir / "*.txt").c_str())));
    EXPECT_EQ(collect(flat, flat.findNext(&hit)), std::set<std::string>{"top.txt"});
}

TEST(GSFileSearch, StateSetByTheCallerAndSearchesThatFindNothing)
{
    ScratchFolder dir;
    dir.write("only.txt", "");
    GSFileSearch search(1, GSFileSpec(GSString((dir / "*.txt").c_str())));
    GSFileSpec hit;
    ASSERT_EQ(search.findNext(&hit), 0);
    GSFileState state = search.getState();
    state.flags = GSFileState::kLocked;
    search.setState(state);
    EXPECT_EQ(search.getState().flags, GSFileState::kLocked);
    EXPECT_EQ(search.findNext(&hit), 1);

    // A pattern in a folder that does not exist, or without a folder, finds nothing.
    GSFileSearch nowhere(1, GSFileSpec(GSString((dir / "none/*").c_str())));
    EXPECT_EQ(nowhere.findNext(&hit), 1);
    GSFileSearch empty(1, GSFileSpec());
    EXPECT_EQ(empty.findNext(&hit), 1);
}

// A folder the searcher may not read yields nothing, and the walk goes on. The superuser reads
// every folder, so the search runs in a child that gives up its privileges first.
TEST(GSFileSearch, AnUnreadableFolderYieldsNoEntries)
{
    ScratchFolder dir;
    chmod(dir.path().c_str(), 0755);
    for (std::string folder : {"a", "b-closed", "c"})
        fs::create_directories(dir / folder);
    for (std::string file : {"a/1.txt", "b-closed/2.txt", "c/3.txt"})
        dir.write(file, "x");
    chmod((dir / "b-closed").c_str(), 0);

    pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0))
            _exit(90);
        std::vector<std::string> hits = searchAll(dir.path(), "*.txt", 1);
        std::set<std::string> found(hits.begin(), hits.end());
        _exit(found == std::set<std::string>{"a", "a/1.txt", "b-closed", "c", "c/3.txt"} ? 0 : 91);
    }
    int status = 0;
    waitpid(child, &status, 0);
    chmod((dir / "b-closed").c_str(), 0755);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}
