// Paths as the operating system sees them.
#pragma once

#include "gs/text/GSString.h"

// The absolute form of `path` (a relative path is joined to the current folder; "." and ".."
// components and doubled separators are folded). Returns 0 on success, 1 when the current folder
// cannot be found.
short GSPlatformMakeAbsolutePath(GSString const& path, GSString* absolute);
