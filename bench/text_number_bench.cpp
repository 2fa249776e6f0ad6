// GSString numbers against what a caller would use instead: formatting with addLong and addDouble
// next to snprintf and std::to_chars writing into a buffer, parsing with getLongValue and
// getDoubleValue next to strtol/strtod and std::from_chars. Every line works through the same 1024
// fixed-seed inputs per iteration (items are numbers). Each GSString line builds a fresh string per
// number, as a caller formatting one number into a name does.
#include "gs/text/GSString.h"

#include <benchmark/benchmark.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr size_t kCount = 1024;
// addDouble's rounding to an integer: 0.49 as a float, widened.
constexpr double kRounding = 0.49000000953674316;

// Integers of 1 to 10 digits, either sign, evenly spread over the digit counts.
std::vector<int> const& integers()
{
    static std::vector<int> const values = [] {
        std::mt19937 random(1);
        std::vector<int> v;
        for (size_t i = 0; i < kCount; ++i) {
            int const digits = 1 + static_cast<int>(i % 10);
            long const limit = digits == 10 ? 2147483647L : static_cast<long>(std::pow(10, digits));
            long const value = static_cast<long>(random() % static_cast<unsigned long>(limit));
            v.push_back(static_cast<int>(i % 3 ? value : -value));
        }
        return v;
    }();
    return values;
}

// Values from 1e-3 to 1e6 in magnitude, either sign: coordinates, sizes and percentages.
std::vector<double> const& doubles()
{
    static std::vector<double> const values = [] {
        std::mt19937 random(2);
        std::uniform_real_distribution<double> exponent(-3, 6);
        std::vector<double> v;
        for (size_t i = 0; i < kCount; ++i)
            v.push_back((i % 3 ? 1 : -1) * std::pow(10, exponent(random)));
        return v;
    }();
    return values;
}

// The texts that the parsers read: the integers as printed, the doubles with 0 to 6 decimals.
template <class T>
std::vector<std::string> texts(std::vector<T> const& values)
{
    std::vector<std::string> t;
    for (size_t i = 0; i < values.size(); ++i) {
        char buffer[64];
        if constexpr (std::is_same_v<T, int>)
            std::snprintf(buffer, sizeof buffer, "%d", values[i]);
        else
            std::snprintf(buffer, sizeof buffer, "%.*f", static_cast<int>(i % 7), values[i]);
        t.emplace_back(buffer);
    }
    return t;
}

void finish(benchmark::State& state)
{
    state.SetItemsProcessed(static_cast<int64_t>(state.iterations() * kCount));
}

// --- Integers to text -------------------------------------------------------------------------------

void BM_AddLong(benchmark::State& state)
{
    for (auto _ : state) {
        for (int v : integers()) {
            GSString s;
            (void)s.addLong(v);
            benchmark::DoNotOptimize(s.c_str());
        }
    }
    finish(state);
}

void BM_SnprintfLong(benchmark::State& state)
{
    char buffer[32];
    for (auto _ : state) {
        for (int v : integers()) {
            std::snprintf(buffer, sizeof buffer, "%d", v);
            benchmark::DoNotOptimize(buffer);
        }
    }
    finish(state);
}

void BM_ToCharsLong(benchmark::State& state)
{
    char buffer[32];
    for (auto _ : state) {
        for (int v : integers()) {
            *std::to_chars(buffer, buffer + sizeof buffer, v).ptr = 0;
            benchmark::DoNotOptimize(buffer);
        }
    }
    finish(state);
}

// --- Doubles to text --------------------------------------------------------------------------------
// Arg 0: the "%f" form (width and decimals 0); arg 1: width 8 and 2 decimals, "%11.2f"; arg 2: width
// 8 without decimals, the value rounded to an integer.

void BM_AddDouble(benchmark::State& state)
{
    int const width = state.range(0) ? 8 : 0;
    int const decimals = state.range(0) == 1 ? 2 : 0;
    for (auto _ : state) {
        for (double v : doubles()) {
            GSString s;
            (void)s.addDouble(v, width, decimals);
            benchmark::DoNotOptimize(s.c_str());
        }
    }
    finish(state);
}

