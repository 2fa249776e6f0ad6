// Sorting 100,000 file names in natural order: std::sort with GSString's
// compareValueWithNumberCaseless (caseless, numbers by value, decomposition of accented letters)
// against std::sort with glibc's strverscmp (byte order, numbers by value, case-sensitive) on the
// same names, and, for scale, with GSString's plain caseless comparison. The names come from a
// fixed-seed generator of realistic ones ("IMG_1234.jpg", "Scan 7 (2).png", "layer10 copy 3.qmd"),
// mixed case and some non-ASCII. The program runs in the "C.UTF-8" locale, as a desktop program
// that compares beyond ASCII would.
#include "gs/text/GSString.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int kNames = 100000;

std::vector<std::string> const& names()
{
    static std::vector<std::string> const list = [] {
        std::mt19937 random(20240611);
        auto n = [&](unsigned limit) { return static_cast<int>(random() % limit); };
        char const* const words[] = {"Scan", "scan", "Document", "Layer", "layer", "Résumé", "Übersicht",
                                     "Photo", "photo", "写真", "Invoice", "Ébauche", "Thumbnail"};
        char const* const extensions[] = {".jpg", ".JPG", ".png", ".qmd", ".pdf", ".txt"};
        std::vector<std::string> out;
        out.reserve(kNames);
        char buffer[128];
        for (int i = 0; i < kNames; ++i) {
            char const* word = words[n(std::size(words))];
            char const* extension = extensions[n(std::size(extensions))];
            switch (n(6)) {
            case 0:
                std::snprintf(buffer, sizeof buffer, "%s_%04d%s", n(2) ? "IMG" : "img", n(10000), extension);
                break;
            case 1:
                std::snprintf(buffer, sizeof buffer, "%s %d (%d)%s", word, n(200), n(12), extension);
                break;
            case 2:
                std::snprintf(buffer, sizeof buffer, "%s%d copy %d%s", word, n(40), n(20), extension);
                break;
            case 3:
                std::snprintf(buffer, sizeof buffer, "DSC%05d%s", n(100000), extension);
                break;
            case 4:
                std::snprintf(buffer, sizeof buffer, "%s-v%d.%d.%d%s", word, n(4), n(20), n(100), extension);
                break;
            default:
                std::snprintf(buffer, sizeof buffer, "%s %d%s", word, n(1000), extension);
                break;
            }
            out.emplace_back(buffer);
        }
        return out;
    }();
    return list;
}

std::vector<GSString> gsNames()
{
    std::vector<GSString> out;
    out.reserve(kNames);
    for (std::string const& s : names())
        out.emplace_back(s.c_str());
    return out;
}

// Sorts a fresh copy of `source` with `less` in every iteration; the copy is not timed.
template <class T, class Less>
void sortCopies(benchmark::State& state, std::vector<T> const& source, Less less)
{
    for (auto _ : state) {
        state.PauseTiming();
        std::vector<T> list = source;
        state.ResumeTiming();
        std::sort(list.begin(), list.end(), less);
        benchmark::DoNotOptimize(list.data());
    }
    state.SetItemsProcessed(state.iterations() * kNames);
}

void BM_SortNaturalGSString(benchmark::State& state)
{
    sortCopies(state, gsNames(), [](GSString const& a, GSString const& b) {
        return a.compareValueWithNumberCaseless(b, 0) < 0;
    });
}

void BM_SortNaturalGSStringPathMode(benchmark::State& state)
{
    sortCopies(state, gsNames(), [](GSString const& a, GSString const& b) {
        return a.compareValueWithNumberCaseless(b, 1) < 0;
    });
}

void BM_SortCaselessGSString(benchmark::State& state)
{
    sortCopies(state, gsNames(), [](GSString const& a, GSString const& b) { return a.compareValueCaseless(b) < 0; });
}

void BM_SortStrverscmp(benchmark::State& state)
{
    std::vector<char const*> source;
    for (std::string const& s : names())
        source.push_back(s.c_str());
    sortCopies(state, source, [](char const* a, char const* b) { return strverscmp(a, b) < 0; });
}

} // namespace

BENCHMARK(BM_SortNaturalGSString)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SortNaturalGSStringPathMode)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SortCaselessGSString)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SortStrverscmp)->Unit(benchmark::kMillisecond);

int main(int argc, char** argv)
{
    std::setlocale(LC_CTYPE, "C.UTF-8");
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
