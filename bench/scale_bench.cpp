// Downscaling a decoded picture to a 256-pixel thumbnail: our streaming area filter against
// pixman's separable box convolution (what cairo uses for good-quality downscaling).
// Inputs are photo-like noise, RGBA, opaque or with varying alpha; the sizes of the thumbnail
// benchmarks (512^2, 1024x768, 2048^2, 4096^2).
#include "generator/GSThumbnailSize.h"
#include "thumbnailer/AreaScaler.h"

#include <benchmark/benchmark.h>
#include <pixman.h>

#include <cstdint>
#include <cstdlib>
#include <random>
#include <vector>

namespace {

std::vector<uint8_t> noise(int w, int h, bool alpha)
{
    std::vector<uint8_t> px(size_t(w) * size_t(h) * 4);
    std::mt19937 rng(7);
    for (size_t i = 0; i < px.size(); i += 4) {
        uint32_t r = rng();
        px[i] = uint8_t(r);
        px[i + 1] = uint8_t(r >> 8);
        px[i + 2] = uint8_t(r >> 16);
        px[i + 3] = alpha ? uint8_t(r >> 24) : 255;
    }
    return px;
}

GSDrawingSize target(int w, int h)
{
    return GSThumbnailDrawingSize(w, h, 256, 256);
}

void BM_AreaScaler(benchmark::State& state)
{
    int w = int(state.range(0)), h = int(state.range(1));
    bool alpha = state.range(2) != 0;
    auto px = noise(w, h, alpha);
    GSDrawingSize t = target(w, h);
    for (auto _ : state) {
        AreaScaler s;
        if (s.start(w, h, 4, int(t.width), int(t.height)))
            state.SkipWithError("start failed");
        for (int y = 0; y < h; ++y)
            if (s.pushRow(px.data() + size_t(y) * size_t(w) * 4))
                state.SkipWithError("row failed");
        benchmark::DoNotOptimize(s.pixels());
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * w * h);
}

void BM_PixmanSeparableBox(benchmark::State& state)
{
    int w = int(state.range(0)), h = int(state.range(1));
    bool alpha = state.range(2) != 0;
    auto px = noise(w, h, alpha);
    // pixman wants premultiplied pixels in native 32-bit words.
    std::vector<uint32_t> src(size_t(w) * size_t(h));
    for (size_t i = 0; i < src.size(); ++i) {
        uint32_t a = px[i * 4 + 3];
        auto pm = [a](uint32_t c) { return (c * a + 127) / 255; };
        src[i] = (a << 24) | (pm(px[i * 4]) << 16) | (pm(px[i * 4 + 1]) << 8) | pm(px[i * 4 + 2]);
    }
    GSDrawingSize t = target(w, h);
    int dw = int(t.width), dh = int(t.height);
    std::vector<uint32_t> dst(size_t(dw) * size_t(dh));
    double sx = double(w) / dw, sy = double(h) / dh;
    for (auto _ : state) {
        pixman_image_t* s = pixman_image_create_bits(PIXMAN_a8r8g8b8, w, h, src.data(), w * 4);
        pixman_image_t* d = pixman_image_create_bits(PIXMAN_a8r8g8b8, dw, dh, dst.data(), dw * 4);
        pixman_transform_t tr;
        pixman_transform_init_scale(&tr, pixman_double_to_fixed(sx), pixman_double_to_fixed(sy));
        pixman_image_set_transform(s, &tr);
        int n = 0;
        pixman_fixed_t* params = pixman_filter_create_separable_convolution(
            &n, pixman_double_to_fixed(sx), pixman_double_to_fixed(sy), PIXMAN_KERNEL_IMPULSE, PIXMAN_KERNEL_IMPULSE,
            PIXMAN_KERNEL_BOX, PIXMAN_KERNEL_BOX, 1, 1);
        pixman_image_set_filter(s, PIXMAN_FILTER_SEPARABLE_CONVOLUTION, params, n);
        std::free(params);
        pixman_image_composite32(PIXMAN_OP_SRC, s, nullptr, d, 0, 0, 0, 0, 0, 0, dw, dh);
        pixman_image_unref(s);
        pixman_image_unref(d);
        benchmark::DoNotOptimize(dst.data());
    }
    state.SetItemsProcessed(int64_t(state.iterations()) * w * h);
}

void sizes(benchmark::internal::Benchmark* b)
{
    for (int alpha : {0, 1}) {
        b->Args({512, 512, alpha});
        b->Args({1024, 768, alpha});
        b->Args({2048, 2048, alpha});
        b->Args({4096, 4096, alpha});
    }
    b->ArgNames({"w", "h", "alpha"})->Unit(benchmark::kMillisecond);
}

}  // namespace

BENCHMARK(BM_AreaScaler)->Apply(sizes);
BENCHMARK(BM_PixmanSeparableBox)->Apply(sizes);
BENCHMARK_MAIN();
