// Paths as the operating system sees them: bytes, absolute after this call.
#pragma once

#include <string>

// The absolute form of `path` (a relative path is joined to the current folder; "." and ".."
// components and doubled separators are folded). Returns 0 on success, 1 when the current folder
// cannot be found.
short GSPlatformMakeAbsolutePath(char const* path, std::string* absolute);
