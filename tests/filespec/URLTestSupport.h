// Helpers of the GSURL tests: URLs for paths, the immutable attribute, and a tree described for
// comparison.
#pragma once

#include "gs/filespec/GSURL.h"
#include "gs/object/GSIdPointer.h"
#include "tests/support/ScratchFolder.h"

#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <linux/fs.h>
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

// Sets or clears the immutable attribute; false where the file system or our rights do not allow
// it (setting it needs CAP_LINUX_IMMUTABLE: root in CI).
inline bool setImmutable(std::string const& path, bool on)
{
    int fd = open(path.c_str(), O_RDONLY | O_NONBLOCK);
    if (fd < 0)
        return false;
    int flags = 0;
    bool ok = ioctl(fd, FS_IOC_GETFLAGS, &flags) == 0;
    if (ok) {
        flags = on ? flags | FS_IMMUTABLE_FL : flags & ~FS_IMMUTABLE_FL;
        ok = ioctl(fd, FS_IOC_SETFLAGS, &flags) == 0;
    }
    close(fd);
    return ok;
}

// Every item below `root` (the root itself as "."), one line each, sorted: relative path, kind,
// permission bits, modification time (of folders only when `folderTimes`), and the size and a hash
// of a file's content or the target of a link. Links are not followed.
inline std::string describeTree(std::string const& root, bool folderTimes = true)
{
    std::vector<std::string> lines;
    auto describe = [&](std::string const& path, std::string const& relative) {
        struct stat st;
        if (lstat(path.c_str(), &st) != 0) {
            lines.push_back(relative + " missing");
            return;
        }
        std::string line = relative + (S_ISDIR(st.st_mode) ? " dir " : S_ISLNK(st.st_mode) ? " link " : " file ");
        if (!S_ISLNK(st.st_mode))
            line += std::to_string(st.st_mode & 07777);
        if (S_ISREG(st.st_mode) || (S_ISDIR(st.st_mode) && folderTimes))
            line += " " + std::to_string(st.st_mtim.tv_sec) + "." + std::to_string(st.st_mtim.tv_nsec);
        if (S_ISREG(st.st_mode)) {
            std::string content = readText(path);
            line += " " + std::to_string(content.size()) + " bytes #" + std::to_string(std::hash<std::string>()(content));
        }
        if (S_ISLNK(st.st_mode))
            line += " -> " + std::filesystem::read_symlink(path).string();
        lines.push_back(line);
    };
    describe(root, ".");
    std::error_code ec;
    struct stat st;
    if (lstat(root.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
        for (auto const& entry : std::filesystem::recursive_directory_iterator(root, ec))
            describe(entry.path().string(), entry.path().string().substr(root.size()));
    }
    std::sort(lines.begin(), lines.end());
    std::string out;
    for (auto const& l : lines)
        out += l + "\n";
    return out;
}

} // namespace qmtest
