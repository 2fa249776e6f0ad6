#include "gs/filespec/GSURL.h"

#include "gs/platform/GSPlatformTrash.h"
#include "tests/filespec/URLTestSupport.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <ctime>
#include <fstream>
#include <pwd.h>
#include <string>

using qmtest::Environment;
using qmtest::pathOf;
using qmtest::readText;
using qmtest::ScratchFolder;
using qmtest::urlFor;

namespace {

// The standard folder without the placeholder entry "a"; "-" for null.
std::string standardFolder(int kind, int domain)
{
    GSIdPointer url;
    url = GSURLCreateForStandardDirectory(kind, domain);
    if (url.isNull())
        return "-";
    EXPECT_EQ(GSURLGetLastPathComponent(url.get()), GSString("a"));
    std::string const path = pathOf(url.get());
    return path.substr(0, path.size() - 2);
}

// The trash's info file for `name`: its three lines, the deletion date checked to be local time
// within a minute of the test's clock and then left out.
std::string infoOf(std::string const& trash, std::string const& name)
{
    std::string const text = readText(trash + "/info/" + name + ".trashinfo");
    size_t const date = text.find("DeletionDate=");
    tm parts{};
    char const* end = date == std::string::npos ? nullptr : strptime(text.c_str() + date + 13, "%Y-%m-%dT%H:%M:%S\n", &parts);
    parts.tm_isdst = -1;
    EXPECT_TRUE(end && *end == 0 && std::abs(std::difftime(std::time(nullptr), std::mktime(&parts))) < 60) << text;
    return text.substr(0, date);
}

} // namespace

TEST(GSURLStandardFolders, KindsAndDomains)
{
    ScratchFolder dir;
    std::string const home = dir / "home", config = dir / "config";
    mkdir(home.c_str(), 0755);
    mkdir(config.c_str(), 0755);
    std::ofstream(config + "/user-dirs.dirs") << "XDG_DOCUMENTS_DIR=\"$HOME/My Documents\"\nXDG_PICTURES_DIR=\""
                                              << dir.path() << "/pictures/\"\n";
    Environment env{{"HOME", home.c_str()}, {"XDG_CONFIG_HOME", config.c_str()}, {"XDG_DATA_HOME", (dir / "data").c_str()},
                    {"TMPDIR", (dir / "tmp").c_str()}};
    std::string const program = std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
    long const descriptors = qmtest::openDescriptors();
    int const user = 0, local = 0x400, system = 0x800, application = 0xC00;
    struct Case {
        int kind, domain;
        std::string folder; // "-": null
        bool created;
    } const cases[] = {
        {0, user, home + "/.local/lib", true},      {0, local, "/usr/local/lib", false},   {0, system, "/usr/lib", false},
        {0, application, program, false},           {1, user, config, true},               {1, local, "/usr/local/etc", false},
        {1, system, "/etc", false},                 {2, user, dir / "tmp", false},         {2, system, dir / "tmp", false},
        {3, user, home + "/My Documents", true},    {3, application, home + "/My Documents", true},
        {3, 0x123, home + "/My Documents", true},   {3, local, "-", false},                {4, user, dir / "pictures", true},
        {4, system, "-", false},                    {5, user, home + "/Downloads", true}, // no line: the fallback
        {6, user, dir / "data/applications", false}, {6, local, "/usr/local/share/applications", false},
        {6, system, "/usr/share/applications", false}, {7, user, "-", false}, {8, user, "-", false},
        {9, user, home, false},                     {9, local, home, false},               {10, user, "-", false},
        {-1, user, "-", false},
    };
    for (auto const& c : cases) {
        EXPECT_EQ(standardFolder(c.kind, c.domain), c.folder) << c.kind << " in " << c.domain;
        EXPECT_TRUE(!c.created || std::filesystem::is_directory(c.folder)) << c.folder;
    }
    EXPECT_FALSE(std::filesystem::exists(dir / "data/applications")); // never created
    EXPECT_EQ(qmtest::openDescriptors(), descriptors);
    GSIdPointer temporary;
    temporary = GSURLCreateForTemporaryDirectory();
    EXPECT_EQ(pathOf(temporary.get()), dir / "tmp/a");

    // Relative variables count as unset; without $HOME the password database's home folder.
    Environment relative{{"TMPDIR", "tmp"}, {"XDG_CONFIG_HOME", "config"}};
    EXPECT_EQ(standardFolder(2, user), "/tmp");
    EXPECT_EQ(standardFolder(1, user), home + "/.config");
    Environment rootHome{{"HOME", "/"}};
    EXPECT_EQ(standardFolder(9, user), ""); // "/a" without its placeholder
    Environment noHome{{"HOME", nullptr}};
    passwd const* entry = getpwuid(getuid());
    EXPECT_EQ(standardFolder(9, user), entry ? entry->pw_dir : "-");
    // A folder that cannot be created gives no URL; applications are never created.
    std::string const file = dir.write("file", "");
    Environment blocked{{"XDG_CONFIG_HOME", (file + "/c").c_str()}, {"HOME", (file + "/h").c_str()}, {"XDG_DATA_HOME", nullptr}};
    for (int kind : {0, 1, 3, 4, 5})
        EXPECT_EQ(standardFolder(kind, user), "-") << kind;
    EXPECT_EQ(standardFolder(6, user), file + "/h/.local/share/applications");
}

