// Decoding the picture stored in a document (JPEG through TurboJPEG, PNG through libspng) into
// 8-bit RGBA, for every front end that draws pixels itself: the desktop thumbnailer and the
// QuickLook plug-in's test double.
//
// The bytes come out of a document and are hostile: every decode first reads the picture's header,
// checks its size against the GSThumbnailLimits and only then allocates the output. A failed decode
// leaves the output image empty; no partial picture is ever returned.
#pragma once

#include "generator/GSPictureFormat.h"
#include "generator/GSThumbnailLimits.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace qm {

// Outcome of a decode. Stable numbers: front ends map them to their own reasons.
enum class PictureStatus : short {
    ok = 0,
    corrupt = 1,      // not a picture of the format, truncated, or refused by the decoder
    tooLarge = 2,     // the header asks for more than the limits allow; nothing was allocated
    noMemory = 3,     // the output (or the decoder's state) could not be allocated
    unsupported = 4,  // a picture type that is neither JPEG nor PNG, or a JPEG colour space we do not convert
    timedOut = 5,     // the decode took longer than GSThumbnailLimits::maxDecodeMilliseconds
};

// A short English name of a status ("ok", "corrupt", ...), for logs and --json output.
char const* pictureStatusName(PictureStatus status);

// The walk's format of the stored picture; decoding `none` is `unsupported`.
using PictureFormat = GSPictureFormat;

// Width and height of a stored picture, read from its header only.
struct PictureInfo {
    PictureFormat format = PictureFormat::jpeg;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

// An 8-bit RGBA image, rows top to bottom, 4 bytes a pixel, rows `stride` bytes apart (stride is
// width * 4). Alpha is 255 for JPEG; for PNG it comes from the picture (a tRNS chunk applied).
class RGBAImage {
public:
    std::uint32_t width() const { return w; }
    std::uint32_t height() const { return h; }
    std::size_t stride() const { return std::size_t(w) * 4; }
    bool isEmpty() const { return !pixels; }
    std::uint8_t const* data() const { return pixels.get(); }
    std::uint8_t* data() { return pixels.get(); }
    std::uint8_t const* row(std::uint32_t y) const { return pixels.get() + y * stride(); }
    std::size_t byteCount() const { return stride() * h; }

    // Drops the pixels; the image is then empty (0 x 0).
    void clear();
    // Makes room for width x height pixels (contents undefined). False when the size overflows or
    // the memory cannot be had; the image is then empty.
    bool allocate(std::uint32_t width, std::uint32_t height);

private:
    std::uint32_t w = 0;
    std::uint32_t h = 0;
    std::unique_ptr<std::uint8_t[]> pixels;
};

// Reads the header of a picture of the given format and checks its size against `limits`.
// ok: *info holds the size. tooLarge: *info holds the size when the header got as far as being
// read (libspng refuses a side above maxWidth or maxHeight before it hands the header out: 0 x 0).
PictureStatus readPictureInfo(std::uint8_t const* bytes, std::size_t count, PictureFormat format,
                              GSThumbnailLimits const& limits, PictureInfo* info);

// Decodes a whole picture into *image (which is replaced; empty on failure).
PictureStatus decodePicture(std::uint8_t const* bytes, std::size_t count, PictureFormat format,
                            GSThumbnailLimits const& limits, RGBAImage* image);

// Receives a PNG row by row, top to bottom (decodePngRows). A status other than ok stops the
// decode and is returned by it.
class PngRowSink {
public:
    virtual ~PngRowSink() = default;
    // Called once before the first row: the size, and 3 (RGB) or 4 (RGBA, straight alpha) bytes
    // a pixel. RGB is given for 8-bit truecolour pictures without transparency, RGBA otherwise.
    // `passRows`: the rows come through passRow, not row.
    virtual PictureStatus begin(std::uint32_t width, std::uint32_t height, int channels, bool passRows) = 0;
    virtual PictureStatus row(std::uint8_t const* pixels) = 0;
    // An interlaced picture's rows arrive pass by pass, each with every stepX-th pixel of its row
    // from firstX on. A sink that takes them (true here) gets them through passRow instead of
    // row; for any other sink the decoder deinterlaces the whole picture first, which counts
    // against GSThumbnailLimits::maxDecodeBytes.
    virtual bool takesPassRows() const { return false; }
    virtual PictureStatus passRow(std::uint32_t /*y*/, std::uint32_t /*firstX*/, std::uint32_t /*stepX*/,
                                  std::uint32_t /*count*/, std::uint8_t const* /*pixels*/)
    {
        return PictureStatus::unsupported;
    }
};

// Decodes a PNG into `sink` one row at a time, so that the whole picture is never held (an
// interlaced one, whose rows arrive out of order, only for a sink that does not take pass rows).
// ok once every row was delivered; any decode failure is corrupt (rows delivered before it are
// then worthless).
PictureStatus decodePngRows(std::uint8_t const* bytes, std::size_t count, GSThumbnailLimits const& limits,
                            PngRowSink* sink);

// Where PNG bytes come from when they are not all in memory: read() gives the next n bytes, or
// false when they cannot all be had (the picture then counts as corrupt).
class PngByteSource {
public:
    virtual ~PngByteSource() = default;
    virtual bool read(void* buffer, std::size_t n) = 0;
};

// decodePngRows over bytes read as the decoder needs them, so that not even the compressed
// picture is held whole.
PictureStatus decodePngRows(PngByteSource* source, GSThumbnailLimits const& limits, PngRowSink* sink);

// JPEG decoding at 1/scaleDenominator of the stored size (1, 2, 4 or 8), done in the DCT domain,
// which is far cheaper than decoding in full and scaling. Each side is rounded up, so an
// 801-pixel side gives 101 at 1/8. Any other denominator is `unsupported`.
PictureStatus decodeJpegScaled(std::uint8_t const* bytes, std::size_t count, unsigned scaleDenominator,
                               GSThumbnailLimits const& limits, RGBAImage* image);

// The size of a side of `stored` pixels decoded at 1/scaleDenominator.
std::uint32_t jpegScaledSide(std::uint32_t stored, unsigned scaleDenominator);

// The largest of 1, 2, 4 and 8 that still decodes a width x height JPEG at least as large as
// minWidth x minHeight on both sides (so that a thumbnail can be scaled down from it without
// losing detail). A zero minimum side puts no bound on that side.
unsigned jpegScaleDenominatorFor(std::uint32_t width, std::uint32_t height, std::uint32_t minWidth,
                                 std::uint32_t minHeight);

} // namespace qm
