#include "gs/platform/GSPlatformURL.h"

#include "gs/platform/GSPlatformPath.h"

#include <new>
#include <utility>

GSPlatformURL::GSPlatformURL(std::string absolutePath, bool isDirectory)
    : path(std::move(absolutePath)), directory(isDirectory)
{
}

GSPlatformURL::~GSPlatformURL() = default;

GSPlatformURL* GSPlatformURL::create(std::string const& path, bool isDirectory)
{
    if (path.empty())
        return nullptr;
    std::string absolute;
    if (GSPlatformMakeAbsolutePath(path.c_str(), &absolute) != 0)
        return nullptr;
    return new (std::nothrow) GSPlatformURL(std::move(absolute), isDirectory);
}

GSPlatformURL* GSPlatformURL::createWithFoldedPath(std::string absolutePath, bool isDirectory)
{
    return new (std::nothrow) GSPlatformURL(std::move(absolutePath), isDirectory);
}

GSPlatformURL* GSPlatformURL::createByAppendingPathComponent(std::string const& component, bool isDirectory) const
{
    std::string joined = path;
    joined += '/';
    joined += component;
    return create(joined, isDirectory);
}

GSPlatformURL* GSPlatformURL::createByDeletingLastPathComponent() const
{
    std::string parent = path;
    parent += "/..";
    return create(parent, true);
}

std::string GSPlatformURL::getLastPathComponent() const
{
    size_t slash = path.rfind('/');
    if (slash == std::string::npos || slash + 1 == path.size())
        return std::string(1, '/');
    return path.substr(slash + 1);
}

bool GSPlatformURL::isEqual(GSPlatformObject const& other) const noexcept
{
    auto const* url = dynamic_cast<GSPlatformURL const*>(&other);
    return url && url->directory == directory && url->path == path;
}
