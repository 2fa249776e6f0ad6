// Encoding a 256 x 256 thumbnail PNG: which zlib level, strategy and row filter to use. The picture
// is photo-like (smooth gradients with fine noise, as a downscaled photograph is) or drawing-like
// (flat areas and hard edges); each run reports the file size, because a smaller file is also less
// for a desktop to read back.
#include "thumbnailer/ThumbnailPng.h"

#include <benchmark/benchmark.h>
#include <spng.h>
#include <zlib.h>

#include <cmath>
#include <random>
#include <vector>

namespace {

// Flat areas and hard edges, as a downscaled drawing or screenshot is: where string matching pays.
std::vector<uint8_t> drawingLike(int w, int h)
{
    std::vector<uint8_t> px(size_t(w) * size_t(h) * 4);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            uint8_t* p = &px[(size_t(y) * size_t(w) + size_t(x)) * 4];
            bool box = (x / 40 + y / 30) % 3 == 0;
            p[0] = box ? 30 : 240;
            p[1] = uint8_t(box ? 90 : 240 - (y / 64) * 20);
            p[2] = uint8_t(x * 255 / w);
            p[3] = 255;
        }
    return px;
}

std::vector<uint8_t> photoLike(int w, int h)
{
    std::vector<uint8_t> px(size_t(w) * size_t(h) * 4);
    std::mt19937 rng(3);
    std::normal_distribution<double> n(0, 6);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            uint8_t* p = &px[(size_t(y) * size_t(w) + size_t(x)) * 4];
            double base[3] = {128 + 100 * std::sin(x / 37.0), 128 + 90 * std::cos(y / 23.0), 64.0 + (x + y) / 4.0};
            for (int k = 0; k < 3; ++k)
                p[k] = uint8_t(std::clamp(base[k] + n(rng), 0.0, 255.0));
            p[3] = 255;
        }
    return px;
}

void BM_EncodePng(benchmark::State& state)
{
    int level = int(state.range(0));
    int filter = int(state.range(1));
    int strategy = int(state.range(2));
    auto px = state.range(3) ? drawingLike(256, 256) : photoLike(256, 256);
    ThumbnailInfo info;
    info.uri = "file:///home/user/Pictures/sample.qmd";
    info.mimeType = "application/x-quillmoor-document";
    info.mtime = 1700000000;
    info.size = 123456;
    size_t bytes = 0;
    for (auto _ : state) {
        PngBytes png;
        if (encodeThumbnailPng(px.data(), 256, 256, true, info, PngEncodeOptions{level, filter, strategy}, &png))
            state.SkipWithError("encode failed");
        bytes = png.size;
    }
    state.counters["bytes"] = double(bytes);
}

}  // namespace

BENCHMARK(BM_EncodePng)
    ->ArgNames({"level", "filter", "strategy", "drawing"})
    ->ArgsProduct({{1, 6}, {SPNG_DISABLE_FILTERING, SPNG_FILTER_CHOICE_SUB, SPNG_FILTER_CHOICE_UP,
                            SPNG_FILTER_CHOICE_PAETH, SPNG_FILTER_CHOICE_ALL},
                   {Z_FILTERED, Z_HUFFMAN_ONLY, Z_RLE}, {0, 1}})
    ->ArgsProduct({{0}, {SPNG_DISABLE_FILTERING}, {Z_FILTERED}, {0, 1}})
    ->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
