// Replays fuzz inputs without libFuzzer: every file named on the command line, or found in a
// folder named there, is fed once to LLVMFuzzerTestOneInput. A path that does not exist, a folder
// without inputs or a file that cannot be read fails the replay: a renamed or emptied corpus must
// not turn the test into one that checks nothing. A faulty input ends the program (a sanitizer
// report or an abort from the target's invariant checks), so the last "replaying" line names it.
// Files whose names begin with "." or end in ".md" are notes, not inputs.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size);

namespace fs = std::filesystem;

namespace {

bool isNote(fs::path const& path)
{
    std::string name = path.filename().string();
    return name.empty() || name[0] == '.' || path.extension() == ".md";
}

bool runFile(fs::path const& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        return false;
    }
    std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    // An exact-size heap copy, so that a sanitizer sees any read past the end.
    std::vector<uint8_t> exact(bytes.begin(), bytes.end());
    std::fprintf(stderr, "replaying %s\n", path.c_str());
    LLVMFuzzerTestOneInput(exact.empty() ? nullptr : exact.data(), exact.size());
    return true;
}

// The inputs below `folder`, in a fixed order so that runs are alike.
std::vector<fs::path> inputsIn(fs::path const& folder, std::error_code& ec)
{
    std::vector<fs::path> files;
    for (fs::recursive_directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec))
        if (it->is_regular_file(ec) && !isNote(it->path()))
            files.push_back(it->path());
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s FILE-OR-FOLDER...\n", argv[0]);
        return 2;
    }
    long count = 0;
    bool ok = true;
    for (int i = 1; i < argc; ++i) {
        fs::path p(argv[i]);
        std::error_code ec;
        if (fs::is_directory(p, ec)) {
            std::vector<fs::path> files = inputsIn(p, ec);
            if (ec) {
                std::fprintf(stderr, "cannot list %s: %s\n", p.c_str(), ec.message().c_str());
                ok = false;
            } else if (files.empty()) {
                std::fprintf(stderr, "no inputs in %s\n", p.c_str());
                ok = false;
            }
            for (auto const& file : files) {
                ok = runFile(file) && ok;
                ++count;
            }
        } else if (fs::exists(p, ec)) {
            ok = runFile(p) && ok;
            ++count;
        } else {
            std::fprintf(stderr, "missing: %s\n", p.c_str());
            ok = false;
        }
    }
    std::printf("replayed %ld inputs\n", count);
    return ok ? 0 : 1;
}
