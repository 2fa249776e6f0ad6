// Sample pictures for thumbnailer tests and benchmarks: a test pattern with known corners and
// fine detail, photo-like noise, their JPEG and PNG encodings (TurboJPEG, libspng), and the edits
// that make them hostile.
#pragma once

#include <spng.h>
#include <turbojpeg.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <utility>
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

// Pixels of any TurboJPEG pixel format; empty on failure.
inline Bytes encodeJpeg(void const* pixels, int width, int height, int pixelFormat, int subsampling, int quality = 90,
                        int flags = TJFLAG_ACCURATEDCT)
{
    tjhandle handle = tjInitCompress();
    unsigned char* out = nullptr;
    unsigned long size = 0;
    Bytes result;
    if (handle && tjCompress2(handle, static_cast<unsigned char const*>(pixels), width, 0, height, pixelFormat, &out,
                              &size, subsampling, quality, flags) == 0)
        result.assign(out, out + size);
    tjFree(out);
    if (handle)
        tjDestroy(handle);
    return result;
}

inline Bytes encodeJpeg(Picture const& p, int quality = 90, int subsampling = TJSAMP_420)
{
    return encodeJpeg(p.rgba.data(), p.width, p.height, TJPF_RGBA, subsampling, quality);
}

struct PngShape {
    int colorType = SPNG_COLOR_TYPE_TRUECOLOR_ALPHA;
    int bitDepth = 8;
    bool interlace = false;
    int level = 6;
    spng_trns* trns = nullptr; // optional chunks
    spng_text* text = nullptr;
};

