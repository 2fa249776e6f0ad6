#include "gs/filespec/GSURL.h"

#include "gs/platform/GSPlatformURL.h"
#include "tests/filespec/URLTestSupport.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <set>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

using qmtest::pathOf;
using qmtest::ScratchFolder;
using qmtest::urlFor;

namespace {

using Listing = std::set<std::pair<std::string, bool>>; // name, folder

// The folder's entries as the enumerator gives them.
Listing enumerate(void* folderURL)
{
    Listing seen;
    GSIdPointer enumerator;
    enumerator = GSURLCreateDirectoryEnumerator(folderURL);
    EXPECT_FALSE(enumerator.isNull());
    while (void* url = GSDirectoryEnumeratorGetNextURL(enumerator.get())) {
        std::string path = pathOf(url);
        std::string name = GSURLGetLastPathComponent(url).c_str();
        EXPECT_EQ(path, pathOf(folderURL) + (pathOf(folderURL) == "/" ? "" : "/") + name);
        seen.emplace(name, static_cast<GSPlatformURL const*>(url)->isDirectory());
    }
    EXPECT_EQ(GSDirectoryEnumeratorGetNextURL(enumerator.get()), nullptr); // and stays at the end
    return seen;
}

// The same, read apart from the library.
Listing expectedListing(std::string const& folder)
{
    Listing expected;
    for (auto const& entry : std::filesystem::directory_iterator(folder))
        expected.emplace(entry.path().filename().string(), entry.symlink_status().type() == std::filesystem::file_type::directory);
    return expected;
}

} // namespace

// Random folders of files, folders and links with names of any bytes: the enumerator gives exactly
// the direct entries, folders as folder URLs, links as they are.
TEST(GSURLEnumeration, DirectEntriesOfRandomFolders)
{
    std::mt19937 random(1234);
    for (int round = 0; round < 20; ++round) {
        ScratchFolder dir;
        int const count = static_cast<int>(random() % 40);
        for (int i = 0; i < count; ++i) {
            std::string name;
            int const length = 1 + static_cast<int>(random() % 12);
            for (int k = 0; k < length; ++k) {
                char c = static_cast<char>(1 + random() % 255);
                name += c == '/' ? '_' : c;
            }
            if (name == "." || name == "..")
                continue;
            std::string path = dir / name;
            switch (random() % 4) {
            case 0:
                mkdir(path.c_str(), 0755);
                std::ofstream(path + "/inner") << "not listed";
                break;
            case 1:
                symlink(".", path.c_str()); // a link to a folder is no folder
                break;
            default:
                std::ofstream(path) << name;
            }
        }
        EXPECT_EQ(enumerate(qmtest::urlFor(dir.path(), 1).get()), expectedListing(dir.path()));
    }
    EXPECT_EQ(enumerate(urlFor("/", 1).get()), expectedListing("/"));
}

TEST(GSURLEnumeration, WhatIsNoFolderOrNoEnumerator)
{
    ScratchFolder dir;
    std::string file = dir.write("file", "");
    GSIdPointer url = urlFor(file);
    EXPECT_EQ(GSURLCreateDirectoryEnumerator(url.get()), nullptr);
    EXPECT_EQ(GSURLCreateDirectoryEnumerator(urlFor(dir / "absent").get()), nullptr);
    EXPECT_EQ(GSURLCreateDirectoryEnumerator(nullptr), nullptr);
    EXPECT_EQ(GSDirectoryEnumeratorGetNextURL(nullptr), nullptr);
    EXPECT_EQ(GSDirectoryEnumeratorGetNextURL(url.get()), nullptr); // a URL is no enumerator

    // An empty folder, and a folder we may not read: no entries.
    mkdir((dir / "empty").c_str(), 0755);
    EXPECT_EQ(enumerate(urlFor(dir / "empty", 1).get()), Listing());
    if (geteuid() != 0) {
        mkdir((dir / "closed").c_str(), 0000);
        EXPECT_EQ(GSURLCreateDirectoryEnumerator(urlFor(dir / "closed").get()), nullptr);
    }
}

