// The thumbnail and preview requests against the platform double, over documents on disk. Which
// documents have a picture, and the size rule, are the generator core's (tests/generator/); these
// check what the requests add: the platform calls, their contexts and every reference given back.
#include "DoubleTest.h"
#include "QuickLookDouble.h"
#include "generator/quicklook/QuickLookGeneratorPlugin.h"
#include "tests/support/ObjectDocuments.h"
#include "tests/support/ScratchFolder.h"
#include "tests/support/PictureSamples.h"

#include <gtest/gtest.h>


using qmtest::Bytes;

namespace {

Bytes jpegOf(int width, int height) { return samples::encodeJpeg(samples::testPattern(width, height)); }
Bytes pngOf(int width, int height) { return samples::encodePng(samples::testPattern(width, height), true); }

class RequestTest : public DoubleTest {
protected:
    void TearDown() override
    {
        DoubleTest::TearDown();
        EXPECT_EQ(qmdouble::liveObjects(), 0);
    }

    // Runs a request for a document with these bytes (or at a URL); every reference the request
    // made must be back when it returns.
    OSStatus thumbnail(Bytes const& document, CGSize maxSize) { return thumbnailAt(urlFor(document), maxSize); }
    OSStatus preview(Bytes const& document) { return previewAt(urlFor(document)); }
    OSStatus thumbnailAt(CFURLRef url, CGSize maxSize) { return request(url, &maxSize); }
    OSStatus previewAt(CFURLRef url) { return request(url, nullptr); }
    OSStatus request(CFURLRef urlRef, CGSize const* thumbnailSize)
    {
        GSCFTypeRef<CFURLRef> url(urlRef);
        long before = qmdouble::liveReferences();
        OSStatus status = thumbnailSize ? GenerateThumbnailForURL(nullptr, &thumbnailRequest, url.get(),
                                                                  CFSTR("com.quillmoor.document"), nullptr, *thumbnailSize)
                                        : GeneratePreviewForURL(nullptr, &previewRequest, url.get(),
                                                                CFSTR("com.quillmoor.document"), nullptr);
        EXPECT_EQ(qmdouble::liveReferences(), before) << "the request kept a reference";
        return status;
    }
    CFURLRef urlFor(Bytes const& document)
    {
        return qmdouble::createFileURL(folder.write("doc" + std::to_string(++files) + ".qmd", document));
    }

    // The one context of a request: the size asked for, flushed once; one draw over all of it when
    // there is a picture. (An unreleased context is a live object at the end.)
    static void expectOneFlushedContext(std::vector<QMDoubleContextRecord> const& contexts, double w, double h)
    {
        ASSERT_EQ(contexts.size(), 1u);
        QMDoubleContextRecord const& c = contexts[0];
        EXPECT_EQ(c.size.width, w);
        EXPECT_EQ(c.size.height, h);
        EXPECT_EQ(c.flushes, 1);
        ASSERT_EQ(c.draws.size(), w > 0 ? 1u : 0u);
        for (QMDoubleDraw const& draw : c.draws) {
            EXPECT_EQ(draw.rect.origin.x, 0);
            EXPECT_EQ(draw.rect.origin.y, 0);
            EXPECT_EQ(draw.rect.size.width, w);
            EXPECT_EQ(draw.rect.size.height, h);
        }
    }

