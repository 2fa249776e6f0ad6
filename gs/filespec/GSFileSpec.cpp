#include "gs/filespec/GSFileSpec.h"

#include "gs/platform/GSPlatformPath.h"

#include <cstring>
#include <string>

GSFileSpec::GSFileSpec(GSString const& p)
{
    std::string absolute;
    if (!p.isEmpty() && GSPlatformMakeAbsolutePath(p.c_str(), &absolute) == 0)
        path = GSString(absolute.c_str(), -1, p.getEncoding());
}

GSString GSFileSpec::getFilename() const
{
    char const* s = path.c_str();
    char const* slash = std::strrchr(s, '/');
    return GSString(slash ? slash + 1 : s, -1, path.getEncoding());
}

GSString GSFileSpec::getExtension() const
{
    GSString name = getFilename();
    char const* dot = std::strrchr(name.c_str(), '.');
    if (!dot || dot == name.c_str())
        return GSString();
    return GSString(dot + 1, -1, name.getEncoding());
}

GSString GSFileSpec::getFolderPath() const
{
    char const* s = path.c_str();
    char const* slash = std::strrchr(s, '/');
    if (!slash)
        return GSString();
    if (slash == s)
        return GSString("/", 1, path.getEncoding());
    return GSString(s, slash - s, path.getEncoding());
}
