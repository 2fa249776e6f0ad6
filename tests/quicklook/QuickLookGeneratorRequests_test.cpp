// The thumbnail and preview requests against the platform double, over documents on disk.
#include "QuickLookDouble.h"
#include "TestPictures.h"
#include "generator/quicklook/QuickLookGeneratorPlugin.h"
#include "gs/object/GSExceptions.h"
#include "tests/support/DocumentBuilder.h"
#include "tests/support/ObjectDocuments.h"
#include "tests/support/TempFile.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <ostream>

using qmtest::Bytes;

namespace {

class RequestTest : public testing::Test {
protected:
    void SetUp() override
    {
        qmdouble::reset();
        baseline = qmdouble::liveReferences();
    }
    void TearDown() override
    {
        EXPECT_EQ(qmdouble::errors(), std::vector<std::string>{});
        EXPECT_EQ(qmdouble::liveReferences(), baseline) << "a reference was not given back";
        EXPECT_EQ(qmdouble::liveObjects(), 0);
    }

    // Runs a thumbnail request for a document with these bytes; every reference the request made
    // must be back when it returns.
    OSStatus thumbnail(Bytes const& document, CGSize maxSize)
    {
        std::string path = folder.write("doc" + std::to_string(++files) + ".qmd", document);
        return thumbnailAt(qmdouble::createFileURL(path), maxSize);
    }
    OSStatus thumbnailAt(CFURLRef urlRef, CGSize maxSize)
    {
        GSCFTypeRef<CFURLRef> url(urlRef);
        long before = qmdouble::liveReferences();
        OSStatus status = GenerateThumbnailForURL(nullptr, &thumbnailRequest, url.get(), CFSTR("com.quillmoor.document"),
                                                  nullptr, maxSize);
        EXPECT_EQ(qmdouble::liveReferences(), before) << "the request kept a reference";
        return status;
    }
    OSStatus preview(Bytes const& document)
    {
        std::string path = folder.write("doc" + std::to_string(++files) + ".qmd", document);
        return previewAt(qmdouble::createFileURL(path));
    }
    OSStatus previewAt(CFURLRef urlRef)
    {
        GSCFTypeRef<CFURLRef> url(urlRef);
        long before = qmdouble::liveReferences();
        OSStatus status = GeneratePreviewForURL(nullptr, &previewRequest, url.get(), CFSTR("com.quillmoor.document"), nullptr);
        EXPECT_EQ(qmdouble::liveReferences(), before) << "the request kept a reference";
        return status;
    }

    static long count(std::string const& function)
    {
        auto const& calls = qmdouble::calls();
        return std::count(calls.begin(), calls.end(), function);
    }

    // The one context of a request: the size asked for, flushed once, released.
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
    }

    qmtest::TempFolder folder;
    int files = 0;
    long baseline = 0;
    QMDoubleThumbnailRequest thumbnailRequest;
    QMDoublePreviewRequest previewRequest;
};

// ---- sizes ----

struct SizeCase {
    int type;
    int width, height;
    double maxWidth, maxHeight;
    double drawnWidth, drawnHeight;
};

void PrintTo(SizeCase const& c, std::ostream* os)
{
    *os << "type " << c.type << ", " << c.width << " x " << c.height << " in " << c.maxWidth << " x " << c.maxHeight;
}

class ThumbnailSize : public RequestTest, public testing::WithParamInterface<SizeCase> {};

TEST_P(ThumbnailSize, ContextHasTheFittedSize)
{
    SizeCase const& c = GetParam();
    Bytes picture = c.type == qmtest::kPictureJPEG ? qmtest::encodedJPEG(c.width, c.height)
                                                   : qmtest::encodedPNG(c.width, c.height);
    EXPECT_EQ(thumbnail(qmtest::simpleDocument(c.type, picture, c.width, c.height), CGSize{c.maxWidth, c.maxHeight}),
              noErr);
    expectOneFlushedContext(thumbnailRequest.contexts, c.drawnWidth, c.drawnHeight);
    ASSERT_FALSE(thumbnailRequest.contexts.empty());
    QMDoubleContextRecord const& context = thumbnailRequest.contexts[0];
    EXPECT_EQ(context.interpolationQuality, kCGInterpolationHigh);
    EXPECT_EQ(context.antialias, 1);
    ASSERT_EQ(context.draws.size(), 1u);
    QMDoubleDraw const& draw = context.draws[0];
    EXPECT_EQ(draw.rect.origin.x, 0);
    EXPECT_EQ(draw.rect.origin.y, 0);
    EXPECT_EQ(draw.rect.size.width, c.drawnWidth);
    EXPECT_EQ(draw.rect.size.height, c.drawnHeight);
    EXPECT_EQ(draw.imageWidth, size_t(c.width));
    EXPECT_EQ(draw.imageHeight, size_t(c.height));

    // The provider wraps the stored bytes as they are; the image is decoded with the platform's
    // defaults for a picture: no decode array, interpolation, perceptual intent.
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
}

