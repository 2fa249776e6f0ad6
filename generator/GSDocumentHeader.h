// The document header readers with the detail the thumbnail walk reports: which check failed.
// QuillmoorDataReadHeader and QuillmoorDataReadVersion (generator/GSGetThumbnail.h) are these with
// the detail dropped.
#pragma once

#include "generator/GSThumbnailReason.h"

class GSFile;
class GSTagRead;

struct GSHeaderDetail {
    // Why the header was refused (kOk when it was accepted).
    GSThumbnailReason failure = GSThumbnailReason::kOk;
    // One of the two IDs matched.
    bool idMatched = false;
    // The version's bytes were read (its value is meaningful, also when it was refused).
    bool versionRead = false;
};

extern char const* const kQuillmoorDocumentID;  // "Quillmoor Document"
extern char const* const kQuillmoorSelectionID; // "Quillmoor Selection"

[[nodiscard]] short GSReadDocumentHeader(GSFile* file, short* version, short* mergingStarted, short* isSelection,
                           GSHeaderDetail* detail);
[[nodiscard]] short GSReadDocumentVersion(GSTagRead* reader, short* version, short* mergingStarted, GSHeaderDetail* detail);