void BM_SnprintfDouble(benchmark::State& state)
{
    char buffer[512];
    long const form = state.range(0);
    for (auto _ : state) {
        for (double v : doubles()) {
            if (form == 0)
                std::snprintf(buffer, sizeof buffer, "%f", v);
            else if (form == 1)
                std::snprintf(buffer, sizeof buffer, "%11.2f", v);
            else
                std::snprintf(buffer, sizeof buffer, "%8ld", static_cast<long>(std::floor(v + kRounding)));
            benchmark::DoNotOptimize(buffer);
        }
    }
    finish(state);
}

// std::to_chars has no field width: the figures leave the padding out.
void BM_ToCharsDouble(benchmark::State& state)
{
    char buffer[512];
    long const form = state.range(0);
    for (auto _ : state) {
        for (double v : doubles()) {
            char* end;
            if (form == 2)
                end = std::to_chars(buffer, buffer + sizeof buffer, static_cast<long>(std::floor(v + kRounding))).ptr;
            else
                end = std::to_chars(buffer, buffer + sizeof buffer, v, std::chars_format::fixed, form == 0 ? 6 : 2).ptr;
            *end = 0;
            benchmark::DoNotOptimize(buffer);
        }
    }
    finish(state);
}

// --- Text to numbers --------------------------------------------------------------------------------

template <class T>
std::vector<GSString> gsTexts(std::vector<T> const& values)
{
    std::vector<GSString> s;
    for (std::string const& t : texts(values))
        s.emplace_back(t.c_str());
    return s;
}

void BM_GetLongValue(benchmark::State& state)
{
    std::vector<GSString> const input = gsTexts(integers());
    for (auto _ : state)
        for (GSString const& s : input)
            benchmark::DoNotOptimize(s.getLongValue());
    finish(state);
}

void BM_Strtol(benchmark::State& state)
{
    std::vector<std::string> const input = texts(integers());
    for (auto _ : state)
        for (std::string const& s : input)
            benchmark::DoNotOptimize(std::strtol(s.c_str(), nullptr, 10));
    finish(state);
}

void BM_FromCharsLong(benchmark::State& state)
{
    std::vector<std::string> const input = texts(integers());
    for (auto _ : state) {
        for (std::string const& s : input) {
            int v = 0;
            std::from_chars(s.data(), s.data() + s.size(), v);
            benchmark::DoNotOptimize(v);
        }
    }
    finish(state);
}

void BM_GetDoubleValue(benchmark::State& state)
{
    std::vector<GSString> const input = gsTexts(doubles());
    for (auto _ : state)
        for (GSString const& s : input)
            benchmark::DoNotOptimize(s.getDoubleValue());
    finish(state);
}

void BM_Strtod(benchmark::State& state)
{
    std::vector<std::string> const input = texts(doubles());
    for (auto _ : state)
        for (std::string const& s : input)
            benchmark::DoNotOptimize(std::strtod(s.c_str(), nullptr));
    finish(state);
}

void BM_FromCharsDouble(benchmark::State& state)
{
    std::vector<std::string> const input = texts(doubles());
    for (auto _ : state) {
        for (std::string const& s : input) {
            double v = 0;
            std::from_chars(s.data(), s.data() + s.size(), v);
            benchmark::DoNotOptimize(v);
        }
    }
    finish(state);
}

} // namespace

BENCHMARK(BM_AddLong);
BENCHMARK(BM_SnprintfLong);
BENCHMARK(BM_ToCharsLong);
BENCHMARK(BM_AddDouble)->DenseRange(0, 2);
BENCHMARK(BM_SnprintfDouble)->DenseRange(0, 2);
BENCHMARK(BM_ToCharsDouble)->DenseRange(0, 2);
BENCHMARK(BM_GetLongValue);
BENCHMARK(BM_Strtol);
BENCHMARK(BM_FromCharsLong);
BENCHMARK(BM_GetDoubleValue);
BENCHMARK(BM_Strtod);
BENCHMARK(BM_FromCharsDouble);

BENCHMARK_MAIN();
