// GSFile: the static path-name helpers. Path names here are text only: "/" divides components
// and the extension rule is the file specification's, so that both agree on every name.
#include "gs/file/GSFile.h"

#include "gs/platform/GSPlatformPath.h"

#include <string>

GSString GSFile::getFilename(GSString const& path)
{
    long const slash = path.findCharRev('/');
    return path.getSubstring(slash + 1, path.getLength());
}

GSString GSFile::getFileExtender(GSString const& path)
{
    return GSFileSpec::getExtenderForFilename(path);
}

GSString GSFile::changeFileExtender(GSString const& path, GSString const& extender)
{
    GSString changed = path.getSubstring(0, GSFileSpec::getExtenderPositionForFilename(path));
    changed += extender;
    return changed;
}

bool GSFile::hasTrailingPathDivider(GSString const& path)
{
    long const length = path.getLength();
    return length > 0 && path.c_str()[length - 1] == '/';
}

GSString GSFile::addPathDividerIfNeeded(GSString const& path)
{
    GSString result = path;
    if (!path.isEmpty() && !hasTrailingPathDivider(path) && result.add('/') != 0)
        return GSString();
    return result;
}

GSString GSFile::removePathDividerIfNeeded(GSString const& path)
{
    char const* text = path.c_str();
    long length = path.getLength();
    while (length > 1 && text[length - 1] == '/')
        --length;
    return length == path.getLength() ? path : path.getSubstring(0, length);
}

GSString GSFile::getCurrentDirectory()
{
    std::string absolute;
    if (GSPlatformMakeAbsolutePath(".", &absolute) != 0)
        return GSString();
    return addPathDividerIfNeeded(GSString(absolute.c_str(), static_cast<long>(absolute.size()), GSString::kUTF8));
}

short GSFile::setCurrentDirectory(GSString const& path)
{
    return GSPlatformSetCurrentFolder(path.c_str());
}

GSString GSFile::getPathname(GSString const& path)
{
    return path.getSubstring(0, path.findCharRev('/') + 1);
}

GSString GSFile::getPathnameWithoutExtender(GSString const& path)
{
    return changeFileExtender(path, GSString());
}

GSString GSFile::getFileWithExtender(GSString const& path, GSString const& extender)
{
    return changeFileExtender(getFilename(path), extender);
}

GSString GSFile::addFilenameToPathname(GSString const& folder, GSString const& name)
{
    GSString result = addPathDividerIfNeeded(folder);
    result += name;
    return result;
}

GSString GSFile::getPathnameWithFilename(GSString const& path, GSString const& name)
{
    GSString result = getPathname(path);
    result += name;
    return result;
}
