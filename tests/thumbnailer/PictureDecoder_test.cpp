#include "thumbnailer/PictureDecoder.h"

#include "tests/support/PictureSamples.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

using namespace qm;

namespace {

using Bytes = std::vector<std::uint8_t>;

using samples::PngShape;

Bytes encodePng(void const* pixels, std::size_t byteCount, std::uint32_t width, std::uint32_t height, PngShape shape)
{
    Bytes png = samples::encodePng(pixels, byteCount, int(width), int(height), shape);
    EXPECT_FALSE(png.empty());
    return png;
}

// A JPEG of the test pattern, width x height.
Bytes jpegOf(int width, int height)
{
    Bytes jpeg = samples::encodeJpeg(samples::testPattern(width, height), 95, TJSAMP_444);
    EXPECT_FALSE(jpeg.empty());
    return jpeg;
}

TEST(JpegDecode, ScaledSidesRoundUp)
{
    Bytes jpeg = jpegOf(17, 9);
    RGBAImage image;
    ASSERT_EQ(decodeJpegScaled(jpeg.data(), jpeg.size(), 8, {}, &image), PictureStatus::ok);
    EXPECT_EQ(image.width(), 3u);
    EXPECT_EQ(image.height(), 2u);
    EXPECT_EQ(jpegScaledSide(801, 8), 101u);
    EXPECT_EQ(jpegScaledSide(0xFFFFFFFFu, 2), 0x80000000u);
    EXPECT_EQ(decodeJpegScaled(jpeg.data(), jpeg.size(), 3, {}, &image), PictureStatus::unsupported);
    EXPECT_TRUE(image.isEmpty());
}

TEST(JpegDecode, ScaleDenominatorKeepsAtLeastTheWantedSize)
{
    EXPECT_EQ(jpegScaleDenominatorFor(2048, 1536, 256, 256), 4u);   // 512 x 384; 1/8 would give 192 high
    EXPECT_EQ(jpegScaleDenominatorFor(2048, 2048, 256, 256), 8u);   // exactly 256
    EXPECT_EQ(jpegScaleDenominatorFor(2049, 2049, 257, 257), 8u);   // 257 after rounding up
    EXPECT_EQ(jpegScaleDenominatorFor(300, 300, 256, 256), 1u);
    EXPECT_EQ(jpegScaleDenominatorFor(4096, 100, 256, 0), 8u);      // no bound on the height
    EXPECT_EQ(jpegScaleDenominatorFor(0, 0, 1, 1), 1u);
}

TEST(PngDecode, RoundTripsRgbaAndExpandsGreySixteenBitAndInterlacedPictures)
{
    Bytes pixels(9 * 9 * 4);
    for (std::size_t i = 0; i < pixels.size(); ++i)
        pixels[i] = std::uint8_t(i * 37 + 11);
    for (bool interlace : {false, true}) {
        Bytes png = encodePng(pixels.data(), pixels.size(), 9, 9, {SPNG_COLOR_TYPE_TRUECOLOR_ALPHA, 8, interlace});
        RGBAImage image;
        ASSERT_EQ(decodePicture(png.data(), png.size(), PictureFormat::png, {}, &image), PictureStatus::ok);
        ASSERT_EQ(image.width(), 9u);
        EXPECT_EQ(Bytes(image.data(), image.data() + image.byteCount()), pixels) << interlace;
    }

    std::uint8_t grey[4] = {0, 100, 200, 255};
    Bytes png = encodePng(grey, 4, 2, 2, {SPNG_COLOR_TYPE_GRAYSCALE, 8});
    RGBAImage image;
    ASSERT_EQ(decodePicture(png.data(), png.size(), PictureFormat::png, {}, &image), PictureStatus::ok);
    EXPECT_EQ(Bytes(image.data(), image.data() + 16),
              (Bytes{0, 0, 0, 255, 100, 100, 100, 255, 200, 200, 200, 255, 255, 255, 255, 255}));

    // 16-bit RGB (the encoder takes host-order samples): the high byte survives.
    std::uint16_t deep[3] = {0x1234, 0xABCD, 0xFF00};
    png = encodePng(deep, sizeof deep, 1, 1, {SPNG_COLOR_TYPE_TRUECOLOR, 16});
    ASSERT_EQ(decodePicture(png.data(), png.size(), PictureFormat::png, {}, &image), PictureStatus::ok);
    EXPECT_EQ(Bytes(image.data(), image.data() + 4), (Bytes{0x12, 0xAB, 0xFF, 255}));
}

TEST(PngDecode, AppliesTheTransparentColour)
{
    std::uint8_t rgb[6] = {10, 20, 30, 40, 50, 60};
    spng_trns trns{};
    trns.red = 40, trns.green = 50, trns.blue = 60;
    PngShape shape{SPNG_COLOR_TYPE_TRUECOLOR, 8};
    shape.trns = &trns;
    Bytes png = encodePng(rgb, 6, 2, 1, shape);
    RGBAImage image;
    ASSERT_EQ(decodePicture(png.data(), png.size(), PictureFormat::png, {}, &image), PictureStatus::ok);
    EXPECT_EQ(Bytes(image.data(), image.data() + 8), (Bytes{10, 20, 30, 255, 40, 50, 60, 0}));
}

TEST(DecodeLimits, EachBoundCountsOnItsOwn)
{
    Bytes jpeg = jpegOf(32, 16);
    std::uint8_t pixels[32 * 16 * 4] = {};
    Bytes png = encodePng(pixels, sizeof pixels, 32, 16, {});
    struct Case {
        GSThumbnailLimits limits;
        PictureStatus expected;
    };
    GSThumbnailLimits exact;
    exact.maxWidth = 32, exact.maxHeight = 16, exact.maxPixels = 512;
    GSThumbnailLimits narrow = exact;
    narrow.maxWidth = 31;
    GSThumbnailLimits low = exact;
    low.maxHeight = 15;
    GSThumbnailLimits few = exact;
    few.maxPixels = 511;
    for (Case c : {Case{exact, PictureStatus::ok}, Case{narrow, PictureStatus::tooLarge},
                   Case{low, PictureStatus::tooLarge}, Case{few, PictureStatus::tooLarge}}) {
        RGBAImage image;
        EXPECT_EQ(decodePicture(jpeg.data(), jpeg.size(), PictureFormat::jpeg, c.limits, &image), c.expected);
        EXPECT_EQ(decodePicture(png.data(), png.size(), PictureFormat::png, c.limits, &image), c.expected);
        EXPECT_EQ(image.isEmpty(), c.expected != PictureStatus::ok);
    }
}

// A progressive JPEG keeps coefficients for every stored block while it decodes, at any output
// scale; a baseline one only a few rows. The decode memory bound refuses the first before libjpeg
// allocates it and leaves the second alone.
TEST(DecodeLimits, DecodeMemoryRefusesAFullSizeCoefficientBuffer)
{
    samples::Picture p = samples::photoLike(512, 512);
    Bytes progressive = samples::encodeJpeg(p.rgba.data(), 512, 512, TJPF_RGBA, TJSAMP_444, 90, TJFLAG_PROGRESSIVE);
    Bytes baseline = samples::encodeJpeg(p, 90, TJSAMP_444);
    // 64 x 64 blocks x 128 bytes x 3 components: 1.5 MiB of coefficients.
    GSThumbnailLimits small;
    small.maxDecodeBytes = std::size_t(1) << 20;
    GSThumbnailLimits enough;
    enough.maxDecodeBytes = std::size_t(4) << 20;
    for (unsigned denominator : {1u, 8u}) {
        RGBAImage image;
        EXPECT_EQ(decodeJpegScaled(progressive.data(), progressive.size(), denominator, small, &image),
                  PictureStatus::tooLarge);
        EXPECT_TRUE(image.isEmpty());
        EXPECT_EQ(decodeJpegScaled(baseline.data(), baseline.size(), denominator, small, &image), PictureStatus::ok);
        EXPECT_EQ(decodeJpegScaled(progressive.data(), progressive.size(), denominator, enough, &image),
                  PictureStatus::ok);
    }
}

// An interlaced PNG for a sink that wants whole rows is deinterlaced whole first, as RGBA: that
// buffer is the decode's working memory. An opaque RGB picture still reaches the sink as RGB.
TEST(DecodeLimits, DecodeMemoryBoundsDeinterlacingForARowSink)
{
    samples::Picture p = samples::photoLike(64, 32, true);
    struct Rows : PngRowSink {
        int channels = 0;
        Bytes pixels;
        PictureStatus begin(std::uint32_t, std::uint32_t, int c, bool passRows) override
        {
            channels = c;
            return passRows ? PictureStatus::corrupt : PictureStatus::ok;
        }
        PictureStatus row(std::uint8_t const* r) override
        {
            pixels.insert(pixels.end(), r, r + 64 * channels);
            return PictureStatus::ok;
        }
    };
    for (bool alpha : {true, false}) {
        Bytes interlaced = samples::encodePng(p, alpha, 6, true);
        Bytes expected;
        for (std::size_t i = 0; i < p.rgba.size(); ++i)
            if (alpha || i % 4 != 3)
                expected.push_back(p.rgba[i]);
        GSThumbnailLimits limits;
        limits.maxDecodeBytes = 64 * 32 * 4 - 1;
        Rows refused;
        EXPECT_EQ(decodePngRows(interlaced.data(), interlaced.size(), limits, &refused), PictureStatus::tooLarge);
        limits.maxDecodeBytes = 64 * 32 * 4;
        Rows rows;
        ASSERT_EQ(decodePngRows(interlaced.data(), interlaced.size(), limits, &rows), PictureStatus::ok);
        EXPECT_EQ(rows.channels, alpha ? 4 : 3);
        EXPECT_EQ(rows.pixels, expected) << (alpha ? "RGBA" : "RGB");
    }
}

// A decode bound in time stops between rows or scans once its time is up (a bound of 1 ms against
// decodes of a megapixel, which take several), with or without the JPEG scan limit; without the
// bound the same decodes succeed.
TEST(DecodeLimits, ADecodeStopsWhenItsTimeIsUp)
{
    samples::Picture p = samples::photoLike(1024, 1024);
    Bytes png = samples::encodePng(p, false, 1);
    Bytes jpeg = samples::encodeJpeg(p.rgba.data(), 1024, 1024, TJPF_RGBA, TJSAMP_444, 90, TJFLAG_PROGRESSIVE);
    struct Discard : PngRowSink {
        PictureStatus begin(std::uint32_t, std::uint32_t, int, bool) override { return PictureStatus::ok; }
        PictureStatus row(std::uint8_t const*) override { return PictureStatus::ok; }
    };
    for (long milliseconds : {1L, 0L})
        for (bool limitScans : {true, false}) {
            GSThumbnailLimits limits;
            limits.maxDecodeMilliseconds = milliseconds;
            limits.limitJpegScans = limitScans;
            PictureStatus const expected = milliseconds ? PictureStatus::timedOut : PictureStatus::ok;
            Discard sink;
            EXPECT_EQ(decodePngRows(png.data(), png.size(), limits, &sink), expected);
            RGBAImage image;
            EXPECT_EQ(decodeJpegScaled(jpeg.data(), jpeg.size(), 1, limits, &image), expected) << limitScans;
        }
}

// The pixels come from libjpeg itself (for its memory limit); they must be exactly those of
// TurboJPEG's own decode, at every scale and for every kind of JPEG.
TEST(PictureDecodeJpeg, GivesTurboJpegsPixelsAtEveryScale)
{
    samples::Picture photo = samples::photoLike(77, 45);
    Bytes grey(77 * 45);
    for (std::size_t i = 0; i < grey.size(); ++i)
        grey[i] = photo.rgba[i * 4 + 1];
    Bytes cmyk = samples::photoLike(77, 45, true).rgba; // any four channels: a CMYK picture with real black
    struct Case {
        char const* name;
        Bytes jpeg;
        int pixelFormat;  // what TurboJPEG decodes it to
    };
    for (Case const& c : {
             Case{"4:2:0", samples::encodeJpeg(photo, 90, TJSAMP_420), TJPF_RGBA},
             Case{"4:4:4", samples::encodeJpeg(photo, 75, TJSAMP_444), TJPF_RGBA},
             Case{"4:2:2", samples::encodeJpeg(photo, 95, TJSAMP_422), TJPF_RGBA},
             Case{"progressive", samples::encodeJpeg(photo.rgba.data(), 77, 45, TJPF_RGBA, TJSAMP_420, 90,
                                                     TJFLAG_PROGRESSIVE), TJPF_RGBA},
             Case{"grey", samples::encodeJpeg(grey.data(), 77, 45, TJPF_GRAY, TJSAMP_GRAY), TJPF_RGBA},
             Case{"CMYK", samples::encodeJpeg(cmyk.data(), 77, 45, TJPF_CMYK, TJSAMP_444), TJPF_CMYK},
             Case{"1 x 1", samples::encodeJpeg(samples::photoLike(1, 1)), TJPF_RGBA},
         }) {
        ASSERT_FALSE(c.jpeg.empty()) << c.name;
        int width = 0, height = 0, subsampling = 0, colorspace = 0;
        tjhandle tj = tjInitDecompress();
        ASSERT_EQ(tjDecompressHeader3(tj, c.jpeg.data(), c.jpeg.size(), &width, &height, &subsampling, &colorspace), 0);
        for (unsigned denominator : {1u, 2u, 4u, 8u}) {
            int const w = int(jpegScaledSide(std::uint32_t(width), denominator));
            int const h = int(jpegScaledSide(std::uint32_t(height), denominator));
            Bytes expected(std::size_t(w) * std::size_t(h) * 4);
            ASSERT_EQ(tjDecompress2(tj, c.jpeg.data(), c.jpeg.size(), expected.data(), w, 0, h, c.pixelFormat,
                                    TJFLAG_ACCURATEDCT | TJFLAG_LIMITSCANS),
                      0);
            if (c.pixelFormat == TJPF_CMYK) {
                for (std::size_t i = 0; i < expected.size(); i += 4) {
                    unsigned k = expected[i + 3];
                    for (int ch = 0; ch < 3; ++ch)
                        expected[i + std::size_t(ch)] = std::uint8_t((expected[i + std::size_t(ch)] * k + 127) / 255);
                    expected[i + 3] = 255;
                }
            }
            RGBAImage image;
            ASSERT_EQ(decodeJpegScaled(c.jpeg.data(), c.jpeg.size(), denominator, {}, &image), PictureStatus::ok)
                << c.name << " 1/" << denominator;
            EXPECT_EQ(Bytes(image.data(), image.data() + image.byteCount()), expected)
                << c.name << " 1/" << denominator;
        }
        tjDestroy(tj);
    }
}

TEST(DecodeLimits, PngChunkCacheLimitRefusesALargeTextChunk)
{
    std::uint8_t pixel[4] = {1, 2, 3, 4};
    std::string words(4000, 'x');
    spng_text text{};
    std::snprintf(text.keyword, sizeof text.keyword, "Comment");
    text.type = SPNG_TEXT;
    text.length = words.size();
    text.text = words.data();
    PngShape shape;
    shape.text = &text;
    Bytes png = encodePng(pixel, 4, 1, 1, shape);
    GSThumbnailLimits limits;
    RGBAImage image;
    ASSERT_EQ(decodePicture(png.data(), png.size(), PictureFormat::png, limits, &image), PictureStatus::ok);
    limits.maxPngChunkCacheBytes = 1000; // below the chunk bound, which follows it down
    EXPECT_EQ(decodePicture(png.data(), png.size(), PictureFormat::png, limits, &image), PictureStatus::tooLarge);
    EXPECT_TRUE(image.isEmpty());
}

// A size with no pixels, one whose byte count overflows, or one no address space holds: the
// allocation fails and the image is left empty, even one that held pixels before.
TEST(RGBAImageAllocate, RefusesSizesThatCannotBeHad)
{
    std::vector<std::array<std::uint32_t, 2>> sizes = {{0, 5}, {5, 0}, {0xFFFFFFFFu, 0xFFFFFFFFu}};
#ifndef __SANITIZE_ADDRESS__ // AddressSanitizer aborts on such a request instead of failing it
    sizes.push_back({0xFFFFFFFFu, 0x3FFFFFFFu}); // just under 2^64 bytes
#endif
    for (auto [width, height] : sizes) {
        RGBAImage image;
        ASSERT_TRUE(image.allocate(2, 3));
        EXPECT_FALSE(image.allocate(width, height)) << width << " x " << height;
        EXPECT_TRUE(image.isEmpty());
        EXPECT_EQ(image.width() + image.height(), 0u);
    }
}

} // namespace