INSTANTIATE_TEST_SUITE_P(Cases, ThumbnailSize, testing::Values(
    SizeCase{qmtest::kPicturePNG, 256, 128, 128, 128, 128, 64},     // wider than the box
    SizeCase{qmtest::kPicturePNG, 100, 128, 128, 128, 100, 128},    // exactly as tall: fitted, unchanged
    SizeCase{qmtest::kPicturePNG, 128, 100, 128, 128, 128, 100},    // exactly as wide: not scaled
    SizeCase{qmtest::kPicturePNG, 128, 64, 127.6, 128, 128, 64},    // the box rounds to 128 x 128
    SizeCase{qmtest::kPicturePNG, 128, 64, 127.4, 128, 127, 63},    // the box rounds to 127 x 128
    SizeCase{qmtest::kPictureJPEG, 300, 1000, 256, 256, 76, 256},   // taller: the height decides
    SizeCase{qmtest::kPictureJPEG, 512, 512, 256, 256, 256, 256},   // tie
    SizeCase{qmtest::kPictureJPEG, 40, 30, 128, 128, 40, 30}        // small pictures are not enlarged
),
    [](testing::TestParamInfo<SizeCase> const& p) { return "case" + std::to_string(p.index); });

TEST_F(RequestTest, PreviewHasTheStoredSizeAndDefaultSettings)
{
    Bytes picture = qmtest::encodedPNG(300, 200);
    EXPECT_EQ(preview(qmtest::simpleDocument(qmtest::kPicturePNG, picture, 300, 200)), noErr);
    expectOneFlushedContext(previewRequest.contexts, 300, 200);
    ASSERT_FALSE(previewRequest.contexts.empty());
    QMDoubleContextRecord const& context = previewRequest.contexts[0];
    ASSERT_EQ(context.draws.size(), 1u);
    EXPECT_EQ(context.draws[0].rect.size.width, 300);
    EXPECT_EQ(context.draws[0].rect.size.height, 200);
    EXPECT_EQ(count("CGContextSetInterpolationQuality"), 0);
    EXPECT_EQ(count("CGContextSetShouldAntialias"), 0);
    EXPECT_TRUE(thumbnailRequest.contexts.empty());
}

TEST_F(RequestTest, PreviewSizeComesFromThePictureNotTheRecordedSize)
{
    // The description record claims 64 x 48; the picture is 90 x 70.
    EXPECT_EQ(preview(qmtest::simpleDocument(qmtest::kPictureJPEG, qmtest::encodedJPEG(90, 70), 64, 48)), noErr);
    expectOneFlushedContext(previewRequest.contexts, 90, 70);
}

// ---- picture types ----

struct TypeCase {
    int storedType;
    bool jpegBytes;
    char const* decoder; // the decoding call made, or null for none
    double width, height; // of the context
};

void PrintTo(TypeCase const& c, std::ostream* os)
{
    *os << "type " << c.storedType << " holding " << (c.jpegBytes ? "JPEG" : "PNG") << " bytes";
}

class PictureType : public RequestTest, public testing::WithParamInterface<TypeCase> {};

