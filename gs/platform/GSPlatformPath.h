// Paths as the operating system sees them: bytes, absolute after this call.
#pragma once

#include <string>

// The absolute form of `path` (a relative path is joined to the current folder; "." and ".."
// components and doubled separators are folded). Returns 0 on success, 1 when the current folder
// cannot be found.
short GSPlatformMakeAbsolutePath(char const* path, std::string* absolute);

// The path with every symbolic link in it resolved and "." and ".." folded (realpath). 1 when an
// item on the way does not exist, a link is broken or loops, or a folder cannot be searched.
short GSPlatformResolveLinks(char const* path, std::string* resolved);

// True when `path` names a folder itself (a symbolic link to a folder is not one).
bool GSPlatformIsFolder(char const* path);

// Makes `path` the process's current folder (chdir). 1 when the system refuses.
short GSPlatformSetCurrentFolder(char const* path);
