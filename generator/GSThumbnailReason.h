// Why a document gave its stored picture or not: the one list of outcomes of the thumbnail walk.
// Front ends map these to their own results (the command line to exit codes, `info` to its text).
//
// The numbers are stable: they may be stored or compared across versions, so new reasons are
// appended and existing ones never renumbered.
#pragma once

enum class GSThumbnailReason : int {
    kOk = 0,                          // the buffer holds the whole stored picture
    kCannotOpen = 1,                  // the file could not be opened
    kReadError = 2,                   // the file opened but reading it failed (not its end)
    kNotADocument = 3,                // neither the document nor the selection ID
    kUnsupportedVersion = 4,          // a document version above 3.x, or not a valid version
    kSelection = 5,                   // a selection file: never yields a picture
    kNoPicture = 6,                   // no thumbnail record, no picture record in it, or a zero count
    kUnsupportedPictureType = 7,      // a picture type other than JPEG (2) or PNG (3, 5)
    kUnsupportedThumbnailVersion = 8, // the thumbnail record's version is above 1.x
    kTruncated = 9,                   // the file ends before data that its records announce
    kInconsistent = 10,               // a size is negative or does not fit its enclosing record
    kDuplicateObjectTable = 11,       // a second object table record
    kLimitExceeded = 12,              // a GSThumbnailLimits bound was reached
    kOutOfMemory = 13,                // the picture buffer could not be allocated
    kObjectTableUnreadable = 14,      // the object table's header cannot be read
};

// A short English description ("the document is cut short"), never null; unknown values give
// "unknown reason".
char const* GSThumbnailReasonText(GSThumbnailReason reason);
