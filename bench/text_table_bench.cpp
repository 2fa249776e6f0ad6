// Reading string tables from their text form: GSStringTable::merge of 1,000, 10,000 and 100,000
// key/value lines, against reading the same file with std::getline into std::string pairs.
// The time per line should stay flat across the sizes for keys that arrive in ascending order (they
// are appended to a sorted table) and for an unsorted table (which always appends); shuffled keys
// into a sorted table are sorted once and merged, n log n.
#include "gs/filespec/GSFileSpec.h"
#include "gs/text/GSStringTable.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

// A file of `lines` pairs, "key0000001" = "value ...";, with keys ascending or shuffled; written
// once per shape and size into the temporary folder and removed at exit.
std::string const& tableFile(long lines, bool shuffled)
{
    static std::map<std::pair<long, bool>, std::string> files;
    static struct Cleanup {
        ~Cleanup()
        {
            for (auto const& file : files)
                std::remove(file.second.c_str());
        }
    } cleanup;
    std::string& path = files[{lines, shuffled}];
    if (!path.empty())
        return path;
    path = (std::filesystem::temp_directory_path() /
            ("qm-text-table-" + std::to_string(lines) + (shuffled ? "-shuffled" : "") + ".strings"))
               .string();
    std::vector<long> order(static_cast<size_t>(lines));
    for (long i = 0; i < lines; ++i)
        order[static_cast<size_t>(i)] = i;
    if (shuffled)
        std::shuffle(order.begin(), order.end(), std::mt19937(5));
    std::ofstream out(path, std::ios::binary);
    char key[16];
    for (long i : order) {
        std::snprintf(key, sizeof key, "key%07ld", i);
        out << '"' << key << "\" = \"value of " << key << ", a text of ordinary length\";\n";
    }
    return path;
}

void mergeTable(benchmark::State& state, bool shuffled, short sorted)
{
    long const lines = state.range(0);
    GSFileSpec const spec(GSString(tableFile(lines, shuffled).c_str()));
    for (auto _ : state) {
        GSStringTable table;
        table.setSorted(sorted);
        if (table.merge(spec) != 0 || table.getCount() != lines)
            state.SkipWithError("merge failed");
        benchmark::DoNotOptimize(table.getCount());
    }
    state.SetItemsProcessed(state.iterations() * lines);
}

void BM_MergeSortedKeysIntoSortedTable(benchmark::State& state) { mergeTable(state, false, 1); }
void BM_MergeShuffledKeysIntoUnsortedTable(benchmark::State& state) { mergeTable(state, true, 0); }
void BM_MergeShuffledKeysIntoSortedTable(benchmark::State& state) { mergeTable(state, true, 1); }

// The floor: each line split at its quotes into a key and a value, without escapes or encodings.
void BM_GetlineIntoStringPairs(benchmark::State& state)
{
    long const lines = state.range(0);
    std::string const& path = tableFile(lines, false);
    for (auto _ : state) {
        std::ifstream in(path, std::ios::binary);
        std::vector<std::pair<std::string, std::string>> pairs;
        std::string line;
        while (std::getline(in, line)) {
            size_t const keyEnd = line.find('"', 1);
            size_t const valueStart = line.find('"', keyEnd + 1);
            size_t const valueEnd = line.rfind('"');
            pairs.emplace_back(line.substr(1, keyEnd - 1), line.substr(valueStart + 1, valueEnd - valueStart - 1));
        }
        if (static_cast<long>(pairs.size()) != lines)
            state.SkipWithError("getline failed");
        benchmark::DoNotOptimize(pairs.data());
    }
    state.SetItemsProcessed(state.iterations() * lines);
}

} // namespace

BENCHMARK(BM_MergeSortedKeysIntoSortedTable)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MergeShuffledKeysIntoUnsortedTable)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_MergeShuffledKeysIntoSortedTable)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GetlineIntoStringPairs)->Arg(1000)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
