#include "thumbnailer/DesktopThumbnail.h"

#include "tests/support/DocumentBuilder.h"
#include "tests/support/ScratchFolder.h"
#include "tests/support/PictureSamples.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <sys/stat.h>
#include <utime.h>

namespace {

using Bytes = std::vector<unsigned char>;

// An editor's safe save renames a new document over the old one. Whatever moment it happens at
// after the document was opened, the thumbnail is wholly the old document's: its picture, its
// state in the text chunks.
TEST(DesktopThumbnailOneOpen, ADocumentSavedOverMeanwhileDoesNotMixIn)
{
    qmtest::ScratchFolder folder;
    // Different formats and picture offsets: reading the new file at the old one's offset would fail.
    Bytes oldDoc = qmtest::simpleDocument(qmtest::kPictureJPEG, samples::encodeJpeg(samples::photoLike(120, 80)));
    Bytes newDoc = qmtest::simpleDocument(qmtest::kPicturePNG, samples::encodePng(samples::photoLike(30, 200), true));
    std::string const path = folder.write("doc.qmd", oldDoc);
    std::string const saved = folder.write(".doc.qmd.new", newDoc);
    utimbuf old{1000000000, 1000000000};
    ASSERT_EQ(::utime(path.c_str(), &old), 0);
    std::string const uri = "file://" + path;

    PngBytes alone, raced;
    ThumbnailInfo aloneInfo, racedInfo;
    std::string message;
    ASSERT_EQ(makeDocumentThumbnail(path, uri, 64, &alone, &aloneInfo, &message), qm::kExitOk) << message;

    qm::DocumentFile document;
    ASSERT_TRUE(document.open(path));
    ASSERT_EQ(std::rename(saved.c_str(), path.c_str()), 0);
    ASSERT_EQ(makeDocumentThumbnail(document, uri, 64, &raced, &racedInfo, &message), qm::kExitOk) << message;
    EXPECT_EQ(Bytes(raced.data.get(), raced.data.get() + raced.size), Bytes(alone.data.get(), alone.data.get() + alone.size));
    EXPECT_EQ(racedInfo.mtime, 1000000000);
    EXPECT_EQ(racedInfo.size, long(oldDoc.size()));
    EXPECT_EQ(racedInfo.imageWidth, 120);

    // The path now names the new document, which a new open sees whole.
    ASSERT_EQ(makeDocumentThumbnail(path, uri, 64, &raced, &racedInfo, &message), qm::kExitOk) << message;
    EXPECT_EQ(racedInfo.size, long(newDoc.size()));
    EXPECT_EQ(racedInfo.imageWidth, 30);
}

} // namespace
