#include "thumbnailer/ThumbnailRender.h"

#include "generator/GSThumbnailSize.h"
#include "tests/support/ScratchFolder.h"
#include "tests/support/PictureSamples.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <string>

using qm::PictureStatus;
using samples::Bytes;
using samples::Picture;

namespace {

double psnr(RenderedThumbnail const& t, std::vector<double> const& ref)
{
    double se = 0;
    size_t n = size_t(t.pixels.width()) * size_t(t.pixels.height());
    uint8_t const* p = t.pixels.pixels();
    for (size_t i = 0; i < n; ++i) {
        double a = p[i * 4 + 3] / 255.0;
        for (int k = 0; k < 3; ++k) {
            double d = p[i * 4 + size_t(k)] * a - ref[i * 4 + size_t(k)];
            se += d * d;
        }
        double d = p[i * 4 + 3] - ref[i * 4 + 3];
        se += d * d;
    }
    double mse = se / double(n * 4);
    return mse == 0 ? 99.0 : 10 * std::log10(255.0 * 255.0 / mse);
}

// The PNG with a tEXt chunk of `length` bytes after its header chunk.
Bytes withTextChunk(Bytes png, uint32_t length)
{
    Bytes chunk(12 + length, 'x');
    samples::putBig32(&chunk, 0, length);
    std::memcpy(chunk.data() + 4, "tEXtComment", 11);
    chunk[15] = 0;  // the keyword's end
    samples::putBig32(&chunk, 8 + length, samples::crc32(chunk.data() + 4, 4 + length));
    png.insert(png.begin() + 33, chunk.begin(), chunk.end());  // signature 8 + IHDR 25
    return png;
}

struct RenderCase {
    char const* name;
    GSPictureFormat type;
    bool alpha;
    bool interlace;
    int width, height, box;
};

class ThumbnailQuality : public ::testing::TestWithParam<RenderCase> {};

TEST_P(ThumbnailQuality, KeepsOrientationColoursAndDetail)
{
    RenderCase c = GetParam();
    Picture pic = samples::testPattern(c.width, c.height, c.alpha);
    Bytes bytes = c.type == GSPictureFormat::jpeg ? samples::encodeJpeg(pic, 95, TJSAMP_444) : samples::encodePng(pic, c.alpha, 6, c.interlace);
    ASSERT_FALSE(bytes.empty());

    RenderedThumbnail t;
    ASSERT_EQ(renderThumbnail(bytes.data(), bytes.size(), c.type, c.box, GSThumbnailLimits{}, &t), PictureStatus::ok);
    EXPECT_EQ(t.pictureWidth, uint32_t(c.width));
    EXPECT_EQ(t.pictureHeight, uint32_t(c.height));

    // The size rule of the generator core, with the box SIZE x SIZE.
    GSDrawingSize want = GSThumbnailDrawingSize(c.width, c.height, c.box, c.box);
    EXPECT_EQ(t.pixels.width(), std::max(1, int(want.width)));
    EXPECT_EQ(t.pixels.height(), std::max(1, int(want.height)));

    // Corners keep their colours and places (no flip, no channel swap).
    int w = t.pixels.width(), h = t.pixels.height();
    int const xs[4] = {1, w - 2, 1, w - 2}, ys[4] = {1, 1, h - 2, h - 2};
    for (int k = 0; k < 4; ++k) {
        uint8_t const* p = t.pixels.pixels() + (size_t(ys[k]) * size_t(w) + size_t(xs[k])) * 4;
        for (int ch = 0; ch < 3; ++ch)
            EXPECT_NEAR(p[ch], samples::kCorner[k][ch], 6) << "corner " << k << " channel " << ch;
        EXPECT_EQ(p[3], 255);
    }

    // Within 35 dB of an exact resample of the fully decoded picture.
    qm::RGBAImage full;
    ASSERT_EQ(qm::decodePicture(bytes.data(), bytes.size(), c.type,
                                GSThumbnailLimits{}, &full),
              PictureStatus::ok);
    double db = psnr(t, samples::areaAverage(full.row(0), full.stride(), int(full.width()), int(full.height()), 4, w, h));
    EXPECT_GE(db, 35.0) << c.name;
    EXPECT_EQ(t.pixels.opaque(), !c.alpha);
}

INSTANTIATE_TEST_SUITE_P(
    Pictures, ThumbnailQuality,
    ::testing::Values(RenderCase{"jpeg_square", GSPictureFormat::jpeg, false, false, 512, 512, 256},
                      RenderCase{"jpeg_wide_eighth", GSPictureFormat::jpeg, false, false, 2100, 1100, 256},
                      RenderCase{"jpeg_tall_odd", GSPictureFormat::jpeg, false, false, 301, 1203, 128},
                      RenderCase{"jpeg_just_over", GSPictureFormat::jpeg, false, false, 257, 256, 256},
                      RenderCase{"png_rgb", GSPictureFormat::png, false, false, 1024, 768, 256},
                      RenderCase{"png_rgba", GSPictureFormat::png, true, false, 700, 900, 128},
                      RenderCase{"png_interlaced", GSPictureFormat::png, true, true, 640, 480, 256},
                      RenderCase{"png_small_kept", GSPictureFormat::png, false, false, 200, 100, 256},
                      RenderCase{"png_xx_large", GSPictureFormat::png, false, false, 1500, 1400, 1024}),
    [](auto const& p) { return std::string(p.param.name); });

TEST(ThumbnailSize, NeverGivesAnEmptySide)
{
    // The core rule (checked above) truncates a very thin side to 0; a PNG needs one pixel.
    int w = 0, h = 0;
    thumbnailSizeFor(10000, 3, 256, &w, &h);
    EXPECT_EQ(w, 256);
    EXPECT_EQ(h, 1);
}

// Renders the picture both ways: from memory, and from a file that holds it between other bytes
// (as a document does). Both must give the same status and, on success, the same pixels.
PictureStatus renderBothWays(Bytes const& picture, GSPictureFormat type, int box, GSThumbnailLimits const& limits,
                             RenderedThumbnail* t, std::string const& name)
{
    PictureStatus status = renderThumbnail(picture.data(), picture.size(), type, box, limits, t);
    Bytes document(100 + picture.size() + 50, 0x5A);
    std::copy(picture.begin(), picture.end(), document.begin() + 100);
    qmtest::TempFile file(document);
    int fd = ::open(file.path().c_str(), O_RDONLY);
    EXPECT_GE(fd, 0);
    RenderedThumbnail fromFile;
    PictureStatus fileStatus = renderThumbnailFromFile(fd, 100, long(picture.size()), type, box, limits, &fromFile);
    ::close(fd);
    EXPECT_EQ(fileStatus, status) << name;
    if (status == PictureStatus::ok && fileStatus == PictureStatus::ok) {
        size_t n = size_t(t->pixels.width()) * size_t(t->pixels.height()) * 4;
        EXPECT_EQ(fromFile.pixels.width(), t->pixels.width()) << name;
        EXPECT_EQ(fromFile.pixels.height(), t->pixels.height()) << name;
        EXPECT_EQ(Bytes(fromFile.pixels.pixels(), fromFile.pixels.pixels() + n), Bytes(t->pixels.pixels(), t->pixels.pixels() + n))
            << name;
    } else {
        EXPECT_EQ(fromFile.pixels.pixels(), nullptr) << name;
    }
    return status;
}

TEST(ThumbnailRenderFromFile, GivesThePixelsOfTheBytesInMemory)
{
    Picture pic = samples::photoLike(300, 200, true);
    struct Case {
        char const* name;
        Bytes bytes;
        GSPictureFormat type;
    };
    for (Case const& c : {Case{"JPEG", samples::encodeJpeg(pic), GSPictureFormat::jpeg}, Case{"PNG RGB", samples::encodePng(pic, false), GSPictureFormat::png},
                          Case{"PNG RGBA", samples::encodePng(pic, true), GSPictureFormat::png},
                          Case{"interlaced PNG", samples::encodePng(pic, true, 6, true), GSPictureFormat::png}}) {
        RenderedThumbnail t;
        EXPECT_EQ(renderBothWays(c.bytes, c.type, 128, GSThumbnailLimits{}, &t, c.name), PictureStatus::ok) << c.name;
    }
    // A region that reaches past the end of the file (the file shrank after the walk) is refused.
    for (GSPictureFormat type : {GSPictureFormat::jpeg, GSPictureFormat::png}) {
        Bytes picture = type == GSPictureFormat::jpeg ? samples::encodeJpeg(pic) : samples::encodePng(pic, false);
        qmtest::TempFile file(Bytes(picture.begin(), picture.begin() + long(picture.size() / 2)));
        int fd = ::open(file.path().c_str(), O_RDONLY);
        ASSERT_GE(fd, 0);
        RenderedThumbnail t;
        EXPECT_EQ(renderThumbnailFromFile(fd, 0, long(picture.size()), type, 128, GSThumbnailLimits{}, &t),
                  PictureStatus::corrupt);
        EXPECT_EQ(t.pixels.pixels(), nullptr);
        ::close(fd);
    }
}

// An interlaced PNG's passes are summed into the thumbnail as they arrive: the pixels must be
// exactly those of the same picture stored without interlacing (narrow pictures leave passes
// empty; at 1:1 the pixels are copied).
TEST(ThumbnailRenderInterlaced, GivesThePixelsOfTheSamePictureNotInterlaced)
{
    struct Case {
        int width, height;
        bool alpha;
        int box;
    };
    for (Case c : {Case{300, 200, true, 128}, Case{300, 200, false, 64}, Case{97, 61, true, 50},
                   Case{200, 7, false, 128}, Case{5, 3, true, 256}, Case{1, 1, false, 16}, Case{3, 90, true, 32}}) {
        std::string name = std::to_string(c.width) + "x" + std::to_string(c.height) + (c.alpha ? " RGBA" : " RGB") +
                           " in " + std::to_string(c.box);
        Picture pic = samples::photoLike(c.width, c.height, c.alpha);
        if (c.alpha)
            pic.at(0, 0)[3] = 0; // a fully transparent pixel
        RenderedThumbnail plain, interlaced;
        ASSERT_EQ(renderBothWays(samples::encodePng(pic, c.alpha), GSPictureFormat::png, c.box, {}, &plain, name), PictureStatus::ok);
        ASSERT_EQ(renderBothWays(samples::encodePng(pic, c.alpha, 6, true), GSPictureFormat::png, c.box, {}, &interlaced, name),
                  PictureStatus::ok);
        ASSERT_EQ(interlaced.pixels.width(), plain.pixels.width()) << name;
        ASSERT_EQ(interlaced.pixels.height(), plain.pixels.height()) << name;
        size_t n = size_t(plain.pixels.width()) * size_t(plain.pixels.height()) * 4;
        EXPECT_EQ(Bytes(interlaced.pixels.pixels(), interlaced.pixels.pixels() + n),
                  Bytes(plain.pixels.pixels(), plain.pixels.pixels() + n))
            << name;
        EXPECT_EQ(interlaced.pixels.opaque(), plain.pixels.opaque()) << name;
    }
    // The sums count against the decode memory bound: 128 x 85 RGBA thumbnail pixels, 8 bytes each.
    Picture pic = samples::photoLike(300, 200, true);
    GSThumbnailLimits limits;
    limits.maxDecodeBytes = 128 * 85 * 4 * 8 - 1;
    RenderedThumbnail t;
    EXPECT_EQ(renderBothWays(samples::encodePng(pic, true, 6, true), GSPictureFormat::png, 128, limits, &t, "bound"),
              PictureStatus::tooLarge);
    EXPECT_EQ(renderBothWays(samples::encodePng(pic, true), GSPictureFormat::png, 128, limits, &t, "bound"), PictureStatus::ok);
}

// Damaged, foreign and oversized pictures (the decoders' refusals, seen through the renderer, which
// streams PNG rows and decodes JPEGs scaled) fail as a whole, leaving no pixels, from memory and
// from a file.
TEST(ThumbnailRenderHostile, RefusesDamagedOrOversizedPictures)
{
    Picture pic = samples::photoLike(300, 200);
    Bytes jpeg = samples::encodeJpeg(pic);
    Bytes png = samples::encodePng(pic, false);
    Bytes flipped = png; // a flipped bit in the picture data: PNG's checksum catches it
    flipped[flipped.size() / 2] ^= 0x10;
    struct Case {
        char const* name;
        Bytes bytes;
        GSPictureFormat type;
        PictureStatus status; // ok: any failure
    };
    for (Case const& c : {Case{"cut JPEG", Bytes(jpeg.begin(), jpeg.begin() + long(jpeg.size() / 2)), GSPictureFormat::jpeg, PictureStatus::ok},
                          Case{"cut PNG", Bytes(png.begin(), png.begin() + long(png.size() / 2)), GSPictureFormat::png, PictureStatus::ok},
                          Case{"flipped PNG", flipped, GSPictureFormat::png, PictureStatus::ok},
                          Case{"huge PNG", samples::withPngSize(png, 60000, 60000), GSPictureFormat::png, PictureStatus::tooLarge},
                          Case{"huge JPEG", samples::withJpegSize(jpeg, 60000, 60000), GSPictureFormat::jpeg, PictureStatus::tooLarge},
                          Case{"unknown type", png, GSPictureFormat::none, PictureStatus::unsupported},
                          Case{"PNG as JPEG", png, GSPictureFormat::jpeg, PictureStatus::ok},
                          Case{"JPEG as PNG", jpeg, GSPictureFormat::png, PictureStatus::ok},
                          Case{"PNG with a text chunk above the chunk limit", withTextChunk(png, 2000), GSPictureFormat::png,
                               PictureStatus::tooLarge}}) {
        RenderedThumbnail t;
        GSThumbnailLimits limits;
        limits.maxPngChunkBytes = 1000;
        PictureStatus status = renderBothWays(c.bytes, c.type, 256, limits, &t, c.name);
        if (c.status == PictureStatus::ok)
            EXPECT_NE(status, PictureStatus::ok) << c.name;
        else
            EXPECT_EQ(status, c.status) << c.name;
        EXPECT_EQ(t.pixels.pixels(), nullptr) << c.name;
    }
}

}  // namespace
