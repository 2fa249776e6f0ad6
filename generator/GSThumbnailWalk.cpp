#include "generator/GSThumbnailWalk.h"

#include "generator/GSDocumentHeader.h"
#include "generator/GSMemPicData.h"
#include "gs/file/GSFile.h"
#include "gs/file/GSTagRead.h"
#include "gs/object/GSExceptions.h"
#include "gs/object/GSRuntimeClass.h"

#include <cerrno>
#include <new>

namespace {

using Reason = GSThumbnailReason;

enum : int {
    kTagObjectTable = 11,
    kTagThumbnail = 13,
    kTagStandardFloats = 14,
    kTagStandardDoubles = 15,
    kInnerDescription = 0,
    kInnerPictureObject = 4,
    kInnerPictureInline = 6,
};

// The picture description of inner record 0: variant (2), width (4), height (4), ignored (4).
constexpr long kDescriptionBytes = 14;
// The thumbnail record's newest version: 1.x.
constexpr short kMaximumThumbnailVersion = 0x0100;

// Holds the file's record end at the walk's bound and gives the old one back.
class RecordEndGuard {
public:
    RecordEndGuard(GSFile* f, long end) : file(f), previous(f->setRecordEnd(end)) {}
    ~RecordEndGuard() { file->setRecordEnd(previous); }
    RecordEndGuard(RecordEndGuard const&) = delete;
    RecordEndGuard& operator=(RecordEndGuard const&) = delete;

private:
    GSFile* file;
    long previous;
};

// Stops an object-merging read that the walk started, also when an exception passes.
class MergingGuard {
public:
    explicit MergingGuard(GSFile* f) : file(f) {}
    MergingGuard(MergingGuard const&) = delete;
    MergingGuard& operator=(MergingGuard const&) = delete;
    ~MergingGuard()
    {
        // A record 11 whose table could not be read leaves no table: stopping then is misuse.
        if (active && file->getObjectTable()) {
            try {
                (void)file->stopObjectMergingRead(); // the walk's outcome is decided already
            } catch (...) {
            }
        }
    }
    bool active = false;

private:
    GSFile* file;
};

class Walk {
public:
    Walk(GSFile* f, GSDynaArray<unsigned char>* b, GSThumbnailLimits const& l) : file(f), bytes(b), limits(l) {}

    GSThumbnailResult run()
    {
        // The length is read once: every record reader of the walk is bounded by it.
        length = file->getLength();
        file->setMaxObjectDepth(limits.maxObjectDepth);
        file->setMaxTableObjects(limits.maxTableObjects);
        RecordEndGuard bound(file, length);
        MergingGuard merging(file);
        try {
            walkDocument(merging);
        } catch (std::bad_alloc const&) {
            result.reason = Reason::kOutOfMemory;
        } catch (bad_file const&) {
            result.reason = Reason::kInconsistent;
        } catch (bad_index const&) {
            result.reason = Reason::kInconsistent;
        }
        if (contradicted && result.reason != Reason::kDuplicateObjectTable)
            result.reason = Reason::kInconsistent;
        // The picture description accepts only JPEG and PNG, with 5 already read as PNG.
        if (result.reason == Reason::kOk)
            result.format = result.pictureType == GSMemPicData::kPNG ? GSPictureFormat::png : GSPictureFormat::jpeg;
        return result;
    }

private:
    void walkDocument(MergingGuard& merging)
    {
        if (length < 0) {
            result.reason = Reason::kReadError;
            return;
        }
        short version = 0, started = 0, isSelection = 0;
        GSHeaderDetail detail;
        short status = GSReadDocumentHeader(file, &version, &started, &isSelection, &detail);
        merging.active = started != 0;
        if (detail.idMatched)
            result.kind = isSelection ? GSThumbnailResult::kSelection : GSThumbnailResult::kDocument;
        if (detail.versionRead) {
            result.version = version;
            result.written |= GSThumbnailResult::kWroteVersion;
        }
        if (status != 0) {
            result.reason = detail.failure;
            // The ID or the version could not be read: other bytes, or a file that cannot be read
            // at all (a folder, an I/O error)? The header reader seeks back, which forgets the
            // error, so read the first byte again to find out.
            if (result.reason == Reason::kNotADocument || result.reason == Reason::kTruncated) {
                long start = file->tell();
                char first = 0;
                if (file->readChar(&first) != 0 && file->getError() != 0)
                    result.reason = Reason::kReadError;
                (void)file->seek(start); // the walk ends here: the position no longer matters
            }
            return;
        }
        if (isSelection) {
            result.reason = Reason::kSelection;
            return;
        }
        result.reason = Reason::kNoPicture;
        walkRecords(merging);
    }

