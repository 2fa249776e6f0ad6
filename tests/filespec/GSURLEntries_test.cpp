#include "gs/filespec/GSFileState.h"
#include "gs/filespec/GSURL.h"
#include "gs/platform/GSPlatformObject.h"

#include "tests/filespec/URLTestSupport.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <fstream>
#include <random>
#include <sys/stat.h>
#include <set>
#include <string>
#include <utility>

using qmtest::pathOf;
using qmtest::ScratchFolder;
using qmtest::urlFor;

namespace {

using Listing = std::set<std::pair<std::string, bool>>; // name, folder

Listing enumerate(std::string const& folder)
{
    Listing seen;
    GSIdPointer enumerator;
    enumerator = GSURLCreateDirectoryEnumerator(urlFor(folder, 1).get());
    EXPECT_FALSE(enumerator.isNull());
    GSFileState none;
    EXPECT_EQ(GSDirectoryEnumeratorFillFileState(enumerator.get(), &none), 1); // no entry yet
    while (void* url = GSDirectoryEnumeratorGetNextURL(enumerator.get())) {
        std::string const name = GSURLGetLastPathComponent(url).c_str();
        EXPECT_EQ(pathOf(url), (folder == "/" ? "" : folder) + "/" + name);
        seen.emplace(name, qmtest::isFolderURL(url));
        // The state read through the listing is the state read through the entry's URL.
        GSFileState byURL, byListing;
        EXPECT_EQ(GSDirectoryEnumeratorFillFileState(enumerator.get(), &byListing), GSURLFillFileState(url, &byURL));
        EXPECT_EQ(byListing.valid, byURL.valid) << name;
        EXPECT_EQ(byListing.flags, byURL.flags) << name;
        EXPECT_TRUE(byListing.creationDate == byURL.creationDate && byListing.modificationDate == byURL.modificationDate
                    && byListing.accessDate == byURL.accessDate) << name;
    }
    EXPECT_EQ(GSDirectoryEnumeratorGetNextURL(enumerator.get()), nullptr); // and stays at the end
    none.valid = 1;
    EXPECT_EQ(GSDirectoryEnumeratorFillFileState(enumerator.get(), &none), 1);
    EXPECT_EQ(none.valid, 0);
    return seen;
}

// The same, read apart from the library.
Listing listing(std::string const& folder)
{
    Listing expected;
    for (auto const& entry : std::filesystem::directory_iterator(folder))
        expected.emplace(entry.path().filename().string(), entry.symlink_status().type() == std::filesystem::file_type::directory);
    return expected;
}

} // namespace

// Random folders of files (some locked), folders and links with names of any bytes: exactly the
// direct entries, folders as folder URLs, links (here to folders) as they are, each with the state
// its URL has.
TEST(GSURLEnumeration, DirectEntriesOfRandomFolders)
{
    std::mt19937 random(1234);
    long const descriptors = qmtest::openDescriptors();
    for (int round = 0; round < 20; ++round) {
        ScratchFolder dir;
        for (int i = static_cast<int>(random() % 40); i > 0; --i) {
            std::string name;
            for (int k = 1 + static_cast<int>(random() % 12); k > 0; --k)
                name += static_cast<char>(1 + random() % 255);
            if (name.find('/') != std::string::npos || name == "." || name == "..")
                continue;
            int const kind = static_cast<int>(random() % 3);
            if (kind == 0 && mkdir((dir / name).c_str(), 0755) == 0)
                std::ofstream(dir / name + "/inner") << "not listed";
            else if (kind == 1)
                symlink(".", (dir / name).c_str());
            else if (std::ofstream(dir / name) << name; random() % 2 == 0)
                chmod((dir / name).c_str(), 0444); // locked
        }
        std::ofstream(dir / ".hidden") << "hidden";
        EXPECT_EQ(enumerate(dir.path()), listing(dir.path()));
    }
    EXPECT_EQ(enumerate("/"), listing("/"));
    EXPECT_EQ(qmtest::openDescriptors(), descriptors);

    // An entry's URL is the enumerator's until the next call or its end; one the caller retains
    // outlives both.
    ScratchFolder dir;
    dir.write("only", "");
    GSIdPointer kept, last;
    auto count = [](GSIdPointer const& p) { return static_cast<GSPlatformObject const*>(p.get())->getRetainCount(); };
    {
        GSIdPointer first, second;
        first = GSURLCreateDirectoryEnumerator(urlFor(dir.path(), 1).get());
        second = GSURLCreateDirectoryEnumerator(urlFor(dir.path(), 1).get());
        kept.attach(GSDirectoryEnumeratorGetNextURL(first.get()));
        last.attach(GSDirectoryEnumeratorGetNextURL(second.get()));
        EXPECT_EQ(count(last), 2);
        EXPECT_EQ(GSDirectoryEnumeratorGetNextURL(second.get()), nullptr);
        EXPECT_EQ(count(last), 1);
    }
    EXPECT_EQ(count(kept), 1);
    EXPECT_EQ(pathOf(kept.get()), dir / "only");
    // What is no folder, or no enumerator.
    EXPECT_EQ(GSURLCreateDirectoryEnumerator(kept.get()), nullptr);
    EXPECT_EQ(GSURLCreateDirectoryEnumerator(urlFor(dir / "absent").get()), nullptr);
    EXPECT_EQ(GSURLCreateDirectoryEnumerator(nullptr), nullptr);
    EXPECT_EQ(GSDirectoryEnumeratorGetNextURL(nullptr), nullptr);
    EXPECT_EQ(GSDirectoryEnumeratorGetNextURL(kept.get()), nullptr);
    GSFileState state;
    EXPECT_EQ(GSDirectoryEnumeratorFillFileState(kept.get(), &state), 1);
    EXPECT_EQ(GSDirectoryEnumeratorFillFileState(nullptr, &state), 1);
}

