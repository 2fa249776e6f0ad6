// GSFileState: what the file system says about one item, filled by GSFileSpec::fillState
// (GSURLFillFileState, gs/filespec/GSURL.h, which also says how each field is found on POSIX) and
// written back by GSFileSpec::setState.
//
// Fields, in order: valid, creation date, modification date, access date (GMT, to the
// millisecond), flags, file type. A default-constructed state holds the invalid date (every field 0)
// in all three dates.
// Flags: 1 locked (the item may not be changed), 2 hidden, 4 always clear, 8 folder (also set for a
// package), 16 package.
// The file type is cleared by a fill: this system keeps no file types beside extensions.
#pragma once

#include "gs/util/GSDate.h"

class GSFileState {
public:
    enum : unsigned char { kLocked = 1, kHidden = 2, kFolder = 8, kPackage = 16 };

    bool isValid() const { return valid != 0; }
    bool isLocked() const { return (flags & kLocked) != 0; }
    bool isHidden() const { return (flags & kHidden) != 0; }
    bool isFolder() const { return (flags & kFolder) != 0; }
    bool isPackage() const { return (flags & kPackage) != 0; }

    // 0 before a fill, 1 after a successful one.
    unsigned short valid = 0;
    GSDate creationDate;
    GSDate modificationDate;
    GSDate accessDate;
    unsigned char flags = 0;
    unsigned int fileType = 0;
};
