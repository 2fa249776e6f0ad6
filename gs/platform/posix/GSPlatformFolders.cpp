// The XDG base folders, the user folders of user-dirs.dirs, home and temporary folders.
#include "gs/platform/GSPlatformFolders.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <pwd.h>
#include <string>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace {

// The variable's value when it is an absolute path, else empty.
std::string absoluteVariable(char const* name)
{
    char const* value = std::getenv(name);
    return value && value[0] == '/' ? std::string(value) : std::string();
}

std::string withoutTrailingDividers(std::string path)
{
    while (path.size() > 1 && path.back() == '/')
        path.pop_back();
    return path;
}

// The folder under the home folder, or empty without a home.
std::string belowHome(char const* relative)
{
    std::string home = GSPlatformGetHomeFolder();
    return home.empty() ? home : (home == "/" ? home : home + "/") + relative;
}

// The whole content of a small text file; empty when it cannot be read. Bounded: a user-dirs file
// is a few hundred bytes, anything beyond 64 KiB is not one.
std::string readSmallFile(std::string const& path)
{
    std::string text;
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (!file)
        return text;
    char buffer[4096];
    size_t n = 0;
    while ((n = std::fread(buffer, 1, sizeof buffer, file)) > 0 && text.size() < 65536)
        text.append(buffer, n);
    std::fclose(file);
    return text;
}

} // namespace

std::string GSPlatformGetHomeFolder()
{
    std::string home = absoluteVariable("HOME");
    if (!home.empty())
        return withoutTrailingDividers(home);
    long size = ::sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(static_cast<size_t>(size > 0 ? size : 16384));
    passwd entry{};
    passwd* found = nullptr;
    if (::getpwuid_r(::getuid(), &entry, buffer.data(), buffer.size(), &found) == 0 && found && found->pw_dir
        && found->pw_dir[0] == '/')
        return withoutTrailingDividers(found->pw_dir);
    return std::string();
}

std::string GSPlatformGetTemporaryFolder()
{
    std::string folder = absoluteVariable("TMPDIR");
    return folder.empty() ? std::string("/tmp") : withoutTrailingDividers(folder);
}

std::string GSPlatformGetDataHome()
{
    std::string folder = absoluteVariable("XDG_DATA_HOME");
    return folder.empty() ? belowHome(".local/share") : withoutTrailingDividers(folder);
}

std::string GSPlatformGetConfigHome()
{
    std::string folder = absoluteVariable("XDG_CONFIG_HOME");
    return folder.empty() ? belowHome(".config") : withoutTrailingDividers(folder);
}

std::string GSPlatformGetProgramFolder()
{
    std::error_code ec;
    std::filesystem::path const program = std::filesystem::read_symlink("/proc/self/exe", ec);
    return ec ? std::string() : program.parent_path().string();
}

bool GSPlatformParseUserDirs(std::string const& text, char const* key, std::string const& home, std::string* path)
{
    std::string const name = std::string("XDG_") + key + "_DIR";
    bool found = false;
    size_t lineStart = 0;
    while (lineStart < text.size()) {
        size_t lineEnd = text.find('\n', lineStart);
        if (lineEnd == std::string::npos)
            lineEnd = text.size();
        std::string const line = text.substr(lineStart, lineEnd - lineStart);
        lineStart = lineEnd + 1;

        size_t p = line.find_first_not_of(" \t");
        if (p == std::string::npos || line.compare(p, name.size(), name) != 0)
            continue;
        p = line.find_first_not_of(" \t", p + name.size());
        if (p == std::string::npos || line[p] != '=')
            continue;
        p = line.find_first_not_of(" \t", p + 1);
        if (p == std::string::npos || line[p] != '"')
            continue;
        ++p;
        bool relative = false;
        if (line.compare(p, 5, "$HOME") == 0) {
            if (home.empty())
                continue;
            relative = true;
            p += 5;
            if (p < line.size() && line[p] == '/')
                ++p;
            else if (p >= line.size() || line[p] != '"')
                continue; // "$HOMEX" is no home folder
        } else if (p >= line.size() || line[p] != '/') {
            continue;
        }
        std::string value;
        bool closed = false;
        for (; p < line.size(); ++p) {
            if (line[p] == '"') {
                closed = true;
                break;
            }
            if (line[p] == '\\' && p + 1 < line.size())
                ++p;
            value += line[p];
        }
        if (!closed)
            continue;
        if (relative)
            value = value.empty() ? home : (home == "/" ? home : home + "/") + value;
        *path = withoutTrailingDividers(value);
        found = true;
    }
    return found;
}

std::string GSPlatformGetUserFolder(char const* key, char const* fallbackName)
{
    std::string const home = GSPlatformGetHomeFolder();
    std::string const config = GSPlatformGetConfigHome();
    std::string path;
    if (!config.empty() && GSPlatformParseUserDirs(readSmallFile(config + "/user-dirs.dirs"), key, home, &path))
        return path;
    return home.empty() ? home : belowHome(fallbackName);
}