TEST(GSURLTrash, EscapingAndNames)
{
    std::pair<char const*, char const*> const escapes[] = {{"/home/me/My file.txt", "/home/me/My%20file.txt"},
        {"/a-b_c.d~e/F9", "/a-b_c.d~e/F9"}, {"/caf\xC3\xA9", "/caf%C3%A9"}, {"/100%;#?&=+\xFF", "/100%25%3B%23%3F%26%3D%2B%FF"}};
    for (auto const& [path, escaped] : escapes)
        EXPECT_EQ(GSPlatformEscapeTrashPath(path), escaped);
    struct Name {
        char const* name;
        int attempt;
        char const* trashName;
    } const names[] = {{"doc.txt", 1, "doc.txt"}, {"doc.txt", 2, "doc.2.txt"}, {"doc.tar.gz", 3, "doc.tar.3.gz"},
                       {"README", 2, "README.2"}, {".hidden", 2, ".hidden.2"}, {".conf.ini", 12, ".conf.12.ini"}};
    for (auto const& n : names)
        EXPECT_EQ(GSPlatformTrashName(n.name, n.attempt), n.trashName);
}

// The home trash: items under files/ with free names, info files beside them, mode 0700.
TEST(GSURLTrash, HomeTrash)
{
    ScratchFolder dir;
    Environment env{{"XDG_DATA_HOME", (dir / "data").c_str()}};
    long const descriptors = qmtest::openDescriptors();
    std::string const trash = dir / "data/Trash", name = "My caf\xC3\xA9.txt";
    mkdir((dir / "sub").c_str(), 0755);
    std::pair<std::string, std::string> const items[] = {
        {name, name}, {name, "My caf\xC3\xA9.2.txt"}, {"sub/" + name, "My caf\xC3\xA9.3.txt"}, {"latin1 \xE9", "latin1 \xE9"},
        {"folder", "folder"}, {"stale", "stale.2"}, // a name held by an item without info stays taken
    };
    for (auto const& [item, trashName] : items) {
        SCOPED_TRACE(item);
        if (item == "stale")
            std::ofstream(trash + "/files/stale") << "stale";
        item == "folder" ? (void)mkdir((dir / item).c_str(), 0755) : (void)dir.write(item, item);
        GSString error("untouched");
        ASSERT_EQ(GSURLMoveToTrash(urlFor(dir / item).get(), &error), 0);
        EXPECT_EQ(error, GSString("untouched"));
        EXPECT_FALSE(std::filesystem::exists(dir / item));
        EXPECT_EQ(item == "folder" ? "" : readText(trash + "/files/" + trashName), item == "folder" ? "" : item);
        EXPECT_EQ(infoOf(trash, trashName), "[Trash Info]\nPath=" + GSPlatformEscapeTrashPath(dir / item) + "\n");
    }
    EXPECT_EQ(readText(trash + "/files/stale"), "stale");
    EXPECT_FALSE(std::filesystem::exists(trash + "/info/stale.trashinfo"));
    struct stat st;
    EXPECT_TRUE(stat(trash.c_str(), &st) == 0 && (st.st_mode & 0777) == 0700);
    // An item that cannot be moved stays, and so does no info file for it.
    mkdir((dir / "ro").c_str(), 0755);
    dir.write("ro/stuck", "");
    bool const readOnly = geteuid() == 0 ? qmtest::setImmutable(dir / "ro", true) : chmod((dir / "ro").c_str(), 0555) == 0;
    GSString error;
    if (readOnly) {
        EXPECT_EQ(GSURLMoveToTrash(urlFor(dir / "ro/stuck").get(), &error), 1);
        EXPECT_EQ(std::string(error.c_str()), qmtest::errorFor(geteuid() == 0 ? EPERM : EACCES));
        EXPECT_FALSE(std::filesystem::exists(trash + "/info/stuck.trashinfo"));
        geteuid() == 0 ? (void)qmtest::setImmutable(dir / "ro", false) : (void)chmod((dir / "ro").c_str(), 0755);
    }
    EXPECT_EQ(GSURLMoveToTrash(urlFor(dir / "absent").get(), &error), 1);
    EXPECT_EQ(std::string(error.c_str()), qmtest::errorFor(ENOENT));
    error = GSString("untouched");
    EXPECT_EQ(GSURLMoveToTrash(nullptr, &error), 1);
    EXPECT_EQ(error, GSString("untouched"));
    EXPECT_EQ(qmtest::openDescriptors(), descriptors);
}

