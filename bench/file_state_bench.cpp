// The state of one file through GSURLFillFileState (what GSFileSpec::fillState calls) against a
// bare statx of the same file asking for the same fields, the floor of any state query on Linux.
// Run on a file of the temporary folder and on one in /dev/shm (tmpfs): file systems that report
// the immutable and append-only attributes with statx cost one call; the others need the attribute
// ioctl, an open and a close more. Items per second are queries.
#include "gs/filespec/GSFileState.h"
#include "gs/filespec/GSURL.h"
#include "gs/object/GSIdPointer.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// A file of a few bytes in a fresh folder below `base`, removed at exit.
class BenchFile {
public:
    explicit BenchFile(char const* base)
    {
        std::string pattern = std::string(base) + "/qm-bench-XXXXXX";
        if (char* made = mkdtemp(pattern.data())) {
            folder = made;
            path = folder + "/state.txt";
            if (std::FILE* f = std::fopen(path.c_str(), "w")) {
                std::fputs("state", f);
                std::fclose(f);
            }
        }
    }
    ~BenchFile()
    {
        if (!path.empty())
            unlink(path.c_str());
        if (!folder.empty())
            rmdir(folder.c_str());
    }
    BenchFile(BenchFile const&) = delete;
    BenchFile& operator=(BenchFile const&) = delete;

    std::string folder;
    std::string path;
};

BenchFile const& fileIn(int place)
{
    static BenchFile const temporary(std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "/tmp");
    static BenchFile const shm("/dev/shm");
    return place == 0 ? temporary : shm;
}

void label(benchmark::State& state)
{
    state.SetLabel(state.range(0) == 0 ? "temporary folder" : "/dev/shm");
    state.SetItemsProcessed(state.iterations());
}

void BM_GSURLFillFileState(benchmark::State& state)
{
    BenchFile const& file = fileIn(static_cast<int>(state.range(0)));
    GSIdPointer url;
    url = GSURLCreateWithFilePath(GSString(file.path.c_str()), 0, 0);
    GSFileState fileState;
    for (auto _ : state) {
        short status = GSURLFillFileState(url.get(), &fileState);
        benchmark::DoNotOptimize(status);
        benchmark::DoNotOptimize(fileState);
    }
    if (!fileState.isValid())
        state.SkipWithError("the file's state cannot be read");
    label(state);
}

void BM_statx(benchmark::State& state)
{
    BenchFile const& file = fileIn(static_cast<int>(state.range(0)));
    struct statx sx;
    unsigned const wanted = STATX_TYPE | STATX_MODE | STATX_SIZE | STATX_ATIME | STATX_MTIME | STATX_CTIME | STATX_BTIME;
    for (auto _ : state) {
        int result = statx(AT_FDCWD, file.path.c_str(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, wanted, &sx);
        benchmark::DoNotOptimize(result);
        benchmark::DoNotOptimize(sx);
    }
    label(state);
}

} // namespace

BENCHMARK(BM_GSURLFillFileState)->Arg(0)->Arg(1);
BENCHMARK(BM_statx)->Arg(0)->Arg(1);

BENCHMARK_MAIN();
