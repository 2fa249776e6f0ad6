// The thumbnail and preview requests against the platform double, over documents on disk. Which
// documents have a picture, and the size rule, are the generator core's (tests/generator/); these
// check what the requests add: the platform calls, their contexts and every reference given back.
#include "DoubleTest.h"
#include "QuickLookDouble.h"
#include "generator/quicklook/QuickLookGeneratorPlugin.h"
#include "gs/object/GSExceptions.h"
#include "tests/support/ObjectDocuments.h"
#include "tests/support/ScratchFolder.h"
#include "tests/support/PictureSamples.h"

#include <gtest/gtest.h>

#include <algorithm>

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
    OSStatus thumbnailAt(CFURLRef urlRef, CGSize maxSize)
    {
        GSCFTypeRef<CFURLRef> url(urlRef);
        long before = qmdouble::liveReferences();
        OSStatus status = GenerateThumbnailForURL(nullptr, &thumbnailRequest, url.get(), CFSTR("com.quillmoor.document"),
                                                  nullptr, maxSize);
        EXPECT_EQ(qmdouble::liveReferences(), before) << "the request kept a reference";
        return status;
    }
    OSStatus previewAt(CFURLRef urlRef)
    {
        GSCFTypeRef<CFURLRef> url(urlRef);
        long before = qmdouble::liveReferences();
        OSStatus status = GeneratePreviewForURL(nullptr, &previewRequest, url.get(), CFSTR("com.quillmoor.document"), nullptr);
        EXPECT_EQ(qmdouble::liveReferences(), before) << "the request kept a reference";
        return status;
    }
    CFURLRef urlFor(Bytes const& document)
    {
        return qmdouble::createFileURL(folder.write("doc" + std::to_string(++files) + ".qmd", document));
    }

    static long count(std::string const& function)
    {
        auto const& calls = qmdouble::calls();
        return std::count(calls.begin(), calls.end(), function);
    }

    // The one context of a request: the size asked for, flushed once, released; one draw over all
    // of it when there is a picture.
    static void expectOneFlushedContext(std::vector<QMDoubleContextRecord> const& contexts, double w, double h)
    {
        ASSERT_EQ(contexts.size(), 1u);
        QMDoubleContextRecord const& c = contexts[0];
        EXPECT_EQ(c.size.width, w);
        EXPECT_EQ(c.size.height, h);
        EXPECT_TRUE(c.isBitmap);
        EXPECT_FALSE(c.hadProperties);
        EXPECT_EQ(c.flushes, 1);
        EXPECT_TRUE(c.released);
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

TEST_F(RequestTest, ThumbnailIsDrawnAtTheFittedSize)
{
    struct Case {
        int type, width, height;
        double maxWidth, maxHeight, drawnWidth, drawnHeight;
    };
    for (Case c : {Case{3, 256, 128, 127.6, 128, 128, 64}, // the rule gets the box as the service gives it
                   Case{2, 300, 1000, 256, 256, 76, 256}, Case{2, 40, 30, 128, 128, 40, 30}}) {
        qmdouble::reset();
        thumbnailRequest.contexts.clear();
        Bytes picture = c.type == 2 ? jpegOf(c.width, c.height) : pngOf(c.width, c.height);
        EXPECT_EQ(thumbnail(qmtest::simpleDocument(c.type, picture, c.width, c.height), CGSize{c.maxWidth, c.maxHeight}),
                  noErr);
        SCOPED_TRACE(c.width);
        expectOneFlushedContext(thumbnailRequest.contexts, c.drawnWidth, c.drawnHeight);
        QMDoubleContextRecord const& context = thumbnailRequest.contexts.at(0);
        EXPECT_EQ(context.interpolationQuality, kCGInterpolationHigh);
        EXPECT_EQ(context.antialias, 1);
        EXPECT_EQ(context.draws.at(0).imageWidth, size_t(c.width));
        EXPECT_EQ(context.draws.at(0).imageHeight, size_t(c.height));

        // The provider wraps the stored bytes as they are, without taking them over; the image is
        // decoded with the platform's defaults for a picture.
        ASSERT_EQ(qmdouble::providerCreations().size(), 1u);
        qmdouble::ProviderCreation const& provider = qmdouble::providerCreations()[0];
        EXPECT_TRUE(provider.infoNull);
        EXPECT_TRUE(provider.releaseCallbackNull);
        EXPECT_EQ(provider.size, picture.size());
        ASSERT_EQ(qmdouble::imageCreations().size(), 1u);
        qmdouble::ImageCreation const& image = qmdouble::imageCreations()[0];
        EXPECT_TRUE(image.decodeArrayNull);
        EXPECT_TRUE(image.shouldInterpolate);
        EXPECT_EQ(image.intent, kCGRenderingIntentPerceptual);
        EXPECT_EQ(qmdouble::errors(), std::vector<std::string>{});
    }
}

TEST_F(RequestTest, PreviewHasThePictureSizeAndDefaultSettings)
{
    // The description record claims 64 x 48; the picture is 300 x 200.
    EXPECT_EQ(preview(qmtest::simpleDocument(qmtest::kPicturePNG, pngOf(300, 200), 64, 48)), noErr);
    expectOneFlushedContext(previewRequest.contexts, 300, 200);
    EXPECT_EQ(count("CGContextSetInterpolationQuality"), 0);
    EXPECT_EQ(count("CGContextSetShouldAntialias"), 0);
    EXPECT_TRUE(thumbnailRequest.contexts.empty());
}

TEST_F(RequestTest, TheStoredTypeDecidesTheDecoder)
{
    struct Case {
        int storedType;
        bool jpegBytes;
        char const* decoder; // the decoding call made, or null for none
        double width, height; // of the context
    };
    for (Case c : {Case{2, true, "jpeg", 20, 10}, Case{5, false, "png", 20, 10},
                   Case{3, true, "png", 0, 0}, // JPEG bytes stored as PNG: the PNG decoder refuses them
                   Case{4, false, nullptr, 0, 0}}) {
        Bytes document = qmtest::simpleDocument(c.storedType, c.jpegBytes ? jpegOf(20, 10) : pngOf(20, 10), 20, 10);
        qmdouble::reset();
        thumbnailRequest.contexts.clear();
        previewRequest.contexts.clear();
        EXPECT_EQ(thumbnail(document, CGSize{128, 128}), noErr);
        SCOPED_TRACE(c.storedType);
        expectOneFlushedContext(thumbnailRequest.contexts, c.width, c.height);
        std::vector<std::string> decoders;
        for (auto const& creation : qmdouble::imageCreations())
            decoders.push_back(creation.decoder);
        EXPECT_EQ(decoders, c.decoder ? std::vector<std::string>{c.decoder} : std::vector<std::string>{});
        EXPECT_EQ(preview(document), noErr);
        expectOneFlushedContext(previewRequest.contexts, c.width, c.height);
        EXPECT_EQ(qmdouble::errors(), std::vector<std::string>{});
    }
}

TEST_F(RequestTest, ADocumentWithoutAPictureGetsAFlushedEmptyContext)
{
    qmtest::DocumentBuilder b;
    b.documentID().version(0x0200).standardFloats().record(20, Bytes{1, 2, 3}).endTag();
    EXPECT_EQ(thumbnail(b.bytes(), CGSize{128, 128}), noErr);
    expectOneFlushedContext(thumbnailRequest.contexts, 0, 0);
    EXPECT_EQ(preview(b.bytes()), noErr);
    expectOneFlushedContext(previewRequest.contexts, 0, 0);
}

TEST_F(RequestTest, AFileThatDoesNotOpenGetsNoContext)
{
    std::string missing = folder.path() + "/missing.qmd";
    EXPECT_EQ(thumbnailAt(qmdouble::createFileURL(missing), CGSize{128, 128}), noErr);
    EXPECT_EQ(previewAt(qmdouble::createFileURL(missing)), noErr);
    EXPECT_EQ(thumbnailAt(qmdouble::createNonFileURL(), CGSize{128, 128}), noErr);
    EXPECT_EQ(previewAt(qmdouble::createNonFileURL()), noErr);
    EXPECT_EQ(thumbnailAt(nullptr, CGSize{128, 128}), noErr);
    EXPECT_EQ(count("QLThumbnailRequestCreateContext") + count("QLPreviewRequestCreateContext"), 0);
}

TEST_F(RequestTest, CancelCallbacksDoNothing)
{
    CancelThumbnailGeneration(nullptr, &thumbnailRequest);
    CancelPreviewGeneration(nullptr, &previewRequest);
    EXPECT_EQ(qmdouble::calls(), std::vector<std::string>{});
}

TEST_F(RequestTest, FillReplacesAndReleasesThePreviousImage)
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

    GSCFTypeRef<CFURLRef> missing(qmdouble::createFileURL(folder.path() + "/none.qmd"));
    GSCFTypeRef<CGImageRef> image;
    GSDynaArray<unsigned char> third(8, -100);
    EXPECT_NE(GenerateFillCGImage(missing.get(), &third, &image), 0);
    EXPECT_FALSE(image);
}