TEST_P(PictureType, DecidesTheDecoder)
{
    TypeCase const& c = GetParam();
    Bytes picture = c.jpegBytes ? qmtest::encodedJPEG(20, 10) : qmtest::encodedPNG(20, 10);
    EXPECT_EQ(thumbnail(qmtest::simpleDocument(c.storedType, picture, 20, 10), CGSize{128, 128}), noErr);
    expectOneFlushedContext(thumbnailRequest.contexts, c.width, c.height);
    std::vector<std::string> decoders;
    for (auto const& creation : qmdouble::imageCreations())
        decoders.push_back(creation.decoder);
    EXPECT_EQ(decoders, c.decoder ? std::vector<std::string>{c.decoder} : std::vector<std::string>{});

    qmdouble::reset();
    EXPECT_EQ(preview(qmtest::simpleDocument(c.storedType, picture, 20, 10)), noErr);
    expectOneFlushedContext(previewRequest.contexts, c.width, c.height);
}

INSTANTIATE_TEST_SUITE_P(Types, PictureType, testing::Values(
    TypeCase{2, true, "jpeg", 20, 10},
    TypeCase{3, false, "png", 20, 10},
    TypeCase{5, false, "png", 20, 10},     // an older writer's PNG type
    TypeCase{3, true, "png", 0, 0},        // JPEG bytes stored as PNG: the PNG decoder refuses them
    TypeCase{2, false, "jpeg", 0, 0},
    TypeCase{4, false, nullptr, 0, 0},     // unknown types are not decoded at all
    TypeCase{6, true, nullptr, 0, 0}
),
    [](testing::TestParamInfo<TypeCase> const& p) { return "case" + std::to_string(p.index); });

// ---- documents without a picture ----

struct EmptyCase {
    char const* name;
    Bytes document;
};

void PrintTo(EmptyCase const& c, std::ostream* os)
{
    *os << c.name;
}

class NoPicture : public RequestTest, public testing::WithParamInterface<EmptyCase> {};

TEST_P(NoPicture, GivesAFlushedEmptyContext)
{
    EXPECT_EQ(thumbnail(GetParam().document, CGSize{128, 128}), noErr);
    expectOneFlushedContext(thumbnailRequest.contexts, 0, 0);
    ASSERT_EQ(thumbnailRequest.contexts.size(), 1u);
    EXPECT_TRUE(thumbnailRequest.contexts[0].draws.empty());

    EXPECT_EQ(preview(GetParam().document), noErr);
    expectOneFlushedContext(previewRequest.contexts, 0, 0);
    ASSERT_EQ(previewRequest.contexts.size(), 1u);
    EXPECT_TRUE(previewRequest.contexts[0].draws.empty());
}

Bytes documentWithoutThumbnail()
{
    qmtest::DocumentBuilder b;
    b.documentID().version(0x0200).standardFloats().record(20, Bytes{1, 2, 3}).endTag();
    return b.bytes();
}

Bytes selectionWithPicture()
{
    qmtest::DocumentBuilder b;
    b.selectionID().version(0x0200);
    b.thumbnail(qmtest::ThumbnailRecord().description(0, 20, 10).inlinePicture(3, qmtest::encodedPNG(20, 10)));
    b.endTag();
    return b.bytes();
}

// A document that ends in the middle of its picture.
Bytes truncatedPictureDocument()
{
    Bytes picture = qmtest::encodedPNG(20, 10);
    Bytes document = qmtest::simpleDocument(qmtest::kPicturePNG, picture);
    auto at = std::search(document.begin(), document.end(), picture.begin(), picture.end());
    return qmtest::cut(document, static_cast<size_t>(at - document.begin()) + picture.size() / 2);
}

INSTANTIATE_TEST_SUITE_P(Documents, NoPicture, testing::Values(
    EmptyCase{"NoThumbnailRecord", documentWithoutThumbnail()},
    EmptyCase{"SelectionFile", selectionWithPicture()},
    EmptyCase{"UndecodableJPEG", qmtest::simpleDocument(qmtest::kPictureJPEG, qmtest::fakeJPEG(300))},
    EmptyCase{"UndecodablePNG", qmtest::simpleDocument(qmtest::kPicturePNG, qmtest::fakePNG(300))},
    EmptyCase{"TruncatedPicture", truncatedPictureDocument()},
    EmptyCase{"NotADocument", Bytes{'G', 'I', 'F', '8', '9', 'a', 0, 0}},
    EmptyCase{"EmptyFile", Bytes{}}
),
    [](testing::TestParamInfo<EmptyCase> const& p) { return std::string(p.param.name); });

// ---- files that do not open ----

