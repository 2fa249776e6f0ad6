// GSURL: the trash and the standard folders.
#include "gs/filespec/GSURL.h"
#include "gs/filespec/GSURLSupport.h"

#include "gs/platform/GSPlatformFolders.h"
#include "gs/platform/GSPlatformItem.h"
#include "gs/platform/GSPlatformTrash.h"

#include <string>

namespace {

enum class Domain { User, Local, System, Application };

Domain domainOf(int domain)
{
    switch (domain) {
    case 0x400:
        return Domain::Local;
    case 0x800:
        return Domain::System;
    case 0xC00:
        return Domain::Application;
    default:
        return Domain::User;
    }
}

// The URL of the placeholder entry "a" inside the folder: a file spec of a folder names an entry in it.
void* placeholderIn(std::string const& folder)
{
    if (folder.empty())
        return nullptr;
    return GSPlatformURL::create(folder == "/" ? folder + "a" : folder + "/a", false);
}

struct Folder {
    std::string path;
    bool create = false;
};

Folder folderFor(int kind, Domain domain)
{
    bool const user = domain == Domain::User || domain == Domain::Application;
    switch (kind) {
    case 0:
        if (domain == Domain::Application)
            return {GSPlatformGetProgramFolder(), false};
        if (domain == Domain::Local)
            return {"/usr/local/lib", false};
        if (domain == Domain::System)
            return {"/usr/lib", false};
        return {GSPlatformGetHomeFolder().empty() ? std::string() : GSPlatformGetHomeFolder() + "/.local/lib", true};
    case 1:
        if (domain == Domain::Local)
            return {"/usr/local/etc", false};
        if (domain == Domain::System)
            return {"/etc", false};
        return {GSPlatformGetConfigHome(), true};
    case 2:
        return {GSPlatformGetTemporaryFolder(), false};
    case 3:
        return {user ? GSPlatformGetUserFolder("DOCUMENTS", "Documents") : std::string(), true};
    case 4:
        return {user ? GSPlatformGetUserFolder("PICTURES", "Pictures") : std::string(), true};
    case 5:
        return {user ? GSPlatformGetUserFolder("DOWNLOAD", "Downloads") : std::string(), true};
    case 6:
        if (domain == Domain::Local)
            return {"/usr/local/share/applications", false};
        if (domain == Domain::System)
            return {"/usr/share/applications", false};
        return {GSPlatformGetDataHome().empty() ? std::string() : GSPlatformGetDataHome() + "/applications", false};
    case 9:
        return {GSPlatformGetHomeFolder(), false};
    default:
        return {};
    }
}

} // namespace

void* GSURLCreateForTemporaryDirectory()
{
    return placeholderIn(GSPlatformGetTemporaryFolder());
}

void* GSURLCreateForStandardDirectory(int kind, int domain)
{
    Folder const folder = folderFor(kind, domainOf(domain));
    if (folder.path.empty() || (folder.create && GSPlatformCreateFolder(folder.path.c_str(), nullptr) != 0))
        return nullptr;
    return placeholderIn(folder.path);
}

short GSURLMoveToTrash(void* url, GSString* error)
{
    GSPlatformURL const* u = GSURLCast(url);
    if (!u)
        return 1;
    GSURLErrorText text(error);
    GSPlatformTrashResult result = GSPlatformMoveToTrash(u->getPath().c_str(), nullptr, text.get());
    if (result == kGSPlatformNoTrash)
        return 2;
    return text.finish(result == kGSPlatformTrashed ? 0 : 1);
}
