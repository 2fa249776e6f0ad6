// The checked thumbnail walk: finds a document's stored picture and says why when there is none.
// GSGetThumbnail is a thin wrapper over it; the command line and the fuzz target call it directly.
//
// The walk follows the document layout described in generator/GSGetThumbnail.h, and in addition
// checks every size, count and position it reads against what the file and the enclosing record
// can hold before it uses it to allocate, seek or loop:
//   - a record whose size is negative, or reaches past its enclosing record, ends the walk
//     (kInconsistent); one that reaches past the end of the file ends it too (kTruncated);
//   - a picture byte count above the bytes left in the file (kTruncated) or in the thumbnail record
//     (kInconsistent), or above GSThumbnailLimits::maxPictureBytes (kLimitExceeded), is refused
//     BEFORE the buffer is sized: a count of 2^31 in a 1 KiB file touches no memory;
//   - a count that fits but whose bytes then cannot all be read (the file shrank, a read error)
//     leaves the buffer at its full size with an undefined tail and gives kTruncated or kReadError.
// Everything else follows the editor's reader exactly, including where it goes on after a picture
// (the next header right after the picture bytes, normally the thumbnail record's end tag).
#pragma once

#include "generator/GSPictureFormat.h"
#include "generator/GSThumbnailLimits.h"
#include "generator/GSThumbnailReason.h"
#include "gs/filespec/GSFileSpec.h"
#include "gs/object/GSDynaArray.h"
#include "gs/util/GSTSize.h"

class GSFile;

struct GSThumbnailResult {
    enum Kind : short { kUnrecognised = 0, kDocument = 1, kSelection = 2 };
    // Which of the outputs the walk wrote, as the editor's reader writes them: field by field as
    // their records are read, also when a later step fails.
    enum Written : unsigned {
        kWroteVariant = 1,
        kWroteWidth = 2,
        kWroteHeight = 4,
        kWrotePictureType = 8,
        kWroteVersion = 16,
    };

    // kOk only when the buffer (or, without one, the file) holds the whole stored picture.
    GSThumbnailReason reason = GSThumbnailReason::kCannotOpen;
    // The status of opening the file (GSGetThumbnail's result); 0 for a walk over an open file.
    short openStatus = 0;
    // errno right after a failed open, for messages; 0 otherwise.
    int openErrno = 0;
    Kind kind = kUnrecognised;
    unsigned written = 0;
    short version = 0;
    short pictureType = 0;
    // jpeg or png exactly when reason is kOk (a picture was accepted), none otherwise.
    GSPictureFormat format = GSPictureFormat::none;
    short variant = 0;
    GSTSize<int> size;
    // The stored byte count of the picture and where its bytes start; -1 when none was accepted.
    long pictureBytes = -1;
    long pictureOffset = -1;

    bool hasPicture() const { return reason == GSThumbnailReason::kOk; }
};

// Walks the document in `file`, which must be open and positioned at its first byte (the ID).
// `bytes` receives the picture; when null the picture is located and checked but not read.
// The file's flags and object table change as the records say; a table the walk attached is
// stopped before it returns. Never throws: a second object table record gives
// kDuplicateObjectTable (GSGetThumbnail turns that into bad_file).
[[nodiscard]] GSThumbnailResult GSFindThumbnail(GSFile* file, GSDynaArray<unsigned char>* bytes,
                                  GSThumbnailLimits const& limits = GSThumbnailLimits());

// Opens the file named by `spec` (no alias resolution), walks it and closes it. A file that
// cannot be opened gives kCannotOpen and its status in openStatus; `bytes` is then untouched.
[[nodiscard]] GSThumbnailResult GSFindThumbnail(GSFileSpec const& spec, GSDynaArray<unsigned char>* bytes,
                                  GSThumbnailLimits const& limits = GSThumbnailLimits());
