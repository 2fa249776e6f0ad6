// The math helpers against what a caller would use instead: fAtan against atan2f, isqrt against
// std::sqrt rounded to the nearest integer, and GSInterpolateValue per call (beside the linear
// interpolation). Each line runs over the same 4096 fixed-seed inputs, so the ratios compare the
// code. MathInit fills the tables once per process: its one call is timed before the benchmarks
// run and printed in the context header as "MathInit (first call)".
#include "gs/util/GSMath.h"
#include "gs/util/GSMathHelpers.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr std::size_t kCount = 4096;

template <class T, class Distribution>
std::vector<T> inputs(Distribution distribution)
{
    std::mt19937 random(1);
    std::vector<T> values(kCount);
    for (T& value : values)
        value = distribution(random);
    return values;
}

template <class Op>
void perInput(benchmark::State& state, Op op)
{
    for (auto _ : state) {
        for (std::size_t i = 0; i < kCount; ++i)
            benchmark::DoNotOptimize(op(i));
    }
    state.SetItemsProcessed(state.iterations() * static_cast<long>(kCount));
}

std::vector<float> const ys = inputs<float>(std::uniform_real_distribution<float>(-1000, 1000));
std::vector<float> const xs = inputs<float>(std::uniform_real_distribution<float>(-1000, 1000));
std::vector<int> const integers = inputs<int>(std::uniform_int_distribution<int>(0, (1 << 30) - 1));
std::vector<float> const positions = inputs<float>(std::uniform_real_distribution<float>(0, 1));
std::vector<float> const samples = {0, 0.1f, 0.15f, 0.3f, 0.32f, 0.5f, 0.55f, 0.6f,
                                    0.7f, 0.72f, 0.8f, 0.85f, 0.9f, 0.93f, 0.97f, 1};

void BM_Angle_fAtan(benchmark::State& state)
{
    perInput(state, [](std::size_t i) { return fAtan(ys[i], xs[i]); });
}

void BM_Angle_atan2f(benchmark::State& state)
{
    perInput(state, [](std::size_t i) { return std::atan2(ys[i], xs[i]); });
}

void BM_Root_isqrt(benchmark::State& state)
{
    perInput(state, [](std::size_t i) { return isqrt(integers[i]); });
}

void BM_Root_sqrt_rounded(benchmark::State& state)
{
    perInput(state, [](std::size_t i) { return static_cast<int>(std::sqrt(static_cast<double>(integers[i])) + 0.5); });
}

void BM_Interpolate_GSInterpolateValue(benchmark::State& state)
{
    perInput(state, [](std::size_t i) { return GSInterpolateValue(positions[i], 16, samples.data()); });
}

void BM_Interpolate_GSInterpolateValueLinear(benchmark::State& state)
{
    perInput(state, [](std::size_t i) { return GSInterpolateValueLinear(positions[i], 16, samples.data()); });
}

} // namespace

BENCHMARK(BM_Angle_fAtan);
BENCHMARK(BM_Angle_atan2f);
BENCHMARK(BM_Root_isqrt);
BENCHMARK(BM_Root_sqrt_rounded);
BENCHMARK(BM_Interpolate_GSInterpolateValue);
BENCHMARK(BM_Interpolate_GSInterpolateValueLinear);

int main(int argc, char** argv)
{
    auto const start = std::chrono::steady_clock::now();
    MathInit();
    std::chrono::duration<double, std::micro> const elapsed = std::chrono::steady_clock::now() - start;
    benchmark::AddCustomContext("MathInit (first call)", std::to_string(elapsed.count()) + " us");
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
