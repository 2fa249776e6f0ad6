// Sample pictures for thumbnailer tests and benchmarks: a test pattern with known corners and
// fine detail, photo-like noise, and their JPEG and PNG encodings (TurboJPEG, libspng).
#pragma once

#include <spng.h>
#include <turbojpeg.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

namespace samples {

using Bytes = std::vector<uint8_t>;

// RGBA pixels, straight alpha.
struct Picture {
    int width = 0;
    int height = 0;
    Bytes rgba;
    uint8_t* at(int x, int y) { return &rgba[(size_t(y) * size_t(width) + size_t(x)) * 4]; }
    uint8_t const* at(int x, int y) const { return &rgba[(size_t(y) * size_t(width) + size_t(x)) * 4]; }
};

// Corner colours of the test pattern: top left red, top right green, bottom left blue, bottom right white.
inline constexpr uint8_t kCorner[4][3] = {{230, 20, 20}, {20, 200, 40}, {30, 40, 220}, {250, 250, 250}};

// Solid corner quarters (a quarter of each side) around a middle of one-pixel stripes and a
// diagonal ramp: detail that a thumbnail must average, not sample. `alpha` fades the middle.
inline Picture testPattern(int w, int h, bool alpha = false)
{
    Picture p{w, h, Bytes(size_t(w) * size_t(h) * 4)};
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            uint8_t* o = p.at(x, y);
            bool left = x < w / 4, right = x >= w - w / 4, top = y < h / 4, bottom = y >= h - h / 4;
            int corner = top && left ? 0 : top && right ? 1 : bottom && left ? 2 : bottom && right ? 3 : -1;
            if (corner >= 0) {
                o[0] = kCorner[corner][0];
                o[1] = kCorner[corner][1];
                o[2] = kCorner[corner][2];
                o[3] = 255;
                continue;
            }
            uint8_t stripe = ((x + y) & 1) ? 200 : 40;
            o[0] = stripe;
            o[1] = uint8_t((x * 255) / std::max(w - 1, 1));
            o[2] = uint8_t((y * 255) / std::max(h - 1, 1));
            o[3] = alpha ? uint8_t(64 + (x * 191) / std::max(w - 1, 1)) : 255;
        }
    return p;
}

// Photo-like content: smooth colour fields with strong per-pixel noise (hard to compress).
inline Picture photoLike(int w, int h, bool alpha = false, uint32_t seed = 1)
{
    Picture p{w, h, Bytes(size_t(w) * size_t(h) * 4)};
    std::mt19937 rng(seed);
    std::normal_distribution<double> noise(0, 24);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            uint8_t* o = p.at(x, y);
            double base[3] = {128 + 90 * std::sin(x / 41.0 + y / 97.0), 128 + 80 * std::cos(y / 29.0),
                              96 + 60 * std::sin((x + y) / 63.0)};
            for (int k = 0; k < 3; ++k)
                o[k] = uint8_t(std::clamp(base[k] + noise(rng), 0.0, 255.0));
            o[3] = alpha ? uint8_t(std::clamp(200 + noise(rng), 0.0, 255.0)) : 255;
        }
    return p;
}

inline Bytes encodeJpeg(Picture const& p, int quality = 90, int subsampling = TJSAMP_420)
{
    tjhandle h = tjInitCompress();
    unsigned char* out = nullptr;
    unsigned long size = 0;
    Bytes result;
    if (h && tjCompress2(h, p.rgba.data(), p.width, 0, p.height, TJPF_RGBA, &out, &size, subsampling, quality,
                         TJFLAG_ACCURATEDCT) == 0)
        result.assign(out, out + size);
    tjFree(out);
    if (h)
        tjDestroy(h);
    return result;
}

// 8-bit PNG, RGB (alpha dropped) or RGBA, optionally Adam7-interlaced.
inline Bytes encodePng(Picture const& p, bool withAlpha, int level = 6, bool interlace = false)
{
    spng_ctx* ctx = spng_ctx_new(SPNG_CTX_ENCODER);
    spng_set_option(ctx, SPNG_ENCODE_TO_BUFFER, 1);
    spng_set_option(ctx, SPNG_IMG_COMPRESSION_LEVEL, level);
    spng_ihdr ihdr{};
    ihdr.width = uint32_t(p.width);
    ihdr.height = uint32_t(p.height);
    ihdr.bit_depth = 8;
    ihdr.color_type = withAlpha ? SPNG_COLOR_TYPE_TRUECOLOR_ALPHA : SPNG_COLOR_TYPE_TRUECOLOR;
    ihdr.interlace_method = interlace ? 1 : 0;
    spng_set_ihdr(ctx, &ihdr);
    Bytes pixels;
    if (withAlpha) {
        pixels = p.rgba;
    } else {
        pixels.reserve(size_t(p.width) * size_t(p.height) * 3);
        for (size_t i = 0; i < p.rgba.size(); i += 4)
            pixels.insert(pixels.end(), p.rgba.begin() + long(i), p.rgba.begin() + long(i) + 3);
    }
    Bytes result;
    if (spng_encode_image(ctx, pixels.data(), pixels.size(), SPNG_FMT_PNG, SPNG_ENCODE_FINALIZE) == 0) {
        size_t len = 0;
        int err = 0;
        auto* buf = static_cast<uint8_t*>(spng_get_png_buffer(ctx, &len, &err));
        if (buf && !err)
            result.assign(buf, buf + len);
        free(buf);
    }
    spng_ctx_free(ctx);
    return result;
}

}  // namespace samples