TEST_F(RequestTest, FillDropsAPictureBeyondThePixelLimits)
{
    GSCFTypeRef<CFURLRef> url(urlFor(qmtest::simpleDocument(qmtest::kPictureJPEG, jpegOf(30, 20))));
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
    }
    EXPECT_EQ(qmdouble::liveObjects(), 1) << "a dropped image was not released";
}

TEST_F(RequestTest, BadFileFromTheDocumentIsCaughtAfterEverythingWasReleased)
{
    // Two object-table records: reading the document throws bad_file out of GSGetThumbnail.
    qmtest::ObjectDocument document;
    document.version = 0x0200;
    document.secondTable = true;
    document.picture = jpegOf(20, 10);
    EXPECT_EQ(thumbnail(document.build(), CGSize{128, 128}), noErr);
    EXPECT_EQ(preview(document.build()), noErr);
    EXPECT_TRUE(thumbnailRequest.contexts.empty());
    EXPECT_TRUE(previewRequest.contexts.empty());
    EXPECT_TRUE(qmdouble::providerCreations().empty());
}

struct ThrowCase {
    char const* function;
    bool preview;
    bool contextCreated;
};

void PrintTo(ThrowCase const& c, std::ostream* os)
{
    *os << (c.preview ? "preview, " : "thumbnail, ") << c.function << " throws";
}

