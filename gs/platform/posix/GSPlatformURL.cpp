#include "gs/platform/GSPlatformURL.h"

#include "gs/platform/GSPlatformPath.h"

#include <cstring>
#include <new>
#include <utility>

GSPlatformObject::~GSPlatformObject() = default;

void GSPlatformObject::release() const noexcept
{
    if (retainCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete this;
}

GSPlatformURL::GSPlatformURL(GSString absolutePath, bool isDirectory)
    : path(std::move(absolutePath)), directory(isDirectory)
{
}

GSPlatformURL::~GSPlatformURL() = default;

GSPlatformURL* GSPlatformURL::create(GSString const& path, bool isDirectory)
{
    if (path.isEmpty())
        return nullptr;
    GSString absolute;
    if (GSPlatformMakeAbsolutePath(path, &absolute) != 0)
        return nullptr;
    return new (std::nothrow) GSPlatformURL(std::move(absolute), isDirectory);
}

GSPlatformURL* GSPlatformURL::createByAppendingPathComponent(GSString const& component, bool isDirectory) const
{
    GSString joined = path;
    joined.append('/');
    joined += component;
    return create(joined, isDirectory);
}

GSPlatformURL* GSPlatformURL::createByDeletingLastPathComponent() const
{
    GSString parent = path;
    parent.append("/..", 3);
    return create(parent, true);
}

GSString GSPlatformURL::getLastPathComponent() const
{
    char const* text = path.c_str();
    char const* slash = std::strrchr(text, '/');
    if (!slash || slash[1] == 0)
        return GSString("/", path.getEncoding());
    return GSString(slash + 1, path.getEncoding());
}

bool GSPlatformURL::isEqual(GSPlatformObject const& other) const noexcept
{
    auto const* url = dynamic_cast<GSPlatformURL const*>(&other);
    return url && url->directory == directory && url->path == path;
}
