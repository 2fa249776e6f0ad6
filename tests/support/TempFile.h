// A file in the system temporary folder, removed when the object goes away (folders:
// ScratchFolder.h).
#pragma once

#include <string>
#include <vector>

namespace qmtest {

class TempFile {
public:
    // Creates the file with these bytes; the name ends with `suffix`.
    explicit TempFile(std::vector<unsigned char> const& bytes, std::string const& suffix = ".qmd");
    ~TempFile();
    TempFile(TempFile const&) = delete;
    TempFile& operator=(TempFile const&) = delete;

    std::string const& path() const { return filePath; }

private:
    std::string filePath;
};

// The whole content of a file; throws std::runtime_error when it cannot be read.
std::vector<unsigned char> readFile(std::string const& path);

} // namespace qmtest
