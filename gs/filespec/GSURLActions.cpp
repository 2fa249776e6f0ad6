// GSURL: moving, copying, replacing, removing and creating items.
#include "gs/filespec/GSURL.h"
#include "gs/filespec/GSURLSupport.h"

#include "gs/platform/GSPlatformItem.h"

#include <string>

namespace {

using TwoPathAction = short (*)(char const*, char const*, std::string*);

short betweenURLs(TwoPathAction action, void* from, void* to, GSString* error)
{
    GSPlatformURL const* source = GSURLCast(from);
    GSPlatformURL const* target = GSURLCast(to);
    if (!source || !target)
        return 1;
    GSURLErrorText text(error);
    return text.finish(action(source->getPath().c_str(), target->getPath().c_str(), text.get()));
}

using OnePathAction = short (*)(char const*, std::string*);

short onURL(OnePathAction action, void* url, GSString* error)
{
    GSPlatformURL const* u = GSURLCast(url);
    if (!u)
        return 1;
    GSURLErrorText text(error);
    return text.finish(action(u->getPath().c_str(), text.get()));
}

} // namespace

short GSURLReplaceWithURL(void* existing, void* replacement, GSString const& backupName, GSString* error)
{
    GSPlatformURL const* target = GSURLCast(existing);
    GSPlatformURL const* source = GSURLCast(replacement);
    if (!target || !source)
        return 1;
    std::string const backup = GSURLPathBytes(backupName);
    GSURLErrorText text(error);
    return text.finish(GSPlatformReplaceItem(target->getPath().c_str(), source->getPath().c_str(), backup.c_str(), text.get()));
}

short GSURLMoveToURL(void* from, void* to, GSString* error)
{
    return betweenURLs(GSPlatformMoveItem, from, to, error);
}

short GSURLCopyToURL(void* from, void* to, GSString* error)
{
    return betweenURLs(GSPlatformCopyItem, from, to, error);
}

short GSURLRemove(void* url, GSString* error)
{
    return onURL(GSPlatformRemoveItem, url, error);
}

short GSURLCreateDirectory(void* url, GSString* error)
{
    return onURL(GSPlatformCreateFolder, url, error);
}
