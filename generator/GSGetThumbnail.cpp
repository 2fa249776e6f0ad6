#include "generator/GSGetThumbnail.h"

#include "generator/GSThumbnailWalk.h"
#include "gs/object/GSExceptions.h"

// The checked walk does the work; this keeps the editor's contract on top of it: the open status
// as the result, each output written only when its record was read, bad_file for a second object
// table. One difference is deliberate: a stored byte count larger than what is left of the file
// or of the thumbnail record is refused before the buffer is sized, so such a file leaves the
// buffer untouched instead of filling it to the stored size with an undefined tail. Callers see
// the same outcome either way, no decodable picture.
short GSGetThumbnail(GSFileSpec const& spec, GSDynaArray<unsigned char>* bytes, short* pictureType,
                     short* variant, GSTSize<int>* size)
{
    GSThumbnailResult result = GSFindThumbnail(spec, bytes);
    if (result.reason == GSThumbnailReason::kCannotOpen)
        return result.openStatus;
    if (variant && (result.written & GSThumbnailResult::kWroteVariant))
        *variant = result.variant;
    if (size && (result.written & GSThumbnailResult::kWroteWidth))
        size->width = result.size.width;
    if (size && (result.written & GSThumbnailResult::kWroteHeight))
        size->height = result.size.height;
    if (pictureType && (result.written & GSThumbnailResult::kWrotePictureType))
        *pictureType = result.pictureType;
    if (result.reason == GSThumbnailReason::kDuplicateObjectTable)
        throw bad_file();
    return result.openStatus;
}
