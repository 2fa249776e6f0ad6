// GSDynaArray against std::vector: appending element by element (the byte buffer of memory files
// and pictures, and int arrays), copying, and changing every element. A GSDynaArray copy shares
// its block, so the copy benchmarks also measure a copy followed by its first write, which is
// where GSDynaArray pays for the elements.
#include "gs/object/GSDynaArray.h"

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <vector>

namespace {

template <class T>
void BM_VectorAppend(benchmark::State& state)
{
    long n = state.range(0);
    for (auto _ : state) {
        std::vector<T> v;
        for (long i = 0; i < n; ++i)
            v.push_back(static_cast<T>(i));
        benchmark::DoNotOptimize(v.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * n);
}

template <class T>
void BM_DynaArrayAppend(benchmark::State& state)
{
    long n = state.range(0);
    for (auto _ : state) {
        GSDynaArray<T> a(8, -100);
        for (long i = 0; i < n; ++i)
            (void)a.add(static_cast<T>(i)); // measured as it is; the tests check its status
        benchmark::DoNotOptimize(a.getPointer());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * n);
}

// Appending 64-byte pieces, as a memory file is written.
void BM_VectorAppendChunks(benchmark::State& state)
{
    long n = state.range(0);
    unsigned char chunk[64] = {1, 2, 3};
    for (auto _ : state) {
        std::vector<unsigned char> v;
        for (long i = 0; i < n; i += 64)
            v.insert(v.end(), chunk, chunk + 64);
        benchmark::DoNotOptimize(v.data());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * n);
}

void BM_DynaArrayAppendChunks(benchmark::State& state)
{
    long n = state.range(0);
    unsigned char chunk[64] = {1, 2, 3};
    for (auto _ : state) {
        GSDynaArray<unsigned char> a(8, -100);
        for (long i = 0; i < n; i += 64)
            (void)a.append(chunk, 64); // measured as it is; the tests check its status
        benchmark::DoNotOptimize(a.getPointer());
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * n);
}

std::vector<int> makeVector(long n)
{
    std::vector<int> v(static_cast<size_t>(n));
    for (long i = 0; i < n; ++i)
        v[static_cast<size_t>(i)] = static_cast<int>(i);
    return v;
}

GSDynaArray<int> makeArray(long n)
{
    GSDynaArray<int> a(n, -100);
    std::vector<int> v = makeVector(n);
    if (a.append(v.data(), n) != 0)
        std::abort();
    return a;
}

void BM_VectorCopy(benchmark::State& state)
{
    std::vector<int> source = makeVector(state.range(0));
    for (auto _ : state) {
        std::vector<int> copy(source);
        benchmark::DoNotOptimize(copy.data());
    }
}

void BM_DynaArrayCopy(benchmark::State& state)
{
    GSDynaArray<int> source = makeArray(state.range(0));
    for (auto _ : state) {
        GSDynaArray<int> copy(source);
        benchmark::DoNotOptimize(copy.getPointer());
    }
}

void BM_VectorCopyThenWrite(benchmark::State& state)
{
    std::vector<int> source = makeVector(state.range(0));
    for (auto _ : state) {
        std::vector<int> copy(source);
        copy[0] = 1;
        benchmark::DoNotOptimize(copy.data());
    }
}

void BM_DynaArrayCopyThenWrite(benchmark::State& state)
{
    GSDynaArray<int> source = makeArray(state.range(0));
    for (auto _ : state) {
        GSDynaArray<int> copy(source);
        copy.getWritablePointer()[0] = 1;
        benchmark::DoNotOptimize(copy.getPointer());
    }
}

void BM_VectorModify(benchmark::State& state)
{
    long n = state.range(0);
    std::vector<int> v = makeVector(n);
    for (auto _ : state) {
        for (long i = 0; i < n; ++i)
            v[static_cast<size_t>(i)] += 3;
        benchmark::DoNotOptimize(v.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * n);
}

void BM_DynaArrayModify(benchmark::State& state)
{
    long n = state.range(0);
    GSDynaArray<int> a = makeArray(n);
    for (auto _ : state) {
        int* p = a.getWritablePointer();
        for (long i = 0; i < n; ++i)
            p[i] += 3;
        benchmark::DoNotOptimize(a.getPointer());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * n);
}

} // namespace

BENCHMARK(BM_VectorAppend<unsigned char>)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_DynaArrayAppend<unsigned char>)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_VectorAppend<int>)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_DynaArrayAppend<int>)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_VectorAppendChunks)->Arg(1024)->Arg(1 << 20);
BENCHMARK(BM_DynaArrayAppendChunks)->Arg(1024)->Arg(1 << 20);
BENCHMARK(BM_VectorCopy)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_DynaArrayCopy)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_VectorCopyThenWrite)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_DynaArrayCopyThenWrite)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_VectorModify)->Arg(1000)->Arg(1000000);
BENCHMARK(BM_DynaArrayModify)->Arg(1000)->Arg(1000000);

BENCHMARK_MAIN();
