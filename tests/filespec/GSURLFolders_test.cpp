#include "gs/filespec/GSURL.h"

#include "gs/platform/GSPlatformTrash.h"
#include "gs/platform/GSPlatformURL.h"
#include "tests/filespec/URLTestSupport.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <optional>
#include <pwd.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using qmtest::pathOf;
using qmtest::readText;
using qmtest::ScratchFolder;
using qmtest::urlFor;

namespace {

// Sets environment variables for the length of a test and puts the old values back.
class Environment {
public:
    Environment(std::initializer_list<std::pair<char const*, char const*>> values)
    {
        for (auto const& [name, value] : values) {
            char const* old = std::getenv(name);
            saved.emplace_back(name, old ? std::optional<std::string>(old) : std::nullopt);
            if (value)
                setenv(name, value, 1);
            else
                unsetenv(name);
        }
    }
    ~Environment()
    {
        for (auto const& [name, value] : saved) {
            if (value)
                setenv(name.c_str(), value->c_str(), 1);
            else
                unsetenv(name.c_str());
        }
    }
    Environment(Environment const&) = delete;
    Environment& operator=(Environment const&) = delete;

private:
    std::vector<std::pair<std::string, std::optional<std::string>>> saved;
};

bool isFolder(std::string const& path)
{
    struct stat st;
    return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// The standard folder's path without the placeholder, "-" for null.
std::string standardFolder(int kind, int domain)
{
    GSIdPointer url;
    url = GSURLCreateForStandardDirectory(kind, domain);
    if (url.isNull())
        return "-";
    std::string path = pathOf(url.get());
    EXPECT_EQ(GSURLGetLastPathComponent(url.get()), GSString("a"));
    EXPECT_FALSE(static_cast<GSPlatformURL const*>(url.get())->isDirectory());
    return path.substr(0, path.size() - 2);
}

// A trash info file split into its lines.
std::vector<std::string> linesOf(std::string const& text)
{
    std::vector<std::string> lines;
    size_t start = 0;
    for (size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1)
        lines.push_back(text.substr(start, end - start));
    if (start < text.size())
        lines.push_back(text.substr(start));
    return lines;
}

// The deletion date is local time, in the form YYYY-MM-DDThh:mm:ss, and lies within a minute of
// the test's own clock.
void expectDeletionDateNow(std::string const& line)
{
    ASSERT_EQ(line.rfind("DeletionDate=", 0), 0u) << line;
    tm parts{};
    char const* end = strptime(line.c_str() + 13, "%Y-%m-%dT%H:%M:%S", &parts);
    ASSERT_TRUE(end && *end == 0) << line;
    parts.tm_isdst = -1;
    EXPECT_LT(std::abs(std::difftime(std::time(nullptr), std::mktime(&parts))), 60.0) << line;
}

// A folder on another file system than `scratch` where we may make a trash, or empty.
std::string otherFileSystem(std::string const& scratch)
{
    struct stat here, there;
    if (stat(scratch.c_str(), &here) != 0 || stat("/dev/shm", &there) != 0)
        return std::string();
    return there.st_dev != here.st_dev && access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "";
}

} // namespace

TEST(GSURLStandardFolders, KindsAndDomains)
{
    ScratchFolder dir;
    std::string const home = dir / "home";
    std::string const config = dir / "config";
    mkdir(home.c_str(), 0755);
    mkdir(config.c_str(), 0755);
    std::ofstream(config + "/user-dirs.dirs") << "# written by xdg-user-dirs-update\n"
                                              << "XDG_DOCUMENTS_DIR=\"$HOME/My Documents\"\n"
                                              << "XDG_PICTURES_DIR=\"" << dir.path() << "/pictures/\"\n";
    Environment env{{"HOME", home.c_str()},
                    {"XDG_CONFIG_HOME", config.c_str()},
                    {"XDG_DATA_HOME", (dir / "data").c_str()},
                    {"TMPDIR", (dir / "tmp").c_str()}};
    std::string const program = std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
    int const user = 0, local = 0x400, system = 0x800, application = 0xC00;
    struct Case {
        int kind;
        int domain;
        std::string folder;
        bool created;
    };
    Case const cases[] = {
        {0, user, home + "/.local/lib", true},
        {0, local, "/usr/local/lib", false},
        {0, system, "/usr/lib", false},
        {0, application, program, false},
        {1, user, config, false}, // exists already
        {1, local, "/usr/local/etc", false},
        {1, system, "/etc", false},
        {2, user, dir / "tmp", false},
        {2, system, dir / "tmp", false},
        {3, user, home + "/My Documents", true},
        {3, application, home + "/My Documents", true},
        {3, local, "-", false},
        {4, user, dir / "pictures", true},
        {4, system, "-", false},
        {5, user, home + "/Downloads", true}, // no line in the file: the fallback
        {6, user, dir / "data/applications", false},
        {6, local, "/usr/local/share/applications", false},
        {6, system, "/usr/share/applications", false},
        {7, user, "-", false},
        {8, user, "-", false},
        {9, user, home, false},
        {9, local, home, false},
        {10, user, "-", false},
        {-1, user, "-", false},
        {3, 0x123, home + "/My Documents", true}, // any other domain is the user's
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(std::to_string(c.kind) + " in " + std::to_string(c.domain));
        EXPECT_EQ(standardFolder(c.kind, c.domain), c.folder);
        if (c.created) {
            EXPECT_TRUE(isFolder(c.folder));
        }
    }
    // Applications are never created.
    EXPECT_FALSE(isFolder(dir / "data/applications"));

    GSIdPointer temporary;
    temporary = GSURLCreateForTemporaryDirectory();
    EXPECT_EQ(pathOf(temporary.get()), dir / "tmp/a");
}

TEST(GSURLStandardFolders, FallbacksAndFailures)
{
    ScratchFolder dir;
    std::string const file = dir.write("file", "");
    {
        // Relative variables count as unset.
        Environment env{{"TMPDIR", "relative/tmp"}, {"XDG_CONFIG_HOME", "relative"}, {"HOME", (dir / "h").c_str()}};
        EXPECT_EQ(standardFolder(2, 0), "/tmp");
        EXPECT_EQ(standardFolder(1, 0), dir / "h/.config");
    }
    {
        // A folder that cannot be created gives no URL.
        Environment env{{"XDG_CONFIG_HOME", (file + "/config").c_str()}, {"HOME", (file + "/home").c_str()}};
        EXPECT_EQ(standardFolder(1, 0), "-");
        EXPECT_EQ(standardFolder(3, 0), "-");
        EXPECT_EQ(standardFolder(0, 0), "-");
        EXPECT_EQ(standardFolder(6, 0), file + "/home/.local/share/applications"); // never created
    }
    {
        // Without $HOME the password database's home folder.
        Environment env{{"HOME", nullptr}};
        std::string expected = "-";
        if (passwd* entry = getpwuid(getuid()))
            expected = entry->pw_dir;
        EXPECT_EQ(standardFolder(9, 0), expected);
    }
}

TEST(GSURLTrash, EscapingAndNames)
{
    struct Escape {
        char const* path;
        char const* escaped;
    };
    Escape const escapes[] = {
        {"/home/me/My file.txt", "/home/me/My%20file.txt"},
        {"/a-b_c.d~e/F9", "/a-b_c.d~e/F9"},
        {"/caf\xC3\xA9", "/caf%C3%A9"},
        {"/100%;#?&=+\xFF", "/100%25%3B%23%3F%26%3D%2B%FF"},
    };
    for (Escape const& e : escapes)
        EXPECT_EQ(GSPlatformEscapeTrashPath(e.path), e.escaped);

    struct Name {
        char const* name;
        int attempt;
        char const* trashName;
    };
    Name const names[] = {
        {"doc.txt", 1, "doc.txt"},   {"doc.txt", 2, "doc.2.txt"},     {"doc.tar.gz", 3, "doc.tar.3.gz"},
        {"README", 2, "README.2"},   {".hidden", 2, ".hidden.2"},     {".conf.ini", 12, ".conf.12.ini"},
    };
    for (Name const& n : names)
        EXPECT_EQ(GSPlatformTrashName(n.name, n.attempt), n.trashName);
}

// The home trash: the item under files/, its info file beside it, free names on collision.
TEST(GSURLTrash, HomeTrash)
{
    ScratchFolder dir;
    Environment env{{"XDG_DATA_HOME", (dir / "data").c_str()}};
    std::string const trash = dir / "data/Trash";
    std::string const name = "My caf\xC3\xA9 file.txt";
    struct Item {
        std::string name;     // in the scratch folder
        std::string content;  // "": a folder with one file
        std::string trashName;
    };
    Item const items[] = {
        {name, "first", name},
        {name, "second", "My caf\xC3\xA9 file.2.txt"},
        {"sub/" + name, "third", "My caf\xC3\xA9 file.3.txt"},
        {"latin1 \xE9", "bytes", "latin1 \xE9"},
        {"folder", "", "folder"},
    };
    mkdir((dir / "sub").c_str(), 0755);
    for (Item const& item : items) {
        SCOPED_TRACE(item.name);
        std::string const path = dir / item.name;
        if (item.content.empty()) {
            mkdir(path.c_str(), 0755);
            std::ofstream(path + "/inner") << "inner";
        } else {
            std::ofstream(path) << item.content;
        }
        GSString error("untouched");
        ASSERT_EQ(GSURLMoveToTrash(urlFor(path).get(), &error), 0);
        EXPECT_EQ(error, GSString("untouched"));
        EXPECT_EQ(access(path.c_str(), F_OK), -1);
        std::string const trashed = trash + "/files/" + item.trashName;
        EXPECT_EQ(readText(item.content.empty() ? trashed + "/inner" : trashed), item.content.empty() ? "inner" : item.content);
        std::vector<std::string> info = linesOf(readText(trash + "/info/" + item.trashName + ".trashinfo"));
        ASSERT_EQ(info.size(), 3u);
        EXPECT_EQ(info[0], "[Trash Info]");
        EXPECT_EQ(info[1], "Path=" + GSPlatformEscapeTrashPath(path));
        expectDeletionDateNow(info[2]);
    }
    struct stat st;
    ASSERT_EQ(stat(trash.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0700u);

    // A name taken by an item without its info file stays taken.
    std::ofstream(trash + "/files/stale") << "stale";
    std::string const fresh = dir.write("stale", "fresh");
    ASSERT_EQ(GSURLMoveToTrash(urlFor(fresh).get(), nullptr), 0);
    EXPECT_EQ(readText(trash + "/files/stale.2"), "fresh");
    EXPECT_EQ(readText(trash + "/files/stale"), "stale");

    GSString error;
    EXPECT_EQ(GSURLMoveToTrash(urlFor(dir / "absent").get(), &error), 1);
    EXPECT_EQ(error, GSString(std::strerror(ENOENT)));
    error = GSString("untouched");
    EXPECT_EQ(GSURLMoveToTrash(nullptr, &error), 1);
    EXPECT_EQ(error, GSString("untouched"));
}

// Where no trash can be made the result is 2 and the text stays.
TEST(GSURLTrash, NoTrash)
{
    ScratchFolder dir;
    std::string const file = dir.write("file", "");
    std::string const item = dir.write("item", "keep");
    {
        // The home trash on this file system cannot be made.
        Environment env{{"XDG_DATA_HOME", (file + "/data").c_str()}};
        GSString error("untouched");
        EXPECT_EQ(GSURLMoveToTrash(urlFor(item).get(), &error), 2);
        EXPECT_EQ(error, GSString("untouched"));
        EXPECT_EQ(readText(item), "keep");
    }
    {
        // A mount whose top folder takes no new folder (/proc), the home trash elsewhere.
        Environment env{{"XDG_DATA_HOME", (dir / "data").c_str()}};
        GSString error("untouched");
        EXPECT_EQ(GSURLMoveToTrash(urlFor("/proc/version").get(), &error), 2);
        EXPECT_EQ(error, GSString("untouched"));
        EXPECT_EQ(access(("/proc/.Trash-" + std::to_string(getuid())).c_str(), F_OK), -1);
    }
}

// An item on another file system goes to that mount's trash: $topdir/.Trash/$UID when a sticky
// shared .Trash exists there, else $topdir/.Trash-$UID; the info's path is relative to $topdir.
TEST(GSURLTrash, TrashOfAnotherMount)
{
    ScratchFolder dir;
    std::string const other = otherFileSystem(dir.path());
    if (other.empty())
        GTEST_SKIP() << "no writable /dev/shm on a second file system";
    Environment env{{"XDG_DATA_HOME", (dir / "data").c_str()}};
    std::string const uid = std::to_string(getuid());
    std::string const own = other + "/.Trash-" + uid;
    std::string const shared = other + "/.Trash";
    if (access(own.c_str(), F_OK) == 0 || access(shared.c_str(), F_OK) == 0)
        GTEST_SKIP() << other << " has a trash already; this test makes and removes its own";
    ScratchFolder there(other);
    std::string const relative = there.path().substr(other.size() + 1);
    struct Round {
        bool sharedTrash;
        std::string trash;
    };
    Round const rounds[] = {{false, own}, {true, shared + "/" + uid}};
    for (Round const& round : rounds) {
        SCOPED_TRACE(round.trash);
        if (round.sharedTrash) {
            mkdir(shared.c_str(), 01777);
            chmod(shared.c_str(), 01777);
        }
        std::string const item = there.write("on shm", "content");
        ASSERT_EQ(GSURLMoveToTrash(urlFor(item).get(), nullptr), 0);
        EXPECT_EQ(readText(round.trash + "/files/on shm"), "content");
        std::vector<std::string> info = linesOf(readText(round.trash + "/info/on shm.trashinfo"));
        ASSERT_EQ(info.size(), 3u);
        EXPECT_EQ(info[1], "Path=" + GSPlatformEscapeTrashPath(relative + "/on shm"));
        struct stat st;
        ASSERT_EQ(stat(round.trash.c_str(), &st), 0);
        EXPECT_EQ(st.st_mode & 0777, 0700u);
        EXPECT_EQ(access((dir / "data/Trash").c_str(), F_OK), -1);
        std::filesystem::remove_all(round.sharedTrash ? shared : own);
    }
}
