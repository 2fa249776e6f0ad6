// Encoding a 256 x 256 thumbnail PNG: which zlib level and row filter to use. The picture is
// photo-like (smooth gradients with fine noise, as a downscaled photograph is); each run reports
// the file size, because a smaller file is also less for a desktop to read back.
#include "thumbnailer/ThumbnailPng.h"

#include <benchmark/benchmark.h>
#include <spng.h>

#include <cmath>
#include <random>
#include <vector>

namespace {

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
    auto px = photoLike(256, 256);
    ThumbnailInfo info;
    info.uri = "file:///home/user/Pictures/sample.qmd";
    info.mimeType = "application/x-quillmoor-document";
    info.mtime = 1700000000;
    info.size = 123456;
    size_t bytes = 0;
    for (auto _ : state) {
        PngBytes png;
        if (encodeThumbnailPng(px.data(), 256, 256, true, info, PngEncodeOptions{level, filter}, &png))
            state.SkipWithError("encode failed");
        bytes = png.size;
    }
    state.counters["bytes"] = double(bytes);
}

}  // namespace

BENCHMARK(BM_EncodePng)
    ->ArgNames({"level", "filter"})
    ->ArgsProduct({{0, 1, 3, 6}, {SPNG_DISABLE_FILTERING, SPNG_FILTER_CHOICE_SUB, SPNG_FILTER_CHOICE_UP,
                                   SPNG_FILTER_CHOICE_PAETH, SPNG_FILTER_CHOICE_ALL}})
    ->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
