// GSGetThumbnail on two documents holding the same ~28 KiB JPEG: a small one, and one whose
// skipped records total 1 GiB (written as a sparse file). The walk skips records with one seek
// and reads nothing of them, so both should cost about the same.
//
// Both files are written to the system temporary folder and removed at the end.
#include "generator/GSGetThumbnail.h"
#include "tests/support/DocumentBuilder.h"
#include "tests/support/ScratchFolder.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

using namespace qmtest;
namespace fs = std::filesystem;

namespace {

constexpr int64_t kSkipped = int64_t{1} << 30;

Bytes thumbnailTail(Bytes const& jpeg)
{
    DocumentBuilder b;
    b.standardFloats().standardDoubles();
    b.thumbnail(ThumbnailRecord().description(0, 256, 192).inlinePicture(kPictureJPEG, jpeg)).endTag();
    return b.bytes();
}

void writeFile(std::string const& path, Bytes const& head, int64_t gap, Bytes const& tail)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<char const*>(head.data()), static_cast<std::streamsize>(head.size()));
    // Seeking past the end leaves a hole: the gigabyte costs no disk space.
    out.seekp(gap, std::ios::cur);
    out.write(reinterpret_cast<char const*>(tail.data()), static_cast<std::streamsize>(tail.size()));
    if (!out)
        throw std::runtime_error("cannot write " + path);
}

void getThumbnail(benchmark::State& state, std::string const& path, long expectedBytes)
{
    GSFileSpec spec{GSString(path.c_str())};
    for (auto _ : state) {
        GSDynaArray<unsigned char> buffer(8, -100);
        short type = 0, variant = 0;
        GSTSize<int> size;
        short status = GSGetThumbnail(spec, &buffer, &type, &variant, &size);
        if (status != 0 || buffer.getCount() != expectedBytes) {
            state.SkipWithError("no picture");
            break;
        }
        benchmark::DoNotOptimize(buffer.getPointer());
    }
    state.SetBytesProcessed(state.iterations() * expectedBytes);
}

} // namespace

int main(int argc, char** argv)
{
    Bytes jpeg = readFile(QM_SOURCE_DIR "/tests/data/pictures/landscape.jpg");
    Bytes tail = thumbnailTail(jpeg);

    DocumentBuilder small;
    small.documentID().version(0x0200).record(20, Bytes(256, 7)).raw(tail);
    TempFile smallFile(small.bytes());

    DocumentBuilder bigHead;
    bigHead.documentID().version(0x0200).header(20, kSkipped);
    TempFile bigFile({});
    writeFile(bigFile.path(), bigHead.bytes(), kSkipped, tail);

    long const count = static_cast<long>(jpeg.size());
    benchmark::RegisterBenchmark("GSGetThumbnail/small", getThumbnail, smallFile.path(), count)->Unit(benchmark::kMicrosecond);
    benchmark::RegisterBenchmark("GSGetThumbnail/skipped_1GiB", getThumbnail, bigFile.path(), count)
        ->Unit(benchmark::kMicrosecond);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
