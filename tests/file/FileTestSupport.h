// Files for the file-layer tests: the same bytes behind either back end, so that every reader case
// runs over the memory worker and over the stdio worker on a real file.
#pragma once

#include "gs/file/GSFile.h"
#include "tests/support/Hex.h"

#include <gtest/gtest.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace qmtest {

enum class Backend { Memory, Stdio };

inline void PrintTo(Backend backend, std::ostream* out)
{
    *out << (backend == Backend::Memory ? "memory worker" : "stdio worker");
}

inline std::string backendName(testing::TestParamInfo<Backend> const& info)
{
    return info.param == Backend::Memory ? "Memory" : "Stdio";
}

// A fresh path in the temporary folder, removed when the object goes.
class TempPath {
public:
    TempPath()
    {
        static std::atomic<int> counter{0};
        std::random_device random;
        path = std::filesystem::temp_directory_path() /
               ("gsfile-test-" + std::to_string(random()) + "-" + std::to_string(counter++) + ".bin");
    }
    TempPath(TempPath const&) = delete;
    TempPath& operator=(TempPath const&) = delete;
    ~TempPath()
    {
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
    }
    std::string string() const { return path.string(); }

private:
    std::filesystem::path path;
};

inline GSDynaArray<unsigned char> toArray(std::vector<unsigned char> const& bytes)
{
    GSDynaArray<unsigned char> array;
    array.append(bytes.data(), static_cast<long>(bytes.size()));
    return array;
}

inline void writeWholeFile(std::string const& path, std::vector<unsigned char> const& bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<char const*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

inline std::vector<unsigned char> readWholeFile(std::string const& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::vector<unsigned char>(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Fixture base: makeFile gives an open file over the given bytes on the back end under test.
class FileOverBackend : public testing::TestWithParam<Backend> {
protected:
    std::unique_ptr<GSFile> makeFile(std::vector<unsigned char> const& bytes, char const* mode = "rb")
    {
        if (GetParam() == Backend::Memory) {
            auto file = std::make_unique<GSFile>(toArray(bytes));
            file->setAccessMode(mode);
            return file;
        }
        temps.push_back(std::make_unique<TempPath>());
        writeWholeFile(temps.back()->string(), bytes);
        auto file = std::make_unique<GSFile>(GSString(temps.back()->string().c_str()));
        file->setAccessMode(mode);
        EXPECT_EQ(file->open(), 0);
        return file;
    }
    std::unique_ptr<GSFile> makeFile(std::string const& hex, char const* mode = "rb")
    {
        return makeFile(fromHex(hex), mode);
    }

    std::vector<std::unique_ptr<TempPath>> temps;
};

} // namespace qmtest