    qmtest::ScratchFolder folder;
    int files = 0;
    QMDoubleThumbnailRequest thumbnailRequest;
    QMDoublePreviewRequest previewRequest;
};

// Every document claims 64 x 48 in its description record: the contexts take the picture's size.
TEST_F(RequestTest, EachRequestDrawsThePictureInOneFlushedContext)
{
    qmtest::DocumentBuilder noPicture;
    noPicture.documentID().version(0x0200).standardFloats().record(20, Bytes{1, 2, 3}).endTag();
    struct Case {
        Bytes picture;      // the stored bytes
        int storedType;     // the picture type of the document; -1: `picture` is the whole document
        int width, height;  // of the picture
        CGSize box;         // the thumbnail's largest size
        double drawnWidth, drawnHeight; // of the thumbnail; 0: no picture
    };
    for (Case const& c : {
             Case{pngOf(256, 128), 3, 256, 128, {127.6, 128}, 128, 64}, // the box as the service gives it
             Case{jpegOf(300, 1000), 2, 300, 1000, {256, 256}, 76, 256},
             Case{jpegOf(40, 30), 2, 40, 30, {128, 128}, 40, 30},
             Case{pngOf(20, 10), 5, 20, 10, {128, 128}, 20, 10},
             Case{jpegOf(20, 10), 3, 0, 0, {128, 128}, 0, 0}, // the PNG decoder refuses JPEG bytes
             Case{pngOf(20, 10), 4, 0, 0, {128, 128}, 0, 0},
             Case{noPicture.bytes(), -1, 0, 0, {128, 128}, 0, 0},
         }) {
        SCOPED_TRACE(testing::Message() << "type " << c.storedType << ", " << c.width << " x " << c.height);
        Bytes document = c.storedType < 0 ? c.picture : qmtest::simpleDocument(c.storedType, c.picture, 64, 48);
        qmdouble::reset();
        thumbnailRequest.contexts.clear();
        previewRequest.contexts.clear();

        EXPECT_EQ(thumbnail(document, c.box), noErr);
        expectOneFlushedContext(thumbnailRequest.contexts, c.drawnWidth, c.drawnHeight);
        EXPECT_TRUE(previewRequest.contexts.empty());
        QMDoubleContextRecord const& context = thumbnailRequest.contexts.at(0);
        EXPECT_EQ(context.interpolationQuality, kCGInterpolationHigh);
        EXPECT_EQ(context.antialias, 1);
        if (c.drawnWidth > 0) {
            EXPECT_EQ(context.draws.at(0).imageWidth, size_t(c.width));
            EXPECT_EQ(context.draws.at(0).imageHeight, size_t(c.height));
        }
        // The preview has the picture's size and the context's default settings.
        EXPECT_EQ(preview(document), noErr);
        expectOneFlushedContext(previewRequest.contexts, c.width, c.height);
        EXPECT_EQ(previewRequest.contexts.at(0).interpolationQuality, -1);
        EXPECT_EQ(previewRequest.contexts.at(0).antialias, -1);
        EXPECT_EQ(thumbnailRequest.contexts.size(), 1u);
        EXPECT_EQ(qmdouble::errors(), std::vector<std::string>{});
    }
}

TEST_F(RequestTest, NoContextForAFileThatDoesNotOpenOrADocumentThatCannotBeRead)
{
    // Two object-table records: reading the document fails (throws) after the file was opened.
    qmtest::ObjectDocument unreadable;
    unreadable.version = 0x0200;
    unreadable.secondTable = true;
    unreadable.picture = jpegOf(20, 10);
    std::string missing = folder.path() + "/missing.qmd";
    EXPECT_EQ(thumbnailAt(qmdouble::createFileURL(missing), CGSize{128, 128}), noErr);
    EXPECT_EQ(previewAt(qmdouble::createFileURL(missing)), noErr);
    EXPECT_EQ(thumbnailAt(qmdouble::createNonFileURL(), CGSize{128, 128}), noErr);
    EXPECT_EQ(previewAt(qmdouble::createNonFileURL()), noErr);
    EXPECT_EQ(thumbnailAt(nullptr, CGSize{128, 128}), noErr);
    EXPECT_EQ(thumbnail(unreadable.build(), CGSize{128, 128}), noErr);
    EXPECT_EQ(preview(unreadable.build()), noErr);
    EXPECT_TRUE(thumbnailRequest.contexts.empty());
    EXPECT_TRUE(previewRequest.contexts.empty());
}

TEST_F(RequestTest, FillReplacesThePreviousImageAndDropsOneBeyondThePixelLimits)
{
    Bytes jpeg = jpegOf(30, 20);
    GSCFTypeRef<CFURLRef> url(urlFor(qmtest::simpleDocument(qmtest::kPictureJPEG, jpeg)));
    GSDynaArray<unsigned char> first(8, -100);
    GSDynaArray<unsigned char> second(8, -100);
    {
        GSCFTypeRef<CGImageRef> image;
        EXPECT_EQ(GenerateFillCGImage(url.get(), &first, &image), 0);
        ASSERT_NE(image.get(), nullptr);
        EXPECT_EQ(qmdouble::liveObjects(), 2); // the URL and the image; the provider is gone
        EXPECT_EQ(GenerateFillCGImage(url.get(), &second, &image), 0);
        EXPECT_NE(image.get(), nullptr);
        EXPECT_EQ(qmdouble::liveObjects(), 2) << "the first image was not released";
        EXPECT_EQ(CGImageGetWidth(image.get()), 30u);
    }
    EXPECT_EQ(qmdouble::liveObjects(), 1);
    // The buffer holds exactly the stored bytes.
    EXPECT_EQ(Bytes(first.getPointer(), first.getPointer() + first.getCount()), jpeg);

    struct Case {
        std::uint32_t maxWidth, maxHeight;
        std::uint64_t maxPixels;
        bool kept;
    };
    for (Case c : {Case{30, 20, 600, true}, Case{29, 20, 600, false}, Case{30, 19, 600, false},
                   Case{30, 20, 599, false}}) {
        GSThumbnailLimits limits;
        limits.maxWidth = c.maxWidth, limits.maxHeight = c.maxHeight, limits.maxPixels = c.maxPixels;
        GSDynaArray<unsigned char> bytes(8, -100);
        GSCFTypeRef<CGImageRef> image;
        EXPECT_EQ(GenerateFillCGImage(url.get(), &bytes, &image, limits), 0);
        EXPECT_EQ(bool(image), c.kept) << c.maxWidth << " " << c.maxHeight << " " << c.maxPixels;
        EXPECT_EQ(qmdouble::liveObjects(), 1 + c.kept) << "a dropped image was not released";
    }

    GSCFTypeRef<CFURLRef> missing(qmdouble::createFileURL(folder.path() + "/none.qmd"));
    GSCFTypeRef<CGImageRef> image;
    GSDynaArray<unsigned char> third(8, -100);
    EXPECT_NE(GenerateFillCGImage(missing.get(), &third, &image), 0);
    EXPECT_FALSE(image);
}

} // namespace
