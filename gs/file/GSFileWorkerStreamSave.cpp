// GSFileWorkerStream: opening and closing, with safe saving through a temporary file.
#include "gs/file/GSFileWorker.h"

#include "gs/filespec/GSFileState.h"
#include "gs/util/GSLog.h"

#include <cstdio>

namespace {

// Numbered messages of the file layer (string-table numbers).
constexpr int kMessageCannotRemove = 49703;
constexpr int kMessageCannotRename = 49705;
constexpr int kMessageLocked = 49713;

} // namespace

short GSFileWorkerStream::_open()
{
    if (!fileSpec.isValid())
        return stream ? 0 : 1;
    if (stream)
        return 0;

    GSFileState state;
    bool const targetExists = fileSpec.fillState(&state) == 0;
    if ((accessFlags & kWrite) && targetExists && state.isLocked()) {
        fileSpec.sendErrorMessage(kMessageLocked);
        return 1;
    }
    bool const create = (accessFlags & kCreate) != 0;
    if (create && targetExists && state.isFolder()) {
        // Creating removes what is at the path first; a folder is never taken for that.
        GSLog("Couldn't create file: %s\n", fileSpec.getPathname(1).c_str());
        return 1;
    }

    workingSpec = fileSpec;
    bool temporary = false;
    if (create && (safetyMode & 1) && targetExists) {
        // The temporary file is created here, empty and exclusively: it is ours to open.
        if (workingSpec.createTemporaryFilename(fileSpec.getExtender()) != 0) {
            GSLog("Couldn't create file: %s\n", fileSpec.getPathname(1).c_str());
            workingSpec = GSFileSpec();
            return 1;
        }
        temporary = true;
    } else if (create) {
        // Without a temporary file the target is replaced in place; a file that cannot be removed
        // makes fopen fail below.
        (void)workingSpec.remove(nullptr);
    }

    resetBuffer();
    stream = std::fopen(workingSpec.getPathname(1).c_str(), accessMode);
    if (!stream) {
        if (create)
            GSLog("Couldn't create file: %s\n", workingSpec.getPathname(1).c_str());
        if (temporary)
            (void)workingSpec.remove(nullptr); // best effort: the open has failed either way
        workingSpec = GSFileSpec();
        return 1;
    }
    return 0;
}

short GSFileWorkerStream::_close(short abort)
{
    if (!stream)
        return 0;
    bool const create = (accessFlags & kCreate) != 0;
    bool const same = workingSpec == fileSpec;
    short error = 0;
    // Write errors surface here at the latest: a full disk or a size limit sets the error flag.
    if (create && std::ferror(stream))
        error = 1;
    if (std::fclose(stream) != 0) {
        GSLog("Couldn't close file: %s\n", workingSpec.getPathname(1).c_str());
        error = 1;
    } else if (create && workingSpec.isValid()) {
        // The file's permissions and dates follow the target's where they can; the content is saved.
        (void)workingSpec.writeAdditionalInfo(same ? nullptr : &fileSpec);
    }
    stream = nullptr;
    resetBuffer();

    if (!same && !error && !abort) {
        bool const keepBackup = (safetyMode & 2) != 0;
        GSString errorText;
        if (workingSpec.exchangeWith(fileSpec, keepBackup ? 0 : 1, &errorText) != 0) {
            GSLog("Error exchanging files: %s, %s\n", workingSpec.getPathname(1).c_str(), fileSpec.getPathname(1).c_str());
            // Nothing was saved: the target is as it was and the temporary file goes below.
            error = 1;
        } else if (keepBackup) {
            // The working file now holds the old content.
            GSFileSpec backup;
            if (fileSpec.createBackupSpec(&backup)) {
                if (workingSpec.rename(backup.getFilename(), nullptr) != 0)
                    fileSpec.sendErrorMessage(kMessageCannotRename);
            } else if (workingSpec.remove(nullptr) != 0) {
                fileSpec.sendErrorMessage(kMessageCannotRemove);
            }
        }
    }
    // Only a file this worker created is removed: aborting a file opened for reading or updating
    // must never delete it.
    if ((abort || error) && create)
        (void)workingSpec.remove(nullptr); // best effort: the save has failed either way
    workingSpec = GSFileSpec();
    return error;
}

void GSFileWorkerStream::abandon()
{
    std::fclose(stream);
    stream = nullptr;
    if ((accessFlags & kCreate) && workingSpec.isValid() && workingSpec != fileSpec)
        (void)workingSpec.remove(nullptr); // best effort, as in _close
    workingSpec = GSFileSpec();
}