// Samples as the PNG stores them (16-bit ones in host order); empty on failure.
inline Bytes encodePng(void const* pixels, size_t byteCount, int width, int height, PngShape const& shape)
{
    spng_ctx* ctx = spng_ctx_new(SPNG_CTX_ENCODER);
    spng_set_option(ctx, SPNG_ENCODE_TO_BUFFER, 1);
    spng_set_option(ctx, SPNG_IMG_COMPRESSION_LEVEL, shape.level);
    spng_ihdr ihdr{};
    ihdr.width = uint32_t(width);
    ihdr.height = uint32_t(height);
    ihdr.bit_depth = uint8_t(shape.bitDepth);
    ihdr.color_type = uint8_t(shape.colorType);
    ihdr.interlace_method = shape.interlace ? 1 : 0;
    spng_set_ihdr(ctx, &ihdr);
    if (shape.trns)
        spng_set_trns(ctx, shape.trns);
    if (shape.text)
        spng_set_text(ctx, shape.text, 1);
    Bytes result;
    if (spng_encode_image(ctx, pixels, byteCount, SPNG_FMT_PNG, SPNG_ENCODE_FINALIZE) == 0) {
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

// 8-bit PNG, RGB (alpha dropped) or RGBA, optionally Adam7-interlaced.
inline Bytes encodePng(Picture const& p, bool withAlpha, int level = 6, bool interlace = false)
{
    Bytes pixels;
    if (withAlpha) {
        pixels = p.rgba;
    } else {
        pixels.reserve(size_t(p.width) * size_t(p.height) * 3);
        for (size_t i = 0; i < p.rgba.size(); i += 4)
            pixels.insert(pixels.end(), p.rgba.begin() + long(i), p.rgba.begin() + long(i) + 3);
    }
    PngShape shape;
    shape.colorType = withAlpha ? SPNG_COLOR_TYPE_TRUECOLOR_ALPHA : SPNG_COLOR_TYPE_TRUECOLOR;
    shape.interlace = interlace;
    shape.level = level;
    return encodePng(pixels.data(), pixels.size(), p.width, p.height, shape);
}

// --- Reference scaling ---------------------------------------------------------------------------

// The exact area average of `ch`-channel pixels (3: opaque RGB, 4: RGBA; rows `stride` bytes
// apart) from sw x sh down to dw x dh, separably in doubles, with alpha premultiplied. Per output
// pixel: premultiplied R, G, B and alpha, each 0..255.
inline std::vector<double> areaAverage(uint8_t const* pixels, size_t stride, int sw, int sh, int ch, int dw, int dh)
{
    // The source pixels under output pixel o, each with the share of o it covers.
    auto weights = [](int src, int dst, int o, std::vector<std::pair<int, double>>* w) {
        double r = double(src) / dst, lo = o * r, hi = (o + 1) * r;
        w->clear();
        for (int s = int(std::floor(lo)); s < int(std::ceil(hi)) && s < src; ++s) {
            double c = std::min(s + 1.0, hi) - std::max(double(s), lo);
            if (c > 0)
                w->push_back({s, c / r});
        }
    };
    std::vector<double> rows(size_t(dw) * size_t(sh) * 4), out(size_t(dw) * size_t(dh) * 4);
    std::vector<std::pair<int, double>> w;
    for (int x = 0; x < dw; ++x) {
        weights(sw, dw, x, &w);
        for (int y = 0; y < sh; ++y)
            for (auto [s, c] : w) {
                uint8_t const* p = pixels + size_t(y) * stride + size_t(s) * size_t(ch);
                double alpha = ch == 4 ? p[3] : 255;
                double* o = &rows[(size_t(y) * size_t(dw) + size_t(x)) * 4];
                for (int k = 0; k < 3; ++k)
                    o[k] += c * p[k] * alpha / 255;
                o[3] += c * alpha;
            }
    }
    for (int y = 0; y < dh; ++y) {
        weights(sh, dh, y, &w);
        for (int x = 0; x < dw; ++x)
            for (auto [s, c] : w)
                for (size_t k = 0; k < 4; ++k)
                    out[(size_t(y) * size_t(dw) + size_t(x)) * 4 + k] += c * rows[(size_t(s) * size_t(dw) + size_t(x)) * 4 + k];
    }
    return out;
}

// --- Hostile edits ------------------------------------------------------------------------------

inline void putBig32(Bytes* b, size_t at, uint32_t v)
{
    for (int i = 0; i < 4; ++i)
        (*b)[at + size_t(i)] = uint8_t(v >> (24 - 8 * i));
}

inline uint32_t crc32(uint8_t const* p, size_t n)
{
    uint32_t c = 0xFFFFFFFFu;
    for (size_t i = 0; i < n; ++i) {
        c ^= p[i];
        for (int k = 0; k < 8; ++k)
            c = (c >> 1) ^ (0xEDB88320u & (0u - (c & 1u)));
    }
    return ~c;
}

// The PNG with its header claiming width x height, the header's checksum made right.
inline Bytes withPngSize(Bytes png, uint32_t width, uint32_t height)
{
    // Signature (8), IHDR length (4), "IHDR" (4), width, height, ..., the CRC after 13 data bytes.
    putBig32(&png, 16, width);
    putBig32(&png, 20, height);
    putBig32(&png, 29, crc32(&png[12], 17));
    return png;
}

// Where the JPEG marker FF `marker` starts; 0 when there is none.
inline size_t findMarker(Bytes const& jpeg, uint8_t marker)
{
    for (size_t i = 2; i + 1 < jpeg.size(); ++i)
        if (jpeg[i] == 0xFF && jpeg[i + 1] == marker)
            return i;
    return 0;
}

// The JPEG with its baseline frame header (FF C0: length, precision, height, width) claiming
// width x height over the scan data it has; unchanged when it has no such header.
inline Bytes withJpegSize(Bytes jpeg, uint16_t width, uint16_t height)
{
    size_t sof = findMarker(jpeg, 0xC0);
    if (sof == 0 || sof + 9 > jpeg.size())
        return jpeg;
    jpeg[sof + 5] = uint8_t(height >> 8), jpeg[sof + 6] = uint8_t(height);
    jpeg[sof + 7] = uint8_t(width >> 8), jpeg[sof + 8] = uint8_t(width);
    return jpeg;
}

}  // namespace samples
