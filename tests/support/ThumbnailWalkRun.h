// Runs the thumbnail walk over document bytes through either back end: a memory file, or a file on
// disk opened by its file spec (the path GSGetThumbnail takes).
#pragma once

#include "generator/GSThumbnailWalk.h"
#include "gs/file/GSFile.h"
#include "tests/support/DocumentBuilder.h"
#include "tests/support/ScratchFolder.h"

#include <gtest/gtest.h>

#include <string>

namespace qmtest {

enum class Backend { kMemory, kDisk };

inline std::string backendName(Backend b) { return b == Backend::kMemory ? "Memory" : "Disk"; }

struct WalkRun {
    GSThumbnailResult result;
    GSDynaArray<unsigned char> buffer{8, -100};
    unsigned flags = 0; // the file's flags after the walk (memory back end only)

    Bytes picture() const
    {
        return Bytes(buffer.getPointer(), buffer.getPointer() + buffer.getCount());
    }
};

inline WalkRun runWalk(Bytes const& document, Backend backend, bool withBuffer = true,
                       GSThumbnailLimits const& limits = GSThumbnailLimits())
{
    WalkRun run;
    GSDynaArray<unsigned char>* buffer = withBuffer ? &run.buffer : nullptr;
    if (backend == Backend::kMemory) {
        GSDynaArray<unsigned char> bytes;
        EXPECT_EQ(bytes.append(document.data(), static_cast<long>(document.size())), 0);
        GSFile file(bytes);
        EXPECT_EQ(file.open(), 0);
        run.result = GSFindThumbnail(&file, buffer, limits);
        run.flags = file.getFlags();
    } else {
        TempFile temp(document);
        run.result = GSFindThumbnail(GSFileSpec(GSString(temp.path().c_str())), buffer, limits);
    }
    return run;
}

} // namespace qmtest
