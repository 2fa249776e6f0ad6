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
#include <sys/resource.h>

namespace fs = std::filesystem;

namespace {

// 20 folders of 20 folders each (420 folders) hold 99,580 files: every third a .txt, the others
// .dat and .png, so that the pattern matches a third of the names and the rest are compared and
// passed over. In $QM_BENCH_DIR when set, else in the temporary folder; removed at exit. With
// $QM_BENCH_TREE naming an existing folder, that tree is searched instead and kept (for profiling
// the search alone, or comparing with other tools on the same tree).
class Tree {
public:
    Tree()
    {
        if (char const* given = std::getenv("QM_BENCH_TREE"); given && fs::is_directory(given)) {
            root = given;
            keep = true;
            return;
        }
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
        if (!root.empty() && !keep)
            fs::remove_all(root, ignored);
    }
    std::string root;
    bool keep = false;
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

// The processor time (user and system) of finished child processes so far, in seconds.
double childrenSeconds()
{
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    return static_cast<double>(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           static_cast<double>(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// GNU find as a program: each iteration's time is the processor time find itself used (its own
// process, not the pipe reading here), comparable with the processor time of the lines above.
// The argument selects the command: 0 plain -name, 1 with -printf of the dates and mode, which
// makes find read each hit's state as GSFileSearch does.
void BM_FindName(benchmark::State& state)
{
    std::string command = "find '" + tree().root + "' -name '*.txt'";
    if (state.range(0) == 1)
        command += " -printf '%A@ %T@ %C@ %m\\n'";
    long hits = 0;
    for (auto _ : state) {
        double const before = childrenSeconds();
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
        state.SetIterationTime(childrenSeconds() - before);
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

// Processor time throughout: on a shared machine the wall-clock time mostly measures the others.
BENCHMARK(BM_GSFileSearch)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();
BENCHMARK(BM_FindName)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond)->UseManualTime();
BENCHMARK(BM_StdFilesystemWalk)->Unit(benchmark::kMillisecond)->MeasureProcessCPUTime();

BENCHMARK_MAIN();
