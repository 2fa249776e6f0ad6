// Reading a 64 MiB file value by value through GSFile over the stdio worker, against the floor:
// fread into a 64 KiB buffer and decoding by hand. Two encodings: big-endian 32-bit values
// (readLong) and the compact signed encoding (readCompactLongLong) with a mix of lengths.
#include "gs/file/GSFile.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

namespace {

// Set-up steps must work, or the figures would measure nothing.
void must(short status)
{
    if (status != 0)
        std::abort();
}

constexpr long kFileSize = 64L << 20;

std::string makeFile(char const* name, bool compact)
{
    std::string path = (std::filesystem::temp_directory_path() / name).string();
    if (std::filesystem::exists(path) && static_cast<long>(std::filesystem::file_size(path)) >= kFileSize)
        return path;
    GSFile file(GSString(path.c_str()));
    must(file.setAccessMode("wb"));
    if (file.open() != 0)
        return path;
    std::mt19937_64 random(3);
    while (file.tell() < kFileSize) {
        if (compact) {
            // Mostly small values, as counts and indexes are, with some long ones.
            std::uint64_t r = random();
            long v = static_cast<long>(r >> (r & 63));
            must(file.writeCompactLongLong(r & 64 ? -v : v));
        } else {
            must(file.writeLong(static_cast<int>(random())));
        }
    }
    must(file.close());
    return path;
}

void BM_GSFileReadLong(benchmark::State& state)
{
    std::string path = makeFile("gs-bench-long.bin", false);
    for (auto _ : state) {
        GSFile file(GSString(path.c_str()));
        must(file.open());
        long sum = 0;
        int v;
        while (file.readLong(&v) == 0)
            sum += v;
        benchmark::DoNotOptimize(sum);
        must(file.close());
    }
    state.SetBytesProcessed(state.iterations() * kFileSize);
}

void BM_FreadDecodeLong(benchmark::State& state)
{
    std::string path = makeFile("gs-bench-long.bin", false);
    std::vector<unsigned char> buffer(65536);
    for (auto _ : state) {
        std::FILE* f = std::fopen(path.c_str(), "rb");
        long sum = 0;
        size_t n;
        while ((n = std::fread(buffer.data(), 1, buffer.size(), f)) >= 4) {
            for (size_t k = 0; k + 4 <= n; k += 4) {
                unsigned char const* b = buffer.data() + k;
                sum += static_cast<int>((unsigned(b[0]) << 24) | (unsigned(b[1]) << 16) | (unsigned(b[2]) << 8) | b[3]);
            }
        }
        benchmark::DoNotOptimize(sum);
        std::fclose(f);
    }
    state.SetBytesProcessed(state.iterations() * kFileSize);
}

void BM_GSFileReadCompact(benchmark::State& state)
{
    std::string path = makeFile("gs-bench-compact.bin", true);
    for (auto _ : state) {
        GSFile file(GSString(path.c_str()));
        must(file.open());
        long sum = 0;
        long v;
        while (file.readCompactLongLong(&v) == 0)
            sum += v;
        benchmark::DoNotOptimize(sum);
        must(file.close());
    }
    state.SetBytesProcessed(state.iterations() * kFileSize);
}

// The same decoding over a hand-managed buffer; a value may straddle two buffer fills.
void BM_FreadDecodeCompact(benchmark::State& state)
{
    std::string path = makeFile("gs-bench-compact.bin", true);
    std::vector<unsigned char> buffer(65536);
    for (auto _ : state) {
        std::FILE* f = std::fopen(path.c_str(), "rb");
        size_t at = 0, filled = 0;
        auto next = [&](unsigned char* byte) {
            if (at == filled) {
                filled = std::fread(buffer.data(), 1, buffer.size(), f);
                at = 0;
                if (filled == 0)
                    return false;
            }
            *byte = buffer[at++];
            return true;
        };
        long sum = 0;
        unsigned char b;
        while (next(&b)) {
            bool negative = b & 0x40;
            std::uint64_t x = b & 63;
            for (int shift = 6; (b & 0x80) && next(&b); shift += 7)
                x |= std::uint64_t(b & 127) << shift;
            sum += static_cast<long>(negative ? ~x : x);
        }
        benchmark::DoNotOptimize(sum);
        std::fclose(f);
    }
    state.SetBytesProcessed(state.iterations() * kFileSize);
}

BENCHMARK(BM_GSFileReadLong)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FreadDecodeLong)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GSFileReadCompact)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_FreadDecodeCompact)->Unit(benchmark::kMillisecond);

} // namespace

BENCHMARK_MAIN();
