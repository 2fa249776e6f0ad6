#include "gs/platform/GSPlatformPath.h"

#include <climits>
#include <cstdlib>
#include <string>
#include <utility>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

short GSPlatformMakeAbsolutePath(char const* path, std::string* absolute)
{
    std::string full;
    if (path[0] != '/') {
        char cwd[PATH_MAX];
        if (!getcwd(cwd, sizeof cwd))
            return 1;
        full = cwd;
        full += '/';
    }
    full += path;

    std::vector<std::string> parts;
    size_t i = 0;
    while (i <= full.size()) {
        size_t j = full.find('/', i);
        if (j == std::string::npos)
            j = full.size();
        std::string part = full.substr(i, j - i);
        if (part == "..") {
            if (!parts.empty())
                parts.pop_back();
        } else if (!part.empty() && part != ".") {
            parts.push_back(part);
        }
        i = j + 1;
    }
    std::string out;
    // Characters are appended, never a string literal assigned or concatenated: those trip a false
    // -Wrestrict of g++ 12 at -O3 here.
    for (auto const& p : parts) {
        out += '/';
        out += p;
    }
    if (out.empty())
        out += '/';
    *absolute = std::move(out);
    return 0;
}

short GSPlatformResolveLinks(char const* path, std::string* resolved)
{
    char* full = ::realpath(path, nullptr);
    if (!full)
        return 1;
    *resolved = full;
    std::free(full);
    return 0;
}

bool GSPlatformIsFolder(char const* path)
{
    struct stat st;
    return ::lstat(path, &st) == 0 && S_ISDIR(st.st_mode);
}

short GSPlatformSetCurrentFolder(char const* path)
{
    return chdir(path) == 0 ? 0 : 1;
}
