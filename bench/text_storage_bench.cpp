// GSString storage against std::string: copying a string whose text lives in a shared block (a
// pointer and an atomic increment, whatever the length; std::string copies the bytes), and building
// short strings (up to 46 characters stay inside the object; std::string keeps only 15 in place).
// The "blocks" counter is the number of string blocks allocated per iteration, counted through the
// array allocation hook, which sees every block a GSString allocates.
#include "gs/object/GSArrayMemory.h"
#include "gs/text/GSString.h"

#include <benchmark/benchmark.h>

#include <string>

namespace {

long blocks = 0;
bool countBlock(size_t)
{
    ++blocks;
    return true;
}

void BM_GSStringCopyShared(benchmark::State& state)
{
    std::string const text(static_cast<size_t>(state.range(0)), 'x');
    GSString const source(text.c_str());
    for (auto _ : state) {
        GSString copy(source);
        benchmark::DoNotOptimize(copy.c_str());
    }
}

void BM_StdStringCopy(benchmark::State& state)
{
    std::string const source(static_cast<size_t>(state.range(0)), 'x');
    for (auto _ : state) {
        std::string copy(source);
        benchmark::DoNotOptimize(copy.data());
    }
}

// A short name built piece by piece, as file names and keys are.
void BM_GSStringBuildShort(benchmark::State& state)
{
    long const n = state.range(0);
    blocks = 0;
    GSSetArrayAllocationHook(countBlock);
    for (auto _ : state) {
        GSString s;
        for (long i = 0; i < n; ++i)
            (void)s.add(static_cast<char>('a' + i % 26));
        benchmark::DoNotOptimize(s.c_str());
    }
    GSSetArrayAllocationHook(nullptr);
    state.counters["blocks"] = benchmark::Counter(static_cast<double>(blocks), benchmark::Counter::kAvgIterations);
}

void BM_StdStringBuildShort(benchmark::State& state)
{
    long const n = state.range(0);
    for (auto _ : state) {
        std::string s;
        for (long i = 0; i < n; ++i)
            s.push_back(static_cast<char>('a' + i % 26));
        benchmark::DoNotOptimize(s.data());
    }
}

} // namespace

BENCHMARK(BM_GSStringCopyShared)->Arg(64)->Arg(1 << 20)->Arg(64 << 20);
BENCHMARK(BM_StdStringCopy)->Arg(64)->Arg(1 << 20)->Arg(64 << 20);
BENCHMARK(BM_GSStringBuildShort)->Arg(15)->Arg(46)->Arg(47);
BENCHMARK(BM_StdStringBuildShort)->Arg(15)->Arg(46)->Arg(47);

BENCHMARK_MAIN();