// An entry's URL stays usable after the enumeration moved on when the caller retained it.
TEST(GSURLEnumeration, RetainedEntriesOutliveTheEnumerator)
{
    ScratchFolder dir;
    dir.write("only", "");
    GSIdPointer kept;
    {
        GSIdPointer enumerator;
        enumerator = GSURLCreateDirectoryEnumerator(urlFor(dir.path(), 1).get());
        kept.attach(GSDirectoryEnumeratorGetNextURL(enumerator.get()));
        EXPECT_EQ(GSDirectoryEnumeratorGetNextURL(enumerator.get()), nullptr);
    }
    EXPECT_EQ(pathOf(kept.get()), dir / "only");
}

TEST(GSURLNames, NamesOfExistingItemsOnly)
{
    ScratchFolder dir;
    std::string name = "caf\xC3\xA9 \xE9";
    dir.write(name, "");
    for (auto get : {GSURLGetName, GSURLGetLocalizedName}) {
        GSString error("untouched");
        EXPECT_EQ(std::string(get(urlFor(dir / name).get(), &error).c_str()), name);
        EXPECT_EQ(error, GSString("untouched"));
        EXPECT_EQ(get(urlFor("/", 1).get(), &error), GSString("/"));
        EXPECT_TRUE(get(urlFor(dir / "absent").get(), &error).isEmpty());
        EXPECT_EQ(error, GSString(std::strerror(ENOENT)));
        error = GSString("untouched");
        EXPECT_TRUE(get(nullptr, &error).isEmpty());
        EXPECT_EQ(error, GSString("untouched"));
    }
    GSIdPointer icon;
    icon.attach(urlFor(dir / name).get());
    EXPECT_EQ(GSURLGetIcon(urlFor(dir / name).get(), &icon, nullptr), 1);
    EXPECT_TRUE(icon.isNull());
}

TEST(GSURLLinks, ResolvingSymbolicLinks)
{
    ScratchFolder dir;
    std::string real;
    {
        char* r = realpath(dir.path().c_str(), nullptr);
        real = r;
        free(r);
    }
    dir.write("file", "");
    mkdir((dir / "folder").c_str(), 0755);
    dir.write("folder/inner", "");
    symlink("file", (dir / "to file").c_str());
    symlink("folder", (dir / "to folder").c_str());
    symlink("to file", (dir / "chain").c_str());
    symlink("missing", (dir / "broken").c_str());
    symlink("loop", (dir / "loop").c_str());
    struct Case {
        char const* name;
        char const* target; // below the real scratch folder; null: no target
        short isFolder;
    };
    Case const cases[] = {
        {"file", nullptr, 0},
        {"folder", nullptr, 0},
        {"to file", "/file", 0},
        {"to folder", "/folder", 1},
        {"chain", "/file", 0},
        {"to folder/inner", "/folder/inner", 0}, // a link on the way counts too
        {"broken", nullptr, 0},
        {"loop", nullptr, 0},
        {"absent", nullptr, 0},
    };
    bool const scratchIsReal = real == dir.path();
    for (Case const& c : cases) {
        SCOPED_TRACE(c.name);
        GSIdPointer target;
        target.attach(urlFor(dir.path()).get()); // cleared when there is no target
        short isFolder = 7;
        ASSERT_EQ(GSURLResolveLinkOrAlias(urlFor(dir / c.name).get(), 0, &target, &isFolder), 0);
        if (!c.target) {
            if (scratchIsReal) {
                EXPECT_TRUE(target.isNull());
            }
            continue;
        }
        ASSERT_FALSE(target.isNull());
        EXPECT_EQ(pathOf(target.get()), real + c.target);
        EXPECT_EQ(isFolder, c.isFolder);
        EXPECT_EQ(static_cast<GSPlatformURL const*>(target.get())->isDirectory(), c.isFolder == 1);
    }
    GSIdPointer target;
    EXPECT_EQ(GSURLResolveLinkOrAlias(nullptr, 0, &target, nullptr), 1);
    EXPECT_EQ(GSURLResolveLinkOrAlias(urlFor(dir / "to file").get(), 0, nullptr, nullptr), 1);
}
