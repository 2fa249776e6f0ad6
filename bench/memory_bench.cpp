// The memory helpers against what a caller would write instead: std::fill, a plain loop, memset.
// Sizes are in bytes (4 KiB stays in the first-level cache, 4 MiB goes to memory); every variant
// of one size works on the same buffer, so the ratios compare the code, not the cache.
#include "gs/util/GSMemory.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

template <class T>
struct Buffer {
    explicit Buffer(benchmark::State const& state) : values(static_cast<size_t>(state.range(0)) / sizeof(T), T(1)) {}
    long count() const { return static_cast<long>(values.size()); }
    std::vector<T> values;
};

template <class T>
void finish(benchmark::State& state, Buffer<T>& b)
{
    benchmark::DoNotOptimize(b.values.data());
    benchmark::ClobberMemory();
    state.SetBytesProcessed(state.iterations() * state.range(0));
}

// --- Fills ---------------------------------------------------------------------------------------

void BM_FillBytes_GSMemSet(benchmark::State& state)
{
    Buffer<unsigned char> b(state);
    for (auto _ : state) {
        GSMemSet(b.values.data(), 0x5A, b.count());
        benchmark::ClobberMemory();
    }
    finish(state, b);
}

void BM_FillBytes_memset(benchmark::State& state)
{
    Buffer<unsigned char> b(state);
    for (auto _ : state) {
        std::memset(b.values.data(), 0x5A, b.values.size());
        benchmark::ClobberMemory();
    }
    finish(state, b);
}

template <class T, void (*Fill)(T*, T, long)>
void BM_Fill_GS(benchmark::State& state)
{
    Buffer<T> b(state);
    for (auto _ : state) {
        Fill(b.values.data(), T(3), b.count());
        benchmark::ClobberMemory();
    }
    finish(state, b);
}

template <class T>
void BM_Fill_stdfill(benchmark::State& state)
{
    Buffer<T> b(state);
    for (auto _ : state) {
        std::fill(b.values.begin(), b.values.end(), T(3));
        benchmark::ClobberMemory();
    }
    finish(state, b);
}

template <class T>
void BM_Fill_loop(benchmark::State& state)
{
    Buffer<T> b(state);
    for (auto _ : state) {
        T* p = b.values.data();
        for (long i = 0, n = b.count(); i < n; ++i)
            p[i] = T(3);
        benchmark::ClobberMemory();
    }
    finish(state, b);
}

void fillUShort(unsigned short* p, unsigned short v, long n) { GSMemSetUShort(p, v, n); }
void fillLong(int* p, int v, long n) { GSMemSetLong(p, v, n); }
void fillFloat(float* p, float v, long n) { GSMemSetFloat(p, v, n); }
void fillDouble(double* p, double v, long n) { GSMemSetDouble(p, v, n); }

// --- Inversions ----------------------------------------------------------------------------------

void BM_InvertBytes_GS(benchmark::State& state)
{
    Buffer<unsigned char> b(state);
    for (auto _ : state) {
        GSMemInvert(b.values.data(), b.count());
        benchmark::ClobberMemory();
    }
    finish(state, b);
}

void BM_InvertBytes_loop(benchmark::State& state)
{
    Buffer<unsigned char> b(state);
    for (auto _ : state) {
        unsigned char* p = b.values.data();
        for (long i = 0, n = b.count(); i < n; ++i)
            p[i] = static_cast<unsigned char>(~p[i]);
        benchmark::ClobberMemory();
    }
    finish(state, b);
}

void BM_InvertUShort_GS(benchmark::State& state)
{
    Buffer<unsigned short> b(state);
    for (auto _ : state) {
        GSMemInvertUSHORT(b.values.data(), b.count());
        benchmark::ClobberMemory();
    }
    finish(state, b);
}

void BM_InvertUShort_loop(benchmark::State& state)
{
    Buffer<unsigned short> b(state);
    for (auto _ : state) {
        unsigned short* p = b.values.data();
        for (long i = 0, n = b.count(); i < n; ++i)
            p[i] = static_cast<unsigned short>(~p[i]);
        benchmark::ClobberMemory();
    }
    finish(state, b);
}

void BM_InvertFloat_GS(benchmark::State& state)
{
    Buffer<float> b(state);
    for (auto _ : state) {
        GSMemInvertFloat(b.values.data(), b.count());
        benchmark::ClobberMemory();
    }
    finish(state, b);
}

void BM_InvertFloat_loop(benchmark::State& state)
{
    Buffer<float> b(state);
    for (auto _ : state) {
        float* p = b.values.data();
        for (long i = 0, n = b.count(); i < n; ++i)
            p[i] = 1.0f - p[i];
        benchmark::ClobberMemory();
    }
    finish(state, b);
}

} // namespace

#define QM_SIZES ->Arg(4 << 10)->Arg(4 << 20)

BENCHMARK(BM_FillBytes_GSMemSet) QM_SIZES;
BENCHMARK(BM_FillBytes_memset) QM_SIZES;
BENCHMARK(BM_Fill_GS<unsigned short, fillUShort>) QM_SIZES;
BENCHMARK(BM_Fill_stdfill<unsigned short>) QM_SIZES;
BENCHMARK(BM_Fill_loop<unsigned short>) QM_SIZES;
BENCHMARK(BM_Fill_GS<int, fillLong>) QM_SIZES;
BENCHMARK(BM_Fill_stdfill<int>) QM_SIZES;
BENCHMARK(BM_Fill_loop<int>) QM_SIZES;
BENCHMARK(BM_Fill_GS<float, fillFloat>) QM_SIZES;
BENCHMARK(BM_Fill_stdfill<float>) QM_SIZES;
BENCHMARK(BM_Fill_loop<float>) QM_SIZES;
BENCHMARK(BM_Fill_GS<double, fillDouble>) QM_SIZES;
BENCHMARK(BM_Fill_stdfill<double>) QM_SIZES;
BENCHMARK(BM_Fill_loop<double>) QM_SIZES;
BENCHMARK(BM_InvertBytes_GS) QM_SIZES;
BENCHMARK(BM_InvertBytes_loop) QM_SIZES;
BENCHMARK(BM_InvertUShort_GS) QM_SIZES;
BENCHMARK(BM_InvertUShort_loop) QM_SIZES;
BENCHMARK(BM_InvertFloat_GS) QM_SIZES;
BENCHMARK(BM_InvertFloat_loop) QM_SIZES;

BENCHMARK_MAIN();