    // The top-level records, with the editor's stop flag: after a record that does not let the
    // walk go on, one more header is read and the walk ends.
    void walkRecords(MergingGuard& merging)
    {
        GSTagRead reader(file);
        bool stop = false;
        for (;;) {
            int tag = reader.read();
            if (tag == GSTagRead::kEndTag || stop)
                return;
            if (!countRecord())
                return;
            stop = true;
            switch (tag) {
            case kTagObjectTable:
                // A second table is misuse of the merging read; GSGetThumbnail reports it as bad_file.
                if (file->getObjectTable()) {
                    result.reason = Reason::kDuplicateObjectTable;
                    return;
                }
                if (file->startObjectMergingRead() != 0)
                    fail(Reason::kObjectTableUnreadable);
                merging.active = true;
                stop = false;
                break;
            case kTagStandardFloats:
                file->addFlags(GSFile::kStandardFloats);
                stop = false;
                break;
            case kTagStandardDoubles:
                file->addFlags(GSFile::kStandardDoubles);
                stop = false;
                break;
            case GSTagRead::kReadFailure:
                fail(headerFailureReason(reader));
                break;
            case kTagThumbnail:
                stop = readThumbnail(reader);
                break;
            default:
                if (!skip(reader))
                    return;
                stop = false;
                break;
            }
        }
    }

    // Record 13. Returns the new stop flag: false only after the picture bytes were read whole.
    bool readThumbnail(GSTagRead const& outer)
    {
        // The reader has checked that the record lies inside the file.
        long const end = outer.getDataStart() + outer.getSize();
        // Only the bytes after a picture can hold a second thumbnail record: two pictures for one
        // document contradict each other, whichever the buffer ends up with.
        if (pictureRead)
            contradicted = true;

        GSTagRead inner(file);
        // 256 stays when the version's bytes cannot be read: valid, so such a failure is a cut.
        short version = 0x0100;
        if (inner.readVersion(kMaximumThumbnailVersion, &version) != 0) {
            if ((version >> 8) > (kMaximumThumbnailVersion >> 8))
                fail(Reason::kUnsupportedThumbnailVersion);
            else if (version == 0x0100)
                fail(endOfDataReason());
            else
                fail(Reason::kInconsistent);
            return true;
        }

        long count = 0;
        for (;;) {
            int tag = inner.read();
            if (tag == GSTagRead::kEndTag)
                break;
            if (tag == GSTagRead::kReadFailure) {
                fail(headerFailureReason(inner));
                break;
            }
            if (!countRecord())
                return true;
            if (tag == kInnerDescription) {
                // The description is read whatever its record's size says, but inside the thumbnail.
                if (kDescriptionBytes > end - inner.getDataStart()) {
                    fail(Reason::kInconsistent);
                    break;
                }
                if (!readDescription())
                    break;
                continue;
            }
            if (tag == kInnerPictureObject) {
                count = readPictureObject();
                break;
            }
            if (tag == kInnerPictureInline) {
                GSMemPicData description;
                if (description.readData(file) == 0) {
                    count = description.getByteCount();
                    result.pictureType = description.getPictureType();
                    result.written |= GSThumbnailResult::kWrotePictureType;
                } else if (description.getPictureType() != -1) {
                    fail(Reason::kUnsupportedPictureType);
                } else {
                    fail(endOfDataReason());
                }
                break;
            }
            if (!skip(inner))
                return true;
        }
        if (count < 1) {
            // A zero count stores no picture; a negative one cannot be.
            if (count < 0)
                fail(Reason::kInconsistent);
            return true;
        }
        return readPicture(count, end);
    }

    // Inner record 0, field by field: a failed read keeps what was read before it.
    bool readDescription()
    {
        short variant = 0;
        int width = 0, height = 0, ignored = 0;
        if (file->readShort(&variant))
            return fail(endOfDataReason()), false;
        result.variant = variant;
        result.written |= GSThumbnailResult::kWroteVariant;
        if (file->readLong(&width))
            return fail(endOfDataReason()), false;
        result.size.width = width;
        result.written |= GSThumbnailResult::kWroteWidth;
        if (file->readLong(&height))
            return fail(endOfDataReason()), false;
        result.size.height = height;
        result.written |= GSThumbnailResult::kWroteHeight;
        if (file->readLong(&ignored))
            return fail(endOfDataReason()), false;
        return true;
    }