// An item on another file system goes to its mount's trash: $topdir/.Trash/$UID when a sticky
// shared .Trash exists, else $topdir/.Trash-$UID, with the path relative to $topdir. Where no
// trash can be made the result is 2 and the text stays.
TEST(GSURLTrash, OtherMountsAndNoTrash)
{
    ScratchFolder dir;
    std::string const item = dir.write("item", "keep"), uid = std::to_string(getuid());
    for (std::string const& data : {dir / "item/data", dir / "data"}) { // the home trash cannot be made; elsewhere
        Environment env{{"XDG_DATA_HOME", data.c_str()}};
        GSString error("untouched");
        EXPECT_EQ(GSURLMoveToTrash(urlFor(data == dir / "data" ? "/proc/version" : item).get(), &error), 2);
        EXPECT_EQ(error, GSString("untouched"));
    }
    EXPECT_EQ(readText(item), "keep");
    EXPECT_FALSE(std::filesystem::exists("/proc/.Trash-" + uid));

    struct stat here, shm;
    std::string const own = "/dev/shm/.Trash-" + uid, shared = "/dev/shm/.Trash";
    if (stat(dir.path().c_str(), &here) != 0 || stat("/dev/shm", &shm) != 0 || here.st_dev == shm.st_dev)
        GTEST_SKIP() << "no /dev/shm on a second file system";
    if (std::filesystem::exists(own) || std::filesystem::exists(shared))
        GTEST_SKIP() << "/dev/shm has a trash already; this test makes and removes its own";
    Environment env{{"XDG_DATA_HOME", (dir / "data").c_str()}};
    ScratchFolder there("/dev/shm");
    for (std::string const& trash : {own, shared + "/" + uid}) {
        if (trash != own) {
            mkdir(shared.c_str(), 01777);
            chmod(shared.c_str(), 01777);
        }
        ASSERT_EQ(GSURLMoveToTrash(urlFor(there.write("on shm", "content")).get(), nullptr), 0) << trash;
        EXPECT_EQ(readText(trash + "/files/on shm"), "content");
        EXPECT_EQ(infoOf(trash, "on shm"), "[Trash Info]\nPath=" + GSPlatformEscapeTrashPath(there.path().substr(9)) + "/on%20shm\n");
        struct stat st;
        EXPECT_TRUE(stat(trash.c_str(), &st) == 0 && (st.st_mode & 0777) == 0700);
        std::filesystem::remove_all(trash == own ? own : shared);
    }
    EXPECT_FALSE(std::filesystem::exists(dir / "data/Trash"));
}
