// From a document's stored picture to thumbnail pixels: decode, fit, downscale.
//
// The size is the generator core's rule (GSThumbnailDrawingSize) with a SIZE x SIZE box, so a
// document gets the same thumbnail size here as in the QuickLook plug-in; a side the rule makes 0
// becomes 1. JPEGs are decoded directly at the smallest DCT scale (1/8, 1/4, 1/2) still at least
// that size; PNG rows stream from the decoder into the area filter, so a large PNG is never held
// whole. Any decode failure, a truncated or damaged picture included, fails the whole thumbnail.
#pragma once

#include "thumbnailer/AreaScaler.h"
#include "thumbnailer/PictureDecoder.h"

#include <cstddef>
#include <cstdint>

struct RenderedThumbnail {
    AreaScaler pixels;           // the RGBA result: pixels.width() x pixels.height()
    uint32_t pictureWidth = 0;   // the stored picture's size
    uint32_t pictureHeight = 0;
};

// The thumbnail size of a width x height picture in a box x box square, each side at least 1.
void thumbnailSizeFor(uint32_t width, uint32_t height, int box, int* outWidth, int* outHeight);

// Renders the stored picture (of the walk's `format`; none is unsupported) into *out. ok, or why
// not; on failure *out holds no pixels.
qm::PictureStatus renderThumbnail(uint8_t const* bytes, size_t count, GSPictureFormat format, int box,
                                  GSThumbnailLimits const& limits, RenderedThumbnail* out);

// The same for a picture that lies `count` bytes from `offset` in the file open as `fd` (a
// document the thumbnail walk located it in). PNG bytes stream from the file into the decoder, so
// a large PNG costs a few buffers of memory, not its size; a JPEG is read into memory first, as
// TurboJPEG decodes from a buffer. Bytes that cannot all be read make the picture corrupt.
qm::PictureStatus renderThumbnailFromFile(int fd, long offset, long count, GSPictureFormat format, int box,
                                          GSThumbnailLimits const& limits, RenderedThumbnail* out);
