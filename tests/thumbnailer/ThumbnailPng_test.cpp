#include "thumbnailer/ThumbnailPng.h"

#include "tests/support/ScratchFolder.h"

#include <gtest/gtest.h>
#include <spng.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

struct Decoded {
    spng_ihdr ihdr{};
    std::vector<uint8_t> rgba;
    std::map<std::string, std::string> text;
};

bool decodePng(uint8_t const* data, size_t size, Decoded* d)
{
    spng_ctx* ctx = spng_ctx_new(0);
    bool ok = spng_set_png_buffer(ctx, data, size) == 0 && spng_get_ihdr(ctx, &d->ihdr) == 0;
    size_t len = 0;
    ok = ok && spng_decoded_image_size(ctx, SPNG_FMT_RGBA8, &len) == 0;
    if (ok) {
        d->rgba.resize(len);
        ok = spng_decode_image(ctx, d->rgba.data(), len, SPNG_FMT_RGBA8, 0) == 0;
    }
    uint32_t n = 0;
    if (ok && spng_get_text(ctx, nullptr, &n) == 0) {
        std::vector<spng_text> texts(n);
        spng_get_text(ctx, texts.data(), &n);
        for (auto const& t : texts)
            d->text[t.keyword] = std::string(t.text, t.length);
    }
    spng_ctx_free(ctx);
    return ok;
}


}  // namespace

TEST(ThumbnailPng, RoundTripsPixelsAndWritesTheThumbnailTextChunks)
{
    std::vector<uint8_t> rgba = {255, 0, 0, 255, 0, 255, 0, 128, 0, 0, 255, 0, 9, 8, 7, 255, 1, 2, 3, 4, 200, 100, 50, 255};
    ThumbnailInfo info;
    info.uri = "file:///tmp/a%20b.qmd";
    info.mimeType = "application/x-quillmoor-document";
    info.software = "quillmoor-thumbnailer";
    info.mtime = 1700000000;
    info.size = 4242;
    info.imageWidth = 640;
    info.imageHeight = 480;
    PngBytes png;
    ASSERT_EQ(encodeThumbnailPng(rgba.data(), 3, 2, false, info, PngEncodeOptions{}, &png), 0);
    Decoded d;
    ASSERT_TRUE(decodePng(png.data.get(), png.size, &d));
    EXPECT_EQ(d.ihdr.width, 3u);
    EXPECT_EQ(d.ihdr.height, 2u);
    EXPECT_EQ(d.ihdr.color_type, SPNG_COLOR_TYPE_TRUECOLOR_ALPHA);
    EXPECT_EQ(d.rgba, rgba);
    EXPECT_EQ(d.text["Thumb::URI"], "file:///tmp/a%20b.qmd");
    EXPECT_EQ(d.text["Thumb::MTime"], "1700000000");
    EXPECT_EQ(d.text["Thumb::Size"], "4242");
    EXPECT_EQ(d.text["Thumb::Mimetype"], "application/x-quillmoor-document");
    EXPECT_EQ(d.text["Thumb::Image::Width"], "640");
    EXPECT_EQ(d.text["Thumb::Image::Height"], "480");
    EXPECT_EQ(d.text["Software"], "quillmoor-thumbnailer");
}

TEST(ThumbnailPng, OpaquePicturesAreWrittenAsRgbAndUnsetFieldsAreLeftOut)
{
    std::vector<uint8_t> rgba(4 * 4 * 4, 255);
    rgba[0] = 17;
    PngBytes png;
    for (int level : {0, 1, 6, 9})
        for (int filter : {SPNG_DISABLE_FILTERING, SPNG_FILTER_CHOICE_UP, SPNG_FILTER_CHOICE_ALL}) {
            ASSERT_EQ(encodeThumbnailPng(rgba.data(), 4, 4, true, ThumbnailInfo{}, PngEncodeOptions{level, filter}, &png), 0);
            Decoded d;
            ASSERT_TRUE(decodePng(png.data.get(), png.size, &d));
            EXPECT_EQ(d.ihdr.color_type, SPNG_COLOR_TYPE_TRUECOLOR);
            EXPECT_EQ(d.rgba, rgba);
            EXPECT_TRUE(d.text.empty());
        }
    EXPECT_NE(encodeThumbnailPng(rgba.data(), 0, 4, true, ThumbnailInfo{}, PngEncodeOptions{}, &png), 0);
    EXPECT_EQ(png.size, 0u);
}

