// The request path that every front end shares: from a document's file spec to the stored picture
// bytes and the kind of decoder they need. Plain C++ with no platform types, so that the QuickLook
// plug-in, a Thumbnail Extension and the desktop thumbnailer make the same decision about which
// documents have a picture. Decoding and drawing stay with the front end; the size at which a
// thumbnail is drawn comes from GSThumbnailDrawingSize (generator/GSThumbnailSize.h).
#pragma once

#include "gs/filespec/GSFileSpec.h"
#include "gs/object/GSDynaArray.h"
#include "gs/util/GSTSize.h"

// Which decoder the stored bytes need; `none` when the document has no usable picture.
enum class GSStoredPictureKind : short { none = 0, jpeg = 2, png = 3 };

// What the document says about its picture. `pictureType`, `variant` and `size` are as recorded
// (size is the recorded one, which a front end should not trust over the decoded picture's).
struct GSStoredPicture {
    GSStoredPictureKind kind = GSStoredPictureKind::none;
    short pictureType = 0;
    short variant = 0;
    GSTSize<int> size{};
};

// An empty buffer for the picture bytes: room for 8 bytes, doubling as it grows.
GSDynaArray<unsigned char> GSMakePictureBuffer();

// Reads the stored picture of the document named by `spec` into `bytes` (pass an empty buffer).
// Returns the status of opening the file: non-zero means the file could not be opened and a front
// end draws nothing at all. 0 means it opened; then picture->kind says whether `bytes` hold a
// JPEG or a PNG (a stored type of 2 is JPEG, 3 is PNG and so is 5, which the reader reports as
// 3), or `none` (no thumbnail record, a selection file, a damaged record, an unknown type), in
// which case the front end draws an empty picture. Throws bad_file for a document with two
// object-table records.
[[nodiscard]] short GSReadStoredPicture(GSFileSpec const& spec, GSDynaArray<unsigned char>* bytes, GSStoredPicture* picture);
