// Moves each path given to the trash with GSURLMoveToTrash and prints "STATUS PATH" per path, for
// the test that checks our trash against the desktop's own tool (trash_gio_test.py). Exit status
// 0 when every item went to the trash, else 1.
#include "gs/filespec/GSURL.h"
#include "gs/object/GSIdPointer.h"

#include <cstdio>

int main(int argc, char** argv)
{
    int failures = 0;
    for (int i = 1; i < argc; ++i) {
        GSIdPointer url;
        url = GSURLCreateWithFilePath(GSString(argv[i], -1, GSString::kNoTables), 0, 0);
        GSString error;
        short status = GSURLMoveToTrash(url.get(), &error);
        std::printf("%d %s%s%s\n", status, argv[i], error.isEmpty() ? "" : ": ", error.c_str());
        failures += status != 0;
    }
    return failures == 0 ? 0 : 1;
}
