// GSURL: folder enumeration, names, icons and symbolic links.
#include "gs/filespec/GSURL.h"
#include "gs/filespec/GSURLSupport.h"

#include "gs/object/GSIdPointer.h"
#include "gs/platform/GSPlatformDirectory.h"
#include "gs/platform/GSPlatformItem.h"
#include "gs/platform/GSPlatformPath.h"

#include <string>

namespace {

// The file name of an existing item; empty, with the system's text, for a missing one.
GSString nameOfItem(void* url, GSString* error)
{
    GSPlatformURL const* u = GSURLCast(url);
    if (!u)
        return GSString();
    GSURLErrorText text(error);
    GSPlatformItemState item;
    if (text.finish(GSPlatformReadItemState(u->getPath().c_str(), &item, text.get())) != 0)
        return GSString();
    return GSURLTextFromBytes(u->getLastPathComponent());
}

} // namespace

void* GSURLCreateDirectoryEnumerator(void* url)
{
    GSPlatformURL const* u = GSURLCast(url);
    return u ? GSPlatformDirectoryEnumerator::create(u->getPath()) : nullptr;
}

void* GSDirectoryEnumeratorGetNextURL(void* enumerator)
{
    if (!enumerator)
        return nullptr;
    auto* e = dynamic_cast<GSPlatformDirectoryEnumerator*>(static_cast<GSPlatformObject*>(enumerator));
    return e ? e->nextURL() : nullptr;
}

GSString GSURLGetLocalizedName(void* url, GSString* error)
{
    // File names are not translated on POSIX desktops: the name shown is the name.
    return nameOfItem(url, error);
}

GSString GSURLGetName(void* url, GSString* error)
{
    return nameOfItem(url, error);
}

short GSURLGetIcon(void*, GSIdPointer* icon, GSString*)
{
    if (icon)
        *icon = nullptr;
    return 1;
}

short GSURLResolveLinkOrAlias(void const* url, int, GSIdPointer* target, short* isFolder)
{
    GSPlatformURL const* u = GSURLCast(url);
    if (!u || !target)
        return 1;
    *target = nullptr;
    std::string resolved;
    if (GSPlatformResolveLinks(u->getPath().c_str(), &resolved) != 0 || resolved == u->getPath())
        return 0;
    bool const folder = GSPlatformIsFolder(resolved.c_str());
    *target = GSPlatformURL::create(resolved, folder);
    if (isFolder && !target->isNull())
        *isFolder = folder ? 1 : 0;
    return 0;
}