TEST_F(RequestTest, AFileThatDoesNotOpenGetsNoContext)
{
    std::string missing = folder.path() + "/missing.qmd";
    EXPECT_EQ(thumbnailAt(qmdouble::createFileURL(missing), CGSize{128, 128}), noErr);
    EXPECT_EQ(previewAt(qmdouble::createFileURL(missing)), noErr);
    EXPECT_EQ(thumbnailAt(qmdouble::createNonFileURL(), CGSize{128, 128}), noErr);
    EXPECT_EQ(previewAt(qmdouble::createNonFileURL()), noErr);
    EXPECT_EQ(thumbnailAt(nullptr, CGSize{128, 128}), noErr);
    EXPECT_TRUE(thumbnailRequest.contexts.empty());
    EXPECT_TRUE(previewRequest.contexts.empty());
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
    std::string path = folder.write("a.qmd", qmtest::simpleDocument(qmtest::kPictureJPEG, qmtest::encodedJPEG(30, 20)));
    GSCFTypeRef<CFURLRef> url(qmdouble::createFileURL(path));
    GSDynaArray<unsigned char> first(8, -100);
    GSDynaArray<unsigned char> second(8, -100);
    {
        GSCFTypeRef<CGImageRef> image;
        EXPECT_EQ(GenerateFillCGImage(url.get(), &first, &image), 0);
        CGImageRef old = image.get();
        ASSERT_NE(old, nullptr);
        EXPECT_EQ(qmdouble::liveObjects(), 2); // the URL and the image; the provider is gone
        EXPECT_EQ(GenerateFillCGImage(url.get(), &second, &image), 0);
        EXPECT_NE(image.get(), nullptr);
        EXPECT_EQ(qmdouble::liveObjects(), 2) << "the first image was not released";
        EXPECT_EQ(CGImageGetWidth(image.get()), 30u);
    }
    EXPECT_EQ(qmdouble::liveObjects(), 1);
    // The buffer holds exactly the stored bytes.
    EXPECT_EQ(Bytes(first.getPointer(), first.getPointer() + first.getCount()), qmtest::encodedJPEG(30, 20));

    GSCFTypeRef<CFURLRef> missing(qmdouble::createFileURL(folder.path() + "/none.qmd"));
    GSCFTypeRef<CGImageRef> image;
    GSDynaArray<unsigned char> third(8, -100);
    EXPECT_NE(GenerateFillCGImage(missing.get(), &third, &image), 0);
    EXPECT_FALSE(image);
}

// ---- object-shaped documents ----

TEST_F(RequestTest, PictureStoredAsAnObjectIsDrawn)
{
    for (int version : {0x0302, 0x0200}) {
        qmtest::ObjectDocument document;
        document.version = version;
        document.pictureType = qmtest::kPicturePNGAlternative;
        document.picture = qmtest::encodedPNG(200, 100);
        document.width = 200, document.height = 100;
        thumbnailRequest.contexts.clear();
        EXPECT_EQ(thumbnail(document.build(), CGSize{128, 128}), noErr) << version;
        expectOneFlushedContext(thumbnailRequest.contexts, 128, 64);
    }
}

TEST_F(RequestTest, BadFileFromTheDocumentIsCaughtAfterEverythingWasReleased)
{
    // Two object-table records: reading the document throws bad_file out of GSGetThumbnail.
    qmtest::ObjectDocument document;
    document.version = 0x0200;
    document.secondTable = true;
    document.picture = qmtest::encodedJPEG(20, 10);
    EXPECT_EQ(thumbnail(document.build(), CGSize{128, 128}), noErr);
    EXPECT_EQ(preview(document.build()), noErr);
    EXPECT_TRUE(thumbnailRequest.contexts.empty());
    EXPECT_TRUE(previewRequest.contexts.empty());
    EXPECT_TRUE(qmdouble::providerCreations().empty());

    std::string path = folder.write("twice.qmd", document.build());
    GSCFTypeRef<CFURLRef> url(qmdouble::createFileURL(path));
    GSDynaArray<unsigned char> bytes(8, -100);
    GSCFTypeRef<CGImageRef> image;
    EXPECT_THROW(GenerateFillCGImage(url.get(), &bytes, &image), bad_file);
}

// ---- exceptions ----

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
    Bytes document = qmtest::simpleDocument(qmtest::kPicturePNG, qmtest::encodedPNG(256, 128), 256, 128);
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
