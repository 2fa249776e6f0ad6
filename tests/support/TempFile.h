// A file in the system temporary folder, removed when the object goes away.
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

// A fresh folder in the system temporary folder, removed with its content.
class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(TempFolder const&) = delete;
    TempFolder& operator=(TempFolder const&) = delete;

    std::string const& path() const { return folderPath; }
    // path()/name, written with these bytes.
    std::string write(std::string const& name, std::vector<unsigned char> const& bytes) const;

private:
    std::string folderPath;
};

std::vector<unsigned char> readFile(std::string const& path);

} // namespace qmtest
