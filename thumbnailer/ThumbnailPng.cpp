#include "thumbnailer/ThumbnailPng.h"

#include <spng.h>

#include <cstdlib>
#include <cstring>
#include <vector>

void PngBytes::Free::operator()(void* p) const
{
    std::free(p);
}

namespace {

struct CtxFree {
    void operator()(spng_ctx* c) const { spng_ctx_free(c); }
};

bool addText(std::vector<spng_text>* texts, char const* keyword, std::string const& value)
{
    spng_text t{};
    if (std::strlen(keyword) >= sizeof(t.keyword))
        return false;
    std::strcpy(t.keyword, keyword);
    t.type = SPNG_TEXT;
    t.length = value.size();
    // libspng copies the text; it does not modify it.
    t.text = const_cast<char*>(value.c_str());
    texts->push_back(t);
    return true;
}

}  // namespace

short encodeThumbnailPng(uint8_t const* rgba, int width, int height, bool opaque, ThumbnailInfo const& info,
                         PngEncodeOptions const& options, PngBytes* out)
{
    out->data.reset();
    out->size = 0;
    if (!rgba || width < 1 || height < 1)
        return 1;
    std::unique_ptr<spng_ctx, CtxFree> ctx(spng_ctx_new(SPNG_CTX_ENCODER));
    if (!ctx)
        return 1;
    spng_set_option(ctx.get(), SPNG_ENCODE_TO_BUFFER, 1);
    spng_set_option(ctx.get(), SPNG_IMG_COMPRESSION_LEVEL, options.zlibLevel);
    spng_set_option(ctx.get(), SPNG_FILTER_CHOICE, options.filterChoice);
    spng_set_option(ctx.get(), SPNG_IMG_COMPRESSION_STRATEGY, options.strategy);

    spng_ihdr ihdr{};
    ihdr.width = uint32_t(width);
    ihdr.height = uint32_t(height);
    ihdr.bit_depth = 8;
    ihdr.color_type = opaque ? SPNG_COLOR_TYPE_TRUECOLOR : SPNG_COLOR_TYPE_TRUECOLOR_ALPHA;
    if (spng_set_ihdr(ctx.get(), &ihdr))
        return 1;

    std::string const mtime = info.mtime >= 0 ? std::to_string(info.mtime) : std::string();
    std::string const size = info.size >= 0 ? std::to_string(info.size) : std::string();
    std::string const iw = std::to_string(info.imageWidth);
    std::string const ih = std::to_string(info.imageHeight);
    std::vector<spng_text> texts;
    texts.reserve(7);
    if (!info.uri.empty())
        addText(&texts, "Thumb::URI", info.uri);
    if (info.mtime >= 0)
        addText(&texts, "Thumb::MTime", mtime);
    if (info.size >= 0)
        addText(&texts, "Thumb::Size", size);
    if (!info.mimeType.empty())
        addText(&texts, "Thumb::Mimetype", info.mimeType);
    if (info.imageWidth > 0 && info.imageHeight > 0) {
        addText(&texts, "Thumb::Image::Width", iw);
        addText(&texts, "Thumb::Image::Height", ih);
    }
    if (!info.software.empty())
        addText(&texts, "Software", info.software);
    if (!texts.empty() && spng_set_text(ctx.get(), texts.data(), uint32_t(texts.size())))
        return 1;

    size_t const rowBytes = size_t(width) * (opaque ? 3 : 4);
    if (spng_encode_image(ctx.get(), nullptr, 0, SPNG_FMT_PNG, SPNG_ENCODE_PROGRESSIVE | SPNG_ENCODE_FINALIZE))
        return 1;
    std::unique_ptr<uint8_t[]> rgbRow;
    if (opaque) {
        rgbRow.reset(new (std::nothrow) uint8_t[rowBytes]);
        if (!rgbRow)
            return 1;
    }
    for (int y = 0; y < height; ++y) {
        uint8_t const* src = rgba + size_t(y) * size_t(width) * 4;
        int err;
        if (opaque) {
            for (int x = 0; x < width; ++x)
                std::memcpy(rgbRow.get() + size_t(x) * 3, src + size_t(x) * 4, 3);
            err = spng_encode_row(ctx.get(), rgbRow.get(), rowBytes);
        } else {
            err = spng_encode_row(ctx.get(), src, rowBytes);
        }
        // The last row reports SPNG_EOI: the image is complete.
        if (err && !(err == SPNG_EOI && y == height - 1))
            return 1;
    }
    int err = 0;
    size_t len = 0;
    void* buffer = spng_get_png_buffer(ctx.get(), &len, &err);
    if (!buffer || err) {
        std::free(buffer);
        return 1;
    }
    out->data.reset(static_cast<uint8_t*>(buffer));
    out->size = len;
    return 0;
}
