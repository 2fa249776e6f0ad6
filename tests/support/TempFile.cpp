#include "tests/support/TempFile.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <stdexcept>

namespace qmtest {

namespace fs = std::filesystem;

namespace {
std::string uniqueName(std::string const& stem)
{
    static std::atomic<unsigned> counter{0};
    std::random_device random;
    return stem + std::to_string(random()) + "-" + std::to_string(counter++);
}
} // namespace

TempFile::TempFile(std::vector<unsigned char> const& bytes, std::string const& suffix)
    : filePath((fs::temp_directory_path() / uniqueName("qmtest-")).string() + suffix)
{
    std::ofstream out(filePath, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<char const*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    if (!out)
        throw std::runtime_error("cannot write " + filePath);
}

TempFile::~TempFile()
{
    std::error_code ec;
    fs::remove(filePath, ec);
}

std::vector<unsigned char> readFile(std::string const& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw std::runtime_error("cannot read " + path);
    return std::vector<unsigned char>((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
}

} // namespace qmtest