TEST(GSURLNames, NamesOfExistingItemsOnly)
{
    ScratchFolder dir;
    std::string const name = "caf\xC3\xA9 \xE9";
    dir.write(name, "");
    for (auto get : {GSURLGetName, GSURLGetLocalizedName}) {
        GSString error("untouched");
        EXPECT_EQ(std::string(get(urlFor(dir / name).get(), &error).c_str()), name);
        EXPECT_EQ(get(urlFor("/", 1).get(), &error), GSString("/"));
        EXPECT_TRUE(get(nullptr, &error).isEmpty());
        EXPECT_EQ(error, GSString("untouched"));
        EXPECT_TRUE(get(urlFor(dir / "absent").get(), &error).isEmpty());
        EXPECT_EQ(std::string(error.c_str()), qmtest::errorFor(ENOENT));
    }
    GSIdPointer icon = urlFor(dir / name);
    EXPECT_EQ(GSURLGetIcon(urlFor(dir / name).get(), &icon, nullptr), 1);
    EXPECT_TRUE(icon.isNull());
}

TEST(GSURLLinks, ResolvingSymbolicLinks)
{
    ScratchFolder dir;
    std::string const real = std::filesystem::canonical(dir.path()).string();
    dir.write("file", "");
    mkdir((dir / "folder").c_str(), 0755);
    dir.write("folder/inner", "");
    for (auto const& [link, target] : {std::pair<char const*, char const*>{"to file", "file"}, {"to folder", "folder"},
                                       {"chain", "to file"}, {"broken", "missing"}, {"loop", "loop"}})
        symlink(target, (dir / link).c_str());
    struct Case {
        char const* name;
        char const* target; // below the real scratch folder; null: none
        short isFolder;
    } const cases[] = {
        {"file", nullptr, 0},   {"folder", nullptr, 0},   {"to file", "/file", 0},
        {"to folder", "/folder", 1}, {"chain", "/file", 0}, {"to folder/inner", "/folder/inner", 0}, // a link on the way
        {"broken", nullptr, 0}, {"loop", nullptr, 0},     {"absent", nullptr, 0},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.name);
        GSIdPointer target = urlFor(dir.path()); // cleared when there is no target
        short isFolder = 7;
        ASSERT_EQ(GSURLResolveLinkOrAlias(urlFor(dir / c.name).get(), 0, &target, &isFolder), 0);
        if (!c.target && real == dir.path()) {
            EXPECT_TRUE(target.isNull());
        } else if (c.target) {
            ASSERT_FALSE(target.isNull());
            EXPECT_EQ(pathOf(target.get()), real + c.target);
            EXPECT_EQ(isFolder, c.isFolder);
            EXPECT_EQ(qmtest::isFolderURL(target.get()), c.isFolder == 1);
        }
    }
    GSIdPointer target;
    EXPECT_EQ(GSURLResolveLinkOrAlias(nullptr, 0, &target, nullptr), 1);
    EXPECT_EQ(GSURLResolveLinkOrAlias(urlFor(dir / "to file").get(), 0, nullptr, nullptr), 1);
}