    // Inner record 4: the byte count of the object read, 0 when there is none.
    long readPictureObject()
    {
        GSObject* object = file->readObject();
        if (!object) {
            fail(Reason::kInconsistent);
            return 0;
        }
        // While merging the table keeps the object; without a table nobody else does, and this
        // retain/release pair deletes it.
        object->retain();
        long count = 0;
        if (object->isMemberOfRuntimeClass(GSMemPicData::gsClassGSMemPicData)) {
            auto const* picture = static_cast<GSMemPicData const*>(object);
            count = picture->getByteCount();
            result.pictureType = picture->getPictureType();
            result.size = picture->getSize();
            result.written |= GSThumbnailResult::kWrotePictureType | GSThumbnailResult::kWroteWidth |
                              GSThumbnailResult::kWroteHeight;
        } else {
            // Any other class in the picture's place cannot describe it.
            fail(Reason::kInconsistent);
        }
        object->release();
        return count;
    }

    // The picture bytes at the current position. Returns the new stop flag.
    bool readPicture(long count, long end)
    {
        long position = file->tell();
        if (position < 0 || count > length - position) {
            fail(Reason::kTruncated);
            return true;
        }
        if (count > end - position) {
            fail(Reason::kInconsistent);
            return true;
        }
        if (count > limits.maxPictureBytes) {
            fail(Reason::kLimitExceeded);
            return true;
        }
        result.pictureBytes = count;
        result.pictureOffset = position;
        if (!bytes) {
            if (file->seek(count, 1) != 0) {
                setFailure(endOfDataReason());
                return true;
            }
            return pictureDone();
        }
        long previous = bytes->getCount();
        unsigned char* data = nullptr;
        if (bytes->setCount(count) != 0 || !(data = bytes->getWritablePointer())) {
            (void)bytes->setCount(previous); // shrinking back to a count it held cannot fail
            setFailure(Reason::kOutOfMemory);
            return true;
        }
        // The buffer keeps its full size when the read comes short: its tail is then undefined.
        if (file->read(data, count) != 0) {
            setFailure(endOfDataReason());
            return true;
        }
        return pictureDone();
    }

    bool pictureDone()
    {
        pictureRead = true;
        result.reason = Reason::kOk;
        return false;
    }

    // Skips the current record (which the reader has found to fit).
    bool skip(GSTagRead& reader)
    {
        if (reader.skip() == 0)
            return true;
        fail(endOfDataReason());
        return false;
    }

    // Why a header gave kReadFailure: it could not be read, or its record does not fit. A record
    // reaching past the end of the file is cut short; one with a negative size, or inside the file
    // but past its enclosing record, contradicts it.
    Reason headerFailureReason(GSTagRead const& reader) const
    {
        if (!reader.isPastEnd())
            return endOfDataReason();
        long const at = reader.getDataStart();
        if (at > reader.getEnd())
            return Reason::kInconsistent;
        return reader.getSize() > length - at ? Reason::kTruncated : Reason::kInconsistent;
    }

    bool countRecord()
    {
        if (++records <= limits.maxRecords)
            return true;
        fail(Reason::kLimitExceeded);
        return false;
    }

    // A read that came short: the end of the file, unless the worker reports an error.
    Reason endOfDataReason() const { return file->getError() != 0 ? Reason::kReadError : Reason::kTruncated; }

    // The first problem is the one reported, and only while no picture has been read.
    void fail(Reason reason)
    {
        if (result.reason == Reason::kNoPicture)
            result.reason = reason;
    }

    // For problems that spoil the buffer itself: reported whatever came before.
    void setFailure(Reason reason)
    {
        pictureRead = false;
        result.reason = reason;
    }

    GSFile* file;
    GSDynaArray<unsigned char>* bytes;
    GSThumbnailLimits const& limits;
    GSThumbnailResult result;
    long length = 0;
    long records = 0;
    bool pictureRead = false;
    bool contradicted = false;
};

} // namespace

char const* GSPictureFormatName(GSPictureFormat format)
{
    switch (format) {
    case GSPictureFormat::jpeg: return "jpeg";
    case GSPictureFormat::png: return "png";
    default: return "none";
    }
}

char const* GSPictureFormatExtension(GSPictureFormat format)
{
    switch (format) {
    case GSPictureFormat::jpeg: return ".jpg";
    case GSPictureFormat::png: return ".png";
    default: return "";
    }
}

GSThumbnailResult GSFindThumbnail(GSFile* file, GSDynaArray<unsigned char>* bytes, GSThumbnailLimits const& limits)
{
    Walk walk(file, bytes, limits);
    return walk.run();
}

GSThumbnailResult GSFindThumbnail(GSFileSpec const& spec, GSDynaArray<unsigned char>* bytes,
                                  GSThumbnailLimits const& limits)
{
    GSFile file(spec, 0);
    errno = 0;
    short status = file.open();
    if (status != 0) {
        GSThumbnailResult result;
        result.reason = GSThumbnailReason::kCannotOpen;
        result.openStatus = status;
        result.openErrno = errno;
        return result;
    }
    GSThumbnailResult result = GSFindThumbnail(&file, bytes, limits);
    result.openStatus = 0;
    return result;
}