class ExceptionInRequest : public RequestTest, public testing::WithParamInterface<ThrowCase> {};

TEST_P(ExceptionInRequest, GivesEveryReferenceBackAndReturnsNoErr)
{
    ThrowCase const& c = GetParam();
    Bytes document = qmtest::simpleDocument(qmtest::kPicturePNG, pngOf(256, 128), 256, 128);
    qmdouble::throwFrom(c.function);
    // The helpers check that the references are back when the callback returns.
    EXPECT_EQ(c.preview ? preview(document) : thumbnail(document, CGSize{128, 128}), noErr);
    EXPECT_EQ(count(c.function), 1) << "the double did not get to throw";
    auto const& contexts = c.preview ? previewRequest.contexts : thumbnailRequest.contexts;
    ASSERT_EQ(contexts.size(), c.contextCreated ? 1u : 0u);
    for (auto const& context : contexts) {
        EXPECT_TRUE(context.released);
        EXPECT_EQ(context.flushes, 0);
    }
    // The next request goes through as usual.
    qmdouble::reset();
    EXPECT_EQ(c.preview ? preview(document) : thumbnail(document, CGSize{128, 128}), noErr);
    expectOneFlushedContext(c.preview ? std::vector<QMDoubleContextRecord>{previewRequest.contexts.back()}
                                      : std::vector<QMDoubleContextRecord>{thumbnailRequest.contexts.back()},
                            c.preview ? 256 : 128, c.preview ? 128 : 64);
}

INSTANTIATE_TEST_SUITE_P(Calls, ExceptionInRequest, testing::Values(
    ThrowCase{"CFURLGetFileSystemRepresentation", false, false},
    ThrowCase{"CGDataProviderCreateWithData", false, false},
    ThrowCase{"CGImageCreateWithPNGDataProvider", false, false},
    ThrowCase{"CGImageGetHeight", false, false},
    ThrowCase{"QLThumbnailRequestCreateContext", false, false},
    ThrowCase{"CGContextSetInterpolationQuality", false, true},
    ThrowCase{"CGContextDrawImage", false, true},
    ThrowCase{"CGContextDrawImage", true, true},
    ThrowCase{"QLPreviewRequestCreateContext", true, false},
    ThrowCase{"QLPreviewRequestFlushContext", true, true}
),
    [](testing::TestParamInfo<ThrowCase> const& p) {
        return std::string(p.param.preview ? "Preview" : "Thumbnail") + p.param.function;
    });

} // namespace
