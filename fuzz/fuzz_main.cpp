// Replays fuzz inputs without libFuzzer: every file named on the command line, or found in a
// folder named there, is fed once to LLVMFuzzerTestOneInput. Missing folders are skipped, so a
// target without crashers yet still runs its corpus.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size);

namespace fs = std::filesystem;

static bool runFile(fs::path const& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        return false;
    }
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    // An exact-size heap copy, so that a sanitizer sees any read past the end.
    std::vector<uint8_t> exact(bytes.begin(), bytes.end());
    LLVMFuzzerTestOneInput(exact.empty() ? nullptr : exact.data(), exact.size());
    return true;
}

int main(int argc, char** argv)
{
    long count = 0;
    bool ok = true;
    for (int i = 1; i < argc; ++i) {
        fs::path p(argv[i]);
        std::error_code ec;
        if (fs::is_directory(p, ec)) {
            for (auto const& entry : fs::recursive_directory_iterator(p))
                if (entry.is_regular_file()) {
                    ok = runFile(entry.path()) && ok;
                    ++count;
                }
        } else if (fs::exists(p, ec)) {
            ok = runFile(p) && ok;
            ++count;
        }
    }
    std::printf("replayed %ld inputs\n", count);
    return ok ? 0 : 1;
}
