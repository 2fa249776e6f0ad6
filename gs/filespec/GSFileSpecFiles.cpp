// GSFileSpec: the item a file spec names (state, links, removing, renaming, copying, exchanging),
// temporary and backup names, and the numbered messages. Every file-system call goes through the
// GSURL* functions, or for the two jobs they do not cover (creating a file exclusively, copying
// permission bits) through the platform layer.
#include "gs/filespec/GSFileSpec.h"

#include "gs/file/GSFile.h"
#include "gs/filespec/GSURL.h"
#include "gs/platform/GSPlatformFile.h"

#include <cstring>
#include <memory>
#include <mutex>

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

// Bounds of the name searches: far beyond any real folder, but a search ends.
constexpr int kMaxUniqueNameTries = 100000;
constexpr int kMaxTemporaryNameTries = 10000;

} // namespace

// --- State and queries -----------------------------------------------------------------------------

short GSFileSpec::fillState(GSFileState* state) const
{
    state->valid = 0;
    if (url.isNull())
        return 1;
    return GSURLFillFileState(url.get(), state) == 0 ? 0 : 1;
}

short GSFileSpec::setState(GSFileState const& state, GSString* error) const
{
    if (url.isNull())
        return 1;
    return GSURLSetFileState(url.get(), state, error);
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

bool GSFileSpec::isVisible() const
{
    if (filename.isEmpty() || filename.c_str()[0] == '.')
        return false;
    GSFileState state;
    return fillState(&state) != 0 || !state.isHidden();
}

long GSFileSpec::getLength() const
{
    if (url.isNull())
        return -1;
    return static_cast<long>(GSURLGetFileSize(url.get()));
}

bool GSFileSpec::isLink(GSFileSpec* target, int dontResolveMounts, short* isFolder) const
{
    if (url.isNull())
        return false;
    GSIdPointer resolved;
    short folder = 0;
    int const flags = (dontResolveMounts & 1) ? 0 : 1;
    if (GSURLResolveLinkOrAlias(url.get(), flags, &resolved, &folder) != 0 || resolved.isNull())
        return false;
    if (target) {
        // A folder is named by its placeholder entry, as everywhere.
        void* named = folder ? GSURLCreateByAppending(resolved.get(), GSString("a")) : nullptr;
        if (named)
            target->adoptURL(named);
        else
            (void)target->setNSURL(resolved.get());
    }
    if (isFolder)
        *isFolder = folder;
    return true;
}

long GSFileSpec::countFiles(short recursive) const
{
    GSFileSpec const folder = getParent();
    if (folder.url.isNull())
        return -1;
    GSIdPointer enumerator;
    enumerator = GSURLCreateDirectoryEnumerator(folder.url.get());
    if (enumerator.isNull())
        return -1;
    long count = 0;
    while (void* entry = GSDirectoryEnumeratorGetNextURL(enumerator.get())) {
        ++count;
        if (!recursive)
            continue;
        // The state of the entry itself: a link, also one to a folder, is counted, never entered,
        // so a link back up the tree cannot make the count endless.
        GSFileState state;
        if (GSURLFillFileState(entry, &state) != 0 || !state.isFolder())
            continue;
        long const below = fromCreatedURL(GSURLCreateByAppending(entry, GSString("a"))).countFiles(1);
        if (below > 0)
            count += below;
    }
    return count;
}

// --- Actions ---------------------------------------------------------------------------------------

short GSFileSpec::remove(GSString* error)
{
    if (url.isNull())
        return 1;
    return GSURLRemove(url.get(), error);
}

short GSFileSpec::rename(GSString const& newName, GSString* error)
{
    if (url.isNull())
        return 1;
    GSFileSpec moved(*this);
    if (moved.setFilename(newName) != 0)
        return 1;
    GSString text;
    short const status = GSURLMoveToURL(url.get(), moved.url.get(), &text);
    if (status == 0)
        *this = std::move(moved);
    if (error)
        *error = text;
    return status;
}

short GSFileSpec::ensureDirectory() const
{
    GSFileSpec const folder = getParent();
    if (folder.url.isNull())
        return 1;
    if (folder.isDirectory())
        return 0;
    return GSURLCreateDirectory(folder.url.get(), nullptr);
}

short GSFileSpec::exchangeWith(GSFileSpec const& target, short noBackup, GSString* error) const
{
    if (url.isNull() || target.url.isNull())
        return 1;
    GSFileSpec backup(*this);
    if (!noBackup && backup.createTemporaryFilename(GSString()) != 0)
        return 1;
    GSString const backupName = noBackup ? GSString() : backup.getFilename();

    GSFileState before;
    bool const targetKnown = target.fillState(&before) == 0;
    GSString text;
    short status = GSURLReplaceWithURL(target.url.get(), url.get(), backupName, &text);
    if (targetKnown) {
        GSFileState after;
        if (target.fillState(&after) == 0 && after.isHidden() != before.isHidden()) {
            after.flags = static_cast<unsigned char>((after.flags & ~GSFileState::kHidden) |
                                                     (before.flags & GSFileState::kHidden));
            (void)GSURLSetFileState(target.url.get(), after, nullptr);
        }
    }
    if (!noBackup) {
        if (status == 0)
            status = GSURLMoveToURL(backup.url.get(), url.get(), &text);
        else
            (void)GSURLRemove(backup.url.get(), nullptr); // the name reserved for the backup
    }
    if (error)
        *error = text;
    return status;
}

short GSFileSpec::copy(GSFileSpec const& target) const
{
    if (*this == target)
        return 1;
    if (!isMemoryFileSpec(1) && !target.isMemoryFileSpec(0)) {
        (void)GSURLRemove(target.url.get(), nullptr); // nothing there is no failure
        if (GSURLCopyToURL(url.get(), target.url.get(), nullptr) == 0)
            return 0;
    }
    return basicCopy(target);
}

short GSFileSpec::basicCopy(GSFileSpec const& target) const
{
    GSFile source(*this, 0);
    if (source.setAccessMode("rb") != 0 || source.open() != 0)
        return 1;
    // The target is written as any save is (through a temporary file beside an existing one).
    GSFile destination(target, 0);
    if (destination.setAccessMode("wb") != 0 || destination.open() != 0) {
        (void)source.close();
        return 1;
    }
    constexpr long kChunk = 1 << 16;
    std::unique_ptr<unsigned char[]> buffer(new (std::nothrow) unsigned char[kChunk]);
    short status = buffer ? 0 : 1;
    while (status == 0) {
        long const got = source.read(buffer.get(), 1, kChunk);
        if (destination.write(buffer.get(), got) != 0)
            status = 1;
        if (got < kChunk) {
            if (source.getError() != 0)
                status = 1;
            break;
        }
    }
    (void)source.close();
    if (destination.close(status) != 0)
        status = 1;
    return status;
}

// --- Temporary, unique and backup names ------------------------------------------------------------

short GSFileSpec::createTemporaryFilename(GSString const& extender)
{
    if (url.isNull())
        return 1;
    // The name sequence is the same in every process; exclusive creation settles who gets a name,
    // and a taken name only costs another try.
    for (int attempt = 0; attempt < kMaxTemporaryNameTries; ++attempt) {
        GSString name = getTemporaryFilename();
        name += extender;
        GSFileSpec candidate(*this);
        if (candidate.setFilename(name) != 0)
            return 1;
        bool existed = false;
        if (GSPlatformCreateFileExclusively(candidate.getPathname(1).c_str(), &existed, nullptr) == 0) {
            *this = std::move(candidate);
            return 0;
        }
        if (!existed)
            return 1;
    }
    return 1;
}

short GSFileSpec::createUniqueFilename(char divider)
{
    if (url.isNull())
        return 1;
    GSString const extender = getExtenderForFilename(filename);
    GSFileSpec candidate(*this);
    for (int counter = 1; counter <= kMaxUniqueNameTries; ++counter) {
        if (!candidate.exists()) {
            if (candidate.filename == filename)
                return 0;
            return setFilename(candidate.filename);
        }
        GSString name = candidate.getFilename(0);
        long const suffix = name.findNumberSuffix(divider);
        if (suffix >= 0 && name.remove(suffix, -1) != 0)
            return 1;
        if (divider != 0 && name.add(divider) != 0)
            return 1;
        if (name.addLong(counter) != 0 || name.add(extender) != 0)
            return 1;
        if (candidate.setFilename(name) != 0)
            return 1;
    }
    return 1;
}

bool GSFileSpec::removeBackupSpec() const
{
    GSFileState state;
    if (fillState(&state) != 0)
        return true;
    // Only a file can be an old backup: a folder of that name is never removed for one.
    if (!state.isFolder() && GSURLRemove(url.get(), nullptr) == 0)
        return true;
    sendErrorMessage(49703);
    return false;
}

bool GSFileSpec::createStandardBackupSpec(GSFileSpec* backup) const
{
    // name.extbak, or name.bak for a name without an extension.
    GSString base = filename;
    base += GSString(getExtenderForFilename(filename).isEmpty() ? ".bak" : "bak");
    *backup = *this;
    for (int round = 0; round < 1000; ++round) {
        GSString name = base;
        if (round > 0 && name.addLong(round) != 0)
            return false;
        if (backup->setFilename(name) != 0)
            return false;
        if (backup->removeBackupSpec())
            return true;
    }
    return false;
}

bool GSFileSpec::createBackupSpec(GSFileSpec* backup) const
{
    if (createStandardBackupSpec(backup))
        return true;
    GSString stem = getFilename(0);
    GSString const extender = getExtenderForFilename(filename);
    *backup = *this;
    for (int round = 1; round < 1000; ++round) {
        if (stem.add('~') != 0)
            return false;
        if (backup->setFilename(stem + extender) != 0)
            return false;
        if (backup->removeBackupSpec())
            return true;
    }
    return false;
}

short GSFileSpec::writeAdditionalInfo(GSFileSpec const* source) const
{
    if (!source)
        return 0;
    if (url.isNull() || source->url.isNull())
        return 1;
    return GSPlatformCopyPermissions(source->getPathname(1).c_str(), getPathname(1).c_str());
}

// --- Messages --------------------------------------------------------------------------------------

GSString GSFileSpec::getErrorTextForSystemError(int error)
{
    // The C library's text; valid UTF-8 in every locale we run in, else kept as the Mac code page.
    GSString text;
    if (text.init(std::strerror(error), -1, -2) != 0)
        return GSString();
    return text;
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

void GSFileSpec::sendErrorMessage(GSString const&, GSString const&) const
{
}
