// GSURL: making and taking apart URLs, and the text conversions the other GSURL files share.
#include "gs/filespec/GSURL.h"

#include "gs/filespec/GSURLSupport.h"
#include "gs/platform/GSPlatformPath.h"

#include <cstring>
#include <string>

std::string GSURLPathBytes(GSString const& text)
{
    long const length = text.getLength();
    if (text.getEncoding() >= GSString::kUTF8 || text.getEncoding() == GSString::kNoTables) {
        std::string bytes(text.c_str(), static_cast<size_t>(length));
        return bytes.find('\0') == std::string::npos ? bytes : std::string();
    }
    GSString converted(text);
    if (converted.convertEncoding(GSString::kUTF8) != 0)
        return std::string();
    std::string bytes(converted.c_str(), static_cast<size_t>(converted.getLength()));
    return bytes.find('\0') == std::string::npos ? bytes : std::string();
}

GSString GSURLTextFromBytes(std::string const& bytes)
{
    auto const* data = reinterpret_cast<unsigned char const*>(bytes.data());
    long const length = static_cast<long>(bytes.size());
    bool const utf8 = GSString::isMemoryUTF8(data, length);
    return GSString(bytes.data(), length, utf8 ? GSString::kUTF8 : GSString::kNoTables);
}

namespace {

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// The path of a "file://" URL string, %XX escapes decoded, without query and fragment; false for
// a host other than localhost, a bad escape or an escaped zero byte.
bool pathOfFileURLString(std::string const& text, std::string* path)
{
    size_t const hostStart = std::strlen("file://");
    size_t const slash = text.find('/', hostStart);
    if (slash == std::string::npos)
        return false;
    std::string const host = text.substr(hostStart, slash - hostStart);
    if (!host.empty() && host != "localhost")
        return false;
    size_t const end = text.find_first_of("?#", slash);
    std::string const escaped = text.substr(slash, end == std::string::npos ? std::string::npos : end - slash);
    for (size_t i = 0; i < escaped.size(); ++i) {
        if (escaped[i] != '%') {
            *path += escaped[i];
            continue;
        }
        // A std::string ends in a zero, which is no hex digit: an escape cut short reads no further.
        int const high = hexValue(escaped[i + 1]);
        int const low = high < 0 ? -1 : hexValue(escaped[i + 2]);
        if (low < 0 || (high == 0 && low == 0))
            return false;
        *path += static_cast<char>(high * 16 + low);
        i += 2;
    }
    return true;
}

// The URL of the same entry with its folder part resolved for symbolic links; the URL itself when
// the folder cannot be resolved (it does not exist yet, for example).
GSPlatformURL* resolveFolderPart(GSPlatformURL* url)
{
    std::string const& path = url->getPath();
    size_t const slash = path.rfind('/'); // a URL's path is absolute
    std::string const folder = slash == 0 ? std::string(1, '/') : path.substr(0, slash);
    std::string resolved;
    if (GSPlatformResolveLinks(folder.c_str(), &resolved) != 0)
        return url;
    if (resolved.back() != '/')
        resolved += '/';
    resolved += path.substr(slash + 1);
    GSPlatformURL* result = GSPlatformURL::create(resolved, url->isDirectory());
    if (!result)
        return url;
    url->release();
    return result;
}

} // namespace

void* GSURLCreateWithFilePath(GSString const& path, short isDirectory, short resolveParent)
{
    std::string const bytes = GSURLPathBytes(path);
    if (bytes.empty())
        return nullptr;
    GSPlatformURL* url = nullptr;
    if (bytes.compare(0, 7, "file://") == 0) {
        std::string filePath;
        if (!pathOfFileURLString(bytes, &filePath))
            return nullptr;
        url = GSPlatformURL::create(filePath, filePath.back() == '/');
    } else {
        url = GSPlatformURL::create(bytes, isDirectory == 1);
    }
    if (url && resolveParent)
        url = resolveFolderPart(url);
    return url;
}

void* GSURLCreateByAppending(void const* url, GSString const& name)
{
    GSPlatformURL const* base = GSURLCast(url);
    std::string const component = GSURLPathBytes(name);
    if (!base || component.empty())
        return nullptr;
    std::string joined = base->getPath();
    joined += '/';
    joined += component;
    bool const isFolder = component.back() == '/' || GSPlatformIsFolder(joined.c_str());
    return GSPlatformURL::create(joined, isFolder);
}

void* GSURLCreateByDeletingLastPathComponent(void* url)
{
    GSPlatformURL const* u = GSURLCast(url);
    return u ? u->createByDeletingLastPathComponent() : nullptr;
}

void* GSURLCreateParentURL(void* url)
{
    return GSURLIsRoot(url) ? nullptr : GSURLCreateByDeletingLastPathComponent(url);
}

bool GSURLIsRoot(void const* url)
{
    GSPlatformURL const* u = GSURLCast(url);
    return u && u->getPath() == "/";
}

GSString GSURLGetLastPathComponent(void const* url)
{
    GSPlatformURL const* u = GSURLCast(url);
    return u ? GSURLTextFromBytes(u->getLastPathComponent()) : GSString();
}

GSString GSURLGetPathname(void const* url)
{
    // The URL keeps its path without a trailing divider already (the root excepted).
    GSPlatformURL const* u = GSURLCast(url);
    return u ? GSURLTextFromBytes(u->getPath()) : GSString();
}

bool GSURLIsEqual(void const* a, void const* b)
{
    GSPlatformURL const* first = GSURLCast(a);
    GSPlatformURL const* second = GSURLCast(b);
    if (!first || !second)
        return !first && !second;
    return first->isEqual(*second);
}
