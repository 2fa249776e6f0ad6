// Real files for tests: a fresh folder, or one file in a folder of its own, removed with their
// content afterwards (made writable again first, so that tests may leave read-only or
// attribute-locked items behind), and the content of a file as text or as bytes.
#pragma once

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <vector>

namespace qmtest {

class ScratchFolder {
public:
    // In the system's temporary folder, or below `base` when given (for example a memory-backed
    // /dev/shm for tests that create thousands of entries).
    explicit ScratchFolder(std::string const& base = std::string())
    {
        std::filesystem::path parent = base.empty() ? std::filesystem::temp_directory_path() : std::filesystem::path(base);
        std::string pattern = (parent / "qm-scratch-XXXXXX").string();
        if (char* made = mkdtemp(pattern.data()))
            folder = made;
    }
    ~ScratchFolder()
    {
        if (folder.empty())
            return;
        std::error_code ec;
        for (auto const& entry : std::filesystem::recursive_directory_iterator(folder, ec))
            std::filesystem::permissions(entry.path(), std::filesystem::perms::owner_all,
                                         std::filesystem::perm_options::add, ec);
        std::filesystem::permissions(folder, std::filesystem::perms::owner_all, std::filesystem::perm_options::add, ec);
        std::filesystem::remove_all(folder, ec);
    }
    ScratchFolder(ScratchFolder const&) = delete;
    ScratchFolder& operator=(ScratchFolder const&) = delete;

    std::string const& path() const { return folder; }
    std::string operator/(std::string const& name) const { return folder + "/" + name; }

    // Writes `content` to path()/name and returns the full path.
    std::string write(std::string const& name, std::string const& content) const
    {
        std::string full = *this / name;
        std::ofstream(full, std::ios::binary) << content;
        return full;
    }
    std::string write(std::string const& name, std::vector<unsigned char> const& bytes) const
    {
        return write(name, std::string(bytes.begin(), bytes.end()));
    }

    // The names in the folder, sorted, separated by blanks.
    std::string listing() const { return listingOf(folder); }
    static std::string listingOf(std::string const& path)
    {
        std::string out;
        std::vector<std::string> names;
        for (auto const& entry : std::filesystem::directory_iterator(path))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        for (auto const& n : names)
            out += (out.empty() ? "" : " ") + n;
        return out;
    }

private:
    std::string folder;
};

// A file with these bytes, its name ending in `suffix`.
class TempFile {
public:
    explicit TempFile(std::vector<unsigned char> const& bytes, std::string const& suffix = ".qmd")
        : file(folder.write("file" + suffix, bytes))
    {
    }
    std::string const& path() const { return file; }

private:
    ScratchFolder folder;
    std::string file;
};

// The whole content of a file; "<missing>" when it cannot be opened.
inline std::string readText(std::string const& path)
{
    std::ifstream in(path, std::ios::binary | std::ios::ate);
    if (!in)
        return "<missing>";
    std::string text(static_cast<size_t>(in.tellg()), '\0');
    in.seekg(0);
    in.read(text.data(), static_cast<std::streamsize>(text.size()));
    return text;
}
inline std::vector<unsigned char> readFile(std::string const& path)
{
    std::string text = readText(path);
    return std::vector<unsigned char>(text.begin(), text.end());
}

} // namespace qmtest
