// GSFileSpec: the operations on the item a spec names, temporary and backup names, and the
// numbered messages. Every file-system call goes through the platform layer.
#include "gs/filespec/GSFileSpec.h"

#include "gs/platform/GSPlatformFile.h"
#include "gs/util/GSRandom.h"

#include <mutex>
#include <string>

namespace {

struct MessageHandler {
    std::mutex lock;
    GSFileSpec::ErrorMessageHandler function = nullptr;
    void* context = nullptr;
};

MessageHandler& messageHandler()
{
    static MessageHandler handler;
    return handler;
}

// The filename without its extension and the extension (without its dot), as getExtension sees it.
void splitName(GSFileSpec const& spec, std::string* stem, std::string* extension)
{
    std::string name = spec.getFilename().c_str();
    *extension = spec.getExtension().c_str();
    *stem = extension->empty() ? name : name.substr(0, name.size() - extension->size() - 1);
}

// A platform call's error text handed on as the caller's GSString, when the caller wants it: the
// text is the system's, in UTF-8.
class ErrorText {
public:
    explicit ErrorText(GSString* caller) : target(caller) {}
    ~ErrorText()
    {
        if (target)
            *target = GSString(text.c_str());
    }
    ErrorText(ErrorText const&) = delete;
    ErrorText& operator=(ErrorText const&) = delete;
    std::string* get() { return target ? &text : nullptr; }

private:
    GSString* target;
    std::string text;
};

} // namespace

void GSFileSpec::setFilename(GSString const& name)
{
    if (!isValid())
        return;
    GSString folder = getFolderPath();
    std::string joined = folder.c_str();
    if (joined.empty() || joined.back() != '/')
        joined += '/';
    joined += name.c_str();
    path = GSString(joined.c_str(), -1, path.getEncoding());
}

short GSFileSpec::fillState(GSFileState* state) const
{
    state->valid = 0;
    GSPlatformFileInfo info;
    if (!isValid() || GSPlatformGetFileInfo(path.c_str(), &info) != 0)
        return 1;
    state->flags = static_cast<unsigned char>((info.isLocked ? GSFileState::kLocked : 0)
        | (info.isHidden ? GSFileState::kHidden : 0)
        | (info.isDirectory || info.isPackage ? GSFileState::kFolder : 0)
        | (info.isPackage ? GSFileState::kPackage : 0));
    state->fileType = 0;
    state->valid = 1;
    return 0;
}

bool GSFileSpec::exists() const
{
    GSFileState state;
    return fillState(&state) == 0;
}

bool GSFileSpec::isDirectory() const
{
    GSFileState state;
    return fillState(&state) == 0 && state.isFolder();
}

short GSFileSpec::remove(GSString* error)
{
    if (!isValid())
        return 1;
    return GSPlatformRemoveFile(path.c_str(), ErrorText(error).get());
}

short GSFileSpec::rename(GSString const& newName, GSString* error)
{
    if (!isValid())
        return 1;
    GSFileSpec moved(*this);
    moved.setFilename(newName);
    short status = GSPlatformMoveFile(path.c_str(), moved.path.c_str(), ErrorText(error).get());
    if (status == 0)
        *this = moved;
    return status;
}

short GSFileSpec::writeAdditionalInfo(GSFileSpec const* source) const
{
    if (!source)
        return 0;
    if (!isValid() || !source->isValid())
        return 1;
    return GSPlatformCopyPermissions(source->path.c_str(), path.c_str());
}

short GSFileSpec::createTemporaryFilename(GSString const& extension)
{
    if (!isValid())
        return 1;
    // The name sequence is the same in every process; exclusive creation settles who gets a name,
    // and a taken name only costs another try.
    for (int attempt = 0; attempt < 10000; ++attempt) {
        GSString name = getTemporaryFilename();
        if (!extension.isEmpty()) {
            (void)name.add('.');
            name += extension;
        }
        GSFileSpec candidate(*this);
        candidate.setFilename(name);
        bool existed = false;
        if (GSPlatformCreateFileExclusively(candidate.path.c_str(), &existed, nullptr) == 0) {
            *this = candidate;
            return 0;
        }
        if (!existed)
            return 1;
    }
    return 1;
}

bool GSFileSpec::removeBackupSpec() const
{
    if (GSPlatformRemoveFile(path.c_str(), nullptr) == 0 || !exists())
        return true;
    sendErrorMessage(49703);
    return false;
}

bool GSFileSpec::createStandardBackupSpec(GSFileSpec* backup) const
{
    std::string stem, extension;
    splitName(*this, &stem, &extension);
    std::string base = stem + "." + extension + "bak";
    *backup = *this;
    for (int round = 0; round < 1000; ++round) {
        std::string name = round == 0 ? base : base + std::to_string(round);
        backup->setFilename(GSString(name.c_str(), -1, path.getEncoding()));
        if (backup->removeBackupSpec())
            return true;
    }
    return false;
}

bool GSFileSpec::createBackupSpec(GSFileSpec* backup) const
{
    if (createStandardBackupSpec(backup))
        return true;
    std::string stem, extension;
    splitName(*this, &stem, &extension);
    *backup = *this;
    for (int round = 1; round < 1000; ++round) {
        stem += '~';
        std::string name = extension.empty() ? stem : stem + "." + extension;
        backup->setFilename(GSString(name.c_str(), -1, path.getEncoding()));
        if (backup->removeBackupSpec())
            return true;
    }
    return false;
}

short GSFileSpec::exchangeWith(GSFileSpec const& target, short noBackup, GSString* error) const
{
    if (!isValid() || !target.isValid())
        return 1;
    // Names do not change in an exchange, so hidden files (a leading ".") stay hidden and visible
    // ones visible without further work.
    return GSPlatformInstallFile(path.c_str(), target.path.c_str(), noBackup ? 0 : 1, ErrorText(error).get());
}

void GSFileSpec::setErrorMessageHandler(ErrorMessageHandler handler, void* context)
{
    MessageHandler& h = messageHandler();
    std::lock_guard<std::mutex> guard(h.lock);
    h.function = handler;
    h.context = context;
}

void GSFileSpec::sendErrorMessage(int messageID) const
{
    MessageHandler& h = messageHandler();
    ErrorMessageHandler function = nullptr;
    void* context = nullptr;
    {
        std::lock_guard<std::mutex> guard(h.lock);
        function = h.function;
        context = h.context;
    }
    if (function)
        function(messageID, *this, context);
}
