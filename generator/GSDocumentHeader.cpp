#include "generator/GSDocumentHeader.h"

#include "generator/GSGetThumbnail.h"
#include "gs/file/GSFile.h"
#include "gs/file/GSTagRead.h"

char const* const kQuillmoorDocumentID = "Quillmoor Document";
char const* const kQuillmoorSelectionID = "Quillmoor Selection";

namespace {

// The newest document version read: 3.2. Major numbers above 3 are refused.
constexpr short kMaximumDocumentVersion = 0x0302;
// From 3.0 on a document stores IEEE floats and doubles and starts with its object table.
constexpr short kObjectTableVersion = 0x0300;

} // namespace

short GSReadDocumentVersion(GSTagRead* reader, short* version, short* mergingStarted, GSHeaderDetail* detail)
{
    GSHeaderDetail scratch;
    GSHeaderDetail& d = detail ? *detail : scratch;
    if (mergingStarted)
        *mergingStarted = 0;
    GSFile* file = reader->getFile();
    long const remaining = file->getBytesLeft();
    // 0 is never a valid version, so a 0 left here after a failure with fewer than the four bytes
    // of the longest form remaining means the version could not be read at all.
    short v = 0;
    short status = reader->readVersion(kMaximumDocumentVersion, &v);
    d.versionRead = status == 0 || v != 0 || remaining >= 4;
    if (status != 0)
        d.failure = d.versionRead ? GSThumbnailReason::kUnsupportedVersion : GSThumbnailReason::kTruncated;
    if (v >= kObjectTableVersion) {
        file->addFlags(GSFile::kStandardFloats | GSFile::kStandardDoubles);
        if (mergingStarted) {
            if (status == 0) {
                if (file->startObjectMergingRead() == 0) {
                    *mergingStarted = 1;
                } else {
                    status = 1;
                    d.failure = GSThumbnailReason::kObjectTableUnreadable;
                }
            } else {
                status = 1;
            }
        }
    }
    if (version)
        *version = v;
    return status;
}

short GSReadDocumentHeader(GSFile* file, short* version, short* mergingStarted, short* isSelection,
                           GSHeaderDetail* detail)
{
    GSHeaderDetail scratch;
    GSHeaderDetail& d = detail ? *detail : scratch;
    long start = file->tell();
    bool selection = false;
    if (!file->hasID(kQuillmoorDocumentID, 1)) {
        // hasID has sought back already; this only repeats it for a start it could not know.
        (void)file->seek(start);
        if (!file->hasID(kQuillmoorSelectionID, 1)) {
            (void)file->seek(start); // going back is best effort: the failure is reported either way
            d.failure = GSThumbnailReason::kNotADocument;
            return 1;
        }
        selection = true;
    }
    d.idMatched = true;
    GSTagRead reader(file);
    short status = GSReadDocumentVersion(&reader, version, mergingStarted, &d);
    if (isSelection)
        *isSelection = selection ? 1 : 0;
    if (status != 0) {
        (void)file->seek(start); // best effort, as above
        return status;
    }
    return 0;
}

short QuillmoorDataReadHeader(GSFile* file, short* version, short* mergingStarted, short* isSelection)
{
    return GSReadDocumentHeader(file, version, mergingStarted, isSelection, nullptr);
}

short QuillmoorDataReadVersion(GSTagRead* reader, short* version, short* mergingStarted)
{
    return GSReadDocumentVersion(reader, version, mergingStarted, nullptr);
}
