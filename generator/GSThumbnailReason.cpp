#include "generator/GSThumbnailReason.h"

char const* GSThumbnailReasonText(GSThumbnailReason reason)
{
    switch (reason) {
    case GSThumbnailReason::kOk: return "ok";
    case GSThumbnailReason::kCannotOpen: return "the file cannot be opened";
    case GSThumbnailReason::kReadError: return "the file cannot be read";
    case GSThumbnailReason::kNotADocument: return "not a Quillmoor document";
    case GSThumbnailReason::kUnsupportedVersion: return "a document version this program does not read";
    case GSThumbnailReason::kSelection: return "a selection file stores no picture";
    case GSThumbnailReason::kNoPicture: return "the document stores no picture";
    case GSThumbnailReason::kUnsupportedPictureType: return "the stored picture is neither JPEG nor PNG";
    case GSThumbnailReason::kUnsupportedThumbnailVersion:
        return "the thumbnail record has a version this program does not read";
    case GSThumbnailReason::kTruncated: return "damaged: the document is cut short";
    case GSThumbnailReason::kInconsistent: return "damaged: its records contradict each other";
    case GSThumbnailReason::kDuplicateObjectTable: return "damaged: the document has two object tables";
    case GSThumbnailReason::kLimitExceeded: return "the document exceeds this program's limits";
    case GSThumbnailReason::kOutOfMemory: return "not enough memory for the stored picture";
    case GSThumbnailReason::kObjectTableUnreadable: return "damaged: its object table cannot be read";
    }
    return "unknown reason";
}
