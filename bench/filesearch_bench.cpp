// A recursive GSFileSearch for "*.txt" over a generated tree of 100,000 entries, against GNU find
// -name '*.txt' on the same tree (run as a program, its output read through a pipe) and a walk with
// std::filesystem::recursive_directory_iterator. See bench/README.md.
#include "gs/filespec/GSFileSearch.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace fs = std::filesystem;

namespace {

// 20 folders of 20 folders each (420 folders) hold 99,580 files: every third a .txt, the others
// .dat and .png, so that the pattern matches a third of the names and the rest are compared and
// passed over. In $QM_BENCH_DIR when set, else in the temporary folder; removed at exit.
class Tree {
public:
    Tree()
    {
        char const* base = std::getenv("QM_BENCH_DIR");
        std::string pattern = (fs::path(base ? base : fs::temp_directory_path().c_str()) / "qm-search-XXXXXX").string();
        if (!mkdtemp(pattern.data()))
            return;
        root = pattern;
        char const* const extensions[] = {".txt", ".dat", ".png"};
        int file = 0;
        for (int i = 0; i < 20; ++i) {
            for (int j = 0; j < 20; ++j) {
                fs::path const folder = fs::path(root) / ("dir" + std::to_string(i)) / ("sub" + std::to_string(j));
                fs::create_directories(folder);
                for (int k = 0; k < 249 && file < 99580; ++k, ++file)
                    std::ofstream(folder / ("file" + std::to_string(file) + extensions[file % 3]));
            }
        }
    }
    ~Tree()
    {
        std::error_code ignored;
        if (!root.empty())
            fs::remove_all(root, ignored);
    }
    std::string root;
};

Tree const& tree()
{
    static Tree const made;
    return made;
}

void BM_GSFileSearch(benchmark::State& state)
{
    GSFileSpec const pattern(GSString((tree().root + "/*.txt").c_str()));
    long hits = 0;
    for (auto _ : state) {
        GSFileSearch search(1, pattern);
        GSFileSpec hit;
        hits = 0;
        while (search.findNext(&hit) == 0)
            ++hits;
        benchmark::DoNotOptimize(hits);
    }
    state.counters["hits"] = static_cast<double>(hits);
}

void BM_FindName(benchmark::State& state)
{
    std::string const command = "find '" + tree().root + "' -name '*.txt'";
    long hits = 0;
    for (auto _ : state) {
        FILE* pipe = popen(command.c_str(), "r");
        if (!pipe) {
            state.SkipWithError("find cannot be run");
            return;
        }
        char line[4096];
        hits = 0;
        while (std::fgets(line, sizeof line, pipe))
            ++hits;
        pclose(pipe);
    }
    state.counters["hits"] = static_cast<double>(hits);
}

void BM_StdFilesystemWalk(benchmark::State& state)
{
    long hits = 0;
    for (auto _ : state) {
        hits = 0;
        for (auto const& entry : fs::recursive_directory_iterator(tree().root)) {
            std::string const name = entry.path().filename().string();
            if (name.size() >= 4 && name.compare(name.size() - 4, 4, ".txt") == 0)
                ++hits;
        }
        benchmark::DoNotOptimize(hits);
    }
    state.counters["hits"] = static_cast<double>(hits);
}

} // namespace

BENCHMARK(BM_GSFileSearch)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_FindName)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_StdFilesystemWalk)->Unit(benchmark::kMillisecond)->UseRealTime();

BENCHMARK_MAIN();
