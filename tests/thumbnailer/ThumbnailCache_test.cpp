#include "thumbnailer/ThumbnailCache.h"

#include "thumbnailer/DesktopThumbnail.h"
#include "thumbnailer/ThumbnailPng.h"

#include "tests/support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sys/stat.h>

namespace fs = std::filesystem;

TEST(ThumbnailCacheNames, EscapeAndHashAsGLibDoes)
{
    // Characters GLib escapes in a path and those it keeps ('=' and '+' stay, ';' does not).
    EXPECT_EQ(fileUriForPath("/tmp/a b/\xC3\xBC#%;=[]?+.qmd"), "file:///tmp/a%20b/%C3%BC%23%25%3B=%5B%5D%3F+.qmd");
    // The freedesktop.org thumbnail naming example.
    EXPECT_EQ(thumbnailEntryName("file:///home/jens/photos/me.png"), "c6ee772d9e49320e97ec29a7eb5b1697.png");
    // The flavors and their boxes.
    EXPECT_EQ(thumbnailFlavorSize("normal"), 128);
    EXPECT_EQ(thumbnailFlavorSize("large"), 256);
    EXPECT_EQ(thumbnailFlavorSize("x-large"), 512);
    EXPECT_EQ(thumbnailFlavorSize("xx-large"), 1024);
    EXPECT_EQ(thumbnailFlavorSize("huge"), 0);
}

TEST(ThumbnailCacheNames, ResolvesPathsAndFileUris)
{
    std::string path, uri, message;
    ASSERT_TRUE(resolveDocumentInput("file:///tmp/a%20b/%C3%BC.qmd", &path, &uri, &message));
    EXPECT_EQ(path, "/tmp/a b/\xC3\xBC.qmd");
    EXPECT_EQ(uri, "file:///tmp/a%20b/%C3%BC.qmd");
    ASSERT_TRUE(resolveDocumentInput("file://localhost/tmp/x.qmd", &path, &uri, &message));
    EXPECT_EQ(path, "/tmp/x.qmd");

    ASSERT_TRUE(resolveDocumentInput("rel dir/../x y.qmd", &path, &uri, &message));
    EXPECT_EQ(path, (fs::current_path() / "x y.qmd").string());

    EXPECT_FALSE(resolveDocumentInput("file://otherhost/tmp/x.qmd", &path, &uri, &message));
    EXPECT_FALSE(resolveDocumentInput("file:relative", &path, &uri, &message));
    EXPECT_FALSE(resolveDocumentInput("", &path, &uri, &message));
}

class ThumbnailCacheEntries : public ::testing::Test {
protected:
    std::string writeEntry(long mtime, long size)
    {
        ThumbnailInfo info;
        info.uri = "file:///x.qmd";
        info.mtime = mtime;
        info.size = size;
        uint8_t const px[4] = {1, 2, 3, 255};
        PngBytes png;
        EXPECT_EQ(encodeThumbnailPng(px, 1, 1, true, info, PngEncodeOptions{}, &png), 0);
        EXPECT_EQ(writeCacheEntry(dir.string(), "e.png", png.data.get(), png.size), "");
        return (dir / "e.png").string();
    }

    qmtest::ScratchFolder folder;
    fs::path dir{folder.path()};
};

TEST_F(ThumbnailCacheEntries, AreUpToDateOnlyWhenModificationTimeAndSizeMatch)
{
    std::string entry = writeEntry(1700000000, 77);
    EXPECT_TRUE(thumbnailEntryIsUpToDate(entry, 1700000000, 77));
    EXPECT_FALSE(thumbnailEntryIsUpToDate(entry, 1700000001, 77));
    EXPECT_FALSE(thumbnailEntryIsUpToDate(entry, 1700000000, 78));
    // A failure record without a size counts by its time alone.
    entry = writeEntry(1700000000, -1);
    EXPECT_TRUE(thumbnailEntryIsUpToDate(entry, 1700000000, 78));
    // Missing and damaged entries are never up to date.
    EXPECT_FALSE(thumbnailEntryIsUpToDate((dir / "missing.png").string(), 1, 1));
    std::ofstream(dir / "junk.png") << "not a png";
    EXPECT_FALSE(thumbnailEntryIsUpToDate((dir / "junk.png").string(), 1, 1));
}

TEST_F(ThumbnailCacheEntries, AreWrittenPrivateThroughARenameLeavingNoTemporaryFile)
{
    std::string entry = writeEntry(5, 6);
    struct stat st{};
    ASSERT_EQ(stat(entry.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600u);
    long files = std::distance(fs::directory_iterator(dir), fs::directory_iterator());
    EXPECT_EQ(files, 1);
    uint8_t const b[1] = {0};
    EXPECT_NE(writeCacheEntry((dir / "no such folder").string(), "e.png", b, 1), "");
}
