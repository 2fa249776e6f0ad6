// GSObjectDictionary lookups against std::unordered_map<std::string, int>, and the dictionary's
// file block.
//
// Lookups: dictionaries of 4, 16 and 256 entries whose keys share a prefix, as settings keys do
// ("GSFileKey0", "GSFileKey1", ...); each iteration looks up every key once, in a fixed shuffled
// order, with getLongValue (the last key to the first, GSString::compareValue per key met) and with
// unordered_map::find on std::string keys made beforehand, as the GSString keys are. A miss (a key
// that is not there) is measured too: the dictionary scans every entry for it. Items are lookups.
//
// File block: a 1,000-entry dictionary (string keys, long, double and string values in turn)
// written to a memory file and read back, in the classic framing and in the compact one (inside an
// object table of 64-bit positions). Items are entries.
#include "gs/file/GSFile.h"
#include "gs/file/GSFileWorker.h"
#include "gs/object/GSObjectDictionary.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <memory>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

std::string keyText(long i) { return "GSFileKey" + std::to_string(i); }

struct LookupInputs {
    GSObjectDictionary dictionary;
    std::unordered_map<std::string, int> map;
    std::vector<GSString> keys;
    std::vector<std::string> stdKeys;
};

LookupInputs makeLookupInputs(long n)
{
    LookupInputs in;
    for (long i = 0; i < n; ++i) {
        std::string const k = keyText(i);
        if (in.dictionary.addLongValue(GSString(k.c_str()), static_cast<int>(i)) != 0)
            std::abort();
        in.map.emplace(k, static_cast<int>(i));
        in.keys.emplace_back(k.c_str());
        in.stdKeys.push_back(k);
    }
    std::vector<long> order(static_cast<size_t>(n));
    for (long i = 0; i < n; ++i)
        order[static_cast<size_t>(i)] = i;
    std::shuffle(order.begin(), order.end(), std::mt19937(1));
    std::vector<GSString> keys;
    std::vector<std::string> stdKeys;
    for (long i : order) {
        keys.push_back(in.keys[static_cast<size_t>(i)]);
        stdKeys.push_back(in.stdKeys[static_cast<size_t>(i)]);
    }
    in.keys = keys;
    in.stdKeys = stdKeys;
    return in;
}

void BM_DictionaryLookup(benchmark::State& state)
{
    LookupInputs const in = makeLookupInputs(state.range(0));
    for (auto _ : state)
        for (GSString const& k : in.keys)
            benchmark::DoNotOptimize(in.dictionary.getLongValue(k, -1));
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_UnorderedMapLookup(benchmark::State& state)
{
    LookupInputs const in = makeLookupInputs(state.range(0));
    for (auto _ : state)
        for (std::string const& k : in.stdKeys) {
            auto const found = in.map.find(k);
            benchmark::DoNotOptimize(found == in.map.end() ? -1 : found->second);
        }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void BM_DictionaryMiss(benchmark::State& state)
{
    LookupInputs const in = makeLookupInputs(state.range(0));
    GSString const absent("GSFileKeyAbsent");
    for (auto _ : state)
        benchmark::DoNotOptimize(in.dictionary.getLongValue(absent, -1));
    state.SetItemsProcessed(state.iterations());
}

void BM_UnorderedMapMiss(benchmark::State& state)
{
    LookupInputs const in = makeLookupInputs(state.range(0));
    std::string const absent("GSFileKeyAbsent");
    for (auto _ : state)
        benchmark::DoNotOptimize(in.map.find(absent) == in.map.end());
    state.SetItemsProcessed(state.iterations());
}

BENCHMARK(BM_DictionaryLookup)->Arg(4)->Arg(16)->Arg(256);
BENCHMARK(BM_UnorderedMapLookup)->Arg(4)->Arg(16)->Arg(256);
BENCHMARK(BM_DictionaryMiss)->Arg(4)->Arg(16)->Arg(256);
BENCHMARK(BM_UnorderedMapMiss)->Arg(4)->Arg(16)->Arg(256);

// --- The file block --------------------------------------------------------------------------------

constexpr long kEntries = 1000;

GSObjectDictionary const& thousandEntries()
{
    static GSObjectDictionary const d = [] {
        GSObjectDictionary made;
        for (long i = 0; i < kEntries; ++i) {
            GSString const key(keyText(i).c_str());
            short const st = i % 3 == 0   ? made.addLongValue(key, static_cast<int>(i))
                             : i % 3 == 1 ? made.addDoubleValue(key, static_cast<double>(i) / 7)
                                          : made.addStringValue(key, GSString(("value " + keyText(i)).c_str()));
            if (st != 0)
                std::abort();
        }
        return made;
    }();
    return d;
}

// Writes the dictionary into `file` (emptied first), compact inside a table of 64-bit positions.
void writeInto(GSFile* file, GSObjectDictionary const& d, bool compact)
{
    if (file->seek(0, 0) != 0 || (compact && file->startObjectMergingWrite(1) != 0) || d.write(file) != 0 ||
        (compact && file->stopObjectMergingWrite() != 0))
        std::abort();
}

std::unique_ptr<GSFile> openMemoryFile()
{
    auto file = std::make_unique<GSFile>(-100, 1 << 16);
    if (file->setAccessMode("wb+") != 0 || file->open() != 0)
        std::abort();
    return file;
}

void BM_DictionaryWrite(benchmark::State& state)
{
    bool const compact = state.range(0) != 0;
    GSObjectDictionary const& d = thousandEntries();
    std::unique_ptr<GSFile> const file = openMemoryFile();
    for (auto _ : state)
        writeInto(file.get(), d, compact);
    state.counters["bytes"] = static_cast<double>(file->tell());
    state.SetItemsProcessed(state.iterations() * kEntries);
}

void BM_DictionaryRead(benchmark::State& state)
{
    bool const compact = state.range(0) != 0;
    std::unique_ptr<GSFile> const file = openMemoryFile();
    writeInto(file.get(), thousandEntries(), compact);
    for (auto _ : state) {
        GSObjectDictionary back;
        if (file->seek(0, 0) != 0 || (compact && file->startObjectMergingRead() != 0) || back.read(file.get()) != 0 ||
            (compact && file->stopObjectMergingRead() != 0) || back.getCount() != kEntries)
            std::abort();
        benchmark::DoNotOptimize(back.getCount());
    }
    state.SetItemsProcessed(state.iterations() * kEntries);
}

BENCHMARK(BM_DictionaryWrite)->ArgName("compact")->Arg(0)->Arg(1);
BENCHMARK(BM_DictionaryRead)->ArgName("compact")->Arg(0)->Arg(1);

} // namespace

BENCHMARK_MAIN();
