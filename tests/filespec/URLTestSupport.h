// Helpers of the GSURL tests: URLs for paths, the immutable attribute, a tree described for
// comparison, environment variables set for one test.
#pragma once

#include "gs/filespec/GSURL.h"
#include "gs/object/GSIdPointer.h"
#include "gs/platform/GSPlatformURL.h"
#include "tests/support/ScratchFolder.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <linux/fs.h>
#include <optional>
#include <string>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace qmtest {

inline GSIdPointer urlFor(std::string const& path, short isDirectory = 0)
{
    GSIdPointer url;
    url = GSURLCreateWithFilePath(GSString(path.data(), static_cast<long>(path.size()), GSString::kNoTables), isDirectory, 0);
    return url;
}
inline std::string pathOf(void const* url) { return GSURLGetPathname(url).c_str(); }
inline bool isFolderURL(void const* url) { return static_cast<GSPlatformURL const*>(url)->isDirectory(); }
inline std::string errorFor(int err) { return std::strerror(err); }
// The process's open descriptors: a test that ends with as many as it began leaks none.
inline long openDescriptors()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
}

// Sets or clears the immutable attribute; false where the file system or our rights do not allow
// it (setting it needs CAP_LINUX_IMMUTABLE: root in CI).
inline bool setImmutable(std::string const& path, bool on)
{
    int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK);
    int flags = 0;
    bool ok = fd >= 0 && ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0
        && (flags = on ? flags | FS_IMMUTABLE_FL : flags & ~FS_IMMUTABLE_FL, ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0);
    if (fd >= 0)
        close(fd);
    return ok;
}

// One sorted line per item below `root` ("." the root): kind, permission bits, modification time
// (of folders only with `folderTimes`), size and hash of a file, target of a link. Links are not
// followed.
inline std::string describeTree(std::string const& root, bool folderTimes = true)
{
    std::vector<std::string> lines;
    auto describe = [&](std::string const& path, std::string line) {
        struct stat st;
        if (lstat(path.c_str(), &st) != 0)
            return lines.push_back(line + " missing");
        if (S_ISLNK(st.st_mode))
            return lines.push_back(line + " -> " + std::filesystem::read_symlink(path).string());
        line += " " + std::to_string(st.st_mode);
        if (S_ISREG(st.st_mode) || folderTimes)
            line += " " + std::to_string(st.st_mtim.tv_sec) + "." + std::to_string(st.st_mtim.tv_nsec);
        if (S_ISREG(st.st_mode))
            line += " #" + std::to_string(std::hash<std::string>()(readText(path)));
        lines.push_back(line);
    };
    describe(root, ".");
    std::error_code ec;
    if (std::filesystem::is_directory(std::filesystem::symlink_status(root)))
        for (auto const& entry : std::filesystem::recursive_directory_iterator(root, ec))
            describe(entry.path().string(), entry.path().string().substr(root.size()));
    std::sort(lines.begin(), lines.end());
    std::string out;
    for (auto const& l : lines)
        out += l + "\n";
    return out;
}

// Sets environment variables (null: unsets) for the length of a test.
class Environment {
public:
    Environment(std::initializer_list<std::pair<char const*, char const*>> values)
    {
        for (auto const& [name, value] : values) {
            char const* old = std::getenv(name);
            saved.emplace_back(name, old ? std::optional<std::string>(old) : std::nullopt);
            value ? setenv(name, value, 1) : unsetenv(name);
        }
    }
    ~Environment()
    {
        for (auto const& [name, value] : saved)
            value ? setenv(name.c_str(), value->c_str(), 1) : unsetenv(name.c_str());
    }
    Environment(Environment const&) = delete;
    Environment& operator=(Environment const&) = delete;

private:
    std::vector<std::pair<std::string, std::optional<std::string>>> saved;
};

} // namespace qmtest
